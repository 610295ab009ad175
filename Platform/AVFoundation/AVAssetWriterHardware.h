#pragma once

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

/// Finds out which of the machine's own H.264 encoders works, once, beside everything else.
///
/// Drivers crash and hang. So each candidate is opened, and made to encode a picture, by a program of its own that has
/// a limited time; what it did there is remembered for the life of this process. Any thread may use it.
class AVAssetWriterHardware {
public:
    struct Candidate {
        std::string name; ///< of the encoder in libavcodec
        std::string device; ///< its device file, for those that want one named
    };

    /// The machine's.
    static AVAssetWriterHardware& shared();
    /// \param candidates  in the order in which they are tried
    /// \param program  what tries one: PROGRAM NAME DEVICE ends with 0 when it works
    /// \param limit  how long it may take
    AVAssetWriterHardware(std::vector<Candidate> candidates, std::string program, std::chrono::milliseconds limit);
    ~AVAssetWriterHardware();
    AVAssetWriterHardware(const AVAssetWriterHardware&) = delete;
    AVAssetWriterHardware& operator=(const AVAssetWriterHardware&) = delete;

    /// Begins to try them, the first time. Never waits; costs nothing where there are no candidates.
    void begin();
    /// The one that works, if that is known by now. Never waits. Fail point "AVAssetWriter.hardwareEncoder": libx264
    /// stands in for one.
    std::optional<Candidate> found() const;
    /// Waits until it is known. \return false when that takes longer than \p deadline
    bool waitUntilKnown(std::chrono::milliseconds deadline) const;
    /// The one that was found has failed: there is none from now on.
    void forget();
    /// Ends the trying and the program that does it.
    void stop();

    /// The candidates of this machine by its device files, which nobody opens for that.
    /// \param root  of the file system that has them
    static std::vector<Candidate> candidatesHere(const std::filesystem::path& root = "/");
    /// What the program does: opens the encoder and has it encode pictures until one comes out.
    /// \return why it does not work; empty when it does
    static std::string tryOne(const Candidate& candidate);

private:
    void run();
    bool works(const Candidate& candidate);

    const std::vector<Candidate> mCandidates;
    const std::string mProgram;
    const std::chrono::milliseconds mLimit;
    mutable std::mutex mLock;
    mutable std::condition_variable mChanged;
    std::optional<Candidate> mFound;
    bool mIsKnown = false;
    bool mHasBegun = false;
    int mStopEvent = -1;
    std::thread mThread;
};
