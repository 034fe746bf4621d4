#include "shared/platform/linux/disk_health.h"

#include "shared/platform/linux/kernel_file.h"
#include "shared/platform/utf8.h"

#include <algorithm>

#include <scsi/sg.h>
#include <sys/ioctl.h>

namespace ox::platform
{
namespace
{

namespace fs = std::filesystem;

DiskBus busOf(fs::path const & folder)
{
    std::error_code error;
    std::string const path = fs::canonical(folder, error).string();
    auto const has = [&path](char const * component) {
        return path.find(component) != std::string::npos;
    };
    if (has("/usb"))
        return DiskBus::Other;
    if (has("/ata"))
        return DiskBus::Ata;
    if (has("/end_device-"))
        return DiskBus::Sas;
    return folder.filename().string().starts_with("sd") ? DiskBus::Scsi : DiskBus::Other;
}

/// The first sensor below one of the places where disks have them.
std::optional<int> temperatureOf(fs::path const & folder)
{
    for (char const * place : {"device/hwmon", "device", "device/device/hwmon"}) {
        std::error_code error;
        for (fs::directory_iterator entry(folder / place, error), end; entry != end;
             entry.increment(error)) {
            if (!entry->path().filename().string().starts_with("hwmon"))
                continue;
            if (auto const thousandths =
                    numberOf<int>(wholeFile((entry->path() / "temp1_input").c_str())))
                return *thousandths / 1000;
        }
    }
    return std::nullopt;
}

/// Asks an ATA disk for its table through the SCSI layer, which only root may.
std::vector<unsigned char> smartTableOf(fs::path const & device)
{
    Descriptor const disk(::open(device.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!disk.isOpen())
        return {};
    // ATA pass-through of 16 bytes: a read of one sector by the processor. Feature D0h of command
    // B0h, with the signature C24Fh, reads the table.
    unsigned char command[16] = {0x85, 4 << 1, 0x0e, 0, 0xd0, 0, 1,    0,
                                 0,    0,      0x4f, 0, 0xc2, 0, 0xb0, 0};
    unsigned char sense[32] = {};
    std::vector<unsigned char> table(512);
    sg_io_hdr_t request{};
    request.interface_id = 'S';
    request.dxfer_direction = SG_DXFER_FROM_DEV;
    request.cmd_len = sizeof command;
    request.cmdp = command;
    request.mx_sb_len = sizeof sense;
    request.sbp = sense;
    request.dxfer_len = static_cast<unsigned>(table.size());
    request.dxferp = table.data();
    request.timeout = 5000;
    bool const isRead = ::ioctl(disk.get(), SG_IO, &request) == 0 &&
                        (request.info & SG_INFO_OK_MASK) == SG_INFO_OK && request.resid == 0;
    return isRead ? table : std::vector<unsigned char>();
}

} // namespace

fs::path firstDiskIn(fs::path const & blockDevices)
{
    fs::path first;
    std::error_code error;
    for (fs::directory_iterator entry(blockDevices, error), end; entry != end;
         entry.increment(error)) {
        fs::path const & folder = entry->path();
        std::error_code ignored;
        bool const isDisk = fs::exists(folder / "device", ignored) &&
                            numberOf<int>(wholeFile((folder / "removable").c_str())) != 1;
        if (isDisk && (first.empty() || folder < first))
            first = folder;
    }
    return first;
}

Disk describedDisk(fs::path const & folder, bool withTemperature)
{
    Disk disk;
    disk.model = systemText(trimmed(wholeFile((folder / "device/model").c_str())));
    disk.bus = busOf(folder);
    if (withTemperature)
        disk.temperature = temperatureOf(folder);
    return disk;
}

std::optional<Disk> firstDisk(bool withHealth)
{
    fs::path const folder = firstDiskIn("/sys/block");
    if (folder.empty())
        return std::nullopt;
    Disk disk = describedDisk(folder, withHealth);
    if (withHealth && disk.bus == DiskBus::Ata)
        disk.smartTable = smartTableOf("/dev" / folder.filename());
    return disk;
}

} // namespace ox::platform
