#include "shared/platform/files.h"

#include <sys/stat.h>

namespace ox::platform
{

std::optional<FileStatus> fileStatus(NativeName const & name)
{
    struct stat status;
    if (::stat(name.c_str(), &status) != 0)
        return std::nullopt;
    return FileStatus{S_ISDIR(status.st_mode), status.st_size, status.st_mtim.tv_sec};
}

std::FILE * openStream(NativeName const & name, StreamMode mode)
{
    static constexpr char const * modes[] = {"rbe", "wbe", "abe"};
    return std::fopen(name.c_str(), modes[static_cast<int>(mode)]);
}

} // namespace ox::platform
