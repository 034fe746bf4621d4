#pragma once

#include "shared/platform/linux/descriptor.h"
#include "shared/platform/result.h"

#include <charconv>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <fcntl.h>

namespace ox::platform
{

/// Reads the start of a file, up to the size of `buffer`.
/// Fails: with the path as Error::step.
inline Result<std::string_view> tryReadStart(char const * path, std::span<char> buffer)
{
    Descriptor const file(::open(path, O_RDONLY | O_CLOEXEC));
    if (!file.isOpen())
        return lastError(path);
    std::size_t length = 0;
    while (length < buffer.size()) {
        ssize_t const read = ::read(file.get(), buffer.data() + length, buffer.size() - length);
        if (read < 0 && errno == EINTR)
            continue;
        if (read < 0 && length == 0)
            return lastError(path);
        if (read <= 0)
            break;
        length += static_cast<std::size_t>(read);
    }
    return std::string_view(buffer.data(), length);
}

/// Reads the start of a file, up to the size of `buffer`; empty if the file is not readable.
inline std::string_view readStart(char const * path, std::span<char> buffer)
{
    return tryReadStart(path, buffer).value_or({});
}

/// Reads a whole file, even a file in /proc or /sys, whose size the kernel does not report. Empty
/// if the file is not readable.
inline std::string wholeFile(char const * path)
{
    for (std::string text(4096, '\0');; text.resize(text.size() * 2)) {
        std::size_t const length = readStart(path, text).size();
        if (length < text.size()) {
            text.resize(length);
            return text;
        }
    }
}

/// Returns the text before the next separator. Removes this text and the separator from `text`.
inline std::string_view takeUntil(std::string_view & text, char separator)
{
    std::size_t const end = text.find(separator);
    std::string_view const taken = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return taken;
}

/// Returns the text without blanks, tabs and line feeds at both ends.
inline std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\n";
    std::size_t const first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Parses the number at the start of a text; skips leading blanks. Empty if there is no number.
template <typename Number>
std::optional<Number> numberOf(std::string_view text)
{
    text = trimmed(text);
    Number number{};
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() ? std::optional(number) : std::nullopt;
}

} // namespace ox::platform
