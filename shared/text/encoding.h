#pragma once

#include "shared/export.h"

#include <QString>

/// Encodings of texts in the farm's records, configuration and XML files. The functions that
/// encode or decode a text never fail.
///
/// These files contain Latin-1. A word with a character above 255 is therefore encoded as UTF-8 or
/// as 16-bit units, and stored as a run: a marker, each byte of the encoded word as a Latin-1
/// character, and ">". The marker of a UTF-8 run is "<UTF8"; the marker of a 16-bit run is
/// "<UNI16". Markers are recognised in any letter case.

/// Encodes every word of `text` that contains a character above 255 as a UTF-8 run. The separators
/// of words are blank, line feed, carriage return and tab. With `keepOriginal`, the original word
/// follows its run. A text that already contains the marker is returned unchanged, so that no text
/// is encoded twice.
OX_EXPORT QString oxToOXUTF8(QString text, bool keepOriginal);

/// Decodes every UTF-8 run of `text`, including runs that decoding creates. Separators at the start
/// and at the end of a run's content are removed. A byte that is not UTF-8 becomes U+FFFD; a
/// character above 255 inside a run becomes "?". A run without a ">" ends before the last character
/// of the text.
///
/// The first ">" closes a run. A word that contains ">" therefore does not round-trip; every other
/// word does.
OX_EXPORT QString oxFromOXUTF8(QString text);

/// Encodes every word of `text` that contains a character above 255 as a 16-bit run: each UTF-16
/// unit becomes a pair of characters, its high byte and its low byte. Only a blank separates words.
/// `keepOriginal` and a marker in the text have the same effect as in oxToOXUTF8.
OX_EXPORT QString oxToOXUni16(QString text, bool keepOriginal);

/// Decodes every 16-bit run of `text`, including runs that decoding creates. If the content of a
/// run has an odd length, its last character is dropped. A run without a ">" ends before the last
/// character of the text.
///
/// A run consists of the marker, pairs of characters (high and low byte of a unit) and a closing
/// ">". The first ">" in the place of a high byte closes the run. If no ">" is in such a place, the
/// first ">" closes the run.
///
/// A blank after the marker is either padding by another program, which is skipped, or the high
/// byte of a letter from U+2000 to U+20FF. To decide, the run is read in two ways: with the blank
/// as the first high byte, and with the pairs after the blank. The blank is padding in two cases:
/// - With the blank as the first high byte, no ">" is in the place of a high byte.
/// - With the blank as the first high byte, the closing ">" does not end a word. With the pairs
///   after the blank, the closing ">" ends a word.
///
/// A ">" ends a word if one of these follows:
/// - the end of the text;
/// - a blank, line feed, carriage return or tab;
/// - a printable ASCII character other than ">", so that words in markup and paths round-trip;
/// - a character above 255, with which the original word after the run begins.
///
/// A padded run can be decoded wrongly if it contains a letter whose low byte is ">". Two kinds of
/// words do not round-trip:
/// - a word with a letter from U+3E00 to U+3EFF: the high byte of the letter closes the run;
/// - a word whose bytes contain the marker and a ">", such as U+3C55 U+4E49 U+3136 U+043E.
OX_EXPORT QString oxFromOXUni16(QString text);

/// Escapes `text` for XML: `<`, `>`, `&`, quotation mark and apostrophe become named entities; the
/// German letters ÄÖÜäöüß become numeric entities. A character above 255 becomes "?".
OX_EXPORT QString toXmlString(QString text);

/// Decodes the entities in `text` that toXmlString writes. Other entities stay unchanged. A
/// character above 255 becomes "?".
/// Compatibility: "&amp;" is decoded before the numeric entities. The literal text "&#196;",
/// encoded as "&amp;#196;", is therefore decoded to "Ä".
OX_EXPORT QString fromXmlString(QString text);

/// Returns the short form of a setting's name, for comparisons: "coImageWidth" becomes "coIW". The
/// short form consists of
/// - the prefix "co", "pp" or "os" in lower case, if `name` begins with it in any letter case;
/// - the capitals, the digits 1 to 9, "_" and "-" of the rest of the name.
/// The "co" of the names "Color_ID" and "CompanyProjectName", in any letter case, is not a prefix.
OX_EXPORT QString oxCalcShortName(QString const & name);

/// Returns whether `c` is a digit 0 to 9 or "-". The sign counts as a digit, since searches for
/// numbers accept it.
OX_EXPORT bool oxIsDigit(unsigned short const & c);

/// Returns the dotted IPv4 address `ip` as a number with the first field in the highest byte. The
/// fields have three digits, as in "192.168.001.010"; only the last field may be shorter. If `ip`
/// does not have this form, returns 0, as for "10.168.001.010".
///
/// The fourth field may be missing ("192.168.001", "192.168.001."). The lowest byte is then 255 if
/// `lastByteFull` is true (the broadcast address of a subnet), else 0.
///
/// Compatibility: the farm writes fields of three digits, so only the first "." is searched for.
/// The further fields are read at fixed positions, and any character in the place of the "." in
/// front of a field is accepted. A single character after the third field and all characters
/// after the fourth field are ignored.
OX_EXPORT unsigned int IPString2IP(QString ip, bool const & lastByteFull);
