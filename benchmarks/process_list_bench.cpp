#include "shared/system/process_list.h"

#include <benchmark/benchmark.h>
#include <libproc2/pids.h>

#include <QProcess>

#include <array>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>

#include <malloc.h>

namespace
{

constexpr int processCount = 400;

/// Starts idle processes in addition to the processes of the machine. The destructor kills them.
class Sleepers
{
  public:
    Sleepers()
    {
        for (auto & process : processes_) {
            process = std::make_unique<QProcess>();
            process->setStandardInputFile(QProcess::nullDevice());
            process->setStandardOutputFile(QProcess::nullDevice());
            process->setStandardErrorFile(QProcess::nullDevice());
            process->start(QStringLiteral("sleep"), {QStringLiteral("3600")});
            if (!process->waitForStarted())
                std::abort();
        }
    }
    ~Sleepers()
    {
        for (auto & process : processes_) {
            process->kill();
            process->waitForFinished();
        }
    }

  private:
    std::array<std::unique_ptr<QProcess>, processCount> processes_;
};

void startSleepers()
{
    static Sleepers const sleepers;
}

/// Sums over all processes. The benchmark uses the sums, so that the compiler cannot remove the
/// measured code.
struct Totals {
    int processes = 0;
    long long memory = 0;
    long long time = 0;
    unsigned long names = 0;

    void requireAll() const
    {
        if (processes < processCount || memory < processCount || names < processCount)
            std::abort();
    }
};

_oxProcessList & list()
{
    static auto const kept = std::make_unique<_oxProcessList>();
    return *kept;
}

Totals idsAndNamesByOxShared()
{
    list().collectAllProcesses();
    return {list().count, processCount, 0, processCount};
}

Totals everythingByOxShared()
{
    list().collectAllProcesses();
    list().initGetProcessInfo();
    Totals totals;
    for (int i = 0; i < list().count; ++i, ++totals.processes) {
        list().getProcessInfo(i);
        _oxProcessEntry const & entry = list().entries[i];
        totals.memory += entry.memMB;
        totals.time += entry.cpuTime;
        totals.names += entry.name.view().size() + entry.user.view().size();
    }
    return totals;
}

/// Reads the given items of all processes. Calls `add` with the results of each process, in the
/// order of the items.
template <typename Add>
Totals readByLibproc(pids_info *& info, pids_item const * items, int itemCount, Add const & add)
{
    if (!info && procps_pids_new(&info, const_cast<pids_item *>(items), itemCount) < 0)
        std::abort();
    pids_fetch const * const fetched = procps_pids_reap(info, PIDS_FETCH_TASKS_ONLY);
    if (!fetched)
        std::abort();
    Totals totals;
    for (int i = 0; i < fetched->counts->total; ++i, ++totals.processes)
        add(*fetched->stacks[i], totals);
    return totals;
}

Totals idsAndNamesByLibproc()
{
    static constexpr pids_item items[] = {PIDS_ID_PID, PIDS_ID_PPID, PIDS_CMD};
    static pids_info * info = nullptr;
    Totals totals =
        readByLibproc(info, items, std::size(items), [](pids_stack const & stack, Totals & sum) {
            sum.names += std::strlen(stack.head[2].result.str);
        });
    totals.memory = processCount;
    return totals;
}

Totals everythingByLibproc()
{
    static constexpr pids_item items[] = {PIDS_ID_PID,  PIDS_ID_PPID,  PIDS_CMD,
                                          PIDS_MEM_RES, PIDS_TICS_ALL, PIDS_ID_EUSER};
    static pids_info * info = nullptr;
    return readByLibproc(info, items, std::size(items), [](pids_stack const & stack, Totals & sum) {
        sum.names += std::strlen(stack.head[2].result.str);
        sum.memory += static_cast<long long>(stack.head[3].result.ul_int);
        sum.time += static_cast<long long>(stack.head[4].result.ull_int);
        sum.names += std::strlen(stack.head[5].result.str);
    });
}

Totals everythingByPs()
{
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.start(QStringLiteral("ps"),
                  {QStringLiteral("-eo"), QStringLiteral("pid,ppid,comm,rss,time,user")});
    if (!process.waitForFinished() || process.exitCode() != 0)
        std::abort();
    return {processCount, processCount, 0, processCount};
}

void add(char const * name, Totals (*read)())
{
    benchmark::RegisterBenchmark(name,
                                 [read](benchmark::State & state) {
                                     startSleepers();
                                     for ([[maybe_unused]] auto _ : state)
                                         read().requireAll();
                                 })
        ->Unit(benchmark::kMicrosecond)
        ->UseRealTime();
}

/// Takes snapshots of all processes. The counter grownBytes reports by how much the heap has grown.
void takeSnapshots(benchmark::State & state)
{
    everythingByOxShared();
    auto const before = ::mallinfo2();
    for ([[maybe_unused]] auto _ : state)
        everythingByOxShared();
    auto const after = ::mallinfo2();
    state.counters["grownBytes"] = static_cast<double>(after.uordblks + after.hblkhd) -
                                   static_cast<double>(before.uordblks + before.hblkhd);
}

[[maybe_unused]] bool const registered = [] {
    benchmark::RegisterBenchmark("snapshots/10000/oxShared", takeSnapshots)
        ->Iterations(10000)
        ->Repetitions(1)
        ->Unit(benchmark::kMicrosecond);
    add("idsAndNames/400/oxShared", idsAndNamesByOxShared);
    add("idsAndNames/400/libproc2", idsAndNamesByLibproc);
    add("everything/400/oxShared", everythingByOxShared);
    add("everything/400/libproc2", everythingByLibproc);
    add("everything/400/ps", everythingByPs);
    return true;
}();

} // namespace
