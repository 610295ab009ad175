#include "Platform/AppKit/Quick/LayerItem.h"

#include "Platform/AppKit/Quick/QuickApplication.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/AppKit/Quick/ShownPictures.h"

#include <gmock/gmock.h>
#include <QElapsedTimer>
#include <QQuickWindow>
#include <QScreen>

#include <thread>

using namespace ShownPictures;

namespace {

/// In a session with an X server, drawn with OpenGL.
class LayerItemOpenGL : public testing::Test {
protected:
    void SetUp() override
    {
        qputenv("QT_QPA_PLATFORM", "xcb");
        qputenv("QSG_RHI_BACKEND", "opengl");
        qunsetenv("QT_QUICK_BACKEND");
        mApplication = std::make_unique<QuickApplication>(mArgumentCount, mArguments);
    }
    void TearDown() override
    {
        mItem.reset();
        mWindow.reset();
        mApplication.reset();
    }
    void show(CALayer* layer, QSize size)
    {
        mItem.reset();
        mWindow = std::make_unique<QQuickWindow>();
        mWindow->setFlags(Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
        mWindow->setColor(Qt::green);
        mWindow->setGeometry(QRect(QPoint(10, 20), size));
        mItem = std::make_unique<LayerItem>();
        mItem->setLayer(layer);
        mItem->setSize(QSizeF(size));
        mItem->setParentItem(mWindow->contentItem());
        mWindow->show();
        ASSERT_TRUE(waitFor([&] { return mWindow->isExposed(); }));
        drawAgain();
        ASSERT_EQ(mWindow->rendererInterface()->graphicsApi(), QSGRendererInterface::OpenGL);
    }
    /// Waits until a frame that was begun after the call is on the screen.
    void drawAgain()
    {
        int frames = 0;
        const auto counted
            = QObject::connect(mWindow.get(), &QQuickWindow::frameSwapped, mWindow.get(), [&] { ++frames; });
        for (int wanted = 1; wanted <= 2; ++wanted) {
            mWindow->update();
            EXPECT_TRUE(waitFor([&] { return frames >= wanted; }));
        }
        QObject::disconnect(counted);
    }
    /// What the X server has on the window.
    QImage screenshot()
    {
        drawAgain();
        return mWindow->screen()->grabWindow(mWindow->winId()).toImage();
    }
    static bool waitFor(const std::function<bool()>& done)
    {
        QElapsedTimer timer;
        timer.start();
        while (!done() && timer.elapsed() < 10'000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 50);
        return done();
    }
    static Ref<CALayer> makeLayer()
    {
        auto layer = make<CALayer>();
        layer->setBackgroundColor(CGColorGetConstantColor(kCGColorBlack));
        layer->setContentsGravity(kCAGravityResizeAspect);
        return layer;
    }

private:
    int mArgumentCount = 1;
    char mName[5] = "test";
    char* mArguments[2] = { mName, nullptr };
    std::unique_ptr<QuickApplication> mApplication;
    std::unique_ptr<QQuickWindow> mWindow;
    std::unique_ptr<LayerItem> mItem;
};

TEST_F(LayerItemOpenGL, ASurfaceIsOnTheScreenUprightInItsShapeOnBlack)
{
    struct {
        QSize picture, view;
    } const shapes[] {
        { { 64, 36 }, { 64, 36 } },
        { { 128, 72 }, { 64, 36 } },
        { { 64, 36 }, { 200, 200 } },
        { { 36, 64 }, { 200, 120 } },
        { { 33, 17 }, { 101, 77 } },
        { { 101, 77 }, { 33, 17 } },
        { { 1, 1 }, { 50, 30 } },
        { { 5000, 3 }, { 300, 200 } },
        { { 4099, 20 }, { 500, 21 } },
    };
    for (const auto& [size, view] : shapes) {
        SCOPED_TRACE(testing::Message() << size.width() << " by " << size.height() << " in " << view.width() << " by "
                                        << view.height());
        const auto layer = makeLayer();
        const auto picture = makePicture(size.width(), size.height());
        layer->setContents(picture->surface());
        ASSERT_NO_FATAL_FAILURE(show(layer, view));
        expectShown(screenshot(), *picture, false);
    }
}

TEST_F(LayerItemOpenGL, APictureIsUploadedOnceHoweverOftenItIsDrawn)
{
    const auto layer = makeLayer();
    ASSERT_NO_FATAL_FAILURE(show(layer, { 64, 36 }));
    const FailPoint::Scope counting("LayerTexture.upload", 0, UINT64_MAX);
    const auto picture = makePicture(33, 17);
    std::thread([&] { layer->setContents(picture); }).join();
    drawAgain();
    drawAgain();
    EXPECT_EQ(FailPoint::passes("LayerTexture.upload"), 1U);
    expectShown(screenshot(), *picture, false);
    const auto other = makePicture(20, 40);
    layer->setContents(other);
    expectShown(screenshot(), *other, false);
    EXPECT_EQ(FailPoint::passes("LayerTexture.upload"), 2U);
}

TEST_F(LayerItemOpenGL, LetsGoOfAPictureOnceItIsUploaded)
{
    const auto layer = makeLayer();
    ASSERT_NO_FATAL_FAILURE(show(layer, { 64, 36 }));
    auto picture = makePicture(33, 17);
    const WeakRef<CVPixelBuffer> watched(picture);
    layer->setContents(picture);
    picture = nullptr;
    drawAgain();
    EXPECT_TRUE(watched.strongReference());
    layer->setContents(nullptr);
    drawAgain();
    EXPECT_TRUE(waitFor([&] { return !watched.strongReference(); }));
    EXPECT_EQ(screenshot().pixelColor(32, 18), QColor(Qt::black));
}

}
