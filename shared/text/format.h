#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string.h"

#include <QString>

/// Converts numbers, flags and durations to the texts of the farm's messages, logs and tables, and
/// splits texts at separators. None of these functions fails.
///
/// In the comments, a number "of w digits" is padded on the left with zeros to w characters. A
/// minus sign counts as one of the characters and precedes the zeros. Divisions truncate toward
/// zero. Every field of a negative duration therefore has its own sign, unless the comment of a
/// function says otherwise.

/// Returns `b` as "true" or "false" if `asWord` is true, else as "1" or "0".
OX_EXPORT QString bool2str(bool const & b, bool const & asWord);
/// Returns `b` as "1" or "0".
OX_EXPORT QString bool2String(bool const & b);

/// Returns `v` in decimal.
OX_EXPORT _oxString<25> int2Str(int const & v);

/// Returns `f` in decimal: the integer part, the `separator`, and the fraction of `decimals`
/// digits. The fraction is rounded half away from zero. A negative `decimals` counts as 0. The text
/// is cut at 25 units. An `f` beyond the range of int counts as the nearest int, NaN as 0.
///
/// Compatibility: the farm's logs are compared with these texts, so the integer part and the
/// fraction are converted independently of each other, with these effects:
/// - A fraction that rounds up to 1 is not carried over: 1.96 with one decimal is "1.10".
/// - A negative fraction has its own sign, after its leading zeros: -1.5 with one decimal is
///   "-1.-5", -1.005 with three decimals is "-1.0-5".
/// - 3 with zero decimals is "3.0".
OX_EXPORT _oxString<25> float2Str(float f, int const & decimals, unsigned short const & separator);

/// Returns the last `maxDigits` digits of `n` in base 36, with the digits 0 to 9 and A to Z.
/// Compatibility: the digits and their order never change, since the farm compares texts that
/// different versions of the library have written.
OX_EXPORT QString numberToStr(unsigned long long n, int const & maxDigits);

/// Returns two lower-case hexadecimal digits for each of the `count` bytes at `bytes`. Null gives
/// the empty text.
OX_EXPORT QString byte2Hex(unsigned char const * bytes, int const & count);

/// Returns `n` in decimal with "." as the thousands separator. With `spaceForPositive`, a blank
/// precedes a number that is not negative.
/// Compatibility: from the right, groups of three digits are split off only while the rest of the
/// number is above 1000, as in the farm's tables: 1000 is "1000", 1001 is "1.001", 1000000 is
/// "1000.000".
OX_EXPORT QString oxPointTsd(long long n, bool spaceForPositive);
/// Returns `n` in decimal with a blank as the thousands separator, by the rules of oxPointTsd.
OX_EXPORT QString oxSpaceTsd(long long n, bool spaceForPositive);

/// Returns a duration of `s` seconds as minutes and seconds of two digits each. The minutes are not
/// limited to 59: 3725 is "62.05".
OX_EXPORT QString oxSec2ms(long long s);

/// Returns a duration of `s` seconds as hours and minutes of two digits each: 3725 is "01:02".
OX_EXPORT QString oxSec2hm(int s);

/// Returns a duration of `s` seconds as hours, minutes and seconds of two digits each: 3725 is
/// "01:02.05". Only the hours have a sign.
///
/// With `shortForm`, a duration of up to one hour, positive or negative, becomes minutes and
/// seconds: " 7.05", "-7.05". The minutes are padded with a blank to two characters. Only the
/// minutes have a sign, even if they are 0: "-0.45", " 0.45".
/// Compatibility: in the short form, 60 seconds and 3600 seconds both become " 0.00", as in the
/// farm's tables.
OX_EXPORT QString oxSec2hms(int s, bool shortForm);

/// Returns a duration of `s` seconds as days, hours and minutes.
/// Compatibility: the hours are the hours of the whole duration, not only of the last day, as in
/// the farm's tables: 90000 is "1d 25:00".
OX_EXPORT QString oxSec2dhm(long long s);

/// Returns a duration of `s` seconds as days and hours if it is above 36 hours ("1d 12h"), else as
/// hours, minutes and seconds of two digits each ("36:00.00").
OX_EXPORT QString oxSec2dhms(long long s);

/// Returns a duration of `ms` milliseconds as seconds and three digits of milliseconds: 1500 is
/// "1.500". If `always` is false, durations below 1000 ms are written without the seconds: 999 is
/// ".999".
/// Compatibility: if `always` is false, 1000 also lacks the seconds (".000"), as in the farm's
/// logs.
OX_EXPORT QString oxMill2s(int ms, bool const & always);

/// Truncates `str` before the last occurrence of `sep1`, `sep2` or `sep3`, ignoring case, and
/// assigns the removed part to `rest`, which begins with the separator. Empty separators are
/// ignored. If no separator occurs, `str` and `rest` stay unchanged.
OX_EXPORT void splitAtLastOccurence(QString & str, QString & rest, QString const & sep1,
                                    QString const & sep2, QString const & sep3);
/// Truncates `str` before the first occurrence of `sep1`, `sep2` or `sep3` and assigns the removed
/// part to `rest`, by the rules of splitAtLastOccurence.
OX_EXPORT void splitAtFirstOccurence(QString & str, QString & rest, QString const & sep1,
                                     QString const & sep2, QString const & sep3);

/// Truncates `str` before the last occurrence of `sep1`, `sep2` or `sep3`, by the rules of
/// splitAtLastOccurence.
OX_EXPORT void cutAtLastOccurence(QString & str, QString const & sep1, QString const & sep2,
                                  QString const & sep3);
/// Truncates `str` before the first occurrence of `sep1`, `sep2` or `sep3`, by the rules of
/// splitAtLastOccurence.
OX_EXPORT void cutAtFirstOccurence(QString & str, QString const & sep1, QString const & sep2,
                                   QString const & sep3);

/// Returns whether `a` and `b` are names of the same setting: they are equal except for case and
/// blanks, or have the same short form (`oxCalcShortName`). "coImageWidth" matches "co Image Width"
/// and "coIW". If the short form of `a` is empty or only a prefix, it is not compared.
OX_EXPORT bool _oxStringCompareShort(QString const & a, QString b);

/// Returns a report of the memory layout in this build, for comparisons between builds. Each line
/// states the size of a string type or of the string list, or the offset of a string's member.
OX_EXPORT QString listStringMemorySize();
