#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientObject.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreMedia/CMTime.h"
#include "tests/CameraExtension/ExtensionProcess.h"
#include "tests/ZVFoundationCMIO/ZVCMIOCameraDeviceClient/LoggedLines.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/CMIOObjectProperty.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceList.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceClient/ZVCMIOClientDeviceStream.h"
#include "ZVFoundationCMIO/ZVFoundationCMIOExtension/ZVCMIOCameraDeviceShared/ZVCMIOCameraDeviceConstants.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iomanip>
#include <sstream>

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

TEST(ZVCMIOClientObject, AShortDescriptionHasThePrefixAndShowsTheObject)
{
    const AutoreleasePool pool;
    const auto object = make<ZVCMIOClientObject>();
    object->initWithObjectID(0x12345);
    const std::string tree = "objectID:12345 classID:'" + std::string(4, '\0') + "' has 00 children:";
    EXPECT_EQ(loggedLines([&] { EXPECT_EQ(object->describeCMIOObject(false)->string(), tree); }),
        "CMIOObject 74565 is not there\n");
    loggedLines([&] {
        EXPECT_EQ(object->describeCMIOObject(true)->string(), "ZVCMIOClientObject propertyClassName:?\r" + tree);
    });
}

TEST(ZVCMIOClientObject, FailedReadsAreReportedAndGiveNothing)
{
    const AutoreleasePool pool;
    const auto object = make<ZVCMIOClientObject>();
    object->initWithObjectID(kCMIOObjectSystemObject);
    EXPECT_EQ(object->propertyDataSizeWithSelector(kCMIOObjectPropertyClass), 4U);
    EXPECT_EQ(object->propertyDataSizeWithSelector(0x6E6F7065), 0U);
    EXPECT_FALSE(object->propertyIsSettable(kCMIOObjectPropertyClass));
    EXPECT_TRUE(object->propertyIsSettable(kCMIOHardwarePropertyAllowScreenCaptureDevices));
    // A property of another size than the scalar.
    const auto scalar
        = loggedLines([&] { EXPECT_EQ(object->propertyUInt32WithSelector(kCMIOObjectPropertyName), 0U); });
    EXPECT_NE(scalar.find("SRC>>propertyDataSize==sizeof(UInt32)"), std::string::npos) << scalar;
    const auto real = loggedLines([&] { object->propertyFloat64WithSelector(kCMIOObjectPropertyClass); });
    EXPECT_NE(real.find("SRC>>propertyDataSize==sizeof(Float64)"), std::string::npos) << real;
    const auto truth = loggedLines([&] { object->propertyBooleanWithSelector(kCMIOObjectPropertyClass); });
    EXPECT_NE(truth.find("SRC>>propertyDataSize==sizeof(Boolean)"), std::string::npos) << truth;
    {
        const FailPoint::Scope size("CMIOObjectGetPropertyDataSize", kCMIOHardwareUnspecifiedError);
        const auto one
            = loggedLines([&] { EXPECT_EQ(object->propertyDataSizeWithSelector(kCMIOObjectPropertyClass), 0U); });
        EXPECT_NE(one.find("SRC>>CMIOObjectGetPropertyDataSize(self.object, &opa, 0, ((void*)0), &propertyDataSize)"),
            std::string::npos)
            << one;
        const auto list = loggedLines([&] { EXPECT_EQ(object->ownedChildren()->count(), 0U); });
        EXPECT_NE(list.find("SRC>>CMIOObjectGetPropertyDataSize(self.object, propertyAddress, 0, ((void*)0), "
                            "&propertyDataSize)"),
            std::string::npos)
            << list;
    }
    const FailPoint::Scope data("CMIOObjectGetPropertyData", kCMIOHardwareUnspecifiedError);
    const CMIOObjectPropertyAddress opa { kCMIOObjectPropertyClass, kCMIOObjectPropertyScopeGlobal, 0 };
    const auto lines = loggedLines([&] { EXPECT_EQ(object->propertyUInt32ArrayWithAddress(&opa)->count(), 0U); });
    EXPECT_NE(lines.find("SRC>>CMIOObjectGetPropertyData(self.object, propertyAddress, 0, ((void*)0), "
                         "propertyDataSize, &propertyDataSize, propertyArrayData)"),
        std::string::npos)
        << lines;
}

