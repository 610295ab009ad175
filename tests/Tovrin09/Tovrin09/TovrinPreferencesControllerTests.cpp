#include "Tovrin09/Tovrin09/TovrinPreferencesController.h"

#include "Tovrin09/Tovrin09/AppDelegateObjC.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

/// Settings of their own, so that those of the account stay as they are.
class TovrinPreferencesControllerTest : public testing::Test {
protected:
    void SetUp() override
    {
        folder = fs::temp_directory_path() / ("tovrin-preferences-" + std::to_string(getpid()));
        fs::create_directories(folder);
        setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
        NSUserDefaults::standardUserDefaults()->synchronize();
    }
    void TearDown() override
    {
        NSUserDefaults::standardUserDefaults()->removeObjectForKey("showDiagnostics");
        fs::remove_all(folder);
    }
    fs::path folder;
};

}

TEST_F(TovrinPreferencesControllerTest, DiagnosticsAreOffOnAFreshAccount)
{
    AppDelegateObjC::initialize();
    auto* const preferences = TovrinPreferencesController::sharedInstance();
    EXPECT_TRUE(preferences->proxyTargetConstructed());
    const auto value = preferences->showDiagnostics();
    ASSERT_TRUE(kindOf<CFNumber>(value));
    EXPECT_FALSE(kindOf<CFNumber>(value)->boolValue());
}

TEST_F(TovrinPreferencesControllerTest, WhatIsSetIsTheUsersDefault)
{
    AppDelegateObjC::initialize();
    TovrinPreferencesController::sharedInstance()->setShowDiagnostics(kCFBooleanTrue);
    EXPECT_TRUE(NSUserDefaults::standardUserDefaults()->boolForKey("showDiagnostics"));
    EXPECT_TRUE(kindOf<CFNumber>(TovrinPreferencesController::sharedInstance()->showDiagnostics())->boolValue());
}

TEST_F(TovrinPreferencesControllerTest, ThereIsOneObject)
{
    const auto byName = TovrinPreferencesController::classObject()->createInstance();
    EXPECT_EQ(byName.get(), TovrinPreferencesController::sharedInstance());
}
