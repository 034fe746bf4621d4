#include "shared/platform/replace_file.h"

#include "shared/platform/handle_windows.h"

#include <vector>

namespace ox::platform
{
namespace
{

bool flushToDisk(NativeName const & name)
{
    Handle const file(openFile(name, GENERIC_WRITE, shareAll, OPEN_EXISTING));
    return file.isOpen() && ::FlushFileBuffers(file.get());
}

} // namespace

bool replaceFile(NativeName const & from, NativeName const & to)
{
    return flushToDisk(from) && ::MoveFileExW(from.c_str(), to.c_str(),
                                              MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
}

bool copyPermissions(NativeName const & from, NativeName const & to)
{
    constexpr SECURITY_INFORMATION rights = DACL_SECURITY_INFORMATION;
    DWORD size = 0;
    ::GetFileSecurityW(from.c_str(), rights, nullptr, 0, &size);
    std::vector<char> descriptor(size);
    return ::GetFileSecurityW(from.c_str(), rights, descriptor.data(), size, &size) &&
           ::SetFileSecurityW(to.c_str(), rights, descriptor.data());
}

} // namespace ox::platform
