#include "Platform/AppKit/Quick/InterfaceLoader.h"

#include "Platform/AppKit/NSApplication.h"
#include "Platform/AppKit/NSTextField.h"
#include "Platform/AppKit/NSViewController.h"
#include "Platform/AppKit/NSWindowController.h"
#include "Platform/AppKit/Quick/ActionLink.h"
#include "Platform/AppKit/Quick/ControlLink.h"
#include "Platform/AppKit/Quick/ElapsedTime.h"
#include "Platform/AppKit/Quick/InterfaceLoad.h"
#include "Platform/AppKit/Quick/InterfaceMenu.h"
#include "Platform/AppKit/Quick/InterfaceTextField.h"
#include "Platform/AppKit/Quick/InterfaceView.h"
#include "Platform/AppKit/Quick/InterfaceWindow.h"
#include "Platform/AppKit/Quick/KeyBinding.h"
#include "Platform/AppKit/Quick/ObjectRows.h"
#include "Platform/AppKit/Quick/TableRows.h"
#include "Platform/Foundation/NSLog.h"

#include <QQmlComponent>
#include <QQmlContext>

#include <array>

namespace {

/// Named here, so that the linker keeps the classes that only interface files name.
const std::array<Class (*)(), 9> classesForFiles { &NSApplication::classObject, &NSWindow::classObject,
    &NSPanel::classObject, &NSView::classObject, &NSButton::classObject, &NSTextField::classObject,
    &NSTableView::classObject, &NSViewController::classObject, &NSWindowController::classObject };

}

InterfaceLoader::InterfaceLoader()
    : mEngine(std::make_unique<QQmlEngine>())
{
    for (const auto classObject : classesForFiles)
        classObject();
    registerElements();
    mEngine->setOutputWarningsToStandardError(false);
    connect(mEngine.get(), &QQmlEngine::warnings, this, &InterfaceLoader::warningsArrived);
}

InterfaceLoader::~InterfaceLoader()
{
    // The windows of a file go before the menus and objects that an earlier file made.
    while (!mRoots.empty())
        mRoots.pop_back();
}

void InterfaceLoader::registerElements()
{
    constexpr const char* module = "Tovrin.Interface";
    qmlRegisterType<InterfaceFile>(module, 1, 0, "InterfaceFile");
    qmlRegisterType<InterfaceObject>(module, 1, 0, "InterfaceObject");
    qmlRegisterType<FileOwner>(module, 1, 0, "FileOwner");
    qmlRegisterType<Outlet>(module, 1, 0, "Outlet");
    qmlRegisterType<ActionLink>(module, 1, 0, "ActionLink");
    qmlRegisterType<KeyBinding>(module, 1, 0, "KeyBinding");
    qmlRegisterType<ControlLink>(module, 1, 0, "ControlLink");
    qmlRegisterType<ObjectRows>(module, 1, 0, "ObjectRows");
    qmlRegisterType<TableRows>(module, 1, 0, "TableRows");
    qmlRegisterType<LayerItem>(module, 1, 0, "LayerItem");
    qmlRegisterType<InterfaceView>(module, 1, 0, "InterfaceView");
    qmlRegisterType<InterfaceTextField>(module, 1, 0, "InterfaceTextField");
    qmlRegisterType<ElapsedTime>(module, 1, 0, "ElapsedTime");
    qmlRegisterType<InterfaceWindow>(module, 1, 0, "InterfaceWindow");
    qmlRegisterType<InterfaceMenuItem>(module, 1, 0, "InterfaceMenuItem");
    qmlRegisterType<InterfaceMainMenu>(module, 1, 0, "InterfaceMainMenu");
    qmlRegisterType<MenuBarModel>(module, 1, 0, "MenuBarModel");
}

std::optional<std::string> InterfaceLoader::load(std::string_view name, NSObject* owner)
{
    const auto path = QStringLiteral("qrc:/Interface/%1.qml")
                          .arg(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
    return loadUrl(QUrl(path), owner);
}

std::optional<std::string> InterfaceLoader::loadUrl(const QUrl& url, NSObject* owner)
{
    const AutoreleasePool pool;
    InterfaceLoad load(owner);
    QQmlComponent component(mEngine.get(), url);
    std::unique_ptr<QObject> root(component.isReady() ? component.create() : nullptr);
    load.addErrors(component.errors());
    if (root)
        load.complete();
    if (load.hasErrors())
        return load.errorText();
    mRoots.push_back(std::move(root));
    return std::nullopt;
}

void InterfaceLoader::warningsArrived(const QList<QQmlError>& warnings)
{
    if (auto* const load = InterfaceLoad::current()) {
        load->addErrors(warnings);
        return;
    }
    for (const auto& warning : warnings)
        NSLog(CFSTR("%s"), warning.toString().toUtf8().constData());
}
