#include "DrawnPictures.h"
#include "Figures.h"
#include "ProcessorTime.h"
#include "TestPictures.h"

#include "Platform/AVFoundation/AVAssetWriter.h"
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

/// A movie in the making, in a file that goes with it.
struct Movie {
    Movie()
        : path(std::filesystem::temp_directory_path() / ("tovrin-bench-" + std::to_string(::getpid()) + ".mov"))
        , writer(AVAssetWriter::initWithURL_fileType_error(
              make<NSURL>(path.string()).get(), kUTTypeQuickTimeMovie, nullptr))
        , pictures(make<AVAssetWriterInput>(AVMediaTypeVideo, pictureSettings().get()))
        , sound(make<AVAssetWriterInput>(AVMediaTypeAudio, nullptr))
    {
        writer->addInput(pictures);
        writer->addInput(sound);
        if (!writer->startWriting())
            throw std::runtime_error(writer->error()->localizedDescription()->string());
        writer->startSessionAtSourceTime(kCMTimeZero);
    }
    ~Movie()
    {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
    const std::filesystem::path path;
    const Ref<AVAssetWriter> writer;
    const Ref<AVAssetWriterInput> pictures;
    const Ref<AVAssetWriterInput> sound;
};

}

const std::vector<FigureName>& writerFigures()
{
    static const std::vector<FigureName> figures { writerCPU, writerAppend, writerFinish, writerLost };
    return figures;
}

void measureWriter(const BenchRequest& request)
{
    constexpr int rate = TestPictures::rate;
    constexpr AudioStreamBasicDescription format { 48000, kAudioFormatLinearPCM, 0xC, 4, 1, 4, 2, 16 };
    const auto soundFormat = make<CMFormatDescription>(format, AudioChannelLayout {});
    const auto pictures = drawnPictures();
    Movie movie;
    const int frames = std::max(1, static_cast<int>(request.seconds * rate));
    int lost = 0;
    double longest = 0;
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
        longest = std::max(longest, milliseconds(std::chrono::steady_clock::now() - before));
    }
    const auto beforeFinish = std::chrono::steady_clock::now();
    if (!movie.writer->finishWriting())
        throw std::runtime_error("the movie could not be finished");
    const double finish = milliseconds(std::chrono::steady_clock::now() - beforeFinish);
    printFigure(request, writerCPU, (processorMilliseconds() - processorStart) / frames);
    printFigure(request, writerAppend, longest);
    printFigure(request, writerFinish, finish);
    printFigure(request, writerLost, lost);
}
