#include "WithRequirements/RequiredStatusNames.h"

#include "Platform/Foundation/NSPathUtilities.h"
#include "WithRequirements/RequiredCoreFoundation.h"
#include "WithRequirements/RequiredCoreLog.h"
#include "WithRequirements/StatusNames.h"

#include <array>
#include <cstdio>

namespace {

using CodeText = std::array<char, 2048>;

CodeText codeText(const char* name, OSStatus status)
{
    CodeText text;
    if (name)
        std::snprintf(text.data(), text.size(), "%s (%d)", name, status);
    else
        std::snprintf(text.data(), text.size(), "statusValue=%d", status);
    return text;
}

/// The function stands in the file's place, as in all lines of status checks.
RequiredSourceSite statusSite(const char* function, const char* file, int line, const char* source)
{
    return { function, file, line, source };
}

}

void __CoreMediaOSStatusRequiredBody(
    OSStatus status, const char* function, const char* file, int line, const char* source)
{
    const auto text = codeText(StatusNames::coreMedia(status), status);
    const auto site = statusSite(function, file, line, source);
    __CFLogError(&site, CFSTR("REQUIRED_CMSTATUS %d:%s"), status, text.data());
    __OSStatusRequiredBody(status, function, file, line, source);
}

void __VideoToolboxRequiredBody(OSStatus status, const char* function, const char* file, int line, const char* source)
{
    const auto text = codeText(StatusNames::videoToolbox(status), status);
    const auto site = statusSite(function, file, line, source);
    __CFLogError(&site, CFSTR("REQUIRED_VTSTATUS %d:%s"), status, text.data());
    __OSStatusRequiredBody(status, function, file, line, source);
}

void __CoreMediaIOStatusRequiredBody(
    OSStatus status, const char* function, const char* file, int line, const char* source)
{
    const auto text = codeText(StatusNames::coreMediaIO(status), status);
    const auto site = statusSite(function, file, line, source);
    __CFLogError(&site, CFSTR("REQUIRED_CMIOSTATUS %d:%s"), status, text.data());
    __OSStatusRequiredBody(status, function, file, line, source);
}

void __CoreVideoRequiredBody(OSStatus status, const char* function, const char* file, int line, const char* source)
{
    const auto text = codeText(StatusNames::coreVideo(status), status);
    const auto site = statusSite(function, file, line, source);
    __CFLogError(&site, CFSTR("REQUIRED_CVRETURN FAILED: %s"), text.data());
}

void __CoreGraphicsCGErrorRequiredBody(
    OSStatus status, const char* function, const char* file, int line, const char* source)
{
    const auto text = codeText(StatusNames::coreGraphics(status), status);
    const auto site = statusSite(function, file, line, source);
    __CFLogError(&site, CFSTR("REQUIRED_CGERROR %d:%s"), status, text.data());
}

void __CGLErrorRequiredBody(OSStatus status, const char* function, const char* file, int line, const char* source)
{
    const auto text = codeText(StatusNames::cgl(status), status);
    const auto site = statusSite(function, file, line, source);
    __CFLogError(&site, CFSTR("REQUIRED_CGLERROR %d:%s"), status, text.data());
}

void __GLRequiredBody(std::int32_t error, const char* file, const char* function, int line)
{
    const RequiredSourceSite site { file, function, line, nullptr };
    __CFLogError(&site, CFSTR("REQUIRED_OPENGL: %s (%d)"), StatusNames::openGL(error), error);
}

void __CoreMediaCMTimeLogMessage(
    const char* path, const char* function, int line, const CMTime& time, const char* /*ignored*/, const char* label)
{
    const AutoreleasePool pool;
    const auto description = CMTimeCopyDescription(kCFAllocatorDefault, time);
    if (!isPresent(description.get()) || CFGetTypeID(description.get()) != CFStringGetTypeID())
        return;
    auto* const file = NSString::stringWithUTF8String(path);
    if (!isPresent(file) || CFGetTypeID(file) != CFStringGetTypeID())
        return;
    __CFLogPrintf(CFSTR("CMTime '%s' %s {%s:%d %s}\n"), description->string().c_str(), label,
        lastPathComponent(file)->string().c_str(), line, function);
}
