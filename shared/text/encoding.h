#pragma once

#include "shared/export.h"

#include <QString>

/// The transport encodings of the farm. Records, configuration and XML files hold Latin-1, so a
/// word with a character above 255 travels as a run: a marker, the word's bytes as one Latin-1
/// character each, and ">". The UTF-8 form opens with "<UTF8", the 16-bit form with "<UNI16";
/// markers are recognised in any letter case. None of these functions fails.

/// Writes every word that holds a character above 255 as a UTF-8 run. Words end at blanks, line
/// feeds, carriage returns and tabs. With `keepOriginal` the readable word follows its run. A text
/// that already holds the marker is returned unchanged, so nothing is encoded twice.
OX_EXPORT QString oxToOXUTF8(QString text, bool keepOriginal);

/// Decodes every UTF-8 run, also one that only appears when another is decoded. The first ">"
/// closes a run, so of all words only one that holds a ">" itself does not come back. Separators
/// around the content are cut, bytes that are no UTF-8 become U+FFFD, and characters above 255
/// become "?". A run that is never closed ends before the last character of the text.
OX_EXPORT QString oxFromOXUTF8(QString text);

/// As oxToOXUTF8 with 16-bit runs: each UTF-16 unit as its high and its low byte. Words end at
/// blanks only.
OX_EXPORT QString oxToOXUni16(QString text, bool keepOriginal);

/// Decodes every 16-bit run as oxFromOXUTF8 does UTF-8 runs; an odd last character is dropped. The
/// first ">" in first place of a pair closes the run. One in second place is a low byte and closes
/// the run only when no other ">" does.
///
/// A blank behind the marker is padding, which is skipped, or the high byte of a letter from U+2000
/// to U+20FF. It counts as the high byte when the pairs that begin with it are closed by a ">" with
/// one of these behind it: the end of the text, a separator, a printable ASCII character other than
/// ">", or the readable word. Encoded values in markup and paths therefore round-trip. A run that
/// another program padded can be decoded wrongly when it holds a letter whose low byte is ">".
///
/// Only a word with a letter from U+3E00 to U+3EFF, whose high byte closes the run, does not
/// round-trip.
OX_EXPORT QString oxFromOXUni16(QString text);

/// The text with XML's five special characters as named entities and the German letters ÄÖÜäöüß as
/// numeric ones. Any other character above 255 becomes "?".
OX_EXPORT QString toXmlString(QString text);

/// Undoes toXmlString. No other entity is understood; a character above 255 becomes "?".
OX_EXPORT QString fromXmlString(QString text);

/// The short form under which setting names are compared: the prefix "co", "pp" or "os" in lower
/// case, where the name has one in any case, then its capitals, the digits 1 to 9, "_" and "-".
/// "coImageWidth" becomes "coIW". "Color_ID" and "CompanyProjectName" have no prefix.
OX_EXPORT QString oxCalcShortName(QString const & name);

/// True for "0" to "9" and for "-", so that a sign is accepted wherever digits are scanned.
OX_EXPORT bool oxIsDigit(unsigned short const & c);

/// A dotted address as a number, 0 when it cannot be read. The fields are three digits wide, as the
/// farm writes them ("192.168.001.010"), and are read by position: only the first "." is searched,
/// the character behind each further field is skipped whatever it is, and so is everything behind
/// the fourth field. Only the last field may be shorter; "10.168.001.010" gives 0.
///
/// An address has three fields when at most one character follows the third one ("192.168.001",
/// "192.168.001."). Its low byte is 255 with `lastByteFull` (the broadcast end of a subnet), else
/// 0.
OX_EXPORT unsigned int IPString2IP(QString ip, bool const & lastByteFull);
