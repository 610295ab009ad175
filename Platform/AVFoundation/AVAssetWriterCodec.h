#pragma once

#include "Platform/CoreVideo/CVPixelBuffer.h"
#include "Platform/Foundation/NSError.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

struct AVBufferRef;
struct AVCodecContext;
struct AVFrame;
struct AVPacket;

/// One H.264 encoder of libavcodec that is open: takes pictures and gives a stream of NAL units.
///
/// Pictures are converted to BT.709 with limited range on the way in. Belongs to one thread at a time.
class AVAssetWriterCodec {
public:
    struct Settings {
        int width = 0; ///< pixels, even
        int height = 0;
        std::int64_t bitRate = 0; ///< bits a second
        int keyFrameInterval = 0; ///< frames
    };
    /// Which encoder, and how it is to work.
    struct Choice {
        std::string name; ///< in libavcodec
        std::string device; ///< the hardware's device file where the encoder wants one named, else empty
        std::string preset; ///< for libx264, else empty: as the encoder does by itself
        int finestQuantiser = 0; ///< 0: as the encoder does by itself
        int parameterSet = 0; ///< the number of its parameter sets, so that those of several can stand in one movie
        double bitRateShare = 1; ///< of the settings' bit rate
    };
    /// Receives a compressed picture as NAL units behind start codes, its time, and whether it is a key frame.
    using Output = std::function<void(std::span<const std::byte> stream, std::uint64_t time, bool isKeyFrame)>;

    /// \param error  receives the library's message when null is returned
    static std::unique_ptr<AVAssetWriterCodec> open(
        const Choice& choice, const Settings& settings, Ref<NSError>* error);
    ~AVAssetWriterCodec();
    AVAssetWriterCodec(const AVAssetWriterCodec&) = delete;
    AVAssetWriterCodec& operator=(const AVAssetWriterCodec&) = delete;

    const Choice& choice() const noexcept { return mChoice; }
    /// The parameter sets behind start codes.
    std::span<const std::byte> header() const noexcept { return mHeader; }

    /// Hands over a picture (BGRA), scaled when its size is another, and gives what has become ready.
    /// Fail points "AVAssetWriter.convertPicture", "AVAssetWriter.encode" (status: an error number of libavcodec) and
    /// "AVAssetWriter.encodeSlowly" (status: microseconds that it takes longer).
    /// \param time  above the last picture's
    /// \return null, or why not
    Ref<NSError> encode(CVPixelBufferRef picture, std::uint64_t time, const Output& output);
    /// Gets the last pictures out of the encoder, which takes no more.
    Ref<NSError> finish(const Output& output);

private:
    struct ContextDeleter {
        void operator()(AVCodecContext* context) const;
    };
    struct FrameDeleter {
        void operator()(AVFrame* frame) const;
    };
    struct PacketDeleter {
        void operator()(AVPacket* packet) const;
    };
    struct BufferDeleter {
        void operator()(AVBufferRef* buffer) const;
    };
    using Frame = std::unique_ptr<AVFrame, FrameDeleter>;

    AVAssetWriterCodec(Choice choice, const Settings& settings);
    int openContext();
    int openDevice();
    int takeFrame();
    int takeHeader();
    bool convert(CVPixelBufferRef picture);
    int send(std::uint64_t time);
    Ref<NSError> receive(const Output& output);
    std::string action() const;

    const Choice mChoice;
    const Settings mSettings;
    std::unique_ptr<AVCodecContext, ContextDeleter> mContext;
    std::unique_ptr<AVBufferRef, BufferDeleter> mDevice; ///< of the hardware, where pictures must be carried there
    std::unique_ptr<AVPacket, PacketDeleter> mPacket;
    std::vector<Frame> mFrames; ///< what pictures are converted into, in turn if the encoder keeps them for a while
    AVFrame* mFrame = nullptr; ///< of these the one in use
    std::vector<std::byte> mHeader;
    std::vector<std::uint8_t> mScaled;
    std::vector<std::uint8_t> mColours; ///< two planes on their way into one
};
