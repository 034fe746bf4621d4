#include "shared/platform/access_rights.h"

#include <sys/stat.h>

namespace ox::platform
{

bool allowEverybodyToExecute(NativeName const & file)
{
    struct stat status;
    if (::stat(file.c_str(), &status) != 0)
        return false;
    ::mode_t const mode = status.st_mode & 07777;
    // Asked for only where something changes: only the owner may.
    return (mode & 0777) == 0777 || ::chmod(file.c_str(), mode | 0777) == 0;
}

bool allowEverybodyToFill(NativeName const & folder, bool)
{
    return allowEverybodyToExecute(folder); // the same bits let a folder be entered
}

} // namespace ox::platform
