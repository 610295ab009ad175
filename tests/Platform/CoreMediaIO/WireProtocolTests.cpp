#include "Platform/CoreMediaIO/WireProtocol.h"

#include <gmock/gmock.h>

#include <cstring>
#include <random>

using namespace CameraWire;

namespace {

std::span<const std::byte> bodyOf(const std::vector<std::byte>& message)
{
    return std::span(message).subspan(kHeaderLength);
}

Welcome richWelcome()
{
    Welcome welcome;
    welcome.bundleIdentifier = "org.example.camera";
    welcome.bundleVersion = "1.2";
    welcome.device = 7;
    const Format format { 0x42475241, 1280, 720 };
    welcome.objects
        = { { 7, 0x61646576,
                { { { 1, 2, 3 }, true, false, std::uint32_t { 5 } }, { { 2, 2, 3 }, false, true, 29.97 },
                    { { 3, 2, 3 }, false, false, true }, { { 4, 2, 3 }, true, true, std::string("sc=0") },
                    { { 5, 2, 3 }, false, false, ObjectList { { 8, 9 } } }, { { 6, 2, 3 }, false, false, format },
                    { { 7, 2, 3 }, false, false, FormatList { { format, format } } },
                    { { 8, 2, 3 }, false, false, std::monostate() } } },
              { 8, 0x61737472, {} } };
    return welcome;
}

/// Decodes a body as every kind of message there is; what matters is that nothing but an answer comes of it.
std::size_t decodeAsEverything(std::span<const std::byte> body)
{
    return decode<Hello>(body).has_value() + decode<Welcome>(body).has_value() + decode<GetProperty>(body).has_value()
        + decode<SetProperty>(body).has_value() + decode<StreamRequest>(body).has_value()
        + decode<DefineSurface>(body).has_value() + decode<ForgetSurface>(body).has_value()
        + decode<Frame>(body).has_value() + decode<Quit>(body).has_value() + decode<Reply>(body).has_value()
        + decode<FrameConsumed>(body).has_value();
}

TEST(WireProtocol, TheHeaderHoldsLengthKindAndSerial)
{
    const auto message = encode(Kind::OpenQueue, StreamRequest { 3, 4 }, 99);
    std::uint32_t words[3] = {};
    std::memcpy(words, message.data(), sizeof words);
    EXPECT_EQ(words[0], message.size() - kHeaderLength);
    EXPECT_EQ(words[1], 6u);
    EXPECT_EQ(words[2], 99u);
}

TEST(WireProtocol, AWelcomeArrivesAsItWasSent)
{
    const auto sent = richWelcome();
    const auto received = decode<Welcome>(bodyOf(encode(sent)));
    ASSERT_TRUE(received);
    EXPECT_EQ(received->magic, kMagic);
    EXPECT_EQ(received->version, kVersion);
    EXPECT_EQ(received->bundleIdentifier, "org.example.camera");
    EXPECT_EQ(received->bundleVersion, "1.2");
    EXPECT_EQ(received->device, 7u);
    EXPECT_EQ(received->objects, sent.objects);
}

TEST(WireProtocol, AFrameArrivesAsItWasSent)
{
    const auto received = decode<Frame>(bodyOf(encode(Frame { 3, 4, 0x123456789ABCDEF0, 5, -6 })));
    ASSERT_TRUE(received);
    EXPECT_EQ(received->stream, 3u);
    EXPECT_EQ(received->generation, 4u);
    EXPECT_EQ(received->token, 0x123456789ABCDEF0u);
    EXPECT_EQ(received->surface, 5u);
    EXPECT_EQ(received->presentationNanoseconds, -6);
}

TEST(WireProtocol, ABodyThatIsShorterOrLongerIsRefused)
{
    const auto message = encode(richWelcome());
    const auto body = bodyOf(message);
    for (std::size_t length = 0; length < body.size(); ++length)
        EXPECT_FALSE(decode<Welcome>(body.first(length))) << length;
    auto longer = std::vector<std::byte>(body.begin(), body.end());
    longer.push_back(std::byte { 0 });
    EXPECT_FALSE(decode<Welcome>(longer));
}

TEST(WireProtocol, CountsAndLengthsAboveTheirLimitAreRefused)
{
    auto welcome = richWelcome();
    welcome.objects.resize(kMaximumObjects + 1);
    EXPECT_FALSE(decode<Welcome>(bodyOf(encode(welcome))));
    welcome.objects.resize(1);
    welcome.objects[0].properties.resize(kMaximumProperties + 1);
    EXPECT_FALSE(decode<Welcome>(bodyOf(encode(welcome))));

    ObjectList list;
    list.identifiers.resize(kMaximumListLength + 1);
    EXPECT_FALSE(decode<Reply>(bodyOf(encode(Reply { 0, list }, 1))));
    list.identifiers.resize(kMaximumListLength);
    EXPECT_TRUE(decode<Reply>(bodyOf(encode(Reply { 0, list }, 1))));
}

TEST(WireProtocol, AStringIsCutToItsLimitByTheSenderAndRefusedAboveItByTheReader)
{
    const auto cut = decode<Reply>(bodyOf(encode(Reply { 0, std::string(kMaximumStringLength + 1, 'x') }, 1)));
    ASSERT_TRUE(cut);
    EXPECT_EQ(std::get<std::string>(cut->value).size(), kMaximumStringLength);

    auto message = encode(Reply { 0, std::string(kMaximumStringLength, 'x') }, 1);
    const std::uint32_t length = kMaximumStringLength + 1;
    std::memcpy(message.data() + kHeaderLength + 5, &length, sizeof length);
    message.push_back(std::byte { 'x' });
    EXPECT_FALSE(decode<Reply>(bodyOf(message)));
}

TEST(WireProtocol, ATruthValueIsZeroOrOne)
{
    auto message = encode(Reply { 0, true }, 1);
    EXPECT_TRUE(decode<Reply>(bodyOf(message)));
    message.back() = std::byte { 2 };
    EXPECT_FALSE(decode<Reply>(bodyOf(message)));
}

TEST(WireProtocol, ASurfaceMustHoldItsPicture)
{
    const DefineSurface good { 1, 1280, 720, 0x42475241, 5120 };
    EXPECT_TRUE(decode<DefineSurface>(bodyOf(encode(good))));
    const auto refuses = [&](auto change) {
        auto bad = good;
        change(bad);
        return !decode<DefineSurface>(bodyOf(encode(bad)));
    };
    EXPECT_TRUE(refuses([](auto& surface) { surface.width = 0; }));
    EXPECT_TRUE(refuses([](auto& surface) { surface.height = 0; }));
    EXPECT_TRUE(refuses([](auto& surface) { surface.width = kMaximumSurfaceSide + 1; }));
    EXPECT_TRUE(refuses([](auto& surface) { surface.height = kMaximumSurfaceSide + 1; }));
    EXPECT_TRUE(refuses([](auto& surface) { surface.bytesPerRow = 5116; }));
    EXPECT_TRUE(refuses([](auto& surface) { surface.bytesPerRow = 5122; }));
    EXPECT_TRUE(refuses([](auto& surface) { surface.bytesPerRow = 0xFFFFFFFC; }));
}

TEST(WireProtocol, NoisyBodiesAreRefusedOrUnderstoodAndNothingElse)
{
    std::mt19937 random(20);
    std::size_t understood = 0;
    for (int round = 0; round < 20000; ++round) {
        std::vector<std::byte> body(random() % 200);
        for (auto& byte : body)
            byte = static_cast<std::byte>(random() % 4 == 0 ? random() : random() % 8);
        understood += decodeAsEverything(body);
    }
    EXPECT_GT(understood, 0u);
}

TEST(WireProtocol, WhatIsUnderstoodOfAChangedMessageIsSentTheSameWay)
{
    std::mt19937 random(21);
    const auto original = encode(richWelcome());
    std::size_t understood = 0;
    for (int round = 0; round < 20000; ++round) {
        auto changed = original;
        for (auto changes = random() % 4 + 1; changes > 0; --changes)
            changed[kHeaderLength + random() % (changed.size() - kHeaderLength)] = static_cast<std::byte>(random());
        const auto welcome = decode<Welcome>(bodyOf(changed));
        if (!welcome)
            continue;
        ++understood;
        EXPECT_TRUE(std::ranges::equal(bodyOf(encode(*welcome)), bodyOf(changed)));
    }
    EXPECT_GT(understood, 0u);
}

}
