#pragma once

#include "ZVFoundationAVCapture/AVCaptureCommon/AVCaptureFilteredMovieWriterController.h"

#include <algorithm>
#include <condition_variable>

/// A delegate that implements everything and notes what it is asked and told.
class RecordingDelegate : public NSObject, public AVCaptureFilteredMovieWriterControllerDelegate {
    NS_OBJECT(RecordingDelegate)
public:
    RecordingDelegate() = default;
    bool recordingIsInTeardown(AVCaptureFilteredMovieWriterController*) override { return isInTeardown; }
    void recording_pixelBufferReadyForDisplay(AVCaptureFilteredMovieWriterController*, CVPixelBufferRef) override
    {
        note("display");
    }
    void recording_handleError(AVCaptureFilteredMovieWriterController*, NSError* error) override
    {
        note(error ? "error " + std::string(textOf(error->localizedDescription())) : "error");
    }
    Ref<CMSampleBuffer> recording_processSampleBuffer(
        AVCaptureFilteredMovieWriterController*, CMSampleBufferRef sampleBuffer) override
    {
        return process ? process(sampleBuffer) : Ref(sampleBuffer);
    }
    CFDictionary* recording_pixelBufferProperties(
        AVCaptureFilteredMovieWriterController*, CFDictionary* defaults) override
    {
        note("properties");
        return defaults;
    }
    void recordingWillStart(AVCaptureFilteredMovieWriterController*) override { note("willStart"); }
    void recordingDidStart(AVCaptureFilteredMovieWriterController*) override { note("didStart"); }
    void recordingWillStop(AVCaptureFilteredMovieWriterController*) override { note("willStop"); }
    void recordingDidStop(AVCaptureFilteredMovieWriterController* controller) override
    {
        note(controller->recordingInProgress() ? "didStop while in progress" : "didStop");
    }

    void note(std::string what)
    {
        const std::lock_guard lock(mLock);
        mNotes.push_back(std::move(what));
        mCame.notify_all();
    }
    long count(const std::string& what) const
    {
        const std::lock_guard lock(mLock);
        return std::ranges::count(mNotes, what);
    }
    bool waitFor(const std::string& what, long times = 1) const
    {
        std::unique_lock lock(mLock);
        return mCame.wait_for(
            lock, std::chrono::seconds(20), [&] { return std::ranges::count(mNotes, what) >= times; });
    }
    std::atomic<bool> isInTeardown { false };
    std::function<Ref<CMSampleBuffer>(CMSampleBufferRef)> process;

private:
    mutable std::mutex mLock;
    mutable std::condition_variable mCame;
    std::vector<std::string> mNotes;
};

/// One that has only `recordingWillStop:`.
class StopOnlyDelegate : public NSObject, public AVCaptureFilteredMovieWriterControllerDelegate {
    NS_OBJECT(StopOnlyDelegate)
public:
    StopOnlyDelegate() = default;
    void recordingWillStop(AVCaptureFilteredMovieWriterController*) override { ++stops; }
    int stops = 0;
};
