#include "Platform/AVFoundation/AVAssetWriterLibraryMessages.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/log.h>
}

#include <algorithm>
#include <mutex>

thread_local AVAssetWriterLibraryMessages* AVAssetWriterLibraryMessages::sCurrent = nullptr;

AVAssetWriterLibraryMessages::AVAssetWriterLibraryMessages()
    : mOuter(sCurrent)
{
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_callback(&AVAssetWriterLibraryMessages::receive); });
    sCurrent = this;
}

AVAssetWriterLibraryMessages::~AVAssetWriterLibraryMessages()
{
    sCurrent = mOuter;
}

Ref<NSError> AVAssetWriterLibraryMessages::error(int code, std::string_view action) const
{
    char words[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, words, sizeof words);
    std::string message(action);
    message += ": ";
    message += words;
    if (!mText.empty())
        message += " (" + mText + ")";
    return NSError::errorWithMessage(CFSTR("libavcodec"), code, message);
}

void AVAssetWriterLibraryMessages::receive(void* context, int level, const char* format, va_list arguments)
{
    if (level > AV_LOG_ERROR || !sCurrent)
        return;
    char line[512] = {};
    int atStart = 1;
    av_log_format_line(context, level, format, arguments, line, sizeof line, &atStart);
    auto& text = sCurrent->mText;
    text = line;
    text.erase(std::find_if(text.rbegin(), text.rend(), [](char letter) { return letter > ' '; }).base(), text.end());
}