TEST(ZVCMIOClientDevice, AnObjectOfAnotherClassStopsAfterItsFirstLine)
{
    const AutoreleasePool pool;
    const auto device = make<ZVCMIOClientDevice>();
    device->initWithObjectID(kCMIOObjectSystemObject);
    std::string text;
    EXPECT_EQ(loggedLines([&] { text = device->_describeCMIOObject_useShortDescription(1, false)->string(); }),
        "REQUIREMENT - SRC>>classID == kCMIODeviceClassID in ZVCMIOClientDevice.cpp:# "
        "(_describeCMIOObject_useShortDescription)\n");
    EXPECT_EQ(
        text, "    object ID:1 class:? (1634957683) \"System\"\r        objectID:0001 classID:'asys' has 00 children:");
}

TEST(ZVCMIOClientDeviceStream, WithoutAFormatReportsEachStepAndOmitsTheLine)
{
    const AutoreleasePool pool;
    const auto stream = make<ZVCMIOClientDeviceStream>();
    stream->initWithObjectID(kCMIOObjectSystemObject);
    const auto lines = loggedLines([&] { EXPECT_EQ(stream->copyStreamPropertyFormatDescriptions(), nullptr); });
    std::vector<std::string> names;
    const std::regex line("REQUIRED_CFTYPEOF (\\w+)==NULL");
    for (std::sregex_iterator match(lines.begin(), lines.end(), line), end; match != end; ++match)
        names.push_back((*match)[1]);
    EXPECT_EQ(names,
        (std::vector<std::string> { "property", "streamDescriptions", "unretainedDescription", "streamDescriptions" }))
        << lines;
    const auto other = loggedLines([&] {
        EXPECT_EQ(stream->_describeCMIOObject_useShortDescription(0, false)->string(),
            "object ID:1 class:? (1634957683) \"System\"\robjectID:0001 classID:'asys' has 00 children:");
    });
    EXPECT_EQ(other,
        "REQUIREMENT - SRC>>classID == kCMIOStreamClassID in ZVCMIOClientDeviceStream.cpp:# "
        "(_describeCMIOObject_useShortDescription)\n");
}

