#include "Tovrin09/LTCCamWindow/LTCCamWindowController.h"
#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureAcceleratedContext.h"

#include "CoreLattice/LTCCompositionRepository.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/dispatch/dispatch.h"
#include "Platform/ImageIO/CGImageSource.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

Ref<CVPixelBuffer> frame()
{
    Ref<CVPixelBuffer> buffer;
    EXPECT_EQ(CVPixelBufferCreate(kCFAllocatorDefault, 64, 36, kCVPixelFormatType_32BGRA, nullptr, &buffer), 0);
    return buffer;
}

Ref<CMSampleBuffer> sampleOf(CVPixelBuffer* buffer)
{
    Ref<CMFormatDescription> format;
    EXPECT_EQ(CMVideoFormatDescriptionCreateForImageBuffer(kCFAllocatorDefault, buffer, &format), 0);
    CMSampleTimingInfo timing;
    timing.presentationTimeStamp = CMTimeMake(1, 1);
    return make<CMSampleBuffer>(Ref(buffer), format, timing);
}

/// Takes frames as the application's delegate does.
class FrameTaker : public NSObject, public LTCCamWindowControllerDelegate {
    NS_OBJECT(FrameTaker)
public:
    void camWindowController_didOutputPixelBuffer(LTCCamWindowController*, CVPixelBufferRef buffer) override
    {
        frames.emplace_back(buffer);
    }
    std::vector<Ref<CVPixelBuffer>> frames;
};
NS_IMPLEMENTATION(FrameTaker, NSObject)
{
    type.message("camWindowController:didOutputPixelBuffer:", &FrameTaker::camWindowController_didOutputPixelBuffer);
}

class LTCCamWindowControllerTest : public testing::Test {
protected:
    void SetUp() override
    {
        folder = fs::temp_directory_path() / ("tovrin-snapshots-" + std::to_string(getpid()));
        fs::create_directories(folder);
        controller->outletQCView = view;
        controller->setDelegate(taker);
    }
    void TearDown() override
    {
        DispatchMain::drain();
        fs::remove_all(folder);
    }
    void touch(const std::string& name) const { std::ofstream(folder / name) << "x"; }
    std::string nextName() const
    {
        const auto url = controller->uniquePictureURLWithinFolderURL(make<NSURL>(folder.string()).get());
        return fs::path(url->fileSystemRepresentation()).filename().string();
    }

    /// Renders a frame through a real composition and returns what the view shows then.
    Ref<CVPixelBuffer> showARenderedPicture() const
    {
        LTCCompositionRepository::sharedCompositionRepository()->registerApplicationCompositionWithName(
            CFSTR("QCImageFilterRetro"));
        controller->selectComposition(LTCCompositionRepository::compositionWithName(CFSTR("QCImageFilterRetro")));
        view->setValue_forInputKey(frame().get(), QCCompositionInputImageKey);
        view->setDelegate(controller);
        if (!view->renderAtTime_arguments(0, nullptr))
            return nullptr;
        return view->outputImageRetainedCopy();
    }

    fs::path folder;
    Ref<LTCCamWindowController> controller = make<LTCCamWindowController>();
    Ref<QCViewWithImageFilterOutput> view = make<QCViewWithImageFilterOutput>();
    Ref<FrameTaker> taker = make<FrameTaker>();
};

}

TEST_F(LTCCamWindowControllerTest, TheInterfaceFileIsNamedAsTheClass)
{
    EXPECT_EQ(controller->windowNibName()->string(), "LTCCamWindowController");
}

TEST_F(LTCCamWindowControllerTest, TheFirstFreeNumberIsTaken)
{
    EXPECT_EQ(nextName(), "Tovrin-001.png");
    touch("Tovrin-001.png");
    touch("Tovrin-003.png");
    EXPECT_EQ(nextName(), "Tovrin-002.png");
    touch("Tovrin-002.png");
    EXPECT_EQ(nextName(), "Tovrin-004.png");
}

TEST_F(LTCCamWindowControllerTest, NumbersAboveThreeDigitsGetMoreDigits)
{
    for (int number = 1; number <= 999; ++number) {
        auto digits = std::to_string(number);
        digits.insert(0, 3 - digits.size(), '0');
        touch("Tovrin-" + digits + ".png");
    }
    EXPECT_EQ(nextName(), "Tovrin-1000.png");
}

