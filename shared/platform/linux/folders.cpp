#include "shared/platform/folders.h"

#include "shared/platform/linux/descriptor.h"
#include "shared/platform/open_file.h"

#include <cerrno>
#include <limits>
#include <optional>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace ox::platform
{
namespace
{

bool isWildcard(char16_t c)
{
    return c == u'*' || c == u'?';
}

/// Returns whether a pattern matches the empty text.
bool matchesEmptyText(std::u16string_view pattern)
{
    while (!pattern.empty()) {
        bool const isDotBeforeWildcard =
            pattern.size() > 1 && pattern[0] == u'.' && isWildcard(pattern[1]);
        if (!isWildcard(pattern[0]) && !isDotBeforeWildcard)
            return false;
        pattern.remove_prefix(1);
    }
    return true;
}

/// Returns whether a name matches a pattern. Each '*' first matches nothing. After a mismatch the
/// last '*' matches one more character; backtracking to an earlier '*' is not necessary.
bool matches(std::u16string_view name, std::u16string_view pattern)
{
    std::size_t n = 0;
    std::size_t p = 0;
    std::size_t starEnd = 0;
    std::size_t starTakes = 0;
    while (n < name.size()) {
        char16_t const wanted = p < pattern.size() ? pattern[p] : u'\0';
        if (wanted == u'*') {
            starEnd = ++p;
            starTakes = n;
        } else if (wanted == u'?') {
            ++p;
            n += name[n] != u'.';
        } else if (wanted == name[n]) {
            ++p;
            ++n;
        } else if (starEnd > 0) {
            p = starEnd;
            n = ++starTakes;
        } else {
            return false;
        }
    }
    return matchesEmptyText(pattern.substr(p));
}

bool isDots(char const * name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

struct CloseFolder {
    void operator()(DIR * folder) const { ::closedir(folder); }
};

/// Device and inode number, which identify a folder.
struct Identity {
    dev_t device;
    ino_t number;

    bool operator==(Identity const &) const = default;
};

std::optional<Identity> identityOf(int folder, char const * name)
{
    struct stat status;
    if (::fstatat(folder, name, &status, 0) != 0)
        return std::nullopt;
    return Identity{status.st_dev, status.st_ino};
}

int openFolder(int at, char const * name)
{
    return ::openat(at, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

int descriptorOf(OpenFile const & file)
{
    return static_cast<int>(file.handle());
}

/// Returns whether a folder is a mount point. Also detects a bind mount of the same file system, if
/// the kernel reports it.
bool isMountPoint(int folder)
{
    struct statx status;
    return ::statx(folder, "", AT_EMPTY_PATH, STATX_TYPE, &status) == 0 &&
           (status.stx_attributes & status.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0;
}

} // namespace

struct FolderWalk::System {
    NativeName folder;
    NativeName wanted;
    std::u16string pattern; ///< empty if all names are wanted or only the name `wanted`
    bool isOneName = false;
    std::unique_ptr<DIR, CloseFolder> open;
    bool hasEnded = false;
    int error = 0;

    char const * name = nullptr;
    int type = DT_UNKNOWN;
    std::optional<struct stat> status;

    bool openFolder()
    {
        if (open || hasEnded)
            return open != nullptr;
        open.reset(::opendir(folder.c_str()));
        hasEnded = !open;
        error = open ? 0 : errno;
        return !hasEnded;
    }

    bool nextOfAll()
    {
        errno = 0;
        while (dirent const * const entry = ::readdir(open.get())) {
            if (isDots(entry->d_name) ||
                (!pattern.empty() && !matches(nameText(entry->d_name), pattern)))
                continue;
            name = entry->d_name;
            type = entry->d_type;
            return true;
        }
        error = errno;
        return false;
    }

    bool nextOfOne()
    {
        if (name)
            return false;
        name = wanted.c_str();
        return readStatus();
    }

    /// Reads the status of the entry, unless it is already known. For a broken link this is the
    /// status of the link itself. Returns false if the entry does not exist.
    bool readStatus()
    {
        if (status)
            return true;
        struct stat found = {};
        int const at = ::dirfd(open.get());
        bool const exists = ::fstatat(at, name, &found, 0) == 0 ||
                            ::fstatat(at, name, &found, AT_SYMLINK_NOFOLLOW) == 0;
        status = found;
        return exists;
    }
};

bool const FolderWalk::hasStatus = false;

FolderWalk::FolderWalk(NativeName const & path) : system_(std::make_unique<System>())
{
    std::size_t const separator = path.rfind(ownSeparator);
    system_->folder = separator == path.npos ? "." : path.substr(0, separator + 1);
    system_->wanted = separator == path.npos ? path : path.substr(separator + 1);
    system_->isOneName = !system_->wanted.ends_with('*');
    if (!system_->isOneName && system_->wanted != "*")
        system_->pattern = nameText(system_->wanted);
}

FolderWalk::~FolderWalk() = default;

bool FolderWalk::open()
{
    return system_->openFolder();
}

bool FolderWalk::next()
{
    System & s = *system_;
    if (!s.openFolder())
        return false;
    s.status.reset();
    if (s.isOneName ? s.nextOfOne() : s.nextOfAll())
        return true;
    s.hasEnded = true;
    s.open.reset();
    return false;
}

int FolderWalk::error() const
{
    return system_->error;
}

std::u16string FolderWalk::name() const
{
    return nameText(system_->name);
}

bool FolderWalk::isFolder()
{
    if (system_->type != DT_UNKNOWN && system_->type != DT_LNK)
        return system_->type == DT_DIR;
    system_->readStatus();
    return S_ISDIR(system_->status->st_mode);
}

bool FolderWalk::isLink()
{
    if (system_->type != DT_UNKNOWN)
        return system_->type == DT_LNK;
    struct stat found = {};
    return ::fstatat(::dirfd(system_->open.get()), system_->name, &found, AT_SYMLINK_NOFOLLOW) ==
               0 &&
           S_ISLNK(found.st_mode);
}

std::int64_t FolderWalk::size()
{
    system_->readStatus();
    return S_ISDIR(system_->status->st_mode) ? 0 : system_->status->st_size;
}

std::int64_t FolderWalk::modified()
{
    system_->readStatus();
    return system_->status->st_mtim.tv_sec;
}

struct FolderTree::System {
    OpenFile current;
    std::vector<Identity> above;

    int folder() const { return descriptorOf(current); }
};

FolderTree::FolderTree() : system_(std::make_unique<System>()) {}

FolderTree::~FolderTree() = default;

Result<> FolderTree::open(NativeName const & folder)
{
    // With a separator at the end, the system would follow a link.
    NativeName name = folder;
    while (name.size() > 1 && name.ends_with(ownSeparator))
        name.pop_back();
    OpenFile opened(openFolder(AT_FDCWD, name.c_str()));
    if (!opened.isOpen())
        return lastError();
    system_->current = std::move(opened);
    return {};
}

Result<> FolderTree::open(FolderTree const & other)
{
    OpenFile opened(openFolder(other.system_->folder(), "."));
    if (!opened.isOpen())
        return lastError();
    system_->current = std::move(opened);
    system_->above = other.system_->above;
    return {};
}

bool FolderTree::isRoot() const
{
    int const folder = system_->folder();
    auto const here = identityOf(folder, ".");
    auto const above = identityOf(folder, "..");
    return !here || !above || here == above || here->device != above->device ||
           isMountPoint(folder);
}

Result<std::vector<FolderTree::Entry>> FolderTree::entries() const
{
    Descriptor duplicate(openFolder(system_->folder(), "."));
    std::unique_ptr<DIR, CloseFolder> const folder(duplicate.isOpen() ? ::fdopendir(duplicate.get())
                                                                      : nullptr);
    if (!folder)
        return lastError();
    duplicate.release();
    std::vector<Entry> entries;
    errno = 0;
    while (dirent const * const found = ::readdir(folder.get())) {
        NativeName const name = found->d_name;
        if (name == "." || name == "..")
            continue;
        struct stat status = {};
        // An entry that was deleted in the meantime is listed, too; remove() succeeds for it.
        if (::fstatat(system_->folder(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            status.st_mode = found->d_type == DT_DIR ? S_IFDIR : S_IFREG;
            // Callers delete old entries, so an entry of unknown age gets the latest time.
            if (errno != ENOENT)
                status.st_mtim.tv_sec = std::numeric_limits<time_t>::max();
        }
        bool const isFolder = S_ISDIR(status.st_mode);
        entries.push_back({name, isFolder, isFolder ? 0 : status.st_size, status.st_mtim.tv_sec});
        errno = 0;
    }
    if (errno != 0)
        return lastError();
    return entries;
}

Result<> FolderTree::enter(Entry const & folder)
{
    auto const here = identityOf(system_->folder(), ".");
    OpenFile opened(openFolder(system_->folder(), folder.name.c_str()));
    if (!here || !opened.isOpen())
        return lastError();
    // leave() needs the parent folder, so a folder without an accessible parent is not entered.
    auto const above = identityOf(descriptorOf(opened), "..");
    auto const there = identityOf(descriptorOf(opened), ".");
    if (!above || !there)
        return lastError();
    if (above != here || there->device != here->device || isMountPoint(descriptorOf(opened)))
        return Error{EBUSY};
    system_->above.push_back(*here);
    system_->current = std::move(opened);
    return {};
}

Result<> FolderTree::leave()
{
    OpenFile opened(openFolder(system_->folder(), ".."));
    auto const there = opened.isOpen() ? identityOf(descriptorOf(opened), ".") : std::nullopt;
    if (!there)
        return lastError();
    if (there != system_->above.back())
        return Error{ESTALE};
    system_->above.pop_back();
    system_->current = std::move(opened);
    return {};
}

Result<> FolderTree::remove(Entry const & entry)
{
    int const kind = entry.isFolder ? AT_REMOVEDIR : 0;
    return resultOf(::unlinkat(system_->folder(), entry.name.c_str(), kind) == 0 ||
                    errno == ENOENT);
}

} // namespace ox::platform
