#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientObject.h"

#include "WithRequirements/FourCharCodeString.h"
#include "WithRequirements/Requirements.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/CMIOObjectProperty.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDevice.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceStream.h"

#include <vector>

NS_IMPLEMENTATION(ZVCMIOClientObject, NSObject)
{
    type.key("object", &ZVCMIOClientObject::object);
    type.key("propertyClassID", &ZVCMIOClientObject::propertyClassID);
    type.key("propertyClassName", &ZVCMIOClientObject::propertyClassName);
    type.key("propertyName", &ZVCMIOClientObject::propertyName);
    type.key("ownedChildren", &ZVCMIOClientObject::ownedChildren);
}

ZVCMIOClientObject::~ZVCMIOClientObject()
{
    _object = kCMIOObjectUnknown;
}

CFString* ZVCMIOClientObject::stringForOSType(OSType type)
{
    return NSSStringFromFourCharCode(type);
}

CFString* ZVCMIOClientObject::stringForClassID(CMIOClassID classID)
{
    return autorelease(CFStringCreateWithFormat(CFSTR("OSType('%@')"), stringForOSType(classID)));
}

bool ZVCMIOClientObject::object_propertyHasAddress(
    CMIOObjectID object, const CMIOObjectPropertyAddress* propertyAddress)
{
    return CMIOObjectHasProperty(object, propertyAddress);
}

bool ZVCMIOClientObject::object_propertyHasSelector(CMIOObjectID object, CMIOObjectPropertySelector selector)
{
    const auto opa = CMIOObjectPropertyGlobalMaster(selector);
    return object_propertyHasAddress(object, &opa);
}

bool ZVCMIOClientObject::object_propertyDataWithSelector_propertyDataSize_propertyValue(
    CMIOObjectID object, CMIOObjectPropertySelector selector, std::uint32_t* propertyDataSize, void* propertyValue)
{
    const auto opa = CMIOObjectPropertyGlobalMaster(selector);
    if (!CMIOObjectHasProperty(object, &opa))
        return false;
    return CoreMediaOSStatusRequired(
        CMIOObjectGetPropertyData(object, &opa, 0, nullptr, *propertyDataSize, propertyDataSize, propertyValue),
        "CMIOObjectGetPropertyData(object, &opa, 0, ((void*)0), *propertyDataSize, propertyDataSize, propertyValue)");
}

std::uint32_t ZVCMIOClientObject::object_propertyUInt32WithSelector(
    CMIOObjectID object, CMIOObjectPropertySelector selector)
{
    std::uint32_t propertyValue = 0;
    std::uint32_t propertyDataSize = sizeof propertyValue;
    object_propertyDataWithSelector_propertyDataSize_propertyValue(object, selector, &propertyDataSize, &propertyValue);
    CFRequired(propertyDataSize == sizeof propertyValue, "propertyDataSize==sizeof(UInt32)");
    return propertyValue;
}

double ZVCMIOClientObject::object_propertyFloat64WithSelector(CMIOObjectID object, CMIOObjectPropertySelector selector)
{
    double propertyValue = 0;
    std::uint32_t propertyDataSize = sizeof propertyValue;
    object_propertyDataWithSelector_propertyDataSize_propertyValue(object, selector, &propertyDataSize, &propertyValue);
    CFRequired(propertyDataSize == sizeof propertyValue, "propertyDataSize==sizeof(Float64)");
    return propertyValue;
}

bool ZVCMIOClientObject::object_propertyBooleanWithSelector(CMIOObjectID object, CMIOObjectPropertySelector selector)
{
    std::uint8_t propertyValue = 0;
    std::uint32_t propertyDataSize = sizeof propertyValue;
    object_propertyDataWithSelector_propertyDataSize_propertyValue(object, selector, &propertyDataSize, &propertyValue);
    CFRequired(propertyDataSize == sizeof propertyValue, "propertyDataSize==sizeof(Boolean)");
    return propertyValue != 0;
}

CFType* ZVCMIOClientObject::object_propertyCFTypeRefWithSelector(
    CMIOObjectID object, CMIOObjectPropertySelector selector)
{
    CFTypeRef propertyValue = nullptr;
    std::uint32_t propertyDataSize = sizeof propertyValue;
    object_propertyDataWithSelector_propertyDataSize_propertyValue(object, selector, &propertyDataSize, &propertyValue);
    return autorelease(Ref<CFType>::adopt(propertyValue));
}

CFString* ZVCMIOClientObject::objectPropertyName(CMIOObjectID object)
{
    auto* const name = object_propertyCFTypeRefWithSelector(object, kCMIOObjectPropertyName);
    CFRequiredTypeOf(name, CFStringGetTypeID(), "objectPropertyName");
    return kindOf<CFString>(name);
}

