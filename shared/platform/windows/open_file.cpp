#include "shared/platform/open_file.h"

#include "shared/platform/files.h"
#include "shared/platform/windows/handle.h"

#include <algorithm>

#include <io.h>

namespace ox::platform
{
namespace
{

constexpr std::size_t largestTransfer = std::size_t{4} << 20;

OpenFile opened(Handle & file, DWORD refusedType)
{
    if (!file.isOpen())
        return {};
    if (::GetFileType(file.get()) == refusedType) {
        ::SetLastError(ERROR_NOT_SUPPORTED);
        return {};
    }
    return toOpenFile(file.release());
}

struct ModeTraits {
    DWORD access;
    DWORD sharing;
    DWORD disposition;
    int descriptorFlags;
    char const * letters;
};

/// The run-time library's safe opening shares a file with readers while it reads, with nobody while
/// it writes. Logs are shared with everybody.
ModeTraits const & traitsOf(StreamMode mode)
{
    constexpr DWORD appending = FILE_APPEND_DATA | SYNCHRONIZE;
    static constexpr ModeTraits traits[] = {
        {GENERIC_READ, shareReading, OPEN_EXISTING, _O_RDONLY | _O_BINARY, "rb"},
        {GENERIC_WRITE, shareNothing, CREATE_ALWAYS, _O_WRONLY | _O_BINARY, "wb"},
        {appending, shareWriting, OPEN_ALWAYS, _O_WRONLY | _O_APPEND | _O_BINARY, "ab"},
        {GENERIC_WRITE, shareWriting, CREATE_ALWAYS, _O_WRONLY | _O_TEXT, "wt"},
        {appending, shareWriting, OPEN_ALWAYS, _O_WRONLY | _O_APPEND | _O_TEXT, "at"},
        {GENERIC_READ, shareWriting, OPEN_EXISTING, _O_RDONLY | _O_BINARY, "rb"},
        {GENERIC_WRITE, shareWriting, CREATE_ALWAYS, _O_WRONLY | _O_BINARY, "wb"}};
    return traits[static_cast<int>(mode)];
}

/// Opens a file for a stream of the run-time library: its descriptor, -1 on failure.
int openDescriptor(NativeName const & name, StreamMode mode, DWORD sharing)
{
    ModeTraits const & traits = traitsOf(mode);
    Handle file(openFile(name, traits.access, sharing, traits.disposition));
    if (!file.isOpen())
        return -1;
    if (::GetFileType(file.get()) == FILE_TYPE_PIPE) { // whose other end need not ever answer
        ::SetLastError(ERROR_NOT_SUPPORTED);
        return -1;
    }
    int const descriptor = ::_open_osfhandle(reinterpret_cast<std::intptr_t>(file.get()),
                                             traits.descriptorFlags | _O_NOINHERIT);
    if (descriptor >= 0)
        file.release();
    return descriptor;
}

} // namespace

OpenFile::~OpenFile()
{
    DWORD const error = ::GetLastError();
    close();
    ::SetLastError(error);
}

std::int64_t OpenFile::read(char * data, std::size_t size)
{
    DWORD count = 0;
    auto const length = static_cast<DWORD>(std::min(size, largestTransfer));
    if (::ReadFile(toHandle(*this), data, length, &count, nullptr))
        return count;
    return ::GetLastError() == ERROR_BROKEN_PIPE ? 0 : -1;
}

std::size_t OpenFile::write(char const * data, std::size_t size)
{
    std::size_t written = 0;
    DWORD count = 1;
    while (written < size && count > 0) {
        auto const length = static_cast<DWORD>(std::min(size - written, largestTransfer));
        count = 0;
        if (!::WriteFile(toHandle(*this), data + written, length, &count, nullptr))
            count = 0;
        written += count;
    }
    return written;
}

bool OpenFile::seek(std::int64_t position)
{
    LARGE_INTEGER distance;
    distance.QuadPart = position;
    return ::SetFilePointerEx(toHandle(*this), distance, nullptr, FILE_BEGIN);
}

std::int64_t OpenFile::size() const
{
    LARGE_INTEGER size;
    return ::GetFileSizeEx(toHandle(*this), &size) ? size.QuadPart : -1;
}

bool OpenFile::setTimes(std::int64_t seconds)
{
    FILETIME const time = fileTimeOf(seconds);
    return ::SetFileTime(toHandle(*this), &time, &time, &time);
}

bool OpenFile::flush()
{
    return ::FlushFileBuffers(toHandle(*this));
}

bool OpenFile::close()
{
    return !isOpen() || ::CloseHandle(reinterpret_cast<HANDLE>(release()));
}

OpenFile openForReading(NativeName const & name, Writers writers)
{
    DWORD const sharing = writers == Writers::Allowed ? shareWriting : shareReading;
    Handle file(openFile(name, GENERIC_READ, sharing, OPEN_EXISTING));
    return opened(file, FILE_TYPE_PIPE);
}

OpenFile createFile(NativeName const & name, Taken taken)
{
    Handle file(openFile(name, GENERIC_WRITE, shareNothing, CREATE_NEW));
    bool const isTaken = !file.isOpen() && ::GetLastError() == ERROR_FILE_EXISTS;
    if (isTaken && taken == Taken::IsReplaced && deleteFile(name))
        return toOpenFile(openFile(name, GENERIC_WRITE, shareNothing, CREATE_NEW));
    return toOpenFile(file.release());
}

OpenFile openInPlace(NativeName const & name, Content content)
{
    bool const isEmptied = content == Content::Emptied;
    Handle file(openFile(name, isEmptied ? GENERIC_WRITE : FILE_APPEND_DATA | SYNCHRONIZE,
                         shareWriting, isEmptied ? CREATE_ALWAYS : OPEN_ALWAYS));
    if (file.isOpen() && ::GetFileType(file.get()) == FILE_TYPE_CHAR) {
        ::SetLastError(ERROR_NOT_SUPPORTED);
        return {};
    }
    return opened(file, FILE_TYPE_PIPE);
}

std::FILE * openStream(NativeName const & name, StreamMode mode)
{
    int const descriptor = openDescriptor(name, mode, traitsOf(mode).sharing);
    if (descriptor < 0)
        return nullptr;
    std::FILE * const stream = ::_fdopen(descriptor, traitsOf(mode).letters);
    if (!stream)
        ::_close(descriptor);
    return stream;
}

gzFile openGzip(NativeName const & name, StreamMode mode)
{
    int const descriptor = openDescriptor(name, mode, shareWriting);
    if (descriptor < 0)
        return nullptr;
    gzFile const file = ::gzdopen(descriptor, traitsOf(mode).letters);
    if (!file)
        ::_close(descriptor);
    return file;
}

} // namespace ox::platform
