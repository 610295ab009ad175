#include "CoreLattice/CompositionTrial.h"
#include "CoreLattice/ISFRenderer.h"
#include "Platform/OpenGL/GLContext.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace CoreLattice {

namespace {

constexpr std::size_t width = 320;
constexpr std::size_t height = 180;

// The sanitizers reserve more addresses than any limit would let them.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool limitsMemory = false;
#else
constexpr bool limitsMemory = true;
#endif

/// What this process may take at most, whatever the driver does.
void limitOwnMeans()
{
    const rlimit memory { 4UL << 30, 4UL << 30 };
    const rlimit seconds { 20, 20 };
    const rlimit nothing { 0, 0 };
    if (limitsMemory)
        ::setrlimit(RLIMIT_AS, &memory);
    ::setrlimit(RLIMIT_CPU, &seconds);
    ::setrlimit(RLIMIT_CORE, &nothing);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    // Where memory runs out all the same, this process is the one to go.
    std::ofstream("/proc/self/oom_score_adj") << 1000;
    // Nobody waits for it, while pictures are to be drawn: it comes last, and on one processor.
    static_cast<void>(::nice(10));
    ::setenv("LP_NUM_THREADS", "0", 0);
}

int print(const char* outcome)
{
    std::printf("composition-trial\t%s\n", outcome);
    return 0;
}

int print(const CompositionError& error, const std::string& file)
{
    // The driver's words may be the file's, which shall not pass for an outcome.
    auto message = error.message;
    std::ranges::replace_if(
        message, [](char c) { return c >= 0 && c < ' '; }, ' ');
    std::printf("composition-trial\tbad\t%d\t%c\t%s\n", error.line, error.file == file ? 'f' : 'v', message.c_str());
    return 0;
}

Ref<CVPixelBuffer> picture()
{
    Ref<CVPixelBuffer> result;
    if (CVPixelBufferCreate(nullptr, width, height, kCVPixelFormatType_32BGRA, nullptr, &result) != kCVReturnSuccess)
        return nullptr;
    for (std::size_t i = 0; i < result->bytesPerRow() * height; ++i)
        result->baseAddress()[i] = static_cast<std::byte>(i * 7 % 251);
    return result;
}

/// The inputs at their defaults, or their numbers at one of their bounds.
std::vector<ISFValue> valuesOf(
    const ISFDocument& document, const Ref<CVPixelBuffer>& shown, std::optional<ISFInput::Numbers> ISFInput::*bound)
{
    std::vector<ISFValue> values;
    for (const auto& input : document.inputs) {
        ISFValue value;
        const ISFInput::Numbers usual { 0, 0, 0, 1 };
        const bool takesBound = bound && input.type != ISFInputType::Color;
        value.numbers = input.defaultValue.value_or(usual);
        if (takesBound)
            value.numbers = (input.*bound).value_or(value.numbers);
        if (input.type == ISFInputType::Image && !input.isSilent) {
            value.picture = shown;
            value.pictureSerial = 1;
        }
        values.push_back(std::move(value));
    }
    return values;
}

bool drawAll(ISFRenderer& renderer, CompositionError* error)
{
    const auto shown = picture();
    Ref<CVPixelBuffer> output;
    if (!shown
        || CVPixelBufferCreate(nullptr, width, height, kCVPixelFormatType_32BGRA, nullptr, &output) != kCVReturnSuccess)
        return true;
    ISFFrame frame;
    frame.width = width;
    frame.height = height;
    for (const auto bound : { static_cast<std::optional<ISFInput::Numbers> ISFInput::*>(nullptr), &ISFInput::minimum,
             &ISFInput::maximum }) {
        frame.values = valuesOf(*renderer.document(), shown, bound);
        for (const double time : { 0.0, 0.5, 100.0 }) {
            frame.time = time;
            renderer.render(frame, *output, error);
            if (!error->message.empty())
                return false;
        }
    }
    return true;
}

}

int runCompositionTrial(const std::string& input, const std::string& file)
{
    limitOwnMeans();
    std::ifstream stream(input, std::ios::binary);
    const std::string text { std::istreambuf_iterator<char>(stream), {} };
    const auto end = text.find('\0');
    if (end == std::string::npos)
        return 2;
    CompositionError error;
    const auto document = ISFDocument::parse(
        std::string_view(text).substr(0, end), std::string_view(text).substr(end + 1), file, &error);
    if (!document)
        return print(error, file);
    std::string reason;
    const auto context = GLContext::create(&reason);
    if (!context || !context->makeCurrent())
        return print("unknown");
    const auto renderer = ISFRenderer::create(document, &error);
    if (!renderer)
        return print(error, file);
    return drawAll(*renderer, &error) ? print("good") : print(error, file);
}

}
