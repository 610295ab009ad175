#include "CoreLattice/ISFHeaderReader.h"

#include <nlohmann/json.hpp>

#include <algorithm>
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
constexpr std::size_t longestName = 64;
constexpr std::size_t longestText = 4096;
constexpr int deepestNesting = 32;

/// Strangers' headers often end lists with a comma, which JSON does not allow; blanks it, keeping every offset. False
/// when brackets are nested deeper than any header needs.
bool blankTrailingCommas(std::string& text)
{
    bool inText = false;
    int depth = 0;
    std::size_t comma = std::string::npos;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inText) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inText = false;
            continue;
        }
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r')
            continue;
        if ((c == ']' || c == '}') && comma != std::string::npos)
            text[comma] = ' ';
        comma = c == ',' ? i : std::string::npos;
        inText = c == '"';
        if (c == '[' || c == '{') {
            if (++depth > deepestNesting)
                return false;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return true;
}

std::string textAt(const json& object, const char* key)
{
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string())
        return {};
    auto text = found->get<std::string>();
    if (text.size() > longestText)
        text.resize(longestText);
    return text;
}

/// Truth values are written as true, 1, 1.0 or "1" in real files.
bool truthAt(const json& object, const char* key)
{
    const auto found = object.find(key);
    if (found == object.end())
        return false;
    if (found->is_boolean())
        return found->get<bool>();
    if (found->is_number())
        return found->get<double>() != 0;
    return found->is_string() && (*found == "1" || *found == "true");
}

std::optional<double> numberOf(const json& value)
{
    if (value.is_boolean())
        return value.get<bool>() ? 1.0 : 0.0;
    if (!value.is_number())
        return std::nullopt;
    const auto number = value.get<double>();
    if (!std::isfinite(number))
        return std::nullopt;
    return std::clamp(number, -1e30, 1e30);
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
        && std::ranges::all_of(name, [](char c) {
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
    std::string text(mHeader);
    mLine = mFirstLine;
    if (!blankTrailingCommas(text))
        return fail("the header is nested too deeply");
    json root;
    try {
        root = json::parse(text, nullptr, true, true);
    } catch (const json::parse_error& problem) {
        const auto at = std::min<std::size_t>(problem.byte, text.size());
        mLine = mFirstLine
            + static_cast<int>(std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
        return fail(problem.what());
    } catch (const json::exception& problem) {
        return fail(problem.what());
    }
    if (!root.is_object())
        return fail("the header is no JSON object");
    const Json header { root };
    document.name = textAt(root, "LABEL");
    document.explanation = textAt(root, "DESCRIPTION");
    if (root.contains("IMPORTED") && !root["IMPORTED"].empty())
        return fail("imported pictures are not supported");
    return readInputs(header, document) && readPasses(header, document) && readPersistentBuffers(header, document)
        && checkNames(document);
}

bool ISFHeaderReader::readInputs(const Json& header, ISFDocument& document)
{
    const auto found = header.value.find("INPUTS");
    if (found == header.value.end())
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
        document.inputs.push_back(std::move(input));
    }
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
    input.nearest = textAt(entry.value, "FILTER") == "NEAREST";
    if (!readType(entry, input))
        return false;
    if (input.type == ISFInputType::Menu)
        return readMenu(entry, input);
    return true;
}

bool ISFHeaderReader::readType(const Json& entry, ISFInput& input)
{
    static constexpr std::pair<std::string_view, ISFInputType> types[]
        = { { "float", ISFInputType::Number }, { "bool", ISFInputType::Boolean }, { "long", ISFInputType::Menu },
              { "color", ISFInputType::Color }, { "point2D", ISFInputType::Point }, { "event", ISFInputType::Event },
              { "image", ISFInputType::Image }, { "audio", ISFInputType::Image }, { "audioFFT", ISFInputType::Image } };
    const auto text = textAt(entry.value, "TYPE");
    for (const auto& [name, type] : types) {
        if (name != text)
            continue;
        input.type = type;
        input.isSilent = text.starts_with("audio");
        return true;
    }
    return fail("input " + input.name + " has the unknown type \"" + text.substr(0, longestName) + "\"");
}

bool ISFHeaderReader::readMenu(const Json& entry, ISFInput& input)
{
    const auto values = entry.value.find("VALUES");
    const auto labels = entry.value.find("LABELS");
    if (values == entry.value.end() || !values->is_array()) {
        // A whole number without choices; its bounds stand for them when they are near each other.
        const auto bound = [](const auto& numbers, long otherwise) {
            return numbers ? std::lround(std::clamp((*numbers)[0], -1e9, 1e9)) : otherwise;
        };
        const long first = bound(input.minimum, 0);
        const long last = std::min(bound(input.maximum, first), first + static_cast<long>(mostMenuEntries) - 1);
        for (long value = first; value <= last; ++value) {
            input.values.push_back(static_cast<double>(value));
            input.labels.push_back(std::to_string(value));
        }
        return true;
    }
    if (values->size() > mostMenuEntries)
        return fail("input " + input.name + " has more than 256 values");
    for (std::size_t i = 0; i < values->size(); ++i) {
        const auto value = numberOf((*values)[i]);
        if (!value)
            return fail("input " + input.name + " has a value that is no number");
        const bool named
            = labels != entry.value.end() && labels->is_array() && i < labels->size() && (*labels)[i].is_string();
        input.values.push_back(std::round(*value));
        input.labels.push_back(named ? (*labels)[i].get<std::string>().substr(0, 256)
                                     : std::to_string(static_cast<long>(std::clamp(*value, -1e9, 1e9))));
    }
    return true;
}

bool ISFHeaderReader::readPasses(const Json& header, ISFDocument& document)
{
    const auto found = header.value.find("PASSES");
    if (found != header.value.end()) {
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
        }
    } else if (found->is_object()) {
        for (const auto& [name, sizes] : found->items()) {
            if (!mark(name, &sizes))
                return false;
        }
    }
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
    return true;
}

}
