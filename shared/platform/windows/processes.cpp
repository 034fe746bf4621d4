#include "shared/platform/processes.h"

#include "shared/platform/windows/handle.h"
#include "shared/platform/windows/performance_query.h"
#include "shared/platform/windows/process_handle.h"

#include <algorithm>
#include <limits>

#include <psapi.h>
#include <tlhelp32.h>

namespace ox::platform
{
namespace
{

/// Adds the counters of all processes in a block of performance data.
void addAll(PerformanceObject const & processes, ProcessReading & reading)
{
    processes.forEachInstance([&](PerformanceObject::Bytes process) {
        auto const value = [&](Title title) { return processes.value(process, title); };
        auto const id = value(Title::ProcessId);
        if (id && *id <= std::numeric_limits<std::uint32_t>::max())
            reading.add(static_cast<std::uint32_t>(*id),
                        {static_cast<std::int64_t>(value(Title::ProcessorTime).value_or(0)),
                         value(Title::WorkingSet).value_or(0)});
    });
}

std::int64_t countOf(FILETIME time)
{
    return static_cast<std::int64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

/// Reads the counters of a process that the performance data does not contain. Empty if the process
/// has ended; it can still be opened as long as another process has a handle to it.
std::optional<ProcessCounters> countersNow(std::uint32_t id)
{
    Handle const process(openProcess(PROCESS_QUERY_LIMITED_INFORMATION, id));
    DWORD exitCode = 0;
    FILETIME created, ended, kernel, user;
    if (!process.isOpen() || !::GetExitCodeProcess(process.get(), &exitCode) ||
        exitCode != STILL_ACTIVE ||
        !::GetProcessTimes(process.get(), &created, &ended, &kernel, &user))
        return std::nullopt;
    PROCESS_MEMORY_COUNTERS memory{};
    if (!::K32GetProcessMemoryInfo(process.get(), &memory, sizeof memory))
        memory.WorkingSetSize = 0;
    return ProcessCounters{countOf(kernel) + countOf(user), memory.WorkingSetSize};
}

} // namespace

Result<> ProcessTable::list(std::function<bool(ListedProcess const &)> const & keep)
{
    Handle const snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    if (!snapshot.isOpen())
        return lastError("CreateToolhelp32Snapshot");
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    if (!::Process32FirstW(snapshot.get(), &entry))
        return lastError("Process32FirstW");
    std::array<char, MAX_PATH> name;
    do {
        keep({entry.th32ProcessID, entry.th32ParentProcessID, narrowed(entry.szExeFile, name)});
    } while (::Process32NextW(snapshot.get(), &entry));
    return {};
}

bool ProcessTable::hasFreshListCounters() const
{
    return false; // the system's list has no counters
}

Result<std::int64_t> ProcessTable::readCounters(std::span<std::uint32_t const>)
{
    return readAllCounters();
}

Result<std::int64_t> ProcessTable::readAllCounters()
{
    current_.begin(0);
    // The signature at the start of the buffer is cleared before the query and after a failed
    // query. So neither the previous block nor a truncated block counts as valid.
    auto const clearSignature = [this] { std::ranges::fill(raw_.first(8), '\0'); };
    clearSignature();
    auto const block = queryPerformanceData(Title::Process, raw_);
    if (!block) {
        clearSignature();
        return block.error();
    }
    auto const time = performanceTime(raw_);
    if (!time)
        return 0;
    if (auto const processes = PerformanceObject::find(raw_, Title::Process))
        addAll(*processes, current_);
    current_.end(*time);
    return performanceTime(*block).value_or(0);
}

std::optional<ProcessCounters> ProcessTable::counters(std::uint32_t id) const
{
    if (!current_.hasEnded())
        return std::nullopt;
    auto const found = current_.of(id);
    return found ? found : countersNow(id);
}

void killProcess(std::uint32_t id)
{
    Handle const process(openProcess(PROCESS_ALL_ACCESS, id));
    if (process.isOpen())
        ::TerminateProcess(process.get(), 1);
}

Result<> setPrivilege(char const * name, bool enable)
{
    HANDLE opened = nullptr;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &opened))
        return lastError("OpenProcessToken");
    Handle const token(opened);
    TOKEN_PRIVILEGES privileges{};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = enable ? SE_PRIVILEGE_ENABLED : 0;
    if (!::LookupPrivilegeValueA(nullptr, name, &privileges.Privileges[0].Luid))
        return lastError("LookupPrivilegeValueA");
    // AdjustTokenPrivileges also succeeds if the token lacks the privilege; only the last error
    // then differs.
    bool const isAdjusted =
        ::AdjustTokenPrivileges(token.get(), FALSE, &privileges, 0, nullptr, nullptr) != FALSE;
    return resultOf(isAdjusted && ::GetLastError() != ERROR_NOT_ALL_ASSIGNED,
                    "AdjustTokenPrivileges");
}

} // namespace ox::platform
