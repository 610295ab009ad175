#include "tests/CoreLattice/fuzz/ReadComposition.h"

#include "CoreLattice/ISFTranslator.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

using namespace CoreLattice;

namespace {

void require(bool condition, const char* rule)
{
    if (condition)
        return;
    std::fprintf(stderr, "broken: %s\n", rule);
    std::abort();
}

double sizeOf(const ISFExpression& formula)
{
    return formula.evaluate([](std::string_view name) -> std::optional<double> {
        return name == "WIDTH" ? std::optional(1280.0) : name == "HEIGHT" ? std::optional(720.0) : std::nullopt;
    });
}

/// As many line ends up to the code as the file has, so that faults are found where they are said to be.
std::ptrdiff_t lineEnds(std::string_view text)
{
    return std::ranges::count(text, '\n');
}

void checkDocument(const ISFDocument& document)
{
    require(!document.passes.empty(), "a composition has a pass");
    for (const auto& pass : document.passes) {
        require(std::isfinite(sizeOf(pass.width)) && std::isfinite(sizeOf(pass.height)), "a formula gives a number");
    }
    for (const auto& input : document.inputs) {
        require(!input.name.empty(), "an input has a name");
        require(input.values.size() == input.labels.size(), "a choice has a label");
        require(document.input(input.name) == &input, "no input hides another");
        for (const auto* const numbers : { &input.defaultValue, &input.minimum, &input.maximum }) {
            require(!*numbers || std::ranges::all_of(**numbers, [](double number) { return std::isfinite(number); }),
                "numbers are finite");
        }
    }
}

}

void readComposition(std::string_view file)
{
    const auto end = std::min(file.find('\0'), file.size());
    const auto vertex = file.substr(std::min(end + 1, file.size()));
    CompositionError error;
    const auto document = ISFDocument::parse(file.substr(0, end), vertex, "file.fs", &error);
    if (!document) {
        require(!error.message.empty(), "a refusal has a reason");
        require(error.line >= 0 && error.line <= lineEnds(file) + std::ranges::count(file, '\r') + 1,
            "a fault lies in the file");
        return;
    }
    checkDocument(*document);
    for (std::size_t pass = 0; pass < document->passes.size(); ++pass) {
        const auto shaders = translateShaders(*document, pass, &error);
        require(shaders || !error.message.empty(), "a refusal has a reason");
        // A quarter of the passes says as much as all of them, and takes less time.
        if (!shaders || pass >= 8)
            break;
    }
}
