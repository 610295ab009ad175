// Runs inside a private session; see CMakeLists.txt.

#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/AVFoundation/TestPictureCounter.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "tests/Tovrin09/HotPlug/HelperProcess.h"
#include "tests/WithRequirements/StandardErrorCapture.h"
#include "Tovrin09/LTCCamWindow/LTCCaptureDeviceFollower.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

using Names = std::vector<std::string>;

/// The writer's delegate: notes which picture is shown. Any thread.
class PictureWatcher : public NSObject, public AVCaptureFilteredMovieWriterControllerDelegate {
    NS_OBJECT(PictureWatcher)
public:
    PictureWatcher() = default;
    Ref<CMSampleBuffer> recording_processSampleBuffer(
        AVCaptureFilteredMovieWriterController*, CMSampleBufferRef sampleBuffer) override
    {
        const auto* const picture = CMSampleBufferGetImageBuffer(sampleBuffer);
        const std::lock_guard lock(mLock);
        const auto now = HostClock::nanoseconds();
        if (mTime > 0)
            mLongestGap = std::max(mLongestGap, now - mTime);
        mTime = now;
        mShown = nameOf(*picture);
        ++mFrames;
        return Ref(sampleBuffer);
    }
    /// The camera whose picture came last, if that was a moment ago; "" when none comes.
    std::string shown() const
    {
        const std::lock_guard lock(mLock);
        constexpr std::int64_t moment = 500'000'000;
        return HostClock::nanoseconds() - mTime < moment ? mShown : "";
    }
    int frames() const
    {
        const std::lock_guard lock(mLock);
        return mFrames;
    }
    /// The longest time between two pictures since it was asked last, in seconds.
    double takeLongestGap()
    {
        const std::lock_guard lock(mLock);
        return static_cast<double>(std::exchange(mLongestGap, 0)) / 1e9;
    }

private:
    static std::string nameOf(const CVPixelBuffer& picture)
    {
        const auto row = picture.bytesPerRow();
        if (TestPictureCounter::readBGRA({ picture.baseAddress(), row * picture.height() },
                static_cast<int>(picture.width()), static_cast<int>(picture.height()), row))
            return "Test Picture";
        const auto* const middle = picture.baseAddress() + picture.height() / 2 * row + picture.width() / 2 * 4;
        const std::array<int, 3> colours { std::to_integer<int>(middle[0]), std::to_integer<int>(middle[1]),
            std::to_integer<int>(middle[2]) };
        const auto strongest = std::ranges::max_element(colours) - colours.begin();
        const int brightest = colours.at(static_cast<std::size_t>(strongest));
        const bool isGrey = brightest - *std::ranges::min_element(colours) < 40;
        return isGrey ? "Gray" : std::array { "Blue", "Green", "Red" }.at(static_cast<std::size_t>(strongest));
    }

    mutable std::mutex mLock;
    std::int64_t mTime = 0;
    std::int64_t mLongestGap = 0;
    std::string mShown;
    int mFrames = 0;
};

NS_IMPLEMENTATION(PictureWatcher, NSObject)
{
    type.message("recording:processSampleBuffer:", &PictureWatcher::recording_processSampleBuffer);
}

/// A PipeWire of the test's own, which it may end.
class MediaServices {
public:
    void start()
    {
        mPipeWire = HelperProcess("exec pipewire >/dev/null 2>&1");
        await("PipeWire", "pw-cli info 0 >/dev/null 2>&1");
        startManager();
    }
    void startManager()
    {
        mManager = HelperProcess("exec wireplumber >/dev/null 2>&1");
        await("WirePlumber", "pw-cli ls Metadata 2>/dev/null | grep -q '\"route-settings\"'");
    }
    void endManager() { mManager.end(SIGTERM); }
    void end()
    {
        endManager();
        mPipeWire.end(SIGTERM);
    }

private:
    static void await(const char* name, const std::string& question)
    {
        for (int i = 0; i < 200; ++i) {
            if (HelperProcess::run(question) == 0)
                return;
            HelperProcess::run("sleep 0.05");
        }
        ADD_FAILURE() << name << " does not answer";
    }
    HelperProcess mPipeWire;
    HelperProcess mManager;
};