TEST(ZVCMIOClientDeviceList, MakingDevicesVisibleWritesOneAndReportsARefusal)
{
    const std::uint32_t hidden = 0;
    ASSERT_TRUE(CMIOObjectSetPropertyGlobalMaster(
        kCMIOObjectSystemObject, kCMIOHardwarePropertyAllowScreenCaptureDevices, sizeof hidden, &hidden));
    EXPECT_EQ(loggedLines([] { ZVCMIOClientDeviceList::makeAllDevicesVisible(); }), "");
    EXPECT_EQ(ZVCMIOClientObject::object_propertyUInt32WithSelector(
                  kCMIOObjectSystemObject, kCMIOHardwarePropertyAllowScreenCaptureDevices),
        1U);
    const FailPoint::Scope refused("CMIOObjectSetPropertyData", kCMIOHardwareUnspecifiedError);
    const auto lines = loggedLines([] { ZVCMIOClientDeviceList::makeAllDevicesVisible(); });
    EXPECT_NE(lines.find("SRC>>CMIOObjectSetPropertyData(kCMIOObjectSystemObject, &opa, kZeroValue, ((void*)0), "
                         "kAllowDataSizeOf, &kAllow)"),
        std::string::npos)
        << lines;
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

/// A stream of the camera as its tree tells it, one level down.
std::string streamText(CMIOStreamID stream, const std::string& name, const std::string& direction)
{
    std::ostringstream number;
    number << std::hex << std::setw(4) << std::setfill('0') << stream;
    const std::string indent = "\r    ";
    return "    object ID:" + std::to_string(stream) + " class:kCMIOStreamClassID ("
        + std::to_string(kCMIOStreamClassID) + ") \"" + name + '"' + indent + "Stream is " + direction + indent
        + "ZVCMIOClientDeviceStream::streamDescriptions=1" + indent + "Stream has clock "
        + CMClockGetHostTimeClock()->description() + indent + "Stream terminal type 0x0" + indent
        + "Stream starting channel 1" + indent + "Stream frame rate 30.000000" + indent + "    objectID:" + number.str()
        + " classID:'astr' has 00 children:\r";
}

TEST_F(ZVCMIOClientDeviceWithExtension, DescribesTheWholeTreeFromTheBottomUp)
{
    auto* const device = camera();
    ASSERT_NE(device, nullptr);
    const auto source = device->inputStreamIDWithIndex(0);
    const auto sink = NSKeyValueCoding::unbox<CMIOStreamID>(device->propertyOutputStreams()->objectAtIndex(0));
    std::ostringstream number;
    number << std::hex << std::setw(4) << std::setfill('0') << device->object();
    const auto children = "objectID:" + number.str() + " classID:'adev' has 02 children:";
    std::string text;
    EXPECT_EQ(loggedLines([&] { text = device->describeCMIOObject(false)->string(); }), "");
    EXPECT_EQ(text,
        "object ID:" + std::to_string(device->object())
            + " class:kCMIODeviceClassID (1633969526) \"Tovrin Camera\"\rDevice transport type 0x76697274\r"
              "Device can't process AVC commands\rDevice can't process RS422 commands\r"
              "Device has no kCMIODevicePropertyCanProcessRS422Command property\r"
              "Device hasn't mysterious 'dord' property\rDevice has 1 input stream:\rDevice has 1 output stream:\r"
            + streamText(source, "Tovrin Camera Source", "input") + streamText(sink, "Tovrin Camera Sink", "output")
            + children);
    EXPECT_EQ(device->description(), text);
    // The short text has neither a device's lines nor the prefix of other objects.
    const auto shortText = device->describeCMIOObject(true)->string();
    EXPECT_EQ(shortText.find("        objectID:"), 0U) << shortText;
    EXPECT_TRUE(shortText.ends_with('\r' + children)) << shortText;
    EXPECT_EQ(std::ranges::count(shortText, '\r'), 2);
}

TEST_F(ZVCMIOClientDeviceWithExtension, NoStreamsAreSeveral)
{
    auto* const device = camera();
    ASSERT_NE(device, nullptr);
    std::string text;
    {
        const FailPoint::Scope unreadable("CMIOObjectGetPropertyDataSize", kCMIOHardwareUnspecifiedError);
        loggedLines([&] { text = device->describeCMIOObject(false)->string(); });
    }
    EXPECT_NE(text.find("\rDevice has 0 input streams:\rDevice has 0 output streams:\robjectID:"), std::string::npos)
        << text;
}

TEST_F(ZVCMIOClientDeviceWithExtension, AStreamThatDoesNotStartOrStopIsReported)
{
    auto* const device = camera();
    ASSERT_NE(device, nullptr);
    const auto sink = NSKeyValueCoding::unbox<CMIOStreamID>(device->propertyOutputStreams()->objectAtIndex(0));
    EXPECT_TRUE(device->startStreamWithID(sink));
    EXPECT_TRUE(device->stopStreamWithID(sink));
    const auto started = loggedLines([&] { EXPECT_FALSE(device->startStreamWithID(4711)); });
    EXPECT_NE(started.find("SRC>>CMIODeviceStartStream(self.object, streamID)"), std::string::npos) << started;
    const auto stopped = loggedLines([&] { EXPECT_FALSE(device->stopStreamWithID(4711)); });
    EXPECT_NE(stopped.find("SRC>>CMIODeviceStopStream(self.object, streamID)"), std::string::npos) << stopped;
}

TEST_F(ZVCMIOClientDeviceWithExtension, AStringThatIsNoneIsReportedAndGivenAllTheSame)
{
    auto* const device = camera();
    ASSERT_NE(device, nullptr);
    Ref<CFType> value;
    const auto lines = loggedLines([&] {
        value
            = CMIOObjectGetCFStringRefPropertyGlobalMaster(device->inputStreamIDWithIndex(0), kCMIOStreamPropertyClock);
    });
    EXPECT_EQ(value, CMClockGetHostTimeClock());
    EXPECT_EQ(lines.find("REQUIRED_CFTYPEOF "), 0U) << lines;
    EXPECT_NE(lines.find("propertyValue"), std::string::npos) << lines;
    EXPECT_EQ(std::string(textOf(kindOf<CFString>(CMIODeviceGetDeviceUID(device->object())))),
        CMIOOutputViewController_CMIOExtension_DeviceUUID->string())
        << "hyphens stay";
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
