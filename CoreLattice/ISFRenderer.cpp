#include "CoreLattice/ISFRenderer.h"

#include "CoreLattice/ISFTranslator.h"
#include "CoreLattice/SoundPicture.h"

#include <algorithm>
#include <cmath>
#include <ctime>

namespace CoreLattice {

namespace {

constexpr double longestSide = 8192;
constexpr double mostPixels = 4096.0 * 4096.0;
constexpr double mostTextureBytes = 512.0 * 1024 * 1024;
// A render that lasts longer is given up.
constexpr std::chrono::milliseconds longestRender { 1500 };
// After one that was quick the next is drawn in one piece; else the clock is looked at after each part.
constexpr std::chrono::milliseconds quickRender { 200 };
constexpr std::chrono::milliseconds quickPart { 8 };
constexpr std::size_t firstColumns = 32;
constexpr std::size_t firstRows = 8;

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
    const double seconds
        = local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec + static_cast<double>(now.tv_nsec) * 1e-9;
    return { static_cast<float>(local.tm_year + 1900), static_cast<float>(local.tm_mon + 1),
        static_cast<float>(local.tm_mday), static_cast<float>(seconds) };
}

}

std::unique_ptr<ISFRenderer> ISFRenderer::create(std::shared_ptr<const ISFDocument> document, CompositionError* error)
{
    if (ImportedTextures::bytes(*document) > mostTextureBytes) {
        *error = { document->file, 0, "its pictures need more than 512 MiB" };
        return nullptr;
    }
    std::vector<std::unique_ptr<ISFPassProgram>> programs;
    for (std::size_t i = 0; i < document->passes.size(); ++i) {
        programs.push_back(ISFPassProgram::create(*document, i, error));
        if (!programs.back())
            return nullptr;
    }
    return std::make_unique<ISFRenderer>(std::move(document), std::move(programs));
}

ISFRenderer::ISFRenderer(
    std::shared_ptr<const ISFDocument> document, std::vector<std::unique_ptr<ISFPassProgram>> programs)
    : mDocument(std::move(document))
    , mPrograms(std::move(programs))
    , mSmooth(sampler(GL_LINEAR))
    , mNearest(sampler(GL_NEAREST))
    , mPictures(mDocument->inputs.size())
    , mPictureSerials(mDocument->inputs.size())
    , mSounds(mDocument->inputs.size())
    , mImports(*mDocument)
{
    for (const auto& pass : mDocument->passes) {
        if (pass.target.empty())
            continue;
        auto& target = mTargets[pass.target];
        target.persistent = target.persistent || pass.persistent;
        target.floatingPoint = target.floatingPoint || pass.floatingPoint;
        target.nearest = target.nearest || pass.nearest;
    }
}

void ISFRenderer::forget() noexcept
{
    for (const auto& program : mPrograms)
        program->forget();
    mSmooth.forget();
    mNearest.forget();
    for (auto& picture : mPictures)
        picture.forget();
    for (auto& sound : mSounds)
        sound.forget();
    mImports.forget();
    for (auto& [name, target] : mTargets)
        for (auto& texture : target.textures)
            texture.forget();
    mOutput.forget();
    mCopy.forget();
    mBlack.forget();
}

bool ISFRenderer::begin(const ISFFrame& frame, CompositionError* error)
{
    if (frame.width == 0 || frame.height == 0 || frame.values.size() != mDocument->inputs.size()
        || !mBlack.makeTarget(1, 1, false))
        return false;
    if (!fitsMemory(frame, error))
        return false;
    glDisable(GL_BLEND);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_DITHER);
    uploadPictures(frame);
    uploadSounds(frame);
    return true;
}

bool ISFRenderer::prepare(const ISFFrame& frame, CompositionError* error)
{
    mStart = std::chrono::steady_clock::now();
    if (!begin(frame, error))
        return false;
    const auto values = valuesOf(frame);
    const PictureTexture* result = nullptr;
    // Once more, since a pass may read what a later one rendered for the picture before, and drivers compile that for
    // themselves.
    for (int picture = 0; picture < 2; ++picture) {
        for (std::size_t i = 0; i < mDocument->passes.size(); ++i) {
            result = preparePass(i, frame, values);
            if (mTookTooLong)
                *error = tooSlow();
            if (!result || mTookTooLong)
                return false;
        }
    }
    return isWholePicture(*result, frame) || copyOpaque(*result, frame);
}

