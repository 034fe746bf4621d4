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

// What the fuzz targets share. A target takes its input apart with Input and states with OX_HOLDS
// what must be true. Missing bytes read as 0, so that every input is a valid one.

/// The entry of every target.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size);

/// Ends the process, which the fuzzer reports with the input, unless the condition is true.
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
    /// 0 to end - 1.
    int below(int end) { return number() % end; }

    /// A number that is mostly near 0, where texts and blocks have their ends, and sometimes any.
    int position()
    {
        int const near = number();
        return near < 240 ? near - 4 : number<std::int32_t>();
    }

    /// At most so many bytes.
    std::string_view bytes(std::size_t count)
    {
        std::string_view const taken = rest_.substr(0, count);
        rest_.remove_prefix(taken.size());
        return taken;
    }
    /// Up to 255 bytes behind a byte with their number.
    std::string text() { return std::string(bytes(number())); }
    /// The bytes before the next line feed.
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

/// The interpreters run this many operations at most, so that an input's cost is bounded.
inline constexpr int mostOperations = 200;

/// UTF-16 from text that a person can read in a corpus: UTF-8, with lone surrogates in three bytes.
QString utf16Of(std::string_view bytes);

inline QString latin1(std::string_view bytes)
{
    return QString::fromLatin1(bytes.data(), int(bytes.size()));
}

inline char upper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

/// The first position from `from` on where two texts, given by their units, agree; -1 if none.
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

/// Writes a file of this name in a folder that is removed at the end of the process, and returns
/// its path.
QString writeFile(char const * name, std::string_view content);
/// The path of such a file, and its bytes.
QString filePath(char const * name);
std::string contentOf(QString const & path);

} // namespace ox::fuzz
