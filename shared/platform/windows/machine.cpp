#include "shared/platform/machine.h"

#include "shared/platform/windows/registry.h"

#include <bit>
#include <cstddef>
#include <cstring>

#include <windows.h>

extern "C" LONG NTAPI RtlGetVersion(OSVERSIONINFOEXW * version);

namespace ox::platform
{
namespace
{

/// The cores of the processors, each with the number of its logical processors.
std::vector<int> threadsOfCores()
{
    using Record = SYSTEM_LOGICAL_PROCESSOR_INFORMATION;
    std::vector<Record> records;
    DWORD size = 0;
    while (!::GetLogicalProcessorInformation(records.data(), &size)) {
        if (::GetLastError() != ERROR_INSUFFICIENT_BUFFER)
            return {};
        records.resize(size / sizeof(Record) + 1);
        size = static_cast<DWORD>(records.size() * sizeof(Record));
    }
    records.resize(size / sizeof(Record));
    std::vector<int> threads;
    for (Record const & record : records)
        if (record.Relationship == RelationProcessorCore)
            threads.push_back(std::popcount(record.ProcessorMask));
    return threads;
}

std::string fromWide(std::wstring const & text)
{
    std::string bytes;
    for (wchar_t const unit : text)
        bytes += static_cast<char>(unit);
    return bytes;
}

} // namespace

std::optional<SystemVersion> systemVersion()
{
    // GetVersionExW fills in the same, but shows each program another version, the newest that its
    // manifest knows. The farm compares these texts, so a machine has to have one.
    OSVERSIONINFOEXW info{};
    info.dwOSVersionInfoSize = sizeof info;
    if (::RtlGetVersion(&info) != 0)
        return std::nullopt;
    return SystemVersion{{},
                         info.dwMajorVersion,
                         info.dwMinorVersion,
                         info.wServicePackMajor,
                         info.wProductType == VER_NT_WORKSTATION,
                         info.wSuiteMask};
}

Processors processors()
{
    SYSTEM_INFO system;
    ::GetNativeSystemInfo(&system);
    RegistryKey const first(HKEY_LOCAL_MACHINE,
                            L"Hardware\\Description\\System\\CentralProcessor\\0", KEY_QUERY_VALUE);
    return {static_cast<int>(system.dwNumberOfProcessors), threadsOfCores(),
            first.number(L"~MHz").value_or(0),
            fromWide(first.text(L"VendorIdentifier").value_or(L""))};
}

std::optional<bool> answersWordSize()
{
    auto const address = ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "IsWow64Process");
    if (!address)
        return std::nullopt;
    decltype(&::IsWow64Process) ask;
    std::memcpy(&ask, &address, sizeof ask);
    BOOL is32BitOn64 = FALSE;
    return ask(::GetCurrentProcess(), &is32BitOn64) != FALSE;
}

std::optional<bool> hasAccountControlSwitch()
{
    HKEY opened = nullptr;
    ::RegCreateKeyExW(HKEY_LOCAL_MACHINE,
                      L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Policies\\System", 0, nullptr,
                      0, KEY_QUERY_VALUE | KEY_WOW64_64KEY, nullptr, &opened, nullptr);
    RegistryKey const policy(opened);
    return policy.isOpen() ? std::optional(policy.hasValue(L"EnableLUA")) : std::nullopt;
}

void enablePerformanceCounters()
{
    for (wchar_t const * path : {L"SYSTEM\\CurrentControlSet\\Services\\PerfOS\\Performance",
                                 L"SYSTEM\\CurrentControlSet\\Services\\PerfProc\\Performance"})
        turnOff(HKEY_LOCAL_MACHINE, path, L"Disable Performance Counters");
}

} // namespace ox::platform
