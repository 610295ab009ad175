#pragma once

#include "Platform/CoreFoundation/CFCollections.h"

enum NSSearchPathDirectory : unsigned long {
    NSMoviesDirectory = 17,
    NSPicturesDirectory = 19,
};
enum NSSearchPathDomainMask : unsigned long {
    NSUserDomainMask = 1,
};

/// The user's folder of this kind, as freedesktop's user directories name it ("VIDEOS", "PICTURES"); made if the
/// account has none. \param expandTilde  whether the home folder is written out; here it always is \return paths, the
/// user's own first; empty for other folders and domains, and for an account without a home
Ref<CFArray> NSSearchPathForDirectoriesInDomains(
    NSSearchPathDirectory directory, NSSearchPathDomainMask domains, bool expandTilde);

/// What stands behind the last "/" of the path, those at its end not counted; "/" for nothing but those, null for null.
/// Kept by the innermost pool.
CFString* lastPathComponent(CFString* path);
/// The path with a dot and the extension behind it.
Ref<CFString> stringByAppendingPathExtension(CFString* path, CFString* extension);
/// The path with "~" at its beginning replaced by the user's home folder.
Ref<CFString> stringByExpandingTildeInPath(CFString* path);
