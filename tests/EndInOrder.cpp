// Ends a test's program as the application ends: threads first. Without that, whatever a thread is in the middle of
// when the last case is over goes on while the process takes its libraries down, and a shader compiler that runs on
// then crashes or never ends.

#include "Platform/dispatch/dispatch.h"

#include <gtest/gtest.h>
#include <memory>

namespace DispatchMain {
// Programs without dispatch queues have no threads to stop.
[[gnu::weak]] void stopThreads();
}

namespace {

class EndInOrder : public testing::EmptyTestEventListener {
    void OnTestProgramEnd(const testing::UnitTest& /*test*/) override
    {
        if (&DispatchMain::stopThreads)
            DispatchMain::stopThreads();
    }
};

[[maybe_unused]] const bool isListening = [] {
    testing::UnitTest::GetInstance()->listeners().Append(std::make_unique<EndInOrder>().release());
    return true;
}();

}
