#include "WithRequirements/Requirements.h"

#include "bench/AllocationCounter.h"
#include "Platform/CoreFoundation/MacOSStatus.h"
#include "Platform/dispatch/dispatch.h"
#include "tests/WithRequirements/StandardErrorCapture.h"

#include <gtest/gtest.h>

#define A_NULL_POINTER ((void*)0)

namespace {

std::string format(const char* text, auto... arguments)
{
    return CFFormat(text, CFFormatArguments { CFFormatArgument(arguments)... });
}

unsigned long numberOf(const CFType* object)
{
    return reinterpret_cast<unsigned long>(object);
}

class Untyped final : public CFType {
public:
    CFTypeID typeID() const noexcept override { return 0; }
};

class RequirementsTestsDelegating : public NSObject {
    NS_OBJECT(RequirementsTestsDelegating)
public:
    NSObject* delegate() { return mDelegate.get(); }
    Ref<NSObject> mDelegate;
};

NS_IMPLEMENTATION(RequirementsTestsDelegating, NSObject)
{
    type.message("delegate", &RequirementsTestsDelegating::delegate);
}

bool passing(int value, CFString* string, int& evaluations)
{
    return CFRequired(++evaluations == 1) && OSStatusRequired((++evaluations, 0)) && CFRequired(value > 0)
        && CFRequiredTypeOf(string, CFStringGetTypeID()) && CFRequiredNotCFNull(string)
        && CFRequiredNotCFNull(&evaluations) && DispatchRequired(string) && CoreVideoRequired(0) && GLRequired(0);
}

}

TEST(Requirements, ThatHoldAreTrueEvaluateOnceAndWriteNothing)
{
    StandardErrorCapture capture;
    int evaluations = 0;
    EXPECT_TRUE(passing(1, CFSTR("x"), evaluations));
    EXPECT_EQ(evaluations, 2);
    EXPECT_EQ(capture.text(), "");
}

TEST(Requirements, ThatHoldAllocateNothing)
{
    const auto string = CFString::create("a string");
    CFStringGetTypeID(); // a type is registered when it is first asked for
    int evaluations = 0;
    const auto before = AllocationCounter::count();
    const bool held = passing(1, string, evaluations) && OSStatusRequired(0) && CoreMediaOSStatusRequired(0)
        && VideoToolboxRequired(0) && CMIOStatusRequired(0) && CGErrorRequired(0) && CGLErrorRequired(0)
        && CFRequiredTypeRef(string, CFStringGetTypeID());
    const auto allocations = AllocationCounter::count() - before;
    EXPECT_TRUE(held);
    EXPECT_EQ(allocations, 0u);
    EXPECT_NE(CFString::create("counted"), nullptr);
    EXPECT_GT(AllocationCounter::count(), before) << "the counter counts";
}

TEST(Requirements, FailedConditionShowsItsTextFileLineAndFunction)
{
    StandardErrorCapture capture;
    int captureFrameRateFPS = 0;
    EXPECT_FALSE(CFRequired(captureFrameRateFPS > 0, "captureFrameRateFPS>0"));
    const int line = __LINE__ - 1;
    EXPECT_EQ(capture.text(),
        format("REQUIREMENT - SRC>>captureFrameRateFPS>0 in RequirementsTests.cpp:%d (TestBody)\n", line));
}

TEST(Requirements, TextIsTheExpressionAfterPreprocessing)
{
    StandardErrorCapture capture;
    void* volatile pointer = nullptr;
    EXPECT_FALSE(CFRequiredIn("function", pointer != A_NULL_POINTER));
    const int line = __LINE__ - 1;
    EXPECT_EQ(capture.text(),
        format("REQUIREMENT - SRC>>pointer != ((void*)0) in RequirementsTests.cpp:%d (function)\n", line));
}

TEST(Requirements, NullIsShownAsTheCompilerWritesIt)
{
    StandardErrorCapture capture;
    void* volatile pointer = nullptr;
    // NOLINTNEXTLINE(modernize-use-nullptr): the macro is what this is about
    EXPECT_FALSE(CFRequiredIn("function", pointer != NULL));
    const int line = __LINE__ - 1;
    EXPECT_EQ(
        capture.text(), format("REQUIREMENT - SRC>>pointer != __null in RequirementsTests.cpp:%d (function)\n", line));
}

