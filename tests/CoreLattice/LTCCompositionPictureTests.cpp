#include "CoreLattice/LTCCompositionPicture.h"

#include "CoreLattice/LTCCompositionParameterView.h"
#include "CoreLattice/LTCCompositionParameterViewDelegate.h"
#include "CoreLattice/PictureFile.h"
#include "Platform/dispatch/dispatch.h"
#include "tests/CoreLattice/Pictures.h"

#include <gmock/gmock.h>
#include <QColorSpace>
#include <QGuiApplication>
#include <QImage>
#include <QImageWriter>
#include <QTemporaryDir>
#include <QUrl>

#include <fstream>

#include <sys/stat.h>

using namespace Pictures;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// Shows its background alone.
constexpr const char* backdrop = R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" },
    { "NAME": "background", "LABEL": "Background", "TYPE": "image" } ] }*/
    void main() { gl_FragColor = IMG_NORM_PIXEL(background, isf_FragNormCoord); })";

/// Keeps the picture that the program drives out of sight, as the application does.
class PictureDelegate : public NSObject, public LTCCompositionParameterViewDelegate {
    NS_OBJECT(PictureDelegate)
public:
    bool compositionParameterView_shouldDisplayParameterWithKey_attributes(
        LTCCompositionParameterView*, CFString* key, CFDictionary*) override
    {
        return key->string() != "inputImage";
    }
};

NS_IMPLEMENTATION(PictureDelegate, NSObject)
{
    type.message("compositionParameterView:shouldDisplayParameterWithKey:attributes:",
        &PictureDelegate::compositionParameterView_shouldDisplayParameterWithKey_attributes);
}

class CompositionPicture : public testing::Test {
protected:
    void SetUp() override
    {
        renderer->loadComposition(composition(backdrop));
        renderer->setValue_forInputKey(plain(64, 36, { 9, 9, 9 }).get(), QCCompositionInputImageKey);
        view->setDelegate(delegate);
        view->setCompositionRenderer(renderer);
        ASSERT_EQ(view->parameters()->count(), 1U);
        picture = kindOf<LTCCompositionPicture>(view->parameters()->objectAtIndex(0));
        ASSERT_TRUE(picture);
    }
    QString path(const char* name) const { return folder.filePath(QString::fromUtf8(name)); }
    static Ref<CFString> url(const QString& path)
    {
        return CFString::create(QUrl::fromLocalFile(path).toString().toStdString());
    }
    bool settle() const
    {
        return DispatchMain::runUntil([&] { return !picture->isReading(); }, 30);
    }
    /// Chooses the file and waits until it was read.
    bool choose(const QString& path) const
    {
        picture->setPictureURL(url(path).get());
        return settle();
    }
    /// A file with red, green over blue, white.
    QString fourColours(const char* name, bool isTurned = false) const
    {
        QImage image(64, 32, QImage::Format_RGB32);
        for (int y = 0; y < 32; ++y)
            for (int x = 0; x < 64; ++x)
                image.setPixel(x, y, y < 16 ? (x < 32 ? 0xffff0000 : 0xff00ff00) : (x < 32 ? 0xff0000ff : 0xffffffff));
        QImageWriter writer(path(name));
        writer.setQuality(100);
        if (isTurned)
            writer.setTransformation(QImageIOHandler::TransformationRotate90);
        EXPECT_TRUE(writer.write(image)) << writer.errorString().toStdString();
        return path(name);
    }
    CVPixelBuffer* value() const { return kindOf<CVPixelBuffer>(renderer->valueForInputKey(CFSTR("background"))); }
    std::vector<std::size_t> size() const
    {
        return value() ? std::vector { value()->width(), value()->height() } : std::vector<std::size_t>();
    }
    Pixel corner(bool right, bool below) const
    {
        const auto drawn = render(*renderer);
        return pixelAt(*drawn, right ? drawn->width() - 3 : 2, below ? drawn->height() - 3 : 2);
    }
    std::string problem() const { return picture->problem()->string(); }

