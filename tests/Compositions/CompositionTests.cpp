#include "CoreLattice/CompiledCompositions.h"
#include "CoreLattice/LTCSoundSource.h"
#include "tests/CoreLattice/Pictures.h"

#include <QImage>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <numbers>
#include <set>

using namespace Pictures;
using CoreLattice::CompiledComposition;
using CoreLattice::CompositionError;
using CoreLattice::ISFDocument;
using CoreLattice::ISFInput;
using CoreLattice::ISFInputType;

// Every composition that the program brings along draws a short series of pictures made from "portrait.png": first an
// empty room, for those that remember one, then the portrait moving a little with each picture. The last result is held
// against the picture of the same name in "reference", which was looked at by eye. TOVRIN_WRITE_REFERENCES=1 writes
// them anew.

extern "C" {
int __real_clock_gettime(clockid_t clock, timespec* time);
/// The clock on the wall stands at 21 November 2026, 10:08:42; all others run.
int __wrap_clock_gettime(clockid_t clock, timespec* time)
{
    if (clock != CLOCK_REALTIME)
        return __real_clock_gettime(clock, time);
    *time = { 1795255722, 0 };
    return 0;
}
}

namespace {

constexpr int pictureCount = 12;
constexpr double secondsApart = 0.25;
// Drivers round differently: what is smooth differs by a step or two, and where a composition decides between two
// colours, a pixel in a thousand may fall on the other side. A broken composition exceeds both by far.
constexpr double mostMeanDifference = 1.5;
constexpr double mostOutliers = 0.015;
constexpr int outlier = 32;
// A stamp in a corner changes little of a picture, and a composition that does nothing would change nothing.
constexpr double leastMeanChange = 0.3;

const std::string folder = COMPOSITION_TESTS_FOLDER;

const QImage& portrait()
{
    static const QImage image
        = QImage(QString::fromStdString(folder + "/portrait.png")).convertToFormat(QImage::Format_RGB32);
    return image;
}

Ref<CVPixelBuffer> pictureFrom(const std::function<QRgb(int, int)>& pixel)
{
    const auto& image = portrait();
    return picture(static_cast<std::size_t>(image.width()), static_cast<std::size_t>(image.height()),
        [&](std::size_t x, std::size_t y) {
            const auto rgb = pixel(static_cast<int>(x), static_cast<int>(y));
            return Pixel { qRed(rgb), qGreen(rgb), qBlue(rgb) };
        });
}

/// The first is the portrait's wall alone, each row in the colour that it has beside the head.
Ref<CVPixelBuffer> seriesPicture(int index)
{
    const auto& image = portrait();
    if (index == 0)
        return pictureFrom([&](int, int y) { return image.pixel(image.width() * 62 / 100, std::min(y, 150)); });
    const int shift = index - pictureCount + 1;
    return pictureFrom([&](int x, int y) {
        return image.pixel(
            std::clamp(x + shift * 2, 0, image.width() - 1), std::clamp(y + shift, 0, image.height() - 1));
    });
}

QImage imageOf(CVPixelBuffer& buffer)
{
    const QImage wrapped(reinterpret_cast<const uchar*>(buffer.baseAddress()), static_cast<int>(buffer.width()),
        static_cast<int>(buffer.height()), static_cast<qsizetype>(buffer.bytesPerRow()), QImage::Format_RGB32);
    return wrapped.copy();
}

struct Difference {
    double mean = 255; ///< of all parts of all pixels
    double outliers = 1; ///< the share of pixels that are far from theirs
};

Difference difference(const QImage& a, const QImage& b)
{
    if (a.size() != b.size())
        return {};
    double sum = 0;
    int far = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const auto p = a.pixel(x, y);
            const auto q = b.pixel(x, y);
            const std::array parts { std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                std::abs(qBlue(p) - qBlue(q)) };
            sum += parts[0] + parts[1] + parts[2];
            far += std::ranges::max(parts) > outlier;
        }
    }
    const double pixels = static_cast<double>(a.width()) * a.height();
    return { sum / (pixels * 3), far / pixels };
}

/// A chord for those that listen: an octave more and 6 dB less from one tone to the next.
std::vector<float> chord(std::size_t count)
{
    std::vector<float> samples(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double angle = 2 * std::numbers::pi * 110 * static_cast<double>(i) / 48000;
        for (int octave = 0; octave < 7; ++octave)
            samples[i] += static_cast<float>(0.2 * std::pow(0.5, octave) * std::sin(angle * std::pow(2, octave)));
    }
    return samples;
}

int brightest(const QImage& image)
{
    int result = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            result = std::max(result, qGray(image.pixel(x, y)));
    return result;
}

Ref<CFArray> arrayOf(std::initializer_list<double> numbers)
{
    auto result = make<CFArray>();
    for (const auto number : numbers)
        result->append(CFNumber::create(number).get());
    return result;
}

/// The ends of what people can set.
std::vector<Ref<CFType>> extremes(const ISFInput& input)
{
    std::vector<Ref<CFType>> result;
    switch (input.type) {
    case ISFInputType::Number:
        return { CFNumber::create((*input.minimum)[0]), CFNumber::create((*input.maximum)[0]) };
    case ISFInputType::Boolean:
        return { CFNumber::create(0.0), CFNumber::create(1.0) };
    case ISFInputType::Menu:
        for (const auto value : input.values)
            result.push_back(CFNumber::create(value));
        return result;
    case ISFInputType::Color:
        return { arrayOf({ 0, 0, 1, 1 }), arrayOf({ 1, 1, 1, 1 }) };
    case ISFInputType::Point:
        return { arrayOf({ (*input.minimum)[0], (*input.minimum)[1] }),
            arrayOf({ (*input.maximum)[0], (*input.maximum)[1] }) };
    case ISFInputType::Event:
    case ISFInputType::Image:
        break;
    }
    return result;
}

