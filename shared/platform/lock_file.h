#pragma once

#include "shared/platform/file_names.h"
#include "shared/platform/result.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace ox::platform
{

/// A lock file that at most one process on all machines of the farm holds at a time.
///
/// The process that creates the file holds the lock; all other processes that see the same folder
/// find the name in use. The holder keeps the file open in a way that other processes can detect.
/// So they can distinguish a held file from one left behind by a process that has ended.
class LockFile
{
  public:
    LockFile() = default;
    /// Closes a held file without deleting it, as the end of the process does. If take() has
    /// created the file but has not yet acquired the lock, deletes the file.
    ~LockFile();
    LockFile(LockFile const &) = delete;
    LockFile & operator=(LockFile const &) = delete;

    /// Tries to create and hold the lock file. Waits at most a few milliseconds, and changes no
    /// existing file. Call it only while this object holds no lock file.
    ///
    /// Fails: with an error for which isTaken() is true in these cases:
    /// - The name exists, or another process has just created the lock file.
    /// - This call has created the file, but another process is examining the file at that moment.
    ///   The next call with the same name then finishes taking the lock.
    Result<> take(NativeName const & name);

    /// Returns whether this object holds the lock file.
    bool isHeld() const { return handle_ != none && !isPending_; }

    /// Writes the file's content as bytes. Call it only while the file is held.
    void write(std::string_view content);

    /// Releases the lock: deletes the file or, if the system refuses this, renames it to
    /// `leftover` and replaces an existing file of that name. If a share refuses both while the
    /// file is open, the call closes the file and retries for about a second. If the name now
    /// refers to the file of another process, that file stays. Succeeds if the file is not held.
    ///
    /// Fails: with the error of the last attempt; the lock file then still exists.
    Result<> release(NativeName const & leftover);

  private:
    static constexpr std::intptr_t none = -1;

    NativeName name_;
    std::intptr_t handle_ = none;
    bool isPending_ = false; ///< the file is created, but the lock is not acquired yet
};

/// Returns whether an error of LockFile::take means that the name is in use.
inline bool isTaken(Error const & error)
{
    return error.kind() == ErrorKind::AlreadyExists || error.kind() == ErrorKind::InUse;
}

/// Returns whether the name of a lock file exists. Also true if it is the name of a folder or of a
/// broken link.
bool lockFileExists(NativeName const & name);

/// Deletes a lock file that no process holds and whose last write is older than `writtenBefore`
/// (seconds since 1970-01-01 UTC). A held file stays, however old it is. A file also stays if the
/// share does not report whether it is held. Succeeds if the file does not exist.
///
/// Fails: as InUse for a held file, a file that another process is examining, and a younger file.
Result<> removeLeftLockFile(NativeName const & name, std::int64_t writtenBefore);

/// State of a lock file.
struct LockFileView {
    /// Who holds the lock file. Unknown: the system or the share does not report the holder.
    enum class Holder { None, Process, Unknown };

    int error = 0;                ///< system's error code if the file's existence is not known
    bool exists = false;          ///< whether the file exists
    Holder holder = Holder::None; ///< who holds the file
    std::int64_t modified = 0;    ///< last write, seconds since 1970-01-01 UTC
    std::string content;          ///< first 4096 bytes; empty if not readable
};

/// Returns the state of a lock file, without changing it and without taking the lock.
LockFileView viewLockFile(NativeName const & name);

} // namespace ox::platform
