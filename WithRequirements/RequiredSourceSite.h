#pragma once

/// Where a requirement was tested. Lives on the stack of a body for the length of one call.
struct RequiredSourceSite {
    const char* file = nullptr; ///< stands before the colon; bodies of status kinds put the function's name here
    const char* function = nullptr; ///< stands in the parentheses
    int line = 0;
    const char* source = nullptr; ///< the text of the tested expression
};
