#pragma once

#include "Platform/CoreFoundation/CFType.h"
#include "Platform/OpenGL/GLContext.h"

#include <mutex>

/// 0, or the host's number of what went wrong.
using CGLError = std::int32_t;
inline constexpr CGLError kCGLNoError = 0;
inline constexpr CGLError kCGLBadAttribute = 10000;
inline constexpr CGLError kCGLBadPixelFormat = 10002;
inline constexpr CGLError kCGLBadContext = 10004;
inline constexpr CGLError kCGLBadAlloc = 10016;

/// What a pixel format is asked for; some are followed by a number. A list ends with 0.
using CGLPixelFormatAttribute = std::int32_t;
inline constexpr CGLPixelFormatAttribute kCGLPFADoubleBuffer = 5;
inline constexpr CGLPixelFormatAttribute kCGLPFAColorSize = 8;
inline constexpr CGLPixelFormatAttribute kCGLPFAAlphaSize = 11;
inline constexpr CGLPixelFormatAttribute kCGLPFADepthSize = 12;
inline constexpr CGLPixelFormatAttribute kCGLPFASampleBuffers = 55;
inline constexpr CGLPixelFormatAttribute kCGLPFASamples = 56;
inline constexpr CGLPixelFormatAttribute kCGLPFAMultisample = 59;
inline constexpr CGLPixelFormatAttribute kCGLPFANoRecovery = 72;
inline constexpr CGLPixelFormatAttribute kCGLPFAAccelerated = 73;

/// What the drawing surfaces of a context are made of. Unchanging; any thread may use it.
///
/// Every context of EGL that renders desktop OpenGL counts as accelerated, that of the software driver too: it is what
/// such a machine has, and what is drawn with it is the same.
class CGLPixelFormat final : public CFType {
public:
    struct Properties {
        bool isDoubleBuffered = false;
        int colorSize = 24;
        int alphaSize = 0;
        int depthSize = 0;
        int samples = 0;
    };
    explicit CGLPixelFormat(const Properties& properties)
        : mProperties(properties)
    {
    }
    const Properties& properties() const noexcept { return mProperties; }

    CFTypeID typeID() const noexcept override;

private:
    const Properties mProperties;
};

/// A context of OpenGL that draws into memory. Current on one thread at a time; whoever makes it current for a while,
/// on a thread that may have another, does so with `Use`. The driver is asked for it when it is made current the first
/// time, so one that is never used costs nothing.
///
/// A context that the driver has lost, with the graphics processor's reset for instance, is replaced by a new one
/// behind the same object when it is made current the next time. What was made in the old one is gone then, which
/// `generation` tells.
class CGLContext final : public CFType {
public:
    explicit CGLContext(Ref<CGLPixelFormat> format);
    ~CGLContext() override;

    CGLPixelFormat* pixelFormat() const noexcept { return mFormat; }
    /// Whether the processor does the rendering.
    bool isSoftware() const;
    /// How many times the context was replaced. While it is current.
    unsigned generation() const noexcept;

    CFTypeID typeID() const noexcept override;

    /// Makes the context current and, at its end, what was current before. Waits for other uses of the same context.
    class Use {
    public:
        explicit Use(CGLContext& context);
        ~Use();
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;
        /// False when the driver refuses.
        explicit operator bool() const noexcept { return mIsCurrent; }

    private:
        const std::lock_guard<std::recursive_mutex> mLock;
        CGLContext* const mBefore;
        const GLContext::Binding mBindingBefore;
        const bool mIsCurrent;
    };

private:
    friend CGLError CGLSetCurrentContext(CGLContext* context);
    bool makeCurrent();

    const Ref<CGLPixelFormat> mFormat;
    std::unique_ptr<GLContext> mContext;
    std::recursive_mutex mLock;
};

using CGLPixelFormatObj = CGLPixelFormat*;
using CGLContextObj = CGLContext*;

inline CFTypeID CGLPixelFormatGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CGLPixelFormat" };
    return identifier.value();
}
inline CFTypeID CGLContextGetTypeID()
{
    static constinit CFTypeIdentifier identifier { "CGLContext" };
    return identifier.value();
}

/// The format that has what \p attributes ask for. Fail point "CGLChoosePixelFormat".
/// \param count  gets 1 or 0; may be null
/// \return kCGLBadAttribute for an attribute that is not known or lacks its number, kCGLBadPixelFormat when the machine
///         has no such format or no OpenGL; \p format is then null
CGLError CGLChoosePixelFormat(
    const CGLPixelFormatAttribute* attributes, Ref<CGLPixelFormat>* format, std::int32_t* count);
/// A context, not yet current. Fail point "CGLCreateContext".
/// \param share  not supported: null
/// \return kCGLBadPixelFormat without a format, kCGLBadContext for one to share with, kCGLBadAlloc on a machine without
///         OpenGL; \p context is then null
CGLError CGLCreateContext(CGLPixelFormatObj format, CGLContextObj share, Ref<CGLContext>* context);
/// Drop the caller's reference; null is allowed.
void CGLDestroyPixelFormat(Ref<CGLPixelFormat> format);
void CGLDestroyContext(Ref<CGLContext> context);
/// Null for null.
CGLPixelFormatObj CGLGetPixelFormat(CGLContextObj context);
/// The context of the calling thread; null when it has none. Must outlive its being current.
CGLContextObj CGLGetCurrentContext();
/// \param context  null: the thread has none afterwards
/// \return kCGLBadContext when the driver refuses, for instance because another thread has it
CGLError CGLSetCurrentContext(CGLContextObj context);
