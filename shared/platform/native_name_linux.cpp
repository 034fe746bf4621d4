#include "shared/platform/native_name.h"

#include <cstdint>

namespace ox::platform
{
namespace
{

void appendUtf8(std::string & bytes, char32_t codePoint)
{
    auto const put = [&bytes](char32_t byte) { bytes.push_back(static_cast<char>(byte)); };
    if (codePoint < 0x80) {
        put(codePoint);
    } else if (codePoint < 0x800) {
        put(0xC0 | codePoint >> 6);
        put(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        put(0xE0 | codePoint >> 12);
        put(0x80 | (codePoint >> 6 & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    } else {
        put(0xF0 | codePoint >> 18);
        put(0x80 | (codePoint >> 12 & 0x3F));
        put(0x80 | (codePoint >> 6 & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    }
}

/// Length of the well-formed UTF-8 sequence at the start of the text, 0 when there is none.
std::size_t utf8SequenceLength(std::string_view text)
{
    auto const byte = [text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    std::uint8_t const lead = byte(0);
    if (lead < 0x80)
        return 1;
    std::size_t const length = lead < 0xC2   ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length == 0 || text.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    }
    bool const overlong = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xF0 && byte(1) < 0x90);
    bool const tooLarge = lead == 0xF4 && byte(1) > 0x8F;
    return overlong || tooLarge ? 0 : length;
}

bool isUtf8(std::string_view text)
{
    while (!text.empty()) {
        std::size_t const length = utf8SequenceLength(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

} // namespace

NativeName nativeName(std::u16string_view name)
{
    std::string bytes;
    if (name.find(u'\0') != name.npos)
        return bytes;
    bytes.reserve(name.size() * 3);
    for (std::size_t i = 0; i < name.size(); ++i) {
        char32_t codePoint = name[i];
        bool const pair = codePoint >= 0xD800 && codePoint < 0xDC00 && i + 1 < name.size() &&
                          name[i + 1] >= 0xDC00 && name[i + 1] < 0xE000;
        if (pair)
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (name[++i] - 0xDC00);
        appendUtf8(bytes, codePoint);
    }
    return bytes;
}

NativeName nativeName(std::string_view name)
{
    if (name.find('\0') != name.npos)
        return {};
    // Bytes that are not UTF-8 were written by a system whose file names are Latin-1.
    // Surrogates encoded on their own are kept: nativeName(u16string_view) writes them so.
    if (isUtf8(name))
        return std::string(name);
    std::string bytes;
    bytes.reserve(name.size() * 2);
    for (char const c : name)
        appendUtf8(bytes, static_cast<std::uint8_t>(c));
    return bytes;
}

std::optional<std::string> recordName(std::u16string_view name)
{
    std::string const bytes = nativeName(name);
    if (bytes.empty())
        return std::nullopt;
    return bytes;
}

} // namespace ox::platform
