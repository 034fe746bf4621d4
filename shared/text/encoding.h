#pragma once

#include "shared/export.h"

#include <QString>

/// Encodings of texts in the farm's records, configuration and XML files. None of these functions
/// fails.
///
/// Such files hold Latin-1. A word with a character above 255 is therefore stored as a run: a
/// marker, the bytes of the word as one Latin-1 character each, and ">". The marker of a UTF-8 run
/// is "<UTF8", that of a 16-bit run is "<UNI16". Markers are recognised in any letter case.

/// Encodes every word that holds a character above 255 as a UTF-8 run. Words end at blanks, line
/// feeds, carriage returns and tabs. With `keepOriginal` the readable word follows its run. Returns
/// a text that already holds the marker unchanged, so that no text is encoded twice.
OX_EXPORT QString oxToOXUTF8(QString text, bool keepOriginal);

/// Decodes every UTF-8 run. If a decoded run produces another run, that run is decoded, too.
/// Separators at both ends of the content of a run are removed. A byte that is not UTF-8 becomes
/// U+FFFD, a character above 255 inside a run becomes "?". An unclosed run ends before the last
/// character of the text.
///
/// The first ">" closes a run. A word that contains ">" therefore does not round-trip; every other
/// word does.
OX_EXPORT QString oxFromOXUTF8(QString text);

/// Encodes every word that holds a character above 255 as a 16-bit run: each UTF-16 unit as its
/// high byte and its low byte. Words end at blanks only. `keepOriginal` and the marker have the
/// same effect as in oxToOXUTF8.
OX_EXPORT QString oxToOXUni16(QString text, bool keepOriginal);

/// Decodes every 16-bit run. If a decoded run produces another run, that run is decoded, too. An
/// odd last character of a run is dropped. An unclosed run ends before the last character of the
/// text.
///
/// The first ">" that is the first character of a pair closes the run. A ">" that is the second
/// character of a pair is a low byte, and closes the run only when no other ">" does.
///
/// A blank behind the marker is either padding, which is skipped, or the high byte of a letter from
/// U+2000 to U+20FF. A ">" ends a word if one of these follows: the end of the text, a separator, a
/// printable ASCII character other than ">", or a character above 255 (of the readable word). The
/// blank is padding if no ">" closes the pairs that begin with it. It is also padding if the
/// closing ">" of these pairs does not end a word, but that of the pairs behind the blank does.
/// Encoded values in markup and paths therefore round-trip. A run that another program padded can
/// be decoded wrongly if it contains a letter whose low byte is ">".
///
/// Two kinds of words do not round-trip: one with a letter from U+3E00 to U+3EFF, whose high byte
/// closes the run, and one whose bytes contain the marker and a ">" (U+3C55 U+4E49 U+3136 U+043E).
OX_EXPORT QString oxFromOXUni16(QString text);

/// Escapes a text for XML: the five special characters become named entities, the German letters
/// ÄÖÜäöüß numeric entities. Any other character above 255 becomes "?".
OX_EXPORT QString toXmlString(QString text);

/// Decodes the entities that toXmlString writes. Other entities stay unchanged; a character above
/// 255 becomes "?".
/// Compatibility: "&amp;" is decoded before the numeric entities. The literal text "&#196;",
/// encoded as "&amp;#196;", is therefore decoded to "Ä".
OX_EXPORT QString fromXmlString(QString text);

/// Returns the short form by which setting names are compared: the prefix "co", "pp" or "os" in
/// lower case if the name has one in any letter case, then the capitals, the digits 1 to 9, "_" and
/// "-" of the rest. "coImageWidth" becomes "coIW". "Color_ID" and "CompanyProjectName" count as
/// names without a prefix.
OX_EXPORT QString oxCalcShortName(QString const & name);

/// Returns whether c is a digit 0 to 9 or "-". The sign counts as a digit because scans for numbers
/// accept it.
OX_EXPORT bool oxIsDigit(unsigned short const & c);

/// Parses a dotted IPv4 address; returns it as a number with the first field in the highest byte,
/// or 0 if the text is not such an address. The fields have three digits, as in "192.168.001.010".
/// Only the last field may be shorter: "10.168.001.010" gives 0.
///
/// The fourth field may be missing ("192.168.001", "192.168.001."). The lowest byte is then 255
/// with `lastByteFull` (the broadcast address of a subnet), else 0.
///
/// Compatibility: the farm writes fields of three digits, so only the first "." is searched.
/// Further fields are read by position: the character in front of each is skipped, whatever it is.
/// A single character behind the third field, and all characters behind the fourth one, are
/// ignored.
OX_EXPORT unsigned int IPString2IP(QString ip, bool const & lastByteFull);
