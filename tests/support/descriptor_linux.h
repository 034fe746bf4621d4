#pragma once

#include <sys/stat.h>

namespace ox::tests
{

/// Returns this process's descriptor of an open file, or -1 if the file is not open.
inline int descriptorOf(char const * path)
{
    struct stat named;
    struct stat opened;
    if (::lstat(path, &named) != 0)
        return -1;
    for (int descriptor = 0; descriptor < 1000; ++descriptor) {
        if (::fstat(descriptor, &opened) == 0 && opened.st_dev == named.st_dev &&
            opened.st_ino == named.st_ino)
            return descriptor;
    }
    return -1;
}

} // namespace ox::tests
