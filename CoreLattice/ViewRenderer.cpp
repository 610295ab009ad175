#include "CoreLattice/ViewRenderer.h"

#include "CoreLattice/LTCSoundSource.h"
#include "CoreLattice/RenderThread.h"
#include "CoreLattice/SoundPicture.h"
#include "Platform/CoreImage/CIContext.h"
#include "Platform/Foundation/NSLog.h"

#include <algorithm>
#include <cmath>

namespace CoreLattice {

namespace {

// Pictures of one view that may be in use at a time: waiting to be shown, written and published. Beyond that the newest
// frame is lost.
constexpr std::size_t mostBuffers = 16;
constexpr std::size_t usualWidth = 1280;
constexpr std::size_t usualHeight = 720;

/// A BGRA buffer with the picture that a value stands for, or null.
Ref<CVPixelBuffer> pictureOf(CFType* value)
{
    Ref<CVPixelBuffer> buffer = kindOf<CVPixelBuffer>(value);
    if (const auto* const image = kindOf<CIImage>(value))
        buffer = CIContext::createPixelBuffer(*image);
    return buffer && buffer->pixelFormat() == kCVPixelFormatType_32BGRA && buffer->baseAddress() ? buffer : nullptr;
}

/// Whether a control for the input could show the value.
bool accepts(const ISFInput& input, const ISFInput::Numbers& numbers)
{
    if (input.type == ISFInputType::Menu)
        return std::ranges::find(input.values, numbers[0]) != input.values.end();
    return input.type != ISFInputType::Number
        || (numbers[0] >= input.minimum.value_or(numbers)[0] && numbers[0] <= input.maximum.value_or(numbers)[0]);
}

double finite(double number)
{
    return std::isfinite(number) ? number : 0;
}

}

ViewRenderer::~ViewRenderer()
{
    if (mRenderer) {
        // A closure that can be posted must be copyable, so the renderer goes into a shared pointer.
        RenderThread::shared().async(
            [renderer = std::shared_ptr<ISFRenderer>(std::move(mRenderer)), generation = mContextGeneration]() mutable {
                if (generation != RenderThread::shared().contextGeneration())
                    renderer->forget();
                renderer.reset();
            });
    }
}

void ViewRenderer::load(QCComposition* composition)
{
    Former replaced; // dies after the lock
    const std::lock_guard lock(mLock);
    replaced = keepFormer();
    setComposition(composition);
}

void ViewRenderer::reload(QCComposition* composition)
{
    Former replaced;
    const std::lock_guard lock(mLock);
    const Former present { mComposition, mValues, mObjects };
    replaced = keepFormer();
    setComposition(composition);
    takeValues(present);
}

/// Makes the present composition the one to come back to. One that was never rendered is nothing to come back to.
ViewRenderer::Former ViewRenderer::keepFormer()
{
    if (mRenderedGeneration != mGeneration || !mComposition)
        return {};
    return std::exchange(mFormer, { mComposition, mValues, mObjects });
}

/// The values of inputs that the present composition has too; pictures of the past are over.
void ViewRenderer::takeValues(const Former& former)
{
    if (!former.composition || !mComposition)
        return;
    const auto& inputs = mComposition->document()->inputs;
    const auto& before = former.composition->document()->inputs;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const auto found = std::ranges::find(before, inputs[i].name, &ISFInput::name);
        if (found == before.end() || found->type != inputs[i].type || inputs[i].type == ISFInputType::Image)
            continue;
        const auto index = static_cast<std::size_t>(found - before.begin());
        // What was never set follows the default, which may be another one now.
        if (!former.objects[index] || !accepts(inputs[i], former.values[index].numbers))
            continue;
        mValues[i] = former.values[index];
        mObjects[i] = former.objects[index];
    }
}

/// With its inputs at their defaults.
void ViewRenderer::setComposition(QCComposition* composition)
{
    mComposition = composition;
    ++mGeneration;
    mValues.clear();
    mObjects.clear();
    if (!composition)
        return;
    const auto& inputs = composition->document()->inputs;
    mValues.resize(inputs.size());
    mObjects.resize(inputs.size());
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        mValues[i].numbers = inputs[i].defaultValue.value_or(ISFInput::Numbers { 0, 0, 0, 1 });
        if (mPicture && inputs[i].type == ISFInputType::Image && inputs[i].name == textOf(QCCompositionInputImageKey)) {
            mObjects[i] = mPicture;
            mValues[i].picture = mPicturePixels;
            mValues[i].pictureSerial = ++mPictureSerial;
        }
    }
}

