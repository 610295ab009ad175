#include "CoreLattice/LTCCompositionPickerView.h"

#include "CoreLattice/LTCCompositionRepository.h"
#include "CoreLattice/PickerSearch.h"
#include "CoreLattice/ThumbnailScheduler.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace {

constexpr std::size_t mostNoticeLines = 3;
constexpr std::int64_t noticeStays = 8 * static_cast<std::int64_t>(NSEC_PER_SEC);

/// What stays the same while a file is edited.
std::string keyOf(CFType* subject)
{
    if (const auto* const composition = kindOf<QCComposition>(subject))
        return "composition " + composition->identifier()->string();
    return "file " + kindOf<LTCUnusableComposition>(subject)->file()->string();
}

}

NS_IMPLEMENTATION(LTCCompositionPickerView, NSView)
{
    type.message("setCompositionsFromRepositoryWithProtocol:andAttributes:",
        &LTCCompositionPickerView::setCompositionsFromRepositoryWithProtocol_andAttributes);
    type.message("startAnimation:", &LTCCompositionPickerView::startAnimation);
    type.message("stopAnimation:", &LTCCompositionPickerView::stopAnimation);
    type.message("isAnimating", &LTCCompositionPickerView::isAnimating);
    type.message("setDefaultValue:forInputKey:", &LTCCompositionPickerView::setDefaultValue_forInputKey);
    type.message("resetDefaultInputValues", &LTCCompositionPickerView::resetDefaultInputValues);
    type.message("setDelegate:", &LTCCompositionPickerView::setDelegate);
    type.message("_repositoryDidUpdate:", &LTCCompositionPickerView::_repositoryDidUpdate);
    type.message("_repositoryDidAddFiles:", &LTCCompositionPickerView::_repositoryDidAddFiles);
    type.message("_viewDidLoadComposition:", &LTCCompositionPickerView::_viewDidLoadComposition);
    type.key("compositions", &LTCCompositionPickerView::compositions);
    type.key("showsCompositionNames", &LTCCompositionPickerView::showsCompositionNames,
        &LTCCompositionPickerView::setShowsCompositionNames);
    type.key("allowsEmptySelection", &LTCCompositionPickerView::allowsEmptySelection,
        &LTCCompositionPickerView::setAllowsEmptySelection);
    type.key("selectedComposition", &LTCCompositionPickerView::selectedComposition,
        &LTCCompositionPickerView::setSelectedComposition);
    type.key("notice", &LTCCompositionPickerView::notice);
    type.key("selectedIndex", &LTCCompositionPickerView::selectedIndex, &LTCCompositionPickerView::selectTileAtIndex);
    type.key("categories", &LTCCompositionPickerView::categories);
    type.key("category", &LTCCompositionPickerView::category, &LTCCompositionPickerView::setCategory);
    type.key("searchText", &LTCCompositionPickerView::searchText, &LTCCompositionPickerView::setSearchText);
    type.key("shownTiles", &LTCCompositionPickerView::shownTiles);
    type.key("shownIndex", &LTCCompositionPickerView::shownIndex, &LTCCompositionPickerView::selectShownTileAtIndex);
    type.key("visibleTiles", &LTCCompositionPickerView::visibleTiles, &LTCCompositionPickerView::setVisibleTiles);
    type.key("shownCompositionCount", &LTCCompositionPickerView::shownCompositionCount);
    type.dependentKey("shownIndex", { "shownTiles", "selectedIndex" });
    type.dependentKey("shownCompositionCount", { "shownTiles" });
    type.outlet("delegate", &LTCCompositionPickerView::delegate, &LTCCompositionPickerView::setDelegate);
}

LTCCompositionPickerView::LTCCompositionPickerView()
    : mCompositions(make<CFArray>())
    , mTiles(make<CFArray>())
    , mShownTiles(make<CFArray>())
    , mCategories(make<CFArray>())
    , mCategory(CFSTR(""))
    , mSearchText(CFSTR(""))
    , mScheduler(std::make_shared<CoreLattice::ThumbnailScheduler>())
{
    mScheduler->setMaxFrameRate(mMaxAnimationFrameRate);
    NSNotificationCenter::defaultCenter()->addObserver_selector_name_object(
        this, "_viewDidLoadComposition:", LTCViewDidLoadCompositionNotification, nullptr);
    NSNotificationCenter::defaultCenter()->addObserver_selector_name_object(
        this, "_repositoryDidUpdate:", LTCCompositionRepositoryDidUpdateNotification, nullptr);
    NSNotificationCenter::defaultCenter()->addObserver_selector_name_object(
        this, "_repositoryDidAddFiles:", LTCCompositionRepositoryDidAddFilesNotification, nullptr);
}

