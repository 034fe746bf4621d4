#include "shared/platform/gzip_files.h"

#include <fcntl.h>
#include <unistd.h>

namespace ox::platform
{

gzFile openGzip(NativeName const & name, StreamMode mode)
{
    static constexpr int flags[] = {O_RDONLY | O_NONBLOCK, O_WRONLY | O_CREAT | O_TRUNC,
                                    O_WRONLY | O_CREAT | O_APPEND};
    static constexpr char const * modes[] = {"rb", "wb", "ab"};
    auto const index = static_cast<int>(mode);
    int const descriptor = ::open(name.c_str(), flags[index] | O_CLOEXEC, 0666);
    if (descriptor < 0)
        return nullptr;
    gzFile const file = ::gzdopen(descriptor, modes[index]);
    if (!file)
        ::close(descriptor);
    return file;
}

} // namespace ox::platform
