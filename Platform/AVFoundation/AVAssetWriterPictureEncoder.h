#pragma once

#include "Platform/AVFoundation/AVAssetWriterTrack.h"
#include "Platform/CoreVideo/CVPixelBuffer.h"
#include "Platform/Foundation/NSError.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

struct AVCodecContext;
struct AVFrame;
struct AVPacket;

/// Compresses pictures to H.264 with libavcodec: with the machine's encoder when one opens, else with libx264.
///
/// `convert` belongs to the thread that hands pictures over; `encode` and `finish` to the thread that writes.
class AVAssetWriterPictureEncoder {
public:
    struct Settings {
        int width = 0; ///< pixels, even
        int height = 0;
        std::int64_t bitRate = 0; ///< bits a second
        int keyFrameInterval = 0; ///< frames
    };
    struct FrameDeleter {
        void operator()(AVFrame* frame) const;
    };
    using Frame = std::unique_ptr<AVFrame, FrameDeleter>;
    /// Receives a compressed picture: NAL units behind four bytes of length each, its time, whether it is a key frame.
    using Output = std::function<void(std::vector<std::byte> picture, std::uint64_t time, bool isKeyFrame)>;

    /// Fail point "AVAssetWriter.openEncoder".
    /// \param error  receives the library's message when null is returned
    static std::unique_ptr<AVAssetWriterPictureEncoder> open(const Settings& settings, Ref<NSError>* error);
    ~AVAssetWriterPictureEncoder();

    /// The encoder's name in libavcodec.
    std::string name() const;
    /// Size, decoder configuration and colours of the track.
    AVAssetWriterTrack::PictureFormat trackFormat() const;

    /// The picture, scaled when its size is another, as the encoder takes it. Fail point
    /// "AVAssetWriter.convertPicture". \return null when there is no memory for it
    Frame convert(CVPixelBufferRef picture);
    /// Fail point "AVAssetWriter.encode" (status: an error number of libavcodec).
    /// \param time  in AVAssetWriterTrack::pictureTimescale, above the last picture's
    /// \return null, or why the encoder failed
    Ref<NSError> encode(Frame frame, std::uint64_t time, const Output& output);
    /// Gets the last pictures out of the encoder, which takes no more.
    Ref<NSError> finish(const Output& output);

private:
    struct ContextDeleter {
        void operator()(AVCodecContext* context) const;
    };
    struct PacketDeleter {
        void operator()(AVPacket* packet) const;
    };
    using Context = std::unique_ptr<AVCodecContext, ContextDeleter>;

    explicit AVAssetWriterPictureEncoder(Context context);
    static Context openCodec(const char* name, const Settings& settings, Ref<NSError>* error);
    Frame takeFrame();
    void putFrame(Frame frame);
    Ref<NSError> receive(const Output& output);

    const Context mContext;
    const std::unique_ptr<AVPacket, PacketDeleter> mPacket;
    std::vector<std::uint8_t> mScaled;
    std::mutex mFramesLock;
    std::vector<Frame> mFrames; ///< to be used again
};
