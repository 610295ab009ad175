#include "CoreLattice/LTCCompositionParameterView.h"
#include "Platform/AppKit/Quick/ObjectElement.h"
#include "Platform/AppKit/Quick/QuickApplication.h"
#include "tests/CoreLattice/Pictures.h"

#include <QQmlComponent>
#include <QQuickItem>

namespace {

int argumentCount = 1;
char programName[] = "ParameterRowTests";
char* arguments[] = { programName, nullptr };

/// The first item below \p item whose class, in C++, is or inherits \p className.
QQuickItem* find(QQuickItem* item, const char* className)
{
    if (item->inherits(className))
        return item;
    for (auto* const child : item->childItems()) {
        if (auto* const found = find(child, className))
            return found;
    }
    return nullptr;
}

}

TEST(ParameterRow, TheSliderAndTheMenuSetTheirParameters)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    QuickApplication application(argumentCount, arguments);
    const AutoreleasePool pool;
    const auto renderer = make<LTCView>();
    renderer->loadComposition(Pictures::composition(R"(/*{ "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "level", "TYPE": "float", "DEFAULT": 0.5 },
        { "NAME": "mode", "TYPE": "long", "VALUES": [3, 7], "LABELS": ["Three", "Seven"], "DEFAULT": 3 } ] }*/ void main() {})"));
    const auto view = make<LTCCompositionParameterView>();
    view->setCompositionRenderer(renderer);

    QQmlComponent component(&application.loader().engine(), QUrl("qrc:/CoreLattice/ParameterRow.qml"));
    const auto rowOf = [&](std::size_t index) {
        std::unique_ptr<QObject> row(component.createWithInitialProperties(
            { { "parameter", QVariant::fromValue(ObjectHandle { view->parameters()->objectAtIndex(index) }) } }));
        EXPECT_TRUE(row) << component.errorString().toStdString();
        return row;
    };
    const auto number
        = [&](const char* key) { return kindOf<CFNumber>(renderer->valueForInputKey(CFSTR(key)))->doubleValue(); };

    const auto level = rowOf(0);
    auto* const slider = find(qobject_cast<QQuickItem*>(level.get()), "QQuickSlider");
    ASSERT_TRUE(slider);
    EXPECT_EQ(slider->property("value").toDouble(), 0.5);
    slider->setProperty("value", 0.75);
    QMetaObject::invokeMethod(slider, "moved");
    EXPECT_EQ(number("level"), 0.75);
    QMetaObject::invokeMethod(slider, "resetWanted");
    EXPECT_EQ(number("level"), 0.5);
    EXPECT_EQ(slider->property("value").toDouble(), 0.5);

    const auto mode = rowOf(1);
    auto* const menu = find(qobject_cast<QQuickItem*>(mode.get()), "QQuickComboBox");
    ASSERT_TRUE(menu);
    QMetaObject::invokeMethod(menu, "activated", Q_ARG(int, 1));
    EXPECT_EQ(number("mode"), 7);
}
