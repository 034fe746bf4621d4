#include "shared/platform/new_file.h"

#include "shared/platform/common/temporary_names.h"
#include "shared/platform/linux/copy_content.h"
#include "shared/platform/linux/descriptor.h"
#include "shared/platform/linux/kernel_file.h"
#include "shared/platform/linux/place.h"

#include <atomic>
#include <cerrno>
#include <ctime>
#include <functional>
#include <optional>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

constexpr int mostTries = 100;
constexpr int withoutWaiting = O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC;

bool isSame(struct stat const & one, struct stat const & other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

int descriptorOf(OpenFile const & file)
{
    return static_cast<int>(file.handle());
}

/// The path of an open file that no other user can redirect.
NativeName pathOf(int descriptor)
{
    return "/proc/self/fd/" + std::to_string(descriptor);
}

/// A number for the running kernel and the processes that this one can see. On some file systems a
/// flock reaches no further.
std::uint32_t thisSystem()
{
    char text[64];
    struct stat processes = {};
    ::stat("/proc/self/ns/pid", &processes);
    auto const boot =
        std::hash<std::string_view>{}(readStart("/proc/sys/kernel/random/boot_id", text));
    auto const system = static_cast<std::uint32_t>(boot ^ processes.st_ino);
    return system == windowsSystem ? 1 : system;
}

std::uint32_t thisProcess()
{
    return static_cast<std::uint32_t>(::getpid());
}

NativeName freshName()
{
    std::uint32_t number = 0;
    if (::getrandom(&number, sizeof number, 0) != sizeof number)
        number = static_cast<std::uint32_t>(std::clock());
    return temporaryName(thisSystem(), thisProcess(), number);
}

/// Opens an existing file to lock it. Over NFS that takes the right to write.
int openToLock(int folder, char const * name)
{
    int const writable = ::openat(folder, name, O_RDWR | withoutWaiting);
    return writable >= 0 ? writable : ::openat(folder, name, O_RDONLY | withoutWaiting);
}

bool takeFlock(int file)
{
    int result;
    do {
        result = ::flock(file, LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

/// Removes a temporary file that no process holds.
void removeLeftFile(int folder, char const * name, std::optional<timespec> changedBefore)
{
    Descriptor const file(openToLock(folder, name));
    struct stat opened;
    struct stat named;
    bool const isLeft =
        file.isOpen() && ::fstat(file.get(), &opened) == 0 && S_ISREG(opened.st_mode) &&
        (!changedBefore || opened.st_ctim.tv_sec < changedBefore->tv_sec) && takeFlock(file.get());
    // A process may have locked, named and closed the file before the lock was free.
    if (isLeft && ::fstatat(folder, name, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
        isSame(opened, named))
        ::unlinkat(folder, name, 0);
}

struct CloseFolder {
    void operator()(DIR * folder) const { ::closedir(folder); }
};

template <typename Visit>
void forEachName(int folder, Visit const & visit)
{
    Descriptor again(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::unique_ptr<DIR, CloseFolder> const opened(again.isOpen() ? ::fdopendir(again.get())
                                                                  : nullptr);
    if (!opened)
        return;
    again.release();
    while (dirent const * const found = ::readdir(opened.get()))
        visit(found->d_name);
}

/// Whether a folder is to be looked through now: once a minute, as a process that writes many files
/// into one folder would list it for each of them.
bool isDue(struct stat const & folder, timespec now)
{
    static std::atomic<std::uint64_t> last = 0;
    std::uint64_t seed = 0;
    for (std::uint64_t const part : {std::uint64_t{folder.st_dev}, std::uint64_t{folder.st_ino},
                                     static_cast<std::uint64_t>(now.tv_sec / 60)})
        seed = (seed ^ part) * 0x9E3779B97F4A7C15u + 1;
    return last.exchange(seed) != seed;
}

/// Removes the temporary files that killed processes left in a folder. `now` is the file server's
/// time.
void removeLeftFiles(int folder, timespec now)
{
    struct stat status;
    if (::fstat(folder, &status) != 0 || !isDue(status, now))
        return;
    int const error = errno;
    timespec const old = {now.tv_sec - leftBehindAfter, 0};
    std::uint32_t const system = thisSystem();
    forEachName(folder, [&](char const * name) {
        Temporary const kind = temporaryKind(name, system);
        if (kind != Temporary::No)
            removeLeftFile(folder, name,
                           kind == Temporary::OfAnother ? std::optional(old) : std::nullopt);
    });
    errno = error;
}

} // namespace

struct NewFile::System {
    Place place;
    OpenFile previous;
    struct stat previousStatus = {};
    bool keepsMode = false;
    NativeName temporary; ///< empty when there is no file under it
    OpenFile file;

    Result<> createAs(NativeName const & name, mode_t mode);
    Result<> takePreviousRights();
};

/// Fails with AlreadyExists when the name is taken and another should be tried.
Result<> NewFile::System::createAs(NativeName const & name, mode_t mode)
{
    int const flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    OpenFile created(::openat(place.folder(), name.c_str(), flags, mode));
    if (!created.isOpen())
        return lastError();
    // A process that removes left files may have been faster; then the name is gone. Not every
    // share has inode numbers to compare. Where there are no flocks, nobody removes any file.
    struct stat opened;
    struct stat named;
    bool const isLocked = takeFlock(descriptorOf(created)) || errno != EWOULDBLOCK;
    bool const isNamed =
        isLocked && ::fstat(descriptorOf(created), &opened) == 0 && place.status(named, name);
    if (!isNamed)
        return Error{EEXIST};
    temporary = name;
    file = std::move(created);
    removeLeftFiles(place.folder(), opened.st_ctim);
    return {};
}

/// Gives the new file the previous one's permission bits and, where the system lets the process do
/// that, its owner and group. Nobody gains rights by it.
Result<> NewFile::System::takePreviousRights()
{
    int const target = descriptorOf(file);
    auto const sameUser = static_cast<uid_t>(-1);
    bool const hasGroup = ::fchown(target, previousStatus.st_uid, previousStatus.st_gid) == 0 ||
                          ::fchown(target, sameUser, previousStatus.st_gid) == 0;
    return resultOf(::fchmod(target, previousStatus.st_mode & (hasGroup ? 0777 : 0707)) == 0);
}

NewFile::NewFile() : system_(std::make_unique<System>()) {}

NewFile::~NewFile()
{
    KeptError const kept;
    remove();
}

Result<> NewFile::open(NativeName const & target, Links links)
{
    Place & place = system_->place;
    struct stat status;
    if (Result<> const opened = place.open(target); !opened) {
        // A path such as "a/" names a folder even if there is none.
        bool const isMissing =
            opened.error().code == EISDIR && ::stat(target.c_str(), &status) != 0;
        return isMissing ? lastError() : opened.error();
    }
    bool const isFollowed = links == Links::Followed;
    auto const check = [&]() -> Result<> {
        if (S_ISDIR(status.st_mode))
            return Error{EISDIR};
        return isFollowed && !S_ISREG(status.st_mode) ? Result<>(Error{ENOTSUP}) : Result<>();
    };
    if (isFollowed) {
        // Some links of the system lead to what has no name, such as a pipe.
        if (::fstatat(place.folder(), place.name.c_str(), &status, 0) == 0)
            if (Result<> const checked = check(); !checked)
                return checked;
        if (Result<> const followed = place.followLinks(); !followed)
            return followed;
    }
    int const previous =
        ::openat(place.folder(), place.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
    if (previous < 0)
        return resultOf(errno == ENOENT);
    system_->previous = OpenFile(previous);
    if (::fstat(previous, &status) != 0)
        return lastError();
    system_->previousStatus = status;
    system_->keepsMode = isFollowed;
    return check();
}

NativeName NewFile::previousName() const
{
    return system_->previous.isOpen() ? pathOf(descriptorOf(system_->previous)) : NativeName();
}

Result<> NewFile::create(Access access)
{
    mode_t const mode = system_->keepsMode || access == Access::Owner ? 0600 : 0666;
    Result<> created = Error{EEXIST};
    for (int i = 0; i < mostTries && !created && created.error().code == EEXIST; ++i)
        created = system_->createAs(freshName(), mode);
    return created && system_->keepsMode ? system_->takePreviousRights() : created;
}

OpenFile & NewFile::file()
{
    return system_->file;
}

Result<> NewFile::copyFrom(NativeName const & source)
{
    Result<OpenFile> from = openForReading(source, Writers::Allowed);
    struct stat status;
    if (!from)
        return from.error();
    if (::fstat(descriptorOf(*from), &status) != 0)
        return lastError();
    Result<> const copied = copyContent(*from, status, system_->file);
    if (copied)
        copyAttributes(system_->file, status, !system_->keepsMode);
    return copied;
}

NativeName NewFile::beginWritingByName()
{
    return pathOf(descriptorOf(system_->file));
}

Result<> NewFile::endWritingByName()
{
    return {};
}

Result<std::int64_t> NewFile::size() const
{
    return system_->file.size();
}

Result<> NewFile::allowEverybodyToExecute()
{
    struct stat status;
    int const file = descriptorOf(system_->file);
    if (::fstat(file, &status) != 0)
        return lastError();
    // Changed only where needed: some file systems refuse every change.
    return resultOf((status.st_mode & 0777) == 0777 ||
                    ::fchmod(file, (status.st_mode & 07777) | 0777) == 0);
}

Result<NewFile::Previous> NewFile::keepPrevious(char const * suffix, std::int64_t size,
                                                std::int64_t modified)
{
    Place const & place = system_->place;
    int const folder = place.folder();
    NativeName const kept = place.name + suffix;
    auto const isUpToDate = [=](struct stat const & status) {
        return S_ISREG(status.st_mode) && status.st_size == size &&
               status.st_mtim.tv_sec == modified;
    };
    struct stat status;
    // By a second link the previous file keeps the target's name until the new one takes it. What
    // the link means is looked at behind it, so a file that another process has just put there is
    // never taken for the previous one.
    for (int i = 0; i < mostTries; ++i) {
        NativeName const link = freshName();
        if (::linkat(folder, place.name.c_str(), folder, link.c_str(), 0) != 0)
            break;
        bool const isKnown = place.status(status, link);
        bool const isFresh = isKnown && isUpToDate(status);
        if (isKnown && !isFresh && ::renameat(folder, link.c_str(), folder, kept.c_str()) == 0) {
            ::unlinkat(folder, link.c_str(), 0); // renaming to a second link of the file keeps it
            return Previous::Kept;
        }
        Error const error = lastError();
        ::unlinkat(folder, link.c_str(), 0);
        if (isFresh)
            return Previous::IsUpToDate;
        if (error.code != ENOENT) // another process may have removed the link as one left behind
            return error;
    }
    // There are no links here, or not of this file.
    if (!place.status(status, place.name))
        return errno == ENOENT ? Result(Previous::None) : lastError();
    if (isUpToDate(status))
        return Previous::IsUpToDate;
    if (::renameat(folder, place.name.c_str(), folder, kept.c_str()) != 0)
        return lastError();
    return Previous::Kept;
}

Result<> NewFile::putInPlace()
{
    Place const & place = system_->place;
    if (::renameat(place.folder(), system_->temporary.c_str(), place.folder(),
                   place.name.c_str()) != 0)
        return lastError();
    system_->temporary.clear();
    // The new file is in place whatever the result: not every share lets a folder be flushed.
    static_cast<void>(system_->place.openFolder.flush());
    return {};
}

void NewFile::remove()
{
    if (!system_->temporary.empty())
        ::unlinkat(system_->place.folder(), system_->temporary.c_str(), 0);
    system_->temporary.clear();
}

void removeNewFilesOfThisProcess(NativeName const & target)
{
    Place place;
    if (!place.open(target))
        return;
    NativeName const prefix = temporaryPrefix(thisSystem(), thisProcess());
    forEachName(place.folder(), [&](char const * name) {
        if (std::string_view(name).starts_with(prefix))
            ::unlinkat(place.folder(), name, 0);
    });
}

} // namespace ox::platform
