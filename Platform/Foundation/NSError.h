#pragma once

#include "Platform/Foundation/NSObject.h"

using NSErrorDomain = CFString*;

inline CFString* const NSPOSIXErrorDomain = CFSTR("NSPOSIXErrorDomain");
inline CFString* const NSOSStatusErrorDomain = CFSTR("NSOSStatusErrorDomain");
inline CFString* const NSCocoaErrorDomain = CFSTR("NSCocoaErrorDomain");
/// The text that people read; without it the description is made of domain and code.
inline CFString* const NSLocalizedDescriptionKey = CFSTR("NSLocalizedDescription");
inline CFString* const NSUnderlyingErrorKey = CFSTR("NSUnderlyingError");

/// Why an operation failed: a domain, a number that has its meaning in that domain, and texts by key. Unchanging, so
/// any thread may read one.
class NSError : public NSObject {
    NS_OBJECT(NSError)
public:
    NSError(CFString* domain, CFIndex code, CFDictionary* userInfo = nullptr);
    static Ref<NSError> errorWithDomain_code_userInfo(CFString* domain, CFIndex code, CFDictionary* userInfo);
    /// An error whose localised description is \p message, the failing library's own words.
    static Ref<NSError> errorWithMessage(CFString* domain, CFIndex code, std::string_view message);
    /// An error of the POSIX domain: \p action, a colon and the system's words for \p number.
    static Ref<NSError> errorWithErrno(int number, std::string_view action);

    CFString* domain() const { return mDomain; }
    CFIndex code() const { return mCode; }
    /// Null when the error was made without one.
    CFDictionary* userInfo() const { return mUserInfo; }
    /// Kept by the innermost pool, never null.
    CFString* localizedDescription() const;

    bool isEqual(CFType* other) override;
    std::string description() override;

private:
    const Ref<CFString> mDomain;
    const CFIndex mCode;
    const Ref<CFDictionary> mUserInfo;
};

/// Gives \p error to a caller who asked for it.
inline void NSErrorReturn(Ref<NSError>* result, Ref<NSError> error)
{
    if (result)
        *result = std::move(error);
}
