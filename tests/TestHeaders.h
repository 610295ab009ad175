#pragma once

// What nearly every test reads, compiled once where the compiler is gcc. A test still includes what it uses: with clang
// there is no such header.

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/CoreFoundation/HostClock.h"
#include "Platform/dispatch/dispatch.h"
#include "Platform/Foundation/NSNotification.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <thread>
#include <vector>
