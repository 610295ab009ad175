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

TEST(ParameterRow, TheControlsSetTheirParameters)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    QuickApplication application(argumentCount, arguments);
    const AutoreleasePool pool;
    const auto renderer = make<LTCView>();
    renderer->loadComposition(Pictures::composition(R"(/*{ "INPUTS": [
        { "NAME": "inputImage", "TYPE": "image" },
        { "NAME": "level", "TYPE": "float", "DEFAULT": 0.5 },
        { "NAME": "place", "TYPE": "point2D", "DEFAULT": [0.25, 40], "MIN": [0, 10], "MAX": [1, 110] },
        { "NAME": "mode", "TYPE": "long", "VALUES": [3, 7], "LABELS": ["Three", "Seven"], "DEFAULT": 3 },
        { "NAME": "turn", "TYPE": "float", "DEFAULT": 90, "MIN": -360, "MAX": 360, "UNIT": "°" },
        { "NAME": "wait", "TYPE": "float", "DEFAULT": 0.5, "UNIT": "s" },
        { "NAME": "background", "TYPE": "image" } ] }*/ void main() {})"));
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

    const auto level = rowOf(1);
    auto* const slider = find(qobject_cast<QQuickItem*>(level.get()), "QQuickSlider");
    ASSERT_TRUE(slider);
    EXPECT_EQ(slider->property("value").toDouble(), 0.5);
    slider->setProperty("value", 0.75);
    QMetaObject::invokeMethod(slider, "moved");
    EXPECT_EQ(number("level"), 0.75);
    QMetaObject::invokeMethod(slider, "resetWanted");
    EXPECT_EQ(number("level"), 0.5);
    EXPECT_EQ(slider->property("value").toDouble(), 0.5);

    auto* const figure = find(slider, "QQuickTextInput");
    ASSERT_TRUE(figure);
    const auto write = [](QQuickItem* field, const char* text) {
        QMetaObject::invokeMethod(field, "write", Q_ARG(QVariant, QString::fromUtf8(text)));
        QMetaObject::invokeMethod(field, "finish", Q_ARG(QVariant, true));
    };
    write(figure, "0,625");
    EXPECT_EQ(number("level"), 0.625);
    write(figure, "7");
    EXPECT_EQ(number("level"), 1) << "held within its bounds";
    write(figure, "-");
    EXPECT_EQ(number("level"), 1) << "no number changes nothing";
    EXPECT_EQ(figure->property("text").toString(), figure->property("figure").toString());

    const auto place = rowOf(2);
    auto* const pad = qobject_cast<QQuickItem*>(place.get());
    auto* const across = find(pad, "QQuickTextInput");
    ASSERT_TRUE(across);
    write(across, "0.5");
    const auto coordinate = [&](std::size_t axis) {
        return kindOf<CFNumber>(kindOf<CFArray>(renderer->valueForInputKey(CFSTR("place")))->objectAtIndex(axis))
            ->doubleValue();
    };
    EXPECT_EQ(coordinate(0), 0.5);
    EXPECT_EQ(coordinate(1), 40);
    auto* const point = pad->childItems().at(0)->childItems().at(0);
    QMetaObject::invokeMethod(point, "move", Q_ARG(QVariant, -0.25), Q_ARG(QVariant, 0.1));
    EXPECT_EQ(coordinate(0), 0.25);
    EXPECT_EQ(coordinate(1), 50);
    QMetaObject::invokeMethod(point, "move", Q_ARG(QVariant, -2), Q_ARG(QVariant, 2));
    EXPECT_EQ(coordinate(0), 0);
    EXPECT_EQ(coordinate(1), 110);
    QMetaObject::invokeMethod(point, "resetWanted");
    EXPECT_EQ(coordinate(0), 0.25);
    EXPECT_EQ(coordinate(1), 40);

    const auto mode = rowOf(3);
    auto* const menu = find(qobject_cast<QQuickItem*>(mode.get()), "QQuickComboBox");
    ASSERT_TRUE(menu);
    QMetaObject::invokeMethod(menu, "activated", Q_ARG(int, 1));
    EXPECT_EQ(number("mode"), 7);

    const auto turn = rowOf(4);
    auto* const angle = find(qobject_cast<QQuickItem*>(turn.get()), "QQuickTextInput");
    ASSERT_TRUE(angle);
    EXPECT_EQ(angle->property("text").toString(), QStringLiteral("90°"));
    for (const auto& [text, value] : { std::pair { "45°", 45.0 }, { " -30 ° ", -30.0 }, { "12,5", 12.5 },
             { "12.5 s", 12.5 }, { "°", 12.5 }, { "1000°", 360.0 } }) {
        write(angle, text);
        EXPECT_EQ(number("turn"), value) << text;
    }
    EXPECT_EQ(angle->property("text").toString(), QStringLiteral("360°"));

    const auto wait = rowOf(5);
    auto* const seconds = find(qobject_cast<QQuickItem*>(wait.get()), "QQuickTextInput");
    ASSERT_TRUE(seconds);
    EXPECT_EQ(seconds->property("text").toString(), QStringLiteral("0.50\u00a0s"));
    write(seconds, "0.75S");
    EXPECT_EQ(number("wait"), 0.75);

    const auto background = rowOf(6);
    auto* const picture = qobject_cast<QQuickItem*>(background.get())->childItems().at(0)->childItems().at(0);
    ASSERT_TRUE(picture);
    EXPECT_FALSE(picture->property("isSet").toBool());
    renderer->setValue_forInputKey(Pictures::plain(16, 9, { 1, 2, 3 }).get(), QCCompositionInputImageKey);
    auto* const take = find(picture, "QQuickButton");
    ASSERT_TRUE(take);
    QMetaObject::invokeMethod(take, "clicked");
    EXPECT_TRUE(picture->property("isSet").toBool());
    EXPECT_TRUE(renderer->valueForInputKey(CFSTR("background")));
    EXPECT_EQ(find(picture, "LayerItem")->property("visible"), true);
    QMetaObject::invokeMethod(picture, "resetWanted");
    EXPECT_FALSE(picture->property("isSet").toBool());
    EXPECT_FALSE(renderer->valueForInputKey(CFSTR("background")));
}
