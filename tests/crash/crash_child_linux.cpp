#include "shared/crash/crash_handler.h"
#include "shared/system/os_error.h"
#include "tests/crash/crash_child_system.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <ucontext.h>
#include <unistd.h>

namespace
{

/// Volatile, so that the compiler does not remove the accesses. The second block keeps free() from
/// merging the first block with the free space at the end of the heap.
void * volatile blocks[2];

void allocateBlocks()
{
    for (void * volatile & block : blocks)
        block = std::malloc(2000);
}

/// Crashes inside malloc while malloc holds the lock of the heap. The function overwrites a pointer
/// in a freed block with an invalid address, and the next allocation uses this pointer.
void crashInMalloc()
{
    std::thread([] {}).join(); // malloc takes no lock before the process starts a thread
    allocateBlocks();
    std::free(blocks[0]);
    static_cast<void * volatile *>(blocks[0])[1] = reinterpret_cast<void *>(16);
    blocks[1] = std::malloc(4000);
}

void freeTwice()
{
    allocateBlocks();
    std::free(blocks[0]);
    std::free(blocks[0]);
}

/// Limits the size of files, so that only the beginning of a dump can be written, as on a full
/// disk.
void limitFileSize()
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit const limit{4096, 4096};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

void useAllDescriptors()
{
    rlimit const limit{100, 100};
    ::setrlimit(RLIMIT_NOFILE, &limit);
    while (::open("/dev/zero", O_RDONLY) >= 0)
        continue;
}

void crashInForkedChild()
{
    if (::fork() == 0)
        blocks[0] = static_cast<void **>(blocks[0])[0];
}

} // namespace

bool doSystemWord(char const * word)
{
    static constexpr std::pair<char const *, void (*)()> words[] = {
        {"malloc", crashInMalloc},
        {"double-free", freeTwice},
        {"full", limitFileSize},
        {"open-all", useAllDescriptors},
        {"protect", [] { ::prctl(PR_SET_DUMPABLE, 0); }},
        {"still-protected", [] { ::prctl(PR_GET_DUMPABLE) == 0 ? void() : std::_Exit(1); }},
        {"fork", crashInForkedChild}};
    for (auto const & [known, act] : words) {
        if (std::strcmp(known, word) == 0)
            return act(), true;
    }
    return false;
}

void installEarlierHandler()
{
    std::signal(SIGSEGV, [](int) { std::_Exit(17); });
}

bool dumpForException()
{
    ucontext_t context;
    ::getcontext(&context);
    EXCEPTION_RECORD record{0xC0000094, 0, reinterpret_cast<void *>(&dumpForException)};
    EXCEPTION_POINTERS exception{&record, &context};
    _oxString<250> message;
    return filter(&exception, message) == 1 &&
           message.view() == exceptionCodeText(0xC0000094).view();
}
