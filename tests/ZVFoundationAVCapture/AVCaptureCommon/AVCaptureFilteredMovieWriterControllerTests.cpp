#include "Platform/CoreFoundation/CFData.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "tests/ZVFoundationAVCapture/AVCaptureCommon/MovieWriterFixture.h"

#include <fstream>

class FilteredMovieWriter : public MovieWriterFixture {
protected:
    /// A picture as the capture brings it, with a time in seconds.
    static Ref<CMSampleBuffer> frame(double seconds, std::int32_t width = 320, std::int32_t height = 180)
    {
        Ref<CVPixelBuffer> picture;
        CVPixelBufferCreate(kCFAllocatorDefault, static_cast<std::size_t>(width), static_cast<std::size_t>(height),
            kCVPixelFormatType_32BGRA, nullptr, &picture);
        CMSampleTimingInfo timing;
        timing.presentationTimeStamp = CMTimeMakeWithSeconds(seconds, 1'000'000);
        return make<CMSampleBuffer>(
            picture, make<CMFormatDescription>(kCVPixelFormatType_32BGRA, CMVideoDimensions { width, height }), timing);
    }
    /// Gives the controller a frame on its video queue, as the output does.
    void deliver(const Ref<CMSampleBuffer>& sample)
    {
        controller->dispatchVideoQueue()->sync([&] {
            controller->captureOutput_didOutputSampleBuffer_fromConnection(
                controller->videoDataOutput(), sample, controller->videoConnection());
        });
    }
    void TearDown() override
    {
        HostClock::driveByHand(false);
        MovieWriterFixture::TearDown();
    }
    /// A graph with connections whose devices bring nothing by themselves, nor does what stands in for them: the clock
    /// stands still.
    void setUpWithStillDevices()
    {
        HostClock::driveByHand(true);
        attach("Camera");
        attach("Microphone", "", AVMediaTypeAudio);
        controller->setupAndStartCaptureSession();
    }
    /// Sound as the capture brings it: 480 samples of silence.
    static Ref<CMSampleBuffer> sound(double seconds)
    {
        AudioStreamBasicDescription audio;
        audio.mSampleRate = 48000;
        audio.mFormatID = kAudioFormatLinearPCM;
        audio.mFormatFlags = 4 | 8; // signed integers, packed
        audio.mBytesPerFrame = audio.mBytesPerPacket = 4;
        audio.mFramesPerPacket = 1;
        audio.mChannelsPerFrame = 2;
        audio.mBitsPerChannel = 16;
        CMSampleTimingInfo timing;
        timing.presentationTimeStamp = CMTimeMakeWithSeconds(seconds, 1'000'000);
        timing.duration = CMTimeMake(480, 48000);
        return make<CMSampleBuffer>(
            std::vector<std::byte>(480 * 4), make<CMFormatDescription>(audio, AudioChannelLayout {}), timing);
    }
    void deliverSound(const Ref<CMSampleBuffer>& sample)
    {
        controller->dispatchAudioQueue()->sync([&] {
            controller->captureOutput_didOutputSampleBuffer_fromConnection(
                controller->audioDataOutput(), sample, controller->audioConnection());
        });
    }
    /// Real-time inputs lose what comes faster than it can be encoded.
    static bool waitUntilReady(AVAssetWriterInput* input)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!input->isReadyForMoreMediaData() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        return input->isReadyForMoreMediaData();
    }
    /// The first presentation times of the movie's tracks and how many samples each has, as ffprobe reads them.
    static std::string probe(const std::filesystem::path& movie)
    {
        const std::string command
            = "ffprobe -v error -show_entries stream=codec_type,start_time,nb_frames -of csv=p=0 '" + movie.string()
            + "'";
        std::string result;
        const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.c_str(), "r"), pclose);
        std::array<char, 256> line {};
        while (output && fgets(line.data(), line.size(), output.get()))
            result += line.data();
        return result;
    }
    void drainWriteQueue() { controller->dispatchWriteQueue()->waitUntilQueueEmpty(); }
};

