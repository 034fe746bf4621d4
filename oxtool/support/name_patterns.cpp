// QRegularExpression is not used: on Windows, its thread-local data in Qt can crash a thread that
// ends, and these functions run on the threads that list folders.

#include "oxtool/support/name_patterns.h"

#include <algorithm>

namespace ox::tool
{
namespace
{

bool isEqual(QChar one, QChar other)
{
    return one == other || one.toCaseFolded() == other.toCaseFolded();
}

} // namespace

bool matchesPattern(QStringView name, QStringView pattern)
{
    // Each '*' first matches no character. After each mismatch the last '*' matches one more
    // character.
    qsizetype n = 0;
    qsizetype p = 0;
    qsizetype starEnd = -1;
    qsizetype starTakes = 0;
    while (n < name.size()) {
        bool const isInPattern = p < pattern.size();
        if (isInPattern && pattern[p] == u'*') {
            starEnd = ++p;
            starTakes = n;
        } else if (isInPattern && (pattern[p] == u'?' || isEqual(pattern[p], name[n]))) {
            ++p;
            ++n;
        } else if (starEnd >= 0) {
            p = starEnd;
            n = ++starTakes;
        } else {
            return false;
        }
    }
    return std::all_of(pattern.begin() + p, pattern.end(), [](QChar c) { return c == u'*'; });
}

bool matchesAny(QString const & path, std::vector<QString> const & patterns)
{
    auto const withSlashes = [](QString text) { return text.replace(u'\\', u'/'); };
    return std::any_of(patterns.begin(), patterns.end(), [&](QString const & pattern) {
        QString wanted = withSlashes(pattern);
        while (wanted.size() > 1 && wanted.endsWith(u'/'))
            wanted.chop(1);
        bool const isFromTop = wanted.startsWith(u'/') || wanted.startsWith(QLatin1String("./"));
        if (isFromTop)
            wanted.remove(0, wanted.indexOf(u'/') + 1);
        QString const whole = withSlashes(path);
        QStringView const name = QStringView(whole).mid(whole.lastIndexOf(u'/') + 1);
        bool const isWhole = isFromTop || wanted.contains(u'/');
        return matchesPattern(isWhole ? QStringView(whole) : name, wanted);
    });
}

} // namespace ox::tool
