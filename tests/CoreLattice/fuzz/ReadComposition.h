#pragma once

#include <string_view>

/// Does everything that the process does with a file of unknown origin before another process has tried it, and the
/// translation that this one does: reads the header, evaluates the formulas, translates the shaders of every pass.
/// What the file holds up to the first zero byte is the composition, what follows its vertex shader. Ends the program
/// when a rule of the reader is broken.
void readComposition(std::string_view file);
