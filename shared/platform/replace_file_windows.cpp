#include "shared/platform/replace_file.h"

#include "shared/platform/handle_windows.h"

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

} // namespace ox::platform
