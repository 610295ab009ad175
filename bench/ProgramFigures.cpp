#include "CameraFeed.h"
#include "Figures.h"
#include "MovieNumbers.h"
#include "NumberReader.h"
#include "ScreenWatcher.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>

using namespace std::chrono_literals;

namespace {

constexpr FigureName startTime { "start", "ms",
    "program: from its start to the first picture on the screen, median of five" };
constexpr FigureName startTimeFirst { "start-first", "ms", "the same when the driver has kept no compiled filters" };
constexpr FigureName viewCPU { "view-cpu", "ms/frame", "program: filter and view" };
constexpr FigureName viewDropped { "view-dropped", "frames", "program: camera pictures that the window did not show" };
constexpr FigureName recordCPU { "record-cpu", "ms/frame", "program: the same with recording" };
constexpr FigureName recordDropped { "record-dropped", "frames", "program: camera pictures that the movie lacks" };
constexpr FigureName cameraCPU { "camera-cpu", "ms/frame", "program and extension: the same with a consumer too" };
constexpr FigureName cameraDropped { "camera-dropped", "frames", "camera pictures that the consumer did not get" };
constexpr FigureName cameraRate { "camera-rate", "frames/s", "different pictures that the consumer got" };
constexpr FigureName cameraLatency { "camera-latency", "ms", "captured picture to the consumer's, median" };
constexpr FigureName cameraLatency95 { "camera-latency-95", "ms", "the same, 95 of 100 are faster" };
constexpr FigureName programMemory { "memory", "MiB", "program and extension: memory with all of it on" };
constexpr FigureName plainViewCPU { "plain-view-cpu", "ms/frame", "plain GStreamer pipeline: filter and view" };
constexpr FigureName plainRecordCPU { "plain-record-cpu", "ms/frame",
    "plain GStreamer pipeline: the same with recording" };
constexpr FigureName plainCameraCPU { "plain-camera-cpu", "ms/frame",
    "plain GStreamer pipeline: the same with a consumer" };
constexpr FigureName plainCameraDropped { "plain-camera-dropped", "frames", "camera pictures that its consumer lacks" };
constexpr FigureName viewRatio { "view-ratio", "", "view-cpu / plain-view-cpu" };
constexpr FigureName recordRatio { "record-ratio", "", "record-cpu / plain-record-cpu" };
constexpr FigureName cameraRatio { "camera-ratio", "", "camera-cpu / plain-camera-cpu" };

const std::vector<FigureName> starts { startTime, startTimeFirst };
const std::vector<FigureName> programOnly { viewCPU, viewDropped, recordCPU, recordDropped, cameraCPU, cameraDropped,
    cameraRate, cameraLatency, cameraLatency95, programMemory };
const std::vector<FigureName> plainOnly { plainViewCPU, plainRecordCPU, plainCameraCPU, plainCameraDropped };
const std::vector<FigureName> ratios { viewRatio, recordRatio, cameraRatio };

/// Time for caches to fill and for the first frames' work to be over.
constexpr auto warmUp = 3s;
constexpr const char* virtualCamera = "org.tovrin.tovrin.09.CMIOExtension";

/// Files of one run.
std::string scratch(const std::string& name)
{
    const auto folder = std::filesystem::path(std::getenv("TOVRIN_SESSION")) / "bench";
    std::filesystem::create_directories(folder);
    return folder / name;
}

void require(bool condition, const std::string& what)
{
    if (!condition)
        throw std::runtime_error(what);
}

/// Numbers that are missing between the first and the last.
template <class Numbers> double missing(const Numbers& numbers)
{
    require(numbers.size() > 1, "no numbered pictures arrived");
    const std::set<std::uint32_t> different(numbers.begin(), numbers.end());
    return static_cast<double>(*different.rbegin() - *different.begin() + 1) - static_cast<double>(different.size());
}

/// The numbers that have arrived where it is watched since the last call.
using Arrivals = std::function<std::vector<std::uint32_t>()>;

struct Stage {
    double cost = 0; ///< processor milliseconds for each picture that arrived
    double dropped = 0;
};

/// What one stage costs. Counted by the pictures that arrive at its end: one that is dropped on the way is no work
/// saved.
Stage measureStage(
    const std::vector<ChildProcess*>& programs, std::chrono::duration<double> duration, const Arrivals& takeArrivals)
{
    const auto processorSeconds = [&] {
        double seconds = 0;
        for (const auto* const program : programs)
            seconds += program->processorSeconds();
        return seconds;
    };
    takeArrivals();
    const double secondsBefore = processorSeconds();
    std::this_thread::sleep_for(duration);
    const double seconds = processorSeconds() - secondsBefore;
    const auto arrivals = takeArrivals();
    for (auto* const program : programs)
        require(program->isRunning(), "a program under measurement has ended");
    return { seconds * 1000 / static_cast<double>(arrivals.size()), missing(arrivals) };
}

std::vector<std::uint32_t> numbersOf(const NumberReader::Watched& watched)
{
    std::vector<std::uint32_t> numbers;
    for (const auto& [number, arrival] : watched.firstSeen)
        numbers.push_back(number);
    return numbers;
}

std::string commandOutput(const std::string& command)
{
    std::string output;
    FILE* const pipe = ::popen(command.c_str(), "r");
    for (char line[512]; pipe && std::fgets(line, sizeof line, pipe);)
        output += line;
    if (pipe)
        ::pclose(pipe);
    while (!output.empty() && output.back() == '\n')
        output.pop_back();
    return output;
}

/// A watcher that comes before its camera may be given another one.
void waitForNode(const std::string& name)
{
    const auto question = "pw-cli ls Node | grep -q 'node.name = \"" + name + "\"'";
    require(waitUntil([&] { return std::system(question.c_str()) == 0; }, 30s), "there is no camera node " + name);
}

/// The movie of this run, in whichever folder the session's user has for movies.
std::optional<std::string> recordedMovie()
{
    std::error_code ignored;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(std::getenv("HOME"), ignored))
        if (entry.path().filename().string().starts_with("Tovrin Movie ") && entry.path().extension() == ".mov"
            && entry.file_size(ignored) > 0)
            return entry.path().string();
    return std::nullopt;
}

