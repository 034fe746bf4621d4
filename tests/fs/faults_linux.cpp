// What a share or a neighbour does to a lock file, for the other process: the linker puts these
// functions in place of the system's. The environment variable OX_TEST_FAULT names the fault.

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

extern "C" {
int __real_unlink(char const * name);
int __real_rename(char const * from, char const * to);
int __real_flock(int descriptor, int operation);
int __wrap_unlink(char const * name);
int __wrap_rename(char const * from, char const * to);
int __wrap_flock(int descriptor, int operation);
}

namespace
{

bool isFault(char const * name)
{
    char const * const fault = std::getenv("OX_TEST_FAULT");
    return fault && std::strcmp(fault, name) == 0;
}

bool isOpenHere(char const * name)
{
    struct stat named;
    struct stat opened;
    if (::lstat(name, &named) != 0)
        return false;
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        if (::fstat(descriptor, &opened) == 0 && opened.st_dev == named.st_dev &&
            opened.st_ino == named.st_ino)
            return true;
    }
    return false;
}

bool isRefused(char const * name)
{
    errno = EBUSY;
    return isFault("refuses to remove") ||
           (isFault("refuses to remove open files") && isOpenHere(name));
}

} // namespace

int __wrap_unlink(char const * name)
{
    return isRefused(name) ? -1 : __real_unlink(name);
}

int __wrap_rename(char const * from, char const * to)
{
    return isRefused(from) ? -1 : __real_rename(from, to);
}

/// Somebody else takes a flock of the file between its creation and the creator's first try.
int __wrap_flock(int descriptor, int operation)
{
    static int calls = 0;
    static int neighbour = -1;
    bool const looks = isFault("looks");
    bool const leaves = isFault("examines and leaves");
    if (calls++ == 0 && (looks || leaves || isFault("examines"))) {
        std::string const file = "/proc/self/fd/" + std::to_string(descriptor);
        neighbour = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
        __real_flock(neighbour, looks ? LOCK_SH : LOCK_EX);
    }
    constexpr int someTries = 12;
    if (leaves && calls == someTries)
        ::close(neighbour);
    return __real_flock(descriptor, operation);
}
