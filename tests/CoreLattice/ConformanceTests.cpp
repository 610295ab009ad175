#include "tests/CoreLattice/Pictures.h"

#include "CoreLattice/LTCSoundSource.h"
#include "Platform/CoreFoundation/FailPoint.h"

#include <QImage>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

using namespace Pictures;
using CoreLattice::CompositionError;
using CoreLattice::ISFDocument;

// Each file of the folder "conformance" is written as people write filters and exercises one feature of the format. It
// is drawn three times on a fixed picture; the third result is held against the picture of the same name in
// "conformance/reference", which was looked at by eye. TOVRIN_WRITE_REFERENCES=1 writes them anew.

namespace {

constexpr std::size_t width = 64;
constexpr std::size_t height = 48;
const std::filesystem::path folder = CONFORMANCE_FOLDER;

std::string textOf(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return { std::istreambuf_iterator<char>(file), {} };
}

/// Upright at one look: red grows to the right, green upwards, with a blue disc in the upper left and a white corner
/// at the bottom right.
Ref<CVPixelBuffer> fixedPicture()
{
    return picture(width, height, [](std::size_t x, std::size_t y) {
        const double dx = static_cast<double>(x) - 18;
        const double dy = static_cast<double>(y) - 14;
        if (dx * dx + dy * dy < 90)
            return Pixel { 30, 60, 230 };
        if (x >= width - 8 && y >= height - 8)
            return Pixel { 255, 255, 255 };
        return Pixel { static_cast<int>(x * 4), static_cast<int>(255 - y * 5), 60 };
    });
}

Ref<LTCView> viewOf(const std::filesystem::path& file)
{
    auto vertexFile = file;
    vertexFile.replace_extension(".vs");
    CompositionError error;
    const auto document = ISFDocument::parse(textOf(file), textOf(vertexFile), file.string(), &error);
    EXPECT_NE(document, nullptr) << error.text();
    if (!document)
        return nullptr;
    auto view = make<LTCView>();
    view->loadComposition(make<QCComposition>(CFSTR("/conformance"), document).get());
    const auto input = fixedPicture();
    view->setValue_forInputKey(input, QCCompositionInputImageKey);
    return view;
}

/// A tone at a quarter of full scale, 48 samples a turn.
std::vector<float> tone(std::size_t count)
{
    std::vector<float> samples(count);
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = 0.25F * static_cast<float>(std::sin(static_cast<double>(i) * 2 * 3.14159265358979 / 48));
    return samples;
}

QImage imageOf(CVPixelBuffer& buffer)
{
    const QImage wrapped(reinterpret_cast<const uchar*>(buffer.baseAddress()), static_cast<int>(buffer.width()),
        static_cast<int>(buffer.height()), static_cast<qsizetype>(buffer.bytesPerRow()), QImage::Format_RGB32);
    return wrapped.copy();
}

/// The largest difference of any part of any pixel.
int difference(const QImage& a, const QImage& b)
{
    if (a.size() != b.size())
        return 256;
    int result = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const auto p = a.pixel(x, y);
            const auto q = b.pixel(x, y);
            result = std::max({ result, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                std::abs(qBlue(p) - qBlue(q)) });
        }
    }
    return result;
}

std::vector<std::string> conformanceFiles()
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".fs")
            names.push_back(entry.path().stem().string());
    }
    std::ranges::sort(names);
    return names;
}

class ConformanceFile : public testing::TestWithParam<std::string> { };

}

TEST_P(ConformanceFile, DrawsItsPicture)
{
    const AutoreleasePool pool;
    LTCSoundSource::setProvider(tone);
    const auto view = viewOf(folder / (GetParam() + ".fs"));
    ASSERT_TRUE(view);
    testing::internal::CaptureStderr();
    Ref<CVPixelBuffer> result;
    for (int i = 0; i < 3; ++i)
        result = render(*view, i * 0.25);
    const auto log = testing::internal::GetCapturedStderr();
    LTCSoundSource::setProvider({});
    EXPECT_EQ(log.find("cannot be rendered"), std::string::npos) << log;
    ASSERT_TRUE(result);
    EXPECT_EQ(std::to_integer<int>(result->baseAddress()[3]), 255);

    const auto reference = folder / "reference" / (GetParam() + ".png");
    const auto drawn = imageOf(*result);
    if (std::getenv("TOVRIN_WRITE_REFERENCES")) {
        ASSERT_TRUE(drawn.save(QString::fromStdString(reference.string())));
    }
    const QImage expected(QString::fromStdString(reference.string()));
    ASSERT_FALSE(expected.isNull()) << reference;
    EXPECT_LE(difference(drawn, expected), 2);
}

TEST(Conformance, PicturesThatAreTooLargeTogetherAreNotRead)
{
    const AutoreleasePool pool;
    std::string name = (std::filesystem::temp_directory_path() / "tovrin-pictures-XXXXXX").string();
    const std::filesystem::path own = mkdtemp(name.data());
    QImage large(8192, 8192, QImage::Format_Mono); // a few kilobytes in its file and 256 MiB when it is read
    large.fill(0);
    ASSERT_TRUE(large.save(QString::fromStdString((own / "large.png").string())));
    std::string imports;
    for (const auto* const each : { "a", "b", "c" })
        imports += std::string(imports.empty() ? "" : ", ") + "\"" + each + "\": \"large.png\"";
    std::ofstream(own / "Large.fs") << R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ], "IMPORTED": { )"
                                    << imports << " } }*/ void main() { gl_FragColor = IMG_THIS_PIXEL(a); }";
    const auto view = viewOf(own / "Large.fs");
    ASSERT_TRUE(view);
    testing::internal::CaptureStderr();
    render(*view);
    const auto log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("Large.fs: its pictures need more than 512 MiB"), std::string::npos) << log;
    std::filesystem::remove_all(own);
}

INSTANTIATE_TEST_SUITE_P(Files, ConformanceFile, testing::ValuesIn(conformanceFiles()), [](const auto& file) {
    std::string name;
    for (const char c : file.param)
        name += c == '-' ? '_' : c;
    return name;
});