TEST_F(FilteredMovieWriter, SetupConnectsBothMediaAndNamesTheMovie)
{
    EXPECT_FALSE(controller->captureSessionConnectionsAreSetup());
    EXPECT_EQ(controller->previewBufferQueue(), nullptr);
    setUpWithStillDevices();
    EXPECT_TRUE(controller->captureSessionConnectionsAreSetup());
    EXPECT_TRUE(controller->session()->isRunning());
    EXPECT_NE(controller->previewBufferQueue(), nullptr);
    EXPECT_EQ(delegate->count("properties"), 1);
    EXPECT_TRUE(CFEqual(controller->session()->sessionPreset(), AVCaptureSessionPreset640x480));
    EXPECT_EQ(controller->videoDataOutput()->requestedDimensions(), (CMVideoDimensions { 320, 180 }));
    EXPECT_TRUE(controller->videoDataOutput()->alwaysDiscardsLateVideoFrames());
    const std::filesystem::path movie(controller->movieURL()->fileSystemRepresentation());
    EXPECT_EQ(movie.extension(), ".mov");
    EXPECT_TRUE(movie.filename().string().starts_with("Tovrin Movie "));
    EXPECT_TRUE(movie.string().starts_with((folder / "home").string()));
    EXPECT_FALSE(std::filesystem::exists(movie));

    const Ref<NSURL> first(controller->movieURL());
    controller->setupAndStartCaptureSession();
    EXPECT_EQ(controller->movieURL(), first);
    EXPECT_EQ(delegate->count("properties"), 1);
}

TEST_F(FilteredMovieWriter, TheQueuesHaveTheirNamesAndSetTheirTargets)
{
    EXPECT_STREQ(dispatch_queue_get_label(controller->dispatchVideoQueue()->queue()),
        "AVCaptureFilteredMovieWriterController.dispatchVideoQueue");
    EXPECT_STREQ(dispatch_queue_get_label(controller->dispatchWriteQueue()->queue()),
        "AVCaptureFilteredMovieWriterController.dispatchWriteQueue");
    EXPECT_EQ(controller->dispatchVideoQueue()->targetQueue(), controller->dispatchAudioQueue()->targetQueue());
    EXPECT_FALSE(controller->dispatchMainQueueUI()->waitsUntilEmptyBeforeRelease());
    EXPECT_TRUE(controller->dispatchWriteQueue()->waitsUntilEmptyBeforeRelease());
}

TEST_F(FilteredMovieWriter, RefusedPartsOfTheGraphAreReportedAndTheRestIsBuilt)
{
    attach("Camera");
    attach("Microphone", "", AVMediaTypeAudio);
    const FailPoint::Scope noInput("AVCaptureSession.canAddInput");
    const FailPoint::Scope noOutput("AVCaptureSession.canAddOutput");
    const FailPoint::Scope noPreset("AVCaptureSession.canSetSessionPreset");
    StandardErrorCapture log;
    controller->setupAndStartCaptureSession();
    const auto text = log.text();
    for (const char* source : { "SRC>>[self.captureSession canAddInput:audioInput]",
             "SRC>>[self.captureSession canAddOutput:audioDataOutput]",
             "SRC>>[self.captureSession canAddInput:videoDeviceInput]",
             "SRC>>[self.captureSession canAddOutput:videoDataOutput]",
             "SRC>>[self.captureSession canSetSessionPreset:AVCaptureFilteredMovieWriter_CaptureSessionPresetOrNil]" })
        EXPECT_EQ(reports(text, source), 1) << source;
    EXPECT_FALSE(controller->captureSessionConnectionsAreSetup());
    EXPECT_TRUE(controller->session()->isRunning());
}

TEST_F(FilteredMovieWriter, WithoutAPreviewQueueTheSetupEnds)
{
    const FailPoint::Scope fails("CMBufferQueueCreate");
    StandardErrorCapture log;
    controller->setupAndStartCaptureSession();
    EXPECT_EQ(
        reports(log.text(),
            "SRC>>CMBufferQueueCreate(kCFAllocatorDefault, 1, CMBufferQueueGetCallbacksForUnsortedSampleBuffers(), "
            "&_previewBufferQueue)"),
        1);
    EXPECT_FALSE(controller->session()->isRunning());
}

