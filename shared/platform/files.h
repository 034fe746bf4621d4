#pragma once

#include "shared/platform/native_name.h"

#include <cstdint>
#include <cstdio>
#include <optional>

namespace ox::platform
{

struct FileStatus {
    bool isFolder;
    std::int64_t size;     ///< in bytes
    std::int64_t modified; ///< last write, seconds since 1970-01-01 UTC
};

/// Asks for everything about a name at once, since each question is a round trip to the share.
/// Empty when the name does not exist or cannot be opened; the system's last error tells why.
std::optional<FileStatus> fileStatus(NativeName const & name);

enum class NameKind { None, File, Folder };

/// What a name stands for, in one question. A file counts also when it cannot be opened.
NameKind kindOf(NativeName const & name);

enum class StreamMode { Read, Write, Append, WriteText, AppendText, ReadShared, WriteShared };

/// Opens a file; the text modes write "\n" as the system ends its lines, the others write bytes.
/// Write truncates or creates, Append creates. The shared modes and those of logs (Append and the
/// text modes) let others write the file meanwhile, where Read and Write refuse that on a system
/// that can. Null on failure, with the system's last error set. The stream is not inherited by
/// child processes.
///
/// Opening never waits for another process: a named pipe fails, as do a folder and a socket. A
/// device can be opened, and so can the pipe behind /dev/stdin; only disks are not written.
std::FILE * openStream(NativeName const & name, StreamMode mode);

/// The calls below return false on failure, with the system's last error set.

/// Removes a file, also a read-only one. A link is removed and not what it points to. True as well
/// when the name is gone already, since others delete the same files.
bool deleteFile(NativeName const & name);

/// Gives a file another name, also on another drive or share. Fails when the new name exists. After
/// a failure the old name still has all of the file.
bool moveFile(NativeName const & from, NativeName const & to);

/// Moves a file to the name of another file, which is deleted. When both names stand for one file,
/// nothing is deleted but one of two hard links: two spellings of a name succeed, and change its
/// letter case where the system ignores that. Fails when a link would replace the file that it
/// points to.
bool moveOver(NativeName const & from, NativeName const & to);

/// Creates a folder whose parent exists, open to everybody whom the process's mask allows.
bool createFolder(NativeName const & name);

/// Removes an empty folder. A link to a folder is no folder on Linux; on Windows the link goes.
bool deleteFolder(NativeName const & name);

/// Sets every time that a file has (creation, where the system can, access, modification) to a
/// number of seconds since 1970-01-01 UTC, or without one to the present. The present needs the
/// right to write the file; any other time can be set by its owner only.
bool setFileTimes(NativeName const & name, std::optional<std::int64_t> seconds);

/// Whether a file must be marked as executable before the system runs it.
extern bool const hasExecutableBits;

/// Marks a file as executable for owner, group and others. True on a system without such marks.
bool makeExecutable(NativeName const & name);

/// Bytes that the caller may still write to the drive or share on which a path lies. The path need
/// not exist, but must be absolute. Empty when the system cannot tell.
std::optional<std::uint64_t> freeBytes(NativeName const & path);

} // namespace ox::platform
