#pragma once

/// Runs what was given to `DispatchMain::whenThreadsStop`, once.
void dispatchRunThreadStops();
