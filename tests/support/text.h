#pragma once

#include <QString>

#include <cstddef>
#include <iosfwd>

/// Shows a text in the message of a failed test. GoogleTest looks for it in QString's namespace.
void PrintTo(QString const & text, std::ostream * out);

namespace ox::tests
{

/// The text of Latin-1 bytes.
QString text(char const * latin1);

/// A literal as a text: `u"frame"_q`.
QString operator""_q(char16_t const * text, std::size_t length);

} // namespace ox::tests
