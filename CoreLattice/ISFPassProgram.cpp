#include "CoreLattice/ISFPassProgram.h"

#include "CoreLattice/ISFTranslator.h"
#include "CoreLattice/ShaderNames.h"

#include <algorithm>

namespace CoreLattice {

namespace {

template <class GetSize, class GetLog> std::string infoLog(GetSize getSize, GetLog getLog)
{
    GLint length = 0;
    getSize(&length);
    std::string log(static_cast<std::size_t>(std::max(length, 1)), '\0');
    GLsizei written = 0;
    getLog(static_cast<GLsizei>(log.size()), &written, log.data());
    log.resize(static_cast<std::size_t>(std::max(written, 0)));
    return log;
}

GLShader compile(GLenum kind, const std::string& source, std::string* log)
{
    GLShader shader(glCreateShader(kind));
    const char* const text = source.c_str();
    glShaderSource(shader.get(), 1, &text, nullptr);
    glCompileShader(shader.get());
    GLint compiled = GL_FALSE;
    glGetShaderiv(shader.get(), GL_COMPILE_STATUS, &compiled);
    if (compiled == GL_TRUE)
        return shader;
    *log = infoLog([&](GLint* length) { glGetShaderiv(shader.get(), GL_INFO_LOG_LENGTH, length); },
        [&](GLsizei size, GLsizei* written, char* words) { glGetShaderInfoLog(shader.get(), size, written, words); });
    return GLShader();
}

}

std::unique_ptr<ISFPassProgram> ISFPassProgram::create(
    const ISFDocument& document, std::size_t pass, CompositionError* error)
{
    const auto shaders = translateShaders(document, pass, error);
    if (!shaders)
        return nullptr;
    std::string log;
    const auto vertex = compile(GL_VERTEX_SHADER, shaders->vertex, &log);
    if (!vertex.get()) {
        *error = errorFromDriverLog(log, document.vertexSource.empty() ? document.file : vertexFileOf(document.file));
        return nullptr;
    }
    const auto fragment = compile(GL_FRAGMENT_SHADER, shaders->fragment, &log);
    if (!fragment.get()) {
        *error = errorFromDriverLog(log, document.file);
        return nullptr;
    }
    auto program = GLProgram::create();
    glAttachShader(program.get(), vertex.get());
    glAttachShader(program.get(), fragment.get());
    glLinkProgram(program.get());
    GLint linked = GL_FALSE;
    glGetProgramiv(program.get(), GL_LINK_STATUS, &linked);
    if (linked != GL_TRUE) {
        log = infoLog([&](GLint* length) { glGetProgramiv(program.get(), GL_INFO_LOG_LENGTH, length); },
            [&](GLsizei size, GLsizei* written, char* words) {
                glGetProgramInfoLog(program.get(), size, written, words);
            });
        *error = errorFromDriverLog(log, document.file);
        return nullptr;
    }
    return std::make_unique<ISFPassProgram>(std::move(program), document, shaders->leavesPixels, shaders->isOpaque);
}

ISFPassProgram::ISFPassProgram(GLProgram program, const ISFDocument& document, bool leavesPixels, bool isOpaque)
    : mProgram(std::move(program))
    , mLeavesPixels(leavesPixels)
    , mIsOpaque(isOpaque)
{
    const auto location
        = [this](const std::string& name) { return glGetUniformLocation(mProgram.get(), name.c_str()); };
    mLocations
        = { location("RENDERSIZE"), location("TIME"), location("TIMEDELTA"), location("DATE"), location("FRAMEINDEX") };
    for (const auto& input : document.inputs)
        mInputs.push_back(location(languageName(input.name)));
    for (const auto& name : document.pictures())
        mPictures[name] = { location(languageName(name)), location("lattice_near_" + name) };
    for (const auto& import : document.imports) {
        if (import.isCube)
            mPictures[import.name].location = location(languageName(import.name));
    }
}

void ISFPassProgram::use(const ISFPassValues& values) const
{
    glUseProgram(mProgram.get());
    glUniform2f(mLocations.size, values.width, values.height);
    glUniform1f(mLocations.time, values.time);
    glUniform1f(mLocations.timeDelta, values.timeDelta);
    glUniform4fv(mLocations.date, 1, values.date.data());
    glUniform1i(mLocations.frame, values.frameIndex);
}

void ISFPassProgram::setInput(std::size_t index, ISFInputType type, const ISFInput::Numbers& numbers) const
{
    const auto location = mInputs[index];
    const auto f = [&numbers](std::size_t i) { return static_cast<float>(numbers[i]); };
    switch (type) {
    case ISFInputType::Number:
        glUniform1f(location, f(0));
        break;
    case ISFInputType::Boolean:
    case ISFInputType::Event:
        glUniform1i(location, numbers[0] != 0);
        break;
    case ISFInputType::Menu:
        glUniform1i(location, static_cast<GLint>(std::clamp(numbers[0], -2147483648.0, 2147483647.0)));
        break;
    case ISFInputType::Color:
        glUniform4f(location, f(0), f(1), f(2), f(3));
        break;
    case ISFInputType::Point:
        glUniform2f(location, f(0), f(1));
        break;
    case ISFInputType::Image:
        break;
    }
}

const ISFPassProgram::Picture& ISFPassProgram::picture(const std::string& name) const
{
    static const Picture unread;
    const auto found = mPictures.find(name);
    return found == mPictures.end() ? unread : found->second;
}

}