/// The application's main window, operated as a user operates it.
class MainWindow {
public:
    MainWindow()
    {
        const bool isThere = waitUntil(
            [this] {
                mWindow = commandOutput("xdotool search --onlyvisible --name '^Tovrin$' 2>/dev/null | head -n 1");
                return !mWindow.empty();
            },
            30s);
        require(isThere, "the program showed no window");
    }
    void press(const std::string& keys) const
    {
        const auto command = "xdotool windowfocus --sync " + mWindow + " key --clearmodifiers " + keys;
        require(std::system(command.c_str()) == 0, "no key could be pressed in the program's window");
    }

private:
    std::string mWindow;
};

void measureLatency(
    const BenchRequest& request, const NumberReader::Watched& camera, const NumberReader::Watched& consumer)
{
    std::vector<double> delays;
    for (const auto& [number, arrival] : consumer.firstSeen) {
        const auto captured = camera.firstSeen.find(number);
        if (captured != camera.firstSeen.end())
            delays.push_back(std::chrono::duration<double, std::milli>(arrival - captured->second).count());
    }
    require(!delays.empty(), "no picture of the camera reached the consumer");
    std::sort(delays.begin(), delays.end());
    printFigure(request, cameraLatency, delays[delays.size() / 2]);
    printFigure(request, cameraLatency95, delays[delays.size() * 95 / 100]);
}

/// From the start of the program until its window shows a picture of the camera.
double startMilliseconds(ScreenWatcher& screen)
{
    require(waitUntil([&] { return screen.takeNumbers().empty(); }, 10s), "an ended program's picture stays");
    const auto start = std::chrono::steady_clock::now();
    ChildProcess program({ PROGRAM_FOLDER "/tovrin" }, scratch("tovrin.log"));
    require(waitUntil([&] { return !screen.takeNumbers().empty(); }, 30s), "the program showed no picture");
    const auto shown = std::chrono::steady_clock::now();
    program.send(SIGTERM);
    require(program.waitForEnd(20s), "the program did not quit");
    return std::chrono::duration<double, std::milli>(shown - start).count();
}

