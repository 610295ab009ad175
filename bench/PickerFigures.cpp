// The picker and a view beside it, fed with a camera's pictures as the program feeds them: thirty times a second
// through the main queue. The picker's window is one of Qt's offscreen platform, drawn by the software renderer. For
// the gaps the driver begins without any compiled filter, as at the first start; so no other figures should be asked
// for with them.

#include "DrawnPictures.h"
#include "Figures.h"
#include "ProcessorTime.h"

#include "CoreLattice/CompiledCompositions.h"
#include "CoreLattice/FileCompositions.h"
#include "CoreLattice/LTCCompositionPickerView.h"
#include "CoreLattice/LTCCompositionRepository.h"
#include "CoreLattice/LTCView.h"
#include "Platform/AppKit/Quick/ObjectElement.h"
#include "Platform/AppKit/Quick/QuickApplication.h"
#include "Platform/dispatch/dispatch.h"
#include "Tovrin09/LTCCamWindow/LTCCamWindowController.h"

#include <QEventLoop>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

constexpr FigureName pickerCPU { "picker-cpu", "ms/frame",
    "picker: all that it costs for each captured picture, with the filters that come with the program" };
constexpr FigureName pickerScrollCPU { "picker-scroll-cpu", "ms/frame",
    "picker: the same while it is scrolled to and fro by a tile twice a second" };
constexpr FigureName pickerManyCPU { "picker-many-cpu", "ms/frame", "picker: the same with 500 filters" };
constexpr FigureName pickerManyScrollCPU { "picker-many-scroll-cpu", "ms/frame",
    "picker: the same while it is scrolled" };
constexpr FigureName pickerMemory { "picker-memory", "MiB",
    "picker: of the process, when all its tiles have been seen" };
constexpr FigureName calmGap { "gap-calm", "ms", "view: longest time between two pictures with nothing else going on" };
constexpr FigureName scrollGap { "gap-scrolling", "ms",
    "view: the same while the picker is scrolled through for the first time ever" };
constexpr FigureName selectGap { "gap-selecting", "ms",
    "view: the same while one filter after another is selected for the first time ever" };

constexpr auto interval = std::chrono::nanoseconds(1s) / 30;
constexpr int many = 500;
constexpr int stripWidth = 1280;
constexpr int stripHeight = 132;

