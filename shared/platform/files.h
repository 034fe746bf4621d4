#pragma once

#include "shared/platform/open_file.h"

#include <cstdint>
#include <optional>

namespace ox::platform
{

/// Returns the status of a name with one status query to the share.
/// Fails: when the name does not exist or cannot be opened.
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

/// Looks up whether a name is a file, a folder or does not exist, with one status query. A file
/// that cannot be opened is a file, too.
NameKind kindOf(NativeName const & name);

/// Deletes a file, even a read-only one. If the name is a link, deletes the link and not its
/// target. Succeeds if the name does not exist, since other processes delete the same files.
Result<> deleteFile(NativeName const & name);

/// Renames or moves a file, even to another drive or share.
/// Fails: when the new name exists. The file then stays complete under its old name.
Result<> moveFile(NativeName const & from, NativeName const & to);

/// Moves a file to the name of another file, which is deleted. If both names refer to the same
/// file, its content stays: of two hard links `to` remains, and two spellings of one name apply the
/// letter case of `to`.
/// Fails: also when `from` is a symbolic link to `to`.
Result<> moveOver(NativeName const & from, NativeName const & to);

/// Creates a folder in an existing folder. On Linux the mode is 0777 without the bits of the
/// process's umask.
Result<> createFolder(NativeName const & name);

/// Flushes a folder to disk (fsync), so that created and renamed entries survive a power failure.
/// No effect on Windows.
/// Fails: also on a share that does not support fsync of a folder.
Result<> flushFolder(NativeName const & name);

/// Deletes an empty folder. A link to a folder fails on Linux and is deleted on Windows.
Result<> deleteFolder(NativeName const & name);

/// Sets the access and modification times of a file, and its creation time where the system
/// supports this, in seconds since 1970-01-01 UTC. Without `seconds` it sets the current time,
/// which requires the right to write the file; any other time requires ownership of the file. Links
/// are followed; for root, links of other users are refused.
Result<> setFileTimes(NativeName const & name, std::optional<std::int64_t> seconds);

/// Whether the system runs only files with an executable bit.
extern bool const hasExecutableBits;

/// Makes a file executable for owner, group and others. No effect on Windows. Links are followed;
/// for root, links of other users are refused.
Result<> makeExecutable(NativeName const & name);

/// Returns the free space in bytes, for this user, of the drive or share that contains a path. The
/// path must be absolute, but need not exist.
Result<std::uint64_t> freeBytes(NativeName const & path);

/// Copies a file with its permission bits and times, as far as the target's file system stores
/// them, in the system's fastest way: on a share the server copies. With `modified` (seconds since
/// 1970-01-01 UTC) the copy gets this time.
///
/// A file or link under the target's name is replaced and not followed. With failIfExists an
/// existing name makes the call fail; the check and the creation are one atomic step.
/// Fails: also for a source that openForReading refuses. A failure leaves no target.
Result<> copyFile(NativeName const & from, NativeName const & to, bool failIfExists,
                  std::optional<std::int64_t> modified = std::nullopt);

/// Checks whether a copy of `source` may replace `target`.
/// Fails: when both names refer to the same file, also through a link, or when the target is a pipe
/// or a device.
Result<> mayReplace(NativeName const & target, NativeName const & source);

/// Unit of a native name.
using NativeChar = NativeName::value_type;

/// Renames a file on its drive; both paths are absolute and may be long. Allocates no memory and
/// takes no lock of the process.
/// Fails: with AlreadyExists when the new name exists.
Result<> renameToNewName(NativeChar const * from, NativeChar const * to);

// Rights for all users of the system, in addition to the existing ones. Links are followed; for
// root, links of other users are refused.

/// Grants all users the rights to read, write, execute and delete a file.
Result<> allowEverybodyToExecute(NativeName const & file);

/// Grants all users the rights to read and enter a folder, to create entries and to delete them.
/// With `inherit` entries that are created later get the same rights; Linux ignores `inherit`.
Result<> allowEverybodyToFill(NativeName const & folder, bool inherit);

/// Creates a folder in an existing folder, with the rights of allowEverybodyToFill.
/// Fails: when the name exists.
Result<> createFolderForEverybody(NativeName const & folder);

} // namespace ox::platform
