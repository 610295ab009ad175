#pragma once

#include "Platform/CoreMediaIO/WireSocket.h"
#include "Platform/IOSurface/IOSurface.h"

#include <list>

namespace CameraWire {

/// Knows which surfaces the other side of a connection has mapped, and announces each of them once, with its
/// descriptor. Surfaces that died here, and those unused for longest when there are many, are forgotten there too.
///
/// One thread at a time.
class SurfaceAnnouncer {
public:
    /// Half of what the other side takes, so that none is refused.
    static constexpr std::size_t kLargestCount = kMaximumSurfaces / 2;

    /// The surface's number on this connection, announced if need be.
    /// \return 0 when the announcement could not be sent
    std::uint32_t announce(const Socket& socket, IOSurface& surface);

private:
    struct Announced {
        IOSurface* address;
        WeakRef<IOSurface> surface;
        std::uint32_t number;
    };
    bool forgetSurplus(const Socket& socket);

    /// Used last comes last.
    std::list<Announced> mAnnounced;
    std::uint32_t mLastNumber = 0;
};

}
