#pragma once

#include <QString>

namespace ox::tool
{

/// A text as one line of a terminal may show it. What is not printable has the form `\u001B`:
/// control characters, line breaks, and the marks that turn the direction of writing. File names
/// and the descriptions in lock files are anybody's, and could otherwise move the cursor, begin a
/// line of their own or change the terminal's settings. JSON has the same form for such characters,
/// so that a JSON text keeps its meaning.
QString shownText(QString const & text);

/// The same for a text of several lines.
QString shownLines(QString const & text);

// The functions below measure texts that shownText() returned. A letter takes one column of a
// terminal, an East Asian letter or an emoji two, a combining mark none.

/// The text with blanks behind it, so that it takes this many columns at least.
QString padded(QString const & text, int columns);

/// The first characters of the text that fit into this many columns.
QString cutAtEnd(QString const & text, int columns);

/// The text with "..." in place of its middle when it takes more than this many columns. The end
/// of a path is the file's name, so more of the end remains.
QString cutInMiddle(QString const & text, int columns);

} // namespace ox::tool
