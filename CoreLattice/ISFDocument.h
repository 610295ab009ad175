#pragma once

#include "CoreLattice/CompositionError.h"
#include "CoreLattice/ISFExpression.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CoreLattice {

enum class ISFInputType { Number, Boolean, Menu, Color, Point, Event, Image };

/// One declared input. Numbers stand in the first element, points in the first two, colours in all four.
struct ISFInput {
    using Numbers = std::array<double, 4>;
    std::string name;
    std::string label;
    ISFInputType type = ISFInputType::Number;
    std::optional<Numbers> defaultValue;
    std::optional<Numbers> minimum;
    std::optional<Numbers> maximum;
    std::vector<double> values; ///< of a menu
    std::vector<std::string> labels; ///< of a menu, as many as values
    /// A picture that nobody sets from outside, such as a sound's; it is black.
    bool isSilent = false;
    /// A key of our own, `"FILTER": "NEAREST"`: reading between pixels gives the nearest one instead of a mixture,
    /// which costs the software driver less than half.
    bool nearest = false;
};

/// One rendering pass. Without a target its result is the picture.
struct ISFPass {
    std::string target;
    bool persistent = false;
    bool floatingPoint = false;
    bool nearest = false; ///< as for an input
    /// A key of our own, `"UNCHANGING": true`: the pass looks at nothing that comes with each picture, so it is
    /// rendered only when its size or an input other than a picture has changed.
    bool unchanging = false;
    ISFExpression width;
    ISFExpression height;
};

/// A parsed file in the Interactive Shader Format, version 2, with version 1's list of persistent buffers.
/// Format source: the public description of the format at isf.video. Unchanging; any thread may use it.
struct ISFDocument {
    std::string file; ///< the name that error messages give
    std::string name;
    std::string explanation;
    std::vector<ISFInput> inputs;
    std::vector<ISFPass> passes; ///< at least one
    std::string fragmentSource; ///< with the header blanked, so that lines keep their numbers
    std::string vertexSource; ///< empty for the usual one
    bool dependsOnTime = false; ///< the picture changes although no input does

    /// Reads a file. Hostile text is refused, never trusted: sizes, counts, names and nesting have limits.
    /// \param vertexSource  the text of the vertex shader file beside it; empty when there is none
    /// \return null, with the reason in \p error, for a file that cannot be used
    static std::shared_ptr<const ISFDocument> parse(
        std::string_view source, std::string_view vertexSource, std::string file, CompositionError* error);

    const ISFInput* input(std::string_view inputName) const;
    /// The names of all that can be read as a picture: the inputs that are pictures, then the targets.
    std::vector<std::string> pictures() const;
    /// The first pass with this target, or null.
    const ISFPass* target(std::string_view targetName) const;
};

}
