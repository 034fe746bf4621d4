#pragma once

#include <QString>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

// Common parts of the fuzz targets. A target decodes its input with Input and checks conditions
// with OX_HOLDS. After the last byte, Input returns zeros, so every input is valid.

/// The entry point of every fuzz target.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size);

/// Ends the process if the condition is false, so that the fuzzer stores the input.
#define OX_HOLDS(condition) ((condition) ? void() : ox::fuzz::fail(#condition, __FILE__, __LINE__))

namespace ox::fuzz
{

[[noreturn]] inline void fail(char const * condition, char const * file, int line)
{
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

class Input
{
  public:
    Input(std::uint8_t const * data, std::size_t size)
        : rest_(reinterpret_cast<char const *>(data), size)
    {
    }

    bool isAtEnd() const { return rest_.empty(); }

    template <typename Number = std::uint8_t>
    Number number()
    {
        Number number{};
        std::string_view const taken = bytes(sizeof number);
        std::copy(taken.begin(), taken.end(), reinterpret_cast<char *>(&number));
        return number;
    }
    bool flag() { return (number() & 1) != 0; }
    /// Returns a number from 0 to end - 1.
    int below(int end) { return number() % end; }

    /// Returns a number from -4 to 235, or sometimes any 32-bit number. Most numbers are small, so
    /// that many of them lie near the start or end of a short text or block.
    int position()
    {
        int const near = number();
        return near < 240 ? near - 4 : number<std::int32_t>();
    }

    /// Returns the next `count` bytes, or fewer at the end of the input.
    std::string_view bytes(std::size_t count)
    {
        std::string_view const taken = rest_.substr(0, count);
        rest_.remove_prefix(taken.size());
        return taken;
    }
    /// Reads a length of one byte, and returns this number of the following bytes.
    std::string text() { return std::string(bytes(number())); }
    /// Returns the bytes before the next line feed.
    std::string_view line()
    {
        std::string_view const taken = bytes(std::min(rest_.find('\n'), rest_.size()));
        bytes(1);
        return taken;
    }
    std::string_view rest() { return bytes(rest_.size()); }

  private:
    std::string_view rest_;
};

/// Maximum number of operations for one input. Limits the time that an input takes.
inline constexpr int mostOperations = 200;

/// Converts UTF-8 to UTF-16. Accepts a lone surrogate, encoded in three bytes. The corpus files
/// contain UTF-8, so that an editor can show them.
QString utf16Of(std::string_view bytes);

inline QString latin1(std::string_view bytes)
{
    return QString::fromLatin1(bytes.data(), int(bytes.size()));
}

inline char upper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

/// Returns the first position at or after `from` where `needle` occurs, or -1. `same` returns
/// whether two units are equal.
template <typename Text, typename Same>
int naiveFind(Text const & text, Text const & needle, int from, Same same)
{
    for (std::size_t at = std::size_t(std::max(from, 0)); at + needle.size() <= text.size(); ++at) {
        if (std::equal(needle.begin(), needle.end(), text.begin() + static_cast<std::ptrdiff_t>(at),
                       same))
            return int(at);
    }
    return -1;
}

/// Writes a file in a temporary folder of the process, and returns the path of the file.
QString writeFile(char const * name, std::string_view content);
/// Returns the path of a file in the temporary folder of writeFile().
QString filePath(char const * name);
std::string contentOf(QString const & path);

} // namespace ox::fuzz
