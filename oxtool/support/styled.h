#pragma once

#include <QByteArray>
#include <QString>

namespace ox::tool
{

/// Emphasis of a line of standard output; only a terminal shows it.
enum class Style { None, Heading, Busy };

/// Applies shownText() to a line, and returns the result in UTF-8 with the control sequences of a
/// style. Omits the sequences if standard output is not a terminal with colours, or if the
/// environment variable NO_COLOR is set.
QByteArray styled(QString const & line, Style style);

/// Writes a line to standard output with a style.
void writeStyledLine(QString const & line, Style style);

} // namespace ox::tool
