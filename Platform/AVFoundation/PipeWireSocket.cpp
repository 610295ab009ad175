#include "Platform/AVFoundation/PipeWireSocket.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>

namespace {

std::string variable(const char* name)
{
    const char* const value = std::getenv(name);
    return value ? value : "";
}

std::string socketPath()
{
    auto name = variable("PIPEWIRE_REMOTE");
    if (name.empty())
        name = "pipewire-0";
    if (name.starts_with('/'))
        return name;
    for (const char* const folder : { "PIPEWIRE_RUNTIME_DIR", "XDG_RUNTIME_DIR" })
        if (const auto path = variable(folder); !path.empty())
            return path + "/" + name;
    return "";
}

}

UniqueFD connectToPipeWire()
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    const auto path = socketPath();
    if (path.empty() || path.size() >= sizeof address.sun_path)
        return {};
    std::memcpy(static_cast<char*>(address.sun_path), path.c_str(), path.size() + 1);
    UniqueFD result(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!result || ::connect(result.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return {};
    return result;
}
