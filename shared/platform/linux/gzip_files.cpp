#include "shared/platform/gzip_files.h"

#include "shared/platform/linux/stream.h"

#include <unistd.h>

namespace ox::platform
{

gzFile openGzip(NativeName const & name, StreamMode mode)
{
    int const descriptor = openDescriptor(name, mode);
    if (descriptor < 0)
        return nullptr;
    gzFile const file = ::gzdopen(descriptor, mode == StreamMode::Read ? "rb" : "wb");
    if (!file)
        ::close(descriptor);
    return file;
}

} // namespace ox::platform
