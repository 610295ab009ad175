#include "CoreLattice/ISFRenderer.h"

#include "CoreLattice/ISFTranslator.h"

#include <algorithm>
#include <cmath>
#include <ctime>

namespace CoreLattice {

namespace {

constexpr double longestSide = 8192;
constexpr double mostPixels = 4096.0 * 4096.0;

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
    GLint length = 0;
    glGetShaderiv(shader.get(), GL_INFO_LOG_LENGTH, &length);
    log->resize(static_cast<std::size_t>(std::max(length, 1)));
    GLsizei written = 0;
    glGetShaderInfoLog(shader.get(), length, &written, log->data());
    log->resize(static_cast<std::size_t>(written));
    return GLShader();
}

std::string linkLog(GLuint program)
{
    GLint length = 0;
    glGetProgramiv(program, GL_INFO_LOG_LENGTH, &length);
    std::string log(static_cast<std::size_t>(std::max(length, 1)), '\0');
    GLsizei written = 0;
    glGetProgramInfoLog(program, static_cast<GLsizei>(log.size()), &written, log.data());
    log.resize(static_cast<std::size_t>(written));
    return log;
}

GLSampler sampler(GLint filter)
{
    auto result = GLSampler::create();
    glSamplerParameteri(result.get(), GL_TEXTURE_MIN_FILTER, filter);
    glSamplerParameteri(result.get(), GL_TEXTURE_MAG_FILTER, filter);
    glSamplerParameteri(result.get(), GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glSamplerParameteri(result.get(), GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    return result;
}

/// Year, month, day and seconds since midnight, as the format's DATE wants them.
std::array<float, 4> dateNow()
{
    timespec now {};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local {};
    localtime_r(&now.tv_sec, &local);
    const double seconds = local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec + static_cast<double>(now.tv_nsec) * 1e-9;
    return { static_cast<float>(local.tm_year + 1900), static_cast<float>(local.tm_mon + 1),
        static_cast<float>(local.tm_mday), static_cast<float>(seconds) };
}

}

std::unique_ptr<ISFRenderer> ISFRenderer::create(std::shared_ptr<const ISFDocument> document, CompositionError* error)
{
    const auto shaders = translateShaders(*document, error);
    if (!shaders)
        return nullptr;
    std::string log;
    const auto vertex = compile(GL_VERTEX_SHADER, shaders->vertex, &log);
    if (!vertex.get()) {
        *error = errorFromDriverLog(log, document->file);
        if (!document->vertexSource.empty())
            error->message += " (in the vertex shader)";
        return nullptr;
    }
    const auto fragment = compile(GL_FRAGMENT_SHADER, shaders->fragment, &log);
    if (!fragment.get()) {
        *error = errorFromDriverLog(log, document->file);
        return nullptr;
    }
    auto program = GLProgram::create();
    glAttachShader(program.get(), vertex.get());
    glAttachShader(program.get(), fragment.get());
    glLinkProgram(program.get());
    GLint linked = GL_FALSE;
    glGetProgramiv(program.get(), GL_LINK_STATUS, &linked);
    if (linked != GL_TRUE) {
        *error = errorFromDriverLog(linkLog(program.get()), document->file);
        return nullptr;
    }
    return std::make_unique<ISFRenderer>(std::move(document), std::move(program));
}

ISFRenderer::ISFRenderer(std::shared_ptr<const ISFDocument> document, GLProgram program)
    : mDocument(std::move(document))
    , mProgram(std::move(program))
    , mPictures(mDocument->inputs.size())
    , mPictureSerials(mDocument->inputs.size())
{
    findLocations();
    mSmooth = sampler(GL_LINEAR);
    mNearest = sampler(GL_NEAREST);
    for (const auto& pass : mDocument->passes) {
        if (pass.target.empty())
            continue;
        auto& target = mTargets[pass.target];
        target.persistent = target.persistent || pass.persistent;
        target.floatingPoint = target.floatingPoint || pass.floatingPoint;
        target.nearest = target.nearest || pass.nearest;
        target.location = glGetUniformLocation(mProgram.get(), pass.target.c_str());
        target.nearLocation = glGetUniformLocation(mProgram.get(), ("lattice_near_" + pass.target).c_str());
    }
}

void ISFRenderer::findLocations()
{
    const auto location = [this](const char* name) { return glGetUniformLocation(mProgram.get(), name); };
    mLocations = { location("PASSINDEX"), location("RENDERSIZE"), location("TIME"), location("TIMEDELTA"),
        location("DATE"), location("FRAMEINDEX"), location("lattice_opaque") };
    for (const auto& input : mDocument->inputs) {
        mInputLocations.push_back(location(input.name.c_str()));
        mNearLocations.push_back(location(("lattice_near_" + input.name).c_str()));
    }
}

bool ISFRenderer::render(const ISFFrame& frame, CVPixelBuffer& output)
{
    if (frame.width == 0 || frame.height == 0 || frame.values.size() != mDocument->inputs.size() || !mBlack.makeTarget(1, 1, false))
        return false;
    glDisable(GL_BLEND);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_DITHER);
    uploadPictures(frame);
    glUseProgram(mProgram.get());
    setUniforms(frame);

    const PictureTexture* result = nullptr;
    for (std::size_t i = 0; i < mDocument->passes.size(); ++i) {
        result = renderPass(i, frame);
        if (!result)
            return false;
    }
    mLastTime = frame.time;
    ++mFrameIndex;

    if (result != &mOutput || result->width() != frame.width || result->height() != frame.height) {
        if (!copyOpaque(*result, frame))
            return false;
        result = &mCopy;
    }
    glBindFramebuffer(GL_FRAMEBUFFER, result->framebuffer());
    glPixelStorei(GL_PACK_ROW_LENGTH, static_cast<GLint>(output.bytesPerRow() / 4));
    glReadPixels(0, 0, static_cast<GLsizei>(frame.width), static_cast<GLsizei>(frame.height), GL_BGRA,
        GL_UNSIGNED_INT_8_8_8_8_REV, output.baseAddress());
    return true;
}

/// A last pass with a target, or with a size of its own, is copied to the size that is asked for and made opaque.
bool ISFRenderer::copyOpaque(const PictureTexture& result, const ISFFrame& frame)
{
    if (!mCopy.makeTarget(frame.width, frame.height, false))
        return false;
    glBindFramebuffer(GL_READ_FRAMEBUFFER, result.framebuffer());
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, mCopy.framebuffer());
    glBlitFramebuffer(0, 0, static_cast<GLint>(result.width()), static_cast<GLint>(result.height()), 0, 0,
        static_cast<GLint>(frame.width), static_cast<GLint>(frame.height), GL_COLOR_BUFFER_BIT, GL_LINEAR);
    glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_TRUE);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    return true;
}

