#include "DrawnPictures.h"
#include "Figures.h"
#include "ProcessorTime.h"
#include "TestPictures.h"

#include "Platform/AVFoundation/AVAssetWriter.h"
#include "Platform/AVFoundation/AVAssetWriterMovieFile.h"
#include "Platform/AVFoundation/AVAssetWriterPictureEncoder.h"
#include "Platform/AVFoundation/AVMediaFormat.h"
#include "Platform/Foundation/NSError.h"
#include "Platform/Foundation/NSURL.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include <unistd.h>

namespace {

constexpr FigureName writerCPU { "writer-cpu", "ms/frame",
    "movie writer: processor time of 1280x720 pictures and sound" };
constexpr FigureName writerAppend { "writer-append", "ms",
    "movie writer: longest time that an append held its caller" };
constexpr FigureName writerShare { "writer-share", "ms/frame",
    "movie writer: time that appending takes on the write queue, a picture with its sound" };
constexpr FigureName writerEncode { "writer-encode", "ms/frame",
    "movie writer: time to convert and encode a 1280x720 picture" };
constexpr FigureName writerFinishLong { "writer-finish-long", "ms",
    "movie writer: time to complete the index of a movie of two hours" };
constexpr FigureName writerFinish { "writer-finish", "ms", "movie writer: time to finish the movie" };
constexpr FigureName writerLost { "writer-lost", "frames", "movie writer: pictures it was not ready for" };

double milliseconds(std::chrono::steady_clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

Ref<CFDictionary> pictureSettings()
{
    const auto number = [](int value) { return autorelease(CFNumber::create(value)); };
    const auto compression = make<CFDictionary>();
    compression->set(AVVideoAverageBitRateKey, number(10506240));
    compression->set(AVVideoMaxKeyFrameIntervalKey, number(30));
    auto settings = make<CFDictionary>();
    settings->set(AVVideoCodecKey, AVVideoCodecH264);
    settings->set(AVVideoWidthKey, number(TestPictures::width));
    settings->set(AVVideoHeightKey, number(TestPictures::height));
    settings->set(AVVideoCompressionPropertiesKey, compression);
    return settings;
}

/// A name for a file that goes with it.
struct TemporaryFile {
    ~TemporaryFile()
    {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
    const std::filesystem::path path
        = std::filesystem::temp_directory_path() / ("tovrin-bench-" + std::to_string(::getpid()) + ".mov");
};

/// A movie in the making, in a file that goes with it.
struct Movie {
    Movie()
        : writer(AVAssetWriter::initWithURL_fileType_error(
            make<NSURL>(file.path.string()).get(), kUTTypeQuickTimeMovie, nullptr))
        , pictures(make<AVAssetWriterInput>(AVMediaTypeVideo, pictureSettings().get()))
        , sound(make<AVAssetWriterInput>(AVMediaTypeAudio, nullptr))
    {
        pictures->setExpectsMediaDataInRealTime(true);
        sound->setExpectsMediaDataInRealTime(true);
        writer->addInput(pictures);
        writer->addInput(sound);
        if (!writer->startWriting())
            throw std::runtime_error(writer->error()->localizedDescription()->string());
        writer->startSessionAtSourceTime(kCMTimeZero);
    }
    const TemporaryFile file;
    const Ref<AVAssetWriter> writer;
    const Ref<AVAssetWriterInput> pictures;
    const Ref<AVAssetWriterInput> sound;
};

void measureRecording(const BenchRequest& request)
{
    constexpr int rate = TestPictures::rate;
    constexpr AudioStreamBasicDescription format { 48000, kAudioFormatLinearPCM, 0xC, 4, 1, 4, 2, 16 };
    const auto soundFormat = make<CMFormatDescription>(format, AudioChannelLayout {});
    const auto pictures = drawnPictures();
    Movie movie;
    const int frames = std::max(1, static_cast<int>(request.seconds * rate));
    int lost = 0;
    double longest = 0;
    double share = 0;
    const double processorStart = processorMilliseconds();
    const auto start = std::chrono::steady_clock::now();
    for (int frame = 0; frame < frames; ++frame) {
        // In real time, as a camera is: the writer's own thread is to keep up, not to be flooded.
        std::this_thread::sleep_until(start + std::chrono::nanoseconds(std::int64_t { frame } * 1'000'000'000 / rate));
        const CMSampleTimingInfo timing { kCMTimeInvalid, CMTimeMake(frame, rate), kCMTimeInvalid };
        Ref<CMFormatDescription> pictureFormat;
        const auto& picture = pictures[static_cast<std::size_t>(frame) % pictures.size()];
        CMVideoFormatDescriptionCreateForImageBuffer(kCFAllocatorDefault, picture, &pictureFormat);
        const auto sample = make<CMSampleBuffer>(picture, pictureFormat, timing);
        const auto silence = make<CMSampleBuffer>(std::vector<std::byte>(48000 / rate * 4), soundFormat, timing);
        const auto before = std::chrono::steady_clock::now();
        if (movie.pictures->isReadyForMoreMediaData())
            movie.pictures->appendSampleBuffer(sample);
        else
            ++lost;
        movie.sound->appendSampleBuffer(silence);
        const double taken = milliseconds(std::chrono::steady_clock::now() - before);
        share += taken;
        longest = std::max(longest, taken);
    }
    const auto beforeFinish = std::chrono::steady_clock::now();
    if (!movie.writer->finishWriting())
        throw std::runtime_error("the movie could not be finished");
    const double finish = milliseconds(std::chrono::steady_clock::now() - beforeFinish);
    printFigure(request, writerCPU, (processorMilliseconds() - processorStart) / frames);
    printFigure(request, writerShare, share / frames);
    printFigure(request, writerAppend, longest);
    printFigure(request, writerFinish, finish);
    printFigure(request, writerLost, lost);
}

/// The encoder alone, as fast as it can, on one thread.
void measureEncoder(const BenchRequest& request)
{
    const auto pictures = drawnPictures();
    const auto encoder = AVAssetWriterPictureEncoder::open(
        { TestPictures::width, TestPictures::height, 10506240, 30 }, false, nullptr);
    if (!encoder)
        throw std::runtime_error("no encoder opens");
    const auto ignore = [](std::span<const std::byte>, std::uint64_t, bool) {};
    std::uint64_t frames = 0;
    const auto start = std::chrono::steady_clock::now();
    const auto end = start + std::chrono::duration<double>(std::min(request.seconds, 5.0));
    for (; std::chrono::steady_clock::now() < end; ++frames)
        if (encoder->encode(pictures[frames % pictures.size()], frames * 3000, { 0, 1 }, ignore))
            throw std::runtime_error("the encoder failed");
    printFigure(request, writerEncode,
        milliseconds(std::chrono::steady_clock::now() - start)
            / static_cast<double>(std::max<std::uint64_t>(frames, 1)));
}

/// What is left to do at the end of a movie of two hours, whose pictures came at irregular times.
void measureLongMovie(const BenchRequest& request)
{
    constexpr std::uint64_t frames = 2 * 3600 * 30;
    const TemporaryFile temporary;
    Ref<NSError> error;
    const auto file = AVAssetWriterMovieFile::create(temporary.path.string(), &error);
    if (!file)
        throw std::runtime_error(error->localizedDescription()->string());
    AVAssetWriterTrack::PictureFormat format;
    format.width = format.height = 16;
    auto& picture = file->addTrack(format);
    auto& sound = file->addTrack(AudioStreamBasicDescription { 48000, kAudioFormatLinearPCM, 0xC, 4, 1, 4, 2, 16 });
    const std::vector<std::byte> bytes(100);
    for (std::uint64_t frame = 0; frame < frames; ++frame) {
        picture.appendPicture(bytes, frame * 3000 + frame % 7, frame % 30 == 0);
        sound.appendSound(std::span(bytes).first(40), 10);
        if (frame % 15 == 14 && file->writeFragment())
            throw std::runtime_error("the movie could not be written");
    }
    const auto before = std::chrono::steady_clock::now();
    picture.endPictures(frames * 3000);
    if (file->writeFragment() || file->complete())
        throw std::runtime_error("the movie could not be completed");
    printFigure(request, writerFinishLong, milliseconds(std::chrono::steady_clock::now() - before));
}

}

const std::vector<FigureName>& writerFigures()
{
    static const std::vector<FigureName> figures { writerCPU, writerShare, writerEncode, writerAppend, writerFinish,
        writerFinishLong, writerLost };
    return figures;
}

void measureWriter(const BenchRequest& request)
{
    if (request.wantsAny(std::vector { writerCPU, writerShare, writerAppend, writerFinish, writerLost }))
        measureRecording(request);
    if (request.wants(writerEncode.name))
        measureEncoder(request);
    if (request.wants(writerFinishLong.name))
        measureLongMovie(request);
}
