#include "CoreLattice/ThumbnailScheduler.h"

#include "CoreLattice/RenderThread.h"
#include "Platform/CoreImage/CIContext.h"

#include <algorithm>
#include <ctime>
#include <span>

namespace CoreLattice {

namespace {

// What the tiles together may cost for each captured picture, and how much of it can be saved up. The picker may take
// 3 ms; whoever makes the small picture that the tiles begin with needs the rest.
constexpr std::int64_t budgetPerPicture = 1'800'000;
constexpr std::int64_t mostCredit = 2 * budgetPerPicture;
// What is owed at most: after a very dear picture the other tiles are not to wait for long.
constexpr std::int64_t mostDebt = 10 * budgetPerPicture;
// Between two pictures of a tile, in nanoseconds: as long as never.
constexpr double longestInterval = 1e18;
// Compositions of tiles that are not on the screen, kept compiled for when they are scrolled back.
constexpr std::size_t mostUnseen = 16;

/// Processor time of this thread, on which the software driver draws as well.
std::int64_t threadNanoseconds()
{
    timespec now {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

}

void ThumbnailScheduler::setTiles(const std::vector<Ref<LTCCompositionPickerTile>>& tiles)
{
    std::vector<std::shared_ptr<Item>> items;
    std::vector<std::shared_ptr<Item>> replaced;
    const std::lock_guard lock(mLock);
    for (const auto& tile : tiles)
        items.push_back(itemFor(tile));
    replaced.swap(mItems);
    mItems = std::move(items);
    mNext = 0;
}

std::shared_ptr<ThumbnailScheduler::Item> ThumbnailScheduler::itemFor(const Ref<LTCCompositionPickerTile>& tile) const
{
    const auto found = std::ranges::find(mItems, tile, &Item::tile);
    if (found != mItems.end())
        return *found;
    auto item = std::make_shared<Item>();
    item->tile = tile;
    return item;
}

std::shared_ptr<ViewRenderer> ThumbnailScheduler::rendererFor(const Item& item)
{
    if (item.renderer)
        return item.renderer;
    auto renderer = std::make_shared<ViewRenderer>(mContext, [weakSelf = weak_from_this()] {
        if (const auto self = weakSelf.lock())
            self->request();
    });
    renderer->load(item.tile->composition());
    renderer->setOutputSize(mWidth, mHeight);
    for (const auto& [key, value] : mValues)
        renderer->setValue(value, key);
    return renderer;
}

void ThumbnailScheduler::setVisible(const std::vector<Ref<LTCCompositionPickerTile>>& tiles)
{
    const std::lock_guard lock(mLock);
    for (const auto& item : mItems)
        item->visible = std::ranges::find(tiles, item->tile) != tiles.end();
}

/// Gives up the renderers of the tiles that left the screen first. With the lock.
void ThumbnailScheduler::forgetUnseen()
{
    std::vector<Item*> unseen;
    for (const auto& item : mItems) {
        if (item->renderer && !item->visible && item != mPrepared)
            unseen.push_back(item.get());
    }
    if (unseen.size() <= mostUnseen)
        return;
    std::ranges::sort(unseen, {}, &Item::lastRender);
    for (auto* const item : std::span(unseen).first(unseen.size() - mostUnseen))
        item->renderer = nullptr;
}

void ThumbnailScheduler::setValue(CFType* value, CFString* key)
{
    const bool isPicture = CFEqual(key, QCCompositionInputImageKey);
    if (!isPicture || isDue(value))
        takeValue(value, key);
    if (!isPicture)
        return;
    {
        const std::lock_guard lock(mLock);
        mCredit = std::min(mCredit + budgetPerPicture, mostCredit);
    }
    request();
}

/// Whether a picture is to be taken: an image with something still to be done to it no more often than a tile is
/// rendered, since that costs as much as some tiles.
bool ThumbnailScheduler::isDue(CFType* value)
{
    const auto* const image = kindOf<CIImage>(value);
    const auto now = HostClock::nanoseconds();
    const std::lock_guard lock(mLock);
    if (!image || CIContext::keepsPixels(image->transform()))
        return true;
    if (mLastImage != 0 && now - mLastImage < interval())
        return false;
    mLastImage = now;
    return true;
}

void ThumbnailScheduler::takeValue(CFType* value, CFString* key)
{
    // What is still to be done to an image is done once for all tiles.
    Ref<CFType> settled(value);
    if (const auto* const image = kindOf<CIImage>(value))
        settled = CIContext::createPixelBuffer(*image);
    const std::lock_guard lock(mLock);
    const auto found = std::ranges::find_if(mValues, [&](const auto& entry) { return CFEqual(entry.first, key); });
    if (found == mValues.end())
        mValues.emplace_back(key, settled);
    else
        found->second = settled;
    for (const auto& item : mItems) {
        if (item->renderer)
            item->renderer->setValue(settled, key);
    }
}

void ThumbnailScheduler::resetValues()
{
    const std::lock_guard lock(mLock);
    for (const auto& item : mItems) {
        for (const auto& [key, value] : mValues) {
            if (item->renderer)
                item->renderer->setValue(nullptr, key);
        }
    }
    mValues.clear();
    mLastImage = 0;
}

void ThumbnailScheduler::setActive(bool active)
{
    const std::lock_guard lock(mLock);
    mActive = active;
}

void ThumbnailScheduler::setMaxFrameRate(double framesPerSecond)
{
    const std::lock_guard lock(mLock);
    mMaxFrameRate = framesPerSecond;
}

void ThumbnailScheduler::setTileSize(std::size_t width, std::size_t height)
{
    const std::lock_guard lock(mLock);
    mWidth = width;
    mHeight = height;
    for (const auto& item : mItems) {
        if (item->renderer)
            item->renderer->setOutputSize(width, height);
    }
}

void ThumbnailScheduler::request()
{
    {
        const std::lock_guard lock(mLock);
        if (!mActive || mWaits || mCredit <= 0 || mItems.empty())
            return;
        mWaits = true;
    }
    RenderThread::shared().asyncWhenIdle([weakSelf = weak_from_this()] {
        if (const auto self = weakSelf.lock())
            self->renderNext();
    });
}

/// Between two pictures of a tile, at least; with the lock.
std::int64_t ThumbnailScheduler::interval() const
{
    return mMaxFrameRate > 0 ? static_cast<std::int64_t>(std::min(0.9e9 / mMaxFrameRate, longestInterval)) : 0;
}

std::shared_ptr<ThumbnailScheduler::Item> ThumbnailScheduler::nextItem(std::int64_t now)
{
    if (mPrepared)
        return mPrepared;
    for (std::size_t i = 0; i < mItems.size(); ++i) {
        auto item = mItems[(mNext + i) % mItems.size()];
        if (!item->visible || (item->lastRender != 0 && now - item->lastRender < interval()))
            continue;
        mNext = (mNext + i + 1) % mItems.size();
        return item;
    }
    return nullptr;
}

void ThumbnailScheduler::renderNext()
{
    std::shared_ptr<Item> item;
    std::shared_ptr<ViewRenderer> renderer;
    const auto now = HostClock::nanoseconds();
    {
        const std::lock_guard lock(mLock);
        mWaits = false;
        item = mActive ? nextItem(now) : nullptr;
        if (!item)
            return;
        renderer = item->renderer = rendererFor(*item);
        forgetUnseen();
    }
    const auto start = threadNanoseconds();
    if (renderer->renderPrepared(static_cast<double>(now - mStart) * 1e-9))
        item->tile->setThumbnail(renderer->output().get());
    const auto cost = threadNanoseconds() - start;
    {
        const std::lock_guard lock(mLock);
        mCredit = std::max(mCredit - cost, -mostDebt);
        // The tiles' context is in use then, and the renderer asks for the next turn.
        mPrepared = renderer->isPreparing() ? item : nullptr;
        if (mPrepared)
            return;
        item->lastRender = now;
    }
    request();
}

}
