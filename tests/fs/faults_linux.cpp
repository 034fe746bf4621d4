// Simulates faults of a lock file that a share or another process causes. The linker replaces
// system calls of the child program by the functions in this file. The environment variable
// OX_TEST_FAULT selects the fault.

#include "tests/support/descriptor_linux.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
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

bool isRefused(char const * name)
{
    errno = EBUSY;
    return isFault("refuses to remove") ||
           (isFault("refuses to remove open files") && ox::tests::descriptorOf(name) >= 0);
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

/// Before the first call, takes a flock through a second descriptor of the same file. The creator
/// of a lock file has created the file then, and does not get the exclusive flock.
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
    constexpr int triesBeforeRelease = 12;
    if (leaves && calls == triesBeforeRelease)
        ::close(neighbour);
    return __real_flock(descriptor, operation);
}
