#include "shared/platform/lock_file.h"

#include "shared/platform/linux/descriptor.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <functional>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

// docs/lock_files.md explains the protocol. O_EXCL decides which process gets the name. A
// process may remove the name only after it has taken the flock of an inode and has verified that
// the name still refers to this inode. The process that creates the file also takes the flock and
// verifies the name. So no process removes a file that another process holds. Some shares refuse to
// remove an open file; removeClosed handles them.

namespace ox::platform
{
namespace
{

/// Pauses after try number `tried`: 1 ms after try 0, and twice as long after each further try.
void pauseAfter(int tried)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(1 << tried));
}

enum class Flock { Taken, Busy, Unsupported };

/// Takes a flock without waiting for a holder. A process that only views the file holds the flock
/// for a moment, so the call retries for up to 7 ms.
Flock takeFlock(int descriptor, int operation)
{
    constexpr int tries = 4;
    for (int tried = 0; ::flock(descriptor, operation | LOCK_NB) != 0;) {
        if (errno == EINTR)
            continue;
        if (errno != EWOULDBLOCK && errno != EACCES) // the kernel's SMB client reports EACCES
            return Flock::Unsupported;
        if (tried + 1 == tries)
            return Flock::Busy;
        pauseAfter(tried++);
    }
    return Flock::Taken;
}

/// Flags with which open() follows no link and does not wait for a pipe or a device.
constexpr int existing = O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC;

enum class NameTarget { ThisFile, OtherOrNone, Unknown };

/// Returns whether `name` refers to the open file `descriptor`. Opens the name again, since a
/// network file system may answer stat() from its cache. Uses lstat() only if the name cannot be
/// opened, for example because of too many open files or a missing read permission.
NameTarget targetOf(NativeName const & name, int descriptor)
{
    Descriptor const file(::open(name.c_str(), O_RDONLY | existing));
    if (!file.isOpen() && errno == ENOENT)
        return NameTarget::OtherOrNone;
    struct stat named;
    struct stat opened;
    int const result = file.isOpen() ? ::fstat(file.get(), &named) : ::lstat(name.c_str(), &named);
    if (result != 0)
        return errno == ENOENT ? NameTarget::OtherOrNone : NameTarget::Unknown;
    if (::fstat(descriptor, &opened) != 0)
        return NameTarget::Unknown;
    bool const isSame =
        named.st_dev == opened.st_dev && named.st_ino == opened.st_ino && opened.st_nlink > 0;
    return isSame ? NameTarget::ThisFile : NameTarget::OtherOrNone;
}

/// Returns whether the server reports that an open file has no name. Queries the descriptor and not
/// the name. Also false on a share without link counts and on NFS. NFS renames an open file instead
/// of deleting it.
bool isUnlinked(int descriptor)
{
    struct statx status;
    int const flags = AT_EMPTY_PATH | AT_STATX_FORCE_SYNC;
    if (::statx(descriptor, "", flags, STATX_NLINK, &status) != 0)
        return errno == ENOENT || errno == ESTALE;
    return (status.stx_mask & STATX_NLINK) != 0 && status.stx_nlink == 0;
}

/// Opens an existing lock file for writing, which an exclusive flock over NFS requires. If that
/// fails, opens it for reading, since the file of another user is often only readable.
int openExisting(NativeName const & name)
{
    int const writable = ::open(name.c_str(), O_RDWR | existing);
    return writable >= 0 ? writable : ::open(name.c_str(), O_RDONLY | existing);
}

/// An existing lock file. errno has the error if `file` is not open or `flock` is Unsupported.
struct FoundLockFile {
    Descriptor file;
    Flock flock = Flock::Unsupported;
};

/// Opens an existing lock file and takes a flock. The client of a share can open a name from its
/// cache although another machine has replaced the file; flock() then fails with ESTALE. In this
/// case the call retries for up to 2047 ms, since clients cache a name for about a second.
FoundLockFile openWithFlock(NativeName const & name, int operation)
{
    constexpr int tries = 12;
    for (int tried = 0;; ++tried) {
        FoundLockFile found{Descriptor(openExisting(name))};
        if (!found.file.isOpen())
            return found;
        found.flock = takeFlock(found.file.get(), operation);
        if (found.flock != Flock::Unsupported || errno != ESTALE || tried + 1 == tries)
            return found;
        found.file.close();
        pauseAfter(tried);
    }
}