MediaServices& services()
{
    static MediaServices services;
    return services;
}

/// A camera whose picture has one colour, which is its name.
HelperProcess camera(const std::string& colour, const std::string& options = "")
{
    return HelperProcess("ffmpeg -v quiet -nostdin -f lavfi -i color=c=" + colour
        + ":size=640x360:rate=30 -f yuv4mpegpipe -pix_fmt yuv420p - 2>/dev/null | " CAMERA_FEED " --name " + colour
        + " " + options + " 2>/dev/null");
}

HelperProcess microphone(const std::string& name)
{
    return HelperProcess("exec pw-cli -m create-node adapter '{ factory.name=support.null-audio-sink node.name=" + name
        + " node.description=" + name
        + " media.class=Audio/Source/Virtual object.linger=false audio.position=MONO }' >/dev/null 2>&1");
}

Names namesOf(AVMediaType mediaType)
{
    const AutoreleasePool pool;
    Names result;
    for (const auto& each : AVCaptureDevice::devicesWithMediaType(mediaType)->values())
        result.emplace_back(textOf(kindOf<AVCaptureDevice>(each)->localizedName()));
    return result;
}

}

/// The graph as the window has it, on the devices of the session.
class HotPlug : public testing::Test {
protected:
    static void SetUpTestSuite() { services().start(); }
    static void TearDownTestSuite() { services().end(); }
    void SetUp() override
    {
        ASSERT_TRUE(wait([] {
            return namesOf(AVMediaTypeVideo) == Names { "Test Picture" }
            && namesOf(AVMediaTypeAudio) == Names { "Silence" };
        }));
        AVCaptureFilteredMovieWriter_CaptureSessionPresetOrNil = AVCaptureSessionPreset1280x720;
        AVCaptureFilteredMovieWriter_CapturePixelBufferSizeOrZero = { 1280, 720 };
    }
    void launch()
    {
        writer = make<AVCaptureFilteredMovieWriterController>();
        writer->setDelegate(watcher);
        recorder = make<AVCaptureSessionRecorderController>();
        recorder->setRecorder(writer);
        follower = make<LTCCaptureDeviceFollower>();
        follower->outletMovieWriter = writer.get();
        follower->outletRecorder = recorder.get();
        recorder->awakeFromNib();
        follower->awakeFromNib();
        writer->setupAndStartCaptureSession();
    }
    void TearDown() override
    {
        if (writer) {
            writer->stopAndTearDownCaptureSession();
            std::filesystem::remove(std::string(textOf(writer->movieURL()->path())));
        }
        follower = nullptr;
        recorder = nullptr;
        writer = nullptr;
        DispatchMain::drain();
    }
    static bool wait(const std::function<bool()>& holds, double seconds = 20)
    {
        return DispatchMain::runUntil(holds, seconds);
    }
    bool waitUntilShown(const std::string& name, double seconds = 20)
    {
        return wait([&] { return watcher->shown() == name; }, seconds);
    }
    bool waitForCamera(const std::string& name)
    {
        return wait([&] { return std::ranges::count(namesOf(AVMediaTypeVideo), name) == 1; });
    }
    static void film(double seconds)
    {
        DispatchMain::runUntil([] { return false; }, seconds);
    }
    /// What a person does with the pop-up.
    void choose(const std::string& name) { recorder->setSelectedVideoDeviceName(CFString::create(name).get()); }
    std::string chosen() const { return std::string(textOf(recorder->selectedVideoDeviceName())); }

