#include "Platform/CoreMediaIO/WireSocket.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>

using namespace CameraWire;

namespace {

class WireSocket : public testing::Test {
protected:
    WireSocket()
    {
        int ends[2] = { -1, -1 };
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends), 0);
        near = Socket(UniqueFD(ends[0]));
        far = Socket(UniqueFD(ends[1]));
    }

    void write(std::span<const std::byte> bytes) const
    {
        ASSERT_EQ(::send(near.descriptor(), bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    }

    static std::vector<std::byte> header(std::uint32_t length)
    {
        std::vector<std::byte> bytes(kHeaderLength);
        std::memcpy(bytes.data(), &length, sizeof length);
        return bytes;
    }

    Socket near;
    Socket far;
};

TEST_F(WireSocket, MessagesComeOutWholeHoweverTheirBytesArrive)
{
    auto bytes = encode(FrameConsumed { 1, 2 });
    const auto second = encode(Kind::StartStream, StreamRequest { 3, 4 }, 5);
    bytes.insert(bytes.end(), second.begin(), second.end());
    std::vector<Message> messages;
    for (const auto byte : bytes) {
        write({ &byte, 1 });
        ASSERT_TRUE(far.receive());
        while (auto message = far.next())
            messages.push_back(std::move(*message));
    }
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].kind, Kind::FrameConsumed);
    EXPECT_EQ(decode<FrameConsumed>(messages[0].body)->token, 2u);
    EXPECT_EQ(messages[1].kind, Kind::StartStream);
    EXPECT_EQ(messages[1].serial, 5u);
    EXPECT_EQ(decode<StreamRequest>(messages[1].body)->generation, 4u);
}

TEST_F(WireSocket, SeveralMessagesInOneReadAllComeOut)
{
    for (std::uint64_t token = 0; token < 100; ++token)
        ASSERT_TRUE(near.send(encode(FrameConsumed { 0, token })));
    ASSERT_TRUE(far.receive());
    for (std::uint64_t token = 0; token < 100; ++token)
        EXPECT_EQ(decode<FrameConsumed>(far.next()->body)->token, token);
    EXPECT_FALSE(far.next());
}

TEST_F(WireSocket, AnOversizedMessageIsRefusedAtItsHeader)
{
    write(header(kMaximumBodyLength));
    EXPECT_TRUE(far.receive());
    EXPECT_FALSE(far.next());
}

TEST_F(WireSocket, AHeaderAboveTheLimitEndsTheConnection)
{
    write(header(kMaximumBodyLength + 1));
    EXPECT_FALSE(far.receive());
    EXPECT_FALSE(far.next());
}

TEST_F(WireSocket, MessagesSentBeforeTheEndStillArrive)
{
    ASSERT_TRUE(near.send(encode(Quit {})));
    near = Socket();
    EXPECT_FALSE(far.receive());
    ASSERT_TRUE(far.next());
    EXPECT_FALSE(far.next());
}

TEST_F(WireSocket, ADescriptorTravelsBesideItsMessage)
{
    const UniqueFD memory(::memfd_create("test", MFD_CLOEXEC));
    ASSERT_EQ(::ftruncate(memory.get(), 4711), 0);
    ASSERT_TRUE(near.send(encode(DefineSurface { 1, 2, 2, 3, 8 }), memory.get()));
    ASSERT_TRUE(far.receive());
    ASSERT_TRUE(far.next());
    const auto arrived = far.takeDescriptor();
    ASSERT_TRUE(arrived);
    EXPECT_EQ(::lseek(arrived.get(), 0, SEEK_END), 4711);
    EXPECT_TRUE(::fcntl(arrived.get(), F_GETFD) & FD_CLOEXEC);
    EXPECT_FALSE(far.takeDescriptor());
}

TEST_F(WireSocket, MoreWaitingDescriptorsThanTheLimitEndTheConnection)
{
    const UniqueFD memory(::memfd_create("test", MFD_CLOEXEC));
    for (std::size_t count = 0; count < kMaximumWaitingDescriptors; ++count)
        ASSERT_TRUE(near.send(encode(Quit {}), memory.get()));
    EXPECT_TRUE(far.receive());
    ASSERT_TRUE(near.send(encode(Quit {}), memory.get()));
    EXPECT_FALSE(far.receive());
}

TEST_F(WireSocket, SendingFailsAtOnceWhenNobodyReads)
{
    std::size_t sent = 0;
    while (near.send(encode(FrameConsumed {})))
        ++sent;
    EXPECT_GT(sent, 100u);
}

TEST_F(WireSocket, ThePeerOfAPairIsThisUser)
{
    EXPECT_TRUE(near.isPeerThisUser());
}

TEST(WireSocketPath, AFolderOpenToOthersIsNotUsed)
{
    std::string runtime = "/tmp/tovrin-test-XXXXXX";
    ASSERT_TRUE(::mkdtemp(runtime.data()));
    ASSERT_EQ(::setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1), 0);
    const auto folder = SocketPath::folder();
    EXPECT_EQ(folder, runtime + "/tovrin");
    ASSERT_EQ(::chmod(folder.c_str(), 0750), 0);
    std::string reason;
    EXPECT_EQ(SocketPath::folder(&reason), "");
    EXPECT_EQ(reason, folder + ": is open to others or belongs to another user");
    ::rmdir(folder.c_str());
    ::rmdir(runtime.c_str());
}

TEST(WireSocketPath, NobodyListeningIsNoConnection)
{
    EXPECT_FALSE(Socket::connectTo("/tmp/tovrin-test-nobody/camera").isValid());
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(Socket::connectTo(std::string(200, 'x')).isValid());
    EXPECT_EQ(errno, ENAMETOOLONG);
}

}