/// The first 4096 bytes of an open file. Allocates no memory.
class Start
{
  public:
    Start() = default;
    explicit Start(int descriptor)
        : size_(std::max<ssize_t>(::pread(descriptor, bytes_, sizeof bytes_, 0), 0))
    {
    }
    std::string_view view() const { return {bytes_, static_cast<std::size_t>(size_)}; }

  private:
    char bytes_[4096];
    ssize_t size_ = 0;
};

/// Identifies a closed file among later files of the same name. Some shares derive inode numbers
/// from names, and a local disk reuses inode numbers, so the content is compared, too.
struct Identity {
    dev_t device = 0;
    ino_t number = 0;
    Start content;

    bool operator==(Identity const & other) const
    {
        return device == other.device && number == other.number &&
               content.view() == other.content.view();
    }
};

Identity identityOf(int descriptor)
{
    struct stat status = {};
    ::fstat(descriptor, &status);
    return {status.st_dev, status.st_ino, Start(descriptor)};
}

bool wasWrittenBefore(int descriptor, std::int64_t time)
{
    struct stat status;
    return ::fstat(descriptor, &status) == 0 && status.st_mtim.tv_sec < time;
}

/// Returns whether the error code of a failed removal may mean that the share refuses to remove an
/// open file.
bool isOpenFileRefusal(int error)
{
    return error == EBUSY || error == ETXTBSY || error == EACCES || error == EPERM;
}

/// Deletes a name. If the system refuses this and `leftover` is not empty, renames the file to
/// `leftover`. A missing name counts as deleted. Fails with the error of the deletion.
Result<> removeName(NativeName const & name, NativeName const & leftover)
{
    if (::unlink(name.c_str()) == 0 || errno == ENOENT)
        return {};
    Error const error = lastError("unlink");
    if (!leftover.empty() && std::rename(name.c_str(), leftover.c_str()) == 0)
        return {};
    return error;
}

/// Removes a lock file that this process has closed, for shares that refuse to remove an open file.
/// Each try opens the name, checks the file with `isSameFile`, closes it, and removes the name if
/// the check succeeded. If another process has created its lock file under this name after the
/// check, that file is open, so these shares refuse to remove it. After a removal there is no
/// further try, since the name may then belong to another process.
Result<> removeClosed(NativeName const & name, NativeName const & leftover, int tries,
                      std::function<bool(int)> const & isSameFile)
{
    for (int tried = 0;; ++tried) {
        Descriptor file(::open(name.c_str(), O_RDONLY | existing));
        Result<> removed = resultOf(file.isOpen(), "open");
        if (!removed && removed.error().code == ENOENT)
            return {};
        if (removed) {
            if (!isSameFile(file.get()))
                return {};
            file.close();
            removed = removeName(name, leftover);
            if (removed)
                return {};
        }
        if (tried + 1 == tries)
            return removed;
        pauseAfter(tried); // a process may be viewing the file, or the close may be in progress
    }
}

/// Creates a lock file (O_EXCL) and returns its descriptor. Fails with EEXIST or EBUSY if the name
/// exists.
Result<int> createExclusively(NativeName const & name)
{
    constexpr int tries = 3;
    for (int tried = 1;; ++tried) {
        int const created =
            ::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (created >= 0)
            return created;
        Error const error = lastError("open");
        // A share reports ETXTBSY if a Windows machine has the file open without sharing. SFTP has
        // no error for an existing name, so sshfs reports EPERM if another machine has just created
        // the file.
        if (error.code == ETXTBSY || (error.code == EPERM && lockFileExists(name)))
            return Error{EBUSY, error.step};
        // EPERM without an existing name: the other machine may have just released its lock.
        if (error.code != EPERM || tried == tries)
            return error;
    }
}

/// Returns 0 if the folder of the missing file `name` is readable, otherwise the error code.
int folderErrorOf(NativeName const & name)
{
    if (name.empty())
        return ENOENT;
    auto const end = name.rfind('/');
    NativeName const folder = end == NativeName::npos ? "." : name.substr(0, end + 1);
    Descriptor const opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return opened.isOpen() ? 0 : errno;
}

} // namespace

LockFile::~LockFile()
{
    KeptError const kept;
    if (isHeld())
        ::close(static_cast<int>(handle_));
    else
        static_cast<void>(release({}));
}