    double startRecording()
    {
        writer->actionStartRecording(nullptr);
        EXPECT_TRUE(wait([this] { return writer->recordingInProgress(); }));
        return static_cast<double>(HostClock::nanoseconds()) / 1e9;
    }
    /// Decoded in whole, with every picture at its own time, the movie gives no reason for a word.
    static void expectDecodable(const std::string& path)
    {
        const auto command
            = "ffmpeg -nostdin -v error -i '" + path + "' -vsync passthrough -enc_time_base -1 -f null -";
        EXPECT_EQ(HelperProcess::run("test -z \"$(" + command + " 2>&1)\""), 0) << command;
    }
    /// Ends the recording and expects one whole movie as long as the recording was.
    void expectMovie(double began)
    {
        EXPECT_TRUE(writer->recordingInProgress());
        const double seconds = static_cast<double>(HostClock::nanoseconds()) / 1e9 - began;
        writer->actionStopRecording(nullptr);
        EXPECT_TRUE(wait([this] { return !writer->recordingInProgress() && !writer->assetWriter(); }));
        const std::string path(textOf(writer->movieURL()->path()));
        const auto folder = std::filesystem::path(path).parent_path();
        const auto movies = std::ranges::count_if(std::filesystem::directory_iterator(folder),
            [](const auto& each) { return each.path().extension() == ".mov"; });
        EXPECT_EQ(movies, 1);
        const auto duration = [&path](const char* stream) {
            const auto out = path + "." + stream;
            EXPECT_EQ(HelperProcess::run("ffprobe -v error -select_streams " + std::string(stream)
                          + " -show_entries stream=duration -of csv=p=0 '" + path + "' > '" + out + "'"),
                0);
            double result = 0;
            if (auto* const file = std::fopen(out.c_str(), "r")) {
                EXPECT_EQ(std::fscanf(file, "%lf", &result), 1);
                std::fclose(file);
            }
            std::filesystem::remove(out);
            return result;
        };
        EXPECT_NEAR(duration("v"), seconds, 0.5);
        EXPECT_NEAR(duration("a"), duration("v"), 0.3);
        expectDecodable(path);
    }

    AutoreleasePool pool;
    const Ref<PictureWatcher> watcher = make<PictureWatcher>();
    Ref<AVCaptureFilteredMovieWriterController> writer;
    Ref<AVCaptureSessionRecorderController> recorder;
    Ref<LTCCaptureDeviceFollower> follower;
};

TEST_F(HotPlug, StartingWithNoneAndPluggingOneIn)
{
    launch();
    EXPECT_TRUE(waitUntilShown("Test Picture"));
    const auto red = camera("Red");
    EXPECT_TRUE(waitUntilShown("Red"));
    EXPECT_EQ(chosen(), "Red");
    EXPECT_EQ(namesOf(AVMediaTypeVideo), Names { "Red" });
}

TEST_F(HotPlug, PullingTheCameraInUseOutAndPluggingItBackIn)
{
    auto red = camera("Red");
    auto green = camera("Green");
    ASSERT_TRUE(waitForCamera("Red") && waitForCamera("Green"));
    launch();
    choose("Red");
    ASSERT_TRUE(waitUntilShown("Red"));
    StandardErrorCapture log;
    red.end(SIGKILL);
    EXPECT_TRUE(waitUntilShown("Green", 5));
    EXPECT_EQ(chosen(), "Green");
    green.end(SIGKILL);
    EXPECT_TRUE(waitUntilShown("Test Picture", 5));
    EXPECT_EQ(chosen(), "Test Picture");
    green = camera("Green");
    EXPECT_TRUE(waitUntilShown("Green"));
    red = camera("Red");
    EXPECT_TRUE(waitUntilShown("Red"));
    EXPECT_EQ(chosen(), "Red");
    film(1.5);
    // A device that was pulled out is nobody's mistake.
    EXPECT_EQ(log.text().find("cannot be used"), std::string::npos);
}

