#pragma once

#include <memory>
#include <string>

/// A context of desktop OpenGL without any window, for rendering into textures.
///
/// Current on at most one thread at a time. Without a graphics processor Mesa's software driver stands behind it.
///
/// When the driver loses a context, because the graphics processor was reset for instance, `makeCurrent` replaces it by
/// a new one. All names of the old one are gone then; `generation` tells how often that has happened.
class GLContext {
public:
    /// Makes a context of the compatibility profile, OpenGL 3.3 or later, not yet current anywhere.
    ///
    /// \param error  gets the reason when there is none
    /// \return null when the machine has no EGL display or no such context; also at the fail point "GLContextCreate"
    static std::unique_ptr<GLContext> create(std::string* error);
    /// Whether the machine has an EGL display with desktop OpenGL, so that `create` can be expected to work. Also false
    /// at the fail point "GLContextCreate".
    static bool isAvailable();
    ~GLContext();
    GLContext(const GLContext&) = delete;
    GLContext& operator=(const GLContext&) = delete;

    /// Makes this the context of the calling thread.
    /// \return false when the platform refuses, for instance because another thread has it; also at the fail point
    ///         "GLContextMakeCurrent", and when a lost context cannot be replaced, as at "GLContextCreate"
    bool makeCurrent();
    /// Whether the driver has lost the context; `makeCurrent` replaces it then. While it is current. Also true at the
    /// fail point "GLContextLost".
    bool isLost();
    /// The calling thread has no context afterwards.
    void resignCurrent();
    /// The context of the calling thread, whoever made it current, to be made current again.
    struct Binding {
        void* display = nullptr;
        void* drawSurface = nullptr;
        void* readSurface = nullptr;
        void* context = nullptr;
    };
    static Binding binding();
    static void restore(const Binding& binding);
    /// Whether the processor does the rendering. The context must have been current once.
    bool isSoftware() const noexcept { return mSoftware; }
    /// The driver's own words for what renders. The context must have been current once.
    const std::string& rendererName() const noexcept { return mRendererName; }
    /// How many times the context was replaced.
    unsigned generation() const noexcept { return mGeneration; }
    /// How many samples a pixel may have. While the context is current.
    int mostSamples() const;

private:
    struct Handles;

public:
    /// For `create`, which alone can make the handles.
    explicit GLContext(std::unique_ptr<Handles> handles);

private:
    const std::unique_ptr<Handles> mHandles;
    bool renew();

    std::string mRendererName;
    bool mSoftware = false;
    bool mLost = false; ///< the driver may say so once only
    unsigned mGeneration = 0;
};