TEST(Requirements, GivenTextStandsForTheExpressionAndValuesHaveNoPrefix)
{
    StandardErrorCapture capture;
    CFDictionary* const dictionary = nullptr;
    EXPECT_FALSE(
        CFRequiredTypeOfIn("function", dictionary, CFDictionaryGetTypeID(), "(ARC_BRIDGE(CFDictionaryRef)dictionary)"));
    EXPECT_FALSE(CFRequiredNotCFNullIn("function", dictionary));
    EXPECT_FALSE(CFRequiredIn("function", dictionary != nullptr, "dictionary!=((void*)0)"));
    EXPECT_EQ(withoutLineNumbers(capture.text()),
        "REQUIRED_CFTYPEOF (ARC_BRIDGE(CFDictionaryRef)dictionary)==NULL : in function LINE# N "
        "(RequirementsTests.cpp)\n\n"
        "REQUIRED_NOT_NULL 0x00000000==NULL : dictionary in function LINE# N (RequirementsTests.cpp)\n\n"
        "REQUIREMENT - SRC>>dictionary!=((void*)0) in RequirementsTests.cpp:N (function)\n");
}

TEST(Requirements, StatusKindsExchangeThePlacesThatOthersKeep)
{
    StandardErrorCapture capture;
    EXPECT_FALSE(CoreVideoRequiredIn("function", -6660, "x"));
    EXPECT_FALSE(CGErrorRequiredIn("function", 1000, "x"));
    EXPECT_FALSE(CGLErrorRequiredIn("function", 10000, "x"));
    EXPECT_FALSE(GLRequiredIn("function", 1286));
    EXPECT_FALSE(CFRequiredIn("function", false, "x"));
    const int line = __LINE__ - 5;
    EXPECT_EQ(capture.text(),
        format("REQUIRED_CVRETURN FAILED: kCVReturnError (-6660) - SRC>>x in function:%d (RequirementsTests.cpp)\n"
               "REQUIRED_CGERROR 1000:kCGErrorFailure (1000) - SRC>>x in function:%d (RequirementsTests.cpp)\n"
               "REQUIRED_CGLERROR 10000:kCGLBadAttribute (10000) - SRC>>x in function:%d (RequirementsTests.cpp)\n"
               "REQUIRED_OPENGL: GL_INVALID_FRAMEBUFFER_OPERATION (1286) -  in RequirementsTests.cpp:%d (function)\n"
               "REQUIREMENT - SRC>>x in RequirementsTests.cpp:%d (function)\n",
            line, line + 1, line + 2, line + 3, line + 4));
}

TEST(Requirements, FailedStatusShowsTheFunctionInTheFilesPlace)
{
    StandardErrorCapture capture;
    EXPECT_FALSE(OSStatusRequiredIn("function", -50, "call(1, 2)"));
    const int line = __LINE__ - 1;
    EXPECT_EQ(capture.text(),
        format("REQUIRED_OSSTATUS(-50) paramErr-'an argument is wrong' - SRC>>call(1, 2) in function:%d "
               "(RequirementsTests.cpp)\n",
            line));
}

TEST(Requirements, StatusIsWidenedWithItsSignAndUnknownOnesHaveWordsToo)
{
    StandardErrorCapture capture;
    __OSStatusRequiredBody(INT32_MIN, "function", "File.cpp", 1, "SRC>>x");
    EXPECT_EQ(capture.text(),
        format("REQUIRED_OSSTATUS(-2147483648) %s-'%s' - SRC>>x in function:1 (File.cpp)\n",
            GetMacOSStatusErrorString(INT32_MIN), GetMacOSStatusCommentString(INT32_MIN)));
}

TEST(Requirements, NullValueIsShownWithEightZerosAndAnEmptyLineAfterIt)
{
    StandardErrorCapture capture;
    void* const cstr = nullptr;
    EXPECT_FALSE(CFRequiredNotCFNullIn("function", cstr));
    const int line = __LINE__ - 1;
    EXPECT_EQ(capture.text(),
        format("REQUIRED_NOT_NULL 0x00000000==NULL : cstr in function LINE# %d (RequirementsTests.cpp)\n\n", line));
}

TEST(Requirements, NullObjectIsNoValueAndIsShownByItsAddress)
{
    StandardErrorCapture capture;
    const Ref<CFType> value(kCFNull);
    EXPECT_FALSE(CFRequiredNotCFNullIn("function", value));
    const int line = __LINE__ - 1;
    EXPECT_EQ(capture.text(),
        format("REQUIRED_NOT_NULL 0x%08lx==NULL : value in function LINE# %d (RequirementsTests.cpp)\n\n",
            numberOf(kCFNull), line));
}

TEST(Requirements, NullObjectOfATypeIsShownShort)
{
    StandardErrorCapture capture;
    CFString* const string = nullptr;
    EXPECT_FALSE(CFRequiredTypeOfIn("function", string, CFStringGetTypeID(), "self.string"));
    const int line = __LINE__ - 1;
    EXPECT_EQ(capture.text(),
        format("REQUIRED_CFTYPEOF self.string==NULL : in function LINE# %d (RequirementsTests.cpp)\n\n", line));
}