TEST_F(FilteredMovieWriter, ASecondFrameIsNotPreviewedWhileTheFirstWaits)
{
    setUpWithStillDevices();
    std::mutex gate;
    std::unique_lock closed(gate);
    controller->dispatchWriteQueue()->async([&] { const std::lock_guard passed(gate); });
    deliver(frame(1.0));
    deliver(frame(1.1));
    closed.unlock();
    drainWriteQueue();
    EXPECT_EQ(delegate->count("display"), 1);
    deliver(frame(1.2));
    drainWriteQueue();
    EXPECT_EQ(delegate->count("display"), 2);
}

TEST_F(FilteredMovieWriter, APreviewThatRunsAfterTeardownReportsAndEnds)
{
    setUpWithStillDevices();
    StandardErrorCapture log;
    std::mutex gate;
    std::unique_lock closed(gate);
    controller->dispatchWriteQueue()->async([&] { const std::lock_guard passed(gate); });
    deliver(frame(1.0));
    controller->setPreviewBufferQueue(nullptr);
    deliver(frame(1.1));
    closed.unlock();
    drainWriteQueue();
    const auto text = log.text();
    EXPECT_EQ(delegate->count("display"), 0);
    EXPECT_NE(text.find("REQUIRED_CFTYPEOF"), std::string::npos);
    EXPECT_EQ(reports(text, "sampleBufferRef"), 1);
}

TEST_F(FilteredMovieWriter, ADelegateInTeardownIsShownNothing)
{
    setUpWithStillDevices();
    delegate->isInTeardown = true;
    StandardErrorCapture log;
    deliver(frame(1.0));
    drainWriteQueue();
    EXPECT_EQ(reports(log.text(), "SRC>>!recordingInTeardown"), 1);
    EXPECT_EQ(delegate->count("display"), 0);
}

TEST_F(FilteredMovieWriter, TheDelegatesFrameReplacesTheCapturedOne)
{
    setUpWithStillDevices();
    const auto replacement = frame(5.0, 64, 48);
    const WeakRef weak(replacement);
    delegate->process = [&](CMSampleBufferRef) { return replacement; };
    deliver(frame(1.0));
    drainWriteQueue();
    EXPECT_EQ(controller->videoDimensions(), (CMVideoDimensions { 64, 48 }));
    EXPECT_EQ(controller->videoType(), kCVPixelFormatType_32BGRA);
    EXPECT_EQ(replacement->retainCount(), 1);
    delegate->process = nullptr;
    deliver(frame(1.0));
    EXPECT_EQ(controller->videoDimensions(), (CMVideoDimensions { 64, 48 }));
}

TEST_F(FilteredMovieWriter, ANullResultLosesTheFrame)
{
    setUpWithStillDevices();
    delegate->process = [](CMSampleBufferRef) { return Ref<CMSampleBuffer>(); };
    StandardErrorCapture log;
    deliver(frame(1.0));
    drainWriteQueue();
    EXPECT_EQ(reports(log.text(), "processedSampleBuffer"), 1);
    EXPECT_EQ(delegate->count("display"), 0);
    EXPECT_EQ(controller->videoFrameRate(), 0);
    EXPECT_EQ(controller->videoDimensions(), CMVideoDimensions {});
}

TEST_F(FilteredMovieWriter, WithoutADelegateTheCapturedFrameFlowsOn)
{
    setUpWithStillDevices();
    controller->setDelegate(nullptr);
    deliver(frame(1.0));
    EXPECT_EQ(controller->videoDimensions(), (CMVideoDimensions { 320, 180 }));
    EXPECT_EQ(controller->videoFrameRate(), 0.5);
}

TEST_F(FilteredMovieWriter, AFrameOfAnotherConnectionIsIgnored)
{
    setUpWithStillDevices();
    const auto stranger
        = make<AVCaptureConnection>(AVMediaTypeVideo, controller->videoDeviceInput(), controller->videoDataOutput());
    controller->captureOutput_didOutputSampleBuffer_fromConnection(nullptr, frame(1.0).get(), stranger);
    drainWriteQueue();
    EXPECT_EQ(delegate->count("display"), 0);
    EXPECT_EQ(controller->videoFrameRate(), 0);
}

