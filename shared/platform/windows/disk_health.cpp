#include "shared/platform/disk_health.h"

#include "shared/platform/windows/handle.h"
#include "shared/platform/windows/storage_descriptor.h"

#include <array>
#include <cstddef>
#include <cstring>

#include <windows.h>

#include <winioctl.h>

namespace ox::platform
{
namespace
{

template <typename Question, typename Answer>
DWORD ask(Handle const & disk, DWORD code, Question & question, Answer & answer)
{
    DWORD length = 0;
    return ::DeviceIoControl(disk.get(), code, &question, sizeof question, answer.data(),
                             static_cast<DWORD>(answer.size()), &length, nullptr)
               ? length
               : 0;
}

std::vector<unsigned char> smartTableOf(Handle const & disk)
{
    SENDCMDINPARAMS question{};
    question.cBufferSize = READ_ATTRIBUTE_BUFFER_SIZE;
    question.irDriveRegs.bFeaturesReg = READ_ATTRIBUTES;
    question.irDriveRegs.bSectorCountReg = 1;
    question.irDriveRegs.bSectorNumberReg = 1;
    question.irDriveRegs.bCylLowReg = SMART_CYL_LOW;
    question.irDriveRegs.bCylHighReg = SMART_CYL_HI;
    question.irDriveRegs.bDriveHeadReg = 0xa0;
    question.irDriveRegs.bCommandReg = SMART_CMD;
    constexpr std::size_t headSize = offsetof(SENDCMDOUTPARAMS, bBuffer);
    std::array<unsigned char, headSize + READ_ATTRIBUTE_BUFFER_SIZE> answer{};
    if (ask(disk, SMART_RCV_DRIVE_DATA, question, answer) != answer.size())
        return {};
    return {answer.begin() + headSize, answer.end()};
}

} // namespace

std::optional<Disk> firstDisk(bool withHealth)
{
    constexpr wchar_t name[] = L"\\\\.\\PhysicalDrive0";
    // Only an administrator may send requests; anybody may ask for the name.
    HANDLE opened = openFile(name, GENERIC_READ | GENERIC_WRITE, shareWriting, OPEN_EXISTING);
    if (opened == INVALID_HANDLE_VALUE)
        opened = openFile(name, 0, shareWriting, OPEN_EXISTING);
    Handle const handle(opened);
    if (!handle.isOpen())
        return std::nullopt;
    STORAGE_PROPERTY_QUERY question{};
    question.PropertyId = StorageDeviceProperty;
    question.QueryType = PropertyStandardQuery;
    std::array<unsigned char, 1024> answer{};
    DWORD const length = ask(handle, IOCTL_STORAGE_QUERY_PROPERTY, question, answer);
    Disk disk = parseStorageDescriptor(std::span(answer).first(length)).value_or(Disk{});
    if (withHealth && disk.bus == DiskBus::Ata)
        disk.smartTable = smartTableOf(handle);
    return disk;
}

} // namespace ox::platform