void ISFRenderer::uploadPictures(const ISFFrame& frame)
{
    glActiveTexture(GL_TEXTURE0);
    for (std::size_t i = 0; i < frame.values.size(); ++i) {
        const auto& value = frame.values[i];
        if (mDocument->inputs[i].type != ISFInputType::Image || !value.picture)
            continue;
        if (mPictureSerials[i] == value.pictureSerial && mPictures[i].texture())
            continue;
        mPictures[i].upload(*value.picture);
        mPictureSerials[i] = value.pictureSerial;
    }
}

void ISFRenderer::setUniforms(const ISFFrame& frame)
{
    const auto date = dateNow();
    glUniform1f(mLocations.time, static_cast<float>(frame.time));
    glUniform1f(mLocations.timeDelta, mFrameIndex == 0 ? 0.0F : static_cast<float>(std::max(0.0, frame.time - mLastTime)));
    glUniform4fv(mLocations.date, 1, date.data());
    glUniform1i(mLocations.frame, mFrameIndex);
    for (std::size_t i = 0; i < frame.values.size(); ++i) {
        const auto location = mInputLocations[i];
        const auto& n = frame.values[i].numbers;
        const auto f = [&n](std::size_t k) { return static_cast<float>(n[k]); };
        switch (mDocument->inputs[i].type) {
        case ISFInputType::Number:
            glUniform1f(location, f(0));
            break;
        case ISFInputType::Boolean:
        case ISFInputType::Event:
            glUniform1i(location, n[0] != 0);
            break;
        case ISFInputType::Menu:
            glUniform1i(location, static_cast<GLint>(std::clamp(n[0], -2147483648.0, 2147483647.0)));
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
}

void ISFRenderer::bindTexture(GLint location, GLint& unit, const PictureTexture& picture, bool nearest)
{
    if (location < 0)
        return;
    glUniform1i(location, unit);
    glActiveTexture(static_cast<GLenum>(GL_TEXTURE0 + unit));
    glBindTexture(GL_TEXTURE_2D, picture.texture() ? picture.texture() : mBlack.texture());
    glBindSampler(static_cast<GLuint>(unit), nearest ? mNearest.get() : mSmooth.get());
    ++unit;
}

/// \param width, height  of what is drawn: a picture of the same size that is read where it is drawn needs no smoothing
void ISFRenderer::bindTextures(const Target* written, std::size_t width, std::size_t height)
{
    GLint unit = 0;
    const auto bind = [&](const PictureTexture& picture, GLint location, GLint nearLocation, bool nearest) {
        bindTexture(location, unit, picture, nearest);
        bindTexture(nearLocation, unit, picture, nearest || (picture.width() == width && picture.height() == height));
    };
    for (std::size_t i = 0; i < mPictures.size(); ++i) {
        if (mDocument->inputs[i].type == ISFInputType::Image)
            bind(mPictures[i], mInputLocations[i], mNearLocations[i], mDocument->inputs[i].nearest);
    }
    for (auto& [name, target] : mTargets) {
        // A target that is being written and has no second texture reads as black.
        const bool readable = &target != written || target.persistent;
        bind(readable ? target.textures[target.front] : mBlack, target.location, target.nearLocation, target.nearest);
    }
    glActiveTexture(GL_TEXTURE0);
}

std::pair<std::size_t, std::size_t> ISFRenderer::passSize(const ISFPass& pass, const ISFFrame& frame) const
{
    const auto variable = [&](std::string_view name) -> std::optional<double> {
        if (name == "WIDTH")
            return static_cast<double>(frame.width);
        if (name == "HEIGHT")
            return static_cast<double>(frame.height);
        for (std::size_t i = 0; i < mDocument->inputs.size(); ++i) {
            if (mDocument->inputs[i].name == name)
                return frame.values[i].numbers[0];
        }
        return std::nullopt;
    };
    const auto side = [&](const ISFExpression& formula, std::size_t usual) {
        return formula.isEmpty() ? static_cast<double>(usual)
                                 : std::clamp(std::floor(formula.evaluate(variable)), 1.0, longestSide);
    };
    double width = side(pass.width, frame.width);
    double height = side(pass.height, frame.height);
    if (width * height > mostPixels) {
        const double scale = std::sqrt(mostPixels / (width * height));
        width = std::floor(width * scale);
        height = std::floor(height * scale);
    }
    return { static_cast<std::size_t>(std::max(width, 1.0)), static_cast<std::size_t>(std::max(height, 1.0)) };
}

const PictureTexture* ISFRenderer::renderPass(std::size_t index, const ISFFrame& frame)
{
    const auto& pass = mDocument->passes[index];
    const auto [width, height] = passSize(pass, frame);
    Target* const target = pass.target.empty() ? nullptr : &mTargets.find(pass.target)->second;
    PictureTexture* into = &mOutput;
    if (target) {
        const int back = target->persistent ? 1 - target->front : target->front;
        into = &target->textures[back];
        if (target->persistent && !target->textures[target->front].makeTarget(width, height, target->floatingPoint))
            return nullptr;
    }
    if (!into->makeTarget(width, height, target && target->floatingPoint))
        return nullptr;
    bindTextures(target, width, height);
    glBindFramebuffer(GL_FRAMEBUFFER, into->framebuffer());
    glViewport(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height));
    glUniform1i(mLocations.pass, static_cast<GLint>(index));
    glUniform2f(mLocations.size, static_cast<float>(width), static_cast<float>(height));
    glUniform1f(mLocations.opaque, target ? 0.0F : 1.0F);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    if (target && target->persistent)
        target->front = 1 - target->front;
    return into;
}

}