TEST_F(FilteredMovieWriter, TheFrameRateApproachesTheTrueOneByHalves)
{
    controller->calculateFramerateAtTimestamp(CMTimeMake(10 * 30, 30));
    EXPECT_EQ(controller->videoFrameRate(), 0.5);
    controller->calculateFramerateAtTimestamp(CMTimeMake(10 * 30 + 1, 30));
    EXPECT_EQ(controller->videoFrameRate(), 1.25);
    for (int i = 2; i < 120; ++i)
        controller->calculateFramerateAtTimestamp(CMTimeMake(10 * 30 + i, 30));
    EXPECT_NEAR(controller->videoFrameRate(), 31, 0.01);
    EXPECT_EQ(controller->previousSecondTimestamps()->count(), 31U);
    controller->calculateFramerateAtTimestamp(CMTimeMake(100, 1));
    EXPECT_EQ(controller->previousSecondTimestamps()->count(), 1U);
}

TEST_F(FilteredMovieWriter, SelectingNoDeviceOnlyWritesTheSecondLine)
{
    setUpWithStillDevices();
    const Ref<AVCaptureDeviceInput> before(controller->videoDeviceInput());
    StandardErrorCapture log;
    controller->setSelectedVideoDevice(nullptr);
    const auto text = log.text();
    EXPECT_EQ(text.find("AVControllerBase::setSelectedVideoDevice("), std::string::npos);
    EXPECT_NE(text.find("(selectedVideoDevice)Camera [test Camera] = AVControllerBase::setSelectedVideoDevice\n"),
        std::string::npos);
    EXPECT_EQ(controller->videoDeviceInput(), before);
}

TEST_F(FilteredMovieWriter, AFailedChangeLeavesNoCameraAndTellsTheDelegate)
{
    setUpWithStillDevices();
    const auto other = attach("Other");
    const FailPoint::Scope fails("AVCaptureDeviceInput.initWithDevice");
    controller->setSelectedVideoDevice(other);
    EXPECT_EQ(controller->videoDeviceInput(), nullptr);
    EXPECT_EQ(controller->selectedVideoDevice(), nullptr);
    EXPECT_EQ(delegate->count("error The device cannot be opened."), 1);
}

TEST_F(FilteredMovieWriter, ARefusedChangeTellsTheDelegateWithoutAnError)
{
    setUpWithStillDevices();
    const auto other = attach("Other");
    StandardErrorCapture log;
    {
        const FailPoint::Scope refuses("AVCaptureSession.canAddInput");
        controller->setSelectedVideoDevice(other);
    }
    EXPECT_EQ(reports(log.text(), "SRC>>[session canAddInput:newVideoDeviceInput]"), 1);
    EXPECT_EQ(delegate->count("error"), 1);
    controller->setSelectedVideoDevice(other);
    EXPECT_EQ(controller->selectedVideoDevice(), other);
}

TEST_F(FilteredMovieWriter, TeardownEndsForGood)
{
    setUpWithStillDevices();
    controller->stopAndTearDownCaptureSession();
    EXPECT_EQ(controller->session(), nullptr);
    EXPECT_EQ(controller->previewBufferQueue(), nullptr);
    controller->actionResumeCaptureSession(nullptr);
    controller->actionPauseResumeRecording(nullptr);
    EXPECT_EQ(controller->session(), nullptr);
}

TEST_F(FilteredMovieWriter, PauseAndResumeActOnTheSession)
{
    setUpWithStillDevices();
    controller->actionPauseResumeRecording(nullptr);
    EXPECT_FALSE(controller->session()->isRunning());
    controller->actionPauseResumeRecording(nullptr);
    EXPECT_TRUE(controller->session()->isRunning());
    controller->actionPauseCaptureSession(nullptr);
    EXPECT_FALSE(controller->session()->isRunning());
    controller->actionResumeCaptureSession(nullptr);
    EXPECT_TRUE(controller->session()->isRunning());
}

