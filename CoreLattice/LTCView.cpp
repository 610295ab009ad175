#include "CoreLattice/LTCView.h"

#include "CoreLattice/LTCCompositionRepository.h"
#include "CoreLattice/RenderThread.h"
#include "CoreLattice/ViewRenderer.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/CoreGraphics/CGImage.h"

#include <cstring>

using CoreLattice::RenderThread;
using CoreLattice::ViewRenderer;

namespace {

constexpr std::int64_t displayInterval = static_cast<std::int64_t>(NSEC_PER_SEC) / 30;
// A picture that comes by itself makes the display's own beat needless for a little longer than the next one takes.
constexpr std::int64_t requestsHoldOffDisplay = displayInterval * 13 / 10;
constexpr std::int64_t shortestInterval = displayInterval * 3 / 4;

/// A copy with the rows in reverse order.
Ref<CVPixelBuffer> upsideDown(CVPixelBuffer& picture)
{
    Ref<CVPixelBuffer> result;
    if (CVPixelBufferCreate(
            kCFAllocatorDefault, picture.width(), picture.height(), picture.pixelFormat(), nullptr, &result)
        != kCVReturnSuccess)
        return nullptr;
    for (std::size_t y = 0; y < picture.height(); ++y)
        std::memcpy(result->baseAddress() + (picture.height() - 1 - y) * result->bytesPerRow(),
            picture.baseAddress() + y * picture.bytesPerRow(), picture.width() * 4);
    return result;
}

}

NS_IMPLEMENTATION(LTCView, NSView)
{
    type.message("loadComposition:", &LTCView::loadComposition);
    type.message("attributes", &LTCView::attributes);
    type.message("inputKeys", &LTCView::inputKeys);
    type.message("setValue:forInputKey:", &LTCView::setValue_forInputKey);
    type.message("valueForOutputKey:ofType:", &LTCView::valueForOutputKey_ofType);
    type.message("startRendering", &LTCView::startRendering);
    type.message("stopRendering", &LTCView::stopRendering);
    type.message("renderAtTime:arguments:", &LTCView::renderAtTime_arguments);
    type.message("setIsPreviewFlippedY:", &LTCView::setIsPreviewFlippedY);
    type.message("_repositoryDidUpdate:", &LTCView::_repositoryDidUpdate);
    type.key("isPreviewFlippedY", &LTCView::isPreviewFlippedY, &LTCView::setIsPreviewFlippedY);
}

LTCView::LTCView()
    : mRenderer(std::make_shared<ViewRenderer>([weakSelf = WeakRef { this }] {
        if (const auto self = weakSelf.strongReference())
            self->requestRender();
    }))
{
    setWantsLayer(true);
    layer()->setContentsGravity(kCAGravityResizeAspect);
    layer()->setOpaque(true);
    NSNotificationCenter::defaultCenter()->addObserver_selector_name_object(
        this, "_repositoryDidUpdate:", LTCCompositionRepositoryDidUpdateNotification, nullptr);
}

LTCView::~LTCView() = default;

bool LTCView::classDefaultIsPreviewFlipped()
{
    return false;
}

bool LTCView::isPreviewFlippedY() const
{
    return mFlipped.load(std::memory_order_relaxed);
}

void LTCView::setIsPreviewFlippedY(bool flipped)
{
    const NSKeyValueChange change(this, "isPreviewFlippedY");
    mFlipped.store(flipped, std::memory_order_relaxed);
    showOutput();
}

void LTCView::loadComposition(QCComposition* composition)
{
    mRenderer->load(composition);
    updateTimer();
    requestRender();
    tellOfLoad(composition);
}

void LTCView::tellOfLoad(QCComposition* composition)
{
    auto userInfo = make<CFDictionary>();
    userInfo->set("QCComposition", composition);
    NSNotificationCenter::defaultCenter()->postNotificationName_object_userInfo(
        LTCViewDidLoadCompositionNotification, this, userInfo.get());
}

void LTCView::_repositoryDidUpdate(NSNotification* notification)
{
    auto* const repository = kindOf<LTCCompositionRepository>(notification->object());
    const auto present = mRenderer->composition();
    if (!repository || !present)
        return;
    const auto latest = repository->compositionWithIdentifier(present->identifier());
    if (!latest || CFEqual(latest, present) || CFEqual(latest, mRefused))
        return;
    mRenderer->reload(latest);
    updateTimer();
    requestRender();
    tellOfLoad(latest);
}

QCComposition* LTCView::loadedComposition() const
{
    return autorelease(mRenderer->composition());
}

CFDictionary* LTCView::attributes() const
{
    const auto* const composition = loadedComposition();
    return composition ? composition->attributes() : nullptr;
}

CFArray* LTCView::inputKeys() const
{
    const auto* const composition = loadedComposition();
    return composition ? composition->inputKeys() : autorelease(make<CFArray>());
}

