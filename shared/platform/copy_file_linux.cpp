#include "shared/platform/copy_file.h"

#include "shared/platform/descriptor_linux.h"

#include <cerrno>
#include <cstddef>
#include <memory>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

/// What one call lets the system copy: little enough for a slow share to hear of a signal in time.
constexpr std::size_t copyAtOnce = std::size_t{64} << 20;
constexpr std::size_t readAtOnce = std::size_t{1} << 20;

bool fail(int error)
{
    errno = error;
    return false;
}

bool isSame(struct stat const & one, struct stat const & other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool writeAll(int to, char const * data, std::size_t size)
{
    while (size > 0) {
        ssize_t const written = ::write(to, data, size);
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0) {
            data += written;
            size -= static_cast<std::size_t>(written);
        }
    }
    return true;
}

/// Copies from the position of one descriptor to that of another up to the end of the file.
bool copyByReading(int from, int to)
{
    std::unique_ptr<char[]> const piece(new (std::nothrow) char[readAtOnce]);
    if (!piece)
        return fail(ENOMEM);
    for (;;) {
        ssize_t const count = ::read(from, piece.get(), readAtOnce);
        if (count == 0)
            return true;
        if (count < 0 && errno != EINTR)
            return false;
        if (count > 0 && !writeAll(to, piece.get(), static_cast<std::size_t>(count)))
            return false;
    }
}

bool copyContent(int from, int to)
{
    ssize_t copied = 1;
    while (copied > 0)
        copied = ::copy_file_range(from, nullptr, to, nullptr, copyAtOnce, 0);
    // Some file systems cannot copy by themselves, others say that there is nothing to copy: the
    // reading goes on from where the copying stopped, and finds the true end or the true error.
    return copyByReading(from, to);
}

/// A file system that has no such bits or times refuses; the copy is as good as it can be there.
void keepModeAndTimes(int file, struct stat const & source)
{
    timespec const times[] = {source.st_atim, source.st_mtim};
    // Not the bits that lend the owner's identity, since the copy may have another owner.
    [[maybe_unused]] bool const hasMode = ::fchmod(file, source.st_mode & 0777) == 0;
    [[maybe_unused]] bool const hasTimes = ::futimens(file, times) == 0;
}

} // namespace

bool copyFile(NativeName const & from, NativeName const & to, bool failIfExists)
{
    Descriptor const source(::open(from.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status;
    if (!source.isOpen() || ::fstat(source.get(), &status) != 0)
        return false;
    if (S_ISDIR(status.st_mode))
        return fail(EISDIR);

    // Emptied only when it is known to be another file than the source.
    int const flags = O_WRONLY | O_CREAT | O_CLOEXEC | (failIfExists ? O_EXCL : 0);
    Descriptor target(::open(to.c_str(), flags, 0600));
    struct stat old;
    if (!target.isOpen() || ::fstat(target.get(), &old) != 0)
        return false;
    if (!S_ISREG(old.st_mode) || isSame(status, old))
        return fail(EEXIST);
    if ((old.st_size == 0 || ::ftruncate(target.get(), 0) == 0) &&
        copyContent(source.get(), target.get())) {
        keepModeAndTimes(target.get(), status);
        if (target.close())
            return true;
    }
    int const error = errno;
    ::unlink(to.c_str());
    return fail(error);
}

bool areDifferentFiles(NativeName const & one, NativeName const & other)
{
    struct stat first;
    struct stat second;
    if (::stat(one.c_str(), &first) == 0 && ::stat(other.c_str(), &second) == 0 &&
        isSame(first, second))
        return fail(EEXIST);
    return true;
}

} // namespace ox::platform