TEST_F(FilteredMovieWriter, RequestedStatesAreRefusedWithALineAndNeverStored)
{
    StandardErrorCapture log;
    EXPECT_FALSE(controller->transitionToRecordingState(1));
    EXPECT_EQ(controller->recordingState(), 0U);
    EXPECT_TRUE(controller->transitionToRecordingState(2));
    EXPECT_FALSE(controller->transitionToRecordingState(3));
    EXPECT_EQ(controller->recordingState(), 2U);
    EXPECT_FALSE(controller->transitionToRecordingState(9));
    EXPECT_TRUE(controller->transitionToRecordingState(0));
    const auto text = log.text();
    EXPECT_EQ(reports(text, "SRC>>newState==AVVideoCaptureRecording_Recording"), 1);
    EXPECT_EQ(reports(text, "SRC>>newState==AVVideoCaptureRecording_NotRecording"), 1);
}

TEST_F(FilteredMovieWriter, AStopMessageNeedsADelegateThatKnowsTheStart)
{
    const auto stopOnly = make<StopOnlyDelegate>();
    controller->setDelegate(stopOnly);
    controller->delegatedRecordingWillStop();
    EXPECT_EQ(stopOnly->stops, 0);
    controller->setDelegate(delegate);
    controller->delegatedRecordingWillStop();
    EXPECT_EQ(delegate->count("willStop"), 1);
}

TEST_F(FilteredMovieWriter, RecordingTheStandInsMakesAMovieAndTheNextOneReplacesIt)
{
    controller->setupAndStartCaptureSession();
    const std::filesystem::path movie(controller->movieURL()->fileSystemRepresentation());
    for (long run = 1; run <= 2; ++run) {
        controller->actionStartRecording(nullptr);
        ASSERT_TRUE(delegate->waitFor("didStart", run));
        EXPECT_TRUE(controller->recordingInProgress());
        EXPECT_EQ(controller->recordingState(), 2U);
        ASSERT_TRUE(delegate->waitFor("display", delegate->count("display") + 20));
        controller->actionStartStopRecording(nullptr);
        ASSERT_TRUE(delegate->waitFor("didStop", run));
        EXPECT_FALSE(controller->recordingInProgress());
        EXPECT_EQ(controller->assetWriter(), nullptr);
        EXPECT_GT(std::filesystem::file_size(movie), 1000U);
    }
    EXPECT_EQ(delegate->count("willStart"), 2);
    EXPECT_EQ(delegate->count("willStop"), 2);
    const auto trash = folder / "home/.local/share/Trash";
    EXPECT_TRUE(std::filesystem::exists(trash / "files" / movie.filename()));
    EXPECT_TRUE(std::filesystem::exists(trash / "info" / (movie.filename().string() + ".trashinfo")));
}

TEST_F(FilteredMovieWriter, AStopOfTheSessionFinishesTheRecording)
{
    controller->setupAndStartCaptureSession();
    controller->actionStartRecording(nullptr);
    ASSERT_TRUE(delegate->waitFor("didStart"));
    const std::filesystem::path movie(controller->movieURL()->fileSystemRepresentation());
    controller->stopAndTearDownCaptureSession();
    EXPECT_FALSE(controller->recordingInProgress());
    EXPECT_EQ(controller->assetWriter(), nullptr);
    EXPECT_TRUE(std::filesystem::exists(movie));
}

TEST_F(FilteredMovieWriter, AStopBeforeTheFirstSamplesDoesNothing)
{
    setUpWithStillDevices();
    controller->actionStartRecording(nullptr);
    drainWriteQueue();
    ASSERT_NE(controller->assetWriter(), nullptr);
    const Ref<AVAssetWriter> first(controller->assetWriter());
    EXPECT_EQ(controller->recordingState(), 0U);
    controller->actionStopRecording(nullptr);
    drainWriteQueue();
    EXPECT_EQ(delegate->count("willStop"), 0);
    EXPECT_EQ(controller->assetWriter(), first);
    controller->actionStartRecording(nullptr);
    drainWriteQueue();
    EXPECT_NE(controller->assetWriter(), first);
    EXPECT_EQ(delegate->count("willStart"), 2);
    deliver(frame(1.0));
    drainWriteQueue();
    EXPECT_TRUE(controller->readyToRecordVideo());
    EXPECT_FALSE(controller->readyToRecordAudio());
    EXPECT_EQ(controller->recordingState(), 0U);
}

