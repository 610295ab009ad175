#pragma once

#include "CoreLattice/QCComposition.h"
#include "CoreLattice/RendererPreparation.h"
#include "Platform/CoreVideo/CVPixelBufferPool.h"

#include <mutex>
#include <optional>

namespace CoreLattice {

/// A composition with the present values of its inputs and its last picture. Any thread may set and ask; rendering
/// belongs to the render thread.
class ViewRenderer {
public:
    /// A composition that was given up, and why.
    struct Refusal {
        Ref<QCComposition> composition;
        CompositionError error;
        bool isReplaced = false; ///< whether the one before is back
    };
    /// For a view. \param prepared  called on some thread when `renderPrepared` would draw what was not ready before
    explicit ViewRenderer(std::function<void()> prepared = {});
    /// For one of the tiles that share \p context, of which one at a time is being compiled.
    ViewRenderer(std::shared_ptr<RenderContext> context, std::function<void()> prepared);

    void load(QCComposition* composition);
    /// Like `load` for another version of the composition: inputs that both have with the same type keep their values,
    /// as far as the new one's bounds and choices let them.
    void reload(QCComposition* composition);
    Ref<QCComposition> composition() const;
    bool dependsOnTime() const;
    void setValue(CFType* value, CFString* key);
    Ref<CFType> value(CFString* key) const;
    Ref<CVPixelBuffer> output() const;

    /// Size of the pictures that have no input picture to go by, or that are to be smaller than it; zero for the
    /// input's.
    void setOutputSize(std::size_t width, std::size_t height);
    /// Renders into a fresh buffer, which becomes the output. Render thread only.
    ///
    /// A composition that asks for more time or memory than any may have, or that the driver refuses, is not rendered
    /// again: the one that was rendered before it comes back with its values, or else the picture comes through.
    bool render(double time);
    /// Like `render`, but compiles another composition on another thread, without delay for this one: until that is
    /// ready the former one is rendered, as it was left. Render thread only.
    ///
    /// A view that has nothing yet to go on with compiles at once, as does one for which no second context can be had.
    /// \return false also for a tile that is not ready, or whose context is in use
    bool renderPrepared(double time);
    /// Whether `renderPrepared` waits for a composition that is being compiled. Render thread only.
    bool isPreparing() const { return mPreparation != nullptr; }
    /// Whether the output is the present composition's. Any thread.
    bool isUpToDate() const;
    /// Why a composition was given up since this was last asked. Any thread.
    std::optional<Refusal> takeRefusal();

private:
    struct Snapshot {
        std::uint64_t generation = 0;
        std::shared_ptr<const ISFDocument> document;
        ISFFrame frame;
        Ref<CVPixelBuffer> picture;
        bool lacksPicture = false;
    };
    Snapshot snapshot(double time, bool takesEvents);
    Snapshot snapshotOfFormer(double time);
    void complete(Snapshot& snapshot, double time) const;
    void setComposition(QCComposition* composition);
    void refuse(std::uint64_t generation, CompositionError error);
    void setNumbers(std::size_t index, CFType* value);
    bool renderSnapshot(const Snapshot& snapshot, Ref<CVPixelBuffer>* result, CompositionError* error);
    enum class Drawing { Done, Failed, Lost }; ///< the last when the renderer is of no use any more
    Drawing draw(const Snapshot& snapshot, Ref<CVPixelBuffer>* result, CompositionError* error);
    void compile(const Snapshot& snapshot, CompositionError* error);
    bool renderFormer(double time);
    void beginPreparation();
    void takePreparation();
    bool isTile() const { return mContext != RenderContext::common(); }
    Ref<CVPixelBuffer> newBuffer(std::size_t width, std::size_t height);

    mutable std::mutex mLock;
    Ref<QCComposition> mComposition;
    std::vector<ISFValue> mValues;
    std::vector<Ref<CFType>> mObjects; ///< what the inputs were set to; null for the default
    /// The last composition that was rendered and its numbers, to come back to.
    struct Former {
        Ref<QCComposition> composition;
        std::vector<ISFValue> values;
        std::vector<Ref<CFType>> objects;
    };
    Former keepFormer();
    void takeValues(const Former& former);
    Former mFormer;
    std::uint64_t mRenderedGeneration = 0; ///< of the composition that was last rendered; 0 for none
    std::optional<Refusal> mRefusal;
    Ref<CVPixelBuffer> mOutput;
    Ref<CFType> mPicture; ///< the input picture as it was set, which outlives the composition
    Ref<CVPixelBuffer> mPicturePixels; ///< what it stands for
    std::uint64_t mGeneration = 0;
    std::uint64_t mPictureSerial = 0;
    std::size_t mWidth = 0;
    std::size_t mHeight = 0;

    const std::shared_ptr<RenderContext> mContext; ///< for what is compiled at once, and for all of a tile
    const std::function<void()> mPrepared;

    // Of the render thread.
    std::unique_ptr<PlacedRenderer> mRenderer;
    std::uint64_t mRendererGeneration = 0; ///< of the composition that it renders; 0 when it is to be made
    std::shared_ptr<RendererPreparation> mPreparation; ///< of what is to be rendered next
    std::uint64_t mUnprepared = 0; ///< the composition for which there was no second context
    Ref<CVPixelBufferPool> mPool;
    std::size_t mPoolWidth = 0;
    std::size_t mPoolHeight = 0;
    bool mPoolFailed = false;
};

}
