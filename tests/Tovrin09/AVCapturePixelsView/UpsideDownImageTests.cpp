#include "Tovrin09/AVCapturePixelsView/AVCapturePixelBufferView.h"
#include "Tovrin09/AVCapturePixelsView/AVCapturePixelsView.h"
#include "WithRequirements/ZVOperatingSystemVersion.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <sys/utsname.h>
#include <unistd.h>

namespace {

constexpr const char* releaseVariable = "TOVRIN_TEST_KERNEL_RELEASE";

}

/// Stands before the C library's in this program: the kernel whose release the test wants. The version is asked for
/// once in a process, so each test starts another.
extern "C" int uname(utsname* names) noexcept
{
    std::memset(names, 0, sizeof *names);
    const char* const release = std::getenv(releaseVariable);
    std::strncpy(names->release, release ? release : "6.1.0-test", sizeof names->release - 1);
    return 0;
}

namespace {

Ref<CVPixelBuffer> columns()
{
    Ref<CVPixelBuffer> buffer;
    CVPixelBufferCreate(kCFAllocatorDefault, 3, 5, kCVPixelFormatType_32BGRA, nullptr, &buffer);
    for (std::size_t y = 0; y < 5; ++y)
        for (std::size_t x = 0; x < 12; ++x)
            buffer->baseAddress()[y * buffer->bytesPerRow() + x]
                = x % 4 == 3 ? std::byte { 255 } : static_cast<std::byte>(40 * y + x);
    return buffer;
}

/// Whether the rows of \p shown are those of \p source, in reverse order if \p inverted.
bool isShown(CVPixelBuffer& source, const Ref<CVPixelBuffer>& shown, bool inverted)
{
    if (!shown || shown->width() != source.width() || shown->height() != source.height())
        return false;
    for (std::size_t y = 0; y < source.height(); ++y) {
        const auto from = inverted ? source.height() - 1 - y : y;
        if (std::memcmp(shown->baseAddress() + y * shown->bytesPerRow(),
                source.baseAddress() + from * source.bytesPerRow(), source.width() * 4)
            != 0)
            return false;
    }
    return true;
}

template <class View> bool behaves(std::uint32_t version, bool inverted)
{
    const AutoreleasePool pool;
    const auto view = make<View>();
    const auto source = columns();
    const auto image = CIImage::imageWithCVImageBuffer(source);
    const auto flipped = view->_upsideDownImageWithImage(image);
    const auto wanted = inverted ? CGAffineTransform { 1, 0, 0, -1, 0, 5 } : CGAffineTransformIdentity;
    const bool transforms = flipped->transform() == wanted && flipped->extent() == image->extent();
    const bool pixels = isShown(*source, view->_imageWithCIImage(flipped)->copyPixelBufferForLayer(), inverted);
    const bool plain = isShown(*source, view->_imageWithCIImage(image)->copyPixelBufferForLayer(), false);
    return ZVOperatingSystemVersion_GetCurrent() == version && View::upsideDownCIImage() == inverted
        && view->invertedCIImage() == inverted && transforms && pixels && plain;
}

/// In a process of its own: exits with 0 when both views do what they are to do with that kernel.
void expectOfRelease(const char* release, std::uint32_t version, bool inverted)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    setenv(releaseVariable, release, 1);
    EXPECT_EXIT(
        {
            const bool newer = behaves<AVCapturePixelBufferView>(version, inverted);
            const bool older = behaves<AVCapturePixelsView>(version, inverted);
            _exit((newer ? 0 : 1) + (older ? 0 : 2));
        },
        testing::ExitedWithCode(0), "");
    unsetenv(releaseVariable);
}

}

TEST(UpsideDownImageDeathTest, AtVersion1300ImagesStayAsTheyAre)
{
    expectOfRelease("13.0.0", 1300, false);
}

TEST(UpsideDownImageDeathTest, AtVersion1301ImagesAreFlippedInPlace)
{
    expectOfRelease("13.0.1", 1301, true);
}

TEST(UpsideDownImageDeathTest, WithTodaysKernelImagesStayAsTheyAre)
{
    expectOfRelease("6.1.0-18-amd64", 610, false);
}
