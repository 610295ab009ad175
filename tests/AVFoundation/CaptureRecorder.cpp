#include "tests/AVFoundation/CaptureRecorder.h"

#include "Platform/AVFoundation/TestPictureCounter.h"

namespace {

constexpr std::size_t kept = 4;

std::optional<std::uint32_t> counterOf(CMSampleBuffer* sample)
{
    const auto* const picture = CMSampleBufferGetImageBuffer(sample);
    if (!picture)
        return std::nullopt;
    return TestPictureCounter::readBGRA({ picture->baseAddress(), picture->bytesPerRow() * picture->height() },
        static_cast<int>(picture->width()), static_cast<int>(picture->height()), picture->bytesPerRow());
}

}

NS_IMPLEMENTATION(CaptureRecorder, NSObject)
{
    type.message("captureOutput:didOutputSampleBuffer:fromConnection:",
        &CaptureRecorder::captureOutput_didOutputSampleBuffer_fromConnection);
}

void CaptureRecorder::captureOutput_didOutputSampleBuffer_fromConnection(
    AVCaptureOutput* /*output*/, CMSampleBufferRef sampleBuffer, AVCaptureConnection* connection)
{
    if (inCallback)
        inCallback();
    const std::lock_guard lock(mLock);
    mNotes.push_back({ CMTimeGetSeconds(CMSampleBufferGetPresentationTimeStamp(sampleBuffer)),
        static_cast<double>(sampleBuffer->sampleCount()) / AVCaptureAudioDataOutput::sampleRate,
        counterOf(sampleBuffer), mNotes.size() < kept ? Ref(sampleBuffer) : nullptr });
    mConnection = connection;
    mQueueLabel = dispatch_queue_get_label(nullptr);
    mCame.notify_all();
}

std::vector<CaptureRecorder::Note> CaptureRecorder::notes() const
{
    const std::lock_guard lock(mLock);
    return mNotes;
}

Ref<AVCaptureConnection> CaptureRecorder::lastConnection() const
{
    const std::lock_guard lock(mLock);
    return mConnection;
}

std::string CaptureRecorder::lastQueueLabel() const
{
    const std::lock_guard lock(mLock);
    return mQueueLabel;
}

void CaptureRecorder::clear()
{
    const std::lock_guard lock(mLock);
    mNotes.clear();
}

bool CaptureRecorder::waitFor(std::size_t count, std::chrono::seconds deadline) const
{
    std::unique_lock lock(mLock);
    return mCame.wait_for(lock, deadline, [&] { return mNotes.size() >= count; });
}
