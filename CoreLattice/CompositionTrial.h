#pragma once

#include "CoreLattice/CompositionError.h"
#include "Platform/CoreMediaIO/UniqueFD.h"

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace CoreLattice {

/// Tries compositions of unknown origin in a process of its own, `tovrin-composition-trial`, before this one takes them
/// in: a file that brings the shader compiler to its knees, or the driver, brings down that one only.
///
/// There the file is read, compiled and drawn a few times, at several moments and with its numbers at their bounds.
/// What came out is kept in a folder by the hash of the contents, so that a file is tried once. Any thread may use it,
/// but it waits.
class CompositionTrial {
public:
    struct Settings {
        std::string program; ///< empty for the one beside this program
        std::string cacheFolder; ///< empty for the one in the user's cache folder
        std::chrono::milliseconds limit { 10'000 }; ///< after which the process is killed
    };
    CompositionTrial();
    explicit CompositionTrial(Settings settings);

    /// \param fragment, vertex  the texts of the file and of the vertex shader beside it; empty when there is none
    /// \param file  the file's path
    /// \return nothing for a composition that can be used, also where no trial can be made for want of the program or
    ///     of a graphics driver; else why it cannot
    std::optional<CompositionError> run(std::string_view fragment, std::string_view vertex, const std::string& file);
    /// Ends the trial that runs now, if there is one, and every later one at once; what they tell means nothing. For
    /// the end of the process.
    void cancel();

private:
    struct Outcome {
        bool isSettled = false; ///< would come out the same again
        std::optional<CompositionError> error;
    };
    Outcome tryOut(std::string_view fragment, std::string_view vertex, const std::string& file) const;
    static Outcome outcomeOf(const std::string& text, const std::string& file);
    std::optional<Outcome> remembered(const std::string& key, const std::string& file);
    void remember(const std::string& key, const Outcome& outcome, const std::string& file);

    const Settings mSettings;
    const UniqueFD mCancellation; ///< readable once it was cancelled
    std::mutex mLock;
    std::map<std::string, Outcome> mOutcomes; ///< of this process's life, those that may come out otherwise too
};

/// What the program does: reads a composition from \p input as `run` wrote it there, tries it and prints the outcome.
/// \return the program's exit status
int runCompositionTrial(const std::string& input, const std::string& file);

}
