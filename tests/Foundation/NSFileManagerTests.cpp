#include "Platform/Foundation/NSFileManager.h"

#include "Platform/CoreFoundation/FailPoint.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

std::string textIn(const fs::path& file)
{
    std::ifstream stream(file);
    return { std::istreambuf_iterator<char>(stream), {} };
}

class NSFileManagerTest : public testing::Test {
protected:
    void SetUp() override
    {
        folder = fs::temp_directory_path() / ("tovrin-files-" + std::to_string(getpid()));
        fs::create_directories(folder);
        setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);
    }
    void TearDown() override
    {
        FailPoint::disarmAll();
        fs::remove_all(folder);
    }
    fs::path make(const std::string& name, const std::string& text)
    {
        std::ofstream(folder / name) << text;
        return folder / name;
    }
    /// \return what the error says, or nothing when it has gone
    static std::string remove(const fs::path& file)
    {
        const AutoreleasePool pool;
        Ref<NSError> error;
        const bool hasGone
            = NSFileManager::defaultManager()->removeItemAtPath_error(CFString::create(file.string()).get(), &error);
        EXPECT_EQ(hasGone, !error);
        return error ? error->localizedDescription()->string() : "";
    }
    static bool exists(const fs::path& file)
    {
        return NSFileManager::defaultManager()->fileExistsAtPath(CFString::create(file.string()).get());
    }
    fs::path trash() const { return folder / "data/Trash"; }
    /// The folder above whose own trash holds the file.
    std::optional<fs::path> volumeWith(const std::string& name, const std::string& text) const
    {
        const auto own = ".Trash-" + std::to_string(getuid());
        for (fs::path above = folder;; above = above.parent_path()) {
            if (textIn(above / own / "files" / name) == text)
                return above;
            if (!above.has_relative_path())
                return std::nullopt;
        }
    }

    fs::path folder;
};

TEST_F(NSFileManagerTest, ARemovedFileLiesInTheTrashWithANoteOfWhereItWas)
{
    const auto file = make("Movie 1 \u00e4.mov", "first");
    EXPECT_TRUE(exists(file));
    EXPECT_EQ(remove(file), "");
    EXPECT_FALSE(exists(file));
    EXPECT_EQ(textIn(trash() / "files" / file.filename()), "first");
    const auto note = textIn(trash() / "info" / (file.filename().string() + ".trashinfo"));
    EXPECT_TRUE(note.starts_with("[Trash Info]\nPath=" + folder.string() + "/Movie%201%20%C3%A4.mov\nDeletionDate=20"))
        << note;
    EXPECT_TRUE(note.ends_with("\n"));
    EXPECT_EQ(fs::status(trash()).permissions(), fs::perms::owner_all);
}

TEST_F(NSFileManagerTest, FilesOfOneNameDoNotReplaceEachOther)
{
    for (const auto* const text : { "first", "second", "third" })
        EXPECT_EQ(remove(make("movie.mov", text)), "");
    EXPECT_EQ(textIn(trash() / "files/movie.mov"), "first");
    EXPECT_EQ(textIn(trash() / "files/movie.2.mov"), "second");
    EXPECT_EQ(textIn(trash() / "files/movie.3.mov"), "third");
    EXPECT_TRUE(fs::exists(trash() / "info/movie.3.mov.trashinfo"));
}

TEST_F(NSFileManagerTest, AFolderIsNotRemovedInAFilesPlace)
{
    const auto inTheWay = folder / "movie.mov";
    fs::create_directory(inTheWay);
    EXPECT_EQ(remove(inTheWay), "\"" + inTheWay.string() + "\" is not removed: Is a directory");
    EXPECT_TRUE(fs::is_directory(inTheWay));
}

TEST_F(NSFileManagerTest, ALinkIsRemovedAndNotWhatItLeadsTo)
{
    const auto file = make("precious", "precious");
    fs::create_symlink(file, folder / "link.mov");
    EXPECT_EQ(remove(folder / "link.mov"), "");
    EXPECT_EQ(textIn(file), "precious");
    EXPECT_TRUE(fs::is_symlink(trash() / "files/link.mov"));
    fs::create_symlink(folder / "nowhere", folder / "dangling.mov");
    EXPECT_TRUE(exists(folder / "dangling.mov"));
    EXPECT_EQ(remove(folder / "dangling.mov"), "");
    EXPECT_FALSE(exists(folder / "dangling.mov"));
}

TEST_F(NSFileManagerTest, WhatIsNotThereCannotBeRemovedAndLeavesNoNote)
{
    const auto file = folder / "missing.mov";
    EXPECT_EQ(remove(file), "\"" + file.string() + "\" cannot be moved to the trash: No such file or directory");
    EXPECT_FALSE(fs::exists(trash() / "info/missing.mov.trashinfo"));
}

TEST_F(NSFileManagerTest, WithoutATrashOfTheHomeThatOfTheVolumeTakesIt)
{
    // A file where the folder would be: not even a superuser can make one there.
    setenv("XDG_DATA_HOME", make("data", "no folder").c_str(), 1);
    const auto name = folder.filename().string() + ".mov";
    const auto file = make(name, "text");
    if (const auto error = remove(file); !error.empty()) {
        EXPECT_TRUE(exists(file)) << "neither removed nor there";
        GTEST_SKIP() << "the top of this volume cannot be written to: " << error;
    }
    EXPECT_FALSE(exists(file));
    const auto volume = volumeWith(name, "text");
    ASSERT_TRUE(volume);
    const auto own = *volume / (".Trash-" + std::to_string(getuid()));
    const auto note = textIn(own / "info" / (name + ".trashinfo"));
    EXPECT_NE(note.find("\nPath=" + file.lexically_relative(*volume).string() + "\n"), std::string::npos) << note;
    fs::remove(own / "files" / name);
    fs::remove(own / "info" / (name + ".trashinfo"));
}

TEST_F(NSFileManagerTest, RemovalCanBeMadeToFail)
{
    const auto file = make("movie.mov", "text");
    FailPoint::arm("NSFileManager.removeItemAtPath", EPERM);
    EXPECT_EQ(remove(file), "The file cannot be removed: Operation not permitted");
    EXPECT_TRUE(exists(file));
}

}
