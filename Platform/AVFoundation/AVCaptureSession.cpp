#include "Platform/AVFoundation/AVCaptureSession.h"

#include "Platform/AVFoundation/AVAssetWriterHardware.h"
#include "Platform/AVFoundation/AVCaptureSessionGraph.h"
#include "Platform/AVFoundation/CaptureDeviceList.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/Foundation/NSNotification.h"

#include <algorithm>

NS_IMPLEMENTATION(AVCaptureSession, NSObject)
{
    type.message("beginConfiguration", &AVCaptureSession::beginConfiguration);
    type.message("commitConfiguration", &AVCaptureSession::commitConfiguration);
    type.message("canAddInput:", &AVCaptureSession::canAddInput);
    type.message("addInput:", &AVCaptureSession::addInput);
    type.message("removeInput:", &AVCaptureSession::removeInput);
    type.message("canAddOutput:", &AVCaptureSession::canAddOutput);
    type.message("addOutput:", &AVCaptureSession::addOutput);
    type.message("removeOutput:", &AVCaptureSession::removeOutput);
    type.message("canSetSessionPreset:", &AVCaptureSession::canSetSessionPreset);
    type.message("setSessionPreset:", &AVCaptureSession::setSessionPreset);
    type.message("startRunning", &AVCaptureSession::startRunning);
    type.message("stopRunning", &AVCaptureSession::stopRunning);
    type.message("isRunning", &AVCaptureSession::isRunning);
    type.key("running", &AVCaptureSession::isRunning);
    type.key("sessionPreset", &AVCaptureSession::sessionPreset, &AVCaptureSession::setSessionPreset);
    type.key("inputs", &AVCaptureSession::inputs);
    type.key("outputs", &AVCaptureSession::outputs);
}

namespace {

struct PresetSize {
    CFString* preset;
    CMVideoDimensions dimensions;
};

const std::array<PresetSize, 4> presetSizes { {
    { AVCaptureSessionPresetHigh, { 1920, 1080 } },
    { AVCaptureSessionPreset640x480, { 640, 480 } },
    { AVCaptureSessionPreset1280x720, { 1280, 720 } },
    { AVCaptureSessionPreset1920x1080, { 1920, 1080 } },
} };

const PresetSize* sizeOf(CFString* preset)
{
    const auto found = std::ranges::find_if(
        presetSizes, [preset](const PresetSize& each) { return preset && CFEqual(each.preset, preset); });
    return found == presetSizes.end() ? nullptr : found;
}

}

AVCaptureSession::AVCaptureSession()
    : mGraph(std::make_shared<AVCaptureSessionGraph>())
{
    mGraph->setSession(this);
    CaptureDeviceList::shared().begin();
    // A recording that starts does not wait for the answer, so it is looked for early.
    AVAssetWriterHardware::shared().begin();
}

AVCaptureSession::~AVCaptureSession()
{
    setDelivering(false);
    mGraph->apply({}, {});
}

void AVCaptureSession::beginConfiguration()
{
    const std::lock_guard lock(mLock);
    ++mConfiguring;
}

void AVCaptureSession::commitConfiguration()
{
    const std::lock_guard lock(mLock);
    if (mConfiguring > 0)
        --mConfiguring;
    applyIfNotConfiguring();
}

bool AVCaptureSession::canAddInput(AVCaptureDeviceInput* input) const
{
    if (FAIL_POINT("AVCaptureSession.canAddInput") || !input)
        return false;
    const std::lock_guard lock(mLock);
    return std::ranges::none_of(mInputs, [input](const Ref<AVCaptureDeviceInput>& each) {
        return each->device()->hasMediaType(input->device()->properties().mediaType);
    });
}

void AVCaptureSession::addInput(AVCaptureDeviceInput* input)
{
    if (!canAddInput(input))
        throw NSException(
            NSInvalidArgumentException, "The session has an input of this kind, or there is none to add.");
    const std::lock_guard lock(mLock);
    mInputs.emplace_back(input);
    connect();
}

void AVCaptureSession::removeInput(AVCaptureDeviceInput* input)
{
    const std::lock_guard lock(mLock);
    std::erase(mInputs, Ref(input));
    connect();
}

