#pragma once

#include <QString>

#include <cstddef>
#include <iosfwd>

/// Prints a text in the message of a failed test. GoogleTest finds this function only in the
/// namespace of QString, the global namespace.
void PrintTo(QString const & text, std::ostream * out);

namespace ox::tests
{

/// Converts Latin-1 bytes to a text.
QString text(char const * latin1);

/// Converts a literal to a text: `u"frame"_q`.
QString operator""_q(char16_t const * text, std::size_t length);

} // namespace ox::tests
