#pragma once

#include "Platform/AppKit/Quick/ObjectElement.h"

#include <QQmlParserStatus>

class KeyBindingObserver;

/// `KeyBinding { object: …; keyPath: "…" }`: `value` is the value of the object's key and follows it; assigning `value`
/// sets the key. A missing key is an error of the file.
///
/// With `transformer`, the name of a class of value transformers, `value` is what a transformer makes of the key's
/// value.
class KeyBinding : public QObject, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(QVariant object READ object WRITE setObject REQUIRED)
    Q_PROPERTY(QString keyPath MEMBER mKeyPath REQUIRED)
    Q_PROPERTY(QString transformer MEMBER mTransformerName)
    Q_PROPERTY(QVariant value READ value WRITE setValue NOTIFY valueChanged)
public:
    ~KeyBinding() override;

    QVariant object() const { return mObject; }
    void setObject(const QVariant& object);
    QVariant value() const { return mValue; }
    void setValue(const QVariant& value);
    /// Reads the key again. Main thread.
    void refresh();

    void classBegin() override { }
    void componentComplete() override;

signals:
    void valueChanged();

private:
    void begin();
    void end();
    QVariant readValue();

    QVariant mObject;
    QString mKeyPath;
    QString mTransformerName;
    Ref<NSObject> mTransformer;
    QVariant mValue;
    Ref<NSObject> mObserved;
    Ref<KeyBindingObserver> mObserver;
    bool mComplete = false;
};

/// Hears of the changes, on the thread that makes them, and has the binding read the key on the main thread. Several
/// changes that wait for that are one.
class KeyBindingObserver : public NSObject {
public:
    explicit KeyBindingObserver(KeyBinding* binding)
        : mBinding(binding)
    {
    }
    void forgetBinding();
    void observeValueForKeyPath_ofObject_change_context(
        CFString* keyPath, NSObject* object, CFDictionary* change, const void* context) override;

private:
    void refreshBinding();
    std::mutex mLock;
    KeyBinding* mBinding;
    bool mPending = false;
};
