#include "Platform/Foundation/NSError.h"

#include <system_error>

NS_IMPLEMENTATION(NSError, NSObject)
{
    type.message("domain", &NSError::domain);
    type.message("code", &NSError::code);
    type.message("userInfo", &NSError::userInfo);
    type.message("localizedDescription", &NSError::localizedDescription);
    type.key("domain", &NSError::domain);
    type.key("code", &NSError::code);
    type.key("userInfo", &NSError::userInfo);
    type.key("localizedDescription", &NSError::localizedDescription);
}

NSError::NSError(CFString* domain, CFIndex code, CFDictionary* userInfo)
    : mDomain(domain)
    , mCode(code)
    , mUserInfo(userInfo)
{
}

Ref<NSError> NSError::errorWithDomain_code_userInfo(CFString* domain, CFIndex code, CFDictionary* userInfo)
{
    return make<NSError>(domain, code, userInfo);
}

Ref<NSError> NSError::errorWithMessage(CFString* domain, CFIndex code, std::string_view message)
{
    const auto text = CFString::create(message);
    const auto userInfo = CFDictionary::create({ { NSLocalizedDescriptionKey, text } });
    return make<NSError>(domain, code, userInfo);
}

Ref<NSError> NSError::errorWithErrno(int number, std::string_view action)
{
    const auto message = std::string(action) + ": " + std::generic_category().message(number);
    return errorWithMessage(NSPOSIXErrorDomain, number, message);
}

CFString* NSError::localizedDescription() const
{
    if (mUserInfo) {
        if (auto* const text = mUserInfo->get<CFString>(NSLocalizedDescriptionKey))
            return text;
    }
    return autorelease(CFString::create("The operation could not be completed. (" + std::string(textOf(mDomain))
        + " error " + std::to_string(mCode) + ".)"));
}

bool NSError::isEqual(CFType* other)
{
    const auto* const error = dynamic_cast<NSError*>(other);
    return error && error->mCode == mCode && textOf(error->mDomain) == textOf(mDomain);
}

std::string NSError::description()
{
    const AutoreleasePool pool;
    return "Error Domain=" + std::string(textOf(mDomain)) + " Code=" + std::to_string(mCode) + " \""
        + localizedDescription()->string() + "\"";
}
