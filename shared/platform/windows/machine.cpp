#include "shared/platform/machine.h"

#include "shared/platform/windows/handle.h"
#include "shared/platform/windows/performance_query.h"
#include "shared/platform/windows/registry.h"
#include "shared/platform/windows/storage_descriptor.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

#include <windows.h>

#include <winioctl.h>

extern "C" LONG NTAPI RtlGetVersion(OSVERSIONINFOEXW * version);

namespace ox::platform
{
namespace
{

/// Returns the number of logical processors of each core.
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

template <typename Request, typename Answer>
DWORD sendRequest(Handle const & disk, DWORD code, Request & request, Answer & answer)
{
    DWORD length = 0;
    return ::DeviceIoControl(disk.get(), code, &request, sizeof request, answer.data(),
                             static_cast<DWORD>(answer.size()), &length, nullptr)
               ? length
               : 0;
}

std::vector<unsigned char> smartTableOf(Handle const & disk)
{
    SENDCMDINPARAMS request{};
    request.cBufferSize = READ_ATTRIBUTE_BUFFER_SIZE;
    request.irDriveRegs.bFeaturesReg = READ_ATTRIBUTES;
    request.irDriveRegs.bSectorCountReg = 1;
    request.irDriveRegs.bSectorNumberReg = 1;
    request.irDriveRegs.bCylLowReg = SMART_CYL_LOW;
    request.irDriveRegs.bCylHighReg = SMART_CYL_HI;
    request.irDriveRegs.bDriveHeadReg = 0xa0;
    request.irDriveRegs.bCommandReg = SMART_CMD;
    constexpr std::size_t headSize = offsetof(SENDCMDOUTPARAMS, bBuffer);
    std::array<unsigned char, headSize + READ_ATTRIBUTE_BUFFER_SIZE> answer{};
    if (sendRequest(disk, SMART_RCV_DRIVE_DATA, request, answer) != answer.size())
        return {};
    return {answer.begin() + headSize, answer.end()};
}

} // namespace

std::optional<SystemVersion> systemVersion()
{
    // GetVersionExW returns at most the version that the manifest of the program supports, so
    // programs on one machine could get different versions. The farm compares the versions of
    // machines, so RtlGetVersion is called.
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
    decltype(&::IsWow64Process) isWow64Process;
    std::memcpy(&isWow64Process, &address, sizeof isWow64Process);
    BOOL is32BitOn64 = FALSE;
    return isWow64Process(::GetCurrentProcess(), &is32BitOn64) != FALSE;
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

Result<PhysicalMemory> physicalMemory()
{
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    if (!::GlobalMemoryStatusEx(&status))
        return lastError("GlobalMemoryStatusEx");
    return PhysicalMemory{status.ullTotalPhys, status.ullAvailPhys};
}

Result<KernelMemory> kernelMemory(std::span<char> buffer)
{
    auto const block = queryPerformanceData(Title::Memory, buffer);
    if (!block)
        return block.error();
    auto const memory = PerformanceObject::find(*block, Title::Memory);
    auto const counters = memory ? memory->onlyInstance() : std::nullopt;
    if (!counters)
        return missingPerformanceData();
    auto const bytes = [&](Title title) { return memory->value(*counters, title).value_or(0); };
    return KernelMemory{bytes(Title::PoolPaged), bytes(Title::PoolNonPaged),
                        bytes(Title::CacheBytes)};
}

std::optional<std::u16string> memoryReport()
{
    return std::nullopt;
}

Result<IdleSample> idleSample(std::span<char> buffer)
{
    auto const block = queryPerformanceData(Title::Processor, buffer);
    if (!block)
        return block.error();
    auto const time = performanceTime(*block);
    auto const processors = PerformanceObject::find(*block, Title::Processor);
    auto const all = processors ? processors->instanceNamed(u"_Total") : std::nullopt;
    // In the object Title::Processor, the counter Title::ProcessorTime contains the idle time.
    auto const idle = all ? processors->value(*all, Title::ProcessorTime) : std::nullopt;
    if (!time || !idle)
        return missingPerformanceData();
    return IdleSample{static_cast<std::int64_t>(*idle), *time};
}

Result<Disk> firstDisk(bool withHealth)
{
    constexpr wchar_t name[] = L"\\\\.\\PhysicalDrive0";
    // Only an administrator may open the disk for commands (SMART). Any user may query its
    // description.
    HANDLE opened = openFile(name, GENERIC_READ | GENERIC_WRITE, shareWriting, OPEN_EXISTING);
    if (opened == INVALID_HANDLE_VALUE)
        opened = openFile(name, 0, shareWriting, OPEN_EXISTING);
    Handle const handle(opened);
    if (!handle.isOpen())
        return lastError("CreateFileW");
    STORAGE_PROPERTY_QUERY request{};
    request.PropertyId = StorageDeviceProperty;
    request.QueryType = PropertyStandardQuery;
    std::array<unsigned char, 1024> answer{};
    DWORD const length = sendRequest(handle, IOCTL_STORAGE_QUERY_PROPERTY, request, answer);
    Disk disk = parseStorageDescriptor(std::span(answer).first(length)).value_or(Disk{});
    if (withHealth && disk.bus == DiskBus::Ata)
        disk.smartTable = smartTableOf(handle);
    return disk;
}

} // namespace ox::platform
