#pragma once

#include <memory>
#include <string>

/// A context of desktop OpenGL without any window, for rendering into textures.
///
/// Current on at most one thread at a time. Without a graphics processor Mesa's software driver stands behind it.
class GLContext {
public:
    /// Makes a context of the compatibility profile, OpenGL 3.3 or later, not yet current anywhere.
    ///
    /// \param error  gets the reason when there is none
    /// \return null when the machine has no EGL display or no such context; also at the fail point "GLContextCreate"
    static std::unique_ptr<GLContext> create(std::string* error);
    ~GLContext();
    GLContext(const GLContext&) = delete;
    GLContext& operator=(const GLContext&) = delete;

    /// Makes this the context of the calling thread.
    /// \return false when the platform refuses, for instance because another thread has it; also at the fail point
    ///         "GLContextMakeCurrent"
    bool makeCurrent();
    /// The calling thread has no context afterwards.
    void resignCurrent();
    /// Whether the processor does the rendering. The context must have been current once.
    bool isSoftware() const noexcept { return mSoftware; }
    /// The driver's own words for what renders. The context must have been current once.
    const std::string& rendererName() const noexcept { return mRendererName; }

private:
    struct Handles;

public:
    /// For `create`, which alone can make the handles.
    explicit GLContext(std::unique_ptr<Handles> handles);

private:
    const std::unique_ptr<Handles> mHandles;
    std::string mRendererName;
    bool mSoftware = false;
};
