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

ViewRenderer::ViewRenderer(std::function<void()> prepared)
    : ViewRenderer(RenderContext::common(), std::move(prepared))
{
}

ViewRenderer::ViewRenderer(std::shared_ptr<RenderContext> context, std::function<void()> prepared)
    : mContext(std::move(context))
    , mPrepared(std::move(prepared))
{
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

/// The values of inputs that the present composition has too, but for the picture to work on, which is a later one now.
void ViewRenderer::takeValues(const Former& former)
{
    if (!former.composition || !mComposition)
        return;
    const auto& inputs = mComposition->document()->inputs;
    const auto& before = former.composition->document()->inputs;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const auto found = std::ranges::find(before, inputs[i].name, &ISFInput::name);
        if (found == before.end() || found->type != inputs[i].type
            || inputs[i].name == textOf(QCCompositionInputImageKey))
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
    // It may never have stopped.
    if (mRenderer && mRenderer->document() == mComposition->document())
        mRendererGeneration = mGeneration;
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
        ++mPictureSerial;
    }
    if (!mComposition)
        return;
    const auto& inputs = mComposition->document()->inputs;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (inputs[i].name != textOf(key) || inputs[i].isSilent)
            continue;
        if (inputs[i].type == ISFInputType::Image) {
            mObjects[i] = picture ? value : nullptr;
            mValues[i].picture = picture;
            mValues[i].pictureSerial = ++mPictureSerial;
        } else {
            mObjects[i] = kindOf<CFNumber>(value) || kindOf<CFArray>(value) ? value : nullptr;
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

/// \param takesEvents  which last for one render, by this one
ViewRenderer::Snapshot ViewRenderer::snapshot(double time, bool takesEvents)
{
    Snapshot result;
    const std::lock_guard lock(mLock);
    if (!mComposition)
        return result;
    result.generation = mGeneration;
    result.document = mComposition->document();
    result.frame.values = mValues;
    const auto& inputs = result.document->inputs;
    for (std::size_t i = 0; takesEvents && i < inputs.size(); ++i) {
        if (inputs[i].type == ISFInputType::Event) {
            mValues[i].numbers[0] = 0;
            mObjects[i] = nullptr;
        }
    }
    complete(result, time);
    return result;
}

/// Of the composition before the present one with the present picture; without a document when it is not compiled.
ViewRenderer::Snapshot ViewRenderer::snapshotOfFormer(double time)
{
    Snapshot result;
    const std::lock_guard lock(mLock);
    if (!mRenderer || !mFormer.composition || mFormer.composition->document() != mRenderer->document())
        return result;
    result.document = mRenderer->document();
    result.frame.values = mFormer.values;
    const auto& inputs = result.document->inputs;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        auto& value = result.frame.values[i];
        if (inputs[i].type == ISFInputType::Event)
            value.numbers[0] = 0;
        if (inputs[i].type != ISFInputType::Image || inputs[i].name != textOf(QCCompositionInputImageKey))
            continue;
        value.picture = mPicturePixels;
        value.pictureSerial = mPictureSerial;
    }
    complete(result, time);
    return result;
}

/// With all but the document and the values. With the lock.
void ViewRenderer::complete(Snapshot& snapshot, double time) const
{
    auto& frame = snapshot.frame;
    const auto& inputs = snapshot.document->inputs;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (inputs[i].type != ISFInputType::Image || inputs[i].isSilent)
            continue;
        const bool isMain = inputs[i].name == textOf(QCCompositionInputImageKey);
        snapshot.lacksPicture = snapshot.lacksPicture || (isMain && !frame.values[i].picture);
        if (frame.values[i].picture && (isMain || !snapshot.picture))
            snapshot.picture = frame.values[i].picture;
    }
    if (std::ranges::any_of(inputs, [](const ISFInput& input) { return input.sound != ISFSound::None; }))
        frame.sound = LTCSoundSource::latestSamples(soundSamples);
    frame.time = time;
    frame.width = mWidth ? mWidth : snapshot.picture ? snapshot.picture->width() : usualWidth;
    frame.height = mHeight ? mHeight : snapshot.picture ? snapshot.picture->height() : usualHeight;
}

