#include "Platform/Foundation/NSURL.h"

#include <filesystem>

NS_IMPLEMENTATION(NSURL, NSObject)
{
    type.message("path", &NSURL::path);
    type.message("absoluteString", &NSURL::absoluteString);
    type.message("lastPathComponent", &NSURL::lastPathComponent);
    type.message("isFileURL", &NSURL::isFileURL);
    type.key("path", &NSURL::path);
    type.key("absoluteString", &NSURL::absoluteString);
    type.key("lastPathComponent", &NSURL::lastPathComponent);
}

Ref<NSURL> NSURL::fileURLWithPath(CFString* path)
{
    if (!path)
        return nullptr;
    std::error_code failure;
    const auto absolute = std::filesystem::absolute(path->string(), failure);
    return make<NSURL>(failure ? path->string() : absolute.string());
}

CFString* NSURL::absoluteString() const
{
    constexpr std::string_view plain
        = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/!$&'()*+,;=:@";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text = "file://";
    for (const char c : mPath) {
        if (plain.find(c) != std::string_view::npos) {
            text += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            text += { '%', digits[byte >> 4], digits[byte & 15] };
        }
    }
    return autorelease(CFString::create(text));
}

CFString* NSURL::lastPathComponent() const
{
    return autorelease(CFString::create(std::filesystem::path(mPath).filename().string()));
}

Ref<NSURL> NSURL::URLByAppendingPathComponent(CFString* component) const
{
    return make<NSURL>((std::filesystem::path(mPath) / textOf(component)).string());
}

Ref<NSURL> NSURL::URLByDeletingLastPathComponent() const
{
    return make<NSURL>(std::filesystem::path(mPath).parent_path().string());
}

bool NSURL::isEqual(CFType* other)
{
    const auto* const url = dynamic_cast<NSURL*>(other);
    return url && url->mPath == mPath;
}

CFHashCode NSURL::hash()
{
    return std::hash<std::string> {}(mPath);
}

std::string NSURL::description()
{
    const AutoreleasePool pool;
    return absoluteString()->string();
}
