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

/// What a file is for, which its inputs tell: a filter takes `inputImage`, a transition `startImage`, `endImage` and
/// `progress`, a generator neither.
enum class ISFKind { Filter, Generator, Transition };

/// What of the microphone's sound an image input shows: its samples or how loud each pitch is.
enum class ISFSound { None, Samples, Spectrum };

/// One declared input. Numbers stand in the first element, points in the first two, colours in all four.
struct ISFInput {
    using Numbers = std::array<double, 4>;
    std::string name;
    std::string label;
    ISFInputType type = ISFInputType::Number;
    std::optional<Numbers> defaultValue;
    std::optional<Numbers> minimum;
    std::optional<Numbers> maximum;
    std::optional<Numbers> identity; ///< the value at which the input changes nothing
    std::vector<double> values; ///< of a menu
    std::vector<std::string> labels; ///< of a menu, as many as values
    /// A picture that nobody sets from outside, such as a sound's.
    bool isSilent = false;
    ISFSound sound = ISFSound::None;
    std::size_t mostSound = 0; ///< columns of a sound's picture at most; 0 for as many as there are
    /// A key of our own, `"UNIT": "s"`: what a number counts, as people read it behind the figure; empty for nothing.
    std::string unit;
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

/// A picture file that the composition brings with it.
struct ISFImport {
    std::string name;
    std::vector<std::string> paths; ///< relative to the composition's folder; six for a cube
    bool isCube = false;
};

/// A parsed file in the Interactive Shader Format, version 2 or 1.
/// Format source: the public description of the format at isf.video. Unchanging; any thread may use it.
struct ISFDocument {
    std::string file; ///< the name that error messages give
    std::string name;
    bool isNamedByFile = false; ///< the header has no name for it
    std::string explanation;
    std::string credit;
    std::string version; ///< of the composition, as its author counts
    std::vector<std::string> categories;
    /// The keyword "GPU" of the header: too dear for the processor alone, the author says.
    bool wantsGPU = false;
    ISFKind kind = ISFKind::Generator;
    std::vector<ISFInput> inputs;
    std::vector<ISFPass> passes; ///< at least one
    std::vector<ISFImport> imports;
    std::vector<std::string> unwritten; ///< buffers that no pass renders to; they stay black
    std::string fragmentSource; ///< with the header blanked, so that lines keep their numbers
    std::string vertexSource; ///< empty for the usual one
    bool dependsOnTime = false; ///< the picture changes although no input does

    static constexpr std::size_t longestSource = 1 << 20; ///< bytes of a file
    /// Why a text is no composition at all, whatever its header may say; nothing when it looks like one.
    static std::optional<std::string> whyNoComposition(std::string_view source);
    /// Reads a file. Hostile text is refused, never trusted: sizes, counts, names and nesting have limits.
    /// \param vertexSource  the text of the vertex shader file beside it; empty when there is none
    /// \return null, with the reason in \p error, for a file that cannot be used
    static std::shared_ptr<const ISFDocument> parse(
        std::string_view source, std::string_view vertexSource, std::string file, CompositionError* error);

    /// What the same text says in the file \p otherFile.
    std::shared_ptr<const ISFDocument> in(std::string otherFile) const;

    const ISFInput* input(std::string_view inputName) const;
    /// The names of all that can be read as a picture: the inputs that are pictures, then the targets, the buffers that
    /// no pass renders to, and the imported pictures but for cubes.
    std::vector<std::string> pictures() const;
    /// The first pass with this target, or null.
    const ISFPass* target(std::string_view targetName) const;
};

}
