#pragma once

#include <QByteArray>
#include <QString>

namespace ox::tool
{

/// Emphasis of a line on the terminal of standard output.
enum class Style { None, Heading, Busy };

/// Returns a line, escaped by shownText(), in UTF-8 with the escape sequences of a style. Omits the
/// sequences if standard output is not a terminal with colours, or if the environment variable
/// NO_COLOR is set.
QByteArray styled(QString const & line, Style style);

/// Writes a line to standard output with a style.
void writeStyledLine(QString const & line, Style style);

} // namespace ox::tool
