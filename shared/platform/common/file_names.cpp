#include "shared/platform/file_names.h"

#include <algorithm>

namespace ox::platform
{
namespace
{

bool isSurrogate(char32_t unit, char16_t first)
{
    return (unit & 0xFFFFFC00) == first;
}

/// Returns whether a code point represents a byte that is not UTF-8. The low 8 bits of the code
/// point are the byte.
bool isInvalidByte(char32_t code)
{
    return code >= 0xDC80 && code <= 0xDCFF;
}

void append(std::string & bytes, char32_t code)
{
    auto const put = [&bytes](char32_t byte) { bytes.push_back(static_cast<char>(byte)); };
    auto const putTail = [&put](char32_t bits) { put(0x80 | (bits & 0x3F)); };
    if (code < 0x80) {
        put(code);
    } else if (code < 0x800) {
        put(0xC0 | code >> 6);
        putTail(code);
    } else if (code < 0x10000) {
        put(0xE0 | code >> 12);
        putTail(code >> 6);
        putTail(code);
    } else {
        put(0xF0 | code >> 18);
        putTail(code >> 12);
        putTail(code >> 6);
        putTail(code);
    }
}

struct CodePoint {
    char32_t value;
    std::size_t length;
};

/// Returns the code point at the start of the bytes, or U+FFFD with the length 1 if the bytes do
/// not start with valid UTF-8.
CodePoint first(std::string_view bytes)
{
    static constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    static constexpr CodePoint invalid{0xFFFD, 1};
    auto const byte = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    unsigned const lead = byte(0);
    if (lead < 0x80)
        return {lead, 1};
    std::size_t const length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length == 0 || lead > 0xF4 || bytes.size() < length)
        return invalid;
    char32_t value = lead & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return invalid;
        value = value << 6 | (byte(i) & 0x3Fu);
    }
    return value < smallest[length] || value > 0x10FFFF ? invalid : CodePoint{value, length};
}

template <typename Append>
std::string encoded(std::u16string_view text, Append append)
{
    std::string bytes;
    bytes.reserve(text.size() * 3);
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t code = text[i];
        if (isSurrogate(code, 0xD800) && i + 1 < text.size() && isSurrogate(text[i + 1], 0xDC00))
            code = 0x10000 + ((code & 0x3FF) << 10) + (text[++i] & 0x3FFu);
        append(bytes, code);
    }
    return bytes;
}

template <typename First>
std::u16string decoded(std::string_view bytes, First first)
{
    std::u16string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        auto const [code, length] = first(bytes);
        bytes.remove_prefix(length);
        if (code >= 0x10000) {
            text.push_back(static_cast<char16_t>(0xD7C0 + (code >> 10)));
            text.push_back(static_cast<char16_t>(0xDC00 | (code & 0x3FF)));
        } else {
            text.push_back(static_cast<char16_t>(code));
        }
    }
    return text;
}

} // namespace

NativeName nativeName(std::string_view name)
{
    return nativeName(recordText(name));
}

std::optional<std::string> recordName(std::u16string_view name)
{
    NativeName const native = nativeName(name);
    if (native.empty())
        return std::nullopt;
    auto const isLatin1 = [](char16_t c) { return c <= 0xFF; };
    if (std::all_of(name.begin(), name.end(), isLatin1)) {
        std::string latin1(name.size(), '\0');
        std::transform(name.begin(), name.end(), latin1.begin(),
                       [](char16_t c) { return static_cast<char>(c); });
        if (nativeName(latin1) == native)
            return latin1;
    }
    std::string utf8 = toUtf8(name);
    if (nativeName(utf8) == native)
        return utf8;
    return std::nullopt;
}

std::string toUtf8(std::u16string_view text)
{
    return encoded(text, [](std::string & bytes, char32_t code) { append(bytes, code); });
}

std::u16string fromUtf8(std::string_view bytes)
{
    return decoded(bytes, first);
}

std::string toFileName(std::u16string_view name)
{
    return encoded(name, [](std::string & bytes, char32_t code) {
        if (isInvalidByte(code))
            bytes.push_back(static_cast<char>(code & 0xFF));
        else
            append(bytes, code);
    });
}

std::u16string fromFileName(std::string_view bytes)
{
    return decoded(bytes, [](std::string_view rest) {
        CodePoint const point = first(rest);
        bool const isInvalid = point.value == 0xFFFD && point.length == 1;
        bool const isUtf8 =
            !isInvalid && !isSurrogate(point.value, 0xD800) && !isSurrogate(point.value, 0xDC00);
        return isUtf8 ? point : CodePoint{0xDC00u | static_cast<unsigned char>(rest[0]), 1};
    });
}

std::u16string systemText(std::string_view bytes)
{
    std::u16string text = fromUtf8(bytes);
    if (toUtf8(text) == bytes)
        return text;
    text.clear();
    for (char const byte : bytes)
        text.push_back(static_cast<unsigned char>(byte));
    return text;
}

} // namespace ox::platform