void measureStart(const BenchRequest& request)
{
    CameraFeed feed(scratch("camera.log"));
    // The first run shows where on the screen the pictures come.
    auto program = std::make_optional<ChildProcess>(
        std::vector<std::string> { PROGRAM_FOLDER "/tovrin" }, scratch("tovrin.log"));
    ScreenWatcher screen;
    program.reset();
    const auto median = [&](const std::function<void()>& prepare) {
        std::vector<double> times;
        for (int run = 0; run < 5; ++run) {
            prepare();
            times.push_back(startMilliseconds(screen));
        }
        std::sort(times.begin(), times.end());
        return times[times.size() / 2];
    };
    printFigure(request, startTime, median([] {}));
    printFigure(request, startTimeFirst,
        median([] { std::filesystem::remove_all(std::filesystem::path(std::getenv("HOME")) / ".cache"); }));
}

struct StageCosts {
    double view = 0, record = 0, camera = 0;
};

/// One run of the program: it shows, then records as well, then has a consumer as well.
StageCosts measureProgram(const BenchRequest& request)
{
    const std::chrono::duration<double> duration(request.seconds);
    CameraFeed feed(scratch("camera.log"));
    ChildProcess extension({ PROGRAM_FOLDER "/tovrin-camera-extension" }, scratch("extension.log"));
    ChildProcess program({ PROGRAM_FOLDER "/tovrin" }, scratch("tovrin.log"));
    const MainWindow window;
    require(waitUntil([&] { return feed.frames() > 10; }, 30s), "the program did not open the camera");
    const std::vector<ChildProcess*> programs { &program, &extension };
    StageCosts costs;

    std::this_thread::sleep_for(warmUp);
    {
        ScreenWatcher screen;
        const auto view = measureStage(programs, duration, [&] { return screen.takeNumbers(); });
        costs.view = view.cost;
        printFigure(request, viewCPU, view.cost);
        printFigure(request, viewDropped, view.dropped);

        window.press("ctrl+r");
        require(waitUntil([] { return recordedMovie().has_value(); }, 15s), "the program began no movie");
        std::this_thread::sleep_for(warmUp);
        costs.record = measureStage(programs, duration, [&] { return screen.takeNumbers(); }).cost;
        printFigure(request, recordCPU, costs.record);
    }
    {
        waitForNode(virtualCamera);
        NumberReader consumer(virtualCamera);
        NumberReader camera(CameraFeed::nodeName);
        require(waitUntil([&] { return consumer.watched().pictures > 30; }, 30s), "the consumer got no pictures");
        std::this_thread::sleep_for(warmUp);
        camera.reset();
        NumberReader::Watched seen;
        const auto stage = measureStage(programs, duration, [&] {
            seen = consumer.watched();
            consumer.reset();
            return numbersOf(seen);
        });
        costs.camera = stage.cost;
        printFigure(request, cameraCPU, stage.cost);
        printFigure(request, programMemory, program.residentMebibytes() + extension.residentMebibytes());
        printFigure(request, cameraRate, static_cast<double>(seen.firstSeen.size()) / duration.count());
        printFigure(request, cameraDropped, stage.dropped);
        measureLatency(request, camera.watched(), seen);
    }

    window.press("ctrl+r");
    const auto movie = recordedMovie();
    require(movie.has_value(), "the movie is gone");
    program.send(SIGTERM);
    require(program.waitForEnd(20s), "the program did not quit");
    printFigure(request, recordDropped, missing(numbersInMovie(*movie)));
    return costs;
}

/// What somebody would write who knows GStreamer: no conversion more than needed, pictures stay with the graphics
/// driver until something needs them in memory.
std::string plainPipeline(bool withRecording, bool withConsumer)
{
    std::string text = std::string("pipewiresrc target-object=") + CameraFeed::nodeName
        + " ! queue max-size-buffers=3 leaky=downstream ! videoconvert ! glupload ! gleffects_sepia ! tee name=filtered"
          " filtered. ! queue max-size-buffers=3 leaky=downstream ! glimagesink sync=false";
    if (withRecording || withConsumer)
        text += " filtered. ! queue max-size-buffers=3 ! gldownload ! videoconvert ! video/x-raw,format=I420 ! tee "
                "name=memory";
    if (withRecording)
        text += " memory. ! queue ! x264enc speed-preset=superfast bitrate=10506 key-int-max=30 ! qtmux ! filesink "
                "location="
            + scratch("plain.mov");
    if (withConsumer)
        text += " memory. ! queue max-size-buffers=3 leaky=downstream ! identity drop-allocation=true ! pipewiresink "
                "mode=provide "
                "sync=false"
                " stream-properties=p,media.class=Video/Source,media.role=Camera,node.name=plain-camera";
    return text;
}

