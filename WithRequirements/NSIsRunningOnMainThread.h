#pragma once

/// Whether the label of the current dispatch queue is that of the main queue: the same pointer, not the same text.
bool __NSIsRunningOnMainQueue();

/// Whether the caller runs on the main thread, on the main operation queue or on the main dispatch queue. Asks all
/// three every time.
bool __NSIsRunningOnMainThread();
