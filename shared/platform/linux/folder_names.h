#pragma once

#include "shared/platform/linux/descriptor.h"

#include <memory>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>

namespace ox::platform
{

struct CloseFolder {
    void operator()(DIR * folder) const { ::closedir(folder); }
};

/// Calls `visit` for each name in a folder except "." and "..". `folder` is an absolute path or
/// relative to the open folder `at`. Visits nothing if the folder cannot be read or memory is
/// lacking. The iterator of std::filesystem is not used, since it ends the process when memory is
/// lacking.
template <typename Visit>
void forEachName(int at, char const * folder, Visit const & visit)
{
    Descriptor descriptor(::openat(at, folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::unique_ptr<DIR, CloseFolder> const opened(
        descriptor.isOpen() ? ::fdopendir(descriptor.get()) : nullptr);
    if (!opened)
        return;
    descriptor.release();
    while (dirent const * const found = ::readdir(opened.get())) {
        std::string_view const name = found->d_name;
        if (name != "." && name != "..")
            visit(found->d_name);
    }
}

} // namespace ox::platform
