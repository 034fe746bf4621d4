#include "shared/platform/folder_walk.h"

#include <cerrno>
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

/// Whether what is left of a pattern fits the end of a name.
bool fitsNothing(std::u16string_view pattern)
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

/// Each '*' first stands for nothing and takes one character more whenever what follows does not
/// fit; only the last one met needs to be tried again.
bool fits(std::u16string_view name, std::u16string_view pattern)
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
    return fitsNothing(pattern.substr(p));
}

bool isDots(char const * name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

struct CloseFolder {
    void operator()(DIR * folder) const { ::closedir(folder); }
};

} // namespace

struct FolderWalk::System {
    NativeName folder;
    NativeName wanted;
    std::u16string pattern; ///< empty when every name fits, or only the wanted one
    bool isOneName = false;
    std::unique_ptr<DIR, CloseFolder> open;
    bool hasEnded = false;
    int error = 0;

    char const * name = nullptr;
    int type = DT_UNKNOWN;
    std::optional<struct stat> status;

    bool openFolder()
    {
        open.reset(::opendir(folder.c_str()));
        return open != nullptr;
    }

    bool nextOfAll()
    {
        errno = 0;
        while (dirent const * const entry = ::readdir(open.get())) {
            if (isDots(entry->d_name) ||
                (!pattern.empty() && !fits(nameText(entry->d_name), pattern)))
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
        return ask();
    }

    /// A link that leads nowhere answers for itself.
    bool ask()
    {
        if (status)
            return true;
        struct stat found = {};
        int const at = ::dirfd(open.get());
        bool const isThere = ::fstatat(at, name, &found, 0) == 0 ||
                             ::fstatat(at, name, &found, AT_SYMLINK_NOFOLLOW) == 0;
        status = found;
        return isThere;
    }
};

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

bool FolderWalk::next()
{
    System & s = *system_;
    if (s.hasEnded)
        return false;
    s.status.reset();
    if (!s.open && !s.openFolder())
        s.error = errno;
    else if (s.isOneName ? s.nextOfOne() : s.nextOfAll())
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
    system_->ask();
    return S_ISDIR(system_->status->st_mode);
}

std::int64_t FolderWalk::size()
{
    system_->ask();
    return S_ISDIR(system_->status->st_mode) ? 0 : system_->status->st_size;
}

std::int64_t FolderWalk::modified()
{
    system_->ask();
    return system_->status->st_mtim.tv_sec;
}

} // namespace ox::platform
