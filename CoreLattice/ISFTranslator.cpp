#include "CoreLattice/ISFTranslator.h"

#include "CoreLattice/ShaderNames.h"
#include "CoreLattice/ShaderRewriter.h"

#include <algorithm>
#include <charconv>
#include <filesystem>

namespace CoreLattice {

namespace {

// The extension, where there is one, takes some of what older compilers let pass, such as constants that are none.
constexpr std::string_view version
    = "#version 330 compatibility\n#extension GL_ARB_shading_language_420pack : enable\n";

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

/// The language's own functions for reading pictures, with the rows counted as the format does.
constexpr std::string_view readerFunctions = R"(
vec4 lattice_texture2D(sampler2D image, vec2 at) { return texture2D(image, lattice_place(at)); }
vec4 lattice_texture2DLod(sampler2D image, vec2 at, float level) { return textureLod(image, lattice_place(at), level); }
vec4 lattice_texture2DLodEXT(sampler2D image, vec2 at, float level) { return textureLod(image, lattice_place(at), level); }
vec4 lattice_texture2DProj(sampler2D image, vec3 at) { return texture2D(image, lattice_place(at.xy / at.z)); }
vec4 lattice_texture2DProj(sampler2D image, vec4 at) { return texture2D(image, lattice_place(at.xy / at.w)); }
vec4 lattice_texture2DRect(sampler2D image, vec2 at) { return texture2D(image, lattice_place(at / IMG_SIZE(image))); }
vec4 lattice_textureGrad(sampler2D image, vec2 at, vec2 x, vec2 y)
{
    return textureGrad(image, lattice_place(at), vec2(x.x, -x.y), vec2(y.x, -y.y));
}
vec4 lattice_texture2DGradEXT(sampler2D image, vec2 at, vec2 x, vec2 y) { return lattice_textureGrad(image, at, x, y); }
vec4 lattice_texture2DGradARB(sampler2D image, vec2 at, vec2 x, vec2 y) { return lattice_textureGrad(image, at, x, y); }
vec4 lattice_texture(sampler2D image, vec2 at) { return texture(image, lattice_place(at)); }
vec4 lattice_texture(samplerCube image, vec3 at) { return texture(image, at); }
vec4 lattice_textureLod(sampler2D image, vec2 at, float level) { return textureLod(image, lattice_place(at), level); }
vec4 lattice_textureLod(samplerCube image, vec3 at, float level) { return textureLod(image, at, level); }
vec4 lattice_textureProj(sampler2D image, vec3 at) { return lattice_texture2DProj(image, at); }
vec4 lattice_textureProj(sampler2D image, vec4 at) { return lattice_texture2DProj(image, at); }
vec4 lattice_textureOffset(sampler2D image, vec2 at, ivec2 by) { return lattice_texture(image, at + vec2(by) / IMG_SIZE(image)); }
vec4 lattice_textureLodOffset(sampler2D image, vec2 at, float level, ivec2 by)
{
    return lattice_textureLod(image, at + vec2(by) / IMG_SIZE(image), level);
}
vec4 lattice_texelFetch(sampler2D image, ivec2 at, int level)
{
    return texelFetch(image, ivec2(at.x, textureSize(image, level).y - 1 - at.y), level);
}
vec4 lattice_texelFetchOffset(sampler2D image, ivec2 at, int level, ivec2 by) { return lattice_texelFetch(image, at + by, level); }
)";

constexpr std::string_view fragmentReaderFunctions = R"(
vec4 lattice_texture2D(sampler2D image, vec2 at, float bias) { return texture2D(image, lattice_place(at), bias); }
vec4 lattice_texture(sampler2D image, vec2 at, float bias) { return texture(image, lattice_place(at), bias); }
vec4 lattice_texture(samplerCube image, vec3 at, float bias) { return texture(image, at, bias); }
)";

constexpr std::string_view fragmentDeclarations = R"(
noperspective in vec2 isf_FragNormCoord;
vec4 lattice_fragCoord() { return vec4(gl_FragCoord.x, lattice_in_RENDERSIZE.y - gl_FragCoord.y, gl_FragCoord.zw); }
#define dFdy(x) (-dFdy(x))
)";

constexpr std::string_view vertexDeclarations = R"(
noperspective out vec2 isf_FragNormCoord;
vec4 lattice_corner() { return vec4(vec2(gl_VertexID & 1, gl_VertexID >> 1) * 2.0 - 1.0, 0.0, 1.0); }
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

/// The format's own values. Made each time: the render thread may still translate while the process takes its static
/// objects down.
std::vector<Value> ownValues()
{
    return { { "vec2", "RENDERSIZE" }, { "float", "TIME" }, { "float", "TIMEDELTA" }, { "vec4", "DATE" },
        { "int", "FRAMEINDEX" } };
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
        if (!forFragment)
            declare("uniform", type, name);
    }
    for (const auto& [type, name] : handedInputs(document))
        declare(forFragment ? "flat in" : "flat out", type, "lattice_in_" + name);
    for (const auto& input : document.inputs) {
        if (input.type != ISFInputType::Image && !(forFragment && isHanded(document, input.name)))
            declare("uniform", languageType(input.type), languageName(input.name));
    }
    for (const auto& picture : document.pictures()) {
        declare("uniform", "sampler2D", languageName(picture));
        declare("uniform", "sampler2D", "lattice_near_" + picture);
        // What programs that run filters declare beside each picture, and some files read.
        result += "#define _" + picture + "_imgSize IMG_SIZE(" + languageName(picture) + ")\n";
        result += "#define _" + picture + "_imgRect vec4(0.0, 0.0, 1.0, 1.0)\n";
        result += "#define _" + picture + "_flip false\n";
    }
    for (const auto& import : document.imports) {
        if (import.isCube)
            declare("uniform", "samplerCube", languageName(import.name));
    }
    return result;
}

