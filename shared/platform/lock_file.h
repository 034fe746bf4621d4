#pragma once

#include "shared/platform/file_names.h"
#include "shared/platform/result.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace ox::platform
{

/// A file that exists only while one process on one of the farm's machines holds it.
///
/// The promise: of all processes that see the same folder at most one holds the lock file of a
/// name. It rests on the name alone (who creates it holds it). The file is also kept open in a way
/// that other processes notice, so that a file left by a dead process can be told from a held one.
class LockFile
{
  public:
    LockFile() = default;
    /// Closes a held file without removing it, as the death of the process does. Removes a file
    /// that a try has created but not yet taken.
    ~LockFile();
    LockFile(LockFile const &) = delete;
    LockFile & operator=(LockFile const &) = delete;

    /// Tries to create the lock file and to hold it. Waits for nobody for longer than some
    /// milliseconds, and changes no file that exists. Only while not held.
    ///
    /// Fails: with an error of which isTaken() is true when the name exists or another process was
    /// faster; with another one for any other reason. A try that has created the file while another
    /// process examines it fails as taken, and the next try with the same name continues it.
    Result<> take(NativeName const & name);

    bool isHeld() const { return handle_ != none && !isPending_; }

    /// Writes the file's content, bytes as they are. Only while held.
    void write(std::string_view content);

    /// Releases the lock by removing the file. When the system refuses that, the file is renamed to
    /// `leftover` (which is replaced), so that its name is free at once. A share can refuse both
    /// while the file is open; then it is closed first, and the removal is tried for about a
    /// second. A file that somebody else has put under the name in the meantime stays.
    ///
    /// Fails: with the reason for which the lock file is still there. Succeeds when not held.
    Result<> release(NativeName const & leftover);

  private:
    static constexpr std::intptr_t none = -1;

    NativeName name_;
    std::intptr_t handle_ = none;
    bool isPending_ = false; ///< created, but not yet taken
};

/// Whether an error of LockFile::take means that somebody else has the name.
inline bool isTaken(Error const & error)
{
    return error.kind() == ErrorKind::AlreadyExists || error.kind() == ErrorKind::InUse;
}

/// Whether the name of a lock file is taken, by whatever it may be.
bool lockFileExists(NativeName const & name);

/// Removes a lock file that no process holds and that was last written before a time (in seconds
/// since 1970-01-01 UTC). A file that a process holds stays, however old it is, and so does one on
/// a share that cannot tell whether it is held.
void removeLeftLockFile(NativeName const & name, std::int64_t writtenBefore);

/// What a look at a lock file shows.
struct LockFileView {
    enum class Holder { None, Process, Unknown };

    int error = 0; ///< the system's error when it cannot say whether there is a file, else 0
    bool exists = false;
    Holder holder = Holder::None; ///< Unknown: the system or the share cannot tell
    std::int64_t modified = 0;    ///< last write, seconds since 1970-01-01 UTC
    std::string content;          ///< its first 4096 bytes, empty when they cannot be read
};

/// Looks at a lock file without changing it and without taking the lock.
LockFileView viewLockFile(NativeName const & name);

} // namespace ox::platform