TEST_F(HotPlug, FiftyChangesAmongThreeCamerasWhileRecording)
{
    const std::array names { "Red", "Green", "Blue" };
    std::vector<HelperProcess> cameras;
    for (const auto* const name : names) {
        cameras.push_back(camera(name));
        ASSERT_TRUE(waitForCamera(name));
    }
    launch();
    const auto silent = microphone("Desk");
    ASSERT_TRUE(waitUntilShown("Red"));
    const auto began = startRecording();
    StandardErrorCapture log;
    watcher->takeLongestGap();
    for (std::size_t i = 1; i <= 50; ++i) {
        const std::string name = names.at(i % names.size());
        choose(name);
        DispatchMain::drain();
        EXPECT_EQ(chosen(), name);
        // Some people wait for the picture, some do not.
        if (i % 5 != 0) {
            EXPECT_TRUE(waitUntilShown(name, 5)) << i;
        }
    }
    EXPECT_TRUE(waitUntilShown(names.at(50 % names.size())));
    EXPECT_LT(watcher->takeLongestGap(), 5);
    expectMovie(began);
    EXPECT_EQ(log.text().find("cannot be used"), std::string::npos);
}

TEST_F(HotPlug, LosingCameraAndMicrophoneDoesNotEndTheRecording)
{
    auto red = camera("Red");
    auto desk = microphone("Desk");
    ASSERT_TRUE(waitForCamera("Red"));
    ASSERT_TRUE(wait([] { return namesOf(AVMediaTypeAudio) == Names { "Desk" }; }));
    launch();
    ASSERT_TRUE(waitUntilShown("Red"));
    const auto began = startRecording();
    film(1);
    red.end(SIGKILL);
    desk.end(SIGKILL);
    EXPECT_TRUE(waitUntilShown("Test Picture", 5));
    EXPECT_TRUE(wait([] { return namesOf(AVMediaTypeAudio) == Names { "Silence" }; }));
    film(1);
    red = camera("Red");
    desk = microphone("Desk");
    EXPECT_TRUE(waitUntilShown("Red"));
    film(1);
    expectMovie(began);
}

TEST_F(HotPlug, StoppingTheSessionFinishesTheRecording)
{
    const auto red = camera("Red");
    ASSERT_TRUE(waitForCamera("Red"));
    launch();
    ASSERT_TRUE(waitUntilShown("Red"));
    startRecording();
    film(1);
    writer->actionPauseCaptureSession(nullptr);
    EXPECT_TRUE(wait([this] { return !writer->recordingInProgress(); }));
    const std::string path(textOf(writer->movieURL()->path()));
    expectDecodable(path);
    writer->actionResumeCaptureSession(nullptr);
    EXPECT_TRUE(waitUntilShown("Red"));
}

TEST_F(HotPlug, ACameraThatAnotherProgramHoldsGivesOneLineAndLeavesTheRestWorking)
{
    const auto red = camera("Red");
    const auto green = camera("Green");
    ASSERT_TRUE(waitForCamera("Red") && waitForCamera("Green"));
    auto holder = HelperProcess("exec gst-launch-1.0 -q pipewiresrc target-object=session-camera.Red do-timestamp=true "
                                "stream-properties='p,node.exclusive=true' ! "
                                "video/x-raw,format=I420,width=640,height=360 ! fakesink sync=false >/dev/null 2>&1");
    ASSERT_TRUE(wait([] { return HelperProcess::run("pw-cli ls Link 2>/dev/null | grep -q link.input") == 0; }));
    StandardErrorCapture log;
    launch();
    choose("Red");
    EXPECT_TRUE(waitUntilShown("Test Picture"));
    EXPECT_EQ(chosen(), "Red");
    film(12);
    choose("Green");
    EXPECT_TRUE(waitUntilShown("Green", 3));
    choose("Red");
    holder.end(SIGTERM);
    EXPECT_TRUE(waitUntilShown("Red"));
    const auto text = log.text();
    const std::string line = "\"Red\" cannot be used: It gives no picture. Another program may hold it: close that "
                             "program, or plug the device in again. It is tried again until it works.\n";
    const auto first = text.find(line);
    EXPECT_NE(first, std::string::npos) << text;
    EXPECT_EQ(text.find("\"Green\" cannot be used"), std::string::npos);
}

TEST_F(HotPlug, ACameraThatStandsStillIsOpenedAgainWhenItMoves)
{
    const auto red = camera("Red");
    ASSERT_TRUE(waitForCamera("Red"));
    launch();
    ASSERT_TRUE(waitUntilShown("Red"));
    red.send(SIGSTOP);
    EXPECT_TRUE(waitUntilShown("Test Picture", 10));
    EXPECT_EQ(chosen(), "Red");
    red.send(SIGCONT);
    EXPECT_TRUE(waitUntilShown("Red", 30));
}

