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
/// A file exists if its name refers to something other than a folder. Links are followed: a link
/// without a target does not exist. On Linux a process that runs as root changes no file through a
/// link of another user. An empty name and a name with a NUL character refer to no file. A function
/// that returns a text returns the empty text for success. The text of a failure ends with the
/// system's message. Only a lack of memory throws (std::bad_alloc).

/// Returns whether a file exists, even if it cannot be opened. Makes one status query.
OX_EXPORT bool oxFileExists(_oxString<500> const & name);

/// Returns whether a file exists. Sets `*time` to its last-write time and `*size` to its size in
/// bytes, if given. Makes one status query. `*time` and `*size` stay unchanged if the file does not
/// exist.
OX_EXPORT bool oxFileExists(_oxString8_evenSize<500> const & name, _oxTime * time = nullptr,
                            __int64 * size = nullptr);
/// Returns whether a file exists, and sets `*time` and `*size`; the name is an 8-bit string of
/// capacity 250.
OX_EXPORT bool oxFileExists(_oxString8_evenSize<250> const & name, _oxTime * time = nullptr,
                            __int64 * size = nullptr);
/// Returns whether a file exists, and sets `*time` and `*size`; the name is a wide string.
OX_EXPORT bool oxFileExists(_oxString<500> const & name, _oxTime * time, __int64 * size);
/// Returns whether a file exists, and sets `*time` and `*size`; the name is a QString.
/// Compatibility: only the first 500 characters of the name count, since the farm's records contain
/// no longer path.
OX_EXPORT bool oxFileExists(QString name, _oxTime * time = nullptr, __int64 * size = nullptr);

/// Returns whether a folder exists. A path shorter than 3 characters gives false, even "/". One
/// separator of this system at the end is ignored.
OX_EXPORT bool oxDirectoryExists(_oxString8_evenSize<500> const & path);
/// Returns whether a folder exists; the path is an 8-bit string of capacity 250.
OX_EXPORT bool oxDirectoryExists(_oxString8_evenSize<250> const & path);
/// Returns whether the folder `path`, an 8-bit string of capacity 200, exists.
OX_EXPORT bool oxDirectoryExists(_oxString8_evenSize<200> const & path);
/// Returns whether the folder `path`, a wide string, exists.
OX_EXPORT bool oxDirectoryExists(_oxString<500> const & path);
/// Returns whether the folder `path`, a QString of any length, exists.
OX_EXPORT bool oxDirectoryExists(QString const & path);
/// Returns whether the folder `path` (zero-terminated) exists. Null and a path of more than 500
/// bytes give false.
OX_EXPORT bool oxDirectoryExists(char const * path);

/// Deletes a file, even a read-only one. Succeeds when the file does not exist.
/// Fails: "Unable to delete file, " and the system's message.
OX_EXPORT _oxString<500> oxDeleteFile(_oxString<500> const & name);
/// Deletes a file, even a read-only one; the name is a QString. Succeeds when the file does not
/// exist.
/// Fails: "Unable to delete file, ", the system's message, and a dot.
/// Compatibility: only this overload adds the dot, since the farm compares these texts across
/// versions.
OX_EXPORT QString oxDeleteFile(QString const & name);

/// Deletes an empty folder. Returns whether this succeeded.
OX_EXPORT bool oxDeleteFolder(QString const & path);

/// Creates a folder. With `withParents` also creates the missing folders above it. Returns whether
/// the folder exists afterwards, whoever created it. A path of 3 characters or fewer (a drive)
/// gives true without a system call. Only this system's separators separate the folders of the
/// path.
/// Fails: returns false; the folders that were created before the failure remain.
OX_EXPORT bool oxCreateFolder(QString const & path, bool withParents);

/// Renames or moves a file, even to another drive. Returns whether this succeeded. Without
/// `overwrite` the call fails if a file `to` exists. With `overwrite` the file `to` is deleted,
/// even if `from` does not exist. The file `to` stays if the system cannot report whether `from`
/// exists.
///
/// If both names refer to the same file, `overwrite` keeps the file's content:
/// - Two spellings of one name: the file gets the letter case of `to`.
/// - Two hard links: `to` remains.
/// - `from` is a symbolic link to `to`: the call fails.
OX_EXPORT bool oxRenameFile(QString const & from, QString const & to, bool overwrite);

/// Sets the access and modification times of a file to `*time`, and its creation time where the
/// system supports this. Null sets the current time, which only requires the right to write the
/// file. Returns whether this succeeded.
OX_EXPORT bool oxSetFileTime(QString const & name, _oxTime * time);

/// Writes `size` bytes to a new or emptied file; a size of 0 or less gives an empty file.
/// Fails: "Unable to write/open file: " and the system's message. The bytes are written in pieces
/// of at most 4 MiB. If a piece fails, the text is "Unable to write 4194304b (8388608/20000000
/// done): " and the system's message; bytes written before the failure remain.
OX_EXPORT QString oxWriteBufferToFile(QString name, unsigned char * data, __int64 size);

/// Appends one line to a text file. With `overwrite` the line replaces the content. With `addTime`
/// the line begins with the local time and ": ". At most 3000 characters are written, line break
/// included. Each line is one write call, so that lines of several processes do not mix on a local
/// disk. Returns whether the line was written.
OX_EXPORT bool writeToLogFile(_oxString8_evenSize<250> const & name, _oxString8_evenSize<3000> line,
                              bool overwrite, bool addTime);
/// Appends one line to a text file; the name is a QString with any characters.
OX_EXPORT bool writeToLogFile(QString const & name, _oxString8_evenSize<3000> line, bool overwrite,
                              bool addTime);
/// Appends one line to a text file; the name is of any other string type. ox::text::fileNameText
/// decodes the name; it treats a string literal as a name from an 8-bit record.
template <ox::text::FileName Name>
bool writeToLogFile(Name const & name, _oxString8_evenSize<3000> line, bool overwrite, bool addTime)
{
    return writeToLogFile(ox::text::fileNameText(name), line, overwrite, addTime);
}

/// Returns the free space in MiB of the drive or share that contains a path. The path itself need
/// not exist.
/// Compatibility: returns 1000 if the free space is not known (a relative path, a path shorter than
/// 3 characters, a failing drive). Callers compare the result with a limit and treat an unknown
/// drive as one with free space.
OX_EXPORT unsigned int oxGetFreeDriveSpaceMB(QString path);

/// Makes a file executable for owner, group and others. On a system without executable bits it
/// changes nothing, but prints a line to standard output if `verbose` is true.
/// Fails: "Unable to set executable rights, " and the system's message.
OX_EXPORT QString setExecutable_Rights(QString name, bool verbose);

/// Converts seconds since 1970-01-01 UTC to a FILETIME (100-ns ticks since 1601-01-01 UTC).
OX_EXPORT void timeToFileTime(__int64 seconds, FILETIME * fileTime);

/// Converts a FILETIME to seconds since 1601-01-01 UTC.
/// Compatibility: the farm's records contain seconds since 1601. `_oxTime::from_FILETIME` converts
/// to seconds since 1970.
OX_EXPORT void fileTimeToTime(_oxTime & time, FILETIME * fileTime);