void ViewRenderer::refuse(std::uint64_t generation, CompositionError error)
{
    NSLog(CFSTR("A composition cannot be rendered: %s"), error.text().c_str());
    const std::lock_guard lock(mLock);
    if (generation != mGeneration)
        return;
    auto former = std::exchange(mFormer, {});
    mRefusal = Refusal { mComposition, std::move(error), former.composition != nullptr };
    if (!former.composition)
        return;
    setComposition(former.composition);
    takeValues(former);
}

std::optional<ViewRenderer::Refusal> ViewRenderer::takeRefusal()
{
    const std::lock_guard lock(mLock);
    return std::exchange(mRefusal, std::nullopt);
}

Ref<QCComposition> ViewRenderer::composition() const
{
    const std::lock_guard lock(mLock);
    return mComposition;
}

bool ViewRenderer::dependsOnTime() const
{
    const std::lock_guard lock(mLock);
    return mComposition && mComposition->document()->dependsOnTime;
}

Ref<CVPixelBuffer> ViewRenderer::output() const
{
    const std::lock_guard lock(mLock);
    return mOutput;
}

void ViewRenderer::setOutputSize(std::size_t width, std::size_t height)
{
    const std::lock_guard lock(mLock);
    mWidth = width;
    mHeight = height;
}

void ViewRenderer::setValue(CFType* value, CFString* key)
{
    if (!isPresent(value))
        value = nullptr;
    const auto picture = pictureOf(value);
    Ref<CFType> replaced;
    Ref<CVPixelBuffer> replacedPixels;
    const std::lock_guard lock(mLock);
    if (CFEqual(key, QCCompositionInputImageKey)) {
        replaced = std::exchange(mPicture, value);
        replacedPixels = std::exchange(mPicturePixels, picture);
    }
    if (!mComposition)
        return;
    const auto& inputs = mComposition->document()->inputs;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (inputs[i].name != textOf(key) || inputs[i].isSilent)
            continue;
        mObjects[i] = value;
        if (inputs[i].type == ISFInputType::Image) {
            mValues[i].picture = picture;
            mValues[i].pictureSerial = ++mPictureSerial;
        } else {
            setNumbers(i, value);
        }
    }
}

void ViewRenderer::setNumbers(std::size_t index, CFType* value)
{
    const auto& input = mComposition->document()->inputs[index];
    auto& numbers = mValues[index].numbers;
    if (const auto* const number = kindOf<CFNumber>(value)) {
        numbers[0] = finite(number->doubleValue());
    } else if (const auto* const array = kindOf<CFArray>(value)) {
        const auto values = array->values();
        for (std::size_t i = 0; i < std::min(values.size(), numbers.size()); ++i) {
            if (const auto* const element = kindOf<CFNumber>(values[i]))
                numbers[i] = finite(element->doubleValue());
        }
    } else {
        numbers = input.defaultValue.value_or(ISFInput::Numbers { 0, 0, 0, 1 });
    }
}

Ref<CFType> ViewRenderer::value(CFString* key) const
{
    const std::lock_guard lock(mLock);
    if (!mComposition)
        return nullptr;
    const auto& inputs = mComposition->document()->inputs;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (inputs[i].name != textOf(key) || inputs[i].isSilent)
            continue;
        if (mObjects[i])
            return mObjects[i];
        const auto* const port = mComposition->attributes()->get<CFDictionary>(key);
        return port ? Ref<CFType>(port->objectForKey(LTCPortDefaultKey)) : nullptr;
    }
    return nullptr;
}

ViewRenderer::Snapshot ViewRenderer::snapshot(double time)
{
    Snapshot result;
    const std::lock_guard lock(mLock);
    if (!mComposition)
        return result;
    result.generation = mGeneration;
    result.document = mComposition->document();
    result.frame.time = time;
    result.frame.values = mValues;
    const auto& inputs = result.document->inputs;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (inputs[i].type == ISFInputType::Event) {
            // An event lasts for one render.
            mValues[i].numbers[0] = 0;
            mObjects[i] = nullptr;
        }
        if (inputs[i].type != ISFInputType::Image || inputs[i].isSilent)
            continue;
        const bool isMain = inputs[i].name == textOf(QCCompositionInputImageKey);
        result.lacksPicture = result.lacksPicture || (isMain && !mValues[i].picture);
        if (mValues[i].picture && (isMain || !result.picture))
            result.picture = mValues[i].picture;
    }
    if (std::ranges::any_of(inputs, [](const ISFInput& input) { return input.sound != ISFSound::None; }))
        result.frame.sound = LTCSoundSource::latestSamples(soundSamples);
    result.frame.width = mWidth ? mWidth : result.picture ? result.picture->width() : usualWidth;
    result.frame.height = mHeight ? mHeight : result.picture ? result.picture->height() : usualHeight;
    return result;
}