CMIOClassID ZVCMIOClientObject::objectClassID(CMIOObjectID object)
{
    return object_propertyUInt32WithSelector(object, kCMIOObjectPropertyClass);
}

CFString* ZVCMIOClientObject::objectDescription(CMIOObjectID object)
{
    return autorelease(
        CFStringCreateWithFormat(CFSTR("%@ %@"), stringForClassID(objectClassID(object)), objectPropertyName(object)));
}

ZVCMIOClientObject* ZVCMIOClientObject::objectWithObjectID(CMIOObjectID objectID)
{
    return wrapperWithObjectID(objectID, classObject());
}

ZVCMIOClientObject* ZVCMIOClientObject::wrapperWithObjectID(CMIOObjectID objectID, Class receiver)
{
    Class fitting = receiver;
    switch (objectClassID(objectID)) {
    case kCMIOStreamClassID:
        fitting = ZVCMIOClientDeviceStream::classObject();
        break;
    case kCMIODeviceClassID:
        fitting = ZVCMIOClientDevice::classObject();
        break;
    default:
        break;
    }
    auto* const wrapper = kindOf<ZVCMIOClientObject>(autorelease(fitting->createInstance()));
    return wrapper->initWithObjectID(objectID);
}

Ref<CFType> ZVCMIOClientObject::valueForUndefinedKey(std::string_view key)
{
    return CFStringCreateWithFormat(CFSTR("[???=self.%@]"), CFString::create(key));
}

ZVCMIOClientObject* ZVCMIOClientObject::initWithObjectID(CMIOObjectID objectID)
{
    _object = objectID;
    return this;
}

CFString* ZVCMIOClientObject::indentStringDepth(std::size_t depth)
{
    return autorelease(CFString::create(std::string(4 * depth, ' ')));
}

bool ZVCMIOClientObject::propertyHasAddress(const CMIOObjectPropertyAddress* propertyAddress)
{
    return CMIOObjectHasProperty(object(), propertyAddress);
}

bool ZVCMIOClientObject::propertyDataWithSelector_propertyDataSize_propertyValue(
    CMIOObjectPropertySelector selector, std::uint32_t* propertyDataSize, void* propertyValue)
{
    return object_propertyDataWithSelector_propertyDataSize_propertyValue(
        object(), selector, propertyDataSize, propertyValue);
}

bool ZVCMIOClientObject::propertyHasSelector(CMIOObjectPropertySelector selector)
{
    return object_propertyHasSelector(object(), selector);
}

std::uint32_t ZVCMIOClientObject::propertyDataSizeWithSelector(CMIOObjectPropertySelector selector)
{
    const auto opa = CMIOObjectPropertyGlobalMaster(selector);
    std::uint32_t propertyDataSize = 0;
    if (!CMIOObjectHasProperty(object(), &opa))
        return 0;
    if (!OSStatusRequired(CMIOObjectGetPropertyDataSize(object(), &opa, 0, nullptr, &propertyDataSize),
            "CMIOObjectGetPropertyDataSize(self.object, &opa, 0, ((void*)0), &propertyDataSize)"))
        return 0;
    return propertyDataSize;
}

bool ZVCMIOClientObject::propertyIsSettable(CMIOObjectPropertySelector selector)
{
    const auto opa = CMIOObjectPropertyGlobalMaster(selector);
    bool isSettable = false;
    CMIOObjectIsPropertySettable(object(), &opa, &isSettable);
    return isSettable;
}

std::uint32_t ZVCMIOClientObject::propertyUInt32WithSelector(CMIOObjectPropertySelector selector)
{
    return object_propertyUInt32WithSelector(object(), selector);
}

double ZVCMIOClientObject::propertyFloat64WithSelector(CMIOObjectPropertySelector selector)
{
    return object_propertyFloat64WithSelector(object(), selector);
}

bool ZVCMIOClientObject::propertyBooleanWithSelector(CMIOObjectPropertySelector selector)
{
    return object_propertyBooleanWithSelector(object(), selector);
}

CFType* ZVCMIOClientObject::propertyCFTypeRefWithSelector(CMIOObjectPropertySelector selector)
{
    return object_propertyCFTypeRefWithSelector(object(), selector);
}

CFString* ZVCMIOClientObject::propertyCFStringRefWithSelector(CMIOObjectPropertySelector selector)
{
    auto* const property = propertyCFTypeRefWithSelector(selector);
    CFRequiredTypeOf(property, CFStringGetTypeID(), "property");
    return kindOf<CFString>(property);
}

CFArray* ZVCMIOClientObject::propertyCFArrayRefWithSelector(CMIOObjectPropertySelector selector)
{
    auto* const property = propertyCFTypeRefWithSelector(selector);
    CFRequiredTypeOf(property, CFArrayGetTypeID(), "property");
    return kindOf<CFArray>(property);
}

