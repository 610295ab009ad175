#include "Tovrin09/LTCCamWindow/LTCCamWindowController.h"

#include "CoreLattice/LTCSoundSource.h"
#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "tests/AVFoundation/AttachedDevices.h"
#include "tests/AVFoundation/Sound/SuppliedDevice.h"
#include "tests/CoreLattice/Pictures.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

/// The spectrum's picture as it is, one column for each of its own.
constexpr const char* spectrum = R"(/*{ "INPUTS": [ { "NAME": "sound", "TYPE": "audioFFT" } ] }*/
    void main() { gl_FragColor = IMG_NORM_PIXEL(sound, isf_FragNormCoord); })";
constexpr double pitchWidth = 48000.0 / 2048;

/// A window's controller whose capture session has a microphone, which the test feeds.
class CompositionSound : public testing::Test, AttachedDevices {
protected:
    void SetUp() override
    {
        HostClock::driveByHand(true);
        for (auto* const device : { microphone.device(), other.device() })
            CaptureDeviceList::shared().deviceCame(Ref(device));
        controller->outletMovieWriter = writer;
        controller->prepareSoundOfCompositions();
    }
    void TearDown() override
    {
        writer->stopAndTearDownCaptureSession();
        LTCSoundSource::setProvider({});
        HostClock::driveByHand(false);
        DispatchMain::drain();
    }
    void start()
    {
        writer->setupAndStartCaptureSession();
        writer->captureSession()->waitUntilSettled();
    }
    void replaceMicrophone()
    {
        auto* const session = writer->captureSession();
        session->beginConfiguration();
        session->removeInput(writer->audioConnection()->input());
        session->addInput(other.input().get());
        session->commitConfiguration();
        session->waitUntilSettled();
    }
    /// A tone of a tenth of full scale for a quarter of a second.
    static void hear(SuppliedDevice& device, double hertz)
    {
        constexpr std::size_t frames = 960;
        for (std::size_t run = 0; run < 13; ++run) {
            std::vector<std::int16_t> samples;
            for (std::size_t i = run * frames; i < (run + 1) * frames; ++i) {
                const double angle = 2 * std::numbers::pi * hertz * static_cast<double>(i) / 48000;
                samples.insert(samples.end(), 2, static_cast<std::int16_t>(std::lround(3277 * std::sin(angle))));
            }
            const auto taken = HostClock::nanoseconds();
            HostClock::advance(20'000'000);
            const auto bytes = std::as_bytes(std::span(samples));
            ASSERT_TRUE(device.with([&](CaptureSink& sink) { sink.soundCame({ bytes.begin(), bytes.end() }, taken); }));
        }
    }
    /// The column of the spectrum's picture that is brightest; -1 when all is black.
    static long brightestColumn()
    {
        const auto view = Pictures::view(spectrum, nullptr);
        const auto drawn = Pictures::render(*view);
        std::vector<int> row;
        for (std::size_t x = 0; x < drawn->width(); ++x)
            row.push_back(Pictures::pixelAt(*drawn, x, 0)[0]);
        const auto found = std::ranges::max_element(row);
        return *found == 0 ? -1 : (found - row.begin()) * 1024 / static_cast<long>(row.size());
    }

    const AutoreleasePool pool;
    SuppliedDevice microphone { "Microphone", AVMediaTypeAudio };
    SuppliedDevice other { "Other Microphone", AVMediaTypeAudio };
    const Ref<AVCaptureFilteredMovieWriterController> writer = make<AVCaptureFilteredMovieWriterController>();
    const Ref<LTCCamWindowController> controller = make<LTCCamWindowController>();
};

}

TEST_F(CompositionSound, ATonesColumnIsTheBrightest)
{
    EXPECT_EQ(brightestColumn(), -1) << "before there is a session";
    start();
    EXPECT_EQ(brightestColumn(), -1) << "before there is sound";
    hear(microphone, 256 * pitchWidth);
    EXPECT_NEAR(static_cast<double>(brightestColumn()), 256, 1);
    hear(microphone, 700 * pitchWidth);
    EXPECT_NEAR(static_cast<double>(brightestColumn()), 700, 1);
}

TEST_F(CompositionSound, FollowsTheMicrophoneThatTheSessionHas)
{
    start();
    hear(microphone, 256 * pitchWidth);
    replaceMicrophone();
    EXPECT_EQ(brightestColumn(), -1) << "of the first one nothing is heard any more";
    hear(other, 100 * pitchWidth);
    EXPECT_NEAR(static_cast<double>(brightestColumn()), 100, 1);
}

TEST_F(CompositionSound, IsSilentWhileTheSessionStandsStill)
{
    start();
    hear(microphone, 256 * pitchWidth);
    writer->actionPauseCaptureSession(nullptr);
    EXPECT_EQ(brightestColumn(), -1);
    writer->captureSession()->waitUntilSettled();
    writer->actionResumeCaptureSession(nullptr);
    writer->captureSession()->waitUntilSettled();
    hear(microphone, 300 * pitchWidth);
    EXPECT_NEAR(static_cast<double>(brightestColumn()), 300, 1);
    writer->stopAndTearDownCaptureSession();
    EXPECT_TRUE(LTCSoundSource::latestSamples(1).empty());
}

TEST_F(CompositionSound, EndsWithTheWriter)
{
    {
        const auto passing = make<LTCCamWindowController>();
        const auto gone = make<AVCaptureFilteredMovieWriterController>();
        passing->outletMovieWriter = gone;
        passing->prepareSoundOfCompositions();
    }
    EXPECT_TRUE(LTCSoundSource::latestSamples(1).empty());
}