void LTCView::setValue_forInputKey(CFType* value, CFString* key)
{
    if (!isPresent(key))
        return;
    mRenderer->setValue(value, key);
}

Ref<CFType> LTCView::valueForInputKey(CFString* key) const
{
    return isPresent(key) ? mRenderer->value(key) : nullptr;
}

Ref<CFType> LTCView::valueForOutputKey_ofType(CFString* key, CFString* type)
{
    if (textOf(key) != textOf(QCCompositionOutputImageKey))
        return nullptr;
    auto output = mRenderer->output();
    if (textOf(type) == "CVPixelBuffer")
        return output;
    if (textOf(type) != "CGImage")
        return nullptr;
    if (!mRenderer->isUpToDate()) {
        RenderThread::shared().sync([this] { mRenderer->render(secondsSinceStart()); });
        output = mRenderer->output();
    }
    // Pictures that were given out are never written to again, so the image can hold the buffer.
    return CGImageCreateWithPixelBuffer(output);
}

void LTCView::startRendering()
{
    if (mRendering.exchange(true))
        return;
    mStart = HostClock::nanoseconds();
    updateTimer();
    requestRender();
}

void LTCView::stopRendering()
{
    mRendering = false;
    updateTimer();
}

bool LTCView::isRendering() const
{
    return mRendering;
}

double LTCView::secondsSinceStart() const
{
    return static_cast<double>(HostClock::nanoseconds() - mStart) * 1e-9;
}

bool LTCView::renderAtTime_arguments(double time, CFDictionary* /*arguments*/)
{
    bool rendered = false;
    auto& thread = RenderThread::shared();
    // The view's own rendering goes on with what there is; who asks for a picture gets that of the present composition.
    if (thread.isCurrent())
        rendered = mRenderer->renderPrepared(time);
    else
        thread.sync([&] { rendered = mRenderer->render(time); });
    tellOfRefusal();
    return rendered;
}

/// On the main thread, where those who show compositions and their parameters are.
void LTCView::tellOfRefusal()
{
    auto refusal = mRenderer->takeRefusal();
    if (!refusal)
        return;
    dispatch_async(dispatch_get_main_queue(), [weakSelf = WeakRef { this }, refusal = std::move(*refusal)] {
        const auto self = weakSelf.strongReference();
        if (!self)
            return;
        self->mRefused = refusal.composition;
        auto userInfo = make<CFDictionary>();
        userInfo->set("QCComposition", refusal.composition);
        userInfo->set("reason", CFString::create(refusal.error.text()).get());
        NSNotificationCenter::defaultCenter()->postNotificationName_object_userInfo(
            LTCViewDidRefuseCompositionNotification, self, userInfo.get());
        if (!refusal.isReplaced)
            return;
        self->updateTimer();
        const auto present = self->mRenderer->composition();
        self->tellOfLoad(present);
    });
}

void LTCView::setNeedsDisplay(bool needsDisplay)
{
    if (!needsDisplay)
        return;
    if (!mRendering) {
        NSView::setNeedsDisplay(true);
        return;
    }
    mLastRequest = HostClock::nanoseconds();
    requestRender();
}

void LTCView::requestRender()
{
    if (!mRendering || mRenderWaits.exchange(true))
        return;
    RenderThread::shared().async([weakSelf = WeakRef { this }] {
        if (const auto self = weakSelf.strongReference())
            self->renderNow();
    });
}

void LTCView::renderNow()
{
    mRenderWaits = false;
    if (!mRendering)
        return;
    mLastRender = HostClock::nanoseconds();
    if (renderAtTime_arguments(secondsSinceStart(), make<CFDictionary>().get()))
        showOutput();
}

void LTCView::showOutput()
{
    auto picture = mRenderer->output();
    if (picture && isPreviewFlippedY())
        picture = upsideDown(*picture);
    if (auto* const shown = layer(); shown && picture)
        shown->setContents(picture);
}

void LTCView::updateTimer()
{
    const bool needed = mRendering && mRenderer->dependsOnTime();
    const std::lock_guard lock(mTimerLock);
    if (needed == (mTimer != nullptr))
        return;
    if (!needed) {
        dispatch_source_cancel(mTimer);
        mTimer = nullptr;
        return;
    }
    if (!mTimerQueue)
        mTimerQueue = dispatch_queue_create("CoreLattice.display");
    mTimer = dispatch_source_create_timer(mTimerQueue);
    if (!mTimer)
        return;
    dispatch_source_set_timer(mTimer, DISPATCH_TIME_NOW, displayInterval, 0);
    dispatch_source_set_event_handler(mTimer, [weakSelf = WeakRef { this }] {
        if (const auto self = weakSelf.strongReference())
            self->displayTick();
    });
    dispatch_resume(mTimer);
}

void LTCView::displayTick()
{
    const auto now = HostClock::nanoseconds();
    if (now - mLastRequest >= requestsHoldOffDisplay && now - mLastRender >= shortestInterval)
        requestRender();
}
