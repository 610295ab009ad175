#include "Platform/SystemExtensions/OSSystemExtensionManager.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/Foundation/NSError.h"
#include "Platform/SystemExtensions/RunningExtension.h"
#include "tests/CameraExtension/ExtensionProcess.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include <sys/socket.h>
#include <sys/wait.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr const char* identifier = "org.tovrin.tovrin.09.CMIOExtension";
constexpr double patience = 30;

/// Notes what a request's delegate hears.
class Delegate : public NSObject, public OSSystemExtensionRequestDelegate {
    NS_OBJECT(Delegate)
public:
    OSSystemExtensionReplacementAction request_actionForReplacingExtension_withExtension(
        OSSystemExtensionRequest* /*request*/, OSSystemExtensionProperties* existing,
        OSSystemExtensionProperties* replacement) override
    {
        hear("replacing " + existing->bundleIdentifier()->string() + " " + existing->bundleVersion()->string()
            + " with " + replacement->bundleVersion()->string());
        return answer;
    }
    void request_didFinishWithResult(
        OSSystemExtensionRequest* /*request*/, OSSystemExtensionRequestResult result) override
    {
        hear("finished " + std::to_string(result));
        isDone = true;
    }
    void request_didFailWithError(OSSystemExtensionRequest* /*request*/, NSError* error) override
    {
        hear("failed " + std::to_string(error->code()) + " " + error->localizedDescription()->string());
        isDone = true;
    }

    std::vector<std::string> heard;
    bool isDone = false;
    OSSystemExtensionReplacementAction answer = OSSystemExtensionReplacementActionReplace;

private:
    void hear(std::string what)
    {
        heard.push_back(std::move(what) + (DispatchMain::isMainThread() ? "" : " elsewhere"));
    }
};

NS_IMPLEMENTATION(Delegate, NSObject)
{
    type.message("request:actionForReplacingExtension:withExtension:",
        &Delegate::request_actionForReplacingExtension_withExtension);
    type.message("request:didFinishWithResult:", &Delegate::request_didFinishWithResult);
    type.message("request:didFailWithError:", &Delegate::request_didFailWithError);
}

class OSSystemExtensionManagerTests : public testing::Test {
protected:
    OSSystemExtensionManagerTests()
    {
        DispatchMain::adoptCurrentThread();
        ::setenv("XDG_CONFIG_HOME", (RuntimeFolder::shared().path() + "/config").c_str(), 1);
    }
    ~OSSystemExtensionManagerTests() override
    {
        FailPoint::disarmAll();
        deactivate();
    }

    std::vector<std::string> submit(OSSystemExtensionRequest* request)
    {
        delegate->heard.clear();
        delegate->isDone = false;
        request->setDelegate(delegate);
        OSSystemExtensionManager::sharedManager()->submitRequest(request);
        EXPECT_TRUE(DispatchMain::runUntil([this] { return delegate->isDone; }, patience));
        return delegate->heard;
    }
    std::vector<std::string> activate(const char* which = identifier)
    {
        return submit(
            OSSystemExtensionRequest::activationRequestForExtension_queue(CFSTR(which), dispatch_get_main_queue()));
    }
    std::vector<std::string> deactivate()
    {
        return submit(OSSystemExtensionRequest::deactivationRequestForExtension_queue(
            CFSTR(identifier), dispatch_get_main_queue()));
    }

    static pid_t runningProcess()
    {
        const auto socket = CameraWire::Socket::connectTo(RuntimeFolder::shared().socketPath());
        ucred peer {};
        socklen_t length = sizeof peer;
        ::getsockopt(socket.descriptor(), SOL_SOCKET, SO_PEERCRED, &peer, &length);
        return socket.isValid() ? peer.pid : 0;
    }
    static std::string loginEntry()
    {
        return RuntimeFolder::shared().path() + "/config/autostart/" + identifier + ".desktop";
    }

    const Ref<Delegate> delegate = make<Delegate>();
};

TEST_F(OSSystemExtensionManagerTests, AnActivatedExtensionAnswersAndIsRegistered)
{
    EXPECT_THAT(activate(), ElementsAre("finished 0"));
    EXPECT_TRUE(RunningExtension::find());
    std::ifstream entry(loginEntry());
    const std::string text { std::istreambuf_iterator<char>(entry), {} };
    EXPECT_THAT(text, StartsWith("[Desktop Entry]\nType=Application\n"));
    EXPECT_THAT(text, HasSubstr("tovrin-camera-extension\" --detach\n"));
}

