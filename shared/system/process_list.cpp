#include "shared/system/process_list.h"

#include "shared/platform/machine.h"
#include "shared/platform/processes.h"
#include "shared/system/environment.h"
#include "shared/system/os_error.h"
#include "shared/system/process_figures.h"

#include <QStringList>

#include <array>
#include <vector>

using ox::platform::ProcessOwner;

/// The heap memory of a list, allocated as one block.
struct ox::system::ProcessListBlock {
    alignas(8) std::array<char, platform::ProcessTable::rawSize> raw{}; ///< memory of perfBuffer
    platform::ProcessTable table{raw};
    platform::ProcessOwners owners;
};

namespace
{

/// Enables the privilege to open processes of other users.
void requestDebugPrivilege()
{
    static_cast<void>(ox::platform::setPrivilege("SeDebugPrivilege", true));
}

/// Calls `visit` for each entry whose name is `name`. `name` must be in upper case; an empty `name`
/// matches no entry.
template <typename Visit>
void forEachNamed(_oxProcessList const & list, _oxString8_UnevenSize<25> const & name,
                  Visit const & visit)
{
    for (int i = 0; i < list.count && name.hasData(); ++i) {
        if (list.entries[i].name == name)
            visit(list.entries[i]);
    }
}

} // namespace

// The block is not zeroed, since its tables are large and mostly unused.
_oxProcessList::_oxProcessList()
    : block_(std::make_unique_for_overwrite<ox::system::ProcessListBlock>()),
      perfBuffer(block_->raw.data())
{
    requestDebugPrivilege();
    initGetProcessInfo();
}

_oxProcessList::~_oxProcessList() = default;

void _oxProcessList::collectAllProcesses()
{
    collectProcesses({});
}

void _oxProcessList::collectProcesses(_oxString8_UnevenSize<25> const & prefix)
{
    collected = true;
    count = 0;
    total_ = 0;
    block_->owners.forget();
    auto const add = [this](std::uint32_t id, std::uint32_t parentId, auto const & name) {
        ++total_;
        if (count == capacity)
            return false;
        entries[count++] = {name, {}, id, parentId, 0, 0};
        return true;
    };
    auto const keep = [&](ox::platform::ListedProcess const & process) {
        // Entry 0 must be the idle process: getProcessInfo skips entry 0, so any other process in
        // entry 0 would stay without values.
        if (count == 0)
            add(0, 0, "IDLE");
        _oxString8_UnevenSize<25> name(process.name);
        name.makeUpper();
        bool const isWanted = prefix.isEmpty() || name.startsWith(prefix);
        return process.id != 0 && isWanted && add(process.id, process.parentId, name);
    };
    ox::platform::reportToThread(block_->table.list(keep));
}

void _oxProcessList::initGetProcessInfo()
{
    std::array<std::uint32_t, capacity> ids;
    for (int i = 0; i < count; ++i) {
        entries[i].memMB = 0;
        entries[i].cpuTime = 0;
        ids[static_cast<std::size_t>(i)] = entries[i].pid;
    }
    auto const listed = std::span(ids).first(static_cast<std::size_t>(count));
    auto const time = collected ? block_->table.readCounters(listed) //
                                : block_->table.readAllCounters();
    if (!time)
        recordFailedReading(time.error());
    perfTimeDelta = static_cast<double>(time.value_or(0) - perfTime);
    perfTime = time.value_or(0);
}

void _oxProcessList::recordFailedReading(ox::platform::Error const & error)
{
    errorText.add(error.step).add(" ").add(oxLastOSError8(error.code).view()).add(";  ");
    ox::platform::setLastError(error);
}

/// Returns whether memory, processor time and user of an entry may be read.
/// Compatibility: the unused entry after the last entry is included, since the farm's applications
/// read it.
bool _oxProcessList::isReadable(int index) const
{
    return index >= 1 && index <= count && index < capacity;
}

bool _oxProcessList::readMemoryAndTime(_oxProcessEntry & entry)
{
    if (entry.cpuTime != 0 || entry.memMB != 0)
        return false;
    auto const counters = block_->table.counters(entry.pid);
    if (!counters)
        return false;
    entry.cpuTime = counters->cpuTime;
    entry.memMB = ox::system::shownMemory(counters->workingSet);
    return counters->workingSet == ox::system::cutWorkingSet;
}