bool AVCaptureSession::canAddOutput(AVCaptureOutput* output) const
{
    if (FAIL_POINT("AVCaptureSession.canAddOutput") || !output)
        return false;
    const std::lock_guard lock(mLock);
    return std::ranges::none_of(mOutputs,
        [output](const Ref<AVCaptureOutput>& each) { return CFEqual(each->mediaType(), output->mediaType()); });
}

void AVCaptureSession::addOutput(AVCaptureOutput* output)
{
    if (!canAddOutput(output))
        throw NSException(
            NSInvalidArgumentException, "The session has an output of this kind, or there is none to add.");
    const std::lock_guard lock(mLock);
    mOutputs.emplace_back(output);
    output->setDelivering(mRunning);
    connect();
}

void AVCaptureSession::removeOutput(AVCaptureOutput* output)
{
    const std::lock_guard lock(mLock);
    if (std::erase(mOutputs, Ref(output)) == 0)
        return;
    if (const Ref<AVCaptureConnection> connection { output->connectionWithMediaType(output->mediaType()) })
        connection->setActive(false);
    output->setConnection(nullptr);
    output->setDelivering(false);
    applyIfNotConfiguring();
}

CFArray* AVCaptureSession::inputs() const
{
    const std::lock_guard lock(mLock);
    return autorelease(CFArray::create(mInputs));
}

CFArray* AVCaptureSession::outputs() const
{
    const std::lock_guard lock(mLock);
    return autorelease(CFArray::create(mOutputs));
}

bool AVCaptureSession::canSetSessionPreset(AVCaptureSessionPreset preset) const
{
    return !FAIL_POINT("AVCaptureSession.canSetSessionPreset") && sizeOf(preset);
}

void AVCaptureSession::setSessionPreset(AVCaptureSessionPreset preset)
{
    const std::lock_guard lock(mLock);
    if (!sizeOf(preset))
        throw NSException(NSInvalidArgumentException, "The session does not know this preset.");
    mPreset = preset;
    applyIfNotConfiguring();
}

AVCaptureSessionPreset AVCaptureSession::sessionPreset() const
{
    const std::lock_guard lock(mLock);
    return autorelease(mPreset);
}

void AVCaptureSession::startRunning()
{
    {
        const std::lock_guard lock(mLock);
        if (mRunning)
            return;
        mRunning = true;
        setDelivering(true);
        applyIfNotConfiguring();
    }
    NSNotificationCenter::defaultCenter()->postNotificationName_object(
        AVCaptureSessionDidStartRunningNotification, this);
}

void AVCaptureSession::stopRunning()
{
    {
        const std::lock_guard lock(mLock);
        if (!mRunning)
            return;
        mRunning = false;
        setDelivering(false);
        mGraph->apply({}, {});
    }
    NSNotificationCenter::defaultCenter()->postNotificationName_object(
        AVCaptureSessionDidStopRunningNotification, this);
}

bool AVCaptureSession::isRunning() const
{
    const std::lock_guard lock(mLock);
    return mRunning;
}

void AVCaptureSession::waitUntilSettled() const
{
    mGraph->waitUntilSettled();
}

void AVCaptureSession::setDelivering(bool delivers)
{
    mGraph->setDelivering(delivers);
    for (const auto& output : mOutputs)
        output->setDelivering(delivers);
}

void AVCaptureSession::connect()
{
    const AutoreleasePool pool;
    for (const auto& output : mOutputs) {
        const auto found = std::ranges::find_if(mInputs,
            [&](const Ref<AVCaptureDeviceInput>& input) { return input->device()->hasMediaType(output->mediaType()); });
        auto* const input = found == mInputs.end() ? nullptr : found->get();
        auto* const present = output->connectionWithMediaType(output->mediaType());
        if (present && present->input() == input)
            continue;
        if (present)
            present->setActive(false);
        output->setConnection(input ? make<AVCaptureConnection>(output->mediaType(), input, output.get()) : nullptr);
    }
    applyIfNotConfiguring();
}

void AVCaptureSession::applyIfNotConfiguring()
{
    if (!mRunning || mConfiguring > 0)
        return;
    const AutoreleasePool pool;
    std::vector<Ref<AVCaptureConnection>> connections;
    for (const auto& output : mOutputs) {
        if (auto* const connection = output->connectionWithMediaType(output->mediaType()))
            connections.emplace_back(connection);
    }
    mGraph->apply(std::move(connections), sizeOf(mPreset)->dimensions);
}
