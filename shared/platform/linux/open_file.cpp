#include "shared/platform/open_file.h"

#include "shared/platform/linux/copy_content.h"
#include "shared/platform/linux/place.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

/// Flags with which open() does not wait for the other end of a pipe, and with which an opened
/// terminal does not become the controlling terminal.
constexpr int nonBlocking = O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr mode_t everybody = 0666;

int descriptorOf(OpenFile const & file)
{
    return static_cast<int>(file.handle());
}

bool isUnnamedPipe(int descriptor)
{
    struct statfs fileSystem;
    return ::fstatfs(descriptor, &fileSystem) == 0 && fileSystem.f_type == PIPEFS_MAGIC;
}

/// Opens a file or device without waiting for another process. Refuses folders and named pipes.
Result<OpenFile> openNonBlocking(int folder, NativeName const & name, int flags,
                                 struct stat * result = nullptr)
{
    OpenFile file(::openat(folder, name.c_str(), flags | nonBlocking, everybody));
    // EWOULDBLOCK: another client has a lease on the file. The second call waits until the server
    // has ended the lease.
    if (!file.isOpen() && errno == EWOULDBLOCK)
        file = OpenFile(::openat(folder, name.c_str(), flags | O_NOCTTY | O_CLOEXEC, everybody));
    struct stat status;
    if (!file.isOpen() || ::fstat(descriptorOf(file), &status) != 0)
        return lastError();
    if (S_ISDIR(status.st_mode))
        return Error{EISDIR};
    // open() itself fails with ENXIO, too, if a named pipe is opened for writing and has no reader.
    bool const isRead = flags == O_RDONLY;
    bool const isNamedPipe = S_ISFIFO(status.st_mode) && !isUnnamedPipe(descriptorOf(file));
    if (isNamedPipe || (S_ISBLK(status.st_mode) && !isRead))
        return Error{isRead ? ENOTSUP : ENXIO};
    if (!S_ISREG(status.st_mode) && ::fcntl(descriptorOf(file), F_SETFL, flags & O_APPEND) != 0)
        return lastError();
    // POSIX_FADV_SEQUENTIAL doubles the kernel's read-ahead. Shorter files are read in one piece.
    constexpr off_t severalPieces = off_t{1} << 20;
    if (isRead && status.st_size > severalPieces)
        ::posix_fadvise(descriptorOf(file), 0, 0, POSIX_FADV_SEQUENTIAL);
    if (result)
        *result = status;
    return file;
}

} // namespace

OpenFile::~OpenFile()
{
    KeptError const kept;
    if (isOpen())
        ::close(static_cast<int>(release()));
}

Result<std::size_t> OpenFile::read(char * data, std::size_t size)
{
    std::size_t length = 0;
    while (length < size) {
        ssize_t const count = ::read(descriptorOf(*this), data + length, size - length);
        if (count == 0)
            break;
        if (count < 0 && errno != EINTR)
            return lastError();
        length += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return length;
}

Result<> OpenFile::write(char const * data, std::size_t size, std::size_t * written)
{
    std::size_t length = 0;
    Result<> result;
    while (length < size && result) {
        ssize_t const count = ::write(descriptorOf(*this), data + length, size - length);
        if (count < 0 && errno != EINTR)
            result = lastError();
        length += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    if (written)
        *written = length;
    return result;
}

Result<> OpenFile::seek(std::int64_t position)
{
    return resultOf(::lseek(descriptorOf(*this), position, SEEK_SET) >= 0);
}

Result<std::int64_t> OpenFile::size() const
{
    struct stat status;
    if (::fstat(descriptorOf(*this), &status) != 0)
        return lastError();
    return std::int64_t{status.st_size};
}

Result<> OpenFile::setTimes(std::int64_t seconds)
{
    timespec const time = {seconds, 0};
    timespec const accessAndModification[] = {time, time};
    return resultOf(::futimens(descriptorOf(*this), accessAndModification) == 0);
}

Result<> OpenFile::flush()
{
    if (::fsync(descriptorOf(*this)) != 0 && errno != EINVAL && errno != ENOSYS)
        return lastError();
    // A share reports a full disk when a descriptor of the file is closed, so a duplicate is closed
    // here.
    int const second = ::fcntl(descriptorOf(*this), F_DUPFD_CLOEXEC, 0);
    return resultOf(second >= 0 && ::close(second) == 0);
}

Result<> OpenFile::close()
{
    return resultOf(!isOpen() || ::close(static_cast<int>(release())) == 0);
}

Result<OpenFile> openForReading(NativeName const & name, Writers, FileStatus * status)
{
    struct stat opened = {};
    Result<OpenFile> file = openToCopy(name, opened);
    if (file && status)
        *status = {false, opened.st_size, opened.st_mtim.tv_sec};
    return file;
}

Result<OpenFile> openToCopy(NativeName const & name, struct stat & status)
{
    return openNonBlocking(AT_FDCWD, name, O_RDONLY, &status);
}

Result<OpenFile> openForWriting(NativeName const & name, Content content, Writers)
{
    int const flags = O_WRONLY | O_CREAT | (content == Content::Kept ? O_APPEND : O_TRUNC);
    if (::geteuid() != 0)
        return openNonBlocking(AT_FDCWD, name, flags);
    // If the name is not a link, no further step is necessary.
    Result<OpenFile> file = openNonBlocking(AT_FDCWD, name, flags | O_NOFOLLOW);
    if (file || file.error().code != ELOOP)
        return file;
    Place place;
    if (Result<> const opened = place.open(name); !opened)
        return opened.error();
    if (Result<> const followed = place.followLinks(Place::Until::LinkOfProc); !followed)
        return followed.error();
    int const links = place.isInProc() ? 0 : O_NOFOLLOW;
    return openNonBlocking(place.folder(), place.name, flags | links);
}

Result<OpenFile> openInPlace(NativeName const & name, Content content)
{
    Place place;
    if (Result<> const opened = place.open(name); !opened)
        return opened.error();
    if (Result<> const followed = place.followLinks(); !followed)
        return followed.error();
    int const flags = O_WRONLY | O_APPEND | O_NOFOLLOW | nonBlocking;
    OpenFile file(::openat(place.folder(), place.name.c_str(), flags | O_CREAT, everybody));
    struct stat status;
    if (!file.isOpen() && errno == ENXIO) // a pipe without a reader
        return Error{ENOTSUP};
    if (!file.isOpen() || ::fstat(descriptorOf(file), &status) != 0)
        return lastError();
    if (!S_ISREG(status.st_mode))
        return Error{ENOTSUP};
    if (content == Content::Emptied && ::ftruncate(descriptorOf(file), 0) != 0)
        return lastError();
    return file;
}

Result<OpenFile> createFile(NativeName const & name, IfExists ifExists)
{
    Place place;
    if (Result<> const opened = place.open(name); !opened)
        return opened.error();
    return createAt(place, ifExists, everybody);
}

std::string textForFile(std::string_view lines)
{
    return std::string(lines);
}

Result<gzFile_s *> openGzip(OpenFile file, char const * mode)
{
    gzFile const gzip = ::gzdopen(descriptorOf(file), mode);
    if (!gzip)
        return Error{ENOMEM};
    file.release();
    return gzip;
}

} // namespace ox::platform