bool ViewRenderer::render(double time)
{
    auto snapshot = this->snapshot(time);
    if (!snapshot.document || snapshot.lacksPicture)
        return false;
    Ref<CVPixelBuffer> result;
    CompositionError error;
    bool rendered = renderSnapshot(snapshot, &result, &error);
    if (!error.message.empty()) {
        refuse(snapshot.generation, std::move(error));
        // With what has come back; should that fail too, the next render will say so.
        snapshot = this->snapshot(time);
        if (!snapshot.document || snapshot.lacksPicture)
            return false;
        CompositionError second;
        rendered = renderSnapshot(snapshot, &result, &second);
    }
    if (!rendered)
        return false;
    const std::lock_guard lock(mLock);
    mRenderedGeneration = mRenderer ? snapshot.generation : mRenderedGeneration;
    std::swap(mOutput, result);
    return true;
}

bool ViewRenderer::renderSnapshot(const Snapshot& snapshot, Ref<CVPixelBuffer>* result, CompositionError* error)
{
    dropLostRenderer();
    if (mRendererGeneration != snapshot.generation)
        prepareRenderer(snapshot, error);
    if (!mRenderer) {
        *result = snapshot.picture;
        return *result != nullptr;
    }
    *result = newBuffer(snapshot.frame.width, snapshot.frame.height);
    if (*result && mRenderer->render(snapshot.frame, **result, error))
        return !RenderThread::shared().contextIsLost();
    if (!error->message.empty())
        mRenderer = nullptr; // and not made again for this generation
    return false;
}

/// A renderer whose context was lost, or cannot be had now, is made again when there is one.
void ViewRenderer::dropLostRenderer()
{
    auto& thread = RenderThread::shared();
    if (!mRenderer || (thread.hasContext() && thread.contextGeneration() == mContextGeneration))
        return;
    mRenderer->forget();
    mRenderer = nullptr;
    mRendererGeneration = 0;
}

void ViewRenderer::prepareRenderer(const Snapshot& snapshot, CompositionError* error)
{
    mRenderer = nullptr;
    if (!RenderThread::shared().hasContext())
        return;
    mRendererGeneration = snapshot.generation;
    mContextGeneration = RenderThread::shared().contextGeneration();
    mRenderer = ISFRenderer::create(snapshot.document, error);
    RenderThread::shared().compiled();
}

Ref<CVPixelBuffer> ViewRenderer::newBuffer(std::size_t width, std::size_t height)
{
    if (!mPool || width != mPoolWidth || height != mPoolHeight) {
        const auto attributes = CFDictionary::create(
            { { kCVPixelBufferPixelFormatTypeKey, CFNumber::create(kCVPixelFormatType_32BGRA).get() },
                { kCVPixelBufferWidthKey, CFNumber::create(width).get() },
                { kCVPixelBufferHeightKey, CFNumber::create(height).get() },
                { kCVPixelBufferIOSurfacePropertiesKey, make<CFDictionary>().get() } });
        mPool = nullptr;
        const auto status = CVPixelBufferPoolCreate(kCFAllocatorDefault, nullptr, attributes, &mPool);
        if (status != kCVReturnSuccess) {
            if (!std::exchange(mPoolFailed, true))
                NSLog(CFSTR("No memory for rendered pictures of %u by %u: status %d"), width, height, status);
            return nullptr;
        }
        mPoolFailed = false;
        mPoolWidth = width;
        mPoolHeight = height;
    }
    static const auto limit = [] {
        auto dictionary = make<CFDictionary>();
        dictionary->set(kCVPixelBufferPoolAllocationThresholdKey, CFNumber::create(mostBuffers).get());
        return dictionary;
    }();
    Ref<CVPixelBuffer> buffer;
    CVPixelBufferPoolCreatePixelBufferWithAuxAttributes(kCFAllocatorDefault, mPool, limit, &buffer);
    return buffer;
}

}
