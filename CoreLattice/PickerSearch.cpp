#include "CoreLattice/PickerSearch.h"

#include <QStringList>

#include <algorithm>

namespace CoreLattice {

namespace {

QString qtText(CFString* text)
{
    return QString::fromStdString(text->string());
}

QStringList categoriesOf(const LTCCompositionPickerTile& tile)
{
    QStringList result;
    const auto* const categories
        = tile.isUsable() ? tile.composition()->attributes()->get<CFArray>(LTCCompositionCategoriesKey) : nullptr;
    for (const auto& value : categories ? categories->values() : std::vector<Ref<CFType>>()) {
        if (auto* const category = kindOf<CFString>(value))
            result.append(qtText(category));
    }
    return result;
}

}

Ref<CFArray> categoriesOf(const std::vector<Ref<LTCCompositionPickerTile>>& tiles)
{
    QStringList all;
    for (const auto& tile : tiles)
        all += categoriesOf(*tile);
    // Files differ in capitals; the first spelling is shown.
    std::ranges::stable_sort(
        all, [](const QString& a, const QString& b) { return a.compare(b, Qt::CaseInsensitive) < 0; });
    const auto rest = std::unique(all.begin(), all.end(),
        [](const QString& a, const QString& b) { return a.compare(b, Qt::CaseInsensitive) == 0; });
    all.erase(rest, all.end());
    auto result = make<CFArray>();
    for (const auto& category : all)
        result->append(CFString::create(category.toStdString()).get());
    return result;
}

bool matches(const LTCCompositionPickerTile& tile, CFString* category, CFString* words)
{
    const auto categories = categoriesOf(tile);
    const auto wanted = qtText(category);
    if (!wanted.isEmpty() && !categories.contains(wanted, Qt::CaseInsensitive))
        return false;
    auto text = qtText(tile.name()) + QLatin1Char('\n') + categories.join(QLatin1Char('\n'));
    if (!tile.isUsable())
        text += QLatin1Char('\n') + qtText(tile.explanation());
    const auto searched = qtText(words).simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return std::ranges::all_of(searched, [&](const QString& word) { return text.contains(word, Qt::CaseInsensitive); });
}

}
