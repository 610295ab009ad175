#pragma once

#include "CoreLattice/CompositionError.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CoreLattice {

struct ISFDocument;

/// The texts of a composition and what they say.
struct ReadComposition {
    std::string fragment;
    std::string vertex;
    std::shared_ptr<const ISFDocument> document; ///< null with the reason in `error`
    CompositionError error;
};

/// What became of one file that the user wants to have as a composition.
struct ImportedComposition {
    std::filesystem::path file; ///< where it lies now; empty when it was refused
    std::optional<CompositionError> refusal; ///< why it was not copied
    std::shared_ptr<const ReadComposition> read; ///< what was copied, as a file there; null for what was there before
};

/// Copies compositions into the user's folder, with the vertex shader beside each and the pictures that its header
/// names. Nothing is ever overwritten: what has the name of another file gets a number behind its own, such as
/// "Rain 2.fs". A composition with pictures gets a folder of its own.
///
/// \param sources  files; or folders, all of whose compositions come into a folder of the same name
/// \param folder  the user's; made when it does not exist
/// \return one for each source that is a file and for each composition of a folder, in their order. What lies in
///     \p folder already, or is there with the same contents, is not copied again. Refused is what is no composition by
///     its name or contents, or larger than any may be, and what cannot be copied.
std::vector<ImportedComposition> importCompositions(
    const std::vector<std::filesystem::path>& sources, const std::filesystem::path& folder);

}
