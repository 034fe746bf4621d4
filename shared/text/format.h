#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string.h"

#include <QString>

/// Numbers, flags and durations as the farm's messages, logs and tables show them, and texts split
/// at separators. None of these functions fails.
///
/// A number "of w digits" is filled with zeros on the left up to w characters. A minus sign counts
/// as one of them and stands in front of the zeros. Divisions truncate toward zero, so that every
/// field of a negative duration has a sign of its own, except where a function says otherwise.

/// "true" or "false" with `asWord`, else "1" or "0".
OX_EXPORT QString bool2str(bool const & b, bool const & asWord);
/// "1" or "0".
OX_EXPORT QString bool2String(bool const & b);

/// The decimal text of a number.
OX_EXPORT _oxString<25> int2Str(int const & v);

/// The integer part of f, the separator and the fraction, rounded half away from zero to `decimals`
/// digits; a negative count is none, and the text is cut at 25 units. Beyond the range of int, f
/// counts as the end of it, and what is no number as 0.
///
/// The two parts are deliberately printed each for itself, as in the logs that this is compared
/// with: a fraction that rounds up to 1 is not carried over (1.96 with one decimal is "1.10"), a
/// negative one has its own sign behind its zeros (-1.5 is "-1.-5", -1.005 with three decimals is
/// "-1.0-5"), and 3 without decimals is "3.0".
OX_EXPORT _oxString<25> float2Str(float f, int const & decimals, unsigned short const & separator);

/// The last `maxDigits` digits of n to the base 36, with the digits 0 to 9 and A to Z. Their order
/// never changes: the farm compares these texts across versions.
OX_EXPORT QString numberToStr(unsigned long long n, int const & maxDigits);

/// Two lower-case hexadecimal digits a byte. Null gives the empty text.
OX_EXPORT QString byte2Hex(unsigned char const * bytes, int const & count);

/// The number with "." (" ") before every three digits, as long as what stands in front of them is
/// greater than 1000: deliberately 1000 is "1000", 1001 is "1.001" and 1000000 is "1000.000". With
/// `spaceForPositive` a blank takes the place of the minus sign.
OX_EXPORT QString oxPointTsd(long long n, bool spaceForPositive);
OX_EXPORT QString oxSpaceTsd(long long n, bool spaceForPositive);

/// Minutes and seconds of two digits each; the minutes go beyond 59: 3725 s is "62.05".
OX_EXPORT QString oxSec2ms(long long s);

/// Hours and minutes of two digits each: 3725 s is "01:02".
OX_EXPORT QString oxSec2hm(int s);

/// Hours, minutes and seconds of two digits each: 3725 s is "01:02.05". Only the hours have a sign.
///
/// The short form, for up to an hour either way, is the minutes in a column of two characters and
/// the seconds: "-7.05". Only the minutes have a sign, with up to a minute either way it stands in
/// front of their 0 ("-0.45", " 0.45"). Both full minute and full hour deliberately show as 0.
OX_EXPORT QString oxSec2hms(int s, bool shortForm);

/// Days, hours and minutes. The hours deliberately are all hours, not those of the last day: 90000
/// s is "1d 25:00".
OX_EXPORT QString oxSec2dhm(long long s);

/// Days and hours of more than 36 hours ("1d 12h"), else hours, minutes and seconds of two digits
/// each ("36:00.00").
OX_EXPORT QString oxSec2dhms(long long s);

/// Seconds and three digits of milliseconds: "1.500". Up to one second, and for negative times, the
/// seconds are left out (".999", and deliberately ".000" for 1000) unless they are `always` wanted.
OX_EXPORT QString oxMill2s(int ms, bool const & always);

/// Cuts the text before the last (first) place where one of the separators stands, and hands back
/// the rest, which begins with the separator. Case is ignored, an empty separator stands nowhere.
/// Without a separator both texts stay as they are.
OX_EXPORT void splitAtLastOccurence(QString & str, QString & rest, QString const & sep1,
                                    QString const & sep2, QString const & sep3);
OX_EXPORT void splitAtFirstOccurence(QString & str, QString & rest, QString const & sep1,
                                     QString const & sep2, QString const & sep3);

/// The same without the rest.
OX_EXPORT void cutAtLastOccurence(QString & str, QString const & sep1, QString const & sep2,
                                  QString const & sep3);
OX_EXPORT void cutAtFirstOccurence(QString & str, QString const & sep1, QString const & sep2,
                                   QString const & sep3);

/// Whether two names mean the same setting: they are equal but for case and blanks, or have the
/// same short form (`oxCalcShortName`), so that "coImageWidth" is "co Image Width" and "coIW".
/// Names without capitals and digits have no short form that could tell them apart; they only match
/// as a whole.
OX_EXPORT bool _oxStringCompareShort(QString const & a, QString b);

/// The sizes of the strings and of the string list and the positions of the strings' members, as
/// this build lays them out: one line each, to be compared between builds.
OX_EXPORT QString listStringMemorySize();
