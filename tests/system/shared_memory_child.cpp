// The second process in tests of shared memory. Exit codes of all commands: 0 success, 100 wrong
// arguments. The comment of a command lists its other exit codes.

#include "shared/system/environment.h"
#include "shared/system/shared_memory.h"
#include "tests/support/child_side.h"

#include <QDir>
#include <QFile>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

/// Reports to the test that the segment is attached, and keeps it until standard input ends.
int hold()
{
    ox::tests::printAndWait("held");
    return 0;
}

/// Creates the segment and holds it. If create() fails, the exit code is the segment's error code.
int create(oxSharedMemory & memory, int size)
{
    return memory.create(size, true, true) ? hold() : memory.error();
}

/// Attaches to the segment and takes its lock. Exit codes: 101 not attached, 102 not locked.
int lock(oxSharedMemory & memory, int)
{
    if (!memory.attach())
        return 101;
    return memory.lock() ? hold() : 102;
}

/// Adds 1 to the first byte `count` times, each time under the lock. Pauses between the read and
/// the write, so that a lock that does not work loses updates. Exit code 101: not attached.
int increment(oxSharedMemory & memory, int count)
{
    if (!memory.attach())
        return 101;
    for (int done = 0; done < count;) {
        if (!memory.lock())
            continue;
        std::byte & counter = memory.bytes()[0];
        auto const before = std::to_integer<int>(counter);
        oxSleep(2);
        counter = static_cast<std::byte>(before + 1);
        memory.unlock();
        ++done;
        oxSleep(1 + done * 7 % 11);
    }
    return 0;
}

/// Tries `count` times to create the segment and to attach to it, at the same time as other
/// processes. Exit codes: 101 two processes created the segment, 102 unexpected error.
int contend(oxSharedMemory & memory, int count)
{
    QString const markerName = QDir::temp().filePath(memory.localName());
    for (int i = 0; i < count; ++i) {
        if (memory.create(100, true, true)) {
            QFile marker(markerName);
            if (!marker.open(QIODevice::WriteOnly | QIODevice::NewOnly) || !marker.remove())
                return 101;
        } else if (memory.error() != oxSharedMemory::AlreadyExists) {
            return 102;
        }
        memory.detach();
        if (!memory.attach() && memory.error() != oxSharedMemory::DoesNotExist)
            return 102;
        memory.detach();
    }
    return 0;
}

} // namespace

int main(int argc, char ** argv)
{
    struct {
        char const * name;
        int (*run)(oxSharedMemory & memory, int number);
    } const commands[] = {
        {"create", create}, {"lock", lock}, {"increment", increment}, {"contend", contend}};
    for (auto const & command : commands) {
        if (argc > 2 && std::strcmp(argv[1], command.name) == 0) {
            oxSharedMemory memory(argv[2]);
            return command.run(memory, argc > 3 ? std::atoi(argv[3]) : 0);
        }
    }
    return 100;
}