    const AutoreleasePool pool;
    const QTemporaryDir folder;
    const Ref<LTCView> renderer = make<LTCView>();
    const Ref<PictureDelegate> delegate = make<PictureDelegate>();
    const Ref<LTCCompositionParameterView> view = make<LTCCompositionParameterView>();
    Ref<LTCCompositionPicture> picture;
};

constexpr Pixel red { 255, 0, 0 };
constexpr Pixel green { 0, 255, 0 };
constexpr Pixel blue { 0, 0, 255 };
constexpr Pixel white { 255, 255, 255 };

/// As near as JPEG is.
void expectNear(Pixel a, Pixel b)
{
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(a[i], b[i], 12);
}

}

TEST_F(CompositionPicture, AFileIsShownUprightInItsColours)
{
    EXPECT_FALSE(picture->hasPicture());
    ASSERT_TRUE(choose(fourColours("a b ü.png")));
    EXPECT_TRUE(picture->hasPicture());
    EXPECT_EQ(problem(), "");
    EXPECT_THAT(size(), ElementsAre(64, 32));
    EXPECT_EQ(corner(false, false), red);
    EXPECT_EQ(corner(true, false), green);
    EXPECT_EQ(corner(false, true), blue);
    EXPECT_EQ(corner(true, true), white);
    auto* const thumbnail = kindOf<CVPixelBuffer>(picture->layer()->contents());
    ASSERT_TRUE(thumbnail);
    EXPECT_EQ(thumbnail->width(), 480U);
    EXPECT_EQ(thumbnail->height(), 240U);
    EXPECT_EQ(pixelAt(*thumbnail, 2, 2), red);
    EXPECT_EQ(pixelAt(*thumbnail, 2, 237), blue);
}

TEST_F(CompositionPicture, APhotographIsTurnedAsItsCameraWasHeld)
{
    ASSERT_TRUE(choose(fourColours("turned.jpg", true)));
    EXPECT_EQ(problem(), "");
    EXPECT_THAT(size(), ElementsAre(32, 64));
    expectNear(corner(false, false), blue);
    expectNear(corner(true, false), red);
    expectNear(corner(false, true), white);
    expectNear(corner(true, true), green);
}

TEST_F(CompositionPicture, ColoursOfOtherSpacesBecomeTheUsualOnes)
{
    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(qRgb(200, 100, 50));
    image.setColorSpace(QColorSpace(QColorSpace::DisplayP3));
    ASSERT_TRUE(image.save(path("wide.png")));
    ASSERT_TRUE(choose(path("wide.png")));
    const auto [r, g, b] = corner(false, false);
    // By the two spaces' primaries and their one curve.
    EXPECT_NEAR(r, 215, 1);
    EXPECT_NEAR(g, 93, 1);
    EXPECT_NEAR(b, 31, 1);
}

TEST_F(CompositionPicture, AHugePictureIsMadeSmaller)
{
    for (const auto* const name : { "huge.jpg", "huge.png", "huge.webp" }) {
        QImage image(6000, 3000, QImage::Format_RGB32);
        image.fill(qRgb(40, 80, 160));
        ASSERT_TRUE(image.save(path(name))) << name;
        ASSERT_TRUE(choose(path(name)));
        EXPECT_EQ(problem(), "") << name;
        EXPECT_THAT(size(), ElementsAre(2560, 1280)) << name;
        expectNear(pixelAt(*value(), 100, 100), { 40, 80, 160 });
    }
    QImage line(9000, 1, QImage::Format_RGB32);
    line.fill(Qt::green);
    ASSERT_TRUE(line.save(path("line.png")));
    ASSERT_TRUE(choose(path("line.png")));
    EXPECT_THAT(size(), ElementsAre(2560, 1));
}

