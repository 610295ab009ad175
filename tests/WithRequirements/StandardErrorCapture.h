#pragma once

#include "WithRequirements/RequiredCoreLog.h"

#include <cstdio>
#include <regex>
#include <string>
#include <unistd.h>

/// Collects what is written to standard error during its life, to compare log lines whole.
class StandardErrorCapture {
public:
    StandardErrorCapture()
        : mFile(std::tmpfile())
        , mSaved(dup(STDERR_FILENO))
    {
        // What was logged earlier goes where it was meant to go.
        __CFLogDrain();
        std::fflush(stderr);
        dup2(fileno(mFile), STDERR_FILENO);
    }
    ~StandardErrorCapture()
    {
        restore();
        std::fclose(mFile);
    }
    StandardErrorCapture(const StandardErrorCapture&) = delete;
    StandardErrorCapture& operator=(const StandardErrorCapture&) = delete;

    /// Everything written so far, the lines that still waited on the log queue included. Ends the collection.
    std::string text()
    {
        __CFLogDrain();
        restore();
        std::string result;
        std::rewind(mFile);
        for (int character; (character = std::fgetc(mFile)) != EOF;)
            result += static_cast<char>(character);
        return result;
    }

private:
    void restore()
    {
        if (mSaved < 0)
            return;
        std::fflush(stderr);
        dup2(mSaved, STDERR_FILENO);
        close(mSaved);
        mSaved = -1;
    }

    std::FILE* mFile;
    int mSaved;
};

/// The text with an N for every line number of a check in it, to compare lines of checks that stand in other files.
inline std::string withoutLineNumbers(const std::string& text)
{
    return std::regex_replace(text, std::regex("(\\.cpp:|LINE# )[0-9]+"), "$1N");
}

/// The text without the date, the program and the thread that `NSLog` writes before each of its lines.
inline std::string withoutNSLogPrefixes(const std::string& text)
{
    return std::regex_replace(text, std::regex("(^|\n)[0-9-]+ [0-9:.]+ [^\n]*\\[[0-9:]+\\] "), "$1");
}
