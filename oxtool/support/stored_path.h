#pragma once

#include <QString>

#include <vector>

namespace ox::tool
{

/// Maps the root of stored paths to a folder of this machine. A stored path is a path in the form
/// of the machine that has stored it, such as "\\farm\share\jobs".
struct RootMapping {
    QString storedRoot;
    QString localRoot;
    QString source = {}; ///< where the mapping comes from, for messages
};

/// Parses "STORED_ROOT=LOCAL_ROOT", split at the first "=".
/// Fails: returns false when STORED_ROOT or LOCAL_ROOT is empty.
bool parseRootMapping(QString const & text, RootMapping & mapping);

/// Local path of a stored path.
struct LocalPath {
    QString path;
    QString storedRoot; ///< root of the mapping that applied; empty if none
    QString source;     ///< source of that mapping
};

/// Replaces the stored root of a path by the local root, and the separators by this system's. The
/// longest matching root wins. A root matches whole components, with either separator; shares and
/// drives match in any letter case, as on Windows. Without a matching root only the separators
/// change.
LocalPath localPath(QString const & storedPath, std::vector<RootMapping> const & mappings);

} // namespace ox::tool
