#include "Platform/CoreFoundation/CFPropertyList.h"

#include "Platform/CoreFoundation/CFCollections.h"
#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/CoreFoundation/FailPoint.h"

#include <charconv>
#include <stdexcept>
#include <utility>

namespace {

/// Reads one document from its start. Deeper nesting than any real list has is refused, since the file may be damaged.
class PropertyListReader {
public:
    explicit PropertyListReader(std::string_view text)
        : mText(text)
    {
    }

    Ref<CFType> read()
    {
        skipProlog();
        if (takeTag() != "plist")
            fail("no plist element");
        auto value = readValue(takeTag(), 0);
        if (takeTag() != "/plist")
            fail("more than one value");
        return value;
    }

private:
    static constexpr int sDeepest = 64;

    [[noreturn]] void fail(std::string_view what) const
    {
        throw std::runtime_error(std::string(what) + " at byte " + std::to_string(mAt));
    }

    void skipSpace()
    {
        const auto next = mText.find_first_not_of(" \t\r\n", mAt);
        mAt = next == std::string_view::npos ? mText.size() : next;
    }

    /// Moves behind the next \p mark and gives what stood before it.
    std::string_view takeUntil(std::string_view mark)
    {
        const auto end = mText.find(mark, mAt);
        if (end == std::string_view::npos)
            fail("the document ends early");
        const auto result = mText.substr(mAt, end - mAt);
        mAt = end + mark.size();
        return result;
    }

    void skipProlog()
    {
        for (skipSpace(); mText.substr(mAt).starts_with("<?") || mText.substr(mAt).starts_with("<!"); skipSpace())
            takeUntil(">");
    }

    /// The name of the tag that comes next; "/name" for an end, and without attributes. Says in `mIsEmpty` whether the
    /// element ends with it.
    std::string_view takeTag()
    {
        skipSpace();
        while (mText.substr(mAt).starts_with("<!--")) {
            takeUntil("-->");
            skipSpace();
        }
        if (mAt >= mText.size() || mText[mAt] != '<')
            fail("a tag is missing");
        ++mAt;
        auto tag = takeUntil(">");
        mIsEmpty = tag.ends_with('/');
        if (mIsEmpty)
            tag.remove_suffix(1);
        return tag.substr(0, tag.find_first_of(" \t\r\n"));
    }

    std::string takeText(std::string_view name)
    {
        if (mIsEmpty)
            return {};
        const auto text = takeUntil("<");
        const auto end = takeUntil(">");
        if (end.size() != name.size() + 1 || end.front() != '/' || end.substr(1) != name)
            fail("an element does not end");
        return unescaped(text);
    }

    std::string unescaped(std::string_view text) const
    {
        static constexpr std::pair<std::string_view, char> entities[]
            = { { "&amp;", '&' }, { "&lt;", '<' }, { "&gt;", '>' }, { "&quot;", '"' }, { "&apos;", '\'' } };
        std::string result;
        while (!text.empty()) {
            std::size_t taken = 1;
            char character = text.front();
            for (const auto& [name, meant] : entities) {
                if (text.starts_with(name)) {
                    character = meant;
                    taken = name.size();
                }
            }
            result += character;
            text.remove_prefix(taken);
        }
        return result;
    }

    template <class T> T number(std::string_view name)
    {
        const auto text = takeText(name);
        T value {};
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc() || end != text.data() + text.size())
            fail("a number is wrong");
        return value;
    }

    Ref<CFType> readValue(std::string_view tag, int depth)
    {
        if (depth > sDeepest)
            fail("nested too deeply");
        if (tag == "string")
            return Ref<CFType>(CFSTR(takeText(tag)));
        if (tag == "integer")
            return CFNumber::create(number<std::int64_t>(tag));
        if (tag == "real")
            return CFNumber::create(number<double>(tag));
        if ((tag == "true" || tag == "false") && mIsEmpty)
            return Ref<CFType>(CFBoolean::of(tag == "true"));
        if (tag == "dict")
            return readDictionary(depth);
        if (tag == "array")
            return readArray(depth);
        fail("an unknown element");
    }

    Ref<CFType> readDictionary(int depth)
    {
        auto dictionary = CFDictionary::create();
        if (mIsEmpty)
            return dictionary;
        for (auto tag = takeTag(); tag != "/dict"; tag = takeTag()) {
            if (tag != "key")
                fail("a key is missing");
            auto* const key = CFSTR(takeText(tag));
            dictionary->set(key, readValue(takeTag(), depth + 1).get());
        }
        return dictionary;
    }

    Ref<CFType> readArray(int depth)
    {
        auto array = CFArray::create();
        if (mIsEmpty)
            return array;
        for (auto tag = takeTag(); tag != "/array"; tag = takeTag())
            array->append(readValue(tag, depth + 1).get());
        return array;
    }

    const std::string_view mText;
    std::size_t mAt = 0;
    bool mIsEmpty = false;
};

}

Ref<CFType> CFPropertyListCreateWithStream(CFAllocatorRef /*allocator*/, CFReadStream* stream, CFIndex streamLength,
    CFPropertyListMutabilityOptions /*options*/, CFIndex* /*format*/, Ref<CFType>* error)
{
    if (FAIL_POINT("CFPropertyListCreateWithStream") || !stream)
        return nullptr;
    std::string_view text(stream->contents());
    if (streamLength > 0)
        text = text.substr(0, static_cast<std::size_t>(streamLength));
    try {
        return PropertyListReader(text).read();
    } catch (const std::runtime_error& failure) {
        if (error)
            *error = CFString::create(failure.what());
        return nullptr;
    }
}
