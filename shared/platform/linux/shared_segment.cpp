#include "shared/platform/shared_segment.h"

#include "shared/platform/this_process.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

// The protocol, which docs/shared_memory.md explains: whoever has a segment open has the shared
// flock of its object. A new object is whole and flocked before it gets its name. Who gets the
// exclusive flock is alone with the object, and either fills it anew or takes its name away.

namespace ox::platform
{
namespace
{

constexpr std::string_view objectFolder = "/dev/shm/";

/// The object's name. A segment's name that cannot be a file's is replaced by what can be kept of
/// it and a hash of all of it, so that two names do not become one.
std::string objectName(std::string const & segment)
{
    constexpr std::size_t longest = 200;
    std::string name = segment;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '/' || c == '\0'; }, '%');
    if (name == segment && name.size() <= 255)
        return name;
    std::uint64_t hash = 0xCBF29CE484222325; // FNV-1a
    for (char const c : segment)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return name.substr(0, longest) + '%' + std::to_string(hash);
}

std::string objectPath(std::string name, SharedSegment::Reach reach)
{
    if (reach == SharedSegment::Reach::Local)
        name += '.' + std::to_string(::geteuid());
    else if (auto const backslash = name.find('\\'); backslash != name.npos)
        name.erase(backslash, 1); // of the prefix "Global\"
    return std::string(objectFolder) + objectName(name);
}

std::size_t wholePages(std::size_t size)
{
    auto const page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    return (size + page - 1) / page * page;
}

SharedSegment::Attempt attemptOf(int error)
{
    switch (error) {
    case EEXIST:
        return SharedSegment::Attempt::Exists;
    case ENOENT:
        return SharedSegment::Attempt::NotFound;
    case EACCES:
    case EPERM:
        return SharedSegment::Attempt::AccessDenied;
    default:
        return SharedSegment::Attempt::Failed;
    }
}

} // namespace

/// The open object of a segment.
struct SharedSegment::System {
    enum class State { Failed, Live, Orphan, Unsettled };

    bool isOpen() const { return descriptor >= 0; }
    bool takeFlock(int operation) const { return ::flock(descriptor, operation | LOCK_NB) == 0; }

    /// Points to the object of a segment, which need not exist.
    void aim(std::string const & name, Reach where)
    {
        reach = where;
        path = objectPath(name, where);
    }

    bool nameMeansObject() const
    {
        struct stat named;
        struct stat opened;
        return ::lstat(path.c_str(), &named) == 0 && ::fstat(descriptor, &opened) == 0 &&
               named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
    }

    /// Opens the object that has the name and tells who else has it open. Live: others, and now
    /// this process, too. Orphan: nobody, and this process keeps everybody out. Unsettled: somebody
    /// is just filling it or removing it.
    State find()
    {
        // All can put something under a name; nothing of that is followed or waited for.
        descriptor = ::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (!isOpen())
            return State::Failed;
        bool const isAlone = takeFlock(LOCK_EX);
        if (!isAlone && !takeFlock(LOCK_SH))
            return State::Unsettled;
        struct stat status;
        bool const isNamed = ::fstat(descriptor, &status) == 0 && status.st_nlink > 0;
        if (!isNamed) // another has removed it in the meantime
            return State::Unsettled;
        if (!mayBeSegment(status)) {
            ::close(std::exchange(descriptor, -1));
            errno = EACCES;
            return State::Failed;
        }
        if (isAlone)
            return State::Orphan;
        size = static_cast<std::size_t>(status.st_size);
        // An object that only its owner may remove is left behind empty.
        return size > 0 ? State::Live : State::Unsettled;
    }

    /// To a local segment belongs only the user's own object.
    bool mayBeSegment(struct stat const & status) const
    {
        return S_ISREG(status.st_mode) && (reach == Reach::Global || status.st_uid == ::geteuid());
    }

    /// Gives the object its memory; a hole in it would turn a full system into a SIGBUS. The memory
    /// is reserved in pieces, between which signals are delivered.
    bool reserve(std::size_t wanted)
    {
        constexpr std::size_t piece = 16 << 20;
        int error = 0;
        for (std::size_t done = 0; done < wanted && error == 0; done += piece)
            error = reservePiece(done, std::min(piece, wanted - done));
        size = wanted;
        errno = error;
        return error == 0;
    }