TEST(Requirements, ObjectOfAnotherTypeIsShownWithBothTypes)
{
    StandardErrorCapture capture;
    const auto number = CFNumber::create(1);
    EXPECT_FALSE(CFRequiredTypeRef(number, CFStringGetTypeID(), "propertyValue"));
    const int line = __LINE__ - 1;
    EXPECT_EQ(capture.text(),
        format("REQUIRED_CFTYPEREF [propertyValue ((CFNumber)0x%08lx) != CFStringGetTypeID() (%08lx!=%08lx)] FAILED : "
               "in TestBody LINE# %d (RequirementsTests.cpp)\n\n",
            numberOf(number.get()), CFNumberGetTypeID(), CFStringGetTypeID(), line));
}

TEST(Requirements, NullObjectWhereATypeIsRequiredIsShownLongWithTheNameOfItsType)
{
    StandardErrorCapture capture;
    EXPECT_FALSE(CFRequiredTypeOfIn("function", kCFNull, CFStringGetTypeID(), "value"));
    const int line = __LINE__ - 1;
    EXPECT_EQ(capture.text(),
        format("REQUIRED_CFTYPEOF [value ((%@)0x%08lx) != CFStringGetTypeID() (%08lx!=%08lx)] FAILED : in function "
               "LINE# %d (RequirementsTests.cpp)\n\n",
            CFCopyTypeIDDescription(CFNullGetTypeID()), numberOf(kCFNull), CFNullGetTypeID(), CFStringGetTypeID(),
            line));
}

TEST(Requirements, ObjectWithoutATypePrintsAQuestionMark)
{
    StandardErrorCapture capture;
    const auto object = make<Untyped>();
    __CFRequiredTypeOfBody("TAG", object, CFStringGetTypeID(), "File.cpp", "function", 9, "object");
    EXPECT_EQ(capture.text(),
        format("TAG [object ((?)0x%08lx) != CFStringGetTypeID() (00000000!=%08lx)] FAILED : in function LINE# 9 "
               "(File.cpp)\n\n",
            numberOf(object.get()), CFStringGetTypeID()));
}

TEST(Requirements, FailedDispatchObjectPrintsTheFixedWordAndNeverTheTag)
{
    StandardErrorCapture capture;
    dispatch_queue* const sTimerQueue = nullptr;
    EXPECT_FALSE(DispatchRequiredIn("create_async_dispatch_timer", sTimerQueue));
    const int line = __LINE__ - 1;
    EXPECT_EQ(capture.text(),
        format("REQUIRED_DISPATCH_QUEUE 0x00000000==NULL - sTimerQueue in RequirementsTests.cpp:%d "
               "(create_async_dispatch_timer)\n",
            line));
}

TEST(Requirements, NullBlockPrintsItsTag)
{
    StandardErrorCapture capture;
    __BlockPtrRequiredBody("TAG", nullptr, "File.cpp", "function", 2, "block");
    EXPECT_EQ(capture.text(), "REQUIRED_BLOCK_PTR TAG 0x00000000==NULL - block in File.cpp:2 (function)\n");
}

TEST(Requirements, ClosuresAreRequiredToBeThere)
{
    StandardErrorCapture capture;
    std::function<void()> closure;
    EXPECT_FALSE(BlockPtrRequiredIn("function", "TAG", closure));
    const int line = __LINE__ - 1;
    closure = [] {};
    EXPECT_TRUE(BlockPtrRequired("TAG", closure));
    EXPECT_EQ(capture.text(),
        format("REQUIRED_BLOCK_PTR TAG 0x00000000==NULL - closure in RequirementsTests.cpp:%d (function)\n", line));
}

TEST(RequiredFoundation, ChecksThatHoldAreTrueAndWriteNothing)
{
    StandardErrorCapture capture;
    const auto object = make<RequirementsTestsDelegating>();
    object->mDelegate = make<RequirementsTestsDelegating>();
    const Ref<CFType> error;
    int calls = 0;
    EXPECT_TRUE(NSRequiredNSErrorNil(error));
    EXPECT_TRUE(NSRequiredNotNil(object));
    EXPECT_TRUE(NSRequiredKindOfClass("TAG", object, NSObject::classObject()));
    EXPECT_TRUE(NSRequiredDelegateSelector("TAG", object, "delegate"));
    EXPECT_TRUE(NSRequiredNoException(++calls));
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(capture.text(), "");
}

