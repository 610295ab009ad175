#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientObject.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "tests/CameraExtension/ExtensionProcess.h"
#include "tests/ZVFoundationCMIO/ZVCMIOCameraDeviceClient/LoggedLines.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceList.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceStream.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

#include <gtest/gtest.h>

namespace {

/// The camera's client looks into the runtime folder from its first use on, so that must be the tests' own from the
/// start.
[[maybe_unused]] const RuntimeFolder& runtimeFolder = RuntimeFolder::shared();

ZVCMIOClientDevice* camera()
{
    return ZVCMIOClientDeviceList::deviceList()->deviceWithUID(CMIOOutputViewController_CMIOExtension_DeviceUUID);
}

class WithExtension : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(eventually([] {
            const AutoreleasePool pool;
            return camera() != nullptr;
        }));
    }
    AutoreleasePool mPool;
    ExtensionProcess mExtension;
};

using ZVCMIOClientDeviceListWithExtension = WithExtension;
using ZVCMIOClientDeviceWithExtension = WithExtension;
using ZVCMIOClientDeviceStreamWithExtension = WithExtension;

}

TEST(ZVCMIOClientObject, TextsOfCodes)
{
    const AutoreleasePool pool;
    EXPECT_EQ(ZVCMIOClientObject::stringForOSType(kCMIODeviceClassID)->string(), "adev");
    EXPECT_EQ(ZVCMIOClientObject::stringForClassID(kCMIODeviceClassID)->string(), "OSType('adev')");
}

TEST(ZVCMIOClientObject, AnUnknownKeyHasATextAndRaisesNothing)
{
    EXPECT_EQ(make<ZVCMIOClientObject>()->valueForKey("foo")->description(), "[???=self.foo]");
}

TEST(ZVCMIOClientObject, AnAbsentScalarIsZero)
{
    EXPECT_EQ(ZVCMIOClientObject::object_propertyUInt32WithSelector(4711, kCMIOStreamPropertyTerminalType), 0U);
    EXPECT_EQ(ZVCMIOClientObject::object_propertyFloat64WithSelector(4711, kCMIOStreamPropertyFrameRate), 0.0);
    EXPECT_FALSE(ZVCMIOClientObject::object_propertyBooleanWithSelector(4711, kCMIODevicePropertyCanProcessAVCCommand));
}

TEST(ZVCMIOClientObject, AnObjectThatIsNotThereIsDescribedWithoutChildren)
{
    const AutoreleasePool pool;
    const auto object = make<ZVCMIOClientObject>();
    object->initWithObjectID(0x12345);
    EXPECT_EQ(object->propertyClassName()->string(), "?");
    const std::string zero(4, '\0');
    EXPECT_EQ(object->_describeCMIOObject_useShortDescription(1, true)->string(),
        "        objectID:12345 classID:'" + zero + "' has 00 children:");
}

TEST(ZVCMIOClientDeviceList, WithoutDevicesFindsNothingQuietly)
{
    const AutoreleasePool pool;
    const auto lines = loggedLines([] {
        auto* const list = ZVCMIOClientDeviceList::deviceList();
        if (list->deviceCount() == 0) {
            EXPECT_EQ(list->allDevices()->count(), 0U);
            EXPECT_EQ(list->deviceNames()->count(), 0U);
        }
        EXPECT_EQ(list->deviceWithUID(CFSTR("no such camera")), nullptr);
        EXPECT_EQ(list->deviceWithUID(nullptr), nullptr);
        EXPECT_EQ(list->deviceWithUID(kCFNull), nullptr);
    });
    EXPECT_EQ(lines, "");
}

TEST(ZVCMIOClientDeviceList, AnEmptyUIDIsReported)
{
    const AutoreleasePool pool;
    EXPECT_EQ(loggedLines([] { EXPECT_EQ(ZVCMIOClientDeviceList::deviceList()->deviceWithUID(CFSTR("")), nullptr); }),
        "REQUIREMENT - SRC>>deviceUID.length>0 in ZVCMIOClientDeviceList.cpp:# (deviceWithUID)\n");
}

TEST(ZVCMIOClientDeviceList, AFailedSizeEndsTheReadAndAChangedOneRepeatsIt)
{
    const AutoreleasePool pool;
    {
        const FailPoint::Scope armed("CMIOObjectGetPropertyDataSize", kCMIOHardwareUnspecifiedError);
        const auto lines = loggedLines([] { EXPECT_EQ(make<ZVCMIOClientDeviceList>()->deviceCount(), 0U); });
        EXPECT_EQ(FailPoint::passes("CMIOObjectGetPropertyDataSize"), 1U);
        EXPECT_NE(
            lines.find("SRC>>result = CMIOObjectGetPropertyDataSize(kCMIOObjectSystemObject, &opa, 0, ((void*)0), "
                       "&propertyDataSize)"),
            std::string::npos)
            << lines;
    }
    const FailPoint::Scope armed("CMIOObjectGetPropertyDataSize", kCMIOHardwareBadPropertySizeError, 0, 2);
    loggedLines([] { const auto list = make<ZVCMIOClientDeviceList>(); });
    EXPECT_GE(FailPoint::passes("CMIOObjectGetPropertyDataSize"), 3U);
}

