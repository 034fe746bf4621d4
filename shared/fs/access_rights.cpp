#include "shared/fs/access_rights.h"

#include "shared/platform/files.h"
#include "shared/text/native_path.h"

#include <cstring>

using ox::platform::NativeName;

namespace
{

/// Returns the path as a native name. For null or a path longer than 500 bytes, returns an empty
/// name.
NativeName recordPath(char const * path)
{
    if (!path || std::strlen(path) > 500)
        return {};
    return ox::platform::nativeName(std::string_view(path));
}

} // namespace

bool oxSetFolderRights_ReadWriteAll(char const * path, bool inherit)
{
    return reportToThread(ox::platform::allowEverybodyToFill(recordPath(path), inherit));
}

bool oxSetFolderRights_ReadWriteAll(QString const & path, bool inherit)
{
    return reportToThread(ox::platform::allowEverybodyToFill(ox::text::nativePath(path), inherit));
}

bool oxSetFileRights_ReadWriteExecuteAll(char const * path)
{
    return reportToThread(ox::platform::allowEverybodyToExecute(recordPath(path)));
}

bool oxSetFileRights_ReadWriteExecuteAll(QString const & path)
{
    return reportToThread(ox::platform::allowEverybodyToExecute(ox::text::nativePath(path)));
}
