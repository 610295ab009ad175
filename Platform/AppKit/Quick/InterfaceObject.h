#pragma once

#include "Platform/AppKit/Quick/ObjectElement.h"

#include <QQmlListProperty>
#include <QQmlParserStatus>

/// `InterfaceObject { className: "…" }`: an object without a picture. Outlets stand inside it.
class InterfaceObject : public QObject, public QQmlParserStatus, public ObjectElement {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus ObjectElement)
    Q_PROPERTY(QString className READ className WRITE setClassName REQUIRED)
    Q_PROPERTY(QQmlListProperty<QObject> elements READ elements)
    Q_CLASSINFO("DefaultProperty", "elements")
public:
    NSObject* object() const override { return mObject; }
    QString className() const { return mClassName; }
    virtual void setClassName(const QString& className);
    QQmlListProperty<QObject> elements() { return { this, &mElements }; }

    void classBegin() override { }
    void componentComplete() override { }

protected:
    QString mClassName;
    Ref<NSObject> mObject;

private:
    QList<QObject*> mElements;
};

/// `FileOwner { className: "…" }`: the object that loads the file, which must be of the class.
class FileOwner : public InterfaceObject {
    Q_OBJECT
public:
    void setClassName(const QString& className) override;
};

/// The root of an interface file.
class InterfaceFile : public QObject {
    Q_OBJECT
    Q_PROPERTY(QQmlListProperty<QObject> elements READ elements)
    Q_CLASSINFO("DefaultProperty", "elements")
public:
    QQmlListProperty<QObject> elements() { return { this, &mElements }; }

private:
    QList<QObject*> mElements;
};

/// `Outlet { name: "…"; object: … }` inside an element with an object: connects the object's outlet.
class Outlet : public QObject, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(QString name MEMBER mName REQUIRED)
    Q_PROPERTY(QObject* object MEMBER mTarget REQUIRED)
public:
    void classBegin() override { }
    void componentComplete() override;

private:
    void connectNow();
    QString mName;
    QObject* mTarget = nullptr;
};
