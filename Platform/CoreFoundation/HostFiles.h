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

/// Where the file lies that is read for \p path when it is none of ours: there, unless it was redirected.
std::string location(std::string_view path);

/// Has the file at \p other, or its absence, stand for the one at \p path until `restore`. For tests.
void redirect(std::string_view path, std::string other);
void restore();

}
