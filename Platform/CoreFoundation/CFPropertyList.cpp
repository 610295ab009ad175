#include "Platform/CoreFoundation/CFPropertyList.h"

#include "Platform/CoreFoundation/CFCollections.h"
#include "Platform/CoreFoundation/CFData.h"
#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/CoreFoundation/CFStringEncoding.h"
#include "Platform/CoreFoundation/FailPoint.h"

#include <algorithm>
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
        if (!CFStringIsUTF8(mText))
            fail("no UTF-8");
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

    /// Moves behind what comes next if it is a comment or an instruction; says whether it was.
    bool skipRemark()
    {
        for (const auto& [start, end] : { std::pair { "<!--", "-->" }, std::pair { "<?", "?>" } }) {
            if (mText.substr(mAt).starts_with(start)) {
                takeUntil(end);
                return true;
            }
        }
        return false;
    }

    void skipSpaceAndRemarks()
    {
        do {
            skipSpace();
        } while (skipRemark());
    }

    /// The declaration of the document's type may hold declarations of its own between brackets.
    void skipProlog()
    {
        constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
        if (mText.starts_with(byteOrderMark))
            mAt = byteOrderMark.size();
        skipSpaceAndRemarks();
        if (!mText.substr(mAt).starts_with("<!DOCTYPE"))
            return;
        const auto declared = mText.substr(mAt, mText.find_first_of("[>", mAt) - mAt + 1);
        if (declared.ends_with('['))
            takeUntil("]");
        takeUntil(">");
        skipSpaceAndRemarks();
    }

    /// The name of the tag that comes next; "/name" for an end, and without attributes. Says in `mIsEmpty` whether the
    /// element ends with it.
    std::string_view takeTag()
    {
        skipSpaceAndRemarks();
        if (mAt >= mText.size() || mText[mAt] != '<')
            fail("a tag is missing");
        ++mAt;
        auto tag = takeUntil(">");
        mIsEmpty = tag.ends_with('/');
        if (mIsEmpty)
            tag.remove_suffix(1);
        return tag.substr(0, tag.find_first_of(" \t\r\n"));
    }

    /// The text of the element whose start was taken, and its end.
    std::string takeText(std::string_view name)
    {
        constexpr std::string_view literal = "<![CDATA[";
        std::string text;
        if (mIsEmpty)
            return text;
        for (;;) {
            const auto next = mText.find('<', mAt);
            text += unescaped(mText.substr(mAt, next - mAt));
            mAt = std::min(next, mText.size());
            if (mText.substr(mAt).starts_with(literal)) {
                mAt += literal.size();
                text += takeUntil("]]>");
            } else if (!skipRemark()) {
                if (takeTag() != "/" + std::string(name))
                    fail("an element does not end");
                return text;
            }
        }
    }

    std::string unescaped(std::string_view text) const
    {
        std::string result;
        while (!text.empty()) {
            const auto start = text.find('&');
            result += text.substr(0, start);
            if (start == std::string_view::npos)
                break;
            const auto end = text.find(';', start);
            if (end == std::string_view::npos)
                fail("an entity does not end");
            result += meaningOf(text.substr(start + 1, end - start - 1));
            text.remove_prefix(end + 1);
        }
        return result;
    }

    std::string meaningOf(std::string_view entity) const
    {
        static constexpr std::pair<std::string_view, char> named[]
            = { { "amp", '&' }, { "lt", '<' }, { "gt", '>' }, { "quot", '"' }, { "apos", '\'' } };
        for (const auto& [name, meant] : named) {
            if (entity == name)
                return std::string(1, meant);
        }
        const bool isHexadecimal = entity.starts_with("#x");
        if (!entity.starts_with('#'))
            fail("an unknown entity");
        std::uint32_t code = 0;
        entity.remove_prefix(isHexadecimal ? 2 : 1);
        const auto [end, error]
            = std::from_chars(entity.data(), entity.data() + entity.size(), code, isHexadecimal ? 16 : 10);
        auto character = encoded(code);
        if (error != std::errc() || end != entity.data() + entity.size() || code == 0 || code > 0x10FFFF
            || !CFStringIsUTF8(character))
            fail("a character's number is wrong");
        return character;
    }

    /// The character of this number as UTF-8; ill-formed for a number that no character has.
    static std::string encoded(std::uint32_t code)
    {
        if (code < 0x80)
            return std::string(1, static_cast<char>(code));
        int following = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
        const std::uint32_t leading = following == 1 ? 0xC0 : following == 2 ? 0xE0 : 0xF0;
        std::string result(1, static_cast<char>(leading | code >> 6 * following));
        while (following-- > 0)
            result += static_cast<char>(0x80 | (code >> 6 * following & 0x3F));
        return result;
    }

    std::string takeTrimmedText(std::string_view name)
    {
        constexpr std::string_view space = " \t\r\n";
        auto text = takeText(name);
        text.erase(0, text.find_first_not_of(space));
        text.erase(text.find_last_not_of(space) + 1);
        return text;
    }

    template <class T, class... Base> T number(std::string_view text, Base... base)
    {
        T value {};
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base...);
        if (error != std::errc() || end != text.data() + text.size())
            fail("a number is wrong");
        return value;
    }

    /// In decimal, or in hexadecimal behind "0x".
    std::int64_t integer(std::string_view text)
    {
        const bool isNegative = text.starts_with('-');
        if (isNegative || text.starts_with('+'))
            text.remove_prefix(1);
        const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
        const auto size = number<std::uint64_t>(text.substr(isHexadecimal ? 2 : 0), isHexadecimal ? 16 : 10);
        if (size > std::uint64_t { INT64_MAX } + (isNegative ? 1 : 0))
            fail("a number is too large");
        return static_cast<std::int64_t>(isNegative ? std::uint64_t { 0 } - size : size);
    }

    /// Bytes in base 64, with space anywhere.
    std::vector<std::byte> data(std::string_view text)
    {
        constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        std::vector<std::byte> bytes;
        std::uint32_t bits = 0;
        int count = 0;
        int padding = 0;
        for (const char character : text) {
            if (std::string_view(" \t\r\n").find(character) != std::string_view::npos)
                continue;
            const auto digit = digits.find(character);
            padding += character == '=';
            if (character != '=' && (digit == std::string_view::npos || padding > 0))
                fail("a byte is wrong");
            bits = bits << 6 | (character == '=' ? 0 : static_cast<std::uint32_t>(digit));
            if (++count % 4 == 0) {
                for (int byte = 0; byte < 3 - padding; ++byte)
                    bytes.push_back(static_cast<std::byte>(bits >> (16 - 8 * byte)));
            }
        }
        if (count % 4 != 0 || padding > 2)
            fail("a byte is missing");
        return bytes;
    }

    Ref<CFType> readValue(std::string_view tag, int depth)
    {
        if (depth > sDeepest)
            fail("nested too deeply");
        if (tag == "string")
            return Ref<CFType>(CFSTR(takeText(tag)));
        if (tag == "integer")
            return CFNumber::create(integer(takeTrimmedText(tag)));
        if (tag == "real")
            return CFNumber::create(number<double>(takeTrimmedText(tag)));
        if ((tag == "true" || tag == "false") && takeTrimmedText(tag).empty())
            return Ref<CFType>(CFBoolean::of(tag == "true"));
        if (tag == "data")
            return make<CFData>(data(takeText(tag)));
        if (tag == "date")
            return Ref<CFType>(CFSTR(takeTrimmedText(tag)));
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
