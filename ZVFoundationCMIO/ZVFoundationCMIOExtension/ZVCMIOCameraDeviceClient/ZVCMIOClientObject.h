#pragma once

#include "Platform/CoreMediaIO/CMIOHardware.h"
#include "Platform/Foundation/NSObject.h"

#include <functional>

/// Called with the index and the identifier of each element of a list.
using ZVCMIOClientObjectBlock = std::function<void(std::size_t index, CMIOObjectID objectID)>;

/// A camera object by its identifier: typed reads of its properties and a text of the tree below it.
///
/// Holds nothing but the identifier; every answer is read anew. May be used on any thread; a read may wait for the
/// extension.
class ZVCMIOClientObject : public NSObject {
    NS_OBJECT(ZVCMIOClientObject)
public:
    ZVCMIOClientObject() = default;
    ~ZVCMIOClientObject() override;

    static CFString* stringForOSType(OSType type);
    static CFString* stringForClassID(CMIOClassID classID);
    static bool object_propertyHasAddress(CMIOObjectID object, const CMIOObjectPropertyAddress* propertyAddress);
    static bool object_propertyHasSelector(CMIOObjectID object, CMIOObjectPropertySelector selector);
    static bool object_propertyDataWithSelector_propertyDataSize_propertyValue(
        CMIOObjectID object, CMIOObjectPropertySelector selector, std::uint32_t* propertyDataSize, void* propertyValue);
    static std::uint32_t object_propertyUInt32WithSelector(CMIOObjectID object, CMIOObjectPropertySelector selector);
    static double object_propertyFloat64WithSelector(CMIOObjectID object, CMIOObjectPropertySelector selector);
    static bool object_propertyBooleanWithSelector(CMIOObjectID object, CMIOObjectPropertySelector selector);
    static CFType* object_propertyCFTypeRefWithSelector(CMIOObjectID object, CMIOObjectPropertySelector selector);
    static CFString* objectPropertyName(CMIOObjectID object);
    static CMIOClassID objectClassID(CMIOObjectID object);
    static CFString* objectDescription(CMIOObjectID object);
    static ZVCMIOClientObject* objectWithObjectID(CMIOObjectID objectID);

    Ref<CFType> valueForUndefinedKey(std::string_view key) override;
    ZVCMIOClientObject* initWithObjectID(CMIOObjectID objectID);
    CMIOObjectID object() const noexcept { return _object; }
    CFString* indentStringDepth(std::size_t depth);
    bool propertyHasAddress(const CMIOObjectPropertyAddress* propertyAddress);
    bool propertyDataWithSelector_propertyDataSize_propertyValue(
        CMIOObjectPropertySelector selector, std::uint32_t* propertyDataSize, void* propertyValue);
    bool propertyHasSelector(CMIOObjectPropertySelector selector);
    std::uint32_t propertyDataSizeWithSelector(CMIOObjectPropertySelector selector);
    bool propertyIsSettable(CMIOObjectPropertySelector selector);
    std::uint32_t propertyUInt32WithSelector(CMIOObjectPropertySelector selector);
    double propertyFloat64WithSelector(CMIOObjectPropertySelector selector);
    bool propertyBooleanWithSelector(CMIOObjectPropertySelector selector);
    CFType* propertyCFTypeRefWithSelector(CMIOObjectPropertySelector selector);
    CFString* propertyCFStringRefWithSelector(CMIOObjectPropertySelector selector);
    CFArray* propertyCFArrayRefWithSelector(CMIOObjectPropertySelector selector);
    NSArray* propertyUInt32ArrayWithAddress(const CMIOObjectPropertyAddress* propertyAddress);
    CMIOClassID propertyClassID();
    NSString* propertyClassName();
    NSString* propertyName();
    NSArray* ownedChildren();
    std::size_t enumerateOwnedChildrenWithBlock(const ZVCMIOClientObjectBlock& block);
    virtual NSString* _describeCMIOObject_useShortDescription(std::size_t depth, bool useShortDescription);
    virtual NSString* describeCMIOObject(bool useShortDescription);
    std::string description() override;

protected:
    /// A wrapper of the class that fits the object: stream and device have their own, any other is a \p receiver.
    static ZVCMIOClientObject* wrapperWithObjectID(CMIOObjectID objectID, Class receiver);

private:
    CMIOObjectID _object = kCMIOObjectUnknown;
};
