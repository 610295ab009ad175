#pragma once

#include "Platform/AppKit/Quick/ObjectElement.h"

#include <QQmlParserStatus>

/// `ActionLink { target: …; selector: "…" }`: sends a message of the target. A missing message is an error of the file.
class ActionLink : public QObject, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(QVariant target MEMBER mTarget REQUIRED)
    Q_PROPERTY(QString selector MEMBER mSelector REQUIRED)
public:
    void classBegin() override { }
    void componentComplete() override;

    /// Sends the message, with \p argument as its argument: a value, an element or a handle.
    Q_INVOKABLE void send(const QVariant& argument = {});

private:
    QVariant mTarget;
    QString mSelector;
};

/// Reports for \p element when \p target is there and does not have the message.
void checkAction(const QObject* element, NSObject* target, const QString& selector);
