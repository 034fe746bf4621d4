#pragma once

#include <QString>

namespace ox::tool
{

/// Returns a text with its unprintable characters escaped as `\u001B`: control characters, line
/// breaks, and marks that change the direction of writing. File names and the descriptions in lock
/// files are untrusted; unescaped they could move the cursor, fake a line or change the terminal's
/// settings. JSON has the same escape, so the strings of a JSON text keep their value.
QString shownText(QString const & text);

/// Returns a text of several lines, each escaped by shownText(). Keeps the line breaks.
QString shownLines(QString const & text);

// The functions below measure texts that shownText() returned. A letter takes one column of a
// terminal, an East Asian letter or an emoji two, a combining mark none.

/// Returns the text, padded with blanks to at least `columns` columns.
QString padded(QString const & text, int columns);

/// Returns the first characters of the text, as many as fit into `columns` columns.
QString cutAtEnd(QString const & text, int columns);

/// Returns the text, with "..." in place of its middle if it takes more than `columns` columns.
/// More of the end remains than of the beginning, since a path ends with the file's name.
QString cutInMiddle(QString const & text, int columns);

} // namespace ox::tool
