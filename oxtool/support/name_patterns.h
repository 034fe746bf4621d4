#pragma once

#include <QString>
#include <QStringView>

#include <vector>

namespace ox::tool
{

/// Returns whether a name matches a pattern, ignoring case: '*' matches any characters, '?' matches
/// one.
bool matchesPattern(QStringView name, QStringView pattern);

/// Returns whether a path, relative to the top folder, matches one of the patterns. A pattern
/// without a separator is compared with the last component of the path. A pattern with a separator
/// is compared with the whole path. Separators are "/" and "\"; at the end of a pattern they have
/// no effect.
/// "/job17" and "./job17" match only "job17" directly in the top folder.
bool matchesAny(QString const & path, std::vector<QString> const & patterns);

} // namespace ox::tool
