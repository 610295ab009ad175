#include "Platform/Foundation/NSPathUtilities.h"

#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSSet.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

/// A home folder of its own, with the account's settings in its usual place.
class NSPathUtilitiesTest : public testing::Test {
protected:
    void SetUp() override
    {
        home = fs::temp_directory_path() / ("tovrin-home-" + std::to_string(getpid()));
        fs::create_directories(home / ".config");
        setenv("HOME", home.c_str(), 1);
        unsetenv("XDG_CONFIG_HOME");
    }
    void TearDown() override { fs::remove_all(home); }

    void configure(const std::string& text) const { std::ofstream(home / ".config/user-dirs.dirs") << text; }
    static std::string folder(NSSearchPathDirectory directory)
    {
        const auto paths = NSSearchPathForDirectoriesInDomains(directory, NSUserDomainMask, true);
        auto* const path = kindOf<CFString>(paths->objectAtIndex(0));
        return path ? path->string() : std::string();
    }
    fs::path home;
};

}

TEST_F(NSPathUtilitiesTest, AnAccountWithoutFoldersGetsThem)
{
    EXPECT_EQ(folder(NSPicturesDirectory), home / "Pictures");
    EXPECT_EQ(folder(NSMoviesDirectory), home / "Videos");
    EXPECT_TRUE(fs::is_directory(home / "Pictures"));
    EXPECT_TRUE(fs::is_directory(home / "Videos"));
}

TEST_F(NSPathUtilitiesTest, TheAccountsOwnNamesCount)
{
    configure("# comment\nXDG_PICTURES_DIR=\"$HOME/My \\\"Bilder\\\"\"\n  XDG_VIDEOS_DIR=\"" + (home / "films").string()
        + "\"\n");
    EXPECT_EQ(folder(NSPicturesDirectory), home / "My \"Bilder\"");
    EXPECT_EQ(folder(NSMoviesDirectory), home / "films");
    EXPECT_TRUE(fs::is_directory(home / "My \"Bilder\""));
}

TEST_F(NSPathUtilitiesTest, LinesThatMeanNothingAreLeftOut)
{
    configure("XDG_PICTURES_DIR=\"relative\"\nXDG_PICTURES_DIR=\"$HOMEless/a\"\nXDG_PICTURES_DIR=x\n");
    EXPECT_EQ(folder(NSPicturesDirectory), home / "Pictures");
}

TEST_F(NSPathUtilitiesTest, OtherFoldersAndDomainsGiveNothing)
{
    EXPECT_EQ(
        NSSearchPathForDirectoriesInDomains(static_cast<NSSearchPathDirectory>(5), NSUserDomainMask, true)->count(),
        0u);
    EXPECT_EQ(
        NSSearchPathForDirectoriesInDomains(NSPicturesDirectory, static_cast<NSSearchPathDomainMask>(2), true)->count(),
        0u);
}

TEST_F(NSPathUtilitiesTest, ADanglingLinkExists)
{
    auto* const manager = NSFileManager::defaultManager();
    fs::create_symlink("nowhere", home / "link");
    EXPECT_TRUE(manager->fileExistsAtPath(CFString::create((home / "link").string()).get()));
    EXPECT_TRUE(manager->fileExistsAtPath(CFString::create(home.string()).get()));
    EXPECT_FALSE(manager->fileExistsAtPath(CFString::create((home / "missing").string()).get()));
}

TEST(NSPathUtilities, LastComponentStandsBehindTheLastSlashThatCounts)
{
    const AutoreleasePool pool;
    const auto last = [](const char* path) { return lastPathComponent(CFSTR(path))->string(); };
    EXPECT_EQ(last("/a/File.cpp"), "File.cpp");
    EXPECT_EQ(last("File.cpp"), "File.cpp");
    EXPECT_EQ(last("/a/folder//"), "folder");
    EXPECT_EQ(last("/"), "/");
    EXPECT_EQ(last("//"), "/");
    EXPECT_EQ(last(""), "");
    EXPECT_EQ(lastPathComponent(nullptr), nullptr);
}

TEST(NSSet, EqualMembersCountOnce)
{
    const auto set = make<NSSet>(std::initializer_list<CFType*> { CFSTR("a"), CFSTR("b"), CFSTR("a") });
    EXPECT_EQ(set->count(), 2u);
    EXPECT_TRUE(set->containsObject(CFString::create("b").get()));
    EXPECT_FALSE(set->containsObject(CFSTR("c")));
    EXPECT_FALSE(set->containsObject(nullptr));
}

TEST(NSBundle, FilesAndFactsAreFoundByName)
{
    static constexpr std::array<std::byte, 2> bytes { std::byte { 1 }, std::byte { 2 } };
    auto* const bundle = NSBundle::mainBundle();
    bundle->addResource("two bytes", bytes);
    bundle->setInfo("Fact", "value");
    EXPECT_EQ(bundle->resourceNamed("two bytes").data(), bytes.data());
    EXPECT_TRUE(bundle->resourceNamed("other").empty());
    EXPECT_EQ(textOf(bundle->infoDictionary()->get<CFString>(CFSTR("Fact"))), "value");
}
