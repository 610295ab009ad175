#include "CoreLattice/ISFTranslator.h"

#include "CoreLattice/ShaderRewriter.h"

#include <algorithm>
#include <charconv>

namespace CoreLattice {

namespace {

constexpr std::string_view version = "#version 330 compatibility\n";

constexpr std::string_view commonDeclarations = R"(
#define PASSINDEX LATTICE_PASS
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
noperspective in vec2 isf_FragNormCoord;
vec4 lattice_fragCoord() { return vec4(gl_FragCoord.x, RENDERSIZE.y - gl_FragCoord.y, gl_FragCoord.zw); }
#define dFdy(x) (-dFdy(x))
)";

constexpr std::string_view vertexDeclarations = R"(
noperspective out vec2 isf_FragNormCoord;
void isf_vertShaderInit()
{
    isf_FragNormCoord = vec2(gl_VertexID & 1, gl_VertexID >> 1);
    gl_Position = vec4(isf_FragNormCoord * 2.0 - 1.0, 0.0, 1.0);
}
)";

constexpr std::string_view usualVertexSource = "void main() { isf_vertShaderInit(); }\n";

// More values than this could be more than a driver hands on from corners to pixels.
constexpr std::size_t mostHanded = 16;

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

/// A value that is the same for the whole picture.
struct Value {
    const char* type;
    std::string name;
};

/// The format's own values.
const std::vector<Value>& ownValues()
{
    static const std::vector<Value> values { { "vec2", "RENDERSIZE" }, { "float", "TIME" }, { "float", "TIMEDELTA" },
        { "vec4", "DATE" }, { "int", "FRAMEINDEX" } };
    return values;
}

/// The values that the vertex shader hands to the fragment shader as flat inputs. The software driver reads one of
/// those at no cost, while every component of a uniform takes it as long as ten additions. Truth values cannot be
/// handed on.
std::vector<Value> handedInputs(const ISFDocument& document)
{
    std::vector<Value> result;
    for (const auto& input : document.inputs) {
        const bool canBe = input.type != ISFInputType::Image && input.type != ISFInputType::Boolean
            && input.type != ISFInputType::Event;
        if (canBe && result.size() < mostHanded)
            result.push_back({ languageType(input.type), input.name });
    }
    return result;
}

bool isHanded(const ISFDocument& document, const std::string& name)
{
    return std::ranges::any_of(handedInputs(document), [&](const Value& value) { return value.name == name; });
}

std::string declarations(const ISFDocument& document, bool forFragment)
{
    std::string result;
    const auto declare = [&result](const char* how, const char* type, const std::string& name) {
        result += std::string(how) + ' ' + type + ' ' + name + ";\n";
    };
    for (const auto& [type, name] : ownValues()) {
        declare(forFragment ? "flat in" : "flat out", type, "lattice_in_" + name);
        if (forFragment)
            result += "#define " + name + " lattice_in_" + name + "\n";
        else
            declare("uniform", type, name);
    }
    for (const auto& [type, name] : handedInputs(document))
        declare(forFragment ? "flat in" : "flat out", type, "lattice_in_" + name);
    for (const auto& input : document.inputs) {
        if (input.type != ISFInputType::Image && !(forFragment && isHanded(document, input.name)))
            declare("uniform", languageType(input.type), input.name);
    }
    for (const auto& picture : document.pictures()) {
        declare("uniform", "sampler2D", picture);
        declare("uniform", "sampler2D", "lattice_near_" + picture);
    }
    return result;
}

std::string vertexEnd(const ISFDocument& document)
{
    std::string result = "void main() { lattice_main(); gl_Position.y = -gl_Position.y;\n";
    for (const auto& [type, name] : ownValues())
        result += "lattice_in_" + name + " = " + name + ";\n";
    for (const auto& [type, name] : handedInputs(document))
        result += "lattice_in_" + name + " = " + name + ";\n";
    return result + "}\n";
}

std::string fragmentEnd(const ISFDocument& document, std::size_t pass)
{
    // The picture of a pass without a target is opaque. A shader that writes no gl_FragColor has an output of its own,
    // beside which that one may not be touched.
    const bool makesOpaque
        = document.passes[pass].target.empty() && document.fragmentSource.find("gl_FragColor") != std::string::npos;
    return makesOpaque ? "void main() { lattice_main(); gl_FragColor.a = 1.0; }\n"
                       : "void main() { lattice_main(); }\n";
}

void fillIn(std::string& text, std::string_view placeholder, std::size_t number)
{
    text.replace(text.find(placeholder), placeholder.size(), std::to_string(number));
}

std::optional<std::string> assemble(
    const ISFDocument& document, std::size_t pass, bool forFragment, std::string_view source, CompositionError* error)
{
    std::vector<std::string> handed;
    if (forFragment) {
        for (const auto& value : handedInputs(document))
            handed.push_back(value.name);
    }
    ShaderRewriter rewriter(source, document.pictures(), std::move(handed));
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
    result += declarations(document, forFragment);
    result += forFragment ? fragmentDeclarations : vertexDeclarations;
    result += "#line 1\n";
    result += rewriter.text();
    result += '\n';
    result += forFragment ? fragmentEnd(document, pass) : vertexEnd(document);
    return result;
}

}

std::optional<TranslatedShaders> translateShaders(
    const ISFDocument& document, std::size_t pass, CompositionError* error)
{
    auto fragment = assemble(document, pass, true, document.fragmentSource, error);
    if (!fragment)
        return std::nullopt;
    const std::string_view vertexSource = document.vertexSource.empty() ? usualVertexSource : document.vertexSource;
    auto vertex = assemble(document, pass, false, vertexSource, error);
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
