#include "Platform/AppKit/Quick/KeyBinding.h"

#include "Platform/AppKit/Quick/ActionLink.h"
#include "Platform/AppKit/Quick/InterfaceLoad.h"
#include "Platform/dispatch/dispatch.h"

#include <QPointer>

KeyBinding::~KeyBinding()
{
    end();
}

void KeyBinding::setObject(const QVariant& object)
{
    mObject = object;
    if (mComplete)
        begin();
}

void KeyBinding::componentComplete()
{
    InterfaceLoad::whenComplete(InterfaceLoad::Step::Bindings, [self = QPointer<KeyBinding>(this)] {
        if (!self)
            return;
        self->mComplete = true;
        self->begin();
    });
}

void KeyBinding::begin()
{
    end();
    const AutoreleasePool pool;
    mObserved = objectOf(mObject);
    if (!mObserved) {
        refresh();
        return;
    }
    if (!mTransformerName.isEmpty() && !mTransformer) {
        mTransformer = InterfaceLoad::makeObject(this, mTransformerName);
        checkAction(this, mTransformer, QStringLiteral("transformedValue:"));
    }
    try {
        mObserved->valueForKeyPath(mKeyPath.toStdString());
    } catch (const NSException& exception) {
        InterfaceLoad::report(this,
            QStringLiteral("\"%1\" has no key \"%2\": %3")
                .arg(QString::fromStdString(mObserved->isa()->name()), mKeyPath,
                    QString::fromStdString(exception.reason())));
        mObserved = nullptr;
        return;
    }
    mObserver = make<KeyBindingObserver>(this);
    mObserved->addObserver_forKeyPath_options_context(mObserver, mKeyPath.toStdString(), 0, this);
    refresh();
}

void KeyBinding::end()
{
    if (!mObserver)
        return;
    mObserver->forgetBinding();
    mObserved->removeObserver_forKeyPath_context(mObserver, mKeyPath.toStdString(), this);
    mObserver = nullptr;
    mObserved = nullptr;
}

QVariant KeyBinding::readValue()
{
    if (!mObserved)
        return {};
    auto value = mObserved->valueForKeyPath(mKeyPath.toStdString());
    if (mTransformer && mTransformer->respondsToSelector("transformedValue:"))
        value = mTransformer->performSelector("transformedValue:", value);
    return variantOf(value);
}

void KeyBinding::refresh()
{
    const AutoreleasePool pool;
    auto value = readValue();
    if (value == mValue && value.typeId() == mValue.typeId())
        return;
    mValue = std::move(value);
    emit valueChanged();
}

void KeyBinding::setValue(const QVariant& value)
{
    if (!mObserved)
        return;
    const AutoreleasePool pool;
    try {
        mObserved->setValue_forKeyPath(valueOf(value).get(), mKeyPath.toStdString());
    } catch (const NSException& exception) {
        InterfaceLoad::report(this, QString::fromStdString(exception.reason()));
    }
    // The object may have refused or changed the value; what is shown is what it has now.
    refresh();
}

void KeyBindingObserver::forgetBinding()
{
    const std::lock_guard lock(mLock);
    mBinding = nullptr;
}

void KeyBindingObserver::observeValueForKeyPath_ofObject_change_context(
    CFString* /*keyPath*/, NSObject* /*object*/, CFDictionary* /*change*/, const void* /*context*/)
{
    if (DispatchMain::isMainThread()) {
        refreshBinding();
        return;
    }
    {
        const std::lock_guard lock(mLock);
        if (mPending || !mBinding)
            return;
        mPending = true;
    }
    dispatch_async(dispatch_get_main_queue(), [weakSelf = WeakRef<KeyBindingObserver>(this)] {
        if (const auto self = weakSelf.strongReference())
            self->refreshBinding();
    });
}

void KeyBindingObserver::refreshBinding()
{
    KeyBinding* binding = nullptr;
    {
        const std::lock_guard lock(mLock);
        mPending = false;
        binding = mBinding;
    }
    // The binding dies on this thread only, after it was forgotten here.
    if (binding)
        binding->refresh();
}