TEST_F(FilteredMovieWriter, AWriterThatCannotBeMadeIsAnError)
{
    setUpWithStillDevices();
    const FailPoint::Scope fails("AVAssetWriter.initWithURL:fileType:error:");
    controller->actionStartRecording(nullptr);
    drainWriteQueue();
    EXPECT_EQ(delegate->count("willStart"), 1);
    EXPECT_EQ(controller->assetWriter(), nullptr);
    EXPECT_EQ(controller->recordingState(), 0U);
}

TEST_F(FilteredMovieWriter, AMovieThatCannotBeFinishedStaysInProgressUntilTheNextStop)
{
    controller->setupAndStartCaptureSession();
    controller->actionStartRecording(nullptr);
    ASSERT_TRUE(delegate->waitFor("didStart"));
    {
        const FailPoint::Scope fails("AVAssetWriter.finishWriting");
        controller->actionStopRecording(nullptr);
        drainWriteQueue();
    }
    EXPECT_TRUE(controller->recordingInProgress());
    EXPECT_NE(controller->assetWriter(), nullptr);
    EXPECT_EQ(delegate->count("didStop"), 0);
    controller->actionStopRecording(nullptr);
    EXPECT_TRUE(delegate->waitFor("didStop"));
    EXPECT_FALSE(controller->recordingInProgress());
}

TEST_F(FilteredMovieWriter, AFileThatCannotBeRemovedIsReported)
{
    const auto file = folder / "old.mov";
    std::ofstream(file) << "old";
    const auto path = CFString::create(file.string());
    const auto url = NSURL::fileURLWithPath(path);
    StandardErrorCapture log;
    {
        const FailPoint::Scope fails("NSFileManager.removeItemAtPath", 1);
        EXPECT_FALSE(AVCaptureFilteredMovieWriterController::removeFileAtURL(url));
    }
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_TRUE(AVCaptureFilteredMovieWriterController::removeFileAtURL(url));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_FALSE(AVCaptureFilteredMovieWriterController::removeFileAtURL(url));
    EXPECT_EQ(reports(log.text(), "SRC>>[fileManager removeItemAtPath:fileURL.path error:&error]"), 1);
}

TEST_F(FilteredMovieWriter, ANameThatCannotBeMadeGivesNoMovie)
{
    const FailPoint::Scope fails("tempnam");
    StandardErrorCapture log;
    EXPECT_FALSE(AVCaptureFilteredMovieWriterController::recordingWithTemporaryMovieOutputURL());
    EXPECT_EQ(reports(log.text(), "tempNameBytes"), 1);
}

TEST_F(FilteredMovieWriter, BitRatesFollowTheSizeOfThePicture)
{
    struct Case {
        std::int32_t width, height;
        std::int64_t bitsPerSecond;
    };
    setUpWithStillDevices();
    for (const auto& [width, height, bitsPerSecond] :
        { Case { 1280, 720, 10506240 }, { 1920, 1080, 23639040 }, { 640, 480, 3502080 }, { 639, 480, 1242216 } }) {
        controller->actionStartRecording(nullptr);
        drainWriteQueue();
        controller->setReadyToRecordVideo(false);
        deliver(frame(1.0, width, height));
        drainWriteQueue();
        ASSERT_NE(controller->assetWriterVideoIn(), nullptr);
        auto* const settings = controller->assetWriterVideoIn()->outputSettings();
        auto* const compression = settings->get<CFDictionary>(AVVideoCompressionPropertiesKey);
        EXPECT_EQ(compression->get<CFNumber>(AVVideoAverageBitRateKey)->integerValue(), bitsPerSecond);
        EXPECT_EQ(compression->get<CFNumber>(AVVideoMaxKeyFrameIntervalKey)->integerValue(), 30);
        EXPECT_EQ(settings->get<CFNumber>(AVVideoWidthKey)->integerValue(), width);
    }
}