TEST_F(CompositionPicture, WhatCannotBeReadIsToldAndChangesNothing)
{
    ASSERT_TRUE(choose(fourColours("good.png")));
    const Ref<CVPixelBuffer> good(value());
    std::ofstream(path("text.png").toStdString()) << "This is no picture.";
    QFile whole(fourColours("whole.png"));
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    std::ofstream(path("torn.png").toStdString()) << whole.read(60).toStdString();
    ASSERT_EQ(::mkfifo(path("pipe.png").toStdString().c_str(), 0600), 0);
    for (const auto& [name, reason] : { std::pair { "text.png", "\"text.png\" is no picture that can be read. " },
             { "torn.png", "\"torn.png\" is no picture that can be read. " },
             { "missing.png", "\"missing.png\" cannot be opened." }, { "pipe.png", "\"pipe.png\" cannot be opened." },
             { ".", "cannot be opened." } }) {
        ASSERT_TRUE(choose(path(name)));
        EXPECT_THAT(problem(), HasSubstr(reason));
        EXPECT_EQ(value(), good.get()) << name;
        EXPECT_TRUE(picture->hasPicture());
    }
    picture->setPictureURL(CFSTR("https://example.org/a.png"));
    EXPECT_EQ(problem(), "Only a file of this computer can be used.");
    EXPECT_EQ(value(), good.get());
    ASSERT_TRUE(choose(path("good.png")));
    EXPECT_EQ(problem(), "") << "what works ends the complaint";
}

TEST_F(CompositionPicture, TheLastChoiceWins)
{
    QImage image(3000, 3000, QImage::Format_RGB32);
    image.fill(Qt::red);
    ASSERT_TRUE(image.save(path("slow.png")));
    picture->setPictureURL(url(path("slow.png")).get());
    EXPECT_TRUE(picture->isReading());
    ASSERT_TRUE(choose(fourColours("quick.png")));
    EXPECT_THAT(size(), ElementsAre(64, 32));
    picture->setPictureURL(url(path("slow.png")).get());
    picture->reset();
    EXPECT_FALSE(picture->isReading());
    EXPECT_FALSE(picture->hasPicture());
    // Whatever was being read has come by the time that another picture has.
    ASSERT_TRUE(choose(path("quick.png")));
    picture->setPictureURL(url(path("slow.png")).get());
    picture->useCurrentPicture();
    EXPECT_THAT(size(), ElementsAre(64, 36));
    picture->setPictureURL(url(path("slow.png")).get());
    view->setCompositionRenderer(nullptr);
    picture = nullptr;
    EXPECT_FALSE(DispatchMain::runUntil(
        [&] {
            return size() != std::vector<std::size_t> { 64, 36 };
        },
        0.5))
        << "with the parameter gone, nothing comes";
}

TEST_F(CompositionPicture, TheCurrentPictureStaysAsItWas)
{
    const auto frame = plain(32, 18, { 10, 200, 30 });
    renderer->setValue_forInputKey(frame, QCCompositionInputImageKey);
    picture->useCurrentPicture();
    ASSERT_TRUE(value());
    EXPECT_NE(value(), frame.get());
    frame->baseAddress()[1] = std::byte { 0 };
    EXPECT_EQ(pixelAt(*value(), 0, 0), (Pixel { 10, 200, 30 }));
    EXPECT_EQ(corner(false, false), (Pixel { 10, 200, 30 }));
    picture->reset();
    EXPECT_FALSE(value());
    EXPECT_FALSE(picture->hasPicture());
    EXPECT_EQ(corner(false, false), (Pixel { 0, 0, 0 })) << "the picture has gone from the filter too";
    renderer->setValue_forInputKey(nullptr, QCCompositionInputImageKey);
    picture->useCurrentPicture();
    EXPECT_EQ(problem(), "There is no picture yet.");
}

TEST_F(CompositionPicture, AViewThatIsBuiltAgainShowsTheValue)
{
    ASSERT_TRUE(choose(fourColours("a.png")));
    view->setDelegate(delegate);
    auto* const again = kindOf<LTCCompositionPicture>(view->parameters()->objectAtIndex(0));
    EXPECT_NE(again, picture.get());
    EXPECT_TRUE(again->hasPicture());
    EXPECT_EQ(pixelAt(*kindOf<CVPixelBuffer>(again->layer()->contents()), 2, 2), red);
}
