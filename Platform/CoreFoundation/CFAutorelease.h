#pragma once

#include "Platform/CoreFoundation/CFType.h"

/// Hands one reference that the caller owns to the innermost pool, which releases it; returns \p object.
///
/// \param object  not null
CFTypeRef CFAutorelease(CFTypeRef object);

/// Takes a reference and hands it to the innermost pool; returns \p object, null for null.
CFTypeRef objc_retainAutorelease(CFTypeRef object);
