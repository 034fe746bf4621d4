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

/// Prints bytes unchanged, as a std::string_view is printed.
OX_EXPORT void printBytes(std::ostream & stream, std::string_view bytes);
/// Prints a text as UTF-8.
OX_EXPORT void printUtf8(std::ostream & stream, QString const & text);

/// A type with a function `oxPrintedText` beside it, which returns its text for logs and messages.
/// Such a type can be printed to a std::ostream and to a QDebug.
template <typename T>
concept Printable = std::same_as<decltype(oxPrintedText(std::declval<T const &>())), QString>;

} // namespace ox::text

template <ox::text::Printable T>
std::ostream & operator<<(std::ostream & stream, T const & value)
{
    ox::text::printUtf8(stream, oxPrintedText(value));
    return stream;
}

template <std::same_as<QDebug> Debug, ox::text::Printable T>
Debug operator<<(Debug debug, T const & value)
{
    return debug << oxPrintedText(value).toUtf8().constData();
}
