#pragma once

#include "Platform/CoreFoundation/CFType.h"

/// Gives \p reference one retain that the innermost autorelease pool takes back, and returns it; null for null.
///
/// The platform's function for it is looked up by name on first use. Where it is missing, which is logged once, the
/// fallback keeps one reference more than it gives back.
CFTypeRef __CFTypeRefPropertySafeRetainAndAutorelease(CFTypeRef reference);
