#pragma once

#include "CoreLattice/LTCCompositionPickerTile.h"
#include "CoreLattice/ViewRenderer.h"
#include "Platform/CoreFoundation/HostClock.h"

namespace CoreLattice {

/// Renders those tiles of a picker that are on the screen in turn, so that all of them together stay within a budget of
/// processor time, on the render thread when no view needs it. A composition is compiled when its tile is first seen,
/// one at a time on a thread that comes last of all; until then the tile stays empty. It is forgotten again when many
/// others were seen since; the tile keeps its picture. Any thread may use it.
class ThumbnailScheduler : public std::enable_shared_from_this<ThumbnailScheduler> {
public:
    /// Replaces the tiles; each new one gets the values that were set so far.
    void setTiles(const std::vector<Ref<LTCCompositionPickerTile>>& tiles);
    /// Sets an input of every tile. A picture is the beat: for each one that comes, some tiles are rendered.
    void setValue(CFType* value, CFString* key);
    /// Every input back to its default, pictures too.
    void resetValues();
    void setActive(bool active);
    /// Which of the tiles are on the screen; all of those that nothing was said about.
    void setVisible(const std::vector<Ref<LTCCompositionPickerTile>>& tiles);
    /// Of one tile; 0 for as often as the budget allows.
    void setMaxFrameRate(double framesPerSecond);
    /// In pixels.
    void setTileSize(std::size_t width, std::size_t height);

private:
    struct Item {
        Ref<LTCCompositionPickerTile> tile;
        std::shared_ptr<ViewRenderer> renderer; ///< null before the tile was seen
        std::int64_t lastRender = 0; ///< nanoseconds on the host clock, also of one that failed
        bool visible = true;
    };
    std::shared_ptr<Item> itemFor(const Ref<LTCCompositionPickerTile>& tile) const;
    std::shared_ptr<ViewRenderer> rendererFor(const Item& item);
    bool isDue(CFType* value);
    void takeValue(CFType* value, CFString* key);
    std::int64_t interval() const;
    void request();
    void renderNext();
    void forgetUnseen();
    /// The item whose turn it is, or null when none may be rendered yet.
    std::shared_ptr<Item> nextItem(std::int64_t now);

    /// Where the tiles' time begins, in nanoseconds on the host clock.
    const std::int64_t mStart = HostClock::nanoseconds();
    /// Of all tiles.
    const std::shared_ptr<RenderContext> mContext = std::make_shared<RenderContext>();

    std::mutex mLock;
    std::vector<std::shared_ptr<Item>> mItems;
    std::shared_ptr<Item> mPrepared; ///< the one being compiled, to be rendered next; the others must wait for it
    std::vector<std::pair<Ref<CFString>, Ref<CFType>>> mValues;
    std::int64_t mLastImage = 0; ///< nanoseconds on the host clock; when one was taken that had to be drawn first
    std::size_t mNext = 0;
    std::size_t mWidth = 144;
    std::size_t mHeight = 81;
    double mMaxFrameRate = 0;
    /// Nanoseconds of processor time that may be spent; refilled by each picture, below 0 after an expensive tile.
    std::int64_t mCredit = 0;
    bool mActive = false;
    bool mWaits = false;
};

}
