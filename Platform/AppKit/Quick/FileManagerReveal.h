#pragma once

#include <string>
#include <vector>

/// Shows the files, selected, in the desktop's file manager, over its interface `org.freedesktop.FileManager1`; where
/// nobody answers there, opens the folder of the first file by its default program. Returns at once. Main thread.
void revealInFileManager(const std::vector<std::string>& paths);