/// Renders a pass that is rendered only once, and one pixel of any other.
const PictureTexture* ISFRenderer::preparePass(std::size_t index, const ISFFrame& frame, const ISFPassValues& values)
{
    if (mDocument->passes[index].unchanging)
        return renderPass(index, frame, values);
    const auto* const into = setUpPass(index, frame, values);
    if (!into)
        return nullptr;
    drawOnePixel();
    // As a texture is before anything was drawn into it.
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    return into;
}

CompositionError ISFRenderer::tooSlow() const
{
    return { mDocument->file, 0, "a picture takes longer than 1.5 seconds" };
}

bool ISFRenderer::render(const ISFFrame& frame, CVPixelBuffer& output, CompositionError* error)
{
    mStart = std::chrono::steady_clock::now();
    if (!begin(frame, error))
        return false;
    const auto values = valuesOf(frame);
    const PictureTexture* result = nullptr;
    for (std::size_t i = 0; i < mDocument->passes.size(); ++i) {
        result = renderPass(i, frame, values);
        if (mTookTooLong)
            *error = tooSlow();
        if (!result || mTookTooLong)
            return false;
    }
    mLastTime = frame.time;
    ++mFrameIndex;

    if (!isWholePicture(*result, frame)) {
        if (!copyOpaque(*result, frame))
            return false;
        result = &mCopy;
    } else if (!mPrograms.back()->isOpaque()) {
        makeOpaque(*result);
    }
    glBindFramebuffer(GL_FRAMEBUFFER, result->framebuffer());
    glPixelStorei(GL_PACK_ROW_LENGTH, static_cast<GLint>(output.bytesPerRow() / 4));
    glReadPixels(0, 0, static_cast<GLsizei>(frame.width), static_cast<GLsizei>(frame.height), GL_BGRA,
        GL_UNSIGNED_INT_8_8_8_8_REV, output.baseAddress());
    mLastDuration = std::chrono::steady_clock::now() - mStart;
    return true;
}

/// Whether the buffers of all passes, at their present sizes, are within what a composition may have.
bool ISFRenderer::fitsMemory(const ISFFrame& frame, CompositionError* error) const
{
    // Passes may render to one target in several sizes.
    std::map<std::string_view, double> largest;
    for (const auto& pass : mDocument->passes) {
        if (pass.target.empty())
            continue;
        const auto& target = mTargets.find(pass.target)->second;
        const auto [width, height] = passSize(pass, frame);
        auto& bytes = largest[pass.target];
        bytes = std::max(bytes,
            static_cast<double>(width) * static_cast<double>(height) * (target.floatingPoint ? 16 : 4)
                * (target.persistent ? 2 : 1));
    }
    double all = 0;
    for (const auto& [name, bytes] : largest)
        all += bytes;
    if (all <= mostTextureBytes)
        return true;
    *error = { mDocument->file, 0, "its buffers need more than 512 MiB" };
    return false;
}

/// Draws at once what was quick the last time. Otherwise begins with a small part and goes on with larger ones as long
/// as they are quick, so that the clock can end it whatever the shader does.
bool ISFRenderer::drawInTime(const ISFPassProgram& program, std::size_t width, std::size_t height)
{
    if (program.leavesPixels())
        glClear(GL_COLOR_BUFFER_BIT);
    if (mLastDuration < quickRender) {
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        return true;
    }
    if (mFrameIndex == 0) {
        // Drivers compile at the first drawing, and may take a second for it on a busy machine. That is no part of the
        // time that a picture takes.
        const auto begin = std::chrono::steady_clock::now();
        drawOnePixel();
        mStart += std::chrono::steady_clock::now() - begin;
    }
    glEnable(GL_SCISSOR_TEST);
    std::size_t columns = std::min(firstColumns, width);
    std::size_t rows = std::min(firstRows, height);
    for (std::size_t y = 0; y < height && !mTookTooLong;) {
        const auto bandRows = std::min(rows, height - y);
        for (std::size_t x = 0; x < width && !mTookTooLong;) {
            const auto partColumns = std::min(columns, width - x);
            const auto begin = std::chrono::steady_clock::now();
            glScissor(static_cast<GLint>(x), static_cast<GLint>(y), static_cast<GLsizei>(partColumns),
                static_cast<GLsizei>(bandRows));
            glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
            glFinish();
            const auto end = std::chrono::steady_clock::now();
            mTookTooLong = end - mStart > longestRender;
            x += partColumns;
            if (end - begin > quickPart)
                continue;
            (columns < width ? columns : rows) *= 2;
        }
        y += bandRows;
    }
    glDisable(GL_SCISSOR_TEST);
    return !mTookTooLong;
}

