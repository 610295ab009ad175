#pragma once

#include "CoreLattice/LTCCompositionPickerTile.h"
#include "CoreLattice/LTCCompositionPickerViewDelegate.h"
#include "CoreLattice/LTCCompositionPickerViewProtocol.h"
#include "CoreLattice/QCComposition.h"
#include "Platform/AppKit/NSColor.h"
#include "Platform/AppKit/NSView.h"
#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSNotification.h"

#include <map>

namespace CoreLattice {
class ThumbnailScheduler;
}
class LTCCompositionRepository;

/// A strip of tiles, one for each composition, each showing what its composition makes of the default input picture.
/// Main thread only; the tiles are rendered on the framework's render thread, behind the views, in turn and within a
/// budget of processor time for all of them together. The files that cannot be used come last; nobody can select them.
/// The strip follows its repository: what stays keeps its tile and its picture, and what is selected stays selected as
/// long as there is a composition with its identifier. The user can narrow it down to a category and to what matches a
/// search; that hides tiles and changes neither the compositions nor what is selected. It is one row, whatever
/// `numberOfRows` says.
///
/// Keys: `compositions`, `selectedComposition`, `selectedIndex` (-1 for none), `showsCompositionNames`,
/// `allowsEmptySelection` and `notice`. For the narrowed strip: `categories`, to be observed; `category` and
/// `searchText`, to be written; `shownTiles`, those that match both, `shownCompositionCount`, how many of them can be
/// chosen, and `shownIndex`, the selected one's place among them, which chooses when it is written; `visibleTiles`, to
/// be written, the first and the number of the shown tiles that are on the screen.
class LTCCompositionPickerView : public NSView, public LTCCompositionPickerViewProtocol {
    NS_OBJECT(LTCCompositionPickerView)
public:
    LTCCompositionPickerView();
    ~LTCCompositionPickerView() override;

    /// Where the compositions come from; the shared repository unless it is set.
    void setRepository(LTCCompositionRepository* repository);
    void setCompositionsFromRepositoryWithProtocol_andAttributes(CFString* protocol, CFDictionary* attributes) override;
    /// Tiles are rendered from now on. Tells the delegate.
    void startAnimation(NSObject* sender) override;
    /// Tells the delegate first.
    void stopAnimation(NSObject* sender) override;
    bool isAnimating() const override { return mAnimating; }
    void setDefaultValue_forInputKey(CFType* value, CFString* key) override;
    void resetDefaultInputValues() override;
    NSObject* delegate() const override;
    void setDelegate(NSObject* delegate) override;
    CFArray* compositions() const override { return mCompositions; }
    bool showsCompositionNames() const override { return mShowsCompositionNames; }
    void setShowsCompositionNames(bool shows) override;
    bool allowsEmptySelection() const override { return mAllowsEmptySelection; }
    void setAllowsEmptySelection(bool allows) override;
    CGSize compositionAspectRatio() const override { return mCompositionAspectRatio; }
    void setCompositionAspectRatio(CGSize ratio) override;
    QCComposition* selectedComposition() const override;
    void setSelectedComposition(QCComposition* composition) override;
    float maxAnimationFrameRate() const override { return mMaxAnimationFrameRate; }
    void setMaxAnimationFrameRate(float framesPerSecond) override;
    NSColor* backgroundColor() const override;
    void setBackgroundColor(NSColor* color) override;
    bool drawsBackground() const override { return mDrawsBackground; }
    void setDrawsBackground(bool draws) override;
    std::uint64_t numberOfRows() const override { return mNumberOfRows; }
    void setNumberOfRows(std::uint64_t rows) override;

    /// The tiles of all that is offered and then of the files that cannot be used.
    CFArray* tiles() const { return mTiles; }
    /// Why files that were just added cannot be used, or are not among the tiles; empty some seconds later.
    CFString* notice() const { return mNotice; }
    /// What the compositions count themselves among, in the order of the alphabet.
    CFArray* categories() const { return mCategories; }
    /// The category that the strip is narrowed down to; empty for all.
    CFString* category() const { return mCategory; }
    void setCategory(CFString* category);
    /// Words of which each is to occur in the name, the categories or, for a file that cannot be used, the reason.
    CFString* searchText() const { return mSearchText; }
    void setSearchText(CFString* text);
    CFArray* shownTiles() const { return mShownTiles; }
    /// How many of the shown tiles can be chosen; they come first.
    std::size_t shownCompositionCount() const;
    /// -1 when nothing is selected or the selected one does not match.
    long shownIndex() const;
    /// Like `selectTileAtIndex` for the place among the shown tiles.
    void selectShownTileAtIndex(long index);
    /// Only these are rendered: two numbers, the first of the shown tiles and how many. All of them before it is set.
    void setVisibleTiles(CFArray* range);
    Ref<CFArray> visibleTiles() const;
    long selectedIndex() const { return mSelectedIndex; }
    /// What a click or a key does: selects the tile at \p index, or empties the selection for -1 where that is allowed,
    /// and tells the delegate. Choosing the selected tile again tells it again.
    void selectTileAtIndex(long index);

    std::string interfaceComponent() override;

private:
    static constexpr double tileHeight = 81; ///< in pixels
    void setSelectedIndex(long index);
    LTCCompositionRepository* repository() const;
    void listCompositions(CFString* selected);
    Ref<CFArray> includedCompositions();
    std::map<std::string, Ref<LTCCompositionPickerTile>> tilesByKey() const;
    static Ref<LTCCompositionPickerTile> tileFor(CFType* subject, LTCCompositionPickerTile* former);
    void setTiles(std::vector<Ref<LTCCompositionPickerTile>> tiles, Ref<CFArray> compositions, long selectedIndex);
    void setNotice(std::string text);
    Ref<CFArray> matchingTiles() const;
    void showMatchingTiles();
    void tellVisibleTiles();
    void showBackground();
    void _repositoryDidUpdate(NSNotification* notification);
    void _repositoryDidAddFiles(NSNotification* notification);
    void _viewDidLoadComposition(NSNotification* notification);

    WeakRef<NSObject> mDelegate;
    Ref<LTCCompositionRepository> mRepository; ///< null for the shared one
    Ref<CFString> mProtocol; ///< null before there are compositions
    Ref<CFDictionary> mAttributes;
    Ref<CFArray> mCompositions;
    Ref<CFArray> mTiles;
    Ref<CFString> mNotice = CFSTR("");
    int mNotices = 0; ///< how many there were
    Ref<CFArray> mShownTiles;
    Ref<CFArray> mCategories;
    Ref<CFString> mCategory;
    Ref<CFString> mSearchText;
    std::optional<std::pair<std::size_t, std::size_t>> mVisible; ///< the first of the shown tiles, and how many
    const std::shared_ptr<CoreLattice::ThumbnailScheduler> mScheduler;
    Ref<NSColor> mBackgroundColor;
    long mSelectedIndex = -1;
    std::uint64_t mNumberOfRows = 1;
    CGSize mCompositionAspectRatio { 16, 9 };
    float mMaxAnimationFrameRate = 10;
    bool mAnimating = false;
    bool mShowsCompositionNames = false;
    bool mAllowsEmptySelection = false;
    bool mDrawsBackground = false;
};