TEST_F(ZVCMIOClientDeviceListWithExtension, FindsTheCameraByItsUIDWithOrWithoutHyphensButNotInAnotherCase)
{
    auto* const list = ZVCMIOClientDeviceList::deviceList();
    std::string uid = CMIOOutputViewController_CMIOExtension_DeviceUUID->string();
    EXPECT_NE(list->deviceWithUID(CFString::create(uid).get()), nullptr);
    std::erase(uid, '-');
    auto* const found = list->deviceWithUID(CFString::create(uid).get());
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->deviceUID()->string(), uid);
    for (auto& character : uid)
        character = static_cast<char>(std::tolower(character));
    EXPECT_EQ(list->deviceWithUID(CFString::create(uid).get()), nullptr);
}

TEST_F(ZVCMIOClientDeviceListWithExtension, TheListChangedBetweenSizeAndDataIsReadAgain)
{
    const auto count = ZVCMIOClientDeviceList::deviceList()->deviceCount();
    const FailPoint::Scope armed("CMIOObjectGetPropertyData", kCMIOHardwareBadPropertySizeError, 0, 2);
    EXPECT_EQ(make<ZVCMIOClientDeviceList>()->deviceCount(), count);
}

TEST_F(ZVCMIOClientDeviceListWithExtension, AFailedAllocationIsReported)
{
    const FailPoint::Scope armed("ZVCMIOClientDeviceList.malloc");
    const auto lines = loggedLines([] { EXPECT_EQ(make<ZVCMIOClientDeviceList>()->deviceCount(), 0U); });
    EXPECT_EQ(lines.find("REQUIRED_NOT_NULL 0x00000000==NULL : _deviceList = malloc(propertyDataSize) in "), 0U)
        << lines;
}

TEST_F(ZVCMIOClientDeviceWithExtension, HasOneStreamInEachDirection)
{
    auto* const device = camera();
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->deviceInputStreamCount(), 1U);
    EXPECT_EQ(device->deviceOutputStreamCount(), 1U);
    EXPECT_EQ(device->propertyClassName()->string(), "kCMIODeviceClassID");
    EXPECT_NE(device->inputStreamIDWithIndex(0), 0U);
}

TEST_F(ZVCMIOClientDeviceWithExtension, DescribesItselfLineByLine)
{
    auto* const device = camera();
    ASSERT_NE(device, nullptr);
    const auto text = device->describeCMIOObject(false)->string();
    EXPECT_EQ(text.find("object ID:" + std::to_string(device->object()) + " class:kCMIODeviceClassID (1633969526) \""
                  + device->propertyName()->string() + "\"\rDevice transport type 0x"),
        0U)
        << text;
    EXPECT_NE(text.find("\rDevice has 1 input stream:\rDevice has 1 output stream:\r"), std::string::npos) << text;
    // The children's texts stand before the line that announces them.
    EXPECT_TRUE(text.ends_with(" classID:'adev' has 02 children:")) << text;
    EXPECT_NE(text.find("    Stream is input\r"), std::string::npos) << text;
}

TEST_F(ZVCMIOClientDeviceWithExtension, AScopeWithoutStreamsIsReported)
{
    auto* const device = camera();
    ASSERT_NE(device, nullptr);
    const auto lines = loggedLines(
        [&] { EXPECT_EQ(device->enumerateStreams_withBlock(0x78787878, [](std::size_t, CMIOObjectID) {}), 0U); });
    EXPECT_EQ(lines,
        "REQUIREMENT - SRC>>[self propertyHasAddress:&opa] in ZVCMIOClientDevice.cpp:# (enumerateStreams_withBlock)\n");
}

TEST_F(ZVCMIOClientDeviceStreamWithExtension, AnswersTheSameForBothDirections)
{
    auto* const device = camera();
    ASSERT_NE(device, nullptr);
    const auto stream = [](CFArray* streams) {
        return kindOf<ZVCMIOClientDeviceStream>(
            ZVCMIOClientObject::objectWithObjectID(NSKeyValueCoding::unbox<CMIOStreamID>(streams->objectAtIndex(0))));
    };
    auto* const source = stream(device->propertyInputStreams());
    auto* const sink = stream(device->propertyOutputStreams());
    ASSERT_NE(source, nullptr);
    ASSERT_NE(sink, nullptr);
    EXPECT_TRUE(source->isInputStream());
    EXPECT_TRUE(source->isOutputStream());
    EXPECT_FALSE(sink->isInputStream());
    EXPECT_FALSE(sink->isOutputStream());
    EXPECT_EQ(source->copyStreamPropertyFormatDescriptions()->count(), 1U);
}
