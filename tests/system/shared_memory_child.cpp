// The other process in the tests of shared memory. Exit codes: 0 done, 100 usage, others as the
// command says.

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

/// Tells the test that the segment is there, and keeps it until standard input ends.
int hold()
{
    ox::tests::printAndWait("held");
    return 0;
}

/// Creates the segment, or returns the error.
int create(oxSharedMemory & memory, int size)
{
    return memory.create(size, true, true) ? hold() : memory.error();
}

/// Attaches and takes the lock. 101: not attached, 102: not locked.
int lock(oxSharedMemory & memory, int)
{
    if (!memory.attach())
        return 101;
    return memory.lock() ? hold() : 102;
}

/// Adds 1 to the first byte, count times under the lock, slowly enough for the others to notice
/// what the lock does not keep out. 101: not attached.
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

/// Tries to create the segment, count times, and attaches in between, as the others do. 101: two
/// have created it, 102: an error that should not be.
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