/// Runs the application.
void runFor(std::chrono::duration<double> time)
{
    QEventLoop loop;
    QTimer::singleShot(
        std::chrono::duration_cast<std::chrono::milliseconds>(time), Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Runs it until something is so.
template <class Condition> void runUntil(const Condition& condition, const char* what)
{
    const auto end = Clock::now() + 120s;
    while (!condition()) {
        if (Clock::now() > end)
            throw std::runtime_error(std::string("it took too long until ") + what);
        runFor(50ms);
    }
}

/// An empty folder for the driver's compiled filters and whatever else a run keeps, gone at the end.
class Folder {
public:
    Folder()
    {
        auto name = (std::filesystem::temp_directory_path() / "tovrin-bench-XXXXXX").string();
        mPath = ::mkdtemp(name.data());
    }
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    const std::filesystem::path& path() const { return mPath; }

private:
    std::filesystem::path mPath;
};

/// Those that come with the program, and copies of them as files until there are \p count.
Ref<LTCCompositionRepository> repositoryOf(std::size_t count, const std::filesystem::path& folder)
{
    auto repository = make<LTCCompositionRepository>();
    const auto own = CoreLattice::compiledCompositions();
    std::filesystem::create_directories(folder / "copies");
    for (std::size_t i = own.size(); i < count; ++i)
        std::ofstream(folder / "copies" / (std::to_string(i) + ".fs"))
            << own[i % own.size()].fragment << "\n// " << i << '\n';
    // They are good, as their originals are.
    const auto program = folder / "trial";
    std::ofstream(program) << "#!/bin/sh\nprintf 'composition-trial\\tgood\\n'\n";
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    CoreLattice::CompositionFileSettings settings;
    settings.folders = { folder / "copies" };
    settings.userFolder.clear();
    settings.trial.program = program;
    settings.trial.cacheFolder = folder / "outcomes";
    repository->followFiles(std::move(settings));
    bool areRead = false;
    repository->whenFilesAreRead([&] { areRead = true; });
    runUntil([&] { return areRead; }, "the filters were read");
    return repository;
}

/// The picker in a window, and the controller that hands it the pictures.
class Picker {
public:
    Picker(QuickApplication& application, LTCCompositionRepository& repository)
        : mComponent(&application.loader().engine(), QUrl(QString::fromStdString(mView->interfaceComponent())))
    {
        mView->setRepository(&repository);
        mView->setCompositionsFromRepositoryWithProtocol_andAttributes(QCCompositionProtocolImageFilter, nullptr);
        mView->setShowsCompositionNames(true);
        mView->startAnimation(nullptr);
        mController->outletQCPickerView = mView.get();
        mItem.reset(qobject_cast<QQuickItem*>(
            mComponent.createWithInitialProperties({ { "view", QVariant::fromValue(ObjectHandle { mView }) } })));
        if (!mItem)
            throw std::runtime_error(mComponent.errorString().toStdString());
        mWindow.resize(stripWidth, stripHeight);
        mItem->setParentItem(mWindow.contentItem());
        mItem->setSize({ stripWidth, stripHeight });
        mWindow.show();
        runFor(200ms);
        mList = listIn(mItem.get());
        if (!mList)
            throw std::runtime_error("the picker has no strip");
    }
    LTCCompositionPickerView& view() { return *mView; }
    LTCCamWindowController& controller() { return *mController; }
    LTCCompositionPickerTile& tile(std::size_t index)
    {
        return *kindOf<LTCCompositionPickerTile>(mView->shownTiles()->objectAtIndex(index));
    }
    /// Whether all tiles on the screen have their pictures.
    bool isFilled()
    {
        const auto range = mView->visibleTiles();
        const auto number = [&](std::size_t i) {
            return static_cast<std::size_t>(kindOf<CFNumber>(range->objectAtIndex(i))->doubleValue());
        };
        const auto end = std::min(number(0) + number(1), mView->shownTiles()->count());
        for (std::size_t i = number(0); i < end; ++i) {
            if (!tile(i).thumbnail())
                return false;
        }
        return true;
    }
    void scrollBy(double distance) { QMetaObject::invokeMethod(mList, "scrollBy", Q_ARG(QVariant, distance)); }
    double step() const { return mList->property("step").toDouble(); }
    /// Puts the first tile on the screen \p tiles from the left.
    void scrollTo(int tiles) { mList->setProperty("contentX", mList->property("originX").toDouble() + tiles * step()); }
    int tilesOnScreen() const { return static_cast<int>(mList->width() / step()); }

private:
    static QQuickItem* listIn(QQuickItem* item)
    {
        if (item->inherits("QQuickListView"))
            return item;
        for (auto* const child : item->childItems()) {
            if (auto* const found = listIn(child))
                return found;
        }
        return nullptr;
    }

    const Ref<LTCCompositionPickerView> mView = make<LTCCompositionPickerView>();
    const Ref<LTCCamWindowController> mController = make<LTCCamWindowController>();
    QQmlComponent mComponent;
    QQuickWindow mWindow;
    std::unique_ptr<QQuickItem> mItem;
    QQuickItem* mList = nullptr;
};

/// Hands out a picture thirty times a second, on a queue of its own, for as long as it lives.
class Camera {
public:
    Camera(const std::vector<Ref<CVPixelBuffer>>& pictures, std::function<void(CVPixelBuffer*)> take)
        : mQueue(dispatch_queue_create("tovrin-bench.camera"))
        , mTimer(dispatch_source_create_timer(mQueue))
    {
        dispatch_source_set_timer(mTimer, DISPATCH_TIME_NOW, interval.count(), 0);
        dispatch_source_set_event_handler(
            mTimer, [this, &pictures, take = std::move(take)] { take(pictures[mCount++ % pictures.size()].get()); });
        dispatch_resume(mTimer);
    }
    ~Camera()
    {
        dispatch_source_cancel(mTimer);
        dispatch_sync(mQueue, [] {});
    }
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;
    std::size_t count() const { return mCount; }

private:
    std::atomic<std::size_t> mCount { 0 };
    const Ref<dispatch_queue> mQueue;
    const Ref<dispatch_source> mTimer;
};

/// Processor time of the process for each picture, while \p work runs the application.
template <class Work> double costOf(const Camera& camera, const Work& work)
{
    const auto before = camera.count();
    const double start = processorMilliseconds();
    work();
    return (processorMilliseconds() - start) / static_cast<double>(camera.count() - before);
}

double residentMebibytes()
{
    std::ifstream lines("/proc/self/status");
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("VmRSS:"))
            return std::atof(line.c_str() + 6) / 1024;
    }
    return 0;
}

/// To and fro over the tiles around \p middle, so that the same ones come back again and again.
void scrollToAndFro(Picker& picker, double seconds)
{
    constexpr int there = 8;
    for (int i = 0; i < static_cast<int>(seconds * 2); ++i) {
        picker.scrollBy((i / there) % 2 == 0 ? picker.step() : -picker.step());
        runFor(500ms);
    }
}

/// Shows every tile until it has its picture.
void showEach(Picker& picker)
{
    const auto count = static_cast<int>(picker.view().shownTiles()->count());
    for (int first = 0; first < count; first += picker.tilesOnScreen()) {
        picker.scrollTo(first);
        runFor(50ms);
        runUntil([&] { return picker.isFilled(); }, "the tiles were drawn");
    }
    picker.scrollTo(0);
    runFor(1s);
}

