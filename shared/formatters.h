#pragma once

#include "shared/system/cpu_value.h"
#include "shared/system/identity.h"
#include "shared/text/fixed_string.h"
#include "shared/text/fixed_string8.h"
#include "shared/text/string_list.h"
#include "shared/time/time_value.h"

#include <QByteArray>

#include <cstddef>
#include <string_view>
#include <type_traits>
#include <version>

#ifdef __cpp_lib_format
#include <format>
#endif
#if __has_include(<fmt/core.h>)
#include <fmt/core.h>
#endif

/// Formatters of the library's types, for `std::format` and for fmt. No other header of the library
/// includes this header. It defines the formatters for `std::format` if the standard library has
/// `std::format`, and the formatters for fmt if the compiler finds the headers of fmt.
///
///     std::format("{:<20} {}", job.name, job.started);
///     fmt::print("{} on {}\n", job.name, _oxOS::Linux);
///
/// A formatter writes the same text as `operator<<`: the bytes of an 8-bit string, a wide string in
/// UTF-8, a time as ISO 8601 in UTC, an enumerator by name. The format specifications are those of
/// strings: fill, alignment, width and precision.

namespace ox::text
{

/// Returns the bytes of the 8-bit string `text` for a formatter.
template <FixedString8 S>
std::string_view formattedText(S const & text)
{
    return text.view();
}
/// Returns the wide string `text` in UTF-8 for a formatter.
template <int N>
QByteArray formattedText(_oxString<N> const & text)
{
    return QString(text).toUtf8();
}
/// Returns the text of the printable `value` in UTF-8 for a formatter.
template <Printable T>
QByteArray formattedText(T const & value)
{
    return oxPrintedText(value).toUtf8();
}

/// Formatter of the library's types. `Base` is the formatter of the string view type `View`.
template <typename Base, typename View>
struct Formatter : Base {
    /// Formats the text of `value` with the format specification that `Base::parse` has read.
    template <typename T, typename Context>
    auto format(T const & value, Context & context) const
    {
        auto const text = formattedText(value);
        return Base::format(View(text.data(), static_cast<std::size_t>(text.size())), context);
    }
};

} // namespace ox::text

#ifdef __cpp_lib_format
namespace ox::text
{
/// Formatter of the library's types for `std::format`.
using StdFormatter = Formatter<std::formatter<std::string_view>, std::string_view>;
} // namespace ox::text

template <int N>
struct std::formatter<_oxString8_evenSize<N>> : ox::text::StdFormatter {
};
template <int N>
struct std::formatter<_oxString8_UnevenSize<N>> : ox::text::StdFormatter {
};
template <int N>
struct std::formatter<_oxString<N>> : ox::text::StdFormatter {
};
template <>
struct std::formatter<_oxStringList> : ox::text::StdFormatter {
};
template <>
struct std::formatter<_oxTime> : ox::text::StdFormatter {
};
template <>
struct std::formatter<_oxTime32> : ox::text::StdFormatter {
};
template <>
struct std::formatter<_oxCPUValue> : ox::text::StdFormatter {
};
template <>
struct std::formatter<ox_AppType> : ox::text::StdFormatter {
};
template <>
struct std::formatter<_oxOS> : ox::text::StdFormatter {
};
#endif

#ifdef FMT_VERSION
namespace ox::text
{
/// Formatter of the library's types for fmt.
using FmtFormatter = Formatter<fmt::formatter<fmt::string_view>, fmt::string_view>;
} // namespace ox::text

// fmt/ranges.h defines a formatter for every range type. Without these specialisations each string
// type and _oxStringList would have two formatters, which does not compile.
FMT_BEGIN_NAMESPACE
template <typename T, typename Char>
struct is_range;
template <int N>
struct is_range<_oxString8_evenSize<N>, char> : std::false_type {
};
template <int N>
struct is_range<_oxString8_UnevenSize<N>, char> : std::false_type {
};
template <int N>
struct is_range<_oxString<N>, char> : std::false_type {
};
template <>
struct is_range<_oxStringList, char> : std::false_type {
};
FMT_END_NAMESPACE

template <int N>
struct fmt::formatter<_oxString8_evenSize<N>> : ox::text::FmtFormatter {
};
template <int N>
struct fmt::formatter<_oxString8_UnevenSize<N>> : ox::text::FmtFormatter {
};
template <int N>
struct fmt::formatter<_oxString<N>> : ox::text::FmtFormatter {
};
template <>
struct fmt::formatter<_oxStringList> : ox::text::FmtFormatter {
};
template <>
struct fmt::formatter<_oxTime> : ox::text::FmtFormatter {
};
template <>
struct fmt::formatter<_oxTime32> : ox::text::FmtFormatter {
};
template <>
struct fmt::formatter<_oxCPUValue> : ox::text::FmtFormatter {
};
template <>
struct fmt::formatter<ox_AppType> : ox::text::FmtFormatter {
};
template <>
struct fmt::formatter<_oxOS> : ox::text::FmtFormatter {
};
#endif
