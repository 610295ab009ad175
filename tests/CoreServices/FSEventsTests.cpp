#include "Platform/CoreServices/FSEvents.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

constexpr double latency = 0.05;

class FSEvents : public testing::Test {
protected:
    FSEvents()
    {
        std::string name = (fs::temp_directory_path() / "tovrin-events-XXXXXX").string();
        mRoot = mkdtemp(name.data());
        mFolder = mRoot / "above" / "folder";
    }
    ~FSEvents() override
    {
        FSEventStreamStop(mStream);
        dispatch_sync(mQueue, [] {});
        fs::remove_all(mRoot);
    }
    /// Watches the folder, which need not be there.
    void start()
    {
        FSEventStreamSetDispatchQueue(mStream, mQueue);
        ASSERT_TRUE(FSEventStreamStart(mStream));
    }
    static void write(const fs::path& file, const std::string& text = "text") { std::ofstream(file) << text; }
    /// Waits until changes were told, and on until none were for a while.
    /// \return how often they were
    int told()
    {
        std::unique_lock lock(mLock);
        mTold.wait_for(lock, std::chrono::seconds(10), [this] { return mCount > 0; });
        while (
            mTold.wait_for(lock, std::chrono::milliseconds(300), [this, before = mCount] { return mCount > before; }))
            ;
        return std::exchange(mCount, 0);
    }
    /// How often changes were told in a while.
    int toldSoon()
    {
        std::unique_lock lock(mLock);
        mTold.wait_for(lock, std::chrono::milliseconds(400), [this] { return mCount > 0; });
        return std::exchange(mCount, 0);
    }

    std::mutex mLock;
    std::condition_variable mTold;
    int mCount = 0;
    fs::path mRoot;
    fs::path mFolder;
    const Ref<dispatch_queue> mQueue = dispatch_queue_create("events");
    Ref<FSEventStream> mStream;

    void SetUp() override
    {
        mStream = FSEventStreamCreate(
            [this] {
                EXPECT_TRUE(isRunningOnQueue(mQueue));
                const std::lock_guard lock(mLock);
                ++mCount;
                mTold.notify_all();
            },
            CFArray::create({ CFString::create(mFolder.string()).get() }).get(), latency);
    }
};

}

TEST_F(FSEvents, EveryWayOfSavingIsToldOnce)
{
    fs::create_directories(mFolder);
    write(mFolder / "file");
    start();
    write(mFolder / "file", "in place");
    EXPECT_EQ(told(), 1);
    write(mFolder / ".file.new", "beside");
    fs::rename(mFolder / ".file.new", mFolder / "file");
    EXPECT_EQ(told(), 1);
    fs::rename(mFolder / "file", mFolder / "file~");
    write(mFolder / "file", "with a copy of the former");
    EXPECT_EQ(told(), 1);
    fs::remove(mFolder / "file");
    write(mFolder / "file", "made anew");
    EXPECT_EQ(told(), 1);
    fs::remove(mFolder / "file");
    EXPECT_EQ(told(), 1);
}

TEST_F(FSEvents, ReadingIsNoChange)
{
    fs::create_directories(mFolder);
    write(mFolder / "file");
    start();
    std::string text;
    std::ifstream(mFolder / "file") >> text;
    for (const auto& entry : fs::directory_iterator(mFolder))
        text += entry.path().string();
    EXPECT_EQ(toldSoon(), 0);
    write(mRoot / "above" / "another");
    EXPECT_EQ(toldSoon(), 0) << "beside the folder";
}

TEST_F(FSEvents, FoldersAreFollowedWhereverTheyGo)
{
    start();
    fs::create_directories(mFolder);
    EXPECT_GE(told(), 1) << "made later";
    fs::create_directories(mFolder / "a" / "b");
    write(mFolder / "a" / "b" / "file");
    EXPECT_GE(told(), 1) << "below";
    write(mFolder / "a" / "b" / "file", "other");
    EXPECT_EQ(told(), 1) << "in a folder made later";
    fs::rename(mFolder, mRoot / "elsewhere");
    EXPECT_GE(told(), 1) << "renamed";
    write(mRoot / "elsewhere" / "file");
    EXPECT_EQ(toldSoon(), 0) << "where it is no folder to watch any more";
    fs::rename(mRoot / "elsewhere", mFolder);
    EXPECT_GE(told(), 1) << "back again";
    write(mFolder / "a" / "b" / "file", "third");
    EXPECT_EQ(told(), 1);
    fs::remove_all(mFolder);
    EXPECT_GE(told(), 1) << "removed";
    fs::create_directories(mFolder);
    EXPECT_GE(told(), 1) << "made again";
    fs::rename(mRoot / "above", mRoot / "before");
    EXPECT_GE(told(), 1) << "the folder above renamed";
    fs::create_directories(mRoot / "new" / "folder");
    fs::rename(mRoot / "new", mRoot / "above");
    EXPECT_GE(told(), 1) << "another one in its place";
    write(mFolder / "file");
    EXPECT_EQ(told(), 1);
}

TEST_F(FSEvents, LinksLeadToWhatIsWatchedToo)
{
    fs::create_directories(mFolder);
    fs::create_directories(mRoot / "kept");
    write(mRoot / "kept" / "file");
    fs::create_symlink(mRoot / "kept" / "file", mFolder / "link");
    fs::create_directories(mRoot / "more");
    fs::create_directory_symlink(mRoot / "more", mFolder / "folder");
    fs::create_directory_symlink(mFolder, mRoot / "more" / "round");
    start();
    write(mRoot / "kept" / "file", "other");
    EXPECT_EQ(told(), 1);
    write(mRoot / "kept" / "new", "third");
    fs::rename(mRoot / "kept" / "new", mRoot / "kept" / "file");
    EXPECT_EQ(told(), 1);
    write(mRoot / "kept" / "file", "fourth");
    EXPECT_EQ(told(), 1);
    write(mRoot / "more" / "file");
    EXPECT_EQ(told(), 1);
}

TEST_F(FSEvents, WhatNeverGetsQuietIsToldAllTheSame)
{
    fs::create_directories(mFolder);
    start();
    std::ofstream log(mFolder / "log");
    bool isTold = false;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!isTold && std::chrono::steady_clock::now() < end) {
        log << "line" << std::endl;
        const std::lock_guard lock(mLock);
        isTold = mCount > 0;
    }
    EXPECT_TRUE(isTold);
}

TEST_F(FSEvents, AStoppedStreamTellsNothing)
{
    fs::create_directories(mFolder);
    start();
    EXPECT_FALSE(FSEventStreamStart(mStream)) << "it runs already";
    FSEventStreamStop(mStream);
    write(mFolder / "file");
    EXPECT_EQ(toldSoon(), 0);
}

TEST_F(FSEvents, StartsNotWithoutAQueueOrMeans)
{
    EXPECT_FALSE(FSEventStreamStart(mStream));
    FSEventStreamSetDispatchQueue(mStream, mQueue);
    const FailPoint::Scope failing("FSEventStreamStart");
    EXPECT_FALSE(FSEventStreamStart(mStream));
}
