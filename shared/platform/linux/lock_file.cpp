#include "shared/platform/lock_file.h"

#include "shared/platform/linux/descriptor.h"

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

// The protocol, which docs/lock_files.md explains: O_EXCL decides who gets the name, and only a
// process that has the flock of an inode and has then seen that the name still means this inode may
// take the name away again. Whoever creates the file takes the flock and looks in the same way, so
// that nobody can be between the two with an older idea of the name. A share that refuses to remove
// an open file needs a second rule, see removeClosed.

namespace ox::platform
{
namespace
{

/// The pause before the next try: 1 ms after try 0, twice as long after each further one.
void pauseAfter(int tried)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(1 << tried));
}

enum class Flock { Taken, Busy, Unsupported };

/// Does not wait for a holder. Whoever only looks has the flock for a moment; a few tries within
/// 7 ms get past that.
Flock takeFlock(int descriptor, int operation)
{
    constexpr int tries = 4;
    for (int tried = 0; ::flock(descriptor, operation | LOCK_NB) != 0;) {
        if (errno == EINTR)
            continue;
        if (errno != EWOULDBLOCK)
            return Flock::Unsupported;
        if (tried + 1 == tries)
            return Flock::Busy;
        pauseAfter(tried++);
    }
    return Flock::Taken;
}

/// Flags to open a lock file that exists: whatever bears the name, nothing follows it or hangs on
/// it.
constexpr int existing = O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC;

enum class Meaning { ThisFile, OtherOrNone, Unknown };

/// What a name means, compared with an open file. The name is opened anew, since a network file
/// system may answer a stat from memory. Only where it cannot be opened (too many open files, no
/// right to read) must the stat do.
Meaning meaningOf(NativeName const & name, int descriptor)
{
    Descriptor const file(::open(name.c_str(), O_RDONLY | existing));
    struct stat named;
    struct stat opened;
    int const result = file.isOpen() ? ::fstat(file.get(), &named) : ::lstat(name.c_str(), &named);
    if (result != 0)
        return errno == ENOENT ? Meaning::OtherOrNone : Meaning::Unknown;
    if (::fstat(descriptor, &opened) != 0)
        return Meaning::Unknown;
    bool const isSame =
        named.st_dev == opened.st_dev && named.st_ino == opened.st_ino && opened.st_nlink > 0;
    return isSame ? Meaning::ThisFile : Meaning::OtherOrNone;
}

/// Opens a lock file that exists. Over NFS only a file open for writing can be flocked exclusively,
/// but the file of another user can often only be read.
int openExisting(NativeName const & name)
{
    int const writable = ::open(name.c_str(), O_RDWR | existing);
    return writable >= 0 ? writable : ::open(name.c_str(), O_RDONLY | existing);
}

std::string readStart(int descriptor)
{
    char text[4096];
    ssize_t const size = ::pread(descriptor, text, sizeof text, 0);
    return size > 0 ? std::string(text, static_cast<std::size_t>(size)) : std::string();
}

/// What tells a closed file from another one of the same name. Some shares number files by their
/// names, and a local disk gives a number to the next file, so the content counts as well.
struct Identity {
    dev_t device = 0;
    ino_t number = 0;
    std::string content;

    bool operator==(Identity const &) const = default;
};

Identity identityOf(int descriptor)
{
    struct stat status = {};
    ::fstat(descriptor, &status);
    return {status.st_dev, status.st_ino, readStart(descriptor)};
}

bool wasWrittenBefore(int descriptor, std::int64_t time)
{
    struct stat status;
    return ::fstat(descriptor, &status) == 0 && status.st_mtim.tv_sec < time;
}

/// Whether a share may have refused a removal only because the file is open.
bool isOpenFileRefusal(int error)
{
    return error == EBUSY || error == ETXTBSY || error == EACCES || error == EPERM;
}

/// Deletes a name, or renames it when the system refuses that and there is a name for the leftover.
/// Fails with the reason for which it was not deleted. A name that is gone counts as deleted.
Result<> removeName(NativeName const & name, NativeName const & leftover)
{
    if (::unlink(name.c_str()) == 0 || errno == ENOENT)
        return {};
    Error const error = lastError("unlink");
    if (!leftover.empty() && std::rename(name.c_str(), leftover.c_str()) == 0)
        return {};
    return error;
}

