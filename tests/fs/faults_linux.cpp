// Simulates a share that refuses to remove lock files, and another process that holds a flock on a
// lock file. The linker replaces system calls of the child program by the functions in this file.
// The environment variable OX_TEST_FAULT selects the fault.

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

/// The library calls flock for the first time after it has created the lock file. Before this call
/// takes effect, the function takes a conflicting flock through a second descriptor of the file, as
/// another process would.
int __wrap_flock(int descriptor, int operation)
{
    static int calls = 0;
    static int other = -1;
    bool const isShared = isFault("shared flock");
    bool const isBrief = isFault("brief exclusive flock");
    if (calls++ == 0 && (isShared || isBrief || isFault("exclusive flock"))) {
        std::string const file = "/proc/self/fd/" + std::to_string(descriptor);
        other = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
        __real_flock(other, isShared ? LOCK_SH : LOCK_EX);
    }
    constexpr int triesBeforeRelease = 12;
    if (isBrief && calls == triesBeforeRelease)
        ::close(other);
    return __real_flock(descriptor, operation);
}
