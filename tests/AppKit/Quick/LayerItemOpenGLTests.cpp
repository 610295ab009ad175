#include "Platform/AppKit/Quick/LayerItem.h"

#include "Platform/AppKit/NSOpenGLView.h"
#include "Platform/AppKit/Quick/InterfaceView.h"
#include "Platform/AppKit/Quick/QuickApplication.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/OpenGL/GLNames.h"
#include "tests/AppKit/Quick/ShownPictures.h"
#include "tests/AppKit/Quick/WaitFor.h"

#include <gmock/gmock.h>
#include <QQuickWindow>
#include <QScreen>

#include <thread>

using namespace ShownPictures;

namespace {

/// A view of one colour, drawn in a context of its own.
class OneColourView : public NSOpenGLView {
    NS_OBJECT(OneColourView)
public:
    OneColourView()
        : NSOpenGLView({}, NSOpenGLPixelFormat::initWithAttributes(nothingAskedFor).get())
    {
    }
    void drawRect(NSRect /*dirtyRect*/) override
    {
        openGLContext()->makeCurrentContext();
        glClearColor(0, static_cast<float>(brightness) / 255, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        openGLContext()->flushBuffer();
    }
    int brightness = 0;

private:
    static constexpr NSOpenGLPixelFormatAttribute nothingAskedFor[] { 0 };
};
NS_IMPLEMENTATION(OneColourView, NSOpenGLView) { }

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
        auto item = std::make_unique<LayerItem>();
        item->setLayer(layer);
        showItem(std::move(item), size);
    }
    void showItem(std::unique_ptr<LayerItem> item, QSize size)
    {
        mItem.reset();
        mWindow = std::make_unique<QQuickWindow>();
        mWindow->setFlags(Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
        mWindow->setColor(Qt::green);
        mWindow->setGeometry(QRect(QPoint(10, 20), size));
        mItem = std::move(item);
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
        const auto layer = makeBlackAspectLayer();
        const auto picture = makePicture(size.width(), size.height());
        layer->setContents(picture->surface());
        ASSERT_NO_FATAL_FAILURE(show(layer, view));
        expectShown(screenshot(), *picture, false);
    }
}

TEST_F(LayerItemOpenGL, APictureIsUploadedOnceHoweverOftenItIsDrawn)
{
    const auto layer = makeBlackAspectLayer();
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

/// Where the window draws on the main thread too.
class OpenGLOnTheMainThread : public LayerItemOpenGL {
protected:
    void SetUp() override
    {
        qputenv("QSG_RENDER_LOOP", "basic");
        LayerItemOpenGL::SetUp();
    }
    void TearDown() override
    {
        LayerItemOpenGL::TearDown();
        qunsetenv("QSG_RENDER_LOOP");
    }
};

TEST_F(OpenGLOnTheMainThread, AViewWithAContextOfItsOwnAndTheWindowTakeTurns)
{
    auto item = std::make_unique<InterfaceView>();
    item->setClassName(QStringLiteral("OneColourView"));
    const Ref<OneColourView> view = kindOf<OneColourView>(item->view());
    ASSERT_TRUE(view);
    ASSERT_NO_FATAL_FAILURE(showItem(std::move(item), { 64, 36 }));
    for (int brightness = 50; brightness <= 250; brightness += 50) {
        view->brightness = brightness;
        view->setNeedsDisplay(true);
        EXPECT_TRUE(waitFor([&] { return screenshot().pixelColor(63, 35) == QColor(0, brightness, 0); })) << brightness;
        EXPECT_EQ(screenshot().pixelColor(0, 0), QColor(0, brightness, 0));
    }
    EXPECT_EQ(view->convertRectToBacking(view->bounds()), NSMakeRect(0, 0, 64, 36));
}

TEST_F(LayerItemOpenGL, LetsGoOfAPictureOnceItIsUploaded)
{
    const auto layer = makeBlackAspectLayer();
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
