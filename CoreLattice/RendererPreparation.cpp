#include "CoreLattice/RendererPreparation.h"

#include "CoreLattice/RenderThread.h"

namespace CoreLattice {

std::shared_ptr<RendererPreparation> RendererPreparation::begin(
    Subject subject, std::shared_ptr<RenderContext> context, RenderThread& thread, std::function<void()> done)
{
    auto preparation = std::make_shared<RendererPreparation>(std::move(subject), std::move(context));
    thread.async([preparation, done = std::move(done)] {
        preparation->run();
        preparation->mIsDone.store(true, std::memory_order_release);
        done();
    });
    return preparation;
}

RendererPreparation::RendererPreparation(Subject subject, std::shared_ptr<RenderContext> context)
    : mSubject(std::move(subject))
    , mContext(std::move(context))
{
}

void RendererPreparation::run()
{
    const RenderContext::Use use(*mContext);
    if (!use)
        return;
    mRenderer = PlacedRenderer::create(mContext, mSubject.document, &mError);
    if (mRenderer && !mRenderer->renderer().prepare(mSubject.frame, &mError))
        mRenderer = nullptr;
    RenderThread::compiled();
}

}
