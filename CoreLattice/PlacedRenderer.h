#pragma once

#include "CoreLattice/ISFRenderer.h"
#include "CoreLattice/RenderContext.h"

namespace CoreLattice {

/// A renderer and the context that it was made in. It may die on any thread: what it has in the context goes a little
/// later, on a thread that has time.
class PlacedRenderer {
public:
    /// Compiles a composition. During a use of \p context.
    /// \return null with the reason when the driver refuses the shaders
    static std::unique_ptr<PlacedRenderer> create(
        std::shared_ptr<RenderContext> context, std::shared_ptr<const ISFDocument> document, CompositionError* error);
    /// For `create`.
    PlacedRenderer(std::unique_ptr<ISFRenderer> renderer, std::shared_ptr<RenderContext> context);
    ~PlacedRenderer();

    /// For use during a use of the context.
    ISFRenderer& renderer() const { return *mRenderer; }
    const std::shared_ptr<const ISFDocument>& document() const { return mRenderer->document(); }
    const std::shared_ptr<RenderContext>& context() const { return mContext; }
    /// Whether the context was replaced since. During a use.
    bool isLost() const { return mContext->generation() != mGeneration; }

private:
    std::unique_ptr<ISFRenderer> mRenderer;
    const std::shared_ptr<RenderContext> mContext;
    const unsigned mGeneration; ///< of the context when it was made
};

}
