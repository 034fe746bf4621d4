#include "shared/platform/machine.h"

#include "shared/platform/file_names.h"
#include "shared/platform/linux/folder_names.h"
#include "shared/platform/linux/kernel_file.h"
#include "shared/platform/linux/system_texts.h"

#include <algorithm>
#include <array>
#include <map>
#include <utility>

#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <sys/utsname.h>

namespace ox::platform
{
namespace
{

/// Returns a value of an os-release file without quotation marks and backslash escapes.
std::string unquoted(std::string_view value)
{
    value = trimmed(value);
    bool const isQuoted = value.size() > 1 && value.front() == value.back() &&
                          (value.front() == '"' || value.front() == '\'');
    if (isQuoted)
        value = value.substr(1, value.size() - 2);
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\\' && i + 1 < value.size())
            ++i;
        text += value[i];
    }
    return text;
}

/// Returns the base clock of the processor in MHz or, if the base clock is unknown, the highest
/// clock; 0 if the kernel does not control the clock.
unsigned nominalMegahertz()
{
    for (char const * path : {"/sys/devices/system/cpu/cpu0/cpufreq/base_frequency",
                              "/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq"})
        if (auto const kilohertz = numberOf<unsigned>(wholeFile(path)))
            return *kilohertz / 1000;
    return 0;
}

constexpr char memoryInfoFile[] = "/proc/meminfo";
constexpr char statFile[] = "/proc/stat";

/// Returns the error for a file without the expected content.
constexpr Error missingIn(char const * source)
{
    return {ENODATA, source};
}

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

/// Returns the temperature, in °C, of the first sensor in the folders where drivers register disk
/// sensors.
std::optional<int> temperatureOf(fs::path const & folder)
{
    std::optional<int> celsius;
    for (char const * place : {"device/hwmon", "device", "device/device/hwmon"}) {
        forEachName(AT_FDCWD, (folder / place).c_str(), [&](std::string_view name) {
            if (celsius || !name.starts_with("hwmon"))
                return;
            if (auto const thousandths =
                    numberOf<int>(wholeFile((folder / place / name / "temp1_input").c_str())))
                celsius = *thousandths / 1000;
        });
    }
    return celsius;
}

/// Reads the SMART table of an ATA disk through the SCSI layer. Only root may do this.
std::vector<unsigned char> smartTableOf(fs::path const & device)
{
    Descriptor const disk(::open(device.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!disk.isOpen())
        return {};
    // ATA PASS-THROUGH (16): PIO data-in, one sector. The ATA command B0h (SMART) with the feature
    // D0h and the signature C24Fh reads the table.
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

std::u16string systemNameOf(std::string_view osRelease)
{
    std::string name, version;
    while (!osRelease.empty()) {
        std::string_view line = takeUntil(osRelease, '\n');
        std::string_view const key = trimmed(takeUntil(line, '='));
        if (key == "NAME")
            name = unquoted(line);
        else if (key == "VERSION_ID")
            version = unquoted(line);
    }
    return systemText(name.empty() || version.empty() ? name : name + ' ' + version);
}

Processors processorsOf(std::string_view cpuInfo)
{
    Processors found;
    std::map<std::pair<int, int>, int> threads;
    int package = 0;
    while (!cpuInfo.empty()) {
        std::string_view line = takeUntil(cpuInfo, '\n');
        std::string_view const key = trimmed(takeUntil(line, ':'));
        if (key == "physical id")
            package = numberOf<int>(line).value_or(0);
        else if (key == "core id")
            ++threads[{package, numberOf<int>(line).value_or(0)}];
        else if (key == "vendor_id")
            found.vendor = trimmed(line);
        else if (key == "cpu MHz" && found.megahertz == 0)
            found.megahertz = numberOf<unsigned>(line).value_or(0);
    }
    for (auto const & [core, count] : threads)
        found.coreThreads.push_back(count);
    return found;
}

std::optional<SystemVersion> systemVersion()
{
    SystemVersion version;
    for (char const * path : {"/etc/os-release", "/usr/lib/os-release"})
        if (version.name.empty())
            version.name = systemNameOf(wholeFile(path));
    utsname kernel;
    if (version.name.empty() && ::uname(&kernel) == 0)
        version.name = systemText(kernel.sysname + std::string(" ") + kernel.release);
    return version.name.empty() ? std::nullopt : std::optional(version);
}

Processors processors()
{
    Processors found = processorsOf(wholeFile("/proc/cpuinfo"));
    found.count = static_cast<int>(std::max(0L, ::sysconf(_SC_NPROCESSORS_ONLN)));
    if (unsigned const nominal = nominalMegahertz(); nominal > 0)
        found.megahertz = nominal;
    return found;
}

std::optional<bool> answersWordSize()
{
    utsname kernel;
    return ::uname(&kernel) == 0 &&
           std::string_view(kernel.machine).find("64") != std::string::npos;
}

std::optional<bool> hasAccountControlSwitch()
{
    return std::nullopt;
}

void enablePerformanceCounters() {}

std::optional<std::uint64_t> memoryField(std::string_view memoryInfo, std::string_view name)
{
    while (!memoryInfo.empty()) {
        std::string_view line = takeUntil(memoryInfo, '\n');
        if (takeUntil(line, ':') != name)
            continue;
        auto const kibibytes = numberOf<std::uint64_t>(line);
        return kibibytes ? std::optional(*kibibytes * 1024) : std::nullopt;
    }
    return std::nullopt;
}

Result<PhysicalMemory> physicalMemory()
{
    std::array<char, 4096> buffer;
    auto const text = tryReadStart(memoryInfoFile, buffer);
    if (!text)
        return text.error();
    auto const total = memoryField(*text, "MemTotal");
    auto const available = memoryField(*text, "MemAvailable");
    if (!total || !available)
        return missingIn(memoryInfoFile);
    return PhysicalMemory{*total, *available};
}

Result<KernelMemory> kernelMemory(std::span<char> buffer)
{
    // Compatibility: error texts contain the folder and not the file.
    static constexpr char source[] = "/proc";
    auto const text = tryReadStart(memoryInfoFile, buffer);
    if (!text)
        return Error{text.error().code, source};
    auto const reclaimable = memoryField(*text, "SReclaimable");
    auto const unreclaimable = memoryField(*text, "SUnreclaim");
    auto const stacks = memoryField(*text, "KernelStack");
    auto const tables = memoryField(*text, "PageTables");
    auto const cache = memoryField(*text, "Cached");
    if (!reclaimable || !unreclaimable || !stacks || !tables || !cache)
        return missingIn(source);
    return KernelMemory{*reclaimable, *unreclaimable + *stacks + *tables, *cache};
}

std::optional<std::u16string> memoryReport()
{
    std::string const text = wholeFile(memoryInfoFile);
    return text.empty() ? std::nullopt : std::optional(systemText(text));
}

std::optional<IdleSample> idleSampleOf(std::string_view stat, long ticksPerSecond)
{
    std::string_view total = takeUntil(stat, '\n');
    if (takeUntil(total, ' ') != "cpu" || ticksPerSecond <= 0)
        return std::nullopt;
    std::int64_t processors = 0;
    while (takeUntil(stat, '\n').starts_with("cpu"))
        ++processors;

    // The columns are user, nice, system, idle, iowait, irq, softirq and steal. Idle and iowait
    // count as idle time. The later columns (guest times) are already contained in user and nice.
    total = trimmed(total);
    std::int64_t const unit = 10'000'000 / ticksPerSecond;
    std::int64_t idle = 0;
    std::int64_t sum = 0;
    for (int state = 0; state < 8; ++state) {
        auto const ticks = numberOf<std::int64_t>(takeUntil(total, ' '));
        std::int64_t time = 0;
        if (!ticks || __builtin_mul_overflow(*ticks, unit, &time) ||
            __builtin_add_overflow(sum, time, &sum))
            return std::nullopt;
        if (state == 3 || state == 4)
            idle += time;
    }
    if (processors == 0)
        return std::nullopt;
    return IdleSample{idle / processors, sum / processors};
}

Result<IdleSample> idleSample(std::span<char> buffer)
{
    auto const text = tryReadStart(statFile, buffer);
    if (!text)
        return text.error();
    auto const sample = idleSampleOf(*text, ::sysconf(_SC_CLK_TCK));
    return sample ? Result(*sample) : missingIn(statFile);
}

fs::path firstDiskIn(fs::path const & blockDevices)
{
    fs::path first;
    forEachName(AT_FDCWD, blockDevices.c_str(), [&](char const * name) {
        fs::path const folder = blockDevices / name;
        std::error_code ignored;
        bool const isDisk = fs::exists(folder / "device", ignored) &&
                            numberOf<int>(wholeFile((folder / "removable").c_str())) != 1;
        if (isDisk && (first.empty() || folder < first))
            first = folder;
    });
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

Result<Disk> firstDisk(bool withHealth)
{
    static constexpr char blockDevices[] = "/sys/block";
    fs::path const folder = firstDiskIn(blockDevices);
    if (folder.empty())
        return Error{ENODEV, blockDevices};
    Disk disk = describedDisk(folder, withHealth);
    if (withHealth && disk.bus == DiskBus::Ata)
        disk.smartTable = smartTableOf("/dev" / folder.filename());
    return disk;
}

} // namespace ox::platform
