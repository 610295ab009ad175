#include "Platform/OpenGL/GLContext.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace {

std::string eglError(const char* operation)
{
    char text[64];
    std::snprintf(
        text, sizeof text, "%s failed with EGL error 0x%04x", operation, static_cast<unsigned>(eglGetError()));
    return text;
}

bool hasExtension(const char* extensions, const char* name)
{
    return extensions && std::strstr(extensions, name);
}

/// The display of the process, opened by the first context and never closed: the driver keeps threads behind it that
/// other contexts may be using.
EGLDisplay openDisplay(std::string* error)
{
    static std::mutex lock;
    static EGLDisplay display = EGL_NO_DISPLAY;
    const std::lock_guard guard(lock);
    if (display != EGL_NO_DISPLAY)
        return display;

    EGLDisplay candidate = EGL_NO_DISPLAY;
    if (hasExtension(eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS), "EGL_MESA_platform_surfaceless"))
        candidate = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, nullptr, nullptr);
    if (candidate == EGL_NO_DISPLAY || !eglInitialize(candidate, nullptr, nullptr)) {
        candidate = eglGetDisplay(EGL_DEFAULT_DISPLAY);
        if (candidate == EGL_NO_DISPLAY || !eglInitialize(candidate, nullptr, nullptr)) {
            *error = eglError("eglInitialize");
            return EGL_NO_DISPLAY;
        }
    }
    display = candidate;
    return display;
}

/// \return null when none of the display's configurations renders desktop OpenGL
EGLConfig configOf(EGLDisplay display)
{
    const EGLint attributes[] = { EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RED_SIZE,
        8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8, EGL_ALPHA_SIZE, 8, EGL_NONE };
    EGLConfig config = nullptr;
    EGLint count = 0;
    return eglChooseConfig(display, attributes, &config, 1, &count) && count > 0 ? config : nullptr;
}

/// A context that tells when it was lost, where the driver can.
EGLContext createContext(EGLDisplay display, EGLConfig config)
{
    const EGLint attributes[] = { EGL_CONTEXT_MAJOR_VERSION, 3, EGL_CONTEXT_MINOR_VERSION, 3,
        EGL_CONTEXT_OPENGL_PROFILE_MASK, EGL_CONTEXT_OPENGL_COMPATIBILITY_PROFILE_BIT,
        EGL_CONTEXT_OPENGL_RESET_NOTIFICATION_STRATEGY, EGL_LOSE_CONTEXT_ON_RESET, EGL_NONE };
    constexpr int withoutNotification = 6;
    const auto context = eglCreateContext(display, config, EGL_NO_CONTEXT, attributes);
    if (context != EGL_NO_CONTEXT)
        return context;
    std::array<EGLint, withoutNotification + 1> plain {};
    std::copy_n(attributes, withoutNotification, plain.begin());
    plain.back() = EGL_NONE;
    return eglCreateContext(display, config, EGL_NO_CONTEXT, plain.data());
}

}

struct GLContext::Handles {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLConfig config = nullptr;
    EGLContext context = EGL_NO_CONTEXT;
    EGLSurface surface = EGL_NO_SURFACE;
};

GLContext::GLContext(std::unique_ptr<Handles> handles)
    : mHandles(std::move(handles))
{
}

