#include "CoreLattice/ISFTranslator.h"

#include "CoreLattice/ShaderRewriter.h"

#include <charconv>

namespace CoreLattice {

namespace {

constexpr std::string_view version = "#version 330 compatibility\n";

constexpr std::string_view commonDeclarations = R"(
#define PASSINDEX LATTICE_PASS
uniform vec2 RENDERSIZE;
uniform float TIME;
uniform float TIMEDELTA;
uniform vec4 DATE;
uniform int FRAMEINDEX;
varying vec2 isf_FragNormCoord;
int lattice_budget = LATTICE_BUDGET;
bool lattice_turn() { return lattice_budget-- > 0; }
vec2 lattice_place(vec2 at) { return vec2(at.x, 1.0 - at.y); }
#define IMG_SIZE(image) vec2(textureSize(image, 0))
#define IMG_NORM_PIXEL(image, at) texture2D(image, lattice_place(at))
#define IMG_PIXEL(image, at) texture2D(image, lattice_place((at) / IMG_SIZE(image)))
#define IMG_THIS_PIXEL(image) texture2D(image, lattice_place(isf_FragNormCoord))
#define IMG_THIS_NORM_PIXEL(image) texture2D(image, lattice_place(isf_FragNormCoord))
)";

constexpr std::string_view fragmentDeclarations = R"(
uniform float lattice_opaque;
vec4 lattice_fragCoord() { return vec4(gl_FragCoord.x, RENDERSIZE.y - gl_FragCoord.y, gl_FragCoord.zw); }
#define dFdy(x) (-dFdy(x))
)";

constexpr std::string_view vertexDeclarations = R"(
void isf_vertShaderInit()
{
    isf_FragNormCoord = vec2(gl_VertexID & 1, gl_VertexID >> 1);
    gl_Position = vec4(isf_FragNormCoord * 2.0 - 1.0, 0.0, 1.0);
}
)";

constexpr std::string_view usualVertexSource = "void main() { isf_vertShaderInit(); }\n";

constexpr std::string_view vertexEnd = R"(
void main() { lattice_main(); gl_Position.y = -gl_Position.y; }
)";

const char* languageType(ISFInputType type)
{
    switch (type) {
    case ISFInputType::Number:
        return "float";
    case ISFInputType::Boolean:
    case ISFInputType::Event:
        return "bool";
    case ISFInputType::Menu:
        return "int";
    case ISFInputType::Color:
        return "vec4";
    case ISFInputType::Point:
        return "vec2";
    case ISFInputType::Image:
        return "sampler2D";
    }
    return "float";
}

std::string inputDeclarations(const ISFDocument& document)
{
    std::string result;
    const auto declare = [&result](const char* type, const std::string& name) {
        result += "uniform ";
        result += type;
        result += ' ' + name + ";\n";
    };
    for (const auto& input : document.inputs) {
        if (input.type != ISFInputType::Image)
            declare(languageType(input.type), input.name);
    }
    for (const auto& picture : document.pictures()) {
        declare(languageType(ISFInputType::Image), picture);
        declare(languageType(ISFInputType::Image), "lattice_near_" + picture);
    }
    return result;
}

void fillIn(std::string& text, std::string_view placeholder, std::size_t number)
{
    text.replace(text.find(placeholder), placeholder.size(), std::to_string(number));
}

std::optional<std::string> assemble(const ISFDocument& document, std::size_t pass, std::string_view source,
    std::string_view declarations, std::string_view end, CompositionError* error)
{
    ShaderRewriter rewriter(source, document.pictures());
    if (!rewriter.rewrite()) {
        *error = { document.file, rewriter.line(), rewriter.message() };
        return std::nullopt;
    }
    std::string common(commonDeclarations);
    fillIn(common, "LATTICE_BUDGET", loopBudget);
    fillIn(common, "LATTICE_PASS", pass);
    std::string result(version);
    result += rewriter.extensions();
    result += common;
    result += inputDeclarations(document);
    result += declarations;
    result += "#line 1\n";
    result += rewriter.text();
    result += '\n';
    result += end;
    return result;
}

}

std::optional<TranslatedShaders> translateShaders(
    const ISFDocument& document, std::size_t pass, CompositionError* error)
{
    // A shader that writes no gl_FragColor has an output of its own, beside which that one may not be touched.
    const bool writesColor = document.fragmentSource.find("gl_FragColor") != std::string::npos;
    const std::string_view fragmentEnd = writesColor
        ? "void main() { lattice_main(); gl_FragColor.a = max(gl_FragColor.a, lattice_opaque); }\n"
        : "void main() { lattice_main(); }\n";
    auto fragment = assemble(document, pass, document.fragmentSource, fragmentDeclarations, fragmentEnd, error);
    if (!fragment)
        return std::nullopt;
    const std::string_view vertexSource = document.vertexSource.empty() ? usualVertexSource : document.vertexSource;
    auto vertex = assemble(document, pass, vertexSource, vertexDeclarations, vertexEnd, error);
    if (!vertex)
        return std::nullopt;
    return TranslatedShaders { std::move(*vertex), std::move(*fragment) };
}

CompositionError errorFromDriverLog(std::string_view log, std::string file)
{
    // Drivers write "0:12(5): error: words" or "0(12) : error C1000: words"; a line without an error is a warning.
    CompositionError result { std::move(file), 0, {} };
    for (std::size_t start = 0; start < log.size();) {
        const auto end = std::min(log.find('\n', start), log.size());
        const auto text = log.substr(start, end - start);
        start = end + 1;
        const auto error = text.find("error");
        if (error == std::string_view::npos)
            continue;
        const auto separator = text.find_first_of(":(");
        if (separator != std::string_view::npos && separator + 1 < text.size())
            std::from_chars(text.data() + separator + 1, text.data() + text.size(), result.line);
        const auto words = text.find(": ", error);
        result.message = words == std::string_view::npos ? text : text.substr(words + 2);
        return result;
    }
    result.message = log.empty() ? "the driver gives no reason" : log.substr(0, log.find('\n'));
    return result;
}

}
