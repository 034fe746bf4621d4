#pragma once

#include "shared/export.h"

#include <QString>

#include <concepts>
#include <iosfwd>
#include <string_view>
#include <utility>

class QDebug;

namespace ox::text
{

/// Prints `bytes` unchanged to `stream`, as operator<< prints a std::string_view.
OX_EXPORT void printBytes(std::ostream & stream, std::string_view bytes);
/// Prints `text` to `stream` as UTF-8.
OX_EXPORT void printUtf8(std::ostream & stream, QString const & text);

/// A type that can be printed to a std::ostream and to a QDebug: its namespace contains a function
/// `oxPrintedText`, which returns the text of a value for logs and messages.
template <typename T>
concept Printable = std::same_as<decltype(oxPrintedText(std::declval<T const &>())), QString>;

} // namespace ox::text

/// Prints `value` to `stream` as UTF-8.
template <ox::text::Printable T>
std::ostream & operator<<(std::ostream & stream, T const & value)
{
    ox::text::printUtf8(stream, oxPrintedText(value));
    return stream;
}

/// Prints `value` to a QDebug.
template <std::same_as<QDebug> Debug, ox::text::Printable T>
Debug operator<<(Debug debug, T const & value)
{
    return debug << oxPrintedText(value).toUtf8().constData();
}