LTCCompositionPickerView::~LTCCompositionPickerView() = default;

std::string LTCCompositionPickerView::interfaceComponent()
{
    return "qrc:/CoreLattice/LTCCompositionPickerView.qml";
}

void LTCCompositionPickerView::setRepository(LTCCompositionRepository* repository)
{
    mRepository = repository;
}

LTCCompositionRepository* LTCCompositionPickerView::repository() const
{
    return mRepository ? mRepository.get() : LTCCompositionRepository::sharedCompositionRepository();
}

void LTCCompositionPickerView::setCompositionsFromRepositoryWithProtocol_andAttributes(
    CFString* protocol, CFDictionary* attributes)
{
    if (!isPresent(protocol))
        return;
    mProtocol = protocol;
    mAttributes = attributes;
    listCompositions(nullptr);
}

void LTCCompositionPickerView::_repositoryDidUpdate(NSNotification* notification)
{
    if (!mProtocol || notification->object() != repository())
        return;
    const Ref<QCComposition> selected = selectedComposition();
    listCompositions(selected ? selected->identifier() : nullptr);
}

void LTCCompositionPickerView::_repositoryDidAddFiles(NSNotification* notification)
{
    if (!mProtocol || notification->object() != repository())
        return;
    std::vector<std::string> lines;
    for (const auto& value : notification->userInfo()->get<CFArray>(CFSTR("unusable"))->values())
        lines.push_back(kindOf<LTCUnusableComposition>(value)->reason()->string());
    for (const auto& value : notification->userInfo()->get<CFArray>(CFSTR("compositions"))->values()) {
        const auto* const composition = kindOf<QCComposition>(value);
        if (!composition->conformsToProtocol(mProtocol))
            lines.push_back(composition->name()->string() + ": it takes no picture, so it is no filter to choose");
    }
    std::string text;
    for (std::size_t i = 0; i < std::min(lines.size(), mostNoticeLines); ++i)
        text += (i > 0 ? "\n" : "") + lines[i];
    if (lines.size() > mostNoticeLines)
        text += "\nand " + std::to_string(lines.size() - mostNoticeLines) + " more";
    setNotice(std::move(text));
}

void LTCCompositionPickerView::setNotice(std::string text)
{
    ++mNotices;
    {
        const NSKeyValueChange change(this, "notice");
        mNotice = CFString::create(text);
    }
    if (text.empty())
        return;
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, noticeStays), dispatch_get_main_queue(),
        [weakSelf = WeakRef { this }, notice = mNotices] {
            const auto self = weakSelf.strongReference();
            if (self && self->mNotices == notice)
                self->setNotice({});
        });
}

/// \param selected  the identifier of the composition that is to be the selected one, if there is one; null for none
void LTCCompositionPickerView::listCompositions(CFString* selected)
{
    auto included = includedCompositions();
    const auto unusable = repository()->unusableCompositions();
    const auto known = tilesByKey();
    std::vector<Ref<LTCCompositionPickerTile>> tiles;
    for (const auto* const subjects : { included.get(), unusable.get() }) {
        for (const auto& subject : subjects->values()) {
            const auto found = known.find(keyOf(subject));
            tiles.push_back(tileFor(subject, found == known.end() ? nullptr : found->second.get()));
        }
    }
    const auto compositions = included->values();
    const auto found = std::ranges::find_if(compositions, [&](const Ref<CFType>& composition) {
        return selected && CFEqual(kindOf<QCComposition>(composition)->identifier(), selected);
    });
    setTiles(std::move(tiles), std::move(included),
        found == compositions.end() ? -1 : static_cast<long>(found - compositions.begin()));
}

