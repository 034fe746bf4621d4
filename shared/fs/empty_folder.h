#pragma once

#include "shared/export.h"
#include "shared/platform/types.h"

#include <QString>
#include <QStringList>

#include <functional>

/// Deleting what is in a folder. The folder itself stays, as does everything outside of it: a link
/// or junction is deleted and never followed, also when it takes the place of a folder while the
/// deleting is on its way, and what is mounted inside is left alone and reported. Refused are an
/// empty path, the root of a drive, of a share or of a mounted file system, and a link in place of
/// the folder. What cannot be deleted is reported, and the rest deleted.

/// How a folder is emptied.
struct _oxEmptyFolderOptions {
    /// Also empties the subfolders and deletes those that end up empty. Otherwise they stay.
    bool recursive = false;
    /// Seconds. What was written later than this long ago stays; 0 or less means that nothing does.
    int minAge = 0;
    /// Names, without folders, in any case of their letters. Files and folders of such a name stay,
    /// wherever they are, with all that is in them.
    QStringList skip;
    /// Deletes nothing, but reports everything as if it had.
    bool rehearse = false;
    /// Asked before each entry: true ends it all.
    std::function<bool()> stop;
    /// Told of each entry by its path and, when it could not be deleted, why: "Unable to delete
    /// file ..., " or "Error deleting folder ..., " and the system's message.
    std::function<void(QString const & path, QString const & failure)> tell;
};

struct _oxEmptyFolderResult {
    int count = 0;     ///< of the files, links and folders deleted
    __int64 bytes = 0; ///< the size of the files deleted
    int failures = 0;  ///< how much could not be deleted
    bool done = false; ///< the folder could be read, and `stop` was never true
    QString lastError; ///< the text of the last failure
};

OX_EXPORT _oxEmptyFolderResult oxEmptyFolder(QString const & folder,
                                             _oxEmptyFolderOptions const & options);

/// The same for the farm's applications. True when all is deleted that was to be; with ignoreErrors
/// also when some of it could not be, but never when the folder could not be emptied at all.
///
/// Any pointer may be null; the others are always set. `messages` gets lines: first the folder with
/// those of the options "-rec", "-ign" and "-del" and the age that are in force ("C:\tmp -rec -del
/// 3600"), then each failure. The rest is as in _oxEmptyFolderOptions and _oxEmptyFolderResult.
OX_EXPORT bool oxEmptyFolder(QString const & folder, bool const & recursive,
                             bool const & ignoreErrors, int const & minAge,
                             QStringList const * const skip, QString * messages, int * count,
                             __int64 * bytes, QString * lastError);
