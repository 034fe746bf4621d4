#include "shared/platform/processes.h"

#include "shared/platform/windows/handle.h"
#include "shared/platform/windows/performance_query.h"

#include <cstring>
#include <vector>

#include <psapi.h>
#include <tlhelp32.h>

namespace ox::platform
{

char const counterSource[] = "RegQueryValueExA";

namespace
{

/// Latin-1, with '?' for other characters.
template <std::size_t size>
std::string_view narrowed(wchar_t const * text, std::array<char, size> & room)
{
    std::size_t n = 0;
    for (; text[n] != 0 && n < size; ++n)
        room[n] = static_cast<char>(text[n] < 256 ? text[n] : L'?');
    return {room.data(), n};
}

/// The system gives a null handle for a process that it does not open.
HANDLE openProcess(DWORD access, std::uint32_t id)
{
    HANDLE const process = ::OpenProcess(access, FALSE, id);
    return process ? process : INVALID_HANDLE_VALUE;
}

ProcessOwner failedWith(DWORD error)
{
    ProcessOwner owner;
    owner.error = static_cast<int>(error);
    owner.kind = error == ERROR_ACCESS_DENIED ? ProcessOwner::AccessDenied
                 : error == ERROR_NONE_MAPPED ? ProcessOwner::NoAccount
                                              : ProcessOwner::Unknown;
    return owner;
}

/// The owner in a process's security descriptor, which `room` holds; null on failure.
PSID ownerOf(HANDLE process, std::vector<char> & room)
{
    DWORD size = 0;
    if (::GetKernelObjectSecurity(process, OWNER_SECURITY_INFORMATION, nullptr, 0, &size) ||
        ::GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return nullptr;
    room.resize(size);
    PSID owner = nullptr;
    BOOL isDefault = FALSE;
    bool const found =
        ::GetKernelObjectSecurity(process, OWNER_SECURITY_INFORMATION, room.data(), size, &size) &&
        ::GetSecurityDescriptorOwner(room.data(), &owner, &isDefault);
    return found && owner && ::IsValidSid(owner) ? owner : nullptr;
}

/// What lies in a buffer: the raw performance data, and an index of its processes by their ids.
struct Buffered {
    char raw[rawCounterSize];
    std::size_t count;
    IndexedInstance instances[7000]; // more than there is space for in the raw data

    static Buffered & in(CounterBuffer buffer)
    {
        return *reinterpret_cast<Buffered *>(buffer.data());
    }
    InstanceIndex index() const { return {instances, count}; }
};
static_assert(sizeof(Buffered) <= counterBufferSize);

std::int64_t countOf(FILETIME time)
{
    return static_cast<std::int64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

/// The counters of a process that the performance data does not have. A process that has ended can
/// be opened as long as somebody holds a handle to it.
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

void visitProcesses(CounterBuffer, std::function<bool(ListedProcess const &)> const & keep)
{
    Handle const snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    std::array<char, MAX_PATH> name;
    for (BOOL more = snapshot.isOpen() && ::Process32FirstW(snapshot.get(), &entry); more;
         more = ::Process32NextW(snapshot.get(), &entry))
        keep({entry.th32ProcessID, entry.th32ParentProcessID, narrowed(entry.szExeFile, name)});
}

std::optional<std::int64_t> readProcessCounters(std::span<std::uint32_t const>,
                                                CounterBuffer buffer)
{
    return readAllProcessCounters(buffer);
}

std::optional<std::int64_t> readAllProcessCounters(CounterBuffer buffer)
{
    Buffered & buffered = Buffered::in(buffer);
    // Neither the block before nor a part of one that did not fit may be found.
    auto const forget = [&buffered] { std::memset(buffered.raw, 0, 8); };
    forget();
    buffered.count = 0;
    auto const block = queryPerformanceData(Title::Process, buffered.raw);
    if (!block) {
        forget();
        return std::nullopt;
    }
    if (auto const processes = PerformanceObject::find(buffered.raw, Title::Process))
        buffered.count = processes->index(Title::ProcessId, buffered.instances).size();
    return performanceTime(*block).value_or(0);
}

std::optional<ProcessCounters> processCounters(CounterBuffer buffer, std::uint32_t id)
{
    Buffered & buffered = Buffered::in(buffer);
    if (!performanceTime(buffered.raw))
        return std::nullopt;
    auto const processes = PerformanceObject::find(buffered.raw, Title::Process);
    auto const process = processes ? processes->instanceWith(buffered.index(), id) : std::nullopt;
    if (!process)
        return countersNow(id);
    return ProcessCounters{
        static_cast<std::int64_t>(processes->value(*process, Title::ProcessorTime).value_or(0)),
        processes->value(*process, Title::WorkingSet).value_or(0)};
}

ProcessOwners::AccountId ProcessOwners::accountOf(std::uint32_t id,
                                                  std::optional<ProcessOwner> & failure)
{
    AccountId account{};
    Handle const process(openProcess(READ_CONTROL, id));
    if (!process.isOpen()) {
        failure = ProcessOwner();
        return account;
    }
    std::vector<char> room;
    PSID const owner = ownerOf(process.get(), room);
    if (!owner || !::CopySid(static_cast<DWORD>(account.size()), account.data(), owner))
        failure = failedWith(::GetLastError());
    return account;
}

ProcessOwner ProcessOwners::nameOf(AccountId const & account)
{
    std::array<wchar_t, 256> name{}, domain{};
    DWORD nameSize = 256, domainSize = 256;
    SID_NAME_USE use;
    AccountId copy = account;
    if (!::LookupAccountSidW(nullptr, copy.data(), name.data(), &nameSize, domain.data(),
                             &domainSize, &use))
        return failedWith(::GetLastError());
    ProcessOwner owner;
    std::array<char, 256> room;
    owner.setName(narrowed(name.data(), room));
    if (::lstrcmpiW(domain.data(), L"Builtin") == 0)
        owner.kind = ProcessOwner::BuiltInGroup;
    return owner;
}

void killProcess(std::uint32_t id)
{
    Handle const process(openProcess(PROCESS_ALL_ACCESS, id));
    if (process.isOpen())
        ::TerminateProcess(process.get(), 1);
}

bool setPrivilege(char const * name, bool enable)
{
    HANDLE opened = nullptr;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &opened))
        return false;
    Handle const token(opened);
    TOKEN_PRIVILEGES privileges{};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = enable ? SE_PRIVILEGE_ENABLED : 0;
    if (!::LookupPrivilegeValueA(nullptr, name, &privileges.Privileges[0].Luid))
        return false;
    // It succeeds also when the token does not have the privilege, and says so in the error.
    return ::AdjustTokenPrivileges(token.get(), FALSE, &privileges, 0, nullptr, nullptr) &&
           ::GetLastError() != ERROR_NOT_ALL_ASSIGNED;
}

} // namespace ox::platform
