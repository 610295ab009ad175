#pragma once

#include "Platform/AppKit/Quick/InterfaceView.h"

/// `InterfaceTextField { className: "NSTextField"; text: … }`: a view of a class of text fields; `text` is its string
/// value. The items in it draw the text. Enter and space work as a click does.
class InterfaceTextField : public InterfaceView {
    Q_OBJECT
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
public:
    explicit InterfaceTextField(QQuickItem* parent = nullptr);
    QString text() const;
    void setText(const QString& text);
    /// The pointer comes, clicks and goes, for the keyboard and for screen readers.
    Q_INVOKABLE void click();

signals:
    void textChanged();

protected:
    void keyPressEvent(QKeyEvent* event) override;
};