TEST_F(LTCCamWindowControllerTest, WithoutAPictureNothingIsSaved)
{
    StandardErrorCapture capture;
    EXPECT_FALSE(controller->saveSnapshotImageToURL(make<NSURL>((folder / "a.png").string()).get()));
    EXPECT_THAT(capture.text(), HasSubstr("imageRef"));
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(LTCCamWindowControllerTest, ASnapshotHasThePixelsThatTheCompositionShows)
{
    const auto shown = showARenderedPicture();
    ASSERT_TRUE(shown);
    const auto path = folder / "a.png";
    ASSERT_TRUE(controller->saveSnapshotImageToURL(make<NSURL>(path.string()).get()));
    std::ifstream file(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    const auto saved = CGImageCreateWithPNGData(std::as_bytes(std::span(bytes)));
    ASSERT_TRUE(saved);
    ASSERT_EQ(saved->width(), shown->width());
    ASSERT_EQ(saved->height(), shown->height());
    for (std::size_t y = 0; y < shown->height(); ++y)
        ASSERT_EQ(std::memcmp(saved->row(y), shown->baseAddress() + y * shown->bytesPerRow(), shown->width() * 4), 0);
}

TEST_F(LTCCamWindowControllerTest, TheButtonSavesIntoThePicturesFolderAndRemembersTheFile)
{
    ASSERT_TRUE(showARenderedPicture());
    setenv("HOME", folder.c_str(), 1);
    unsetenv("XDG_CONFIG_HOME");
    controller->actionButtonSavePNG(nullptr);
    const auto saved = folder / "Pictures" / "Tovrin-001.png";
    EXPECT_TRUE(fs::exists(saved));
    EXPECT_EQ(controller->recentPhotoSnapshotURL()->fileSystemRepresentation(), saved);
    const Ref<NSURL> before = controller->recentPhotoSnapshotURL();
    const FailPoint::Scope failing("CGImageDestinationFinalize");
    StandardErrorCapture capture;
    controller->actionButtonSavePNG(nullptr);
    const auto text = capture.text();
    EXPECT_THAT(text, HasSubstr("SRC>>CGImageDestinationFinalize(destinationRef)"));
    EXPECT_THAT(text, HasSubstr("SRC>>[self saveSnapshotImageToURL:uniquePicturePathWithFolderURL]"));
    EXPECT_EQ(controller->recentPhotoSnapshotURL(), before);
    EXPECT_FALSE(controller->snapInProgress());
}

TEST_F(LTCCamWindowControllerTest, BeforeARenderTheCapturedFrameGoesOnWithANewTime)
{
    const auto captured = frame();
    const auto sample = sampleOf(captured);
    const auto result = controller->recording_processSampleBuffer(nullptr, sample);
    ASSERT_TRUE(result);
    EXPECT_NE(result, sample);
    EXPECT_EQ(result->imageBuffer(), captured);
    EXPECT_GT(CMTimeCompare(result->timing().presentationTimeStamp, CMTimeMake(1, 1)), 0);
    EXPECT_FALSE(CMTIME_IS_VALID(result->timing().duration));
    EXPECT_EQ(taker->frames, std::vector<Ref<CVPixelBuffer>> { captured });
}

TEST_F(LTCCamWindowControllerTest, TheNewestRenderedFrameReplacesTheCapturedOne)
{
    const auto rendered = frame();
    view->setOutputImage(rendered);
    const auto result = controller->recording_processSampleBuffer(nullptr, sampleOf(frame().get()).get());
    EXPECT_EQ(result->imageBuffer(), rendered);
    EXPECT_EQ(taker->frames, std::vector<Ref<CVPixelBuffer>> { rendered });
}

TEST_F(LTCCamWindowControllerTest, WithoutAViewTheFrameGoesOnAsItIs)
{
    controller->outletQCView = nullptr;
    const auto captured = frame();
    StandardErrorCapture capture;
    const auto result = controller->recording_processSampleBuffer(nullptr, sampleOf(captured).get());
    EXPECT_EQ(result->imageBuffer(), captured);
    // There is no view to ask for a format; the captured one stands in for it.
    EXPECT_THAT(capture.text(), HasSubstr("processedFormatDesc"));
}

TEST_F(LTCCamWindowControllerTest, ASampleThatCannotBeMadeLetsTheInputGoOnAndTheDelegateStillGetsTheFrame)
{
    const auto sample = sampleOf(frame().get());
    const FailPoint::Scope failing("CMSampleBufferCreateForImageBuffer");
    EXPECT_EQ(controller->recording_processSampleBuffer(nullptr, sample), sample);
    EXPECT_EQ(taker->frames.size(), 1u);
}

TEST_F(LTCCamWindowControllerTest, ASampleWithoutAPictureIsReportedAndGivenBack)
{
    const AudioStreamBasicDescription sound { 48000, kAudioFormatLinearPCM, 12, 4, 1, 4, 2, 16 };
    const auto sample = make<CMSampleBuffer>(
        std::vector<std::byte>(4), make<CMFormatDescription>(sound, AudioChannelLayout {}), CMSampleTimingInfo {});
    StandardErrorCapture capture;
    EXPECT_EQ(controller->recording_processSampleBuffer(nullptr, sample), sample);
    EXPECT_THAT(capture.text(), HasSubstr("capturePixelBuffer"));
    EXPECT_TRUE(taker->frames.empty());
}

TEST_F(LTCCamWindowControllerTest, BothFormatModelsFollowTheFrames)
{
    const auto captureFormat = make<CMFormatDescriptionModel>();
    const auto processedFormat = make<CMFormatDescriptionModel>();
    controller->outletCaptureFormat = captureFormat;
    controller->outletProcessedFormat = processedFormat;
    view->setOutputVideoFormatDescriptionWithCVPixelBuffer([] {
        Ref<CVPixelBuffer> buffer;
        CVPixelBufferCreate(kCFAllocatorDefault, 32, 32, kCVPixelFormatType_32BGRA, nullptr, &buffer);
        return buffer;
    }()
                                                               .get());
    controller->recording_processSampleBuffer(nullptr, sampleOf(frame().get()).get());
    EXPECT_EQ(captureFormat->videoFormat()->dimensions(), (CMVideoDimensions { 64, 36 }));
    EXPECT_EQ(processedFormat->videoFormat()->dimensions(), (CMVideoDimensions { 32, 32 }));
}

TEST_F(LTCCamWindowControllerTest, WhatTheProgramDrivesItselfIsNoParameter)
{
    const auto shows = [&](CFString* key) {
        return controller->compositionParameterView_shouldDisplayParameterWithKey_attributes(nullptr, key, nullptr);
    };
    EXPECT_FALSE(shows(QCCompositionInputImageKey));
    EXPECT_FALSE(shows(QCCompositionInputSourceImageKey));
    EXPECT_FALSE(shows(QCCompositionInputDestinationImageKey));
    EXPECT_FALSE(shows(QCCompositionInputXKey));
    EXPECT_FALSE(shows(CFString::create(textOf(QCCompositionInputYKey)).get()));
    EXPECT_TRUE(shows(CFSTR("strength")));
}

TEST_F(LTCCamWindowControllerTest, AnEmptySelectionLeavesTheCompositionLoaded)
{
    auto* const repository = LTCCompositionRepository::sharedCompositionRepository();
    repository->registerApplicationCompositionWithName(CFSTR("QCImageFilterRadar"));
    controller->selectComposition(LTCCompositionRepository::compositionWithName(CFSTR("QCImageFilterRadar")));
    const Ref<QCComposition> loaded = view->loadedComposition();
    ASSERT_TRUE(loaded);
    controller->selectComposition(nullptr);
    controller->selectComposition(CFSTR("text"));
    controller->compositionPickerView_didSelectComposition(nullptr, nullptr);
    EXPECT_EQ(view->loadedComposition(), loaded);
}

TEST_F(LTCCamWindowControllerTest, AThumbnailWithoutARendererIsAQuarterOfTheFrame)
{
    const auto captured = frame();
    const auto thumbnail = controller->_thumbnailPixelBufferWithPixelBuffer(captured);
    EXPECT_EQ(thumbnail.pixelBuffer, captured);
    EXPECT_EQ(thumbnail.transform, CGAffineTransformMakeScale(0.25, 0.25));
}

TEST_F(LTCCamWindowControllerTest, AThumbnailOfARendererIsItsOwnSmallPicture)
{
    const auto context = make<AVCaptureAcceleratedContext>();
    const auto renderer = make<LTCThumbnailInputRenderer>();
    context->setDelegate(renderer);
    context->awakeFromNib();
    controller->outletThumbnailRenderer = renderer;
    const auto captured = frame();
    const auto thumbnail = controller->_thumbnailPixelBufferWithPixelBuffer(captured);
    ASSERT_TRUE(thumbnail.pixelBuffer);
    EXPECT_EQ(thumbnail.pixelBuffer->width(), 640U);
    EXPECT_EQ(thumbnail.pixelBuffer->height(), 360U);
    EXPECT_EQ(thumbnail.pixelBuffer->baseAddress()[0], captured->baseAddress()[0]);
    EXPECT_EQ(thumbnail.transform, CGAffineTransformIdentity);
}

TEST_F(LTCCamWindowControllerTest, WithoutAPickerNothingIsQueuedForAFrame)
{
    const auto captured = frame();
    controller->setQCPickerViewPreviewInputImage(captured);
    EXPECT_EQ(captured->retainCount(), 1);
}

TEST_F(LTCCamWindowControllerTest, ClearingTheDelegatesEndsTheCoupling)
{
    view->setDelegate(controller);
    controller->destructWeakDelegates();
    EXPECT_EQ(view->delegate(), nullptr);
    EXPECT_FALSE(controller->outletQCView.strongReference());
}

TEST_F(LTCCamWindowControllerTest, TheVersionTextHasTwoDigitsForMinorAndPatch)
{
    EXPECT_THAT(controller->currentOSVersion()->string(),
        testing::MatchesRegex("defaultCameraPreviewFlippedY:0 [0-9]+\\.[0-9][0-9]+\\.[0-9][0-9]+"));
}

TEST_F(LTCCamWindowControllerTest, TheCaptureDefaultsAreSevenTwenty)
{
    LTCCamWindowController_CaptureDefaultsConstructor();
    EXPECT_EQ(AVCaptureFilteredMovieWriter_CapturePixelBufferSizeOrZero, (NSSize { 1280, 720 }));
    EXPECT_EQ(AVCaptureFilteredMovieWriter_CaptureSessionPresetOrNil, AVCaptureSessionPreset1280x720);
}
