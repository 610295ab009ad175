#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceStream.h"

#include "Platform/CoreMedia/CMFormatDescription.h"
#include "WithRequirements/Requirements.h"

NS_IMPLEMENTATION(ZVCMIOClientDeviceStream, ZVCMIOClientObject)
{
    type.key("isInputStream", &ZVCMIOClientDeviceStream::isInputStream);
    type.key("isOutputStream", &ZVCMIOClientDeviceStream::isOutputStream);
}

Ref<CFArray> ZVCMIOClientDeviceStream::copyStreamPropertyFormatDescriptions()
{
    Ref<CFArray> streamDescriptions(propertyCFArrayRefWithSelector(kCMIOStreamPropertyFormatDescriptions));
    if (!CFRequiredTypeOf(streamDescriptions, CFArrayGetTypeID(), "streamDescriptions")) {
        auto* const unretainedDescription = propertyCFTypeRefWithSelector(kCMIOStreamPropertyFormatDescription);
        if (CFRequiredTypeOf(unretainedDescription, CMFormatDescriptionGetTypeID(), "unretainedDescription"))
            streamDescriptions = CFArray::create({ unretainedDescription });
        CFRequiredTypeOf(streamDescriptions, CFArrayGetTypeID(), "streamDescriptions");
    }
    return streamDescriptions;
}

bool ZVCMIOClientDeviceStream::isInputStream()
{
    return propertyUInt32WithSelector(kCMIOStreamPropertyDirection) != 0;
}

bool ZVCMIOClientDeviceStream::isOutputStream()
{
    return propertyUInt32WithSelector(kCMIOStreamPropertyDirection) != 0;
}

std::string ZVCMIOClientDeviceStream::longDescription(CFString* indent)
{
    std::string text;
    const auto append = [&]<class... A>(const char* format, const A&... arguments) {
        text += CFStringCreateWithFormat(CFSTR(format), indent, arguments...)->string();
    };
    const auto classID = propertyClassID();
    append("%@object ID:%u class:%@ (%u) \"%@\"\r", object(), propertyClassName(), classID, propertyName());
    if (!CFRequiredIn(
            "_describeCMIOObject_useShortDescription", classID == kCMIOStreamClassID, "classID == kCMIOStreamClassID"))
        return text;
    append("%@Stream is %s\r", isInputStream() ? "input" : "output");
    if (const auto descriptions = copyStreamPropertyFormatDescriptions())
        append("%@ZVCMIOClientDeviceStream::streamDescriptions=%u\r", static_cast<unsigned>(descriptions->count()));
    append("%@Stream has clock %@\r", propertyCFTypeRefWithSelector(kCMIOStreamPropertyClock));
    append("%@Stream terminal type 0x%x\r", propertyUInt32WithSelector(kCMIOStreamPropertyTerminalType));
    append("%@Stream starting channel %u\r", propertyUInt32WithSelector(kCMIOStreamPropertyStartingChannel));
    append("%@Stream frame rate %f\r", propertyFloat64WithSelector(kCMIOStreamPropertyFrameRate));
    if (propertyHasSelector(kCMIOStreamPropertyEndOfData))
        append("%@Stream property %s settable for kCMIOStreamPropertyEndOfData\r",
            propertyIsSettable(kCMIOStreamPropertyEndOfData) ? "IS" : "isn't");
    if (propertyHasSelector(kCMIOStreamPropertyScheduledOutputNotificationProc))
        append("%@Stream property %s settable for kCMIOStreamPropertyScheduledOutputNotificationProc\r",
            propertyIsSettable(kCMIOStreamPropertyScheduledOutputNotificationProc) ? "IS" : "isn't");
    return text;
}

NSString* ZVCMIOClientDeviceStream::_describeCMIOObject_useShortDescription(std::size_t depth, bool useShortDescription)
{
    std::string text;
    if (!useShortDescription)
        text = longDescription(indentStringDepth(depth));
    text += textOf(ZVCMIOClientObject::_describeCMIOObject_useShortDescription(depth, useShortDescription));
    return autorelease(CFString::create(text));
}
