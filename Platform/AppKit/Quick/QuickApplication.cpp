#include "Platform/AppKit/Quick/QuickApplication.h"

#include "Platform/AppKit/NSApplication.h"
#include "Platform/AppKit/NSNib.h"
#include "Platform/AppKit/NSWorkspace.h"
#include "Platform/AppKit/Quick/FileManagerReveal.h"
#include "Platform/AppKit/Quick/RendererChoice.h"
#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSBundle.h"

#include <QIcon>
#include <QKeyEvent>
#include <QSessionManager>
#include <QWindow>

#include <clocale>
#include <csignal>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

const QEvent::Type mainQueueHasWork = static_cast<QEvent::Type>(QEvent::registerEventType());

/// Written by the signal handler, which may do nothing more than that.
int signalDescriptor = -1;

void noteSignal(int /*number*/)
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(signalDescriptor, &one, sizeof one);
}

/// The picture "<name>.png" in every size that is compiled in, so that a desktop need not scale it.
QIcon iconNamed(const std::string& name)
{
    QIcon icon;
    const auto* const bundle = NSBundle::mainBundle();
    for (const auto& resource : bundle->resourceNames()) {
        if (resource.substr(resource.rfind('/') + 1) != name + ".png")
            continue;
        const auto bytes = bundle->resourceNamed(resource);
        QPixmap pixmap;
        if (pixmap.loadFromData(reinterpret_cast<const uchar*>(bytes.data()), static_cast<uint>(bytes.size()), "PNG"))
            icon.addPixmap(pixmap);
    }
    return icon;
}

}

QuickApplication::QuickApplication(int& argumentCount, char** arguments)
    : QGuiApplication(argumentCount, arguments)
{
    // Numbers in files and shaders have a point, whatever the user's language writes.
    std::setlocale(LC_NUMERIC, "C");
    setQuitOnLastWindowClosed(false);
    introduceToDesktop();
    chooseRenderer();
    mLoader = std::make_unique<InterfaceLoader>();
    NSNib::setLoader([this](std::string_view name, NSObject* owner) { return mLoader->load(name, owner); });
    NSWorkspace::sharedWorkspace()->setReveal(&revealInFileManager);
    serveMainQueue();
    watchSignals();
    installEventFilter(this);
    connect(
        this, &QGuiApplication::commitDataRequest, this,
        [](QSessionManager&) { NSApplication::sharedApplication()->terminate(nullptr); }, Qt::DirectConnection);
}

QuickApplication::~QuickApplication()
{
    DispatchMain::setWakeUp(nullptr);
    NSNib::setLoader(nullptr);
    NSWorkspace::sharedWorkspace()->setReveal(nullptr);
    mLoader.reset();
    mSignalNotifier.reset();
    for (const int number : { SIGTERM, SIGINT, SIGHUP })
        std::signal(number, SIG_DFL);
    close(std::exchange(signalDescriptor, -1));
}

void QuickApplication::introduceToDesktop()
{
    const AutoreleasePool pool;
    const auto* const facts = NSBundle::mainBundle()->infoDictionary();
    if (auto* const identifier = facts->get<CFString>(CFSTR("CFBundleIdentifier")))
        setDesktopFileName(QString::fromStdString(identifier->string()));
    if (auto* const name = facts->get<CFString>(CFSTR("CFBundleIconFile")))
        setWindowIcon(iconNamed(name->string()));
}

void QuickApplication::serveMainQueue()
{
    DispatchMain::adoptCurrentThread();
    DispatchMain::setWakeUp(
        [this] { postEvent(this, std::make_unique<QEvent>(mainQueueHasWork).release(), Qt::HighEventPriority); });
    // Work may have been posted before anybody could be woken.
    postEvent(this, std::make_unique<QEvent>(mainQueueHasWork).release());
}

void QuickApplication::watchSignals()
{
    signalDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    mSignalNotifier = std::make_unique<QSocketNotifier>(signalDescriptor, QSocketNotifier::Read);
    connect(mSignalNotifier.get(), &QSocketNotifier::activated, this, &QuickApplication::signalArrived);
    for (const int number : { SIGTERM, SIGINT, SIGHUP })
        std::signal(number, &noteSignal);
    std::signal(SIGPIPE, SIG_IGN);
}

void QuickApplication::signalArrived()
{
    std::uint64_t count = 0;
    [[maybe_unused]] const auto got = read(signalDescriptor, &count, sizeof count);
    NSApplication::sharedApplication()->terminate(nullptr);
}

bool QuickApplication::notify(QObject* receiver, QEvent* event)
{
    const AutoreleasePool pool;
    return QGuiApplication::notify(receiver, event);
}

bool QuickApplication::event(QEvent* event)
{
    if (event->type() != mainQueueHasWork)
        return QGuiApplication::event(event);
    DispatchMain::drain();
    return true;
}

bool QuickApplication::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress || !watched->isWindowType())
        return false;
    const auto* const key = static_cast<QKeyEvent*>(event);
    const auto* const menu = NSApplication::sharedApplication()->mainMenu();
    if (!menu || key->isAutoRepeat())
        return false;
    const auto keys = QKeySequence(key->keyCombination()).toString(QKeySequence::PortableText).toStdString();
    auto* const item = menu->itemWithKeyEquivalent(keys);
    if (!item)
        return false;
    item->performAction();
    return true;
}
