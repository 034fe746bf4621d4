#include "shared/platform/processes.h"

#include "shared/platform/handle_windows.h"
#include "shared/platform/performance_query_windows.h"

#include <cstring>
#include <vector>

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

} // namespace

void visitProcesses(CounterBuffer, std::function<bool(ListedProcess const &)> const & visit)
{
    Handle const snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    std::array<char, MAX_PATH> name;
    for (BOOL more = snapshot.isOpen() && ::Process32FirstW(snapshot.get(), &entry); more;
         more = ::Process32NextW(snapshot.get(), &entry)) {
        if (!visit(
                {entry.th32ProcessID, entry.th32ParentProcessID, narrowed(entry.szExeFile, name)}))
            return;
    }
}

std::optional<std::int64_t> readProcessCounters(std::span<std::uint32_t const>,
                                                CounterBuffer buffer)
{
    // Neither the block before nor a part of one that did not fit may be found.
    auto const forget = [&buffer] { std::memset(buffer.data(), 0, 8); };
    forget();
    auto const block = queryPerformanceData(Title::Process, buffer);
    if (block)
        return performanceTime(*block).value_or(0);
    forget();
    return std::nullopt;
}

std::optional<ProcessCounters> processCounters(CounterBuffer buffer, std::uint32_t id)
{
    auto const processes = PerformanceObject::find(buffer, Title::Process);
    auto const process = processes ? processes->instanceWith(Title::ProcessId, id) : std::nullopt;
    if (!process)
        return std::nullopt;
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
