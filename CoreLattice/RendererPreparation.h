#pragma once

#include "CoreLattice/PlacedRenderer.h"

#include <atomic>
#include <functional>

namespace CoreLattice {

class RenderThread;

/// A composition that is being compiled, while another thread draws, until it can be drawn without delay. Software
/// drivers take up to half a second for one.
class RendererPreparation {
public:
    struct Subject {
        std::uint64_t generation = 0; ///< the asker's own number for it
        std::shared_ptr<const ISFDocument> document;
        ISFFrame frame; ///< as those that will be drawn
    };
    /// Begins on \p thread.
    /// \param context  that the renderer is to be in; in use until it is done
    /// \param done  called on that thread at the end
    static std::shared_ptr<RendererPreparation> begin(
        Subject subject, std::shared_ptr<RenderContext> context, RenderThread& thread, std::function<void()> done);
    /// For `begin`.
    RendererPreparation(Subject subject, std::shared_ptr<RenderContext> context);

    std::uint64_t generation() const { return mSubject.generation; }
    bool isDone() const { return mIsDone.load(std::memory_order_acquire); }
    /// What came of it, once it is done: null without an error where there is no context.
    std::unique_ptr<PlacedRenderer> takeRenderer() { return std::move(mRenderer); }
    const CompositionError& error() const { return mError; }

private:
    void run();

    Subject mSubject;
    const std::shared_ptr<RenderContext> mContext;
    std::unique_ptr<PlacedRenderer> mRenderer;
    CompositionError mError;
    std::atomic<bool> mIsDone { false };
};

}