/// What the repository has and the delegate does not leave out.
Ref<CFArray> LTCCompositionPickerView::includedCompositions()
{
    const auto offered = repository()->compositionsWithProtocol_andAttributes(mProtocol, mAttributes);
    const auto delegate = mDelegate.strongReference();
    auto* const judge = delegate && delegate->respondsToSelector("compositionPickerView:shouldIncludeComposition:")
        ? kindOf<LTCCompositionPickerViewDelegate>(delegate)
        : nullptr;
    auto included = make<CFArray>();
    for (const auto& value : offered->values()) {
        auto* const composition = kindOf<QCComposition>(value);
        if (composition && (!judge || judge->compositionPickerView_shouldIncludeComposition(this, composition)))
            included->append(composition);
    }
    return included;
}

/// The present tiles; there may be hundreds.
std::map<std::string, Ref<LTCCompositionPickerTile>> LTCCompositionPickerView::tilesByKey() const
{
    std::map<std::string, Ref<LTCCompositionPickerTile>> result;
    for (const auto& value : mTiles->values()) {
        auto* const tile = kindOf<LTCCompositionPickerTile>(value);
        result.emplace(keyOf(tile->subject()), tile);
    }
    return result;
}

/// \param former  of a composition with the same identifier, or of the same file; null when there is none. It stays
///     where it is for the same thing; else the new one has its picture until it has one of its own.
Ref<LTCCompositionPickerTile> LTCCompositionPickerView::tileFor(CFType* subject, LTCCompositionPickerTile* former)
{
    if (former && CFEqual(former->subject(), subject))
        return former;
    auto* const composition = kindOf<QCComposition>(subject);
    if (!composition)
        return make<LTCCompositionPickerTile>(kindOf<LTCUnusableComposition>(subject));
    auto tile = make<LTCCompositionPickerTile>(composition);
    if (auto* const picture = former ? former->thumbnail() : nullptr)
        tile->setThumbnail(picture);
    return tile;
}

/// Replaces all that belongs together before anybody is told, since who is told of one may ask for the others.
void LTCCompositionPickerView::setTiles(
    std::vector<Ref<LTCCompositionPickerTile>> tiles, Ref<CFArray> compositions, long selectedIndex)
{
    auto all = CFArray::create(tiles);
    if (all->values() == mTiles->values()) {
        setSelectedIndex(selectedIndex);
        return;
    }
    {
        const NSKeyValueChange compositionsChange(this, "compositions");
        const NSKeyValueChange shownChange(this, "shownTiles");
        const NSKeyValueChange categoriesChange(this, "categories");
        const NSKeyValueChange indexChange(this, "selectedIndex");
        const NSKeyValueChange compositionChange(this, "selectedComposition");
        mCompositions = std::move(compositions);
        mTiles = std::move(all);
        mShownTiles = matchingTiles();
        mCategories = CoreLattice::categoriesOf(tiles);
        mSelectedIndex = selectedIndex;
    }
    std::erase_if(tiles, [](const Ref<LTCCompositionPickerTile>& tile) { return !tile->isUsable(); });
    mScheduler->setTiles(tiles);
    tellVisibleTiles();
}

void LTCCompositionPickerView::setCategory(CFString* category)
{
    const NSKeyValueChange change(this, "category");
    mCategory = category ? category : CFSTR("");
    showMatchingTiles();
}

void LTCCompositionPickerView::setSearchText(CFString* text)
{
    const NSKeyValueChange change(this, "searchText");
    mSearchText = text ? text : CFSTR("");
    showMatchingTiles();
}

Ref<CFArray> LTCCompositionPickerView::matchingTiles() const
{
    auto result = make<CFArray>();
    for (const auto& value : mTiles->values()) {
        if (CoreLattice::matches(*kindOf<LTCCompositionPickerTile>(value), mCategory, mSearchText))
            result->append(value);
    }
    return result;
}

void LTCCompositionPickerView::showMatchingTiles()
{
    auto shown = matchingTiles();
    if (shown->values() != mShownTiles->values()) {
        const NSKeyValueChange change(this, "shownTiles");
        mShownTiles = std::move(shown);
    }
    tellVisibleTiles();
}

