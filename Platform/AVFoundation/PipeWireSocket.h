#pragma once

#include "Platform/CoreMediaIO/UniqueFD.h"

/// A connection to the PipeWire that serves the user, found as every program finds it: the one named by
/// PIPEWIRE_REMOTE, else "pipewire-0", in the folder of PIPEWIRE_RUNTIME_DIR or XDG_RUNTIME_DIR. Any thread; does not
/// wait.
///
/// \return none when it does not run
UniqueFD connectToPipeWire();
