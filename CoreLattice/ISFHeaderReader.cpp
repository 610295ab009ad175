#include "CoreLattice/ISFHeaderReader.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <set>

namespace CoreLattice {

struct ISFHeaderReader::Json {
    const nlohmann::json& value;
};

namespace {

using nlohmann::json;

constexpr std::size_t mostInputs = 128;
constexpr std::size_t mostPasses = 32;
constexpr std::size_t mostMenuEntries = 256;
constexpr std::size_t mostTexts = 256;
constexpr std::size_t longestName = 64;
constexpr std::size_t longestText = 4096;
constexpr std::size_t longestUnit = 16;
constexpr std::size_t mostPictures = 16;
constexpr std::size_t mostImports = 16;
constexpr std::size_t mostSoundColumns = 4096;

std::string textOf(const json& value)
{
    std::string text;
    if (value.is_string())
        text = value.get<std::string>();
    else if (value.is_number())
        text = value.dump();
    const auto first = text.find_first_not_of(" \t\n");
    if (first == std::string::npos)
        return {};
    text = text.substr(first, text.find_last_not_of(" \t\n") - first + 1);
    if (text.size() > longestText)
        text.resize(longestText);
    return text;
}

std::string textAt(const json& object, const char* key)
{
    const auto found = object.find(key);
    return found == object.end() ? std::string() : textOf(*found);
}

/// Of a list, or of a text that stands for a list of one.
std::vector<std::string> textsAt(const json& object, const char* key)
{
    std::vector<std::string> result;
    const auto found = object.find(key);
    if (found == object.end())
        return result;
    for (const auto& entry : found->is_array() ? *found : json::array({ *found })) {
        if (auto text = textOf(entry); !text.empty() && result.size() < mostTexts)
            result.push_back(std::move(text));
    }
    return result;
}

std::string inLowerCase(std::string text)
{
    std::ranges::transform(
        text, text.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return text;
}

/// Numbers are also written as texts and as truth values in real files.
std::optional<double> numberOf(const json& value)
{
    if (value.is_boolean())
        return value.get<bool>() ? 1.0 : 0.0;
    double number = 0;
    if (value.is_string()) {
        const auto text = inLowerCase(textOf(value));
        if (text == "true" || text == "yes")
            return 1.0;
        if (text == "false" || text == "no")
            return 0.0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error != std::errc() || end != text.data() + text.size())
            return std::nullopt;
    } else if (value.is_number()) {
        number = value.get<double>();
    } else {
        return std::nullopt;
    }
    return std::isfinite(number) ? std::optional(std::clamp(number, -1e30, 1e30)) : std::nullopt;
}

bool truthAt(const json& object, const char* key)
{
    const auto found = object.find(key);
    return found != object.end() && numberOf(*found).value_or(0) != 0;
}

std::optional<ISFInput::Numbers> numbersAt(const json& object, const char* key)
{
    const auto found = object.find(key);
    if (found == object.end())
        return std::nullopt;
    ISFInput::Numbers numbers { 0, 0, 0, 1 };
    if (!found->is_array()) {
        const auto number = numberOf(*found);
        if (!number)
            return std::nullopt;
        numbers[0] = *number;
        return numbers;
    }
    for (std::size_t i = 0; i < std::min<std::size_t>(found->size(), numbers.size()); ++i)
        numbers[i] = numberOf((*found)[i]).value_or(numbers[i]);
    return numbers;
}

bool isName(std::string_view name)
{
    return !name.empty() && name.size() <= longestName && !(name[0] >= '0' && name[0] <= '9')
        && !name.starts_with("gl_") && !name.starts_with("lattice_") && std::ranges::all_of(name, [](char c) {
               return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
           });
}

}

bool ISFHeaderReader::fail(std::string message)
{
    if (mMessage.empty())
        mMessage = std::move(message);
    return false;
}

bool ISFHeaderReader::read(ISFDocument& document)
{
    mLine = mHeader.firstLine();
    if (mHeader.isTooDeep())
        return fail("the header is nested too deeply");
    json root;
    try {
        root = json::parse(mHeader.json());
    } catch (const json::parse_error& problem) {
        mLine = mHeader.lineAt(problem.byte > 0 ? problem.byte - 1 : 0);
        // The reader's own words for the place do not count in the file's lines.
        const std::string_view words = problem.what();
        const auto place = words.find(": ");
        return fail(
            "the header is no JSON: " + std::string(place == std::string_view::npos ? words : words.substr(place + 2)));
    } catch (const json::exception& problem) {
        return fail(problem.what());
    }
    if (!root.is_object())
        return fail("the header is no JSON object");
    const Json header { root };
    readTexts(header, document);
    return readInputs(header, document) && readPasses(header, document) && readPersistentBuffers(header, document)
        && readImports(header, document) && checkNames(document);
}

void ISFHeaderReader::readTexts(const Json& header, ISFDocument& document)
{
    document.name = textAt(header.value, "LABEL");
    document.explanation = textAt(header.value, "DESCRIPTION");
    document.credit = textAt(header.value, "CREDIT");
    document.version = textAt(header.value, "VSN");
    document.categories = textsAt(header.value, "CATEGORIES");
    document.wantsGPU = std::ranges::count(textsAt(header.value, "KEYWORDS"), "GPU") > 0;
}

bool ISFHeaderReader::readInputs(const Json& header, ISFDocument& document)
{
    const auto found = header.value.find("INPUTS");
    if (found == header.value.end() || found->is_null())
        return true;
    if (!found->is_array())
        return fail("INPUTS is no list");
    if (found->size() > mostInputs)
        return fail("there are more than 128 inputs");
    for (const auto& entry : *found) {
        ISFInput input;
        if (!entry.is_object())
            return fail("an input is no object");
        if (!readInput({ entry }, input))
            return false;
        // One that is declared twice in the same way is one.
        const auto* const twin = document.input(input.name);
        if (!twin || twin->type != input.type)
            document.inputs.push_back(std::move(input));
    }
    const auto isImage = [&](std::string_view name) {
        const auto* const input = document.input(name);
        return input && input->type == ISFInputType::Image && !input->isSilent;
    };
    if (isImage("inputImage"))
        document.kind = ISFKind::Filter;
    else if (isImage("startImage") && isImage("endImage") && document.input("progress"))
        document.kind = ISFKind::Transition;
    return true;
}

bool ISFHeaderReader::readInput(const Json& entry, ISFInput& input)
{
    input.name = textAt(entry.value, "NAME");
    if (!isName(input.name))
        return fail("\"" + input.name.substr(0, longestName) + "\" is no name for an input");
    input.label = textAt(entry.value, "LABEL");
    if (input.label.empty())
        input.label = input.name;
    input.defaultValue = numbersAt(entry.value, "DEFAULT");
    input.minimum = numbersAt(entry.value, "MIN");
    input.maximum = numbersAt(entry.value, "MAX");
    input.identity = numbersAt(entry.value, "IDENTITY");
    for (std::size_t i = 0; input.minimum && input.maximum && i < input.minimum->size(); ++i) {
        if ((*input.minimum)[i] > (*input.maximum)[i])
            std::swap((*input.minimum)[i], (*input.maximum)[i]);
    }
    input.nearest = textAt(entry.value, "FILTER") == "NEAREST";
    // One that is longer would leave no room for the figure.
    input.unit = textAt(entry.value, "UNIT");
    if (input.unit.size() > longestUnit)
        input.unit.clear();
    if (!readType(entry, input))
        return false;
    if (input.type == ISFInputType::Menu)
        return readMenu(entry, input);
    return true;
}

bool ISFHeaderReader::readType(const Json& entry, ISFInput& input)
{
    static constexpr std::pair<std::string_view, ISFInputType> types[] = { { "float", ISFInputType::Number },
        { "bool", ISFInputType::Boolean }, { "long", ISFInputType::Menu }, { "int", ISFInputType::Menu },
        { "color", ISFInputType::Color }, { "point2d", ISFInputType::Point }, { "event", ISFInputType::Event },
        { "image", ISFInputType::Image }, { "audio", ISFInputType::Image }, { "audiofft", ISFInputType::Image } };
    const auto text = textAt(entry.value, "TYPE");
    const auto wanted = inLowerCase(text);
    for (const auto& [name, type] : types) {
        if (name != wanted)
            continue;
        input.type = type;
        input.isSilent = wanted.starts_with("audio");
        if (input.isSilent) {
            input.sound = wanted == "audio" ? ISFSound::Samples : ISFSound::Spectrum;
            const double columns = input.maximum ? (*input.maximum)[0] : 0;
            input.mostSound = static_cast<std::size_t>(std::clamp(columns, 0.0, static_cast<double>(mostSoundColumns)));
        }
        return true;
    }
    return fail("input " + input.name + " has the unknown type \"" + text.substr(0, longestName) + "\"");
}

bool ISFHeaderReader::readMenu(const Json& entry, ISFInput& input)
{
    const json none = json::array();
    const auto listAt = [&](const char* key) -> const json& {
        const auto found = entry.value.find(key);
        return found != entry.value.end() && found->is_array() ? *found : none;
    };
    const auto& values = listAt("VALUES");
    const auto& labels = listAt("LABELS");
    if (values.size() > mostMenuEntries || labels.size() > mostMenuEntries)
        return fail("input " + input.name + " has more than 256 values");
    // Labels without values stand for the numbers from 0.
    for (std::size_t i = 0; i < (values.empty() ? labels.size() : values.size()); ++i) {
        const auto value = values.empty() ? static_cast<double>(i) : numberOf(values[i]);
        if (!value)
            return fail("input " + input.name + " has a value that is no number");
        const auto label = i < labels.size() ? textOf(labels[i]) : std::string();
        input.values.push_back(std::round(*value));
        input.labels.push_back(
            label.empty() ? std::to_string(static_cast<long>(std::clamp(*value, -1e9, 1e9))) : label.substr(0, 256));
    }
    if (input.values.empty())
        readMenuBounds(input);
    readMenuDefault(entry, input);
    return true;
}

/// A whole number without choices; its bounds stand for them when they are near each other.
void ISFHeaderReader::readMenuBounds(ISFInput& input)
{
    const auto bound = [](const auto& numbers, long otherwise) {
        return numbers ? std::lround(std::clamp((*numbers)[0], -1e9, 1e9)) : otherwise;
    };
    const long usual = bound(input.defaultValue, 0);
    const long first = bound(input.minimum, std::min(usual, 0L));
    const long last
        = std::min(bound(input.maximum, std::max(first + 9, usual)), first + static_cast<long>(mostMenuEntries) - 1);
    for (long value = first; value <= last; ++value) {
        input.values.push_back(static_cast<double>(value));
        input.labels.push_back(std::to_string(value));
    }
}

void ISFHeaderReader::readMenuDefault(const Json& entry, ISFInput& input)
{
    if (!input.defaultValue) {
        // A label, or nothing, which means the first choice.
        const auto found = std::ranges::find(input.labels, textAt(entry.value, "DEFAULT"));
        const auto index = found == input.labels.end() ? 0 : static_cast<std::size_t>(found - input.labels.begin());
        input.defaultValue = ISFInput::Numbers { input.values.empty() ? 0 : input.values[index], 0, 0, 1 };
    }
    (*input.defaultValue)[0] = std::round((*input.defaultValue)[0]);
}

bool ISFHeaderReader::readPasses(const Json& header, ISFDocument& document)
{
    const auto found = header.value.find("PASSES");
    if (found != header.value.end() && !found->is_null()) {
        if (!found->is_array())
            return fail("PASSES is no list");
        if (found->size() > mostPasses)
            return fail("there are more than 32 passes");
        for (const auto& entry : *found) {
            ISFPass pass;
            if (!entry.is_object())
                return fail("a pass is no object");
            if (!readPass({ entry }, pass))
                return false;
            document.passes.push_back(std::move(pass));
        }
    }
    if (document.passes.empty())
        document.passes.emplace_back();
    return true;
}

bool ISFHeaderReader::readPass(const Json& entry, ISFPass& pass)
{
    pass.target = textAt(entry.value, "TARGET");
    if (!pass.target.empty() && !isName(pass.target))
        return fail("\"" + pass.target.substr(0, longestName) + "\" is no name for a pass");
    pass.persistent = truthAt(entry.value, "PERSISTENT");
    pass.floatingPoint = truthAt(entry.value, "FLOAT");
    pass.unchanging = !pass.target.empty() && truthAt(entry.value, "UNCHANGING");
    pass.nearest = textAt(entry.value, "FILTER") == "NEAREST";
    return readSize(entry, "WIDTH", pass.width) && readSize(entry, "HEIGHT", pass.height);
}

bool ISFHeaderReader::readSize(const Json& entry, const char* key, ISFExpression& size)
{
    const auto found = entry.value.find(key);
    if (found == entry.value.end())
        return true;
    std::string text;
    if (found->is_string())
        text = found->get<std::string>();
    else if (found->is_number())
        text = found->dump();
    if (text.empty())
        return true;
    std::string message;
    auto parsed = ISFExpression::parse(text, &message);
    if (!parsed)
        return fail(std::string(key) + " of a pass: " + message);
    size = std::move(*parsed);
    return true;
}

bool ISFHeaderReader::readPersistentBuffers(const Json& header, ISFDocument& document)
{
    const auto found = header.value.find("PERSISTENT_BUFFERS");
    if (found == header.value.end())
        return true;
    const auto mark = [&](const std::string& name, const json* sizes) {
        if (!document.target(name) && !document.input(name)) {
            if (!isName(name))
                return fail("\"" + name.substr(0, longestName) + "\" is no name for a buffer");
            document.unwritten.push_back(name);
        }
        for (auto& pass : document.passes) {
            if (pass.target != name)
                continue;
            pass.persistent = true;
            if (!sizes || !sizes->is_object())
                continue;
            pass.floatingPoint = pass.floatingPoint || truthAt(*sizes, "FLOAT");
            if (!readSize({ *sizes }, "WIDTH", pass.width) || !readSize({ *sizes }, "HEIGHT", pass.height))
                return false;
        }
        return true;
    };
    if (found->is_array()) {
        for (const auto& name : *found) {
            if (name.is_string() && !mark(name.get<std::string>(), nullptr))
                return false;
            if (name.is_object() && !mark(textAt(name, "NAME"), &name))
                return false;
        }
    } else if (found->is_object()) {
        for (const auto& [name, sizes] : found->items()) {
            if (!mark(name, &sizes))
                return false;
        }
    }
    return true;
}

bool ISFHeaderReader::readImports(const Json& header, ISFDocument& document)
{
    const auto found = header.value.find("IMPORTED");
    if (found == header.value.end() || found->is_null())
        return true;
    if (!found->is_array() && !found->is_object())
        return fail("IMPORTED is no list");
    if (found->size() > mostImports)
        return fail("there are more than 16 imported pictures");
    // Version 2 lists objects with a name, version 1 has the names as keys.
    for (const auto& [key, entry] : found->items()) {
        ISFImport import;
        import.name = found->is_object() ? key : entry.is_object() ? textAt(entry, "NAME") : std::string();
        if (!readImport({ entry }, import))
            return false;
        document.imports.push_back(std::move(import));
    }
    return true;
}

bool ISFHeaderReader::readImport(const Json& entry, ISFImport& import)
{
    if (!isName(import.name))
        return fail("\"" + import.name.substr(0, longestName) + "\" is no name for an imported picture");
    if (entry.value.is_string()) {
        import.paths.push_back(textOf(entry.value));
    } else if (entry.value.is_object()) {
        import.isCube = inLowerCase(textAt(entry.value, "TYPE")) == "cube";
        const auto path = entry.value.find("PATH");
        if (path != entry.value.end() && path->is_array()) {
            for (std::size_t i = 0; i < std::min<std::size_t>(path->size(), 6); ++i)
                import.paths.push_back(textOf((*path)[i]));
        } else if (path != entry.value.end()) {
            import.paths.push_back(textOf(*path));
        }
    }
    if (import.paths.empty() || (import.isCube && import.paths.size() != 6))
        return fail("the imported picture " + import.name + " has no " + (import.isCube ? "six paths" : "path"));
    return true;
}

bool ISFHeaderReader::checkNames(const ISFDocument& document)
{
    std::set<std::string, std::less<>> names;
    for (const auto& input : document.inputs) {
        if (!names.insert(input.name).second)
            return fail("two inputs have the name " + input.name);
    }
    for (const auto& pass : document.passes) {
        if (!pass.target.empty() && document.input(pass.target))
            return fail("an input and a pass have the name " + pass.target);
    }
    for (const auto& name : document.unwritten)
        names.insert(name);
    for (const auto& import : document.imports) {
        if (document.target(import.name) || !names.insert(import.name).second)
            return fail("two pictures have the name " + import.name);
    }
    if (document.pictures().size() > mostPictures)
        return fail("there are more than 16 pictures");
    return true;
}

}
