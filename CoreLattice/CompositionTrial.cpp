#include "CoreLattice/CompositionTrial.h"

#include "CoreLattice/ISFTranslator.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/SystemExtensions/Subprocess.h"

#include <QCryptographicHash>

#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

namespace CoreLattice {

namespace {

/// To be changed with the translation, so that what was tried with the former one is tried again.
constexpr std::string_view translation = "2";
constexpr std::string_view mark = "composition-trial\t";

std::string usualProgram()
{
    constexpr const char* name = "tovrin-composition-trial";
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    for (const auto& candidate : { folder / name, folder.parent_path() / "bin" / name }) {
        if (std::filesystem::exists(candidate, error))
            return candidate.string();
    }
    return {};
}

std::string usualCacheFolder()
{
    const auto* const cache = std::getenv("XDG_CACHE_HOME");
    const auto* const home = std::getenv("HOME");
    const std::string root = cache && *cache == '/' ? cache
        : home && *home == '/'                      ? std::string(home) + "/.cache"
                                                    : std::string();
    return root.empty() ? root : root + "/tovrin/compositions";
}

CompositionTrial::Settings completed(CompositionTrial::Settings settings)
{
    if (settings.program.empty())
        settings.program = usualProgram();
    if (settings.cacheFolder.empty())
        settings.cacheFolder = usualCacheFolder();
    return settings;
}

std::string keyOf(std::string_view fragment, std::string_view vertex)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const auto part : { translation, std::string_view("\0", 1), fragment, std::string_view("\0", 1), vertex })
        hash.addData({ part.data(), static_cast<qsizetype>(part.size()) });
    return hash.result().toHex().toStdString();
}

/// Memory that another process can open as a file, with the two texts and a zero byte between them.
UniqueFD memoryWith(std::string_view fragment, std::string_view vertex)
{
    UniqueFD memory(::memfd_create("composition", MFD_CLOEXEC));
    for (auto text : { fragment, std::string_view("\0", 1), vertex }) {
        while (memory.get() >= 0 && !text.empty()) {
            const auto count = ::write(memory.get(), text.data(), text.size());
            if (count <= 0)
                return UniqueFD();
            text.remove_prefix(static_cast<std::size_t>(count));
        }
    }
    return memory;
}

}

CompositionTrial::CompositionTrial()
    : CompositionTrial(Settings {})
{
}

CompositionTrial::CompositionTrial(Settings settings)
    : mSettings(completed(std::move(settings)))
    , mCancellation(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

void CompositionTrial::cancel()
{
    static_cast<void>(::eventfd_write(mCancellation.get(), 1));
}

std::optional<CompositionError> CompositionTrial::run(
    std::string_view fragment, std::string_view vertex, const std::string& file)
{
    const auto key = keyOf(fragment, vertex);
    if (const auto known = remembered(key, file))
        return known->error;
    auto outcome = tryOut(fragment, vertex, file);
    remember(key, outcome, file);
    return outcome.error;
}

CompositionTrial::Outcome CompositionTrial::tryOut(
    std::string_view fragment, std::string_view vertex, const std::string& file) const
{
    const auto memory = memoryWith(fragment, vertex);
    if (mSettings.program.empty() || memory.get() < 0)
        return {};
    const auto path = "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(memory.get());
    const auto result = runSubprocess({ mSettings.program, path, file }, mSettings.limit, mCancellation.get());
    // The driver may have spoken before.
    const auto at = result.output.rfind(mark);
    if (result.status >= 0 && at != std::string::npos)
        return outcomeOf(result.output.substr(at + mark.size()), file);
    pollfd cancelled { mCancellation.get(), POLLIN, 0 };
    if (::poll(&cancelled, 1, 0) > 0)
        return {};
    if (result.isKilled)
        return { false,
            CompositionError { file, 0,
                "compiling and drawing it takes longer than " + std::to_string(mSettings.limit.count()) + " ms" } };
    if (result.status >= 0 || !std::filesystem::exists(mSettings.program)) {
        NSLog(CFSTR("A composition cannot be tried: %s"), result.output.c_str());
        return {};
    }
    return { true, CompositionError { file, 0, "the graphics driver fails on it: " + result.output } };
}

/// \param text  "good", "unknown", or "bad", the line, "f" or "v" for the file, and the message, with tabs between them
CompositionTrial::Outcome CompositionTrial::outcomeOf(const std::string& text, const std::string& file)
{
    constexpr std::string_view bad = "bad\t";
    if (!text.starts_with(bad))
        return { text.starts_with("good"), std::nullopt };
    CompositionError error { file, 0, {} };
    const auto* const end = text.data() + text.size();
    const auto [at, problem] = std::from_chars(text.data() + bad.size(), end, error.line);
    const std::string_view rest(at, static_cast<std::size_t>(end - at));
    // Anything else is no outcome.
    if (problem != std::errc() || rest.size() < 4 || !(rest.starts_with("\tf\t") || rest.starts_with("\tv\t")))
        return {};
    if (rest[1] == 'v')
        error.file = vertexFileOf(file);
    error.message = rest.substr(3);
    return { true, std::move(error) };
}

std::optional<CompositionTrial::Outcome> CompositionTrial::remembered(const std::string& key, const std::string& file)
{
    {
        const std::lock_guard lock(mLock);
        const auto found = mOutcomes.find(key);
        if (found != mOutcomes.end())
            return found->second;
    }
    std::ifstream stream(mSettings.cacheFolder + "/" + key, std::ios::binary);
    if (mSettings.cacheFolder.empty() || !stream)
        return std::nullopt;
    auto outcome = outcomeOf({ std::istreambuf_iterator<char>(stream), {} }, file);
    return outcome.isSettled ? std::optional(std::move(outcome)) : std::nullopt;
}

void CompositionTrial::remember(const std::string& key, const Outcome& outcome, const std::string& file)
{
    {
        const std::lock_guard lock(mLock);
        mOutcomes[key] = outcome;
    }
    std::error_code ignored;
    if (!outcome.isSettled || mSettings.cacheFolder.empty())
        return;
    std::filesystem::create_directories(mSettings.cacheFolder, ignored);
    // In one piece, so that nobody ever reads a half; and not at all when the disk is full.
    const auto path = mSettings.cacheFolder + "/" + key;
    const auto unfinished = path + "." + std::to_string(::getpid());
    std::ofstream stream(unfinished, std::ios::binary);
    if (outcome.error)
        stream << "bad\t" << outcome.error->line << '\t' << (outcome.error->file == file ? 'f' : 'v') << '\t'
               << outcome.error->message;
    else
        stream << "good";
    stream.close();
    if (stream)
        std::filesystem::rename(unfinished, path, ignored);
    else
        std::filesystem::remove(unfinished, ignored);
}

}
