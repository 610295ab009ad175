#include "CoreLattice/RenderContext.h"

#include "CoreLattice/RenderThread.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/OpenGL/GLContext.h"

#include <string>

namespace CoreLattice {

const std::shared_ptr<RenderContext>& RenderContext::common()
{
    // Never destroyed, as the thread that has it.
    static const auto& context
        = *std::make_unique<std::shared_ptr<RenderContext>>(std::make_shared<RenderContext>()).release();
    return context;
}

RenderContext::RenderContext() = default;
RenderContext::~RenderContext() = default;

bool RenderContext::makeCurrent()
{
    if (!mTried) {
        mTried = true;
        std::string error;
        mContext = GLContext::create(&error);
        if (mContext && !mContext->makeCurrent()) {
            mContext = nullptr;
            error = "the context cannot be made current";
        }
        if (!mContext)
            NSLog(CFSTR("There is no context to render filters in: %s"), error.c_str());
        RenderThread::loadedDriver();
        return mContext != nullptr;
    }
    if (!mContext)
        return false;
    const auto before = mContext->generation();
    const bool isCurrent = mContext->makeCurrent();
    const bool isRenewed = mContext->generation() != before;
    if (isRenewed || (!isCurrent && !mToldOfLoss))
        NSLog(CFSTR("The graphics driver lost the context of the filters; %s."),
            isRenewed ? "they start again in a new one" : "they are left out until there is a new one");
    mToldOfLoss = !isCurrent;
    return isCurrent;
}

unsigned RenderContext::generation() const
{
    return mContext ? mContext->generation() : 0;
}

bool RenderContext::isLost() const
{
    return mContext && mContext->isLost();
}

RenderContext::Use::Use(RenderContext& context, bool waits)
    : mContext(context)
    , mLock(waits ? std::unique_lock(context.mUse) : std::unique_lock(context.mUse, std::try_to_lock))
    , mIsCurrent(mLock.owns_lock() && context.makeCurrent())
{
}

RenderContext::Use::~Use()
{
    if (mIsCurrent)
        mContext.mContext->resignCurrent();
}

}
