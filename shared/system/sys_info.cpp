#include "shared/system/sys_info.h"

#include "shared/system/sys_info_rules.h"
#include "shared/text/mebibytes.h"
#include "shared/text/utf16_view.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <span>

using ox::platform::IdleSample;
using ox::system::busyShare;
using ox::system::difference;
using ox::text::wholeMebibytes;

namespace
{

constexpr int largest = std::numeric_limits<int>::max();

std::span<char> perfBufferOf(_oxSysInfo & info)
{
    return {info.perfBuffer.get(), static_cast<std::size_t>(_oxSysInfo::perfBufferSize)};
}

} // namespace

_oxSysInfo::_oxSysInfo() : perfBuffer(std::make_unique<char[]>(perfBufferSize))
{
    readDisk(false);
    ox::platform::enablePerformanceCounters();
    getCpuInfo();
    if (auto const version = ox::platform::systemVersion()) {
        auto const name = ox::system::systemNameOf(*version);
        osString = name.text;
        osVersionNumber = name.version;
        osCode = name.code;
    }
    totalMemoryMB = ox::system::totalMegabytes(ox::platform::physicalMemory());
    cpuUsage = getCpuUsage(true);
    update(true);
}

void _oxSysInfo::update(bool const & withDisk)
{
    cpuUsage = getCpuUsage(false);
    freeMemoryMB = ox::system::freeMegabytes(ox::platform::physicalMemory(), totalMemoryMB);
    if (withDisk)
        readDisk(true);
}

void _oxSysInfo::getCpuInfo()
{
    auto const processors = ox::platform::processors();
    if (processors.count > 0)
        coreCount = processors.count;
    auto const description = ox::system::cpuDescriptionOf(processors, coreCount);
    hyperThreading = description.hyperThreading;
    cpuGHzTotal = description.gigahertz;
    cpuGHzEffective = description.effectiveGigahertz;
    cpuString = description.text;
}

void _oxSysInfo::keepSample(IdleSample const & sample)
{
    lastIdleCounter_ = sample.idle;
    lastPerfTime_ = sample.time;
}

_oxCPUValue _oxSysInfo::getCpuUsage(bool init)
{
    auto const sample = ox::platform::idleSample(perfBufferOf(*this));
    if (!sample)
        return {cpuUsage.value, coreCount};
    auto const busy = busyShare({lastIdleCounter_, lastPerfTime_}, *sample);
    if (init || busy)
        keepSample(*sample);
    return {init ? 0 : busy.value_or(0), coreCount};
}

QString _oxSysInfo::getCpuUsageDebug(bool init)
{
    auto const sample = ox::platform::idleSample(perfBufferOf(*this));
    if (!ox::platform::reportToThread(sample))
        return QStringLiteral("GetCounterValue failed");
    if (!init && sample->time == lastPerfTime_)
        return QStringLiteral("DeltaPerfTime100nSec is 0");
    QString const text =
        QStringLiteral(
            "lnNew %1  lnOld %2 delta %3 NewnSec.QuadPart %4  OldnSec.QuadPart %5 delta %6")
            .arg(sample->idle)
            .arg(lastIdleCounter_)
            .arg(difference(sample->idle, lastIdleCounter_))
            .arg(sample->time)
            .arg(lastPerfTime_)
            .arg(difference(sample->time, lastPerfTime_));
    keepSample(*sample);
    return text;
}

QString _oxSysInfo::guiUser()
{
    processList.collectAllProcesses();
    auto const shells = ox::platform::desktopShells();
    auto const isShell = [&](int i) {
        _oxProcessEntry const & entry = processList.entries[i];
        return std::ranges::find(shells, entry.name.view()) != shells.end() &&
               ox::platform::mayBeDesktopUsers(entry.pid);
    };
    auto const ownerOf = [this](int i) {
        processList.getProcessInfo(i);
        return QString(processList.entries[i].user);
    };
    QString const user = ox::system::desktopUser(processList.count, isShell, ownerOf);
    if (user != guiUserLast) {
        guiUserLast = user;
        guiUserChanged.setCurrentTime(0);
    }
    return user;
}

bool _oxSysInfo::isUACenabled()
{
    return ox::platform::hasAccountControlSwitch() == false;
}

bool _oxSysInfo::isX64()
{
    return ox::platform::answersWordSize().value_or(true);
}

int _oxSysInfo::getKernelMemory()
{
    auto const memory = ox::platform::kernelMemory(perfBufferOf(*this));
    // Compatibility: the result is -1 if the paged pool has less than 2 bytes, whatever the size of
    // the nonpaged pool.
    if (!ox::platform::reportToThread(memory) || memory->pagedPool < 2)
        return -1;
    return wholeMebibytes(memory->pagedPool + memory->nonPagedPool, largest);
}

int _oxSysInfo::getSystemCacheSize()
{
    auto const memory = ox::platform::kernelMemory(perfBufferOf(*this));
    return ox::platform::reportToThread(memory) ? wholeMebibytes(memory->cache, largest) : 0;
}

QString _oxSysInfo::getFullMemoryInfo()
{
    auto const report = ox::platform::memoryReport();
    return report ? ox::text::toQString(*report)
                  : QStringLiteral("-full mem output not available on windows-");
}

_oxTime _oxSysInfo::getLastUserInput()
{
    return ox::system::lastInputTime(ox::platform::inputTicks(), _oxTime(true));
}

bool _oxSysInfo::setSystemTime(_oxTime t)
{
    auto const clock = ox::system::localClockAt(t);
    return clock && ox::platform::reportToThread(ox::platform::setLocalClock(*clock));
}

void _oxSysInfo::readDisk(bool withHealth)
{
    auto const health = ox::system::diskHealthOf(ox::platform::firstDisk(withHealth), withHealth);
    if (!health.name.isEmpty())
        diskName = health.name;
    if (withHealth)
        diskTemperature_ = health.temperature;
    if (verbose)
        for (QString const & line : health.lines)
            std::printf(" %s\n", qPrintable(line));
}
