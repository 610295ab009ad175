#include "Platform/CoreMediaIO/SurfaceAnnouncer.h"

#include <algorithm>

namespace CameraWire {

std::uint32_t SurfaceAnnouncer::announce(const Socket& socket, IOSurface& surface)
{
    // A new surface may lie where a dead one lay: the address alone does not tell.
    const auto known = std::ranges::find_if(mAnnounced, [&](const Announced& announced) {
        return announced.address == &surface && announced.surface.strongReference().get() == &surface;
    });
    if (known != mAnnounced.end()) {
        mAnnounced.splice(mAnnounced.end(), mAnnounced, known);
        return mAnnounced.back().number;
    }
    if (!forgetSurplus(socket))
        return 0;
    const DefineSurface definition { ++mLastNumber, static_cast<std::uint32_t>(surface.width()),
        static_cast<std::uint32_t>(surface.height()), surface.pixelFormat(),
        static_cast<std::uint32_t>(surface.bytesPerRow()) };
    if (!socket.send(encode(definition), surface.descriptor()))
        return 0;
    mAnnounced.push_back({ &surface, WeakRef<IOSurface>(&surface), definition.number });
    return definition.number;
}

bool SurfaceAnnouncer::forgetSurplus(const Socket& socket)
{
    for (auto announced = mAnnounced.begin(); announced != mAnnounced.end();) {
        const bool isOneTooMany = announced == mAnnounced.begin() && mAnnounced.size() >= kLargestCount;
        if (announced->surface.strongReference() && !isOneTooMany) {
            ++announced;
            continue;
        }
        if (!socket.send(encode(ForgetSurface { announced->number })))
            return false;
        announced = mAnnounced.erase(announced);
    }
    return true;
}

}