TEST_F(FilteredMovieWriter, RefusedSoundSettingsAreReportedAndTheSoundIsWrittenAsItComes)
{
    setUpWithStillDevices();
    controller->actionStartRecording(nullptr);
    drainWriteQueue();
    AudioStreamBasicDescription audio;
    audio.mSampleRate = 48000;
    audio.mFormatID = kAudioFormatLinearPCM;
    audio.mChannelsPerFrame = 2;
    const auto description = make<CMFormatDescription>(audio, AudioChannelLayout {});
    auto* const settings = controller->preferredAudioOutputFormatSettingsOnceWithFormatDescription(description);
    ASSERT_NE(settings, nullptr);
    EXPECT_EQ(settings->get<CFNumber>(AVSampleRateKey)->doubleValue(), 48000);
    EXPECT_EQ(settings->get<CFNumber>(AVLinearPCMBitDepthKey)->integerValue(), 16);
    EXPECT_EQ(settings->count(), 8U);
    const FailPoint::Scope refuses("AVAssetWriter.canApplyOutputSettings:forMediaType:");
    const FailPoint::Scope noLayout("CMAudioFormatDescriptionGetChannelLayout");
    StandardErrorCapture log;
    EXPECT_EQ(controller->preferredAudioOutputFormatSettingsOnceWithFormatDescription(description), nullptr);
    const auto text = log.text();
    EXPECT_EQ(reports(text,
                  "SRC>>[self.assetWriter canApplyOutputSettings:attemptingAudioCompressionSettings "
                  "forMediaType:AVMediaTypeAudio]"),
        1);
    EXPECT_EQ(reports(text,
                  "SRC>>[self.assetWriter canApplyOutputSettings:resultingAudioOutputSettings "
                  "forMediaType:AVMediaTypeAudio]"),
        1);
    EXPECT_EQ(reports(text, "currentChannelLayout"), 1);
    EXPECT_EQ(reports(text, "SRC>>sizeofAudioChannelLayout>0"), 1);
}

TEST_F(FilteredMovieWriter, TheSampleThatCompletesBothInputsIsTheFirstOfTheMovie)
{
    setUpWithStillDevices();
    controller->actionStartRecording(nullptr);
    drainWriteQueue();
    const std::filesystem::path movie(controller->movieURL()->fileSystemRepresentation());
    for (int i = 0; i < 3; ++i)
        deliver(frame(1.0 + i / 30.0));
    drainWriteQueue();
    EXPECT_TRUE(controller->readyToRecordVideo());
    EXPECT_EQ(controller->assetWriter()->status(), AVAssetWriterStatusUnknown);
    EXPECT_EQ(delegate->count("didStart"), 0);
    for (int i = 0; i < 50; ++i) {
        ASSERT_TRUE(i == 0 || waitUntilReady(controller->assetWriterAudioIn()));
        deliverSound(sound(2.0 + i / 100.0));
        drainWriteQueue();
    }
    EXPECT_EQ(controller->assetWriter()->status(), AVAssetWriterStatusWriting);
    EXPECT_EQ(controller->recordingState(), 2U);
    EXPECT_EQ(delegate->count("didStart"), 1);
    for (int i = 0; i < 10; ++i) {
        ASSERT_TRUE(waitUntilReady(controller->assetWriterVideoIn()));
        deliver(frame(2.0 + i / 30.0));
        drainWriteQueue();
    }
    controller->actionStopRecording(nullptr);
    ASSERT_TRUE(delegate->waitFor("didStop"));
    // None of the three pictures from before the sound is there, and no sound is lost.
    EXPECT_EQ(probe(movie), "video,0.000000,10\naudio,0.000000,24000\n");
}