void _oxProcessList::readUser(_oxProcessEntry & entry)
{
    ProcessOwner const owner = block_->owners.of(entry.pid);
    switch (owner.kind) {
    case ProcessOwner::Account:
        entry.user = owner.name.data();
        break;
    case ProcessOwner::BuiltInGroup:
        entry.user = "System";
        break;
    case ProcessOwner::AccessDenied:
        entry.user = "AccDenied";
        break;
    case ProcessOwner::NoAccount:
        entry.user = "noSID";
        break;
    case ProcessOwner::Unknown:
        entry.user = "";
        if (owner.error != 0)
            entry.user.add("Err").addNr(owner.error);
        break;
    case ProcessOwner::NotOpened:
        entry.user = "noDebugPriv";
        break;
    }
}

void _oxProcessList::getProcessInfo(int index)
{
    if (!isReadable(index))
        return;
    if (readMemoryAndTime(entries[index]))
        fix32bit_4GBmemory();
    readUser(entries[index]);
}

void _oxProcessList::getProcessInfoMemCPUOnly(int index)
{
    if (isReadable(index))
        readMemoryAndTime(entries[index]);
}

long long _oxProcessList::getProcessInfoMemBytes_CPUOnly(int index)
{
    if (!isReadable(index))
        return 0;
    _oxProcessEntry & entry = entries[index];
    int const memMB = entry.memMB;
    readMemoryAndTime(entry);
    entry.memMB = memMB;
    return 0;
}

void _oxProcessList::fix32bit_4GBmemory()
{
    auto const memory = ox::platform::physicalMemory();
    if (!ox::platform::reportToThread(memory))
        return;
    auto const mebibytes = [](std::uint64_t bytes) {
        return static_cast<std::int64_t>(ox::text::wholeMebibytes(bytes));
    };
    std::int64_t usedMB = mebibytes(memory->total - memory->available);
    // kernelMemory needs a buffer of its own, since `perfBuffer` still contains the counters of the
    // entries that are read below.
    std::vector<char> buffer(65536);
    if (auto const kernel = ox::platform::kernelMemory(buffer)) {
        // Compatibility: the cache counts 10 % more, as in the farm's applications.
        usedMB -= mebibytes(kernel->cache + kernel->cache / 10);
        usedMB -= mebibytes(kernel->pagedPool) + mebibytes(kernel->nonPagedPool);
    } else {
        recordFailedReading(kernel.error());
    }
    for (int i = 0; i < count; ++i)
        getProcessInfoMemCPUOnly(i);
    ox::system::distributeMemory({entries, static_cast<std::size_t>(count)}, usedMB);
}

void _oxProcessList::collectIfNeeded(bool refresh)
{
    if (refresh || !collected)
        collectAllProcesses();
}

int _oxProcessList::getListIDByPID(unsigned int pid, bool refresh)
{
    collectIfNeeded(refresh);
    auto const end = entries + count;
    auto const found = std::find_if(
        entries, end, [pid](_oxProcessEntry const & entry) { return entry.pid == pid; });
    return found != end ? static_cast<int>(found - entries) : -1;
}

bool _oxProcessList::processExistsPID(unsigned int pid, bool refresh)
{
    return getListIDByPID(pid, refresh) >= 0;
}

bool _oxProcessList::processExists(_oxString8_UnevenSize<25> name, bool refresh, long long *)
{
    if (name.isEmpty())
        return false;
    collectIfNeeded(refresh);
    bool exists = false;
    forEachNamed(*this, name.makeUpper(), [&exists](_oxProcessEntry const &) { exists = true; });
    return exists;
}

bool _oxProcessList::doesProcessExistTwice(_oxString8_UnevenSize<25> name, long long * pidOut)
{
    collectIfNeeded(false);
    int matches = 0;
    forEachNamed(*this, name.makeUpper(), [&](_oxProcessEntry const & entry) {
        ++matches;
        if (pidOut)
            *pidOut = entry.pid;
    });
    return matches > 1;
}

void _oxProcessList::killProcess(unsigned int const & pid)
{
    requestDebugPrivilege();
    ox::platform::killProcess(pid);
}

void _oxProcessList::killProcess(_oxString8_UnevenSize<25> name)
{
    collectIfNeeded(false);
    forEachNamed(*this, name.makeUpper(),
                 [this](_oxProcessEntry const & entry) { killProcess(entry.pid); });
}

void _ProcessWatch::calcCPUUsage(_oxProcessList const * list, int const & index, int const &)
{
    if (!list || index < 0 || index >= _oxProcessList::capacity)
        return;
    long long const cpuTime = list->entries[index].cpuTime;
    bool const measured = list->perfTimeDelta > 1.0 && lastCpuTime > 0;
    cpuUsage = measured ? static_cast<float>(static_cast<double>(cpuTime - lastCpuTime) /
                                             list->perfTimeDelta * 100)
                        : 0;
    lastCpuTime = cpuTime;
}

