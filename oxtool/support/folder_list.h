#pragma once

#include "shared/platform/result.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace ox::tool
{

/// Names in one folder. Sizes and times are omitted: on some systems they would cost a system call
/// per file.
struct FolderContent {
    QString path;            ///< relative to the top folder; empty or with a separator at its end
    QStringList files;       ///< names, sorted
    QStringList subfolders;  ///< names, sorted
    platform::Error failure; ///< why the folder, or its rest, is not readable; code 0 on success
    bool isLink = false;     ///< whether it is a link to a folder, which is not entered
};

/// What to list.
struct FolderSelection {
    std::vector<QString> endings;  ///< a file has one of these, ignoring case; empty for all files
    std::vector<QString> excluded; ///< patterns of matchesAny(); excluded folders are not entered
    bool isRecursive = false;      ///< whether to list subfolders, too
};

/// Lists `folder` and, with `isRecursive`, its subfolders. Lists up to `jobs` folders in parallel.
/// The path of `folder` ends with a separator. Returns the folders in depth-first order: each
/// folder before its subfolders, which are sorted by name. For each link to a folder, the result
/// has an entry without names.
std::vector<FolderContent> listFolders(QString const & folder, FolderSelection const & selection,
                                       int jobs);

} // namespace ox::tool
