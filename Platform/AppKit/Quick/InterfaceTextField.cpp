#include "Platform/AppKit/Quick/InterfaceTextField.h"

#include "Platform/AppKit/NSTextField.h"

#include <QCursor>
#include <QKeyEvent>

InterfaceTextField::InterfaceTextField(QQuickItem* parent)
    : InterfaceView(parent)
{
    setActiveFocusOnTab(true);
    setCursor(Qt::PointingHandCursor);
}

QString InterfaceTextField::text() const
{
    const auto* const field = kindOf<NSTextField>(view());
    return field ? QString::fromStdString(field->stringValue()->string()) : QString();
}

void InterfaceTextField::setText(const QString& newText)
{
    auto* const field = kindOf<NSTextField>(view());
    if (!field || newText == text())
        return;
    field->setStringValue(CFString::create(newText.toStdString()).get());
    emit textChanged();
}

void InterfaceTextField::click()
{
    const AutoreleasePool pool;
    auto* const field = view();
    if (!field)
        return;
    const auto at = mapToScene(boundingRect().center());
    const auto eventOf = [at](NSEventType type) { return make<NSEvent>(type, NSPoint { at.x(), at.y() }); };
    if (!isHovered())
        field->mouseEntered(eventOf(NSEventTypeMouseEntered).get());
    field->mouseDown(eventOf(NSEventTypeLeftMouseDown).get());
    field->mouseUp(eventOf(NSEventTypeLeftMouseUp).get());
    if (!isHovered())
        field->mouseExited(eventOf(NSEventTypeMouseExited).get());
}

void InterfaceTextField::keyPressEvent(QKeyEvent* event)
{
    const bool presses
        = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space;
    if (!presses || event->isAutoRepeat()) {
        InterfaceView::keyPressEvent(event);
        return;
    }
    click();
}
