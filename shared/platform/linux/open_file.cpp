#include "shared/platform/open_file.h"

#include "shared/platform/linux/descriptor.h"
#include "shared/platform/linux/place.h"

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

/// Nothing hangs on a pipe or becomes the process's terminal.
constexpr int withoutWaiting = O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

int descriptorOf(OpenFile const & file)
{
    return static_cast<int>(file.handle());
}

OpenFile refused(int error)
{
    errno = error;
    return {};
}

bool isUnnamedPipe(int descriptor)
{
    struct statfs fileSystem;
    return ::fstatfs(descriptor, &fileSystem) == 0 && fileSystem.f_type == PIPEFS_MAGIC;
}

struct ModeTraits {
    int flags;
    char const * letters;
};

ModeTraits const & traitsOf(StreamMode mode)
{
    static constexpr int writing = O_WRONLY | O_CREAT | O_TRUNC;
    static constexpr int appending = O_WRONLY | O_CREAT | O_APPEND;
    static constexpr ModeTraits traits[] = {{O_RDONLY, "rb"}, {writing, "wb"},  {appending, "ab"},
                                            {writing, "w"},   {appending, "a"}, {O_RDONLY, "rb"},
                                            {writing, "wb"}};
    return traits[static_cast<int>(mode)];
}

/// The error of reading or writing what is open; 0 for what a stream can be made of.
int streamError(int file, bool isRead)
{
    struct stat status;
    if (::fstat(file, &status) != 0)
        return errno;
    switch (status.st_mode & S_IFMT) {
    case S_IFDIR:
        return EISDIR;
    case S_IFIFO:
        // The error of a named pipe that is opened for writing while nobody reads it.
        return isUnnamedPipe(file) ? 0 : ENXIO;
    case S_IFBLK:
        return isRead ? 0 : ENXIO;
    default:
        return 0;
    }
}

/// Opens a file for a stream of the run-time library: its descriptor, -1 on failure.
int openDescriptor(NativeName const & name, StreamMode mode)
{
    int const flags = traitsOf(mode).flags | O_CLOEXEC | O_NOCTTY;
    constexpr mode_t everybody = 0666;
    int descriptor = ::open(name.c_str(), flags | O_NONBLOCK, everybody);
    // A file server has lent the file to a client and asks for it back, for which it needs a
    // moment.
    if (descriptor < 0 && errno == EWOULDBLOCK)
        descriptor = ::open(name.c_str(), flags, everybody);
    Descriptor file(descriptor);
    if (!file.isOpen())
        return -1;
    int const error = streamError(file.get(), traitsOf(mode).flags == O_RDONLY);
    if (error == 0 && ::fcntl(file.get(), F_SETFL, flags) == 0)
        return file.release();
    errno = error ? error : errno;
    return -1;
}

} // namespace

OpenFile::~OpenFile()
{
    int const error = errno;
    close();
    errno = error;
}

std::int64_t OpenFile::read(char * data, std::size_t size)
{
    ssize_t count;
    do {
        count = ::read(descriptorOf(*this), data, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

std::size_t OpenFile::write(char const * data, std::size_t size)
{
    std::size_t written = 0;
    while (written < size) {
        ssize_t const count = ::write(descriptorOf(*this), data + written, size - written);
        if (count < 0 && errno != EINTR)
            break;
        written += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return written;
}

bool OpenFile::seek(std::int64_t position)
{
    return ::lseek(descriptorOf(*this), position, SEEK_SET) >= 0;
}

std::int64_t OpenFile::size() const
{
    struct stat status;
    return ::fstat(descriptorOf(*this), &status) == 0 ? status.st_size : -1;
}

bool OpenFile::setTimes(std::int64_t seconds)
{
    timespec const time = {seconds, 0};
    timespec const accessAndModification[] = {time, time};
    return ::futimens(descriptorOf(*this), accessAndModification) == 0;
}

bool OpenFile::flush()
{
    if (::fsync(descriptorOf(*this)) != 0 && errno != EINVAL && errno != ENOSYS)
        return false;
    // A share reports a full disk when a descriptor is closed, and any descriptor of the file does.
    int const second = ::fcntl(descriptorOf(*this), F_DUPFD_CLOEXEC, 0);
    return second >= 0 && ::close(second) == 0;
}

bool OpenFile::close()
{
    return !isOpen() || ::close(static_cast<int>(release())) == 0;
}

OpenFile openForReading(NativeName const & name, Writers)
{
    OpenFile file(::open(name.c_str(), O_RDONLY | withoutWaiting));
    // Another program, such as a file server, gives up its lease of the file first.
    if (!file.isOpen() && errno == EWOULDBLOCK)
        file = OpenFile(::open(name.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
    struct stat status;
    if (!file.isOpen() || ::fstat(descriptorOf(file), &status) != 0)
        return {};
    if (S_ISDIR(status.st_mode))
        return refused(EISDIR);
    if (S_ISFIFO(status.st_mode) && !isUnnamedPipe(descriptorOf(file)))
        return refused(ENOTSUP);
    if (!S_ISREG(status.st_mode) && ::fcntl(descriptorOf(file), F_SETFL, 0) != 0)
        return {};
    return file;
}

OpenFile createFile(NativeName const & name, Taken taken)
{
    Place place;
    return place.open(name) ? createAt(place, taken, 0666) : OpenFile();
}

OpenFile openInPlace(NativeName const & name, Content content)
{
    Place place;
    if (!place.open(name) || !place.followLinks())
        return {};
    int const flags = O_WRONLY | O_APPEND | O_NOFOLLOW | withoutWaiting;
    OpenFile file(::openat(place.folder(), place.name.c_str(), flags | O_CREAT, 0666));
    struct stat status;
    if (!file.isOpen() && errno == ENXIO) // a pipe that nobody reads
        return refused(ENOTSUP);
    if (!file.isOpen() || ::fstat(descriptorOf(file), &status) != 0)
        return {};
    if (!S_ISREG(status.st_mode))
        return refused(ENOTSUP);
    if (content == Content::Emptied && ::ftruncate(descriptorOf(file), 0) != 0)
        return {};
    return file;
}

std::FILE * openStream(NativeName const & name, StreamMode mode)
{
    Descriptor file(openDescriptor(name, mode));
    std::FILE * const stream =
        file.isOpen() ? ::fdopen(file.get(), traitsOf(mode).letters) : nullptr;
    if (stream)
        file.release();
    return stream;
}

gzFile openGzip(NativeName const & name, StreamMode mode)
{
    int const descriptor = openDescriptor(name, mode);
    if (descriptor < 0)
        return nullptr;
    gzFile const file = ::gzdopen(descriptor, mode == StreamMode::Read ? "rb" : "wb");
    if (!file)
        ::close(descriptor);
    return file;
}

} // namespace ox::platform
