#pragma once

#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>

#include <utility>

/// Owns one name that OpenGL gave out; it goes with the owner, in the thread that has the context.
template <class Traits> class GLName {
public:
    GLName() = default;
    explicit GLName(GLuint name)
        : mName(name)
    {
    }
    GLName(GLName&& other) noexcept
        : mName(std::exchange(other.mName, 0))
    {
    }
    GLName& operator=(GLName&& other) noexcept
    {
        std::swap(mName, other.mName);
        return *this;
    }
    ~GLName()
    {
        if (mName)
            Traits::destroy(mName);
    }
    static GLName create() { return GLName(Traits::create()); }
    GLuint get() const noexcept { return mName; }
    /// The context was lost and the name with it.
    void forget() noexcept { mName = 0; }

private:
    GLuint mName = 0;
};

struct GLTextureTraits {
    static GLuint create()
    {
        GLuint name = 0;
        glGenTextures(1, &name);
        return name;
    }
    static void destroy(GLuint name) { glDeleteTextures(1, &name); }
};
struct GLFramebufferTraits {
    static GLuint create()
    {
        GLuint name = 0;
        glGenFramebuffers(1, &name);
        return name;
    }
    static void destroy(GLuint name) { glDeleteFramebuffers(1, &name); }
};
struct GLRenderbufferTraits {
    static GLuint create()
    {
        GLuint name = 0;
        glGenRenderbuffers(1, &name);
        return name;
    }
    static void destroy(GLuint name) { glDeleteRenderbuffers(1, &name); }
};
struct GLProgramTraits {
    static GLuint create() { return glCreateProgram(); }
    static void destroy(GLuint name) { glDeleteProgram(name); }
};
struct GLSamplerTraits {
    static GLuint create()
    {
        GLuint name = 0;
        glGenSamplers(1, &name);
        return name;
    }
    static void destroy(GLuint name) { glDeleteSamplers(1, &name); }
};
struct GLShaderTraits {
    static void destroy(GLuint name) { glDeleteShader(name); }
};

using GLTexture = GLName<GLTextureTraits>;
using GLFramebuffer = GLName<GLFramebufferTraits>;
using GLRenderbuffer = GLName<GLRenderbufferTraits>;
using GLProgram = GLName<GLProgramTraits>;
using GLSampler = GLName<GLSamplerTraits>;
using GLShader = GLName<GLShaderTraits>;
