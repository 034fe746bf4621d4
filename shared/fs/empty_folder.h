#pragma once

#include "shared/export.h"
#include "shared/platform/types.h"

#include <QString>
#include <QStringList>

#include <functional>

/// Deletes the content of a folder. The folder itself stays, and nothing outside of it changes.
///
/// Links and junctions are deleted and never followed, even if a link replaces a folder during the
/// call. On Linux a file system that is mounted inside the folder stays and is reported as a
/// failure. On Windows the mount point is deleted like a link; the content of the mounted volume
/// stays. An entry that cannot be deleted is reported, and the others are deleted.
///
/// Fails: an empty path, a link, and the root of a drive, of a share or of a mounted file system
/// are refused.

/// Options of oxEmptyFolder.
struct _oxEmptyFolderOptions {
    /// Also empties subfolders and deletes those that become empty. If false, subfolders stay.
    bool recursive = false;
    /// Minimum age in seconds since the last write: younger entries stay. 0 or less deletes entries
    /// of any age.
    int minAge = 0;
    /// Names of files and folders, without a path, compared ignoring case. Entries with one of
    /// these names stay at every level, with all their content.
    QStringList skip;
    /// Dry run: deletes nothing, but counts and reports the entries as if they had been deleted.
    bool isDryRun = false;
    /// Called before each deletion. If it returns true, oxEmptyFolder ends. `stop` may be empty.
    std::function<bool()> stop;
    /// Called after each deletion and each failure, with the path of the entry. `failure` is empty
    /// if the entry was deleted, otherwise it is the reason: "Unable to delete file ..., " or
    /// "Error deleting folder ..., " and the system's message. `report` may be empty.
    std::function<void(QString const & path, QString const & failure)> report;
};

/// Result of oxEmptyFolder.
struct _oxEmptyFolderResult {
    int count = 0;     ///< number of deleted files, links and folders
    __int64 bytes = 0; ///< size of the deleted files in bytes
    int failures = 0;  ///< number of entries that could not be deleted
    bool done = false; ///< false if the folder is refused, unreadable or moved, or `stop` is true
    QString lastError; ///< text of the last failure
};

/// Deletes the content of a folder with the given options.
OX_EXPORT _oxEmptyFolderResult oxEmptyFolder(QString const & folder,
                                             _oxEmptyFolderOptions const & options);

/// Deletes the content of a folder, with the parameters of the farm's applications. Returns true if
/// no deletion failed. With `ignoreErrors` it also returns true if deletions failed. If the folder
/// could not be read, it returns false in any case.
///
/// `recursive`, `minAge` (seconds) and `skip` are those of _oxEmptyFolderOptions; `count`, `bytes`
/// and `lastError` receive the values of _oxEmptyFolderResult. Any pointer may be null. `messages`
/// receives lines: the folder with the options in effect ("C:\tmp -rec -ign -del 3600"), then each
/// failure.
OX_EXPORT bool oxEmptyFolder(QString const & folder, bool const & recursive,
                             bool const & ignoreErrors, int const & minAge,
                             QStringList const * const skip, QString * messages, int * count,
                             __int64 * bytes, QString * lastError);
