#pragma once

#include <memory>
#include <mutex>

class GLContext;

namespace CoreLattice {

/// A context that filters are drawn in. Threads take turns with it, each for the length of a `RenderContext::Use`.
class RenderContext {
public:
    /// The one for whatever has none of its own; used by `RenderThread::shared` alone.
    static const std::shared_ptr<RenderContext>& common();

    RenderContext();
    ~RenderContext();

    /// How many times the context was replaced; what was made before that is gone. During a use.
    unsigned generation() const;
    /// Whether the driver has lost the context and what is rendered now with it. During a use.
    bool isLost() const;

    /// Makes the context the calling thread's own for as long as it lives.
    ///
    /// The first use makes the context, and logs the reason when there is none. One that the driver has lost is
    /// replaced, at this use or a later one; there is none until that works.
    class Use {
    public:
        /// \param waits  for the end of another thread's use; else it gives up, and `isBusy`
        explicit Use(RenderContext& context, bool waits = true);
        ~Use();
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

        bool isBusy() const noexcept { return !mLock.owns_lock(); }
        /// Whether there is a context now; never while it is busy.
        explicit operator bool() const noexcept { return mIsCurrent; }

    private:
        RenderContext& mContext;
        const std::unique_lock<std::mutex> mLock;
        const bool mIsCurrent;
    };

private:
    bool makeCurrent();

    std::mutex mUse;
    bool mTried = false;
    bool mToldOfLoss = false; ///< of one that has not been replaced yet
    std::unique_ptr<GLContext> mContext;
};

}
