#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Files of the host that programs read by a fixed path and that this host does not have. Platform makes their
/// contents. All functions may be called from any thread.
namespace HostFiles {

/// The contents of the file at \p path, if it is one of ours. There is one: the system's version file, a property list
/// whose "ProductVersion" is the release of the running kernel.
std::optional<std::string> contents(std::string_view path);

/// Gives the file at \p path other contents, none for no file at all, until `restore`. For tests.
void replace(std::string_view path, std::optional<std::string> contents);
void restore();

}
