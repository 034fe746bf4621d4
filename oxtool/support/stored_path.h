#pragma once

#include <QString>

#include <vector>

namespace ox::tool
{

/// Where this machine finds what another machine's paths call `storedRoot`.
struct RootMapping {
    QString storedRoot;
    QString localRoot;
};

/// Reads "STORED_ROOT=LOCAL_ROOT", split at the first "=". False when a side is empty.
bool parseRootMapping(QString const & text, RootMapping & mapping);

/// A path as another system wrote it, in this system's form.
struct LocalPath {
    QString path;
    QString storedRoot; ///< of the mapping that applied; empty when none did
};

/// Puts the local root in place of the stored one and gives the path this system's separators. The
/// longest root that fits is taken. It fits whole components only, whichever separators the two
/// texts are written with; a share or a drive fits whatever its case, as it would on Windows.
/// Without a root that fits, only the separators change.
LocalPath localPath(QString const & storedPath, std::vector<RootMapping> const & mappings);

} // namespace ox::tool