    /// Returns the system's error. Some kernels release the whole piece again when a signal
    /// arrives, so a periodic timer would never let the piece end.
    int reservePiece(std::size_t offset, std::size_t length) const
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
        return error;
    }

    /// Makes an object without a name, and names it when it is ready.
    bool makeNew(std::size_t wanted)
    {
        mode_t const mode = reach == Reach::Global ? 0666 : 0600;
        descriptor = ::open(objectFolder.data(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode);
        std::string const self = "/proc/self/fd/" + std::to_string(descriptor);
        // The mode again, for the process's mask does not apply to segments.
        return isOpen() && ::fchmod(descriptor, mode) == 0 && takeFlock(LOCK_SH) &&
               reserve(wanted) &&
               ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
    }

    /// Fills an orphan anew, whoever made it: the folder lets only its owner remove it. The flock
    /// turns into a shared one in one step.
    bool renew(std::size_t wanted)
    {
        return ::ftruncate(descriptor, 0) == 0 && reserve(wanted) && takeFlock(LOCK_SH);
    }

    /// Closes the object. The last one out removes it, or empties it where that is not allowed.
    bool leave()
    {
        if (!isOpen())
            return true;
        if (takeFlock(LOCK_EX) && nameMeansObject() && ::unlink(path.c_str()) != 0) {
            [[maybe_unused]] int const emptied = ::ftruncate(descriptor, 0);
        }
        return ::close(std::exchange(descriptor, -1)) == 0;
    }

    /// Repeats a step for as long as the object is between two states, at most for two seconds: the
    /// others may be stopped, or mean no good.
    template <typename Step>
    Attempt settle(Step step)
    {
        constexpr int patienceMs = 2000;
        for (int waited = 0; waited < patienceMs; ++waited) {
            std::optional<Attempt> const result = step();
            if (result == Attempt::Done)
                return *result;
            int const error = errno;
            leave();
            errno = error;
            if (result)
                return *result;
            sleepMilliseconds(1);
        }
        errno = EAGAIN;
        return Attempt::Failed;
    }

    Reach reach = Reach::Global;
    std::string path;
    int descriptor = -1;
    std::size_t size = 0;
};

SharedSegment::SharedSegment() : system_(std::make_unique<System>()) {}

SharedSegment::~SharedSegment()
{
    close();
}

char const * SharedSegment::prepareGlobalAccess()
{
    return nullptr; // the mode of the object says it all
}

SharedSegment::Attempt SharedSegment::create(std::string const & name, Reach reach,
                                             std::size_t size)
{
    system_->aim(name, reach);
    return system_->settle([this, wanted = wholePages(size)]() -> std::optional<Attempt> {
        using State = System::State;
        State const state = system_->find();
        if (state == State::Unsettled)
            return std::nullopt;
        if (state == State::Live)
            errno = EEXIST;
        else if (state == State::Orphan && system_->renew(wanted))
            return Attempt::Done;
        else if (state == State::Failed && errno == ENOENT) {
            if (system_->makeNew(wanted))
                return Attempt::Done;
            if (errno == EEXIST) // another was faster
                return std::nullopt;
        }
        return attemptOf(errno);
    });
}

SharedSegment::Attempt SharedSegment::open(std::string const & name, Reach reach)
{
    system_->aim(name, reach);
    return system_->settle([this]() -> std::optional<Attempt> {
        using State = System::State;
        State const state = system_->find();
        if (state == State::Unsettled)
            return std::nullopt;
        if (state == State::Live)
            return Attempt::Done;
        if (state == State::Orphan)
            errno = ENOENT;
        return attemptOf(errno);
    });
}

bool SharedSegment::isOpen() const
{
    return system_->isOpen();
}

bool SharedSegment::map()
{
    void * const view =
        ::mmap(nullptr, system_->size, PROT_READ | PROT_WRITE, MAP_SHARED, system_->descriptor, 0);
    if (view == MAP_FAILED)
        return false;
    view_ = view;
    return true;
}

std::size_t SharedSegment::viewSize() const
{
    return wholePages(system_->size);
}

bool SharedSegment::close()
{
    if (view_)
        ::munmap(std::exchange(view_, nullptr), system_->size);
    return system_->leave();
}

} // namespace ox::platform
