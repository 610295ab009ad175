#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/OpenGL/CGL.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

CGLError choose(std::vector<CGLPixelFormatAttribute> attributes, Ref<CGLPixelFormat>& format, std::int32_t& count)
{
    attributes.push_back(0);
    return CGLChoosePixelFormat(attributes.data(), &format, &count);
}

}

TEST(CGL, AFormatHasWhatItWasAskedFor)
{
    Ref<CGLPixelFormat> format;
    std::int32_t count = -1;
    ASSERT_EQ(
        choose({ kCGLPFAAccelerated, kCGLPFANoRecovery, kCGLPFADoubleBuffer, kCGLPFAColorSize, 24, kCGLPFAAlphaSize, 8,
                   kCGLPFADepthSize, 16, kCGLPFAMultisample, kCGLPFASampleBuffers, 1, kCGLPFASamples, 4 },
            format, count),
        kCGLNoError);
    EXPECT_EQ(count, 1);
    const auto& properties = format->properties();
    EXPECT_TRUE(properties.isDoubleBuffered);
    EXPECT_EQ(properties.colorSize, 24);
    EXPECT_EQ(properties.alphaSize, 8);
    EXPECT_EQ(properties.depthSize, 16);
    EXPECT_EQ(properties.samples, 4);
}

TEST(CGL, WhatNobodyKnowsOrHasGivesNoFormat)
{
    Ref<CGLPixelFormat> format;
    std::int32_t count = -1;
    EXPECT_EQ(choose({ 4711 }, format, count), kCGLBadAttribute);
    EXPECT_EQ(choose({ kCGLPFAAccelerated, kCGLPFAColorSize }, format, count), kCGLBadAttribute);
    EXPECT_EQ(choose({ kCGLPFASamples, 1024 }, format, count), kCGLBadPixelFormat);
    EXPECT_EQ(choose({ kCGLPFADepthSize, 64 }, format, count), kCGLBadPixelFormat);
    EXPECT_EQ(count, 0);
    EXPECT_FALSE(format);
}

TEST(CGL, AMachineWithoutOpenGLHasNoFormatsAndNoContexts)
{
    Ref<CGLPixelFormat> format;
    std::int32_t count = -1;
    ASSERT_EQ(choose({ kCGLPFAAccelerated }, format, count), kCGLNoError);
    const FailPoint::Scope none("GLContextCreate");
    Ref<CGLContext> context;
    EXPECT_EQ(CGLCreateContext(format, nullptr, &context), kCGLBadAlloc);
    EXPECT_EQ(choose({ kCGLPFAAccelerated }, format, count), kCGLBadPixelFormat);
    EXPECT_EQ(CGLCreateContext(nullptr, nullptr, &context), kCGLBadPixelFormat);
    EXPECT_FALSE(context);
}

TEST(CGL, AContextIsCurrentOnOneThreadAtATime)
{
    Ref<CGLPixelFormat> format;
    std::int32_t count = 0;
    ASSERT_EQ(choose({ kCGLPFAAccelerated }, format, count), kCGLNoError);
    Ref<CGLContext> context;
    ASSERT_EQ(CGLCreateContext(format, nullptr, &context), kCGLNoError);
    EXPECT_EQ(CGLGetPixelFormat(context), format);
    EXPECT_EQ(CGLGetPixelFormat(nullptr), nullptr);
    EXPECT_EQ(CGLCreateContext(format, context, &context), kCGLBadContext);
    ASSERT_EQ(CGLCreateContext(format, nullptr, &context), kCGLNoError);
    ASSERT_EQ(CGLSetCurrentContext(context), kCGLNoError);
    EXPECT_EQ(CGLGetCurrentContext(), context);
    std::thread([&] {
        EXPECT_EQ(CGLGetCurrentContext(), nullptr);
        EXPECT_EQ(CGLSetCurrentContext(context), kCGLBadContext);
        EXPECT_EQ(CGLGetCurrentContext(), nullptr);
    }).join();
    EXPECT_EQ(CGLSetCurrentContext(nullptr), kCGLNoError);
    std::thread([&] {
        EXPECT_EQ(CGLSetCurrentContext(context), kCGLNoError);
        EXPECT_EQ(CGLSetCurrentContext(nullptr), kCGLNoError);
    }).join();
    CGLDestroyContext(std::move(context));
    CGLDestroyPixelFormat(std::move(format));
}

TEST(CGL, ACurrentContextThatEndsIsNoLongerCurrent)
{
    Ref<CGLPixelFormat> format;
    std::int32_t count = 0;
    ASSERT_EQ(choose({ kCGLPFAAccelerated }, format, count), kCGLNoError);
    Ref<CGLContext> context;
    ASSERT_EQ(CGLCreateContext(format, nullptr, &context), kCGLNoError);
    ASSERT_EQ(CGLSetCurrentContext(context), kCGLNoError);
    CGLDestroyContext(std::exchange(context, nullptr));
    EXPECT_EQ(CGLGetCurrentContext(), nullptr);
}
