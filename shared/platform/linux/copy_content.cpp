#include "shared/platform/linux/copy_content.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <memory>
#include <new>

#include <fcntl.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

/// Maximum number of bytes of one system call, so that a copy on a slow share reacts to a signal in
/// time.
constexpr off_t copyAtOnce = off_t{64} << 20;
constexpr off_t readAtOnce = off_t{1} << 20;
constexpr off_t toTheEnd = std::numeric_limits<off_t>::max();

Result<> copyByReading(OpenFile & from, OpenFile & to, off_t size)
{
    std::unique_ptr<char[]> const piece(new (std::nothrow) char[readAtOnce]);
    if (!piece)
        return Error{ENOMEM};
    bool isAtEnd = false;
    while (size > 0 && !isAtEnd) {
        auto const wanted = static_cast<std::size_t>(std::min(size, readAtOnce));
        Result<std::size_t> const length = from.read(piece.get(), wanted);
        if (!length)
            return length.error();
        if (Result<> const written = to.write(piece.get(), *length); !written)
            return written;
        size -= static_cast<off_t>(*length);
        isAtEnd = *length < wanted;
    }
    return {};
}

/// Copies up to `size` bytes from the current position of one file to that of another. The source
/// has at least `expected` bytes there.
Result<> copyBytes(OpenFile & from, OpenFile & to, off_t size, off_t expected)
{
    off_t total = 0;
    ssize_t copied = 1;
    while (total < size && copied > 0) {
        copied = ::copy_file_range(static_cast<int>(from.handle()), nullptr,
                                   static_cast<int>(to.handle()), nullptr,
                                   static_cast<std::size_t>(std::min(size - total, copyAtOnce)), 0);
        total += std::max<ssize_t>(copied, 0);
    }
    // Some file systems do not support copy_file_range or report an early end. Reading continues at
    // that position and finds the real end or the real error.
    bool const isWhole = copied == 0 && total > 0 && total >= expected;
    return isWhole ? Result<>() : copyByReading(from, to, size - total);
}

Result<> seekBoth(OpenFile & from, OpenFile & to, off_t position)
{
    Result<> const moved = from.seek(position);
    return moved ? to.seek(position) : moved;
}

/// Copies the data of a file without its holes. Afterwards both positions are behind the last data.
Result<> copyAroundHoles(OpenFile & from, OpenFile & to)
{
    int const source = static_cast<int>(from.handle());
    off_t hole = 0;
    for (;;) {
        off_t const data = ::lseek(source, hole, SEEK_DATA);
        if (data < 0 && errno == ENXIO) { // the rest is a hole
            off_t const size = std::max<off_t>(hole, from.size().value_or(0));
            if (::ftruncate(static_cast<int>(to.handle()), size) != 0)
                return lastError();
            return seekBoth(from, to, size);
        }
        off_t const end = data < 0 ? data : ::lseek(source, data, SEEK_HOLE);
        if (end < 0) // the file system does not report holes
            return seekBoth(from, to, hole);
        Result<> result = seekBoth(from, to, data);
        if (result)
            result = copyBytes(from, to, end - data, end - data);
        if (!result)
            return result;
        hole = end;
    }
}

} // namespace

Result<> copyContent(OpenFile & from, struct stat const & source, OpenFile & to)
{
    constexpr off_t blockUnit = 512;
    bool const hasHoles = S_ISREG(source.st_mode) && source.st_blocks * blockUnit < source.st_size;
    Result<> const skipped = hasHoles ? copyAroundHoles(from, to) : Result<>();
    return skipped ? copyBytes(from, to, toTheEnd, source.st_size) : skipped;
}

void copyAttributes(OpenFile & file, struct stat const & source, bool mode)
{
    int const target = static_cast<int>(file.handle());
    timespec const times[] = {source.st_atim, source.st_mtim};
    // The set-user-id and set-group-id bits are not copied, since the copy may have another owner.
    [[maybe_unused]] bool const hasMode = !mode || ::fchmod(target, source.st_mode & 0777) == 0;
    [[maybe_unused]] bool const hasTimes = ::futimens(target, times) == 0;
}

} // namespace ox::platform
