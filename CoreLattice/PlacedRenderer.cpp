#include "CoreLattice/PlacedRenderer.h"

#include "CoreLattice/RenderThread.h"

namespace CoreLattice {

std::unique_ptr<PlacedRenderer> PlacedRenderer::create(
    std::shared_ptr<RenderContext> context, std::shared_ptr<const ISFDocument> document, CompositionError* error)
{
    auto renderer = ISFRenderer::create(std::move(document), error);
    RenderThread::compiled();
    return renderer ? std::make_unique<PlacedRenderer>(std::move(renderer), std::move(context)) : nullptr;
}

PlacedRenderer::PlacedRenderer(std::unique_ptr<ISFRenderer> renderer, std::shared_ptr<RenderContext> context)
    : mRenderer(std::move(renderer))
    , mContext(std::move(context))
    , mGeneration(mContext->generation())
{
}

PlacedRenderer::~PlacedRenderer()
{
    auto& thread = mContext == RenderContext::common() ? RenderThread::shared() : RenderThread::forTiles();
    // A closure that can be posted must be copyable, so the renderer goes into a shared pointer.
    thread.async([renderer = std::shared_ptr<ISFRenderer>(std::move(mRenderer)), context = mContext,
                     generation = mGeneration]() mutable {
        const RenderContext::Use use(*context);
        if (!use || context->generation() != generation)
            renderer->forget();
        renderer.reset();
    });
}

}
