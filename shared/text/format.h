#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string.h"

#include <QString>

/// Converts numbers, flags and durations to the texts of the farm's messages, logs and tables, and
/// splits texts at separators. None of these functions fails.
///
/// A number "of w digits" is padded with zeros on the left to w characters. A minus sign counts as
/// one of the characters and precedes the zeros. Divisions truncate toward zero. Every field of a
/// negative duration therefore has its own sign, unless a function says otherwise.

/// Returns "true" or "false" with `asWord`, else "1" or "0".
OX_EXPORT QString bool2str(bool const & b, bool const & asWord);
/// Returns "1" or "0".
OX_EXPORT QString bool2String(bool const & b);

/// Returns the decimal text of a number.
OX_EXPORT _oxString<25> int2Str(int const & v);

/// Returns the integer part of f, the separator, and the fraction rounded half away from zero to
/// `decimals` digits. A negative `decimals` counts as 0. The text is cut at 25 units. An f beyond
/// the range of int counts as the nearest int, NaN as 0.
///
/// Compatibility: the farm's logs are compared with these texts, so the integer part and the
/// fraction are printed independently. A fraction that rounds up to 1 is not carried over (1.96
/// with one decimal is "1.10"). A negative fraction has its own sign behind its zeros (-1.5 is
/// "-1.-5", -1.005 with three decimals is "-1.0-5"). 3 without decimals is "3.0".
OX_EXPORT _oxString<25> float2Str(float f, int const & decimals, unsigned short const & separator);

/// Returns the last `maxDigits` digits of n in base 36, with the digits 0 to 9 and A to Z.
/// Compatibility: the order of the digits never changes, since the farm compares these texts across
/// versions.
OX_EXPORT QString numberToStr(unsigned long long n, int const & maxDigits);

/// Returns two lower-case hexadecimal digits for each of `count` bytes. Null gives the empty text.
OX_EXPORT QString byte2Hex(unsigned char const * bytes, int const & count);

/// Returns the number with "." between groups of three digits. With `spaceForPositive`, a blank
/// precedes a number that is not negative.
/// Compatibility: from the right, three digits are split off only while the rest of the number is
/// above 1000, as in the farm's columns: 1000 is "1000", 1001 is "1.001", 1000000 is "1000.000".
OX_EXPORT QString oxPointTsd(long long n, bool spaceForPositive);
/// Returns the number with a blank between groups of three digits, by the rules of oxPointTsd.
OX_EXPORT QString oxSpaceTsd(long long n, bool spaceForPositive);

/// Returns minutes and seconds of two digits each, for a duration in seconds. The minutes are not
/// limited to 59: 3725 is "62.05".
OX_EXPORT QString oxSec2ms(long long s);

/// Returns hours and minutes of two digits each, for a duration in seconds: 3725 is "01:02".
OX_EXPORT QString oxSec2hm(int s);

/// Returns hours, minutes and seconds of two digits each, for a duration in seconds: 3725 is
/// "01:02.05". Only the hours have a sign.
///
/// With `shortForm`, a duration of up to one hour, positive or negative, becomes minutes and
/// seconds: " 7.05", "-7.05". The minutes are padded with a blank to two characters. Only the
/// minutes have a sign. Up to one minute, the sign precedes a 0: "-0.45", " 0.45".
/// Compatibility: in the short form a full minute and a full hour both show as " 0.00", as in the
/// farm's tables.
OX_EXPORT QString oxSec2hms(int s, bool shortForm);

/// Returns days, hours and minutes, for a duration in seconds.
/// Compatibility: the hours are those of the whole duration, not of the last day, as in the farm's
/// tables: 90000 is "1d 25:00".
OX_EXPORT QString oxSec2dhm(long long s);

/// Returns days and hours above 36 hours ("1d 12h"), else hours, minutes and seconds of two digits
/// each ("36:00.00"), for a duration in seconds.
OX_EXPORT QString oxSec2dhms(long long s);

/// Returns seconds and three digits of milliseconds, for a duration in milliseconds: 1500 is
/// "1.500". Without `always`, a negative duration and a duration of up to 1000 ms have no seconds:
/// 999 is ".999".
/// Compatibility: 1000 without `always` is ".000", as in the farm's logs.
OX_EXPORT QString oxMill2s(int ms, bool const & always);

/// Cuts `str` before the last occurrence of any of the separators and assigns the cut part to
/// `rest`, which begins with the separator. Case is ignored; an empty separator has no occurrence.
/// Without an occurrence both texts stay unchanged.
OX_EXPORT void splitAtLastOccurence(QString & str, QString & rest, QString const & sep1,
                                    QString const & sep2, QString const & sep3);
/// Cuts `str` before the first occurrence of any of the separators and assigns the cut part to
/// `rest`, by the rules of splitAtLastOccurence.
OX_EXPORT void splitAtFirstOccurence(QString & str, QString & rest, QString const & sep1,
                                     QString const & sep2, QString const & sep3);

/// Cuts `str` before the last occurrence of any of the separators, as splitAtLastOccurence does,
/// and drops the cut part.
OX_EXPORT void cutAtLastOccurence(QString & str, QString const & sep1, QString const & sep2,
                                  QString const & sep3);
/// Cuts `str` before the first occurrence of any of the separators, as splitAtFirstOccurence does,
/// and drops the cut part.
OX_EXPORT void cutAtFirstOccurence(QString & str, QString const & sep1, QString const & sep2,
                                   QString const & sep3);

/// Returns whether two names denote the same setting: they are equal except for case and blanks, or
/// have the same short form (`oxCalcShortName`). "coImageWidth" equals "co Image Width" and "coIW".
/// A name without capitals and digits has no distinctive short form and only matches as a whole.
OX_EXPORT bool _oxStringCompareShort(QString const & a, QString b);

/// Returns a report of this build's memory layout, for comparisons between builds: one line each
/// for the sizes of the strings, the size of the string list, and the offsets of the strings'
/// members.
OX_EXPORT QString listStringMemorySize();
