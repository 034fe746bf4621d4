#include "shared/platform/shared_segment.h"

#include "shared/platform/this_process.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string_view>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

// The memory of a segment is a file in /dev/shm, called the object of the segment.
//
// docs/shared_memory.md explains the protocol. Each process that has a segment open holds a shared
// flock on the object. A new object has its full size and a flock before it gets its name. A
// process that holds the exclusive flock is the only user of the object. This process either fills
// the object again or removes the name of the object.

namespace ox::platform
{
namespace
{

constexpr char objectFolder[] = "/dev/shm/";

/// Returns the file name of a segment's object. If the segment's name is not a valid file name, the
/// result is the start of the segment's name, with illegal characters replaced, and a hash of the
/// whole name. So two segments have different objects.
std::string objectName(std::string const & segment)
{
    constexpr std::size_t prefixLength = 200;
    std::string name = segment;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '/' || c == '\0'; }, '%');
    if (name == segment && name.size() <= 255)
        return name;
    std::uint64_t hash = 0xCBF29CE484222325; // FNV-1a
    for (char const c : segment)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return name.substr(0, prefixLength) + '%' + std::to_string(hash);
}

std::string objectPath(std::string name, SharedSegment::Reach reach)
{
    if (reach == SharedSegment::Reach::Local)
        name += '.' + std::to_string(::geteuid());
    else if (auto const backslash = name.find('\\'); backslash != name.npos)
        name.erase(backslash, 1); // removes the backslash of the prefix "Global\"
    return std::string(objectFolder) + objectName(name);
}

std::size_t wholePages(std::size_t size)
{
    auto const page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    return (size + page - 1) / page * page;
}

} // namespace

/// The object of a segment and its descriptor.
struct SharedSegment::System {
    enum class State { Live, Orphan, Changing };

    bool isOpen() const { return descriptor >= 0; }
    bool takeFlock(int operation) const { return ::flock(descriptor, operation | LOCK_NB) == 0; }

    /// Selects the object of a segment. The object need not exist.
    void selectObject(std::string const & name, Reach where)
    {
        reach = where;
        path = objectPath(name, where);
    }

    bool nameRefersToObject() const
    {
        struct stat named;
        struct stat opened;
        return ::lstat(path.c_str(), &named) == 0 && ::fstat(descriptor, &opened) == 0 &&
               named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
    }

    /// Opens the object and returns its state.
    /// - Live: other processes have it open, and this process now holds a shared flock, too.
    /// - Orphan: no other process has it open, and this process now holds the exclusive flock.
    /// - Changing: another process is filling or removing it.
    Result<State> find()
    {
        // Any user can create a link or a pipe of this name. With these flags open() follows no
        // link and does not wait for a pipe.
        descriptor = ::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (!isOpen())
            return lastError("open");
        bool const isAlone = takeFlock(LOCK_EX);
        if (!isAlone && !takeFlock(LOCK_SH))
            return State::Changing;
        struct stat status;
        bool const isNamed = ::fstat(descriptor, &status) == 0 && status.st_nlink > 0;
        if (!isNamed) // another process has removed the object
            return State::Changing;
        if (!mayBeSegment(status)) {
            ::close(std::exchange(descriptor, -1));
            return Error{EACCES, "open"};
        }
        if (isAlone)
            return State::Orphan;
        size = static_cast<std::size_t>(status.st_size);
        // Size 0: a process that has no right to delete the object has emptied it.
        return size > 0 ? State::Live : State::Changing;
    }

    /// Returns whether a file may be the object of the segment. The object of a local segment must
    /// belong to this user.
    bool mayBeSegment(struct stat const & status) const
    {
        return S_ISREG(status.st_mode) && (reach == Reach::Global || status.st_uid == ::geteuid());
    }

    /// Allocates the memory of the object in advance: without free memory, a write to a hole would
    /// cause a SIGBUS. Allocates it in pieces, so that signals are delivered between the pieces.
    Result<> reserve(std::size_t wanted)
    {
        constexpr std::size_t piece = 16 << 20;
        Result<> reserved;
        for (std::size_t done = 0; done < wanted && reserved; done += piece)
            reserved = reservePiece(done, std::min(piece, wanted - done));
        size = wanted;
        return reserved;
    }