TEST_F(HotPlug, PipeWireMayEndAndComeBack)
{
    auto red = camera("Red");
    auto desk = microphone("Desk");
    ASSERT_TRUE(waitForCamera("Red"));
    ASSERT_TRUE(wait([] { return namesOf(AVMediaTypeAudio) == Names { "Desk" }; }));
    launch();
    ASSERT_TRUE(waitUntilShown("Red"));
    services().end();
    EXPECT_TRUE(waitUntilShown("Test Picture", 10));
    EXPECT_EQ(namesOf(AVMediaTypeVideo), Names { "Test Picture" });
    EXPECT_EQ(namesOf(AVMediaTypeAudio), Names { "Silence" });
    services().start();
    red = camera("Red");
    desk = microphone("Desk");
    EXPECT_TRUE(waitUntilShown("Red"));
    EXPECT_EQ(namesOf(AVMediaTypeVideo), Names { "Red" });
    EXPECT_TRUE(wait([] { return namesOf(AVMediaTypeAudio) == Names { "Desk" }; }));
}

TEST_F(HotPlug, TheSessionManagerMayEndAndComeBack)
{
    const auto red = camera("Red");
    ASSERT_TRUE(waitForCamera("Red"));
    launch();
    ASSERT_TRUE(waitUntilShown("Red"));
    services().endManager();
    film(1);
    services().startManager();
    film(2);
    EXPECT_TRUE(waitUntilShown("Red", 40));
    EXPECT_EQ(chosen(), "Red");
}

TEST_F(HotPlug, TheDefaultMicrophoneIsFirstAndMonitorsAreNone)
{
    const auto first = microphone("First");
    ASSERT_TRUE(wait([] { return namesOf(AVMediaTypeAudio) == Names { "First" }; }));
    const auto second = microphone("Second");
    ASSERT_TRUE(wait([] { return namesOf(AVMediaTypeAudio).size() == 2; }));
    const HelperProcess loudspeaker("exec pw-cli -m create-node adapter '{ factory.name=support.null-audio-sink "
                                    "node.name=Loud node.description=Loud media.class=Audio/Sink object.linger=false "
                                    "audio.position=FL,FR }' >/dev/null 2>&1");
    ASSERT_TRUE(wait([] { return HelperProcess::run("pw-cli ls Node 2>/dev/null | grep -q '\"Loud\"'") == 0; }));
    for (const std::string name : { "Second", "First" }) {
        ASSERT_EQ(HelperProcess::run("pw-metadata 0 default.configured.audio.source '{ \"name\": \"" + name
                      + "\" }' Spa:String:JSON >/dev/null 2>&1"),
            0);
        EXPECT_TRUE(wait([&] { return namesOf(AVMediaTypeAudio).front() == name; }));
        EXPECT_EQ(namesOf(AVMediaTypeAudio).size(), 2U);
    }
}

TEST_F(HotPlug, ACameraWithoutColoursIsLast)
{
    const auto grey = camera("Gray", "--grey yes");
    ASSERT_TRUE(waitForCamera("Gray"));
    const auto red = camera("Red");
    ASSERT_TRUE(waitForCamera("Red"));
    EXPECT_EQ(namesOf(AVMediaTypeVideo), (Names { "Red", "Gray" }));
    launch();
    EXPECT_TRUE(waitUntilShown("Red"));
    choose("Gray");
    EXPECT_TRUE(waitUntilShown("Gray"));
}

int main(int argc, char* argv[])
{
    testing::InitGoogleTest(&argc, argv);
    // Before anything looks for PipeWire.
    const std::string folder = std::string(std::getenv("XDG_RUNTIME_DIR")) + "/hot-plug";
    std::filesystem::create_directory(folder);
    setenv("PIPEWIRE_RUNTIME_DIR", folder.c_str(), 1);
    return RUN_ALL_TESTS();
}
