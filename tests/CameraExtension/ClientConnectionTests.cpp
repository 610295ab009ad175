#include "CameraExtension/CameraObjects.h"
#include "Platform/CoreMediaIO/CMIOHardware.h"
#include "tests/CameraExtension/ExtensionProcess.h"

#include <gmock/gmock.h>

#include <csignal>
#include <random>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>

using namespace CameraWire;

namespace {

constexpr std::uint32_t bgra = 0x42475241;

UniqueFD sealedMemory(std::size_t length)
{
    UniqueFD memory(::memfd_create("tovrin-surface", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    EXPECT_EQ(::ftruncate(memory.get(), static_cast<off_t>(length)), 0);
    EXPECT_EQ(::fcntl(memory.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW), 0);
    return memory;
}

/// A connection that does not fit ends; others, and the extension, go on.
class ClientConnection : public testing::Test {
protected:
    void TearDown() override
    {
        auto other = ExtensionProcess::connect();
        EXPECT_TRUE(isAnswering(other));
    }

    static bool isAnswering(Socket& socket)
    {
        const GetProperty question { CameraObjects::kSourceStream, { 0x6A757374, kCMIOObjectPropertyScopeGlobal, 0 } };
        if (!socket.send(encode(question, 77)))
            return false;
        const auto message = nextMessage(socket);
        const auto reply = decode<Reply>(message.body);
        return message.kind == Kind::Reply && message.serial == 77 && reply && reply->status == 0
            && reply->value == Value(std::string("sc=0"));
    }

    static bool hasEnded(Socket& socket) { return nextMessage(socket).kind == Kind {}; }

    ExtensionProcess extension;
};

TEST_F(ClientConnection, TheFolderAndTheSocketAreThisUsersAlone)
{
    struct stat folder { };
    struct stat socket { };
    ASSERT_EQ(::stat((RuntimeFolder::shared().path() + "/tovrin").c_str(), &folder), 0);
    ASSERT_EQ(::stat(RuntimeFolder::shared().socketPath().c_str(), &socket), 0);
    EXPECT_EQ(folder.st_mode & 0777, 0700u);
    EXPECT_EQ(socket.st_mode & 0777, 0600u);
}

TEST_F(ClientConnection, AClientThatIntroducesItselfIsAnswered)
{
    auto socket = ExtensionProcess::connect();
    EXPECT_TRUE(isAnswering(socket));
}

TEST_F(ClientConnection, WhoSaysSomethingElseFirstIsCutOff)
{
    auto socket = Socket::connectTo(RuntimeFolder::shared().socketPath());
    ASSERT_TRUE(socket.send(encode(Quit {})));
    EXPECT_TRUE(hasEnded(socket));
}

TEST_F(ClientConnection, WhoSaysNothingIsCutOff)
{
    auto socket = Socket::connectTo(RuntimeFolder::shared().socketPath());
    EXPECT_TRUE(hasEnded(socket));
}

TEST_F(ClientConnection, AWrongMagicEndsTheConnection)
{
    auto socket = Socket::connectTo(RuntimeFolder::shared().socketPath());
    ASSERT_TRUE(socket.send(encode(Hello { 1, kVersion })));
    EXPECT_TRUE(hasEnded(socket));
}

TEST_F(ClientConnection, QuestionsAboutNothingGetAnErrorAndNotAnEnd)
{
    auto socket = ExtensionProcess::connect();
    ASSERT_TRUE(socket.send(encode(GetProperty { 9, { 1, 2, 3 } }, 5)));
    EXPECT_EQ(decode<Reply>(nextMessage(socket).body)->status, kCMIOHardwareUnknownPropertyError);
    ASSERT_TRUE(
        socket.send(encode(SetProperty { CameraObjects::kDevice,
                               { kCMIOObjectPropertyName, kCMIOObjectPropertyScopeGlobal, 0 }, std::string("x") },
            6)));
    EXPECT_EQ(decode<Reply>(nextMessage(socket).body)->status, kCMIOHardwareIllegalOperationError);
    ASSERT_TRUE(socket.send(encode(Kind::OpenQueue, StreamRequest { CameraObjects::kSourceStream, 1 }, 7)));
    EXPECT_EQ(decode<Reply>(nextMessage(socket).body)->status, kCMIOHardwareBadStreamError);
    EXPECT_TRUE(isAnswering(socket));
}

TEST_F(ClientConnection, FramesOfAnAnnouncedSurfaceAreConsumed)
{
    auto socket = ExtensionProcess::connect();
    const auto memory = sealedMemory(64 * 32 * 4);
    ASSERT_TRUE(socket.send(encode(DefineSurface { 3, 64, 32, bgra, 256 }), memory.get()));
    for (std::uint64_t token = 10; token < 20; ++token) {
        ASSERT_TRUE(socket.send(encode(Frame { CameraObjects::kSinkStream, 2, token, 3, 0 })));
        const auto consumed = decode<FrameConsumed>(nextMessage(socket).body);
        ASSERT_TRUE(consumed);
        EXPECT_EQ(consumed->generation, 2u);
        EXPECT_EQ(consumed->token, token);
    }
}

TEST_F(ClientConnection, AFrameOfAnUnknownSurfaceEndsTheConnection)
{
    auto socket = ExtensionProcess::connect();
    ASSERT_TRUE(socket.send(encode(Frame { CameraObjects::kSinkStream, 1, 1, 3, 0 })));
    EXPECT_TRUE(hasEnded(socket));
}

TEST_F(ClientConnection, ASurfaceWithoutItsDescriptorEndsTheConnection)
{
    auto socket = ExtensionProcess::connect();
    ASSERT_TRUE(socket.send(encode(DefineSurface { 3, 64, 32, bgra, 256 })));
    EXPECT_TRUE(hasEnded(socket));
}

TEST_F(ClientConnection, ASurfaceSmallerThanItsPictureEndsTheConnection)
{
    auto socket = ExtensionProcess::connect();
    ASSERT_TRUE(socket.send(encode(DefineSurface { 3, 64, 32, bgra, 256 }), sealedMemory(64 * 32 * 4 - 1).get()));
    EXPECT_TRUE(hasEnded(socket));
}

TEST_F(ClientConnection, ASurfaceThatCouldShrinkEndsTheConnection)
{
    auto socket = ExtensionProcess::connect();
    const UniqueFD memory(::memfd_create("open", MFD_CLOEXEC));
    ASSERT_EQ(::ftruncate(memory.get(), 64 * 32 * 4), 0);
    ASSERT_TRUE(socket.send(encode(DefineSurface { 3, 64, 32, bgra, 256 }), memory.get()));
    EXPECT_TRUE(hasEnded(socket));
}

TEST_F(ClientConnection, ADescriptorThatIsNoMemoryEndsTheConnection)
{
    auto socket = ExtensionProcess::connect();
    ASSERT_TRUE(socket.send(encode(DefineSurface { 3, 64, 32, bgra, 256 }), socket.descriptor()));
    EXPECT_TRUE(hasEnded(socket));
}

TEST_F(ClientConnection, ANumberThatIsTakenEndsTheConnection)
{
    auto socket = ExtensionProcess::connect();
    const auto memory = sealedMemory(64 * 32 * 4);
    ASSERT_TRUE(socket.send(encode(DefineSurface { 3, 64, 32, bgra, 256 }), memory.get()));
    EXPECT_TRUE(isAnswering(socket));
    ASSERT_TRUE(socket.send(encode(DefineSurface { 3, 64, 32, bgra, 256 }), memory.get()));
    EXPECT_TRUE(hasEnded(socket));
}

TEST_F(ClientConnection, TooManySurfacesEndTheConnection)
{
    auto socket = ExtensionProcess::connect();
    const auto memory = sealedMemory(64 * 32 * 4);
    for (std::uint32_t number = 1; number <= kMaximumSurfaces; ++number) {
        ASSERT_TRUE(socket.send(encode(DefineSurface { number, 64, 32, bgra, 256 }), memory.get()));
        ASSERT_TRUE(isAnswering(socket));
    }
    ASSERT_TRUE(socket.send(encode(ForgetSurface { 1 })));
    ASSERT_TRUE(socket.send(encode(DefineSurface { 1, 64, 32, bgra, 256 }), memory.get()));
    ASSERT_TRUE(isAnswering(socket));
    ASSERT_TRUE(socket.send(encode(DefineSurface { 100, 64, 32, bgra, 256 }), memory.get()));
    EXPECT_TRUE(hasEnded(socket));
}

TEST_F(ClientConnection, ForgettingWhatIsNotThereEndsTheConnection)
{
    auto socket = ExtensionProcess::connect();
    ASSERT_TRUE(socket.send(encode(ForgetSurface { 1 })));
    EXPECT_TRUE(hasEnded(socket));
}

TEST_F(ClientConnection, MoreClientsThanTheLimitAreTurnedAway)
{
    std::vector<Socket> sockets;
    for (std::size_t count = 0; count < kMaximumConnections; ++count)
        sockets.push_back(ExtensionProcess::connect());
    auto surplus = Socket::connectTo(RuntimeFolder::shared().socketPath());
    EXPECT_TRUE(hasEnded(surplus));
    EXPECT_TRUE(isAnswering(sockets.back()));
    sockets.clear();
    // The places are free once the ends have been seen.
    EXPECT_TRUE(eventually([] {
        auto socket = Socket::connectTo(RuntimeFolder::shared().socketPath());
        return socket.send(encode(Hello {})) && nextMessage(socket).kind == Kind::Welcome;
    }));
}

TEST_F(ClientConnection, AClientThatReadsNothingIsCutOffAndHoldsNobodyUp)
{
    const auto silent = ExtensionProcess::connect();
    const GetProperty question { CameraObjects::kDevice,
        { kCMIOObjectPropertyName, kCMIOObjectPropertyScopeGlobal, 0 } };
    std::size_t asked = 0;
    EXPECT_TRUE(eventually([&] {
        while (silent.send(encode(question, 1)))
            ++asked;
        return errno == EPIPE || errno == ECONNRESET;
    }));
    EXPECT_GT(asked, 100u);
}

TEST_F(ClientConnection, NoiseEndsTheConnectionAndNothingElse)
{
    std::mt19937 random(5);
    const auto memory = sealedMemory(64 * 32 * 4);
    const std::vector<std::vector<std::byte>> sound {
        encode(GetProperty { CameraObjects::kSourceStream, { 0x6A757374, kCMIOObjectPropertyScopeGlobal, 0 } }, 1),
        encode(SetProperty { CameraObjects::kSourceStream, { 0x6A757374, kCMIOObjectPropertyScopeGlobal, 0 },
                   std::string("random") },
            2),
        encode(Kind::StartStream, StreamRequest { CameraObjects::kSinkStream, 1 }, 3),
        encode(DefineSurface { 3, 64, 32, bgra, 256 }),
        encode(Frame { CameraObjects::kSinkStream, 1, 1, 3, 0 }),
        encode(ForgetSurface { 3 }),
    };
    for (int round = 0; round < 200; ++round) {
        auto socket = ExtensionProcess::connect();
        bool isOpen = true;
        for (int count = 0; count < 20 && isOpen; ++count) {
            auto message = sound[random() % sound.size()];
            if (random() % 2 == 0)
                message[random() % message.size()] = static_cast<std::byte>(random());
            // A message that asks the extension to quit is understood, so it is left out of the noise.
            if (std::to_integer<int>(message[4]) == 10)
                continue;
            isOpen = socket.send(std::move(message), random() % 2 == 0 ? memory.get() : -1);
        }
    }
}

TEST_F(ClientConnection, AskedToQuitItEndsAndTakesItsSocketAlong)
{
    auto socket = ExtensionProcess::connect();
    ASSERT_TRUE(socket.send(encode(Quit {})));
    EXPECT_TRUE(hasEnded(socket));
    EXPECT_EQ(extension.waitForEnd(), 0);
    EXPECT_EQ(::access(RuntimeFolder::shared().socketPath().c_str(), F_OK), -1);
    extension = ExtensionProcess();
}

TEST_F(ClientConnection, ANewerExtensionTakesThePlaceOfTheEarlier)
{
    auto socket = ExtensionProcess::connect();
    ExtensionProcess newer;
    EXPECT_TRUE(hasEnded(socket));
    EXPECT_EQ(extension.waitForEnd(), 0);
    EXPECT_TRUE(eventually([] { return Socket::connectTo(RuntimeFolder::shared().socketPath()).isValid(); }));
    extension = std::move(newer);
}

TEST_F(ClientConnection, AnEarlierExtensionThatHangsGivesWayToo)
{
    extension.send(SIGSTOP);
    ExtensionProcess newer(ExtensionProcess::Wait::ForAnswer);
    EXPECT_EQ(extension.waitForEnd(), -1);
    extension = std::move(newer);
}

TEST_F(ClientConnection, TheRemainsOfAKilledExtensionAreNoObstacle)
{
    extension.send(SIGKILL);
    EXPECT_EQ(extension.waitForEnd(), -1);
    EXPECT_EQ(::access(RuntimeFolder::shared().socketPath().c_str(), F_OK), 0);
    extension = ExtensionProcess();
}

}
