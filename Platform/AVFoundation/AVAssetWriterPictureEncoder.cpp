#include "Platform/AVFoundation/AVAssetWriterPictureEncoder.h"

#include "Platform/AVFoundation/AVAssetWriterHardware.h"
#include "Platform/AVFoundation/AVAssetWriterLibraryMessages.h"
#include "Platform/AVFoundation/AVAssetWriterNALUnits.h"
#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/Foundation/NSLog.h"

#include <array>
#include <chrono>

namespace {

/// Chosen by measurement, 1280x720 at 10.5 Mbit/s on one thread: against "superfast" the preset "ultrafast" takes less
/// than half of the processor (6.9 to 8.8 ms against 13.9 to 19.1 ms a frame on a busy machine) and loses at most
/// 0.4 dB (footage: 51.7 against 52.1 dB; noisy footage: 37.8 against 38.0 dB; synthetic noise: 31.6 against 31.5 dB).
/// Quantisers under 15 would spend bits and another fifth of the time on what nobody sees: 47 dB is left. Those from 24
/// on, and half the bits, take a third of the time off again.
const AVAssetWriterCodec::Choice& software(AVAssetWriterPace::Step step)
{
    constexpr int finest = 15;
    constexpr int coarse = 24;
    // Hardware numbers its parameter sets from 0.
    static const std::array<AVAssetWriterCodec::Choice, 3> choices { {
        { "libx264", "", "superfast", finest, 3, 1 },
        { "libx264", "", "ultrafast", finest, 1, 1 },
        { "libx264", "", "ultrafast", coarse, 2, 0.5 },
    } };
    return choices[std::min<std::size_t>(step, choices.size() - 1)];
}

}

std::unique_ptr<AVAssetWriterPictureEncoder> AVAssetWriterPictureEncoder::open(
    const Settings& settings, bool isInRealTime, Ref<NSError>* error)
{
    if (const auto status = FAIL_POINT("AVAssetWriter.openEncoder")) {
        NSErrorReturn(error, AVAssetWriterLibraryMessages().error(*status, "Cannot open an H.264 encoder"));
        return nullptr;
    }
    std::unique_ptr<AVAssetWriterPictureEncoder> encoder(new AVAssetWriterPictureEncoder(settings, isInRealTime));
    encoder->openHardware();
    if (!encoder->mCodec)
        encoder->mCodec = AVAssetWriterCodec::open(software(AVAssetWriterPace::Fast), settings, error);
    return encoder->mCodec ? std::move(encoder) : nullptr;
}

void AVAssetWriterPictureEncoder::openHardware()
{
    const auto candidate = AVAssetWriterHardware::shared().found();
    if (!candidate)
        return;
    Ref<NSError> error;
    mCodec = AVAssetWriterCodec::open({ candidate->name, candidate->device, "", 0, 0, 1 }, mSettings, &error);
    if (!mCodec)
        NSLog(CFSTR("Movies are encoded without the machine's encoder: %@"), error->localizedDescription());
}

AVAssetWriterTrack::PictureFormat AVAssetWriterPictureEncoder::trackFormat() const
{
    constexpr std::uint16_t bt709 = 1;
    AVAssetWriterTrack::PictureFormat format;
    format.width = static_cast<std::uint16_t>(mSettings.width);
    format.height = static_cast<std::uint16_t>(mSettings.height);
    format.primaries = format.transfer = format.matrix = bt709;
    return format;
}

std::vector<std::byte> AVAssetWriterPictureEncoder::decoderConfiguration() const
{
    const auto own = mCodec->header();
    std::vector<std::byte> sets(own.begin(), own.end());
    for (const auto step : { AVAssetWriterPace::Careful, AVAssetWriterPace::Fast, AVAssetWriterPace::Coarse }) {
        const auto& choice = software(step);
        if (choice.parameterSet == mCodec->choice().parameterSet || !(mIsInRealTime || isHardware()))
            continue;
        if (const auto codec = AVAssetWriterCodec::open(choice, mSettings, nullptr)) {
            const auto header = codec->header();
            sets.insert(sets.end(), header.begin(), header.end());
        }
    }
    return AVAssetWriterNALUnits::decoderConfiguration(sets);
}

AVAssetWriterCodec::Output AVAssetWriterPictureEncoder::samplesTo(const Output& output)
{
    return [this, &output](std::span<const std::byte> stream, std::uint64_t time, bool isKeyFrame) {
        mSample.clear();
        AVAssetWriterNALUnits::appendSample(stream, mSample);
        output(mSample, time, isKeyFrame);
    };
}

Ref<NSError> AVAssetWriterPictureEncoder::encode(
    CVPixelBufferRef picture, std::uint64_t time, const Load& load, const Output& output)
{
    const double interval
        = static_cast<double>(time - std::exchange(mLastTime, time)) / AVAssetWriterTrack::pictureTimescale;
    const bool isPaced = mIsInRealTime && !isHardware();
    if (isPaced && !mPace.takesNext()) {
        mPace.pictureCame(0, interval, load.waiting, load.mostWaiting);
        return nullptr;
    }
    const auto before = std::chrono::steady_clock::now();
    Ref<NSError> error;
    const auto hardwareFailure = isHardware() ? FAIL_POINT("AVAssetWriter.encodeByHardware") : std::nullopt;
    if (hardwareFailure)
        error = AVAssetWriterLibraryMessages().error(*hardwareFailure, "The encoder " + name() + " failed");
    else
        error = mCodec->encode(picture, time, samplesTo(output));
    if (error && isHardware()) {
        error = replaceHardware(error, output);
        if (!error)
            error = mCodec->encode(picture, time, samplesTo(output));
    }
    if (isPaced && !error) {
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - before;
        mPace.pictureCame(taken.count(), interval, load.waiting, load.mostWaiting);
        followPace(output);
    }
    return error;
}

void AVAssetWriterPictureEncoder::followPace(const Output& output)
{
    const auto& wanted = software(mPace.step());
    if (wanted.parameterSet == mCodec->choice().parameterSet)
        return;
    // One that cannot be opened now may be next time.
    auto next = AVAssetWriterCodec::open(wanted, mSettings, nullptr);
    if (!next)
        return;
    mCodec->finish(samplesTo(output));
    mCodec = std::move(next);
}

Ref<NSError> AVAssetWriterPictureEncoder::replaceHardware(const Ref<NSError>& failure, const Output& output)
{
    NSLog(CFSTR("A movie goes on without the machine's encoder: %@"), failure->localizedDescription());
    AVAssetWriterHardware::shared().forget();
    Ref<NSError> error;
    auto next = AVAssetWriterCodec::open(software(AVAssetWriterPace::Fast), mSettings, &error);
    if (!next)
        return error;
    // What it still gives is good; what it keeps is lost.
    mCodec->finish(samplesTo(output));
    mCodec = std::move(next);
    return nullptr;
}

Ref<NSError> AVAssetWriterPictureEncoder::finish(const Output& output)
{
    return mCodec->finish(samplesTo(output));
}
