#pragma once

#include "shared/export.h"
#include "shared/platform/types.h"
#include "shared/text/file_name.h"
#include "shared/text/fixed_string.h"
#include "shared/text/fixed_string8.h"
#include "shared/time/time_value.h"

#include <QString>

/// Operations on single files and folders, on local disks and on the farm's shares.
///
/// A file exists when its name stands for something that is not a folder. Links are followed: a
/// link whose target is missing counts as missing. An empty name, or one with a 0 character in it,
/// names nothing. Functions that return a text return the empty one for success; a failure's text
/// ends with the operating system's message. Nothing throws and nothing keeps state.

/// Whether a file exists, also one that cannot be opened: only its attributes are asked for.
OX_EXPORT bool oxFileExists(_oxString<500> const & name);

/// Whether a file exists; if so, and where the pointers are given, its last-write time and its size
/// in bytes. One question to the share answers all. Untouched when the file does not exist.
OX_EXPORT bool oxFileExists(_oxString8_evenSize<500> const & name, _oxTime * time = nullptr,
                            __int64 * size = nullptr);
OX_EXPORT bool oxFileExists(_oxString8_evenSize<250> const & name, _oxTime * time = nullptr,
                            __int64 * size = nullptr);
OX_EXPORT bool oxFileExists(_oxString<500> const & name, _oxTime * time, __int64 * size);
/// Asks for the first 500 characters of the name only, deliberately: records hold no longer path.
OX_EXPORT bool oxFileExists(QString name, _oxTime * time = nullptr, __int64 * size = nullptr);

/// Whether a folder exists. A path shorter than 3 characters gives false ("C:", and "/" as well).
/// One separator of the running system at the end makes no difference.
OX_EXPORT bool oxDirectoryExists(_oxString8_evenSize<500> const & path);
OX_EXPORT bool oxDirectoryExists(_oxString8_evenSize<250> const & path);
OX_EXPORT bool oxDirectoryExists(_oxString8_evenSize<200> const & path);
OX_EXPORT bool oxDirectoryExists(_oxString<500> const & path);
OX_EXPORT bool oxDirectoryExists(QString const & path);
/// A null pointer, and a path of more than 500 characters, gives false.
OX_EXPORT bool oxDirectoryExists(char const * path);

/// Deletes a file, also a read-only one. Deleting what is not an existing file succeeds. A failure
/// is "Unable to delete file, " and the system's message, which the QString form alone closes with
/// a dot of its own; the difference is deliberate, as the farm compares these texts across
/// versions.
OX_EXPORT _oxString<500> oxDeleteFile(_oxString<500> const & name);
OX_EXPORT QString oxDeleteFile(QString const & name);

/// Removes a folder, which must be empty.
OX_EXPORT bool oxDeleteFolder(QString const & path);

/// Creates a folder, and with withParents every missing folder above it. True when the folder
/// exists afterwards, whoever created it; at once, and without a look at the disk, for a path of 3
/// characters or fewer (a drive). Separators are the running system's. After a failure the parents
/// that could be created remain.
OX_EXPORT bool oxCreateFolder(QString const & path, bool withParents);

/// Renames or moves a file, also to another drive. Without overwrite an existing file under the new
/// name makes the call fail. With overwrite that file is deleted, also when the old name is
/// missing.
///
/// When both names stand for one file, overwrite deletes no content. Two spellings of one name
/// succeed, and change its letter case where they differ in that. Of two hard links the new name
/// stays. A link does not replace the file that it points to: the call fails.
OX_EXPORT bool oxRenameFile(QString const & from, QString const & to, bool overwrite);

/// Sets the access and modification times of a file, and its creation time where the system can, to
/// one time. Null means now, for which the right to write the file is enough.
OX_EXPORT bool oxSetFileTime(QString const & name, _oxTime * time);

/// Writes a block of `size` bytes to a new or emptied file; 0 or less gives an empty file.
/// Failures: "Unable to write/open file: ..." or, with the piece of at most 4 MiB that failed,
/// "Unable to write 4194304b (8388608/20000000 done): ...". What was written before a failure stays
/// on disk.
OX_EXPORT QString oxWriteBufferToFile(QString name, unsigned char * data, __int64 size);

/// Appends one line to a text file, or with overwrite makes it the file's only line; with addTime
/// it begins with the local time and ": ". At most 3000 characters are written, and the last is the
/// line break. The line goes out in one piece, so that lines of several processes do not mix on a
/// local disk. False when the file cannot be opened or written. A QString keeps all letters of its
/// name; a literal or a fixed string of another capacity names the file as a record does.
OX_EXPORT bool writeToLogFile(_oxString8_evenSize<250> const & name, _oxString8_evenSize<3000> line,
                              bool overwrite, bool addTime);
OX_EXPORT bool writeToLogFile(QString const & name, _oxString8_evenSize<3000> line, bool overwrite,
                              bool addTime);
template <ox::text::FileName Name>
bool writeToLogFile(Name const & name, _oxString8_evenSize<3000> line, bool overwrite, bool addTime)
{
    return writeToLogFile(ox::text::fileNameText(name), line, overwrite, addTime);
}

/// Free space, in MiB, of the drive or share that holds a path, which need not exist itself. 1000
/// when that cannot be told (a relative path, a path shorter than 3 characters, a failing drive):
/// callers compare the result with a limit and shall treat an unknown drive as having room,
/// deliberately.
OX_EXPORT unsigned int oxGetFreeDriveSpaceMB(QString path);

/// Marks a file as executable for owner, group and others where the system has such marks. Where it
/// has none nothing is done, and verbose prints so on standard output. A failure is "Unable to set
/// executable rights, " and the system's message.
OX_EXPORT QString setExecutable_Rights(QString name, bool verbose);

/// Turns seconds since 1970-01-01 into a platform file time (100-ns ticks since 1601-01-01 UTC).
OX_EXPORT void timeToFileTime(__int64 seconds, FILETIME * fileTime);

/// Turns a platform file time into seconds since 1601-01-01, deliberately not since 1970: the
/// farm's records hold such values. `_oxTime::from_FILETIME` counts from 1970.
OX_EXPORT void fileTimeToTime(_oxTime & time, FILETIME * fileTime);
