#include "Platform/AVFoundation/HostDeviceChoice.h"

#include "Platform/AVFoundation/CaptureSource.h"

#include <gtest/gtest.h>

namespace {

using Library = HostDeviceChoice::Library;
using Names = std::vector<std::string>;

/// Candidates named after their devices, and what is shown of them.
class HostDeviceChoiceTest : public testing::Test {
protected:
    void came(const std::string& name, Library library, const std::string& path = "",
        AVMediaType mediaType = AVMediaTypeVideo, bool mayWait = true)
    {
        AVCaptureDevice::Properties properties;
        properties.uniqueID = choice.unusedIdentifier(name);
        properties.localizedName = name;
        properties.mediaType = mediaType;
        choice.came(&keys[name],
            { library, path,
                make<AVCaptureDevice>(
                    std::move(properties), [](CaptureSink&) { return std::unique_ptr<CaptureSource>(); }) },
            now, mayWait);
    }
    void microphoneCame(const std::string& name, Library library) { came(name, library, "", AVMediaTypeAudio); }
    void went(const std::string& name) { choice.went(&keys[name]); }
    /// "+name" and "-name" of what is to be told.
    Names told()
    {
        Names result;
        const auto changes = choice.changes(now);
        for (const auto& device : changes.came)
            result.push_back("+" + device->properties().localizedName);
        for (const auto& device : changes.went)
            result.push_back("-" + device->properties().localizedName);
        return result;
    }
    HostDeviceChoice choice;
    std::map<std::string, int> keys;
    std::int64_t now = 1'000'000'000;
};

}

TEST_F(HostDeviceChoiceTest, ACameraThatTwoLibrariesNameIsShownOnceAsPipeWires)
{
    came("v4l2", Library::V4L2, "/dev/video0", AVMediaTypeVideo, false);
    came("pipewire", Library::PipeWire, "/dev/video0", AVMediaTypeVideo, false);
    came("other", Library::V4L2, "/dev/video2", AVMediaTypeVideo, false);
    EXPECT_EQ(told(), (Names { "+pipewire", "+other" }));
    EXPECT_EQ(told(), Names {});
    EXPECT_EQ(choice.nextTime(), 0);
}

TEST_F(HostDeviceChoiceTest, WherePipeWireServesCamerasOneOfV4L2WaitsForIt)
{
    came("built in", Library::PipeWire, "/dev/video0");
    EXPECT_EQ(told(), Names { "+built in" });
    came("new, v4l2", Library::V4L2, "/dev/video2");
    EXPECT_EQ(told(), Names {});
    EXPECT_EQ(choice.nextTime(), now + HostDeviceChoice::patience);
    came("new, pipewire", Library::PipeWire, "/dev/video2");
    EXPECT_EQ(told(), Names { "+new, pipewire" });
    EXPECT_EQ(choice.nextTime(), 0);
    now += HostDeviceChoice::patience;
    EXPECT_EQ(told(), Names {});
    // PipeWire does not want this one.
    came("unserved", Library::V4L2, "/dev/video4");
    now += HostDeviceChoice::patience;
    EXPECT_EQ(told(), Names { "+unserved" });
    EXPECT_EQ(choice.nextTime(), 0);
}

TEST_F(HostDeviceChoiceTest, WhereNothingElseServesCamerasThoseOfV4L2AreThereAtOnce)
{
    came("v4l2", Library::V4L2, "/dev/video0");
    EXPECT_EQ(told(), Names { "+v4l2" });
    // PipeWire comes later, at the login's end.
    came("pipewire", Library::PipeWire, "/dev/video0");
    EXPECT_EQ(told(), (Names { "+pipewire", "-v4l2" }));
}

TEST_F(HostDeviceChoiceTest, ACameraPulledOutAndPluggedInAgainDoesNotFlashUpTwice)
{
    came("v4l2", Library::V4L2, "/dev/video0", AVMediaTypeVideo, false);
    came("pipewire", Library::PipeWire, "/dev/video0", AVMediaTypeVideo, false);
    EXPECT_EQ(told(), Names { "+pipewire" });
    went("pipewire");
    EXPECT_EQ(told(), Names { "-pipewire" });
    went("v4l2");
    EXPECT_EQ(told(), Names {});
    came("v4l2", Library::V4L2, "/dev/video0");
    now += 2 * HostDeviceChoice::patience;
    EXPECT_EQ(told(), Names {});
    came("pipewire", Library::PipeWire, "/dev/video0");
    EXPECT_EQ(told(), Names { "+pipewire" });
}

TEST_F(HostDeviceChoiceTest, WhatPipeWireHasServedIsNotReadPastItWhileItRestarts)
{
    came("v4l2", Library::V4L2, "/dev/video0");
    came("camera", Library::PipeWire, "/dev/video0");
    microphoneCame("microphone", Library::PipeWire);
    microphoneCame("alsa", Library::ALSA);
    EXPECT_EQ(told(), (Names { "+camera", "+microphone" }));
    choice.wentAll(Library::PipeWire);
    EXPECT_EQ(told(), (Names { "-camera", "-microphone" }));
    now += 2 * HostDeviceChoice::patience;
    EXPECT_EQ(told(), Names {});
}

TEST_F(HostDeviceChoiceTest, OneLibraryDoesTheSound)
{
    microphoneCame("alsa", Library::ALSA);
    EXPECT_EQ(told(), Names { "+alsa" });
    microphoneCame("pulse", Library::PulseAudio);
    EXPECT_EQ(told(), (Names { "+pulse", "-alsa" }));
    microphoneCame("pipewire", Library::PipeWire);
    EXPECT_EQ(told(), (Names { "+pipewire", "-pulse" }));
}

TEST_F(HostDeviceChoiceTest, ALibraryDoesTheSoundAlsoWhenItOffersOnlyLoudspeakers)
{
    choice.doesSound(Library::PipeWire);
    microphoneCame("alsa", Library::ALSA);
    microphoneCame("pulse", Library::PulseAudio);
    EXPECT_EQ(told(), Names {});
}

TEST_F(HostDeviceChoiceTest, WhatIsTakenBackBeforeItWasToldIsNotTold)
{
    came("camera", Library::PipeWire, "/dev/video0");
    went("camera");
    went("camera");
    EXPECT_EQ(told(), Names {});
}

TEST_F(HostDeviceChoiceTest, IdentifiersAreUniqueAndADeviceKeepsItsPlaceUnderANewKey)
{
    came("twin", Library::Other);
    EXPECT_EQ(choice.unusedIdentifier("twin"), "twin#2");
    int newKey = 0;
    choice.rename(&keys["twin"], &newKey);
    EXPECT_EQ(choice.device(&keys["twin"]), nullptr);
    ASSERT_NE(choice.device(&newKey), nullptr);
    EXPECT_EQ(told(), Names { "+twin" });
    choice.went(&newKey);
    EXPECT_EQ(told(), Names { "-twin" });
}
