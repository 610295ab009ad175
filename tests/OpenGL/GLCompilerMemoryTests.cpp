#include "Platform/OpenGL/GLCompilerMemory.h"

#include "CoreLattice/LTCCompositionRepository.h"
#include "CoreLattice/LTCView.h"
#include "Platform/CoreVideo/CVPixelBuffer.h"

#include <fstream>
#include <gtest/gtest.h>
#include <string>

namespace {

/// Kilobytes of the compiler's library that are resident.
long residentOfCompiler()
{
    std::ifstream mappings("/proc/self/smaps");
    bool isCompiler = false;
    long sum = 0;
    for (std::string line; std::getline(mappings, line);) {
        if (line.find("-") < line.find(" "))
            isCompiler = line.find("libLLVM") != std::string::npos;
        else if (isCompiler && line.starts_with("Rss:"))
            sum += std::stol(line.substr(4));
    }
    return sum;
}

bool renders(const char* name)
{
    const AutoreleasePool pool;
    auto* const repository = LTCCompositionRepository::sharedCompositionRepository();
    const auto identifier = CFString::create(name);
    repository->registerApplicationCompositionWithName(identifier);
    const auto view = make<LTCView>();
    view->loadComposition(LTCCompositionRepository::compositionWithName(identifier));
    Ref<CVPixelBuffer> picture;
    CVPixelBufferCreate(kCFAllocatorDefault, 64, 64, kCVPixelFormatType_32BGRA, nullptr, &picture);
    view->setValue_forInputKey(picture, QCCompositionInputImageKey);
    return view->renderAtTime_arguments(0, make<CFDictionary>().get());
}

}

TEST(GLCompilerMemory, IsGivenBackAndComesAgainWhenItIsNeeded)
{
    ASSERT_TRUE(renders("QCImageFilterProtocol"));
    const auto before = residentOfCompiler();
    if (before == 0)
        GTEST_SKIP() << "the driver of this machine has no compiler of its own in this process";
    EXPECT_GT(GLReleaseCompilerMemory(), std::size_t { 10 } << 20);
    EXPECT_LT(residentOfCompiler(), before / 2);
    EXPECT_TRUE(renders("QCImageFilterRetro"));
}
