#include "Platform/Foundation/NSThread.h"

#include "Platform/dispatch/dispatch.h"

bool NSThread::isMainThread() noexcept
{
    return DispatchMain::isMainThread();
}