bool ViewRenderer::render(double time)
{
    auto snapshot = this->snapshot(time, true);
    if (!snapshot.document || snapshot.lacksPicture)
        return false;
    Ref<CVPixelBuffer> result;
    CompositionError error;
    bool rendered = renderSnapshot(snapshot, &result, &error);
    if (!error.message.empty()) {
        refuse(snapshot.generation, std::move(error));
        // With what has come back; should that fail too, the next render will say so.
        snapshot = this->snapshot(time, true);
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

bool ViewRenderer::renderPrepared(double time)
{
    takePreparation();
    std::uint64_t generation = 0;
    {
        const std::lock_guard lock(mLock);
        generation = mGeneration;
    }
    if (mRendererGeneration == generation || mUnprepared == generation || (!mRenderer && !isTile()))
        return render(time);
    if (!isPreparing())
        beginPreparation();
    return renderFormer(time);
}

bool ViewRenderer::isUpToDate() const
{
    const std::lock_guard lock(mLock);
    return mOutput && mRenderedGeneration == mGeneration;
}

void ViewRenderer::beginPreparation()
{
    auto subject = snapshot(0, false);
    if (!subject.document || subject.lacksPicture)
        return;
    // A view's drawing goes on meanwhile, so this one needs a context of its own.
    mPreparation = RendererPreparation::begin(
        { subject.generation, subject.document, std::move(subject.frame) },
        isTile() ? mContext : std::make_shared<RenderContext>(),
        isTile() ? RenderThread::forTiles() : RenderThread::forNextFilters(), mPrepared ? mPrepared : [] {});
}

void ViewRenderer::takePreparation()
{
    if (!mPreparation || !mPreparation->isDone())
        return;
    const auto preparation = std::exchange(mPreparation, nullptr);
    const auto generation = preparation->generation();
    {
        const std::lock_guard lock(mLock);
        if (generation != mGeneration || generation == mRendererGeneration)
            return;
    }
    if (!preparation->error().message.empty()) {
        mRendererGeneration = generation;
        refuse(generation, preparation->error());
        return;
    }
    if (auto renderer = preparation->takeRenderer()) {
        mRenderer = std::move(renderer);
        mRendererGeneration = generation;
    } else {
        mUnprepared = generation;
    }
}

/// With the composition that was rendered last.
bool ViewRenderer::renderFormer(double time)
{
    const auto snapshot = snapshotOfFormer(time);
    if (!snapshot.document || snapshot.lacksPicture)
        return false;
    Ref<CVPixelBuffer> result;
    CompositionError error;
    if (draw(snapshot, &result, &error) != Drawing::Done)
        return false;
    const std::lock_guard lock(mLock);
    std::swap(mOutput, result);
    return true;
}

bool ViewRenderer::renderSnapshot(const Snapshot& snapshot, Ref<CVPixelBuffer>* result, CompositionError* error)
{
    if (mRendererGeneration != snapshot.generation)
        compile(snapshot, error);
    auto drawing = draw(snapshot, result, error);
    if (drawing == Drawing::Lost) {
        // It is made again when there is a context.
        mRenderer = nullptr;
        mRendererGeneration = 0;
        compile(snapshot, error);
        drawing = draw(snapshot, result, error);
    }
    if (mRenderer || !error->message.empty())
        return drawing == Drawing::Done;
    *result = snapshot.picture;
    return *result != nullptr;
}

/// On this thread; nothing happens without a context.
void ViewRenderer::compile(const Snapshot& snapshot, CompositionError* error)
{
    mRenderer = nullptr;
    const RenderContext::Use use(*mContext, !isTile());
    if (!use)
        return;
    mRendererGeneration = snapshot.generation;
    mRenderer = PlacedRenderer::create(mContext, snapshot.document, error);
}

ViewRenderer::Drawing ViewRenderer::draw(const Snapshot& snapshot, Ref<CVPixelBuffer>* result, CompositionError* error)
{
    if (!mRenderer)
        return Drawing::Failed;
    const auto context = mRenderer->context();
    const RenderContext::Use use(*context, !isTile());
    if (use.isBusy())
        return Drawing::Failed;
    if (!use || mRenderer->isLost())
        return Drawing::Lost;
    *result = newBuffer(snapshot.frame.width, snapshot.frame.height);
    if (*result && mRenderer->renderer().render(snapshot.frame, **result, error))
        return context->isLost() ? Drawing::Failed : Drawing::Done;
    if (!error->message.empty())
        mRenderer = nullptr; // and not made again for this generation
    return Drawing::Failed;
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
