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
    bool keepsPrevious = true;    ///< whether a replaced target gets the name `_old`
    bool comparesContent = false; ///< also replaces a target of equal size and time
    int pauseMs = -1;             ///< pause after each MiB; below 0 the system copies
};

/// What updateFile() has done.
struct UpdateResult {
    bool isCopied = false;  ///< false if another process has just updated the target
    bool endsEmpty = false; ///< whether the source ends in zeros; only with a pause
    QString warning;        ///< why the previous file was not kept; may be empty
};

/// Copies a file, even an empty one, to its target as the library's syncCopy does. Writes a
/// temporary file, flushes it and renames it to the target; keeps the previous file as "_old". The
/// caller has compared both files, and flushes the folder afterwards. A stop request removes the
/// temporary file. Fails: throws Failure with the reason alone. The target is then unchanged,
/// unless only its rights could not be set.
UpdateResult updateFile(FileUpdate const & update, Transfer & transfer);

/// Returns whether two files have the same content. Throws Failure, with the reason alone, if one
/// of them is not readable.
bool haveSameContent(QString const & one, QString const & other);

} // namespace ox::tool
