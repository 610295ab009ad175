#pragma once

#include "Platform/CoreFoundation/CFType.h"

#include <mutex>

/// The recursive lock that belongs to \p object: the same one each time, and one for all null objects.
///
/// Locks are made on first use and kept until the process ends, so the objects are meant to be few and constant, such
/// as constant strings. The answer may be kept. From any thread.
std::recursive_mutex& objc_sync_lock(CFTypeRef object);

/// Locks for \p object; does nothing for null. A thread may enter more than once and leaves as often.
void objc_sync_enter(CFTypeRef object);
void objc_sync_exit(CFTypeRef object);
