#pragma once

#include <QString>
#include <QStringView>

#include <vector>

namespace ox::tool
{

/// Returns whether a name matches a pattern, ignoring case: '*' matches any characters, '?' matches
/// one.
bool matchesPattern(QStringView name, QStringView pattern);

/// Returns whether a path below a folder matches one of the patterns. A pattern without a separator
/// applies to the last component of the path, a pattern with one to the whole path. Both
/// separators are valid. A separator at the end of a pattern has no effect. "/job17" and "./job17"
/// match only "job17" directly in the folder.
bool matchesAny(QString const & path, std::vector<QString> const & patterns);

} // namespace ox::tool
