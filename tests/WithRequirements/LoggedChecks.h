#pragma once

#include <sstream>
#include <string>

/// How many lines of \p log are a failed check of this expression.
inline long reports(const std::string& log, const std::string& source)
{
    std::istringstream lines(log);
    long count = 0;
    for (std::string line; std::getline(lines, line);) {
        const bool isCheck = line.starts_with("REQUIRE");
        for (const char* end : { " in ", "==", " :" })
            if (isCheck && line.find(" " + source + end) != std::string::npos) {
                ++count;
                break;
            }
    }
    return count;
}
