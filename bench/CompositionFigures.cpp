#include "Figures.h"
#include "ProcessorTime.h"

#include "CoreLattice/CompiledCompositions.h"
#include "CoreLattice/ISFRenderer.h"
#include "Platform/OpenGL/GLContext.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <deque>
#include <span>
#include <stdexcept>

namespace {

struct Size {
    std::size_t width, height;
    const char* text;
};
constexpr std::array sizes { Size { 1280, 720, "1280x720" }, Size { 1920, 1080, "1920x1080" } };
constexpr std::array parts { "", "-upload", "-draw", "-readback" };
constexpr int frames = 30;

/// Milliseconds of processor time for a frame.
struct Cost {
    double whole = 0;
    double upload = 0;
    double readback = 0;
    double draw() const { return std::max(0.0, whole - upload - readback); }
};

/// As it is written on the command line: "Bokeh Blur" is "bokeh-blur".
std::string figureName(std::string_view composition, const Size& size, const char* part)
{
    std::string name = "composition-";
    for (const char c : composition)
        name += c == ' ' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return name + "-" + std::to_string(size.height) + part;
}

Ref<CVPixelBuffer> picture(const Size& size)
{
    Ref<CVPixelBuffer> buffer;
    if (CVPixelBufferCreate(nullptr, size.width, size.height, kCVPixelFormatType_32BGRA, nullptr, &buffer)
        != kCVReturnSuccess)
        throw std::runtime_error("no memory for a picture");
    for (std::size_t i = 0; i < buffer->bytesPerRow() * size.height; ++i)
        buffer->baseAddress()[i] = static_cast<std::byte>(i * 7 % 251);
    return buffer;
}

std::shared_ptr<const CoreLattice::ISFDocument> documentOf(const CoreLattice::CompiledComposition& text)
{
    CoreLattice::CompositionError error;
    auto document = CoreLattice::ISFDocument::parse(text.fragment, text.vertex, std::string(text.name) + ".fs", &error);
    if (!document)
        throw std::runtime_error(error.text());
    return document;
}

template <class Work> double processorTimeOf(const Work& work)
{
    const double start = processorMilliseconds();
    work();
    return processorMilliseconds() - start;
}

/// The inputs at their defaults, all pictures being \p shown, which is a new one each time.
std::vector<CoreLattice::ISFValue> valuesOf(
    const CoreLattice::ISFDocument& document, const Ref<CVPixelBuffer>& shown, std::uint64_t serial)
{
    std::vector<CoreLattice::ISFValue> values;
    for (const auto& input : document.inputs) {
        CoreLattice::ISFValue value;
        value.numbers = input.defaultValue.value_or(CoreLattice::ISFInput::Numbers { 0, 0, 0, 1 });
        if (input.type == CoreLattice::ISFInputType::Image && !input.isSilent) {
            value.picture = shown;
            value.pictureSerial = serial;
        }
        values.push_back(std::move(value));
    }
    return values;
}

/// The way in and the way out are measured beside the whole, in turn with it.
Cost measure(const CoreLattice::CompiledComposition& text, const Size& size)
{
    CoreLattice::CompositionError error;
    const auto document = documentOf(text);
    const auto renderer = CoreLattice::ISFRenderer::create(document, &error);
    if (!renderer)
        throw std::runtime_error(error.text());
    const auto shown = picture(size);
    const auto output = picture(size);
    PictureTexture texture;
    PictureTexture target;
    if (!target.makeTarget(size.width, size.height, false))
        throw std::runtime_error("the driver cannot render");
    const auto pictures = std::ranges::count_if(
        valuesOf(*document, shown, 1), [](const CoreLattice::ISFValue& value) { return value.picture != nullptr; });
    Cost cost;
    constexpr int first = 5; // frames in which the driver compiles and memory is made that stays
    for (int frame = -first; frame < frames; ++frame) {
        if (frame == 0)
            cost = {};
        CoreLattice::ISFFrame request;
        request.time = (frame + first) / 30.0;
        request.width = size.width;
        request.height = size.height;
        request.values = valuesOf(*document, shown, static_cast<std::uint64_t>(frame + first + 1));
        cost.whole += processorTimeOf([&] { renderer->render(request, *output, &error); });
        if (!error.message.empty())
            throw std::runtime_error(error.text());
        cost.upload += static_cast<double>(pictures) * processorTimeOf([&] {
            texture.upload(*shown);
            glFinish();
        });
        glBindFramebuffer(GL_FRAMEBUFFER, target.framebuffer());
        cost.readback += processorTimeOf([&] {
            glPixelStorei(GL_PACK_ROW_LENGTH, static_cast<GLint>(output->bytesPerRow() / 4));
            glReadPixels(0, 0, static_cast<GLsizei>(size.width), static_cast<GLsizei>(size.height), GL_BGRA,
                GL_UNSIGNED_INT_8_8_8_8_REV, output->baseAddress());
        });
    }
    return { cost.whole / frames, cost.upload / frames, cost.readback / frames };
}

}

const std::vector<FigureName>& compositionFigures()
{
    static std::deque<std::string> texts;
    static const std::vector<FigureName> figures = [] {
        const std::array meanings { "the whole", "of it, the picture's way in", "of it, the drawing",
            "of it, the picture's way out" };
        std::vector<FigureName> all;
        for (const auto& composition : CoreLattice::compiledCompositions()) {
            for (const auto& size : sizes) {
                for (std::size_t part = 0; part < parts.size(); ++part) {
                    const auto& name = texts.emplace_back(figureName(composition.name, size, parts[part]));
                    const auto& meaning = texts.emplace_back(
                        std::string(composition.name) + " at " + size.text + ": " + meanings[part]);
                    all.push_back({ name, "ms/frame", meaning });
                }
            }
        }
        return all;
    }();
    return figures;
}

void measureCompositions(const BenchRequest& request)
{
    // As the program has it: the driver draws on the thread that asks.
    ::setenv("LP_NUM_THREADS", "0", 0);
    std::string reason;
    const auto context = GLContext::create(&reason);
    if (!context || !context->makeCurrent())
        throw std::runtime_error("no composition can be drawn: " + reason);
    auto figure = compositionFigures().begin();
    for (const auto& composition : CoreLattice::compiledCompositions()) {
        for (const auto& size : sizes) {
            const std::span names(&*figure, parts.size());
            figure += parts.size();
            if (!request.wantsAny(names))
                continue;
            const auto cost = measure(composition, size);
            const std::array values { cost.whole, cost.upload, cost.draw(), cost.readback };
            for (std::size_t part = 0; part < parts.size(); ++part)
                printFigure(request, names[part], values[part]);
        }
    }
}
