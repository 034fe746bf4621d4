#include "shared/platform/linux/copy_content.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <limits>
#include <memory>
#include <semaphore>
#include <thread>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

// Within one server, copy_file_range lets the server copy the data. Any other large copy uses two
// threads: one thread reads the next piece while the other thread writes the current piece. The
// copy then takes only as long as the slower of reading and writing. With one thread it takes
// longer: a write to a share waits for the server, and on shares that bypass the page cache the
// kernel does not read ahead in the meantime.

namespace ox::platform
{
namespace
{

/// Maximum number of bytes per system call. It is limited, so that a copy on a slow share reacts to
/// a signal in time.
constexpr off_t copyAtOnce = off_t{64} << 20;
constexpr off_t readAtOnce = off_t{1} << 20;
constexpr off_t toTheEnd = std::numeric_limits<off_t>::max();
/// File size in bytes from which a second thread makes the copy faster.
constexpr off_t largeFile = off_t{4} << 20;

struct Free {
    void operator()(char * memory) const { std::free(memory); }
};
using Memory = std::unique_ptr<char[], Free>;

/// Allocates the buffer of one piece; null if there is not enough memory. The buffer is
/// page-aligned: for an unaligned buffer, the kernel would split an uncached read.
Memory allocatePiece()
{
    constexpr std::size_t pageSize = 4096;
    return Memory(static_cast<char *>(std::aligned_alloc(pageSize, readAtOnce)));
}

/// Reads a file in pieces, until `size` bytes are read or the file ends.
class Pieces
{
  public:
    Pieces(OpenFile & from, off_t size) : from_(from), left_(size) {}

    bool isAtEnd() const { return left_ == 0; }

    /// Reads up to readAtOnce bytes. Returns their number.
    Result<std::size_t> read(char * memory)
    {
        auto const wanted = static_cast<std::size_t>(std::min(left_, readAtOnce));
        Result<std::size_t> const length = from_.read(memory, wanted);
        bool const isWhole = length && *length == wanted;
        left_ = isWhole ? left_ - static_cast<off_t>(wanted) : 0;
        return length;
    }

  private:
    OpenFile & from_;
    off_t left_;
};

/// Reads the pieces of a file on a separate thread, one piece ahead of the writer.
class PiecesAhead
{
  public:
    explicit PiecesAhead(Pieces & pieces) : pieces_(pieces) {}
    ~PiecesAhead()
    {
        isStopped_ = true;
        empty_.release();
    }
    PiecesAhead(PiecesAhead const &) = delete;
    PiecesAhead & operator=(PiecesAhead const &) = delete;

    /// Allocates the buffers and starts the thread. Returns false if the memory or the thread is
    /// not available.
    bool start()
    {
        for (Slot & slot : slots_)
            slot.memory = allocatePiece();
        if (!slots_[0].memory || !slots_[1].memory)
            return false;
        sigset_t all;
        sigset_t previous;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &previous); // signals are for the program's threads
        try {
            thread_ = std::jthread([this] { readAll(); });
        } catch (std::exception const &) {
        }
        ::pthread_sigmask(SIG_SETMASK, &previous, nullptr);
        return thread_.joinable();
    }

    /// Calls `write` with each piece and its size.
    template <typename Write>
    Result<> forEach(Write const & write)
    {
        for (int i = 0;; i = 1 - i) {
            filled_.acquire();
            Slot const & slot = slots_[i];
            if (!slot.length)
                return slot.length.error();
            Result<> const written = write(slot.memory.get(), *slot.length);
            if (!written || slot.isLast)
                return written;
            empty_.release();
        }
    }

  private:
    struct Slot {
        Memory memory;
        Result<std::size_t> length = std::size_t{0};
        bool isLast = false;
    };

    void readAll()
    {
        bool isLast = false;
        for (int i = 0; !isLast; i = 1 - i) {
            empty_.acquire();
            if (isStopped_)
                return;
            slots_[i].length = pieces_.read(slots_[i].memory.get());
            slots_[i].isLast = isLast = pieces_.isAtEnd();
            filled_.release();
        }
    }

    Pieces & pieces_;
    Slot slots_[2];
    std::counting_semaphore<3> empty_{2};
    std::counting_semaphore<3> filled_{0};
    std::atomic<bool> isStopped_ = false;
    std::jthread thread_; ///< last member, so that it is joined before the others are destroyed
};

Result<> copyByReading(OpenFile & from, OpenFile & to, off_t size, bool isLarge)
{
    auto const write = [&to](char const * memory, std::size_t length) {
        return to.write(memory, length);
    };
    Pieces pieces(from, size);
    if (isLarge && size >= largeFile) {
        PiecesAhead ahead(pieces);
        if (ahead.start())
            return ahead.forEach(write);
    }
    Memory const memory = allocatePiece();
    if (!memory)
        return Error{ENOMEM};
    while (!pieces.isAtEnd()) {
        Result<std::size_t> const length = pieces.read(memory.get());
        if (!length)
            return length.error();
        if (Result<> const written = write(memory.get(), *length); !written)
            return written;
    }
    return {};
}

/// Returns whether both files may be on one server. Returns false if the target is on a FUSE mount
/// and the source is on another mount: copy_file_range would then copy in the kernel, in small
/// pieces one after the other.
bool mayBeOnOneServer(struct stat const & source, OpenFile const & to)
{
    struct stat target;
    struct statfs fileSystem;
    int const descriptor = static_cast<int>(to.handle());
    return ::fstat(descriptor, &target) != 0 || target.st_dev == source.st_dev ||
           ::fstatfs(descriptor, &fileSystem) != 0 || fileSystem.f_type != FUSE_SUPER_MAGIC;
}

/// How to copy a file.
struct Plan {
    off_t size;       ///< size of the source in bytes when the copy begins
    bool isLarge;     ///< whether to read on a separate thread
    bool onOneServer; ///< whether to use copy_file_range
};

/// Copies up to `size` bytes from the current position of `from` to the current position of `to`.
Result<> copyBytes(OpenFile & from, OpenFile & to, off_t size, Plan const & plan)
{
    off_t total = 0;
    ssize_t copied = plan.onOneServer ? 1 : 0;
    while (total < size && copied > 0) {
        copied = ::copy_file_range(static_cast<int>(from.handle()), nullptr,
                                   static_cast<int>(to.handle()), nullptr,
                                   static_cast<std::size_t>(std::min(size - total, copyAtOnce)), 0);
        total += std::max<ssize_t>(copied, 0);
    }
    // Some file systems do not support copy_file_range or report the end too early. copyByReading
    // then continues at the current position and finds the real end or the real error.
    bool const isWhole = copied == 0 && total > 0 && total >= std::min(size, plan.size);
    return isWhole ? Result<>() : copyByReading(from, to, size - total, plan.isLarge);
}

Result<> seekBoth(OpenFile & from, OpenFile & to, off_t position)
{
    Result<> const moved = from.seek(position);
    return moved ? to.seek(position) : moved;
}

/// Copies the data of a file and keeps its holes. Afterwards both positions are at the end of the
/// copied part.
Result<> copyAroundHoles(OpenFile & from, OpenFile & to, Plan const & plan)
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
            result = copyBytes(from, to, end - data, plan);
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
    bool const isLarge = source.st_size >= largeFile;
    Plan const plan{source.st_size, isLarge, !isLarge || mayBeOnOneServer(source, to)};
    Result<> const skipped = hasHoles ? copyAroundHoles(from, to, plan) : Result<>();
    return skipped ? copyBytes(from, to, toTheEnd, plan) : skipped;
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