TEST_F(FilteredMovieWriter, ALayoutOfNoSizeOrTooSmallASizeIsReportedAndChangesNothing)
{
    setUpWithStillDevices();
    controller->actionStartRecording(nullptr);
    drainWriteQueue();
    const auto sample = sound(1.0);
    auto* const description = CMSampleBufferGetFormatDescription(sample);
    const Ref<CFDictionary> usual(controller->preferredAudioOutputFormatSettingsOnceWithFormatDescription(description));
    StandardErrorCapture log;
    const FailPoint::Scope noLayout("CMAudioFormatDescriptionGetChannelLayout");
    auto* const settings = controller->preferredAudioOutputFormatSettingsOnceWithFormatDescription(description);
    const auto text = log.text();
    EXPECT_EQ(reports(text, "SRC>>sizeofAudioChannelLayout>0"), 1);
    EXPECT_EQ(reports(text, "SRC>>sizeofAudioChannelLayout>=sizeof(AudioChannelLayout)"), 1);
    EXPECT_TRUE(CFEqual(settings, usual));
    EXPECT_EQ(settings->get<CFData>(AVChannelLayoutKey)->bytes().size(), 0U);
}

TEST_F(FilteredMovieWriter, InputsThatCannotBeBuiltAreReportedAndTriedAgain)
{
    setUpWithStillDevices();
    controller->actionStartRecording(nullptr);
    drainWriteQueue();
    StandardErrorCapture log;
    {
        const FailPoint::Scope refused("AVAssetWriter.canAddInput:");
        deliver(frame(1.0));
        deliverSound(sound(1.0));
        drainWriteQueue();
    }
    {
        const FailPoint::Scope refused("AVAssetWriter.canApplyOutputSettings:forMediaType:");
        deliver(frame(1.1));
        drainWriteQueue();
    }
    const auto text = log.text();
    for (const char* source : { "SRC>>[self.assetWriter canAddInput:self.assetWriterVideoIn]",
             "SRC>>[self.assetWriter canAddInput:self.assetWriterAudioIn]",
             "SRC>>[self.assetWriter canApplyOutputSettings:videoCompressionSettings forMediaType:AVMediaTypeVideo]" })
        EXPECT_EQ(reports(text, source), 1) << source;
    for (const char* line : { "Couldn't add asset writer video input.", "Couldn't add asset writer audio input.",
             "Couldn't apply video output settings." })
        EXPECT_NE(text.find(line), std::string::npos) << line;
    EXPECT_FALSE(controller->readyToRecordVideo() || controller->readyToRecordAudio());
    EXPECT_EQ(delegate->count("error"), 0);
    deliver(frame(1.2));
    deliverSound(sound(1.2));
    drainWriteQueue();
    EXPECT_EQ(controller->recordingState(), 2U);
}

TEST_F(FilteredMovieWriter, WithoutAWriterNothingIsBuiltOrWritten)
{
    StandardErrorCapture log;
    const auto picture = frame(1.0);
    const auto samples = sound(1.0);
    EXPECT_FALSE(controller->setupAssetWriterVideoInput(CMSampleBufferGetFormatDescription(picture)));
    EXPECT_FALSE(controller->setupAssetWriterAudioInput(CMSampleBufferGetFormatDescription(samples)));
    controller->writeSampleBuffer_ofType(picture, AVMediaTypeVideo);
    EXPECT_EQ(reports(log.text(), "SRC>>[self.assetWriter canAddInput:self.assetWriterAudioIn]"), 1);
    EXPECT_EQ(controller->recordingState(), 0U);
}

TEST_F(FilteredMovieWriter, WithoutASessionEveryPartOfTheGraphIsRefused)
{
    attach("Camera");
    attach("Microphone", "", AVMediaTypeAudio);
    controller->destructRecordingSession();
    StandardErrorCapture log;
    controller->setupAndStartCaptureSession();
    const auto text = log.text();
    for (const char* source : { "SRC>>[self.captureSession canAddInput:audioInput]",
             "SRC>>[self.captureSession canAddOutput:audioDataOutput]",
             "SRC>>[self.captureSession canAddInput:videoDeviceInput]",
             "SRC>>[self.captureSession canAddOutput:videoDataOutput]",
             "SRC>>[self.captureSession canSetSessionPreset:AVCaptureFilteredMovieWriter_CaptureSessionPresetOrNil]" })
        EXPECT_EQ(reports(text, source), 1) << source;
    EXPECT_EQ(controller->session(), nullptr);
}
