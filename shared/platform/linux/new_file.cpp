#include "shared/platform/new_file.h"

#include "shared/platform/common/temporary_names.h"
#include "shared/platform/linux/copy_content.h"
#include "shared/platform/linux/folder_names.h"
#include "shared/platform/linux/kernel_file.h"
#include "shared/platform/linux/place.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <functional>
#include <optional>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

constexpr int maxTries = 100;

int descriptorOf(OpenFile const & file)
{
    return static_cast<int>(file.handle());
}

/// SYSTEM in the names of temporary files if the system cannot be identified, for example without
/// /proc.
constexpr std::uint32_t unknownSystem = windowsSystem + 1;

/// Returns a number that identifies the running kernel and the PID namespace of this process: only
/// there a process id identifies one process.
std::uint32_t thisSystem()
{
    char text[64];
    struct stat processes = {};
    std::string_view const boot = readStart("/proc/sys/kernel/random/boot_id", text);
    if (boot.empty() || ::stat("/proc/self/ns/pid", &processes) != 0)
        return unknownSystem;
    auto const system =
        static_cast<std::uint32_t>(std::hash<std::string_view>{}(boot) ^ processes.st_ino);
    return system == windowsSystem ? unknownSystem : system;
}

std::uint32_t thisProcess()
{
    return static_cast<std::uint32_t>(::getpid());
}

NativeName newTemporaryName()
{
    std::uint32_t number = 0;
    if (::getrandom(&number, sizeof number, 0) != sizeof number)
        number = static_cast<std::uint32_t>(std::clock());
    return temporaryName(thisSystem(), thisProcess(), number);
}

/// Calls `change`, which renames or deletes an open file. An SMB share can refuse this with EBUSY
/// while the file is open. In this case calls `close` and retries `change` for up to 255 ms, since
/// a FUSE client may report the close to the server only after close() has returned.
template <typename Change, typename Close>
Result<> changeName(Change const & change, Close const & close)
{
    constexpr int tries = 9; // 255 ms of pauses between them
    Result<> changed = resultOf(change());
    if (changed || changed.error().code != EBUSY)
        return changed;
    if (!close())
        return lastError();
    for (int tried = 0; !changed && changed.error().code == EBUSY && tried < tries; ++tried) {
        changed = resultOf(change());
        if (!changed)
            std::this_thread::sleep_for(std::chrono::milliseconds(1 << tried));
    }
    return changed;
}

/// Returns whether no process of this system has this id.
bool hasEnded(std::uint32_t process)
{
    return ::kill(static_cast<pid_t>(process), 0) != 0 && errno == ESRCH;
}

/// Returns whether a killed process has left a temporary file behind. `now` is the current time of
/// the file server's clock.
bool isLeftBehind(Place const & place, char const * name, std::uint32_t system, timespec now)
{
    Temporary const kind = temporaryKind(name, system);
    struct stat status;
    if (kind == Temporary::No || !place.status(status, name) || !S_ISREG(status.st_mode))
        return false;
    // While the process runs, its file is in use. The times of the file prove nothing: a copy gets
    // the old modification time of its source, and some shares report it as the time of the last
    // change.
    if (kind == Temporary::OfThisSystem && system != unknownSystem)
        return hasEnded(processOf(name));
    return status.st_ctim.tv_sec < now.tv_sec - leftBehindAfter;
}

/// Returns whether to search a folder for temporary files now. False if the last call was for the
/// same folder in the same minute, so that a process that writes many files does not list the
/// folder for each file.
bool isSearchDue(struct stat const & folder)
{
    static std::atomic<std::uint64_t> last = 0;
    std::uint64_t seed = 0;
    for (std::uint64_t const part : {std::uint64_t{folder.st_dev}, std::uint64_t{folder.st_ino},
                                     static_cast<std::uint64_t>(std::time(nullptr) / 60)})
        seed = (seed ^ part) * 0x9E3779B97F4A7C15u + 1;
    return last.exchange(seed) != seed;
}

/// Removes the temporary files that killed processes have left behind. `created` is a file that has
/// just been created in the folder; its time is the current time of the file server's clock.
void removeLeftFiles(Place const & place, OpenFile const & created)
{
    KeptError const kept;
    struct stat folder;
    struct stat status;
    if (::fstat(place.folder(), &folder) != 0 || !isSearchDue(folder) ||
        ::fstat(descriptorOf(created), &status) != 0)
        return;
    std::uint32_t const system = thisSystem();
    forEachName(place.folder(), ".", [&](char const * name) {
        if (isLeftBehind(place, name, system, status.st_ctim))
            ::unlinkat(place.folder(), name, 0);
    });
}

} // namespace

struct NewFile::System {
    Place place;
    OpenFile previous;
    struct stat previousStatus = {};
    bool keepsMode = false;
    NativeName temporary; ///< empty if no temporary file exists
    OpenFile file;

    Result<> createAs(NativeName const & name, mode_t mode);
    Result<> copyPreviousRights();
};

/// Creates the temporary file. Fails with AlreadyExists if the name is in use; the caller then
/// tries another name.
Result<> NewFile::System::createAs(NativeName const & name, mode_t mode)
{
    int const flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    NativeName kept = name; // allocated first: a lack of memory must leave no file
    OpenFile created(::openat(place.folder(), name.c_str(), flags, mode));
    if (!created.isOpen())
        return lastError();
    temporary = std::move(kept);
    file = std::move(created);
    removeLeftFiles(place, file);
    return {};
}

/// Copies the permission bits of the previous file and, if permitted, its owner and group. If the
/// group cannot be set, the group of the new file gets no rights.
Result<> NewFile::System::copyPreviousRights()
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

