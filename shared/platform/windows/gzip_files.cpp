#include "shared/platform/gzip_files.h"

#include "shared/platform/windows/stream.h"

#include <io.h>

namespace ox::platform
{

gzFile openGzip(NativeName const & name, StreamMode mode)
{
    int const descriptor = openDescriptor(name, mode, shareWriting);
    if (descriptor < 0)
        return nullptr;
    gzFile const file = ::gzdopen(descriptor, modeLetters(mode));
    if (!file)
        ::_close(descriptor);
    return file;
}

} // namespace ox::platform
