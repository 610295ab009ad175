#include "Platform/CoreImage/CIContextDrawing.h"

#include <array>
#include <cmath>

namespace {

constexpr const char* vertexShader = R"(#version 330 compatibility
void main()
{
    // One triangle that covers everything.
    vec2 corner = vec2(float((gl_VertexID & 1) << 2), float((gl_VertexID & 2) << 1)) - 1.0;
    gl_Position = vec4(corner, 0.0, 1.0);
}
)";

constexpr const char* fragmentShader = R"(#version 330 compatibility
uniform sampler2D source;
uniform ivec2 size;
uniform vec2 start; // where the source begins and how large it is there, in pixels of the target
uniform vec2 scale;

// The texels from x on, up to y and without it, that make up a pixel of one axis, in z and w what it covers; for
// a picture that is made larger, in z its centre.
vec4 range(float pixel, float from, float factor, int length)
{
    if (abs(factor) >= 1.0) {
        float middle = (pixel - from) / factor;
        if (middle < 0.0 || middle > float(length))
            return vec4(0.0);
        float first = floor(middle - 0.5);
        return vec4(first, first + 2.0, middle, 0.0);
    }
    float a = (pixel - 0.5 - from) / factor;
    float b = (pixel + 0.5 - from) / factor;
    float low = max(min(a, b), 0.0);
    float high = min(max(a, b), float(length));
    return high <= low ? vec4(0.0) : vec4(floor(low), ceil(high), low, high);
}

float weight(float texel, vec4 covered, float factor)
{
    if (abs(factor) >= 1.0)
        return max(0.0, 1.0 - abs(covered.z - texel - 0.5));
    return max(0.0, min(covered.w, texel + 1.0) - max(covered.z, texel)) * abs(factor);
}

void main()
{
    vec4 across = range(gl_FragCoord.x, start.x, scale.x, size.x);
    vec4 down = range(gl_FragCoord.y, start.y, scale.y, size.y);
    vec4 sum = vec4(0.0);
    for (float y = down.x; y < down.y; y += 1.0) {
        float rowWeight = weight(y, down, scale.y);
        int row = clamp(int(y), 0, size.y - 1);
        for (float x = across.x; x < across.y; x += 1.0)
            sum += rowWeight * weight(x, across, scale.x)
                * texelFetch(source, ivec2(clamp(int(x), 0, size.x - 1), row), 0);
    }
    gl_FragColor = sum;
}
)";

GLShader compiled(GLenum kind, const char* text)
{
    GLShader shader(glCreateShader(kind));
    glShaderSource(shader.get(), 1, &text, nullptr);
    glCompileShader(shader.get());
    GLint isGood = GL_FALSE;
    glGetShaderiv(shader.get(), GL_COMPILE_STATUS, &isGood);
    return isGood == GL_TRUE ? std::move(shader) : GLShader();
}

}

bool CIContextDrawing::makeProgram()
{
    if (mProgram.get())
        return true;
    const auto vertex = compiled(GL_VERTEX_SHADER, vertexShader);
    const auto fragment = compiled(GL_FRAGMENT_SHADER, fragmentShader);
    if (!vertex.get() || !fragment.get())
        return false;
    auto program = GLProgram::create();
    glAttachShader(program.get(), vertex.get());
    glAttachShader(program.get(), fragment.get());
    glLinkProgram(program.get());
    GLint isGood = GL_FALSE;
    glGetProgramiv(program.get(), GL_LINK_STATUS, &isGood);
    if (isGood != GL_TRUE)
        return false;
    mProgram = std::move(program);
    return true;
}

void CIContextDrawing::forget()
{
    mProgram.forget();
    mSource.forget();
    mTarget.forget();
}

bool CIContextDrawing::scale(const CVPixelBuffer& source, const PictureScaler::Target& target,
    PictureScaler::Span across, PictureScaler::Span down)
{
    while (glGetError() != GL_NO_ERROR) { }
    if (!makeProgram()
        || !mTarget.makeTarget(static_cast<std::size_t>(target.width), static_cast<std::size_t>(target.height), false))
        return false;
    mSource.upload(source);
    glBindFramebuffer(GL_FRAMEBUFFER, mTarget.framebuffer());
    glViewport(0, 0, target.width, target.height);
    glDisable(GL_BLEND);
    glUseProgram(mProgram.get());
    const auto place = [this](const char* name) { return glGetUniformLocation(mProgram.get(), name); };
    const auto width = static_cast<int>(source.width());
    const auto height = static_cast<int>(source.height());
    glUniform1i(place("source"), 0);
    glUniform2i(place("size"), width, height);
    glUniform2f(place("start"), static_cast<float>(across.start), static_cast<float>(down.start));
    glUniform2f(place("scale"), static_cast<float>((across.end - across.start) / width),
        static_cast<float>((down.end - down.start) / height));
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, mSource.texture());
    glDrawArrays(GL_TRIANGLES, 0, 3);
    glPixelStorei(GL_PACK_ROW_LENGTH, static_cast<GLint>(target.bytesPerRow / 4));
    if (glGetError() != GL_NO_ERROR)
        return false;
    glReadPixels(0, 0, target.width, target.height, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, target.pixels);
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    return glGetError() == GL_NO_ERROR;
}
