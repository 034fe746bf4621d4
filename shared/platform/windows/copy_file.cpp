#include "shared/platform/files.h"
#include "shared/platform/windows/handle.h"

#include <optional>

namespace ox::platform
{
namespace
{

std::optional<BY_HANDLE_FILE_INFORMATION> identityOf(NativeName const & name)
{
    Handle const file(openFile(name, 0, shareAll, OPEN_EXISTING));
    BY_HANDLE_FILE_INFORMATION information;
    if (!file.isOpen() || !::GetFileInformationByHandle(file.get(), &information))
        return std::nullopt;
    return information;
}

} // namespace

Result<> copyFile(NativeName const & from, NativeName const & to, bool failIfExists,
                  std::optional<std::int64_t> modified)
{
    if (!::CopyFileW(from.c_str(), to.c_str(), failIfExists))
        return lastError();
    if (modified) {
        OpenFile copy = toOpenFile(openFile(to, FILE_WRITE_ATTRIBUTES, shareWriting, OPEN_EXISTING,
                                            FILE_FLAG_OPEN_REPARSE_POINT));
        static_cast<void>(copy.setTimes(*modified));
    }
    return {};
}

Result<> mayReplace(NativeName const & target, NativeName const & source)
{
    auto const first = identityOf(target);
    auto const second = identityOf(source);
    // Some servers return the file index 0 for all files, so 0 does not identify a file.
    bool const areKnown = first && second && (first->nFileIndexHigh | first->nFileIndexLow) != 0;
    if (areKnown && first->dwVolumeSerialNumber == second->dwVolumeSerialNumber &&
        first->nFileIndexHigh == second->nFileIndexHigh &&
        first->nFileIndexLow == second->nFileIndexLow)
        return Error{ERROR_SHARING_VIOLATION};
    return {};
}

} // namespace ox::platform
