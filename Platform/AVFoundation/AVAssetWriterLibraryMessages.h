#pragma once

#include "Platform/Foundation/NSError.h"

#include <cstdarg>
#include <string>
#include <string_view>

/// What libavcodec says on this thread while an object of this kind lives; its error numbers alone say too little.
/// Objects may lie within each other: the innermost hears.
class AVAssetWriterLibraryMessages {
public:
    AVAssetWriterLibraryMessages();
    ~AVAssetWriterLibraryMessages();
    AVAssetWriterLibraryMessages(const AVAssetWriterLibraryMessages&) = delete;
    AVAssetWriterLibraryMessages& operator=(const AVAssetWriterLibraryMessages&) = delete;

    /// \param code  an error number of the library
    /// \param action  what could not be done
    /// \return the two of them in words, with what the library has said, in the domain "libavcodec"
    Ref<NSError> error(int code, std::string_view action) const;

private:
    static void receive(void* context, int level, const char* format, va_list arguments);

    static thread_local AVAssetWriterLibraryMessages* sCurrent;
    AVAssetWriterLibraryMessages* const mOuter;
    std::string mText;
};