    /// Allocates a piece with all signals blocked. Some kernels free the whole piece when a signal
    /// arrives, so the signals of a periodic timer would prevent the allocation.
    Result<> reservePiece(std::size_t offset, std::size_t length) const
    {
        sigset_t all;
        sigset_t before;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before);
        int error;
        do {
            error = ::posix_fallocate(descriptor, static_cast<off_t>(offset),
                                      static_cast<off_t>(length));
        } while (error == EINTR);
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
        return error == 0 ? Result<>() : Error{error, "posix_fallocate"};
    }

    /// Creates an object without a name (O_TMPFILE), and links it to its name when it is complete.
    Result<> createObject(std::size_t wanted)
    {
        mode_t const mode = reach == Reach::Global ? 0666 : 0600;
        descriptor = ::open(objectFolder, O_TMPFILE | O_RDWR | O_CLOEXEC, mode);
        char self[40]; // a std::string may throw, which would leave the object open
        std::snprintf(self, sizeof self, "/proc/self/fd/%d", descriptor);
        // fchmod() sets the mode again, since open() has applied the umask.
        if (!isOpen() || ::fchmod(descriptor, mode) != 0 || !takeFlock(LOCK_SH))
            return lastError("open");
        if (auto const reserved = reserve(wanted); !reserved)
            return reserved;
        return resultOf(::linkat(AT_FDCWD, self, AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0,
                        "linkat");
    }

    /// Fills an orphan with zeros, even an orphan of another user, which this process may not
    /// remove. Then converts the exclusive flock into a shared flock in one step.
    Result<> refill(std::size_t wanted)
    {
        if (::ftruncate(descriptor, 0) != 0)
            return lastError("ftruncate");
        if (auto const reserved = reserve(wanted); !reserved)
            return reserved;
        return resultOf(takeFlock(LOCK_SH), "flock");
    }

    /// Closes the object. The last process that closes the object also deletes the object. If this
    /// process may not delete the object, it empties the object.
    Result<> closeObject()
    {
        if (!isOpen())
            return {};
        if (takeFlock(LOCK_EX) && nameRefersToObject() && ::unlink(path.c_str()) != 0) {
            [[maybe_unused]] int const emptied = ::ftruncate(descriptor, 0);
        }
        return resultOf(::close(std::exchange(descriptor, -1)) == 0, "close");
    }

    /// Repeats `step` every millisecond while the object is changing (`step` then returns nothing).
    /// Fails after two seconds, since another process may be stopped or malicious. Closes the
    /// object after a failure.
    template <typename Step>
    Result<> retryWhileChanging(Step step)
    {
        constexpr int timeoutMs = 2000;
        for (int waited = 0; waited < timeoutMs; ++waited) {
            std::optional<Result<>> const result = step();
            if (result && *result)
                return *result;
            static_cast<void>(closeObject());
            if (result)
                return *result;
            sleepMilliseconds(1);
        }
        return Error{EAGAIN, "flock"};
    }

    Reach reach = Reach::Global;
    std::string path;
    int descriptor = -1;
    std::size_t size = 0;
};

SharedSegment::SharedSegment() : system_(std::make_unique<System>()) {}

SharedSegment::~SharedSegment()
{
    static_cast<void>(close());
}

Result<> SharedSegment::prepareGlobalAccess()
{
    return {}; // the mode of the object is sufficient
}

Result<> SharedSegment::create(std::string const & name, Reach reach, std::size_t size)
{
    system_->selectObject(name, reach);
    return system_->retryWhileChanging(
        [this, wanted = wholePages(size)]() -> std::optional<Result<>> {
            auto const state = system_->find();
            if (!state && state.error().code != ENOENT)
                return state.error();
            if (!state) {
                auto const made = system_->createObject(wanted);
                bool const wasAnotherFaster = !made && made.error().code == EEXIST;
                return wasAnotherFaster ? std::nullopt : std::optional(made);
            }
            switch (*state) {
            case System::State::Live:
                return Error{EEXIST, "open"};
            case System::State::Orphan:
                return system_->refill(wanted);
            case System::State::Changing:
                break;
            }
            return std::nullopt;
        });
}

Result<> SharedSegment::open(std::string const & name, Reach reach)
{
    system_->selectObject(name, reach);
    return system_->retryWhileChanging([this]() -> std::optional<Result<>> {
        auto const state = system_->find();
        if (!state)
            return state.error();
        switch (*state) {
        case System::State::Live:
            return Result<>();
        case System::State::Orphan:
            return Error{ENOENT, "open"};
        case System::State::Changing:
            break;
        }
        return std::nullopt;
    });
}

Result<std::vector<SharedSegment::Listed>> SharedSegment::list(std::string const & prefix)
{
    std::unique_ptr<DIR, int (*)(DIR *)> const folder(::opendir(objectFolder), ::closedir);
    if (!folder)
        return lastError("opendir");
    std::string const global = "Global";
    std::string const ownEnd = '.' + std::to_string(::geteuid());
    std::vector<Listed> all;
    while (dirent const * const entry = ::readdir(folder.get())) {
        std::string const name = entry->d_name;
        if (name.starts_with(global + prefix))
            all.push_back({global + '\\' + name.substr(global.size()), Reach::Global});
        else if (name.starts_with(prefix) && name.ends_with(ownEnd))
            all.push_back({name.substr(0, name.size() - ownEnd.size()), Reach::Local});
    }
    return all;
}

bool SharedSegment::isMissing(Error const & error)
{
    return error.code == ENOENT;
}

bool SharedSegment::isOpen() const
{
    return system_->isOpen();
}

Result<> SharedSegment::map()
{
    void * const view =
        ::mmap(nullptr, system_->size, PROT_READ | PROT_WRITE, MAP_SHARED, system_->descriptor, 0);
    if (view == MAP_FAILED)
        return lastError("mmap");
    view_ = view;
    return {};
}

Result<std::size_t> SharedSegment::viewSize() const
{
    return wholePages(system_->size);
}

Result<> SharedSegment::close()
{
    if (view_)
        ::munmap(std::exchange(view_, nullptr), system_->size);
    return system_->closeObject();
}

} // namespace ox::platform
