#pragma once

#include "Platform/AVFoundation/AVAssetWriter.h"
#include "Platform/AVFoundation/AVMediaFormat.h"
#include "Platform/CoreVideo/CVPixelBuffer.h"
#include "Platform/Foundation/NSError.h"
#include "Platform/Foundation/NSURL.h"

#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

/// A folder that goes with the test.
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "tovrin-writer-XXXXXX").string();
        mPath = ::mkdtemp(name.data());
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    const std::string& path() const { return mPath; }

private:
    std::string mPath;
};

/// A writer with the inputs and settings that a recording has, and what is needed to feed it with drawn pictures and
/// counted sound.
class Recording {
public:
    static constexpr std::int64_t start = 5'000'000'000; ///< of the session, in nanoseconds on the host clock
    static constexpr int sampleRate = 48000;

    /// \param isInRealTime  whether what comes too fast is lost; tests that append as fast as they can want it all
    explicit Recording(const std::string& path, int width = 320, int height = 240, bool isInRealTime = false)
        : writer(AVAssetWriter::initWithURL_fileType_error(make<NSURL>(path).get(), kUTTypeQuickTimeMovie, nullptr))
        , mWidth(width)
        , mHeight(height)
        , mIsInRealTime(isInRealTime)
    {
    }

    static CMTime at(std::int64_t nanoseconds) { return CMTimeMake(nanoseconds, 1'000'000'000); }
    static Ref<CFDictionary> pictureSettings(int width, int height)
    {
        const auto compression = CFDictionary::create(
            { { AVVideoAverageBitRateKey,
                  CFNumber::create(static_cast<int>(static_cast<float>(width * height) * 11.4F)).get() },
                { AVVideoMaxKeyFrameIntervalKey, CFNumber::create(30).get() } });
        return CFDictionary::create({ { AVVideoCodecKey, AVVideoCodecH264 },
            { AVVideoWidthKey, CFNumber::create(width).get() }, { AVVideoHeightKey, CFNumber::create(height).get() },
            { AVVideoCompressionPropertiesKey, compression.get() } });
    }
    static Ref<CFDictionary> soundSettings(double rate = sampleRate, int channels = 2)
    {
        return CFDictionary::create({ { AVFormatIDKey, CFNumber::create(kAudioFormatLinearPCM).get() },
            { AVSampleRateKey, CFNumber::create(static_cast<float>(rate)).get() },
            { AVNumberOfChannelsKey, CFNumber::create(channels).get() },
            { AVLinearPCMBitDepthKey, CFNumber::create(16).get() }, { AVLinearPCMIsFloatKey, kCFBooleanFalse },
            { AVLinearPCMIsBigEndianKey, kCFBooleanFalse }, { AVLinearPCMIsNonInterleaved, kCFBooleanFalse } });
    }
    static AudioStreamBasicDescription soundFormat(double rate = sampleRate, std::uint32_t channels = 2)
    {
        return { rate, kAudioFormatLinearPCM, 0xC, 2 * channels, 1, 2 * channels, channels, 16 };
    }

    void addPictureInput()
    {
        pictureInput = make<AVAssetWriterInput>(AVMediaTypeVideo, pictureSettings(mWidth, mHeight).get());
        pictureInput->setExpectsMediaDataInRealTime(mIsInRealTime);
        writer->addInput(pictureInput);
    }
    void addSoundInput(Ref<CFDictionary> settings = soundSettings())
    {
        soundInput = make<AVAssetWriterInput>(AVMediaTypeAudio, settings.get());
        soundInput->setExpectsMediaDataInRealTime(mIsInRealTime);
        writer->addInput(soundInput);
    }
    bool begin()
    {
        if (!writer->startWriting())
            return false;
        writer->startSessionAtSourceTime(at(start));
        return true;
    }
    bool beginWithBoth()
    {
        addPictureInput();
        addSoundInput();
        return begin();
    }

    /// One colour, with a bar that moves with \p number.
    static Ref<CVPixelBuffer> picture(int width, int height, std::uint32_t colour, int number)
    {
        Ref<CVPixelBuffer> buffer;
        CVPixelBufferCreate(kCFAllocatorDefault, static_cast<std::size_t>(width), static_cast<std::size_t>(height),
            kCVPixelFormatType_32BGRA, nullptr, &buffer);
        for (int y = 0; y < height; ++y) {
            auto* const row = reinterpret_cast<std::uint32_t*>(
                buffer->baseAddress() + static_cast<std::size_t>(y) * buffer->bytesPerRow());
            for (int x = 0; x < width; ++x)
                row[x] = y < height / 4 && (x + number) % 32 < 4 ? 0xFFFFFFFF : colour;
        }
        return buffer;
    }
    /// A picture whose pixels all differ, which an encoder cannot shorten.
    static Ref<CVPixelBuffer> noise(int width, int height, std::uint32_t seed)
    {
        auto buffer = picture(width, height, 0, 0);
        for (std::size_t y = 0; y < buffer->height(); ++y) {
            auto* const row = reinterpret_cast<std::uint32_t*>(buffer->baseAddress() + y * buffer->bytesPerRow());
            for (std::size_t x = 0; x < buffer->width(); ++x)
                row[x] = (seed = seed * 1664525 + 1013904223) | 0xFF000000;
        }
        return buffer;
    }
    static Ref<CMSampleBuffer> pictureSample(const Ref<CVPixelBuffer>& buffer, std::int64_t nanoseconds)
    {
        Ref<CMFormatDescription> format;
        CMVideoFormatDescriptionCreateForImageBuffer(kCFAllocatorDefault, buffer, &format);
        const CMSampleTimingInfo timing { kCMTimeInvalid, at(nanoseconds), kCMTimeInvalid };
        return make<CMSampleBuffer>(buffer, format, timing);
    }
    bool appendPicture(std::int64_t nanoseconds, std::uint32_t colour = 0xFF808080)
    {
        return pictureInput->appendSampleBuffer(
            pictureSample(picture(mWidth, mHeight, colour, mNumber++), nanoseconds).get());
    }
    /// Sound whose samples count on from \p first.
    static std::vector<std::int16_t> counting(std::size_t frames, int first, int channels = 2)
    {
        std::vector<std::int16_t> samples;
        for (std::size_t frame = 0; frame < frames; ++frame)
            for (int channel = 0; channel < channels; ++channel)
                samples.push_back(static_cast<std::int16_t>(first + static_cast<int>(frame) * (channel + 1)));
        return samples;
    }
    static Ref<CMSampleBuffer> soundSample(const std::vector<std::int16_t>& samples, std::int64_t nanoseconds,
        const AudioStreamBasicDescription& format = soundFormat())
    {
        const auto bytes = std::as_bytes(std::span(samples));
        const CMSampleTimingInfo timing { kCMTimeInvalid, at(nanoseconds), kCMTimeInvalid };
        return make<CMSampleBuffer>(std::vector<std::byte>(bytes.begin(), bytes.end()),
            make<CMFormatDescription>(format, AudioChannelLayout {}), timing);
    }
    bool appendSound(std::size_t frames, std::int64_t nanoseconds, int first = 1)
    {
        return soundInput->appendSampleBuffer(soundSample(counting(frames, first), nanoseconds).get());
    }
    /// Pictures at 30 a second and sound of 20 ms, in turn, as capture delivers them; waits while an input is not
    /// ready.
    bool appendSeconds(double seconds)
    {
        bool isWritten = true;
        for (const double end = mSecondsWritten + seconds; mSecondsWritten < end - 1e-9; mSecondsWritten += 0.1) {
            const auto from = start + static_cast<std::int64_t>(mSecondsWritten * 1e9 + 0.5);
            for (int index = 0; index < 5 && soundInput; ++index) {
                waitUntilReady(*soundInput);
                isWritten &= appendSound(960, from + index * 20'000'000);
            }
            for (int index = 0; index < 3 && pictureInput; ++index) {
                waitUntilReady(*pictureInput);
                isWritten &= appendPicture(from + index * 100'000'000 / 3);
            }
        }
        return isWritten;
    }
    static void waitUntilReady(const AVAssetWriterInput& input)
    {
        for (int turn = 0; turn < 10000 && !input.isReadyForMoreMediaData(); ++turn)
            ::usleep(1000);
    }
    /// What the writer's error says.
    std::string errorText() const { return writer->error() ? writer->error()->localizedDescription()->string() : ""; }

    const Ref<AVAssetWriter> writer;
    Ref<AVAssetWriterInput> pictureInput;
    Ref<AVAssetWriterInput> soundInput;

private:
    int mWidth;
    int mHeight;
    bool mIsInRealTime;
    int mNumber = 0;
    double mSecondsWritten = 0;
};
