#pragma once

#include "tests/WithRequirements/StandardErrorCapture.h"

#include <regex>
#include <string>

/// What \p work wrote to standard error, with "#" for the numbers of source lines, which change with every edit, and
/// without the dates in front of lines that did not pass through the log.
template <class Work> std::string loggedLines(Work work)
{
    StandardErrorCapture capture;
    work();
    auto text = capture.text();
    text = std::regex_replace(text, std::regex(":[0-9]+ \\("), ":# (");
    text = std::regex_replace(text, std::regex("LINE# [0-9]+"), "LINE# #");
    return std::regex_replace(text, std::regex("[0-9-]+ [0-9:.]+ \\S+\\[[0-9:]+\\] "), "");
}
