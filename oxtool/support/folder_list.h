#pragma once

#include "shared/platform/result.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace ox::tool
{

/// Content of one folder, by names only: size and time cost a system call per file on some systems.
struct FolderContent {
    QString path;            ///< below the listed folder; empty or with a separator at its end
    QStringList files;       ///< names, sorted
    QStringList subfolders;  ///< names, sorted
    platform::Error failure; ///< why the folder is not readable (further); code 0 after success
    bool isLink = false;     ///< a link to a folder, which is not entered
};

/// What to list.
struct FolderSelection {
    std::vector<QString> endings;  ///< files need one of these endings, in any case; empty for all
    std::vector<QString> excluded; ///< patterns of matchesAny(); excluded folders are not entered
    bool isRecursive = false;      ///< links to folders are listed and not entered
};

/// Lists a folder, whose path ends with a separator, and with `isRecursive` its subfolders. Lists
/// up to `jobs` folders at once. Returns the folders in the order of a walk: each before its
/// subfolders, which are sorted by name.
std::vector<FolderContent> listFolders(QString const & folder, FolderSelection const & selection,
                                       int jobs);

} // namespace ox::tool