/// \throws std::runtime_error when the pipeline did not do its work
Stage tryPlain(const BenchRequest& request, bool withRecording, bool withConsumer)
{
    CameraFeed feed(scratch("camera.log"));
    ChildProcess program(
        { "/bin/sh", "-c", "exec gst-launch-1.0 --no-fault " + plainPipeline(withRecording, withConsumer) },
        scratch("plain.log"));
    require(waitUntil([&] { return feed.frames() > 10; }, 30s), "the plain pipeline did not open the camera");
    std::optional<NumberReader> consumer;
    if (withConsumer) {
        waitForNode("plain-camera");
        std::this_thread::sleep_for(warmUp);
        consumer.emplace("plain-camera");
        waitUntil([&] { return consumer->watched().pictures > 30 || !program.isRunning(); }, 20s);
        require(consumer->watched().pictures > 30, "the plain pipeline's consumer got no pictures");
    }
    std::this_thread::sleep_for(warmUp);
    const std::chrono::duration<double> duration(request.seconds);
    if (!consumer) {
        ScreenWatcher screen;
        return measureStage({ &program }, duration, [&] { return screen.takeNumbers(); });
    }
    return measureStage({ &program }, duration, [&] {
        const auto numbers = numbersOf(consumer->watched());
        consumer->reset();
        return numbers;
    });
}

/// PipeWire 0.3.65's sink for GStreamer dies on its first picture more often than not; a run in which it lives counts.
Stage measurePlain(const BenchRequest& request, bool withRecording, bool withConsumer)
{
    for (int attemptsLeft = withConsumer ? 7 : 0;; --attemptsLeft) {
        try {
            return tryPlain(request, withRecording, withConsumer);
        } catch (const std::runtime_error&) {
            if (attemptsLeft == 0)
                throw;
        }
    }
}

void measureAndCompare(const BenchRequest& request)
{
    if (request.wantsAny(starts))
        measureStart(request);
    StageCosts costs;
    if (request.wantsAny(programOnly) || request.wantsAny(ratios))
        costs = measureProgram(request);

    const auto compare
        = [&](const FigureName& plain, const FigureName& ratio, bool withRecording, bool withConsumer, double cost) {
              const bool isWanted = request.wants(plain.name) || request.wants(ratio.name)
                  || (withConsumer && request.wants(plainCameraDropped.name));
              if (!isWanted)
                  return;
              const auto plainStage = measurePlain(request, withRecording, withConsumer);
              printFigure(request, plain, plainStage.cost);
              if (withConsumer)
                  printFigure(request, plainCameraDropped, plainStage.dropped);
              printFigure(request, ratio, cost / plainStage.cost);
          };
    compare(plainViewCPU, viewRatio, false, false, costs.view);
    compare(plainRecordCPU, recordRatio, true, false, costs.record);
    compare(plainCameraCPU, cameraRatio, true, true, costs.camera);
}

/// What the programs said last, for whoever has to find out why they failed.
void showLogs()
{
    for (const auto& entry : std::filesystem::directory_iterator(scratch(""))) {
        if (entry.path().extension() != ".log" || entry.file_size() == 0)
            continue;
        std::fprintf(stderr, "---- %s\n%s\n", entry.path().filename().c_str(),
            commandOutput("tail -n 12 '" + entry.path().string() + "'").c_str());
    }
}

}

const std::vector<FigureName>& programFigures()
{
    static const std::vector<FigureName> figures = [] {
        auto all = starts;
        all.insert(all.end(), programOnly.begin(), programOnly.end());
        all.insert(all.end(), plainOnly.begin(), plainOnly.end());
        all.insert(all.end(), ratios.begin(), ratios.end());
        return all;
    }();
    return figures;
}

void measurePrograms(const BenchRequest& request)
{
    try {
        measureAndCompare(request);
    } catch (const std::exception&) {
        showLogs();
        throw;
    }
}
