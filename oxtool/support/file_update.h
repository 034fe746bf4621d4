#pragma once

#include "oxtool/support/transfer.h"
#include "shared/platform/files.h"

#include <QString>

namespace ox::tool
{

/// A file to update from its master copy, with full paths.
struct FileUpdate {
    QString source;
    QString target;
    QString shownTarget; ///< for messages
    platform::FileStatus sourceStatus;
    bool isReplaced = false;      ///< whether a file exists under the target's name
    bool isNew = false;           ///< whether neither a file nor a folder has the target's name
    bool keepsPrevious = true;    ///< whether a replaced target gets the name `_old`
    bool comparesContent = false; ///< also replaces a target of equal size and time
    int pauseMs = -1;             ///< pause after each MiB, in ms; below 0: the system's own copy
};

/// Result of updateFile().
struct UpdateResult {
    bool isCopied = false;  ///< false if another process has just updated the target
    bool endsEmpty = false; ///< whether the source ends in zeros; only with a pause
    QString warning;        ///< message if the previous file could not be kept; otherwise empty
};

/// Copies a file to its target by the steps of the library's syncCopy. Also copies an empty file,
/// which syncCopy refuses. Writes a temporary file, flushes it and renames it to the target; keeps
/// the previous file as "_old". A stop request removes the temporary file. The caller compares both
/// files before the call, and flushes the folder after it.
/// Fails: throws Failure; its text is the reason without a file name. The target is then unchanged.
/// Exception: if only setting the rights failed, the target has already been replaced.
UpdateResult updateFile(FileUpdate const & update, Transfer & transfer);

/// Returns whether two files have the same content.
/// Fails: when a file is not readable, throws Failure; its text is the reason without a file name.
bool haveSameContent(QString const & one, QString const & other);

} // namespace ox::tool