NSArray* ZVCMIOClientObject::propertyUInt32ArrayWithAddress(const CMIOObjectPropertyAddress* propertyAddress)
{
    const auto numbers = CFArray::create();
    std::uint32_t propertyDataSize = 0;
    if (!OSStatusRequired(CMIOObjectGetPropertyDataSize(object(), propertyAddress, 0, nullptr, &propertyDataSize),
            "CMIOObjectGetPropertyDataSize(self.object, propertyAddress, 0, ((void*)0), &propertyDataSize)")
        || propertyDataSize == 0)
        return autorelease(numbers);
    std::vector<std::uint32_t> propertyArrayData(
        (propertyDataSize + sizeof(std::uint32_t) - 1) / sizeof(std::uint32_t));
    if (!OSStatusRequired(CMIOObjectGetPropertyData(object(), propertyAddress, 0, nullptr, propertyDataSize,
                              &propertyDataSize, propertyArrayData.data()),
            "CMIOObjectGetPropertyData(self.object, propertyAddress, 0, ((void*)0), propertyDataSize, "
            "&propertyDataSize, propertyArrayData)"))
        return autorelease(numbers);
    propertyArrayData.resize(propertyDataSize / sizeof(std::uint32_t));
    for (const auto word : propertyArrayData)
        numbers->append(CFNumber::create(word).get());
    return autorelease(numbers);
}

CMIOClassID ZVCMIOClientObject::propertyClassID()
{
    return objectClassID(object());
}

NSString* ZVCMIOClientObject::propertyClassName()
{
    switch (propertyClassID()) {
    case kCMIODeviceClassID:
        return CFSTR("kCMIODeviceClassID");
    case kCMIOPlugInClassID:
        return CFSTR("kCMIOPlugInClassID");
    case kCMIOStreamClassID:
        return CFSTR("kCMIOStreamClassID");
    case kCMIOGammaControlClassID:
        return CFSTR("kCMIOGammaControlClassID");
    case kCMIOSaturationControlClassID:
        return CFSTR("kCMIOSaturationControlClassID");
    case kCMIOSharpnessControlClassID:
        return CFSTR("kCMIOSharpnessControlClassID");
    case kCMIOExposureControlClassID:
        return CFSTR("kCMIOExposureControlClassID");
    default:
        return CFSTR("?");
    }
}

NSString* ZVCMIOClientObject::propertyName()
{
    return propertyCFStringRefWithSelector(kCMIOObjectPropertyName);
}

NSArray* ZVCMIOClientObject::ownedChildren()
{
    const auto opa = CMIOObjectPropertyGlobalMaster(kCMIOObjectPropertyOwnedObjects);
    return propertyUInt32ArrayWithAddress(&opa);
}

std::size_t ZVCMIOClientObject::enumerateOwnedChildrenWithBlock(const ZVCMIOClientObjectBlock& block)
{
    if (!propertyHasSelector(kCMIOObjectPropertyOwnedObjects))
        return 0;
    const auto children = ownedChildren()->values();
    for (std::size_t index = 0; index < children.size(); ++index)
        block(index, NSKeyValueCoding::unbox<CMIOObjectID>(children[index]));
    return children.size();
}

NSString* ZVCMIOClientObject::_describeCMIOObject_useShortDescription(std::size_t depth, bool useShortDescription)
{
    const auto& indent = indentStringDepth(depth)->string();
    std::string text = indent;
    // Children come before the line that announces them: the tree reads from the bottom up.
    const auto count = enumerateOwnedChildrenWithBlock([&](std::size_t, CMIOObjectID childID) {
        auto* const child = objectWithObjectID(childID);
        text += textOf(child->_describeCMIOObject_useShortDescription(depth + 1, useShortDescription));
        text += '\r';
    });
    const auto line = CFStringCreateWithFormat(CFSTR("%@objectID:%04x classID:'%@' has %02x children:"),
        CFString::create(indent), object(), stringForOSType(propertyClassID()), static_cast<unsigned>(count));
    return autorelease(CFString::create(text + line->string()));
}

NSString* ZVCMIOClientObject::describeCMIOObject(bool useShortDescription)
{
    std::string prefix;
    if (useShortDescription)
        prefix = CFStringCreateWithFormat(CFSTR("ZVCMIOClientObject propertyClassName:%@\r"), propertyClassName())
                     ->string();
    CMIOObjectShow(object());
    return autorelease(
        CFString::create(prefix.append(textOf(_describeCMIOObject_useShortDescription(0, useShortDescription)))));
}

std::string ZVCMIOClientObject::description()
{
    const AutoreleasePool pool;
    return std::string(textOf(describeCMIOObject(false)));
}