std::size_t LTCCompositionPickerView::shownCompositionCount() const
{
    const auto shown = mShownTiles->values();
    return static_cast<std::size_t>(std::ranges::count_if(
        shown, [](const Ref<CFType>& tile) { return kindOf<LTCCompositionPickerTile>(tile)->isUsable(); }));
}

long LTCCompositionPickerView::shownIndex() const
{
    if (mSelectedIndex < 0)
        return -1;
    const auto shown = mShownTiles->values();
    const auto found = std::ranges::find(shown, mTiles->values()[static_cast<std::size_t>(mSelectedIndex)]);
    return found == shown.end() ? -1 : found - shown.begin();
}

void LTCCompositionPickerView::selectShownTileAtIndex(long index)
{
    if (index < 0) {
        selectTileAtIndex(index);
        return;
    }
    const auto shown = mShownTiles->values();
    if (index >= static_cast<long>(shown.size()))
        return;
    const auto tiles = mTiles->values();
    selectTileAtIndex(std::ranges::find(tiles, shown[static_cast<std::size_t>(index)]) - tiles.begin());
}

Ref<CFArray> LTCCompositionPickerView::visibleTiles() const
{
    auto range = make<CFArray>();
    range->append(CFNumber::create(mVisible ? mVisible->first : 0).get());
    range->append(CFNumber::create(mVisible ? mVisible->second : mShownTiles->count()).get());
    return range;
}

void LTCCompositionPickerView::setVisibleTiles(CFArray* range)
{
    const auto* const first = range && range->count() == 2 ? kindOf<CFNumber>(range->objectAtIndex(0)) : nullptr;
    const auto* const count = first ? kindOf<CFNumber>(range->objectAtIndex(1)) : nullptr;
    if (!count)
        return;
    const NSKeyValueChange change(this, "visibleTiles");
    const auto size
        = [](const CFNumber* number) { return static_cast<std::size_t>(std::clamp(number->doubleValue(), 0.0, 1e6)); };
    mVisible = { size(first), size(count) };
    tellVisibleTiles();
}

void LTCCompositionPickerView::tellVisibleTiles()
{
    const auto all = mShownTiles->values();
    auto shown = std::span(all);
    if (mVisible)
        shown = shown.subspan(std::min(mVisible->first, shown.size()));
    if (mVisible)
        shown = shown.first(std::min(mVisible->second, shown.size()));
    std::vector<Ref<LTCCompositionPickerTile>> tiles;
    for (const auto& value : shown)
        tiles.push_back(kindOf<LTCCompositionPickerTile>(value));
    mScheduler->setVisible(tiles);
}

void LTCCompositionPickerView::startAnimation(NSObject* /*sender*/)
{
    if (mAnimating)
        return;
    mAnimating = true;
    mScheduler->setActive(true);
    const auto delegate = mDelegate.strongReference();
    if (delegate && delegate->respondsToSelector("compositionPickerViewDidStartAnimating:")) {
        if (auto* const told = kindOf<LTCCompositionPickerViewDelegate>(delegate))
            told->compositionPickerViewDidStartAnimating(this);
    }
}

void LTCCompositionPickerView::stopAnimation(NSObject* /*sender*/)
{
    if (!mAnimating)
        return;
    const auto delegate = mDelegate.strongReference();
    if (delegate && delegate->respondsToSelector("compositionPickerViewWillStopAnimating:")) {
        if (auto* const told = kindOf<LTCCompositionPickerViewDelegate>(delegate))
            told->compositionPickerViewWillStopAnimating(this);
    }
    mAnimating = false;
    mScheduler->setActive(false);
}

void LTCCompositionPickerView::setDefaultValue_forInputKey(CFType* value, CFString* key)
{
    if (isPresent(key))
        mScheduler->setValue(value, key);
}

void LTCCompositionPickerView::resetDefaultInputValues()
{
    mScheduler->resetValues();
}

NSObject* LTCCompositionPickerView::delegate() const
{
    return autorelease(mDelegate.strongReference());
}

void LTCCompositionPickerView::setDelegate(NSObject* delegate)
{
    mDelegate = delegate;
}

void LTCCompositionPickerView::setShowsCompositionNames(bool shows)
{
    const NSKeyValueChange change(this, "showsCompositionNames");
    mShowsCompositionNames = shows;
}