void measureCost(const BenchRequest& request, QuickApplication& application, std::size_t count, const FigureName& calm,
    const FigureName& scrolling)
{
    if (!request.wants(calm.name) && !request.wants(scrolling.name) && !request.wants(pickerMemory.name))
        return;
    const Folder folder;
    const auto repository = repositoryOf(count, folder.path());
    const auto pictures = drawnPictures();
    Picker picker(application, *repository);
    const Camera camera(
        pictures, [&](CVPixelBuffer* picture) { picker.controller().setQCPickerViewPreviewInputImage(picture); });
    runUntil([&] { return picker.isFilled(); }, "the tiles were drawn");
    runFor(2s);
    printFigure(request, calm, costOf(camera, [&] { runFor(std::chrono::duration<double>(request.seconds)); }));
    if (request.wants(scrolling.name)) {
        scrollToAndFro(picker, 16);
        printFigure(request, scrolling, costOf(camera, [&] { scrollToAndFro(picker, request.seconds); }));
    }
    if (count == CoreLattice::compiledCompositions().size() && request.wants(pickerMemory.name)) {
        showEach(picker);
        printFigure(request, pickerMemory, residentMebibytes());
    }
}

/// A view that notes when it has rendered.
class WatchedView : public LTCView {
public:
    bool renderAtTime_arguments(double time, CFDictionary* arguments) override
    {
        const bool rendered = LTCView::renderAtTime_arguments(time, arguments);
        const std::lock_guard lock(mLock);
        if (rendered)
            mRenders.push_back(Clock::now());
        return rendered;
    }
    /// Milliseconds, since the last call.
    double takeLongestGap()
    {
        const std::lock_guard lock(mLock);
        Clock::duration longest {};
        for (std::size_t i = 1; i < mRenders.size(); ++i)
            longest = std::max(longest, mRenders[i] - mRenders[i - 1]);
        mRenders.erase(mRenders.begin(), mRenders.end() - std::min<std::ptrdiff_t>(1, std::ssize(mRenders)));
        return std::chrono::duration<double, std::milli>(longest).count();
    }

private:
    std::mutex mLock;
    std::vector<Clock::time_point> mRenders;
};

void measureGaps(const BenchRequest& request, QuickApplication& application)
{
    if (!request.wants(calmGap.name) && !request.wants(scrollGap.name) && !request.wants(selectGap.name))
        return;
    const Folder folder;
    const auto repository = repositoryOf(CoreLattice::compiledCompositions().size(), folder.path());
    const auto pictures = drawnPictures();
    const auto view = make<WatchedView>();
    Picker picker(application, *repository);
    view->loadComposition(picker.tile(0).composition());
    view->startRendering();
    bool feedsPicker = false;
    const Camera camera(pictures, [&](CVPixelBuffer* picture) {
        dispatch_async(dispatch_get_main_queue(), [&, picture = Ref(picture)] {
            view->setValue_forInputKey(picture, QCCompositionInputImageKey);
            view->setNeedsDisplay(true);
            if (feedsPicker)
                picker.controller().setQCPickerViewPreviewInputImageOnMainThread(picture);
        });
    });
    runFor(3s);
    view->takeLongestGap();
    runFor(5s);
    printFigure(request, calmGap, view->takeLongestGap());
    const auto count = picker.view().shownCompositionCount();
    if (request.wants(selectGap.name)) {
        // From behind, so that scrolling meets others first.
        for (std::size_t i = count - 1; i > count / 2; --i) {
            view->loadComposition(picker.tile(i).composition());
            runFor(1s);
        }
        view->loadComposition(picker.tile(0).composition());
        runFor(1s);
        printFigure(request, selectGap, view->takeLongestGap());
    }
    if (request.wants(scrollGap.name)) {
        feedsPicker = true;
        for (int first = 0; first < static_cast<int>(count / 2); first += 2) {
            picker.scrollTo(first);
            runFor(1s);
        }
        printFigure(request, scrollGap, view->takeLongestGap());
    }
    view->stopRendering();
}

}

const std::vector<FigureName>& pickerFigures()
{
    static const std::vector<FigureName> figures { pickerCPU, pickerScrollCPU, pickerManyCPU, pickerManyScrollCPU,
        pickerMemory, calmGap, scrollGap, selectGap };
    return figures;
}

void measurePicker(const BenchRequest& request)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    const Folder driversFolder;
    qputenv("MESA_SHADER_CACHE_DIR", driversFolder.path().c_str());
    int count = 1;
    char name[] = "tovrin-bench";
    char* arguments[] { name, nullptr };
    QuickApplication application(count, arguments);
    const AutoreleasePool pool;
    measureGaps(request, application);
    measureCost(request, application, CoreLattice::compiledCompositions().size(), pickerCPU, pickerScrollCPU);
    measureCost(request, application, many, pickerManyCPU, pickerManyScrollCPU);
}
