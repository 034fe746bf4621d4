#include "shared/platform/lock_file.h"

#include "shared/platform/descriptor_linux.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

// The protocol, which docs/lock_files.md explains: O_EXCL decides who gets the name, and only a
// process that has the flock of an inode and has then seen that the name still means this inode may
// take the name away again. Whoever creates the file takes the flock and looks in the same way, so
// that nobody can be between the two with an older idea of the name.

namespace ox::platform
{
namespace
{

enum class Flock { Taken, Busy, Unsupported };

Flock takeFlock(int descriptor, int operation)
{
    int result;
    do {
        result = ::flock(descriptor, operation);
    } while (result != 0 && errno == EINTR);
    if (result == 0)
        return Flock::Taken;
    return errno == EWOULDBLOCK ? Flock::Busy : Flock::Unsupported;
}

/// Flags to open a lock file that exists: whatever bears the name, nothing follows it or hangs on
/// it.
constexpr int existing = O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC;

/// The name is opened anew, since a network file system may answer a stat from memory. Only where
/// it cannot be opened (too many open files, no right to read) must the stat do.
bool nameMeans(NativeName const & name, int descriptor)
{
    Descriptor const file(::open(name.c_str(), O_RDONLY | existing));
    struct stat named;
    struct stat opened;
    int const result = file.isOpen() ? ::fstat(file.get(), &named) : ::lstat(name.c_str(), &named);
    return result == 0 && ::fstat(descriptor, &opened) == 0 && named.st_dev == opened.st_dev &&
           named.st_ino == opened.st_ino && opened.st_nlink > 0;
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

} // namespace

LockFile::~LockFile()
{
    if (isHeld())
        ::close(static_cast<int>(handle_));
}

LockFile::Attempt LockFile::take(NativeName const & name)
{
    Descriptor file(::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file.isOpen()) {
        // EBUSY: a Windows machine has the file open without sharing.
        return errno == EEXIST || errno == EBUSY ? Attempt::InUse : Attempt::Failed;
    }
    // Waits at most for somebody who just looks whether the file is held. Where there is no flock,
    // the name alone is the lock, and nobody removes it (see removeLeftLockFile).
    takeFlock(file.get(), LOCK_EX);
    if (!nameMeans(name, file.get()))
        return Attempt::InUse;
    handle_ = file.release();
    name_ = name;
    return Attempt::Taken;
}

void LockFile::write(std::string_view content)
{
    // Nothing depends on the content, and the lock is held even on a full disk.
    [[maybe_unused]] auto const written =
        ::write(static_cast<int>(handle_), content.data(), content.size());
}

void LockFile::release(NativeName const & leftover)
{
    if (!isHeld())
        return;
    int const descriptor = static_cast<int>(std::exchange(handle_, none));
    // Removed before it is closed: without the flock the name could mean another's lock already.
    if (nameMeans(name_, descriptor) && ::unlink(name_.c_str()) != 0)
        std::rename(name_.c_str(), leftover.c_str());
    ::close(descriptor);
}

bool lockFileExists(NativeName const & name)
{
    struct stat status;
    return ::lstat(name.c_str(), &status) == 0;
}

void removeLeftLockFile(NativeName const & name, std::int64_t writtenBefore)
{
    Descriptor const file(openExisting(name));
    struct stat status;
    if (file.isOpen() && takeFlock(file.get(), LOCK_EX | LOCK_NB) == Flock::Taken &&
        nameMeans(name, file.get()) && ::fstat(file.get(), &status) == 0 &&
        S_ISREG(status.st_mode) && status.st_mtim.tv_sec < writtenBefore)
        ::unlink(name.c_str());
}

LockFileView viewLockFile(NativeName const & name)
{
    LockFileView view;
    struct stat status;
    if (::lstat(name.c_str(), &status) != 0)
        return view;
    view.exists = true;
    view.modified = status.st_mtim.tv_sec;
    view.holder = LockFileView::Holder::Unknown;
    Descriptor const file(openExisting(name));
    if (!file.isOpen())
        return view;
    // A shared flock, given back as the file is closed.
    Flock const flock = takeFlock(file.get(), LOCK_SH | LOCK_NB);
    if (flock == Flock::Taken)
        view.holder = LockFileView::Holder::None;
    else if (flock == Flock::Busy)
        view.holder = LockFileView::Holder::Process;
    view.content = readStart(file.get());
    return view;
}

} // namespace ox::platform