Result<> LockFile::take(NativeName const & name)
{
    if (!isPending_) {
        name_ = name; // before the file exists, since a lack of memory throws
        Result<int> const created = createExclusively(name);
        if (!created)
            return created.error();
        // Whatever the umask, other users must be able to open a stale file and remove it.
        ::fchmod(*created, 0666);
        handle_ = *created;
        isPending_ = true;
    }
    int const file = static_cast<int>(handle_);
    // If a process that views the file holds a shared flock, the exclusive flock is busy. The
    // creator then takes a shared flock, which prevents removal, too. On a share without flock
    // support the name alone is the lock, and removeLeftLockFile does not remove the file.
    if (takeFlock(file, LOCK_EX) == Flock::Busy && takeFlock(file, LOCK_SH) == Flock::Busy)
        return Error{EWOULDBLOCK, "flock"};
    switch (targetOf(name_, file)) {
    case NameTarget::ThisFile:
        isPending_ = false;
        return {};
    case NameTarget::OtherOrNone:
        isPending_ = false;
        ::close(static_cast<int>(std::exchange(handle_, none)));
        return Error{EEXIST, "open"};
    case NameTarget::Unknown:
        break;
    }
    return lastError("stat");
}

void LockFile::write(std::string_view content)
{
    // A failed write is ignored, since the lock is held without content, too.
    [[maybe_unused]] auto const written =
        ::write(static_cast<int>(handle_), content.data(), content.size());
}

Result<> LockFile::release(NativeName const & leftover)
{
    if (handle_ == none)
        return {};
    Descriptor file(static_cast<int>(std::exchange(handle_, none)));
    isPending_ = false;
    NameTarget const target = targetOf(name_, file.get());
    if (target == NameTarget::OtherOrNone)
        return {};
    // The name is removed before the file is closed: after the close the name could belong to
    // another lock. Some shares report success but keep the file; the calls after removeName()
    // detect this.
    if (target == NameTarget::ThisFile && removeName(name_, leftover) &&
        (isUnlinked(file.get()) || targetOf(name_, file.get()) != NameTarget::ThisFile))
        return {};

    ::futimens(file.get(), nullptr); // the current time, so that no waiter treats the file as stale
    Identity const own = identityOf(file.get());
    file.close();
    constexpr int tries = 11; // 1023 ms of pauses
    return removeClosed(name_, leftover, tries,
                        [&own](int found) { return identityOf(found) == own; });
}

bool lockFileExists(NativeName const & name)
{
    struct stat status;
    return ::lstat(name.c_str(), &status) == 0;
}

Result<> removeLeftLockFile(NativeName const & name, std::int64_t writtenBefore)
{
    auto [file, flock] = openWithFlock(name, LOCK_EX);
    if (!file.isOpen())
        return resultOf(errno == ENOENT, "open");
    if (flock == Flock::Busy)
        return Error{EWOULDBLOCK, "flock"};
    if (flock == Flock::Unsupported)
        return lastError("flock");
    if (targetOf(name, file.get()) != NameTarget::ThisFile ||
        !wasWrittenBefore(file.get(), writtenBefore))
        return Error{EBUSY, "stat"};
    Result<> const removed = removeName(name, {});
    if (removed || !isOpenFileRefusal(removed.error().code))
        return removed;
    Identity const left = identityOf(file.get());
    file.close();
    constexpr int tries = 6; // 31 ms of pauses; a live holder keeps the file open for longer
    return removeClosed(name, {}, tries, [&](int found) {
        return identityOf(found) == left && wasWrittenBefore(found, writtenBefore);
    });
}

LockFileView viewLockFile(NativeName const & name)
{
    LockFileView view;
    struct stat status;
    if (::lstat(name.c_str(), &status) != 0) {
        view.error = errno == ENOENT ? folderErrorOf(name) : errno;
        return view;
    }
    view.exists = true;
    view.modified = status.st_mtim.tv_sec;
    view.holder = LockFileView::Holder::Unknown;
    // A process that has ended has no flock. A holder has an exclusive flock, or a shared flock if
    // another process was viewing the file at the moment of take(). Closing the file releases the
    // flocks taken here.
    auto const [file, shared] = openWithFlock(name, LOCK_SH);
    if (!file.isOpen())
        return view;
    if (shared == Flock::Busy)
        view.holder = LockFileView::Holder::Process;
    else if (shared == Flock::Taken) {
        ::flock(file.get(), LOCK_UN); // the kernel's SMB client cannot convert a flock
        if (takeFlock(file.get(), LOCK_EX) != Flock::Busy)
            view.holder = LockFileView::Holder::None;
    }
    view.content = Start(file.get()).view();
    return view;
}

} // namespace ox::platform