class Compositions : public testing::TestWithParam<std::string> {
protected:
    void SetUp() override
    {
        ::setenv("TZ", "UTC", 1);
        for (const auto& text : CoreLattice::compiledCompositions()) {
            if (text.name != GetParam())
                continue;
            CompositionError error;
            mDocument = ISFDocument::parse(text.fragment, text.vertex, GetParam() + ".fs", &error);
            ASSERT_NE(mDocument, nullptr) << error.text();
        }
        ASSERT_FALSE(portrait().isNull());
        mView->loadComposition(make<QCComposition>(CFString::create("/" + GetParam()), mDocument).get());
        LTCSoundSource::setProvider(chord);
    }
    void TearDown() override { LTCSoundSource::setProvider({}); }

    void set(const std::string& name, CFType* value)
    {
        const auto key = CFString::create(name);
        mView->setValue_forInputKey(value, key);
    }

    QImage draw(int index)
    {
        const AutoreleasePool pool;
        const auto input = seriesPicture(index);
        mView->setValue_forInputKey(input, QCCompositionInputImageKey);
        const auto drawn = render(*mView, index * secondsApart);
        EXPECT_NE(drawn, input) << "a composition that failed lets its input through";
        return imageOf(*drawn);
    }

    void pressEvents()
    {
        const auto pressed = CFNumber::create(1.0);
        for (const auto& input : mDocument->inputs)
            if (input.type == ISFInputType::Event)
                set(input.name, pressed);
    }

    QImage drawSeries()
    {
        pressEvents();
        for (int i = 0; i < pictureCount - 1; ++i)
            draw(i);
        return draw(pictureCount - 1);
    }

    std::shared_ptr<const ISFDocument> mDocument;
    const AutoreleasePool mPool;
    const Ref<LTCView> mView = make<LTCView>();
};

std::vector<std::string> names()
{
    std::vector<std::string> result;
    for (const auto& text : CoreLattice::compiledCompositions())
        result.emplace_back(text.name);
    return result;
}

}

TEST_P(Compositions, DrawsItsPicture)
{
    // Nothing in the portrait is green; the suit stands in for the screen.
    const auto orange = arrayOf({ 0.95, 0.4, 0.25, 1 });
    if (GetParam() == "green screen") {
        set("screen", orange);
        set("background", seriesPicture(0).get());
    }
    const auto drawn = drawSeries();
    const auto reference = QString::fromStdString(folder + "/reference/" + GetParam() + ".png");
    if (std::getenv("TOVRIN_WRITE_REFERENCES")) {
        ASSERT_TRUE(drawn.save(reference));
    }
    const QImage expected(reference);
    ASSERT_FALSE(expected.isNull()) << reference.toStdString();
    const auto [mean, outliers] = difference(drawn, expected);
    EXPECT_LE(mean, mostMeanDifference);
    EXPECT_LE(outliers, mostOutliers);
    EXPECT_GT(difference(drawn, portrait()).mean, leastMeanChange) << "it does nothing unless it is set up first";
}

TEST_P(Compositions, SaysWhatItIsAndWhatCanBeSet)
{
    static const std::set<std::string> known { "Color", "Light", "Stylize", "Distort", "Time", "Overlay", "Utility" };
    EXPECT_FALSE(mDocument->name.empty());
    EXPECT_NE(mDocument->name, GetParam()) << "the label is for people";
    EXPECT_GE(mDocument->explanation.size(), 15U);
    EXPECT_FALSE(mDocument->categories.empty());
    for (const auto& category : mDocument->categories)
        EXPECT_TRUE(known.contains(category)) << category;
    std::set<std::string> labels;
    for (const auto& input : mDocument->inputs) {
        SCOPED_TRACE(input.name);
        if (input.name == "inputImage" || input.isSilent)
            continue;
        EXPECT_NE(input.label, input.name);
        EXPECT_TRUE(labels.insert(input.label).second) << "two settings have one label";
        if (input.type != ISFInputType::Number && input.type != ISFInputType::Point)
            continue;
        ASSERT_TRUE(input.minimum && input.maximum && input.defaultValue);
        for (std::size_t i = 0; i < (input.type == ISFInputType::Point ? 2U : 1U); ++i) {
            EXPECT_LT((*input.minimum)[i], (*input.maximum)[i]);
            EXPECT_GE((*input.defaultValue)[i], (*input.minimum)[i]);
            EXPECT_LE((*input.defaultValue)[i], (*input.maximum)[i]);
        }
    }
}

TEST_P(Compositions, ShowsAPictureWithEverySettingAtItsEnds)
{
    pressEvents();
    draw(0);
    for (const auto& input : mDocument->inputs) {
        for (const auto& value : extremes(input)) {
            SCOPED_TRACE(input.name + " " + value->description());
            set(input.name, value);
            draw(1);
            draw(6);
            EXPECT_GT(brightest(draw(11)), 12);
        }
        set(input.name, nullptr);
    }
    // Whatever was kept from picture to picture in the meantime has not spoilt it for good.
    const auto drawn = drawSeries();
    EXPECT_GT(brightest(drawn), 40);
    EXPECT_LT(difference(drawn, QImage(QString::fromStdString(folder + "/reference/" + GetParam() + ".png"))).mean, 40);
}

INSTANTIATE_TEST_SUITE_P(Files, Compositions, testing::ValuesIn(names()), [](const auto& file) {
    std::string name;
    for (const char c : file.param)
        name += c == ' ' ? '_' : c;
    return name;
});
