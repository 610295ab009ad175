#pragma once

#include "Platform/CoreFoundation/CFCollections.h"
#include "Platform/dispatch/dispatch.h"

#include <functional>

/// Tells that something changed in folders: files that were written, made, removed, renamed or replaced, at any depth.
/// The type shows only that it is a counted object; its last reference stops it.
class FSEventStream : public CFType {
protected:
    FSEventStream() = default;
};
using FSEventStreamRef = FSEventStream*;

/// Runs on the stream's queue, which may still have one waiting when the stream is stopped.
using FSEventStreamCallback = std::function<void()>;

/// A stream that has not started.
///
/// Changes that follow one another within \p latency are told as one, when it has been quiet that long or, where it
/// never gets quiet, after four times that; a program that saves in several steps (writes beside the file and renames,
/// or removes the file and makes it anew) is heard of once. What is told may turn out to be no change, and a file that
/// is only read is none.
///
/// \param pathsToWatch  texts, absolute paths of folders. Those that do not exist are waited for, and found again after
///     they were renamed, removed or replaced, or a folder above them was. Links to folders are followed, as are links
///     to files.
/// \param latency  seconds
Ref<FSEventStream> FSEventStreamCreate(FSEventStreamCallback callback, CFArray* pathsToWatch, double latency);
/// To be called before the stream starts.
void FSEventStreamSetDispatchQueue(FSEventStreamRef stream, dispatch_queue_t queue);
/// Watches from now on: what changes after this returns is told.
/// \return false where the system gives no means to watch ("FSEventStreamStart"), for want of a queue, and when it has
///     started before. Folders beyond what the system lets a user watch are not watched; that is logged once.
bool FSEventStreamStart(FSEventStreamRef stream);
/// Ends it for good. Not to be called by the callback.
void FSEventStreamStop(FSEventStreamRef stream);