std::unique_ptr<GLContext> GLContext::create(std::string* error)
{
    std::string ignored;
    if (!error)
        error = &ignored;
    if (FAIL_POINT("GLContextCreate")) {
        *error = "no context (armed fail point)";
        return nullptr;
    }
    auto handles = std::make_unique<Handles>();
    handles->display = openDisplay(error);
    if (handles->display == EGL_NO_DISPLAY)
        return nullptr;
    // EGL's chosen interface belongs to the thread, so it is chosen here and again in makeCurrent.
    if (!eglBindAPI(EGL_OPENGL_API)) {
        *error = eglError("eglBindAPI");
        return nullptr;
    }
    handles->config = configOf(handles->display);
    if (!handles->config) {
        *error = "no EGL configuration renders desktop OpenGL";
        return nullptr;
    }
    handles->context = createContext(handles->display, handles->config);
    if (handles->context == EGL_NO_CONTEXT) {
        *error = eglError("eglCreateContext");
        return nullptr;
    }
    if (!hasExtension(eglQueryString(handles->display, EGL_EXTENSIONS), "EGL_KHR_surfaceless_context")) {
        const EGLint surfaceAttributes[] = { EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE };
        handles->surface = eglCreatePbufferSurface(handles->display, handles->config, surfaceAttributes);
    }
    return std::make_unique<GLContext>(std::move(handles));
}

bool GLContext::isAvailable()
{
    std::string error;
    if (FAIL_POINT("GLContextCreate"))
        return false;
    auto* const display = openDisplay(&error);
    return display != EGL_NO_DISPLAY && eglBindAPI(EGL_OPENGL_API) && configOf(display);
}

GLContext::~GLContext()
{
    if (eglGetCurrentContext() == mHandles->context)
        resignCurrent();
    if (mHandles->surface != EGL_NO_SURFACE)
        eglDestroySurface(mHandles->display, mHandles->surface);
    eglDestroyContext(mHandles->display, mHandles->context);
}

bool GLContext::makeCurrent()
{
    if (FAIL_POINT("GLContextMakeCurrent"))
        return false;
    if (!eglBindAPI(EGL_OPENGL_API))
        return false;
    if (!eglMakeCurrent(mHandles->display, mHandles->surface, mHandles->surface, mHandles->context)) {
        if (eglGetError() != EGL_CONTEXT_LOST || !renew())
            return false;
    } else if (isLost() && !renew()) {
        return false;
    }
    if (mRendererName.empty()) {
        if (const auto* const name = glGetString(GL_RENDERER))
            mRendererName = reinterpret_cast<const char*>(name);
        mSoftware = mRendererName.find("llvmpipe") != std::string::npos
            || mRendererName.find("softpipe") != std::string::npos || mRendererName.find("swrast") != std::string::npos;
    }
    return true;
}

bool GLContext::isLost()
{
    static const auto resetStatus
        = reinterpret_cast<PFNGLGETGRAPHICSRESETSTATUSARBPROC>(eglGetProcAddress("glGetGraphicsResetStatusARB"));
    mLost = mLost || FAIL_POINT("GLContextLost") || (resetStatus && resetStatus() != GL_NO_ERROR);
    return mLost;
}

bool GLContext::renew()
{
    auto* const renewed
        = FAIL_POINT("GLContextCreate") ? EGL_NO_CONTEXT : createContext(mHandles->display, mHandles->config);
    if (renewed == EGL_NO_CONTEXT)
        return false;
    if (!eglMakeCurrent(mHandles->display, mHandles->surface, mHandles->surface, renewed)) {
        eglDestroyContext(mHandles->display, renewed);
        return false;
    }
    eglDestroyContext(mHandles->display, mHandles->context);
    mHandles->context = renewed;
    mLost = false;
    ++mGeneration;
    return true;
}

int GLContext::mostSamples() const
{
    GLint result = 0;
    glGetIntegerv(GL_MAX_SAMPLES, &result);
    return result;
}

GLContext::Binding GLContext::binding()
{
    return { eglGetCurrentDisplay(), eglGetCurrentSurface(EGL_DRAW), eglGetCurrentSurface(EGL_READ),
        eglGetCurrentContext() };
}

void GLContext::restore(const Binding& binding)
{
    if (binding.context != EGL_NO_CONTEXT)
        eglMakeCurrent(binding.display, binding.drawSurface, binding.readSurface, binding.context);
    else if (auto* const display = eglGetCurrentDisplay(); display != EGL_NO_DISPLAY)
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
}

void GLContext::resignCurrent()
{
    eglMakeCurrent(mHandles->display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
}
