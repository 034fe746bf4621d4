#pragma once

#include "shared/platform/open_file.h"

#include <cstdint>
#include <optional>

namespace ox::platform
{

/// Returns the status of a file or folder, with one status query. On Windows also opens a file (not
/// a folder), without access rights.
/// Fails: when the name does not exist. On Windows also when the file cannot be opened.
Result<FileStatus> fileStatus(NativeName const & name);

/// Returns the status of a file. Empty for a folder, and for a name that does not exist or cannot
/// be opened.
inline std::optional<FileStatus> statusOfFile(NativeName const & name)
{
    Result<FileStatus> const status = fileStatus(name);
    return status && !status->isFolder ? std::optional(*status) : std::nullopt;
}

/// What a name refers to.
enum class NameKind { None, File, Folder };

/// Returns what a name refers to, with one status query. The file need not be readable.
NameKind kindOf(NativeName const & name);

/// Deletes a file, even a read-only one. If the name is a link, deletes the link and not its
/// target. Succeeds if the name does not exist, since another process may have deleted the file.
Result<> deleteFile(NativeName const & name);

/// Renames or moves a file, even to another drive or share.
/// Fails: when the new name exists. The file then stays complete under its old name.
Result<> moveFile(NativeName const & from, NativeName const & to);

/// Moves the file `from` to the name `to` and deletes the previous file of that name. If both names
/// refer to the same file, the file is kept: of two hard links only `to` remains, and of two
/// spellings that differ only in letter case the file gets the spelling `to`.
/// Fails: also when `from` is a symbolic link to `to`.
Result<> moveOver(NativeName const & from, NativeName const & to);

/// Creates a folder in an existing folder. On Linux the mode is 0777 without the bits of the
/// process's umask.
Result<> createFolder(NativeName const & name);

/// Flushes a folder to disk (fsync), so that created and renamed entries survive a power failure.
/// No effect on Windows.
/// Fails: also on a share that does not support fsync of a folder.
Result<> flushFolder(NativeName const & name);

/// Deletes an empty folder. If the name is a link to a folder, fails on Linux and deletes the link
/// on Windows.
Result<> deleteFolder(NativeName const & name);

/// Sets the access and modification times of a file, and its creation time where the system
/// supports this. `seconds` counts from 1970-01-01 UTC; without it, sets the current time. On
/// Linux the current time requires the right to write the file, and any other time requires
/// ownership of the file. Links are followed. If the caller is root, the call fails for a link of
/// another user.
Result<> setFileTimes(NativeName const & name, std::optional<std::int64_t> seconds);

/// Whether the system runs only files with an executable bit.
extern bool const hasExecutableBits;

/// Makes a file executable for owner, group and others. No effect on Windows. Links are followed.
/// If the caller is root, the call fails for a link of another user.
Result<> makeExecutable(NativeName const & name);

/// Returns the number of free bytes, for this user, on the drive or share that contains `path`.
/// `path` must be absolute, but need not exist.
Result<std::uint64_t> freeBytes(NativeName const & path);

/// Copies a file with its permission bits and times, as far as the target's file system stores
/// them. Uses the system's fastest method: within a share the server copies. With `modified`
/// (seconds since 1970-01-01 UTC) the copy gets this modification time.
///
/// Replaces an existing file `to`. If `to` is a link, replaces the link and not its target. If
/// `failIfExists` is true and the name `to` exists, the call fails; the check and the creation are
/// one atomic step.
/// Fails: also for a source that openForReading refuses. A failure leaves no incomplete target.
Result<> copyFile(NativeName const & from, NativeName const & to, bool failIfExists,
                  std::optional<std::int64_t> modified = std::nullopt);

/// Checks whether a copy of `source` may replace `target`.
/// Fails: when both names refer to the same file, directly or by a link. On Linux also when the
/// target exists and is not a regular file.
Result<> mayReplace(NativeName const & target, NativeName const & source);

/// Character type of a native name.
using NativeChar = NativeName::value_type;

/// Renames a file within its drive. Both paths are absolute; on Windows `to` may be longer than
/// MAX_PATH. Allocates no memory and acquires no mutex, so that a crash handler can call it.
/// Fails: with AlreadyExists when the new name exists.
Result<> renameToNewName(NativeChar const * from, NativeChar const * to);

// The functions below grant rights to all users of the system and keep the existing rights. Links
// are followed. If the caller is root, these functions fail for a link of another user.

/// Grants all users the rights to read, write, execute and delete a file.
Result<> allowEverybodyToExecute(NativeName const & file);

/// Grants all users the rights to read and enter a folder, to create entries and to delete them. If
/// `inherit` is true, later entries of the folder get the same rights. Linux ignores `inherit`.
Result<> allowEverybodyToFill(NativeName const & folder, bool inherit);

/// Creates a folder in an existing folder, with the rights of allowEverybodyToFill.
/// Fails: when the name exists.
Result<> createFolderForEverybody(NativeName const & folder);

} // namespace ox::platform