Result<> NewFile::openForMissing(NativeName const & target)
{
    struct stat status;
    Result<> const opened = system_->place.open(target);
    // For a path such as "a/", place.open() fails with EISDIR even if the folder is missing.
    bool const isMissing =
        !opened && opened.error().code == EISDIR && ::stat(target.c_str(), &status) != 0;
    return isMissing ? lastError() : opened;
}

Result<> NewFile::open(NativeName const & target, Links links)
{
    Place & place = system_->place;
    struct stat status;
    if (Result<> const opened = openForMissing(target); !opened)
        return opened;
    bool const isFollowed = links == Links::Followed;
    auto const check = [&]() -> Result<> {
        if (S_ISDIR(status.st_mode))
            return Error{EISDIR};
        return isFollowed && !S_ISREG(status.st_mode) ? Result<>(Error{ENOTSUP}) : Result<>();
    };
    if (isFollowed) {
        // Some links in /proc lead to an object without a name, such as a pipe. The system can
        // follow such a link, but followLinks() cannot.
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
    return system_->previous.isOpen() ? pathOf(system_->previous) : NativeName();
}

Result<> NewFile::create(Access access)
{
    mode_t const mode = system_->keepsMode || access == Access::Owner ? 0600 : 0666;
    Result<> created = Error{EEXIST};
    for (int i = 0; i < maxTries && !created && created.error().code == EEXIST; ++i)
        created = system_->createAs(newTemporaryName(), mode);
    return created && system_->keepsMode ? system_->copyPreviousRights() : created;
}

OpenFile & NewFile::file()
{
    return system_->file;
}

Result<> NewFile::copyFrom(NativeName const & source, Attributes attributes,
                           std::optional<FileStatus> * opened)
{
    struct stat status;
    Result<OpenFile> from = openToCopy(source, status);
    if (!from)
        return from.error();
    if (opened)
        *opened = {false, status.st_size, status.st_mtim.tv_sec};
    Result<> const copied = copyContent(*from, status, system_->file);
    if (copied && attributes == Attributes::Copied)
        copyAttributes(system_->file, status, !system_->keepsMode);
    return copied;
}

NativeName NewFile::beginWritingByName()
{
    return pathOf(system_->file);
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
    int const file = descriptorOf(system_->file);
    if (::fchmod(file, 0777) == 0)
        return {};
    // Some file systems refuse every fchmod(), even if the file already has the wanted mode.
    Error const error = lastError();
    struct stat status;
    bool const isAllowed = ::fstat(file, &status) == 0 && (status.st_mode & 0777) == 0777;
    return isAllowed ? Result<>() : error;
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
    // The previous file gets its backup name by a second hard link and keeps the target's name
    // until the new file takes that name. Another process may have just put a new file in place,
    // which must not become the backup. So the status of the linked file is read.
    for (int i = 0; i < maxTries; ++i) {
        NativeName const link = newTemporaryName();
        if (::linkat(folder, place.name.c_str(), folder, link.c_str(), 0) != 0)
            break;
        bool const isKnown = place.status(status, link);
        bool const isFresh = isKnown && isUpToDate(status);
        if (isKnown && !isFresh && ::renameat(folder, link.c_str(), folder, kept.c_str()) == 0) {
            // If another process has just made the same file the backup, both names refer to one
            // file, and rename() removes neither. So the link is removed in any case.
            ::unlinkat(folder, link.c_str(), 0);
            return Previous::Kept;
        }
        Error const error = lastError();
        ::unlinkat(folder, link.c_str(), 0);
        if (isFresh)
            return Previous::IsUpToDate;
        if (error.code != ENOENT) // another process may have removed the link
            return error;
    }
    // linkat() has failed: the file system does not support hard links of this file, or the file is
    // missing. So the file itself is renamed.
    if (!place.status(status, place.name))
        return errno == ENOENT ? Result(Previous::None) : lastError();
    if (isUpToDate(status))
        return Previous::IsUpToDate;
    if (::renameat(folder, place.name.c_str(), folder, kept.c_str()) != 0)
        return lastError();
    return Previous::Kept;
}

Result<> NewFile::putInPlace(FolderFlush flush)
{
    Place const & place = system_->place;
    NativeName & temporary = system_->temporary;
    auto const renameTo = [&](NativeName const & name) {
        return ::renameat(place.folder(), temporary.c_str(), place.folder(), name.c_str()) == 0;
    };
    auto const rename = [&] { return renameTo(place.name); };
    // An SMB server sets the modification time of a written file when the file is closed. The
    // rename to a second temporary name succeeds only after the server has closed the file.
    auto const closeWithItsTime = [&] {
        struct stat status;
        bool const hasTime = ::fstat(descriptorOf(system_->file), &status) == 0;
        if (!system_->file.close())
            return false;
        NativeName const closed = newTemporaryName();
        if (changeName([&] { return renameTo(closed); }, [] { return true; }))
            temporary = closed;
        timespec const times[] = {status.st_atim, status.st_mtim};
        if (hasTime)
            ::utimensat(place.folder(), temporary.c_str(), times, AT_SYMLINK_NOFOLLOW);
        return true;
    };
    Result<> const renamed = changeName(rename, closeWithItsTime);
    if (!renamed)
        return renamed;
    system_->temporary.clear();
    // A failed flush is ignored: some shares do not support it for folders, and the file is
    // already in place.
    if (flush == FolderFlush::Now)
        static_cast<void>(system_->place.openFolder.flush());
    return {};
}

void NewFile::remove()
{
    if (!system_->temporary.empty())
        static_cast<void>(changeName(
            [this] {
                return ::unlinkat(system_->place.folder(), system_->temporary.c_str(), 0) == 0;
            },
            [this] { return static_cast<bool>(system_->file.close()); }));
    system_->temporary.clear();
}

} // namespace ox::platform
