// Examples in the reference documentation: the machine, its processes, and crashes.

#include "examples/reference/check.h"
#include "shared/oxshared.h"

#include <cstring>
#include <memory>

namespace
{

void machineExample()
{
    //! [machine]
    auto const machine = std::make_unique<_oxSysInfo>(); // 400 KiB, therefore on the heap
    machine->update(false);
    std::printf("%s, %d cores, %d of %d MiB free, load %s\n", qPrintable(machine->osString),
                machine->coreCount, machine->freeMemoryMB, machine->totalMemoryMB,
                qPrintable(machine->cpuUsage.strSystemPerc()));
    CHECK(machine->coreCount > 0);
    //! [machine]
}

void processesExample()
{
    //! [processes]
    auto const list = std::make_unique<_oxProcessList>(); // 80 KiB, therefore on the heap
    list->collectAllProcesses();
    list->initGetProcessInfo();
    for (int i = 1; i < list->count && i < 4; ++i) { // entry 0 is the idle process
        list->getProcessInfo(i);
        _oxProcessEntry const & process = list->entries[i];
        std::printf("%u %s, %d MiB\n", process.pid, process.name.c_str(), process.memMB);
    }
    CHECK(list->count > 1);
    //! [processes]
}

void sharedMemoryExample()
{
    //! [shared_memory]
    struct State {
        int activeJob;
    };
    oxSharedMemory server("ReferenceExample"); // stays attached, so the segment exists
    if (!server.attach())
        CHECK(server.create(sizeof(State), false, false));

    oxSharedMemory client("ReferenceExample"); // stands for another process
    CHECK(client.attach());
    if (client.lock()) {
        State const state{17};
        std::memcpy(client.bytes().data(), &state, sizeof state);
        client.unlock();
    }
    State seen;
    std::memcpy(&seen, server.bytes().data(), sizeof seen);
    CHECK(seen.activeJob == 17);
    //! [shared_memory]
}

void environmentExample()
{
    //! [environment]
    CHECK(!oxGetEnvironmentVariable(QStringLiteral("PATH")).isEmpty());
    _oxString8_evenSize<250> folder;
    if (oxApplicationPath(folder, nullptr))
        std::printf("%s\n", folder.c_str()); // the program's folder with a final separator
    //! [environment]
}

void identityExample()
{
    //! [identity]
    CHECK(ox_AppType_asString(ox_AppType::Client) == "Client");
    CHECK(OS2String_short(_oxOS::Linux, false) == QStringLiteral("lx"));
    std::printf("%s, %s\n", qPrintable(osBitStr()), // "lx64"
                oxIsSystemAdmin() ? "administrator" : "ordinary user");
    //! [identity]
}

void errorsExample()
{
    //! [os_errors]
    CHECK(oxLastOSError(0) == "No Error.");
    if (!oxCreateFolder(QStringLiteral("/none/none"), false))
        std::puts(oxLastOSError8().c_str()); // "Error 2: No such file or directory."
    //! [os_errors]
}

void versionExample()
{
    //! [version]
#if OX_VERSION >= OX_VERSION_CHECK(7, 0, 26)
    std::printf("compiled with %s, runs with %s\n", OX_VERSION_STRING, oxVersionString());
#endif
    CHECK(oxVersion() / 0x10000 == OX_VERSION_MAJOR);
    //! [version]
}

#ifndef OX_NO_CRASH_HANDLER
//! [crashes]
class Logger : public oxLogger
{
    void log(int, _oxString8_evenSize<500> const & text, bool) override
    {
        std::fputs(text.c_str(), stderr); // allocates nothing: the heap may be damaged
    }
};

void installCrashHandler(int argc, char ** argv, QString const & dumps)
{
    static Logger logger;
    static __OX context{_oxTime(true), &logger, dumps, "client.txt"};
    oxCrashHandler::instance()->init(context, argc, argv);
    oxCrashHandler::instance()->setDumpPathDefault(); // dumps go to the log folder
}
//! [crashes]
#endif

} // namespace

void systemExamples(int argc, char ** argv, QString const & folder)
{
    for (auto const example : {machineExample, processesExample, sharedMemoryExample,
                               environmentExample, identityExample, errorsExample, versionExample})
        example();
#ifndef OX_NO_CRASH_HANDLER
    installCrashHandler(argc, argv, folder);
    CHECK(oxCrashHandler::instance()->writeMinidump());
#endif
}
