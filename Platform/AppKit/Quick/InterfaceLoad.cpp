#include "Platform/AppKit/Quick/InterfaceLoad.h"

#include <QQmlInfo>

#include <algorithm>

namespace {

InterfaceLoad* currentLoad = nullptr;

/// Objects of interface files are never destroyed.
std::vector<Ref<NSObject>>& immortals()
{
    static auto& objects = *std::make_unique<std::vector<Ref<NSObject>>>().release();
    return objects;
}

}

InterfaceLoad::InterfaceLoad(NSObject* owner)
    : mOwner(owner)
    , mOuter(currentLoad)
{
    currentLoad = this;
}

InterfaceLoad::~InterfaceLoad()
{
    currentLoad = mOuter;
}

InterfaceLoad* InterfaceLoad::current()
{
    return currentLoad;
}

NSObject* InterfaceLoad::makeObject(QObject* element, const QString& className)
{
    const auto name = CFString::create(className.toStdString());
    const Class type = NSClassFromString(name);
    if (!type) {
        report(element, QStringLiteral("There is no class \"%1\"").arg(className));
        return nullptr;
    }
    const auto object = type->createInstance();
    if (!object) {
        report(element, QStringLiteral("The class \"%1\" makes no objects").arg(className));
        return nullptr;
    }
    immortals().push_back(object);
    if (currentLoad)
        currentLoad->mObjects.push_back(object);
    return object;
}

void InterfaceLoad::whenComplete(Step step, std::function<void()> action)
{
    if (currentLoad)
        currentLoad->mSteps.emplace_back(step, std::move(action));
    else
        action();
}

void InterfaceLoad::report(const QObject* element, const QString& message)
{
    // Goes to the engine's warnings, which the loader turns into errors of the load or into lines of the log.
    qmlWarning(element) << qUtf8Printable(message);
}

void InterfaceLoad::addErrors(const QList<QQmlError>& errors)
{
    for (const auto& error : errors)
        mErrors.push_back(error.toString().toStdString());
}

void InterfaceLoad::complete()
{
    for (const auto step : { Step::Outlets, Step::Actions, Step::Bindings })
        for (std::size_t i = 0; i < mSteps.size(); ++i)
            if (mSteps[i].first == step)
                mSteps[i].second();
    mSteps.clear();
    if (hasErrors())
        return;
    for (const auto& object : mObjects)
        object->awakeFromNib();
    if (mOwner)
        mOwner->awakeFromNib();
}

std::string InterfaceLoad::errorText() const
{
    std::string text;
    for (const auto& error : mErrors)
        text += (text.empty() ? "" : "\n") + error;
    return text;
}
