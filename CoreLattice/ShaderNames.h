#pragma once

#include "CoreLattice/ShaderText.h"

namespace CoreLattice {

/// The name under which the shader's language, in the version that we translate to, takes \p name: words that it has
/// reserved since get a prefix.
std::string languageName(const std::string& name);

/// Gives names that mean something else in the version that we translate to other ones: words that it has reserved
/// since; functions that read pictures, which count rows from the other end; and what the format's first version and
/// old shaders call corners and places. Functions that the shader defines itself keep their names.
void renameForLanguage(std::vector<ShaderToken>& tokens);

/// The driver's words with the names that the file's author wrote.
std::string withAuthorsNames(std::string message);

}
