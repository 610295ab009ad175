#include "Tovrin09/LTCCamWindow/NXTransformSandboxContainerURL.h"

#include "Platform/Foundation/NSURL.h"

#include <gtest/gtest.h>

TEST(NXTransformSandboxContainerURL, APathIsShortenedToItsFolderAndName)
{
    const auto transformer = make<NXTransformSandboxContainerURL>();
    const auto text = [&](CFType* value) {
        const auto result = transformer->transformedValue(value);
        return kindOf<CFString>(result)->string();
    };
    EXPECT_EQ(text(make<NSURL>("/home/someone/deep/Pictures/Tovrin-001.png").get()), "~/Pictures/Tovrin-001.png");
    EXPECT_EQ(text(nullptr), "");
    EXPECT_EQ(text(CFSTR("/a/b")), "");
}