std::string vertexEnd(const ISFDocument& document, bool withTextureCoordinates)
{
    std::string result = "void main() { lattice_main(); gl_Position.y = -gl_Position.y;\n";
    if (withTextureCoordinates)
        result += "gl_TexCoord[0] = vec4(isf_FragNormCoord, 0.0, 1.0);\n";
    for (const auto& [type, name] : ownValues())
        result += "lattice_in_" + name + " = " + name + ";\n";
    for (const auto& [type, name] : handedInputs(document))
        result += "lattice_in_" + name + " = " + languageName(name) + ";\n";
    return result + "}\n";
}

/// Files add to the output before they write to it, or leave it as it is here and there, so it begins with nothing. The
/// picture of a pass without a target is opaque.
std::string fragmentEnd(const ISFDocument& document, std::size_t pass, const std::string& output)
{
    if (output.empty())
        return "void main() { lattice_main(); }\n";
    const bool isPicture = document.passes[pass].target.empty();
    return "void main() { " + output + " = vec4(0.0); lattice_main();" + (isPicture ? " " + output + ".a = 1.0;" : "")
        + " }\n";
}

/// All the names that the translation declares, pictures excepted.
std::vector<std::string> declaredNames(const ISFDocument& document)
{
    std::vector<std::string> result { "PASSINDEX", "isf_FragNormCoord", "vv_FragNormCoord", "gl_FragCoord" };
    for (const auto& value : ownValues())
        result.push_back(value.name);
    for (const auto& input : document.inputs)
        result.push_back(input.name);
    for (const auto& import : document.imports)
        result.push_back(import.name);
    return result;
}

void fillIn(std::string& text, std::string_view placeholder, std::size_t number)
{
    text.replace(text.find(placeholder), placeholder.size(), std::to_string(number));
}

std::optional<ShaderRewriter> rewrite(
    const ISFDocument& document, bool forFragment, std::string_view source, CompositionError* error)
{
    std::vector<std::string> handed;
    if (forFragment) {
        for (const auto& values : { ownValues(), handedInputs(document) }) {
            for (const auto& value : values)
                handed.push_back(value.name);
        }
    }
    ShaderRewriter rewriter(source, document.pictures(), std::move(handed), declaredNames(document));
    if (rewriter.rewrite())
        return rewriter;
    *error = { forFragment ? document.file : vertexFileOf(document.file), rewriter.line(), rewriter.message() };
    return std::nullopt;
}

std::size_t loopBudget(const ShaderRewriter& rewriter)
{
    constexpr double mostTurnsAtAll = 1 << 20;
    return static_cast<std::size_t>(std::clamp(mostTurnsAtAll / rewriter.uncountedTurns(),
        static_cast<double>(fewestLoopTurns), static_cast<double>(mostLoopTurns)));
}

std::string assemble(const ISFDocument& document, std::size_t pass, bool forFragment, const ShaderRewriter& rewriter,
    std::string_view end)
{
    std::string common(commonDeclarations);
    fillIn(common, "LATTICE_BUDGET", loopBudget(rewriter));
    fillIn(common, "LATTICE_PASS", pass);
    std::string result(version);
    result += rewriter.extensions();
    result += common;
    // Ahead of the names of inputs, which may be those of the functions that they use.
    result += readerFunctions;
    result += forFragment ? fragmentReaderFunctions : std::string_view();
    result += declarations(document, forFragment);
    result += forFragment ? fragmentDeclarations : vertexDeclarations;
    result += "#line 1\n";
    result += rewriter.text();
    result += '\n';
    result += end;
    return result;
}

}

std::string vertexFileOf(const std::string& file)
{
    std::filesystem::path path(file);
    std::error_code error;
    for (const auto* const extension : { ".vs", ".vert" }) {
        if (std::filesystem::is_regular_file(path.replace_extension(extension), error))
            return path.string();
    }
    return path.replace_extension(".vs").string();
}

std::optional<TranslatedShaders> translateShaders(
    const ISFDocument& document, std::size_t pass, CompositionError* error)
{
    const auto fragment = rewrite(document, true, document.fragmentSource, error);
    if (!fragment)
        return std::nullopt;
    const std::string_view vertexSource = document.vertexSource.empty() ? usualVertexSource : document.vertexSource;
    const auto vertex = rewrite(document, false, vertexSource, error);
    if (!vertex)
        return std::nullopt;
    return TranslatedShaders { assemble(document, pass, false, *vertex,
                                   vertexEnd(
                                       document, fragment->usesTextureCoordinates() && document.vertexSource.empty())),
        assemble(document, pass, true, *fragment, fragmentEnd(document, pass, fragment->output())),
        fragment->leavesPixels() || !document.vertexSource.empty(), !fragment->output().empty() };
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
        result.message = withAuthorsNames(std::string(words == std::string_view::npos ? text : text.substr(words + 2)));
        return result;
    }
    result.message = log.empty() ? "the driver gives no reason" : log.substr(0, log.find('\n'));
    return result;
}

}