bool setPrivilege(char const * privilegeName, bool enable)
{
    return privilegeName &&
           ox::platform::reportToThread(ox::platform::setPrivilege(privilegeName, enable));
}

bool ourProcessAlreadyExists(_oxString8_UnevenSize<25> baseName, bool isConsole, bool checkConsole,
                             long long * pidOut)
{
    auto const program = [&baseName](char const * variant) {
        auto name = baseName;
        return name.add(variant).add(ox::platform::executableSuffix);
    };
    auto const own = program("");
    auto const console = program("console");
    auto const list = std::make_unique<_oxProcessList>();
    // The calling process is in the list, too, so its own name must occur twice.
    if (!checkConsole)
        return list->doesProcessExistTwice(own, pidOut);
    if (!isConsole)
        return list->doesProcessExistTwice(own, pidOut) || list->processExists(console, false);
    return list->processExists(own, false, pidOut) || list->doesProcessExistTwice(console);
}

namespace
{

void readAll(_oxProcessList & list, std::vector<_ProcessWatch> & watches)
{
    list.collectAllProcesses();
    list.initGetProcessInfo();
    for (int i = 0; i < list.count; ++i) {
        _ProcessWatch & watch = watches[static_cast<std::size_t>(i)];
        list.getProcessInfo(i);
        watch.pid = list.entries[i].pid;
        watch.name = list.entries[i].name;
        watch.calcCPUUsage(&list, i, 0);
    }
}

QString lineOf(_oxProcessEntry const & entry, float cpuUsage, int coreCount, bool withPid)
{
    QString usage = QString::number(qRound(cpuUsage)) + QLatin1Char('%');
    if (coreCount >= 1)
        usage += QStringLiteral("(%1%)").arg(static_cast<double>(cpuUsage) / coreCount, 0, 'f', 1);
    QString const line =
        QStringLiteral("%1 %2 %3mb %4")
            .arg(QString(entry.name), usage, QString::number(entry.memMB), QString(entry.user));
    return withPid ? line + QStringLiteral(" %1").arg(entry.pid) : line;
}

/// Measures all processes over waitMs milliseconds. Returns a line for each process for which
/// `accept(entry, usage)` returns true; `usage` is the CPU usage of the process.
template <typename Accept>
QStringList linesOver(int waitMs, int coreCount, bool withPid, Accept const & accept)
{
    auto const list = std::make_unique<_oxProcessList>();
    std::vector<_ProcessWatch> watches(_oxProcessList::capacity);
    readAll(*list, watches);
    watches.resize(static_cast<std::size_t>(list->count));
    oxSleep(waitMs);
    list->collectAllProcesses();
    list->initGetProcessInfo();
    QStringList lines;
    for (_ProcessWatch & watch : watches) {
        int const i = list->getListIDByPID(watch.pid, false);
        if (i < 0)
            continue;
        list->getProcessInfo(i);
        watch.calcCPUUsage(list.get(), i, coreCount);
        if (accept(list->entries[i], watch.cpuUsage))
            lines += lineOf(list->entries[i], watch.cpuUsage, coreCount, withPid);
    }
    return lines;
}

} // namespace

QString listProcess(_oxString8_UnevenSize<25> namePrefix, int waitMs, int coreCount, bool withPid)
{
    auto const hasPrefix = [&namePrefix](_oxProcessEntry const & entry, float) {
        return entry.name.startsWith(namePrefix);
    };
    return linesOver(waitMs, coreCount, withPid, hasPrefix).join(QLatin1Char('\n'));
}

QString listAllProcesses(int minCorePerc, int waitMs, int coreCount, bool withPid)
{
    constexpr int largeMB = 500;
    auto const isBusyOrLarge = [minCorePerc](_oxProcessEntry const & entry, float cpuUsage) {
        return cpuUsage >= static_cast<float>(minCorePerc) - 0.5f || entry.memMB > largeMB;
    };
    QString const minimum = QString::number(minCorePerc);
    QString report =
        coreCount < 1 ? QStringLiteral("List Processes (minCore=%1%) %2%\n").arg(minimum, minimum)
                      : QStringLiteral("List Processes (minCore=%1% (%2% total))%3")
                            .arg(minimum, QString::number(double(minCorePerc) / coreCount, 'f', 1),
                                 QStringLiteral("\n"));
    QStringList lines = linesOver(waitMs, coreCount, withPid, isBusyOrLarge);
    for (QString & line : lines)
        line.prepend(QStringLiteral("  "));
    return report + lines.join(QLatin1Char('\n'));
}
