#include "Platform/Foundation/NSUserDefaults.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

class UserDefaults : public testing::Test {
protected:
    void SetUp() override
    {
        std::string pattern = testing::TempDir() + "tovrin-defaults-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        mFolder = pattern;
        ::setenv("XDG_CONFIG_HOME", mFolder.c_str(), 1);
    }
    void TearDown() override { std::filesystem::remove_all(mFolder); }

    std::filesystem::path file() const { return mFolder / "tovrin" / "defaults.json"; }
    std::string contents() const
    {
        std::stringstream text;
        text << std::ifstream(file()).rdbuf();
        return text.str();
    }

    std::filesystem::path mFolder;
};

}

TEST_F(UserDefaults, PrefersWhatIsStoredToWhatIsRegistered)
{
    const AutoreleasePool pool;
    const auto defaults = make<NSUserDefaults>();
    defaults->registerDefaults(CFDictionary::create({ { CFSTR("showDiagnostics"), kCFBooleanFalse } }).get());
    EXPECT_EQ(defaults->objectForKey("showDiagnostics"), kCFBooleanFalse);
    EXPECT_FALSE(std::filesystem::exists(file()));
    defaults->setObject_forKey(kCFBooleanTrue, "showDiagnostics");
    EXPECT_TRUE(defaults->boolForKey("showDiagnostics"));
    EXPECT_EQ(contents(), "{\n    \"showDiagnostics\": true\n}\n");
    defaults->removeObjectForKey("showDiagnostics");
    EXPECT_FALSE(defaults->boolForKey("showDiagnostics"));
}

TEST_F(UserDefaults, AreReadAgainByTheNextRun)
{
    const AutoreleasePool pool;
    const auto list = CFArray::create({ CFSTR("a"), CFNumber::create(2).get(), CFNumber::create(0.5).get() });
    make<NSUserDefaults>()->setObject_forKey(list, "list");
    EXPECT_TRUE(CFEqual(make<NSUserDefaults>()->objectForKey("list"), list));
}

TEST_F(UserDefaults, ADamagedFileIsSetAsideAndSaidSo)
{
    const AutoreleasePool pool;
    std::filesystem::create_directories(file().parent_path());
    std::ofstream(file()) << "{ \"showDiagnostics\": tr";
    testing::internal::CaptureStderr();
    EXPECT_EQ(make<NSUserDefaults>()->objectForKey("showDiagnostics"), nullptr);
    const auto said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find("cannot be read"), std::string::npos) << said;
    EXPECT_FALSE(std::filesystem::exists(file()));
    EXPECT_TRUE(std::filesystem::exists(file().string() + ".damaged"));
}

TEST_F(UserDefaults, AFolderThatCannotBeWrittenCostsALineAndKeepsTheValue)
{
    const AutoreleasePool pool;
    std::ofstream(mFolder / "tovrin") << "in the way";
    testing::internal::CaptureStderr();
    const auto defaults = make<NSUserDefaults>();
    defaults->setObject_forKey(kCFBooleanTrue, "showDiagnostics");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("cannot be stored"), std::string::npos);
    EXPECT_TRUE(defaults->boolForKey("showDiagnostics"));
}

TEST_F(UserDefaults, AreReachedByKeyPathThroughTheirController)
{
    const AutoreleasePool pool;
    auto* const controller = NSUserDefaultsController::sharedUserDefaultsController();
    NSUserDefaults::standardUserDefaults()->synchronize();
    controller->setValue_forKeyPath(kCFBooleanTrue, "values.showDiagnostics");
    EXPECT_EQ(controller->valueForKeyPath("values.showDiagnostics").get(), kCFBooleanTrue);
    EXPECT_TRUE(NSUserDefaults::standardUserDefaults()->boolForKey("showDiagnostics"));
}