void LTCCompositionPickerView::setAllowsEmptySelection(bool allows)
{
    const NSKeyValueChange change(this, "allowsEmptySelection");
    mAllowsEmptySelection = allows;
}

void LTCCompositionPickerView::setCompositionAspectRatio(CGSize ratio)
{
    const auto isSide = [](CGFloat side) { return std::isfinite(side) && side > 0; };
    if (!isSide(ratio.width) || !isSide(ratio.height))
        return;
    mCompositionAspectRatio = ratio;
    mScheduler->setTileSize(static_cast<std::size_t>(std::clamp(tileHeight * ratio.width / ratio.height, 16.0, 1024.0)),
        static_cast<std::size_t>(tileHeight));
}

QCComposition* LTCCompositionPickerView::selectedComposition() const
{
    return mSelectedIndex < 0
        ? nullptr
        : kindOf<QCComposition>(mCompositions->objectAtIndex(static_cast<std::size_t>(mSelectedIndex)));
}

void LTCCompositionPickerView::setSelectedComposition(QCComposition* composition)
{
    const auto compositions = mCompositions->values();
    for (std::size_t i = 0; composition && i < compositions.size(); ++i) {
        if (CFEqual(compositions[i], composition)) {
            setSelectedIndex(static_cast<long>(i));
            return;
        }
    }
    if (!composition && mAllowsEmptySelection)
        setSelectedIndex(-1);
}

void LTCCompositionPickerView::setMaxAnimationFrameRate(float framesPerSecond)
{
    if (!std::isfinite(framesPerSecond) || framesPerSecond < 0)
        return;
    mMaxAnimationFrameRate = framesPerSecond;
    mScheduler->setMaxFrameRate(framesPerSecond);
}

NSColor* LTCCompositionPickerView::backgroundColor() const
{
    return mBackgroundColor;
}

void LTCCompositionPickerView::setBackgroundColor(NSColor* color)
{
    mBackgroundColor = color;
    showBackground();
}

void LTCCompositionPickerView::setDrawsBackground(bool draws)
{
    mDrawsBackground = draws;
    showBackground();
}

/// On the view's layer, which lies behind the tiles.
void LTCCompositionPickerView::showBackground()
{
    setWantsLayer(true);
    layer()->setBackgroundColor(mDrawsBackground && mBackgroundColor ? mBackgroundColor->getCGColor() : nullptr);
}

void LTCCompositionPickerView::setNumberOfRows(std::uint64_t rows)
{
    if (rows > 0)
        mNumberOfRows = rows;
}

/// A composition that came into a view by another road than this picker is marked as well.
void LTCCompositionPickerView::_viewDidLoadComposition(NSNotification* notification)
{
    auto* const userInfo = notification ? notification->userInfo() : nullptr;
    Ref<QCComposition> loaded = userInfo ? kindOf<QCComposition>(userInfo->objectForKey("QCComposition")) : nullptr;
    if (!loaded)
        return;
    if (DispatchMain::isMainThread()) {
        setSelectedComposition(loaded);
        return;
    }
    dispatch_async(dispatch_get_main_queue(), [weakSelf = WeakRef { this }, loaded] {
        if (const auto self = weakSelf.strongReference())
            self->setSelectedComposition(loaded);
    });
}

void LTCCompositionPickerView::setSelectedIndex(long index)
{
    if (index == mSelectedIndex)
        return;
    const NSKeyValueChange change(this, "selectedIndex");
    const NSKeyValueChange compositionChange(this, "selectedComposition");
    mSelectedIndex = index;
}

void LTCCompositionPickerView::selectTileAtIndex(long index)
{
    if (index < -1 || index >= static_cast<long>(mCompositions->count()) || (index == -1 && !mAllowsEmptySelection))
        return;
    setSelectedIndex(index);
    const auto delegate = mDelegate.strongReference();
    if (delegate && delegate->respondsToSelector("compositionPickerView:didSelectComposition:")) {
        if (auto* const told = kindOf<LTCCompositionPickerViewDelegate>(delegate))
            told->compositionPickerView_didSelectComposition(this, selectedComposition());
    }
}