void ISFRenderer::drawOnePixel()
{
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, 1, 1);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    glFinish();
    glDisable(GL_SCISSOR_TEST);
}

/// Whether the last pass has neither a target nor a size of its own.
bool ISFRenderer::isWholePicture(const PictureTexture& result, const ISFFrame& frame) const
{
    return &result == &mOutput && result.width() == frame.width && result.height() == frame.height;
}

/// Copies the result of any other last pass to the size that is asked for and makes it opaque.
bool ISFRenderer::copyOpaque(const PictureTexture& result, const ISFFrame& frame)
{
    if (!mCopy.makeTarget(frame.width, frame.height, false))
        return false;
    glBindFramebuffer(GL_READ_FRAMEBUFFER, result.framebuffer());
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, mCopy.framebuffer());
    glBlitFramebuffer(0, 0, static_cast<GLint>(result.width()), static_cast<GLint>(result.height()), 0, 0,
        static_cast<GLint>(frame.width), static_cast<GLint>(frame.height), GL_COLOR_BUFFER_BIT, GL_LINEAR);
    makeOpaque(mCopy);
    return true;
}

void ISFRenderer::makeOpaque(const PictureTexture& picture)
{
    glBindFramebuffer(GL_FRAMEBUFFER, picture.framebuffer());
    glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_TRUE);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
}

void ISFRenderer::uploadPictures(const ISFFrame& frame)
{
    glActiveTexture(GL_TEXTURE0);
    for (std::size_t i = 0; i < frame.values.size(); ++i) {
        const auto& value = frame.values[i];
        if (mDocument->inputs[i].type != ISFInputType::Image)
            continue;
        if (!value.picture) {
            mPictures[i] = PictureTexture();
            continue;
        }
        if (mPictureSerials[i] == value.pictureSerial && mPictures[i].texture())
            continue;
        mPictures[i].upload(*value.picture);
        mPictureSerials[i] = value.pictureSerial;
    }
}

ISFPassValues ISFRenderer::valuesOf(const ISFFrame& frame) const
{
    ISFPassValues values;
    values.time = static_cast<float>(frame.time);
    values.timeDelta = mFrameIndex == 0 ? 0.0F : static_cast<float>(std::max(0.0, frame.time - mLastTime));
    values.date = dateNow();
    values.frameIndex = mFrameIndex;
    return values;
}

void ISFRenderer::uploadSounds(const ISFFrame& frame)
{
    for (std::size_t i = 0; i < mSounds.size(); ++i) {
        const auto& input = mDocument->inputs[i];
        if (input.sound == ISFSound::Samples)
            mSounds[i].upload(soundWave(frame.sound, input.mostSound));
        else if (input.sound == ISFSound::Spectrum)
            mSounds[i].upload(soundSpectrum(frame.sound, input.mostSound));
    }
}

void ISFRenderer::bindTexture(GLint location, GLint& unit, GLuint texture, bool nearest)
{
    if (location < 0)
        return;
    glUniform1i(location, unit);
    glActiveTexture(static_cast<GLenum>(GL_TEXTURE0 + unit));
    glBindTexture(GL_TEXTURE_2D, texture ? texture : mBlack.texture());
    glBindSampler(static_cast<GLuint>(unit), nearest ? mNearest.get() : mSmooth.get());
    ++unit;
}

/// \param width, height  of what is drawn: a picture of the same size that is read where it is drawn needs no smoothing
void ISFRenderer::bindTextures(
    const ISFPassProgram& program, const Target* written, std::size_t width, std::size_t height)
{
    GLint unit = 0;
    const auto bind = [&](const std::string& name, const PictureTexture& picture, bool nearest) {
        const auto& [location, nearLocation] = program.picture(name);
        bindTexture(location, unit, picture.texture(), nearest);
        bindTexture(
            nearLocation, unit, picture.texture(), nearest || (picture.width() == width && picture.height() == height));
    };
    for (std::size_t i = 0; i < mPictures.size(); ++i) {
        const auto& input = mDocument->inputs[i];
        if (input.type == ISFInputType::Image && input.sound == ISFSound::None)
            bind(input.name, mPictures[i], input.nearest);
    }
    for (const auto& [name, target] : mTargets) {
        // A target that is being written and has no second texture reads as black.
        const bool readable = &target != written || target.persistent;
        bind(name, readable ? target.textures[target.front] : mBlack, target.nearest);
    }
    for (const auto& name : mDocument->unwritten)
        bind(name, mBlack, false);
    bindBrought(program, unit);
    glActiveTexture(GL_TEXTURE0);
}

