#pragma once

#include "shared/platform/file_names.h"
#include "shared/platform/result.h"

#include <cstdint>
#include <optional>

namespace ox::platform
{

struct FileStatus {
    bool isFolder;
    std::int64_t size;     ///< in bytes
    std::int64_t modified; ///< last write, seconds since 1970-01-01 UTC
};

/// Everything about a name in one round trip to the share. Fails when the name does not exist or
/// cannot be opened.
Result<FileStatus> fileStatus(NativeName const & name);

/// The same of a file. Empty when there is no file of that name that can be opened.
inline std::optional<FileStatus> statusOfFile(NativeName const & name)
{
    Result<FileStatus> const status = fileStatus(name);
    return status && !status->isFolder ? std::optional(*status) : std::nullopt;
}

enum class NameKind { None, File, Folder };

/// What a name stands for, in one round trip. A file counts also when it cannot be opened.
NameKind kindOf(NativeName const & name);

/// Removes a file, also a read-only one. A link is removed and not what it points to. Succeeds
/// as well when the name is gone already, since others delete the same files.
Result<> deleteFile(NativeName const & name);

/// Gives a file another name, also on another drive or share. Fails when the new name exists. After
/// a failure the old name still has all of the file.
Result<> moveFile(NativeName const & from, NativeName const & to);

/// Moves a file to the name of another file, which is deleted. When both names stand for one file,
/// nothing is deleted but one of two hard links: two spellings of a name succeed, and change its
/// letter case where the system ignores that. Fails when a link would replace the file that it
/// points to.
Result<> moveOver(NativeName const & from, NativeName const & to);

/// Creates a folder whose parent exists, open to everybody whom the process's mask allows.
Result<> createFolder(NativeName const & name);

/// Removes an empty folder. A link to a folder is no folder on Linux; on Windows the link goes.
Result<> deleteFolder(NativeName const & name);

/// Sets every time that a file has (creation, where the system can, access, modification) to a
/// number of seconds since 1970-01-01 UTC, or without one to the present. The present needs the
/// right to write the file; any other time can be set by its owner only.
Result<> setFileTimes(NativeName const & name, std::optional<std::int64_t> seconds);

/// Whether a file must be marked as executable before the system runs it.
extern bool const hasExecutableBits;

/// Marks a file as executable for owner, group and others. Does nothing on a system without such
/// marks.
Result<> makeExecutable(NativeName const & name);

/// Bytes that the caller may still write to the drive or share on which a path lies. The path need
/// not exist, but must be absolute.
Result<std::uint64_t> freeBytes(NativeName const & path);

/// Copies a file with its permission bits and times, as far as the target's file system keeps them,
/// in the fastest way that the system has: on a share by the server itself. With `modified` the
/// copy's times are that number of seconds since 1970-01-01 UTC.
///
/// A file or link under the target's name is replaced and never followed; with failIfExists it
/// makes the call fail, without a moment for another process to come in between. Refuses what
/// openForReading refuses. Leaves no target on failure.
Result<> copyFile(NativeName const & from, NativeName const & to, bool failIfExists,
                  std::optional<std::int64_t> modified = std::nullopt);

/// Fails when a copy of one file may not take the place of another: both names mean the same file,
/// also through a link, or the target is a pipe or a device.
Result<> mayReplace(NativeName const & target, NativeName const & source);

using NativeChar = NativeName::value_type;

/// Gives a file, by its absolute path, another name in its folder or on its drive, which may be a
/// long one. Fails (AlreadyExists) when the name is taken. Allocates nothing and takes no lock of
/// the process.
Result<> renameToNewName(NativeChar const * from, NativeChar const * to);

// Rights for every user of the system, beside what is allowed already. Links are followed, but as
// root not those of another user.

/// Adds the rights to read, write, execute and delete a file.
Result<> allowEverybodyToExecute(NativeName const & file);

/// Adds the rights to read and enter a folder, to put something into it and to delete that. With
/// `inherit`, what is put into it later gets the same rights; Linux has no such inheritance and
/// ignores `inherit`.
Result<> allowEverybodyToFill(NativeName const & folder, bool inherit);

/// Creates a folder whose parent exists, with these rights. Fails when the name is taken.
Result<> createFolderForEverybody(NativeName const & folder);

} // namespace ox::platform