TEST(RequiredFoundation, ChecksThatFailShowTheBareTextOfTheirValue)
{
    StandardErrorCapture capture;
    const Ref<CFType> error(CFSTR("it failed"));
    const auto object = make<RequirementsTestsDelegating>();
    const auto raise = [] { throw NSException("Name", "the reason"); };
    EXPECT_FALSE(NSRequiredNSErrorNilIn("function", error));
    EXPECT_FALSE(NSRequiredNotNilIn("function", kCFNull, "the null object"));
    EXPECT_FALSE(NSRequiredKindOfClassIn("function", "TAG", object, NSClassFromString(CFSTR("NoSuchClass"))));
    EXPECT_FALSE(NSRequiredDelegateSelectorIn("function", "TAG", object, "delegate"));
    EXPECT_FALSE(NSRequiredNoExceptionIn("function", raise()));
    EXPECT_EQ(withoutLineNumbers(capture.text()),
        "REQUIRED_NSERROR_NIL it failed - error in RequirementsTests.cpp:N (function)\n"
        "REQUIRED_NOT_NIL NSNull==NSNull - the null object in RequirementsTests.cpp:N (function)\n"
        "TAG [RequirementsTestsDelegating isKindOfClass:(null)] FAILED - object in RequirementsTests.cpp:N (function)\n"
        "TAG RequirementsTestsDelegating.delegate=(null) has no @selector(delegate) - object in "
        "RequirementsTests.cpp:N (function)\n"
        "REQUIRED_NO_EXCEPTION NSException{ the reason } - raise() in RequirementsTests.cpp:N (function)\n");
}

TEST(RequiredFoundation, ExceptionsOfAnotherKindPass)
{
    const auto raise = [] { throw std::runtime_error("another"); };
    EXPECT_THROW(NSRequiredNoException(raise()), std::runtime_error);
}

TEST(RequiredFoundation, NotNilTellsNilFromTheNullObjectAndNamesOtherClasses)
{
    StandardErrorCapture capture;
    __NSRequiredNotNilBody(nullptr, "File.cpp", "function", 1, "x");
    __NSRequiredNotNilBody(kCFNull, "File.cpp", "function", 2, "x");
    __NSRequiredNotNilBody(make<RequirementsTestsDelegating>().get(), "File.cpp", "function", 3, "x");
    EXPECT_EQ(capture.text(),
        "REQUIRED_NOT_NIL (nil)==nil - x in File.cpp:1 (function)\n"
        "REQUIRED_NOT_NIL NSNull==NSNull - x in File.cpp:2 (function)\n"
        "REQUIRED_NOT_NIL RequirementsTestsDelegating==nil - x in File.cpp:3 (function)\n");
}

TEST(RequiredFoundation, KindOfClassNamesBothClasses)
{
    StandardErrorCapture capture;
    __NSRequiredKindOfClassBody(
        "TAG", make<NSObject>().get(), RequirementsTestsDelegating::classObject(), "File.cpp", "function", 1, "x");
    __NSRequiredKindOfClassBody("TAG", nullptr, NSObject::classObject(), "File.cpp", "function", 2, "x");
    EXPECT_EQ(capture.text(),
        "TAG [NSObject isKindOfClass:RequirementsTestsDelegating] FAILED - x in File.cpp:1 (function)\n"
        "TAG [(nil) isKindOfClass:NSObject] FAILED - x in File.cpp:2 (function)\n");
}

TEST(RequiredFoundation, DelegateIsReadOnlyFromObjectsThatAnswerIt)
{
    StandardErrorCapture capture;
    const auto object = make<RequirementsTestsDelegating>();
    object->mDelegate = make<NSObject>();
    __NSRequiredDelegateSelectorBody("TAG", object, "run:with:", "File.cpp", "function", 1, "x");
    __NSRequiredDelegateSelectorBody("TAG", make<NSObject>().get(), "run:with:", "File.cpp", "function", 2, "x");
    __NSRequiredDelegateSelectorBody("TAG", nullptr, "run:with:", "File.cpp", "function", 3, "x");
    EXPECT_EQ(capture.text(),
        format("TAG RequirementsTestsDelegating.delegate=%@ has no @selector(run:with:) - x in File.cpp:1 (function)\n"
               "TAG NSObject.delegate=(null) has no @selector(run:with:) - x in File.cpp:2 (function)\n"
               "TAG (nil).delegate=(null) has no @selector(run:with:) - x in File.cpp:3 (function)\n",
            static_cast<CFType*>(object->mDelegate.get())));
}

TEST(RequiredFoundation, ErrorsAndExceptionsShowWhatTheySay)
{
    StandardErrorCapture capture;
    __NSRequiredNSErrorNilBody(CFSTR("it failed"), "File.cpp", "function", 1, "error");
    __NSRequiredNoExceptionBody(NSException("Name", "the reason"), "function", "File.cpp", 2, "call");
    EXPECT_EQ(capture.text(),
        "REQUIRED_NSERROR_NIL it failed - error in File.cpp:1 (function)\n"
        "REQUIRED_NO_EXCEPTION NSException{ the reason } - call in File.cpp:2 (function)\n");
}
