#include "client/linux/handler/exception_handler.h"
#include "shared/crash/crash_handler.h"

#include <benchmark/benchmark.h>

#include <QString>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

// The measured work runs in a child process, which writes its duration in seconds to a pipe.

namespace
{

using google_breakpad::ExceptionHandler;
using google_breakpad::MinidumpDescriptor;
using Clock = std::chrono::steady_clock;

int durationPipe = -1;
Clock::time_point start;

void reportSeconds()
{
    std::chrono::duration<double> const taken = Clock::now() - start;
    double const seconds = taken.count();
    if (::write(durationPipe, &seconds, sizeof seconds) != sizeof seconds)
        ::_exit(1);
}

/// Runs the work in a child process with a temporary folder. Returns the seconds that the child
/// reports.
double secondsOfChild(std::function<void(std::string const & folder)> const & work)
{
    QTemporaryDir const folder;
    int ends[2];
    if (::pipe(ends) != 0)
        std::abort();
    pid_t const child = ::fork();
    if (child == 0) {
        durationPipe = ends[1];
        work(folder.path().toStdString());
        ::_exit(0);
    }
    ::close(ends[1]);
    double seconds = 0;
    bool const isReported = ::read(ends[0], &seconds, sizeof seconds) == sizeof seconds;
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
    if (!isReported)
        std::abort();
    return seconds;
}

void crash()
{
    start = Clock::now();
    *static_cast<int volatile *>(nullptr) = 1;
}

/// Reports the duration to the parent process when the library logs the final name of the dump.
class TimingLogger : public oxLogger
{
  public:
    void log(int, _oxString8_evenSize<500> const & text, bool) override
    {
        if (text.startsWith("wrote dumpfile to "))
            reportSeconds();
    }
};

void init(std::string const & folder)
{
    static TimingLogger logger;
    static __OX context{_oxTime(true), &logger, {}, "bench.txt"};
    oxCrashHandler::instance()->init(context, 0, nullptr);
    oxCrashHandler::instance()->setDumpPath(QString::fromStdString(folder));
}

/// Renames the dump as the library does, but without a pause before the rename.
bool rename(MinidumpDescriptor const & dump, void * folder, bool succeeded)
{
    char name[1000];
    std::snprintf(name, sizeof name, "%s/bench.oxdmp", static_cast<char const *>(folder));
    if (!succeeded || std::rename(dump.path(), name) != 0)
        ::_exit(1);
    reportSeconds();
    return true;
}

ExceptionHandler * installBreakpad(std::string const & folder)
{
    return new ExceptionHandler(MinidumpDescriptor(folder), nullptr, rename,
                                const_cast<char *>(folder.c_str()), true, -1);
}

/// Measures the time from the fault until the dump has its final name.
void crashOurs(std::string const & folder)
{
    init(folder);
    crash();
}

void crashBreakpad(std::string const & folder)
{
    benchmark::DoNotOptimize(installBreakpad(folder));
    crash();
}

/// Measures the time that the installation of the crash handler takes at the start of a program.
void initOurs(std::string const & folder)
{
    start = Clock::now();
    init(folder);
    reportSeconds();
}

void initBreakpad(std::string const & folder)
{
    start = Clock::now();
    benchmark::DoNotOptimize(installBreakpad(folder));
    reportSeconds();
}

void add(char const * name, void (*work)(std::string const &), int times)
{
    benchmark::RegisterBenchmark(name,
                                 [work](benchmark::State & state) {
                                     for (auto _ : state)
                                         state.SetIterationTime(secondsOfChild(work));
                                 })
        ->UseManualTime()
        ->Iterations(times)
        ->Unit(benchmark::kMillisecond);
}

[[maybe_unused]] bool const isRegistered = [] {
    add("crash/null/oxShared", crashOurs, 20);
    add("crash/null/breakpad", crashBreakpad, 20);
    add("init/once/oxShared", initOurs, 200);
    add("init/once/breakpad", initBreakpad, 200);
    return true;
}();

} // namespace