/// Sounds and imported pictures.
void ISFRenderer::bindBrought(const ISFPassProgram& program, GLint& unit)
{
    const auto bind = [&](const std::string& name, GLuint texture) {
        const auto& [location, nearLocation] = program.picture(name);
        bindTexture(location, unit, texture, false);
        bindTexture(nearLocation, unit, texture, false);
    };
    for (std::size_t i = 0; i < mSounds.size(); ++i) {
        if (mDocument->inputs[i].sound != ISFSound::None)
            bind(mDocument->inputs[i].name, mSounds[i].texture());
    }
    for (std::size_t i = 0; i < mDocument->imports.size(); ++i) {
        const auto& import = mDocument->imports[i];
        const auto location = program.picture(import.name).location;
        if (!import.isCube) {
            bind(import.name, mImports.picture(i).texture());
        } else if (location >= 0) {
            glUniform1i(location, unit);
            glActiveTexture(static_cast<GLenum>(GL_TEXTURE0 + unit));
            glBindTexture(GL_TEXTURE_CUBE_MAP, mImports.cube(i));
            glBindSampler(static_cast<GLuint>(unit), mSmooth.get());
            ++unit;
        }
    }
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

ISFRenderer::Target* ISFRenderer::targetOf(const ISFPass& pass)
{
    return pass.target.empty() ? nullptr : &mTargets.find(pass.target)->second;
}

const PictureTexture* ISFRenderer::renderPass(std::size_t index, const ISFFrame& frame, const ISFPassValues& values)
{
    const auto& pass = mDocument->passes[index];
    Target* const target = targetOf(pass);
    const auto [width, height] = passSize(pass, frame);
    if (target && pass.unchanging && !needsRender(*target, frame, width, height))
        return &target->textures[target->front];
    const auto* const into = setUpPass(index, frame, values);
    if (!into || !drawInTime(*mPrograms[index], width, height))
        return nullptr;
    if (target && target->persistent)
        target->front = 1 - target->front;
    return into;
}

/// Has all ready for the pass to be drawn, into the texture that it returns; null when that cannot be had.
const PictureTexture* ISFRenderer::setUpPass(std::size_t index, const ISFFrame& frame, ISFPassValues values)
{
    const auto& pass = mDocument->passes[index];
    const auto [width, height] = passSize(pass, frame);
    Target* const target = targetOf(pass);
    PictureTexture* into
        = target ? &target->textures[target->persistent ? 1 - target->front : target->front] : &mOutput;
    if (target && target->persistent
        && !target->textures[target->front].makeTarget(width, height, target->floatingPoint))
        return nullptr;
    if (!into->makeTarget(width, height, target && target->floatingPoint))
        return nullptr;

    values.width = static_cast<float>(width);
    values.height = static_cast<float>(height);
    const auto& program = *mPrograms[index];
    program.use(values);
    for (std::size_t i = 0; i < frame.values.size(); ++i)
        program.setInput(i, mDocument->inputs[i].type, frame.values[i].numbers);
    bindTextures(program, target, width, height);
    glBindFramebuffer(GL_FRAMEBUFFER, into->framebuffer());
    glViewport(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height));
    glClearColor(0, 0, 0, target ? 0 : 1);
    return into;
}

/// Whether the texture of an unchanging pass is not there yet or was rendered from other values; notes the present
/// ones.
bool ISFRenderer::needsRender(Target& target, const ISFFrame& frame, std::size_t width, std::size_t height)
{
    std::vector<ISFInput::Numbers> numbers;
    for (const auto& value : frame.values)
        numbers.push_back(value.numbers);
    const auto& texture = target.textures[target.front];
    const bool same = texture.width() == width && texture.height() == height && target.renderedFrom == numbers;
    target.renderedFrom = std::move(numbers);
    return !same;
}

}
