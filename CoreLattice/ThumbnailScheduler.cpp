#include "CoreLattice/ThumbnailScheduler.h"

#include "CoreLattice/RenderThread.h"
#include "Platform/CoreFoundation/HostClock.h"

#include <algorithm>
#include <ctime>

namespace CoreLattice {

namespace {

// What the tiles together may cost for each captured picture, and how much of it can be saved up.
constexpr std::int64_t budgetPerPicture = 3'000'000;
constexpr std::int64_t mostCredit = 2 * budgetPerPicture;
// What is owed at most: the first picture of a tile pays for its shader too, and the next tile is not to wait for that.
constexpr std::int64_t mostDebt = 10 * budgetPerPicture;

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
    item->renderer = std::make_shared<ViewRenderer>();
    item->renderer->load(tile->composition());
    item->renderer->setOutputSize(mWidth, mHeight);
    for (const auto& [key, value] : mValues)
        item->renderer->setValue(value, key);
    return item;
}

void ThumbnailScheduler::setValue(CFType* value, CFString* key)
{
    {
        const std::lock_guard lock(mLock);
        const auto found = std::ranges::find_if(mValues, [&](const auto& entry) { return CFEqual(entry.first, key); });
        if (found == mValues.end())
            mValues.emplace_back(key, value);
        else
            found->second = value;
        for (const auto& item : mItems)
            item->renderer->setValue(value, key);
        if (!CFEqual(key, QCCompositionInputImageKey))
            return;
        mCredit = std::min(mCredit + budgetPerPicture, mostCredit);
    }
    request();
}

void ThumbnailScheduler::resetValues()
{
    const std::lock_guard lock(mLock);
    for (const auto& item : mItems) {
        for (const auto& [key, value] : mValues)
            item->renderer->setValue(nullptr, key);
    }
    mValues.clear();
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
    for (const auto& item : mItems)
        item->renderer->setOutputSize(width, height);
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

std::shared_ptr<ThumbnailScheduler::Item> ThumbnailScheduler::nextItem(std::int64_t now)
{
    const auto interval = mMaxFrameRate > 0 ? static_cast<std::int64_t>(0.9e9 / mMaxFrameRate) : 0;
    for (std::size_t i = 0; i < mItems.size(); ++i) {
        auto item = mItems[(mNext + i) % mItems.size()];
        if (item->rendered && now - item->lastRender < interval)
            continue;
        mNext = (mNext + i + 1) % mItems.size();
        return item;
    }
    return nullptr;
}

void ThumbnailScheduler::renderNext()
{
    std::shared_ptr<Item> item;
    const auto now = HostClock::nanoseconds();
    {
        const std::lock_guard lock(mLock);
        mWaits = false;
        item = mActive ? nextItem(now) : nullptr;
    }
    if (!item)
        return;
    const auto start = threadNanoseconds();
    const bool rendered = item->renderer->render(static_cast<double>(now) * 1e-9);
    if (rendered)
        item->tile->setThumbnail(item->renderer->output().get());
    const auto cost = threadNanoseconds() - start;
    const std::lock_guard lock(mLock);
    item->rendered = rendered;
    item->lastRender = now;
    mCredit = std::max(mCredit - cost, -mostDebt);
}

}