TEST_F(OSSystemExtensionManagerTests, ItIsNoChildOfThisProgramAndHasASessionOfItsOwn)
{
    activate();
    const auto process = runningProcess();
    ASSERT_GT(process, 1);
    EXPECT_NE(::getsid(process), ::getsid(0));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "nothing is left to be waited for";
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(OSSystemExtensionManagerTests, ARunningExtensionIsReplacedEvenByTheSameVersion)
{
    activate();
    const auto earlier = runningProcess();
    ASSERT_GT(earlier, 1);
    EXPECT_THAT(activate(), ElementsAre("replacing org.tovrin.tovrin.09.CMIOExtension 0.9.0 with 0.9.0", "finished 0"));
    EXPECT_NE(runningProcess(), earlier);
    EXPECT_NE(runningProcess(), 0);
    EXPECT_EQ(::kill(earlier, 0), -1);
}

TEST_F(OSSystemExtensionManagerTests, ARunningExtensionIsKeptWhenTheDelegateSaysSo)
{
    activate();
    const auto earlier = runningProcess();
    ASSERT_GT(earlier, 1);
    delegate->answer = OSSystemExtensionReplacementActionCancel;
    EXPECT_THAT(activate(),
        ElementsAre("replacing org.tovrin.tovrin.09.CMIOExtension 0.9.0 with 0.9.0",
            "failed 11 The camera extension that runs is kept."));
    EXPECT_EQ(runningProcess(), earlier);
}

TEST_F(OSSystemExtensionManagerTests, ACrashedExtensionComesBack)
{
    activate();
    const auto earlier = runningProcess();
    ASSERT_GT(earlier, 1);
    ASSERT_EQ(::kill(earlier, SIGKILL), 0);
    EXPECT_TRUE(eventually([&] {
        const auto now = runningProcess();
        return now != 0 && now != earlier;
    }));
}

TEST_F(OSSystemExtensionManagerTests, ADeactivatedExtensionLeavesNothing)
{
    activate();
    const auto process = runningProcess();
    ASSERT_GT(process, 1);
    EXPECT_THAT(deactivate(), ElementsAre("finished 0"));
    EXPECT_FALSE(RunningExtension::find());
    EXPECT_TRUE(eventually([&] { return ::kill(process, 0) == -1; }));
    EXPECT_FALSE(std::filesystem::exists(loginEntry()));
    EXPECT_TRUE(std::filesystem::is_empty(RuntimeFolder::shared().path() + "/tovrin"));
}

TEST_F(OSSystemExtensionManagerTests, AnExtensionThatHangsIsEndedAllTheSame)
{
    activate();
    auto running = RunningExtension::find();
    ASSERT_TRUE(running);
    const auto process = runningProcess();
    ASSERT_GT(process, 1);
    ASSERT_EQ(::kill(process, SIGSTOP), 0);
    EXPECT_TRUE(running->end(std::chrono::milliseconds(200)));
    EXPECT_TRUE(eventually([&] { return ::kill(process, 0) == -1; }));
    EXPECT_FALSE(RunningExtension::find());
}

TEST_F(OSSystemExtensionManagerTests, WhatIsNotInstalledCannotBeRemoved)
{
    EXPECT_THAT(deactivate(), ElementsAre("failed 4 The camera extension is not installed."));
}

TEST_F(OSSystemExtensionManagerTests, AMissingProgramIsSaid)
{
    const FailPoint::Scope missing("OSSystemExtensionFind");
    const auto heard = activate();
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_THAT(
        heard[0], StartsWith("failed 4 The camera extension is missing: there is no tovrin-camera-extension in "));
}

TEST_F(OSSystemExtensionManagerTests, AnotherIdentifierIsRefused)
{
    EXPECT_THAT(activate("org.example.other"),
        ElementsAre("failed 9 The camera extension beside the application is org.tovrin.tovrin.09.CMIOExtension and "
                    "not org.example.other."));
    EXPECT_FALSE(RunningExtension::find());
}

TEST_F(OSSystemExtensionManagerTests, AnExtensionThatDoesNotAnswerIsAnErrorAndLeavesNothing)
{
    const FailPoint::Scope silent("OSSystemExtensionAnswer");
    const auto heard = activate();
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_THAT(heard[0], StartsWith("failed 1 The camera extension was started but does not answer"));
    EXPECT_THAT(deactivate(), ElementsAre("failed 4 The camera extension is not installed."));
}

TEST_F(OSSystemExtensionManagerTests, RequestsAreCarriedOutInTheirOrder)
{
    const auto first
        = OSSystemExtensionRequest::activationRequestForExtension_queue(CFSTR(identifier), dispatch_get_main_queue());
    first->setDelegate(delegate);
    OSSystemExtensionManager::sharedManager()->submitRequest(first);
    EXPECT_THAT(deactivate(), ElementsAre("finished 0"));
    EXPECT_TRUE(DispatchMain::runUntil([this] { return delegate->heard.size() == 2; }, patience));
    EXPECT_FALSE(RunningExtension::find());
}

TEST_F(OSSystemExtensionManagerTests, ADelegateThatHasGoneIsNoHarm)
{
    auto gone = make<Delegate>();
    auto* const request
        = OSSystemExtensionRequest::activationRequestForExtension_queue(CFSTR(identifier), dispatch_get_main_queue());
    request->setDelegate(gone);
    gone = nullptr;
    OSSystemExtensionManager::sharedManager()->submitRequest(request);
    EXPECT_TRUE(DispatchMain::runUntil([] { return RunningExtension::find().has_value(); }, patience));
}

}