/// Removes a lock file that this process has closed, because the share refuses to remove an open
/// one. The name is opened before each try, and the removal follows only when `isStillIt` accepts
/// the file. A fresh lock that takes the name in between is open, and so refused by the same share.
/// The first try that succeeds is the last one: after it the name belongs to others.
Result<> removeClosed(NativeName const & name, NativeName const & leftover, int tries,
                      std::function<bool(int)> const & isStillIt)
{
    for (int tried = 0;; ++tried) {
        Descriptor file(::open(name.c_str(), O_RDONLY | existing));
        Result<> removed = resultOf(file.isOpen(), "open");
        if (!removed && removed.error().code == ENOENT)
            return {};
        if (removed) {
            if (!isStillIt(file.get()))
                return {};
            file.close();
            removed = removeName(name, leftover);
            if (removed)
                return {};
        }
        if (tried + 1 == tries)
            return removed;
        pauseAfter(tried); // somebody may be looking at it, or the closing is under way
    }
}

/// 0 when a name that does not exist lies in a folder that can be read, else the system's error.
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
        int const created =
            ::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (created < 0) {
            Error const error = lastError("open");
            // EBUSY, ETXTBSY: a Windows machine has the file open without sharing.
            return error.code == ETXTBSY ? Error{EBUSY, error.step} : error;
        }
        // Whatever the umask: other users must be able to open it, or it stays once it is stale.
        ::fchmod(created, 0666);
        handle_ = created;
        name_ = name;
        isPending_ = true;
    }
    int const file = static_cast<int>(handle_);
    // A shared flock keeps removers away as well, and those who only look cannot refuse it. Where
    // there is no flock, the name alone is the lock, and nobody removes it (see
    // removeLeftLockFile).
    if (takeFlock(file, LOCK_EX) == Flock::Busy && takeFlock(file, LOCK_SH) == Flock::Busy)
        return Error{EWOULDBLOCK, "flock"};
    switch (meaningOf(name_, file)) {
    case Meaning::ThisFile:
        isPending_ = false;
        return {};
    case Meaning::OtherOrNone:
        isPending_ = false;
        ::close(static_cast<int>(std::exchange(handle_, none)));
        return Error{EEXIST, "open"};
    case Meaning::Unknown:
        break;
    }
    return lastError("stat");
}

void LockFile::write(std::string_view content)
{
    // Nothing depends on the content, and the lock is held even on a full disk.
    [[maybe_unused]] auto const written =
        ::write(static_cast<int>(handle_), content.data(), content.size());
}

Result<> LockFile::release(NativeName const & leftover)
{
    if (handle_ == none)
        return {};
    Descriptor file(static_cast<int>(std::exchange(handle_, none)));
    isPending_ = false;
    Meaning const meaning = meaningOf(name_, file.get());
    if (meaning == Meaning::OtherOrNone)
        return {};
    // Removed before it is closed: without the flock the name could mean another's lock already.
    // The second look finds a share that agrees and leaves the file.
    if (meaning == Meaning::ThisFile && removeName(name_, leftover) &&
        meaningOf(name_, file.get()) != Meaning::ThisFile)
        return {};

    ::futimens(file.get(), nullptr); // fresh for three hours, so that no waiter removes it now
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

void removeLeftLockFile(NativeName const & name, std::int64_t writtenBefore)
{
    Descriptor file(openExisting(name));
    if (!file.isOpen() || takeFlock(file.get(), LOCK_EX) != Flock::Taken ||
        meaningOf(name, file.get()) != Meaning::ThisFile ||
        !wasWrittenBefore(file.get(), writtenBefore))
        return;
    if (::unlink(name.c_str()) == 0 || !isOpenFileRefusal(errno))
        return;
    Identity const left = identityOf(file.get());
    file.close();
    constexpr int tries = 6; // 31 ms of pauses; a live holder keeps the file open for longer
    static_cast<void>(removeClosed(name, {}, tries, [&](int found) {
        return identityOf(found) == left && wasWrittenBefore(found, writtenBefore);
    }));
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
    Descriptor const file(openExisting(name));
    if (!file.isOpen())
        return view;
    // A dead holder has no flock. A holder has the exclusive one, or a shared one if somebody was
    // looking when it began; so does whoever looks now. Closing the file releases what is taken.
    Flock const shared = takeFlock(file.get(), LOCK_SH);
    if (shared == Flock::Busy)
        view.holder = LockFileView::Holder::Process;
    else if (shared == Flock::Taken && takeFlock(file.get(), LOCK_EX) != Flock::Busy)
        view.holder = LockFileView::Holder::None;
    view.content = readStart(file.get());
    return view;
}

} // namespace ox::platform
