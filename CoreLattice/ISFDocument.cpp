#include "CoreLattice/ISFDocument.h"

#include "CoreLattice/ISFHeaderReader.h"
#include "CoreLattice/ISFHeaderText.h"

#include <algorithm>

namespace CoreLattice {

namespace {

constexpr const char* tooLarge = "the file is larger than 1 MiB";
constexpr const char* noText = "the file is not text";
constexpr const char* noHeader = "the file does not begin with a header in a comment";

/// With "\n" at the end of every line and without a byte order mark.
std::string withPlainLineEnds(std::string_view text)
{
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isReturn = text[i] == '\r';
        if (isReturn && i + 1 < text.size() && text[i + 1] == '\n')
            continue;
        result += isReturn ? '\n' : text[i];
    }
    return result;
}

std::string nameFrom(const std::string& file)
{
    const auto slash = file.rfind('/');
    const auto base = slash == std::string::npos ? file : file.substr(slash + 1);
    return base.substr(0, base.rfind('.'));
}

/// Whether the shader reads a value that changes by itself. A mention in a comment counts too, at no more than the cost
/// of some needless renders.
bool mentionsTime(std::string_view source)
{
    for (const std::string_view name : { "TIME", "TIMEDELTA", "DATE", "FRAMEINDEX" }) {
        const auto isNameCharacter = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; };
        for (auto at = source.find(name); at != std::string_view::npos; at = source.find(name, at + 1)) {
            const auto end = at + name.size();
            if ((at == 0 || !isNameCharacter(source[at - 1]))
                && (end == source.size() || !isNameCharacter(source[end])))
                return true;
        }
    }
    return false;
}

}

std::optional<std::string> ISFDocument::whyNoComposition(std::string_view source)
{
    if (source.size() > longestSource)
        return tooLarge;
    if (source.find('\0') != std::string_view::npos)
        return noText;
    return ISFHeaderText(withPlainLineEnds(source)).isFound() ? std::nullopt : std::optional<std::string>(noHeader);
}

std::shared_ptr<const ISFDocument> ISFDocument::parse(
    std::string_view source, std::string_view vertexSource, std::string file, CompositionError* error)
{
    auto document = std::make_shared<ISFDocument>();
    document->file = file;
    const auto fail = [&](int line, std::string message) {
        *error = { std::move(file), line, std::move(message) };
        return nullptr;
    };
    if (source.size() > longestSource || vertexSource.size() > longestSource)
        return fail(0, tooLarge);
    if (source.find('\0') != std::string_view::npos)
        return fail(0, noText);

    auto text = withPlainLineEnds(source);
    const ISFHeaderText header(text);
    if (!header.isFound())
        return fail(1, noHeader);
    ISFHeaderReader reader(header);
    if (!reader.read(*document))
        return fail(reader.line(), reader.message());

    std::replace_if(
        text.begin() + static_cast<std::ptrdiff_t>(header.start()),
        text.begin() + static_cast<std::ptrdiff_t>(header.end()), [](char c) { return c != '\n'; }, ' ');
    document->fragmentSource = std::move(text);
    document->vertexSource = withPlainLineEnds(vertexSource);
    document->isNamedByFile = document->name.empty();
    if (document->isNamedByFile)
        document->name = nameFrom(file);
    document->dependsOnTime = mentionsTime(document->fragmentSource) || mentionsTime(document->vertexSource)
        || std::ranges::any_of(document->inputs, [](const ISFInput& input) { return input.sound != ISFSound::None; });
    return document;
}

std::shared_ptr<const ISFDocument> ISFDocument::in(std::string otherFile) const
{
    auto result = std::make_shared<ISFDocument>(*this);
    if (isNamedByFile)
        result->name = nameFrom(otherFile);
    result->file = std::move(otherFile);
    return result;
}

const ISFInput* ISFDocument::input(std::string_view inputName) const
{
    const auto found = std::ranges::find(inputs, inputName, &ISFInput::name);
    return found == inputs.end() ? nullptr : &*found;
}

std::vector<std::string> ISFDocument::pictures() const
{
    std::vector<std::string> result;
    for (const auto& input : inputs) {
        if (input.type == ISFInputType::Image)
            result.push_back(input.name);
    }
    for (const auto& pass : passes) {
        if (!pass.target.empty() && target(pass.target) == &pass)
            result.push_back(pass.target);
    }
    result.insert(result.end(), unwritten.begin(), unwritten.end());
    for (const auto& import : imports) {
        if (!import.isCube)
            result.push_back(import.name);
    }
    return result;
}

const ISFPass* ISFDocument::target(std::string_view targetName) const
{
    const auto found = std::ranges::find(passes, targetName, &ISFPass::target);
    return found == passes.end() ? nullptr : &*found;
}

}
