#include "shared/platform/windows/storage_descriptor.h"
#include "shared/system/os_error.h"
#include "shared/system/smart_table.h"
#include "shared/system/sys_info_rules.h"
#include "shared/system/user_text.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <limits>
#include <numeric>

using namespace ox::tests;

namespace
{

using namespace ox::system;
using namespace ox::platform;

SystemVersion version(unsigned major, unsigned minor, unsigned servicePack,
                      bool isWorkstation = false, unsigned suites = 0)
{
    return {{}, major, minor, servicePack, isWorkstation, suites};
}

TEST(SystemName, FollowsTheFarmsTable)
{
    struct {
        SystemVersion version;
        char const * name;
        int number;
        int code;
    } const cases[] = {
        {version(5, 0, 4, true), "W2k_sp4", 44, 1},
        {version(5, 1, 12, true), "XP_sp12", 59, 2},
        {version(5, 2, 2, true, 0x8000), "xp_sp2", 52, 2},
        {version(5, 2, 1, false, 0x8110), "HomeServer_sp1", 51, 2},
        {version(5, 2, 0), "Server2003R1/2_sp0", 50, 2},
        {version(6, 0, 2, true), "Vista_sp2", 62, 3},
        {version(6, 0, 2), "Server2008_sp2", 62, 3},
        {version(6, 1, 1, true), "Win7_sp1", 71, 4},
        {version(6, 1, 0), "Server2008R2_sp0", 70, 4},
        {version(6, 2, 0), "Win8_sp0", 70, 5},
        {version(6, 3, 0), "6.3_sp0", 70, 5},
        {version(10, 0, 12, true), "10.0_sp12", 79, 5},
        {version(4, 0, 6), "4.0_sp6", 6, 0},
        {version(5, 3, std::numeric_limits<unsigned>::max()), "5.3_sp4294967295", 9, 0},
        {{u"Debian GNU/Linux 12", 6, 1, 0, true, 0}, "Debian GNU/Linux 12", 0, 0},
    };
    for (auto const & [from, name, number, code] : cases) {
        SystemName const found = systemNameOf(from);
        EXPECT_EQ(found.text, QLatin1String(name));
        EXPECT_EQ(found.version, number) << name;
        EXPECT_EQ(found.code, code) << name;
    }
}

TEST(CpuDescription, CountsHyperThreadsAsPartsOfACore)
{
    struct {
        Processors processors;
        bool hyperThreading;
        float all, effective;
        char const * text;
    } const cases[] = {
        {{8, {2, 2, 2, 2}, 3400, "GenuineIntel"}, true, 27.2f, 17.68f, "8(HT)x3.4 Intel 17.7Ghz"},
        {{4, {1, 1, 1, 1}, 2596, "AuthenticAMD"}, false, 10.384f, 10.384f, "4x2.6 AMD 10.4Ghz"},
        {{6, {2, 1, 2, 1}, 2000, "100%4 Made"}, true, 12.f, 7.8f, "6(HT)x2.0 100%4 Made 7.8Ghz"},
        {{2, {}, 0, ""}, false, 0.f, 0.f, "2x0.0  0.0Ghz"},
    };
    for (auto const & [processors, hyperThreading, all, effective, text] : cases) {
        CpuDescription const found = cpuDescriptionOf(processors, processors.count);
        EXPECT_EQ(found.hyperThreading, hyperThreading) << text;
        EXPECT_FLOAT_EQ(found.gigahertz, all);
        EXPECT_FLOAT_EQ(found.effectiveGigahertz, effective);
        EXPECT_EQ(found.text, QLatin1String(text));
    }
}

TEST(Memory, IsCountedInMegabytesWithDefaultsIfUnknown)
{
    constexpr std::uint64_t megabyte = 1 << 20;
    EXPECT_EQ(totalMegabytes(PhysicalMemory{8191 * megabyte + 7, 0}), 8192);
    EXPECT_EQ(freeMegabytes(PhysicalMemory{0, 3 * megabyte - 1}, 8192), 2);
    EXPECT_EQ(totalMegabytes(Error{}), 32000);
    EXPECT_EQ(freeMegabytes(Error{}, 32000), 8000);
    EXPECT_EQ(totalMegabytes(PhysicalMemory{~std::uint64_t(0), 0}), 2147483647);
}

TEST(BusyShare, IsTheTimeThatIsNotIdle)
{
    using Counter = std::numeric_limits<std::int64_t>;
    EXPECT_FLOAT_EQ(busyShare({100, 1000}, {350, 2000}).value(), 0.75f);
    EXPECT_EQ(busyShare({100, 1000}, {100, 1000}), std::nullopt);
    EXPECT_EQ(busyShare({100, 1000}, {5000, 2000}), 0.f);
    EXPECT_EQ(busyShare({100, 1000}, {50, 2000}), 1.f);
    EXPECT_FLOAT_EQ(busyShare({0, 130000000000000000}, {5, 130000000000000010}).value(), 0.5f);
    EXPECT_FLOAT_EQ(busyShare({0, Counter::max()}, {1, Counter::min() + 1}).value(), 0.5f);
}

TEST(LastInput, IsEmptyForInvalidTicks)
{
    _oxTime const now(std::int64_t{1000000}, true);
    EXPECT_EQ(lastInputTime(InputTicks{50000, 20500}, now).value, 1000000 - 29);
    for (std::optional<InputTicks> const & ticks :
         {std::optional<InputTicks>(), std::optional(InputTicks{5, 0}),
          std::optional(InputTicks{5, 5})})
        EXPECT_EQ(lastInputTime(ticks, now).value, 0);
}

TEST(LocalClock, HasTheLocalCalendarFields)
{
    _oxTime time;
    time.fromDateTime(7, 5, 9, 14, 11, 2026);
    LocalClock const clock = localClockAt(time).value();
    EXPECT_EQ(std::tie(clock.year, clock.month, clock.weekDay, clock.day),
              std::make_tuple(2026, 11, 6, 14));
    EXPECT_EQ(std::tie(clock.hour, clock.minute, clock.second, clock.milliseconds),
              std::make_tuple(9, 5, 7, 0));
    // The year of this time does not fit into 16 bits, although its low 16 bits are a valid year.
    EXPECT_EQ(localClockAt(_oxTime(std::int64_t{65536} * 31556952 + time.value, true)),
              std::nullopt);
    EXPECT_EQ(localClockAt(_oxTime(std::numeric_limits<__int64>::max(), true)), std::nullopt);
}

TEST(UserText, ContainsTheUserOrTheFailedStep)
{
    QString const message = oxLastOSError8(5);
    EXPECT_EQ(userText(std::u16string(u"S-1-5-18")), u"S-1-5-18"_q);
    EXPECT_EQ(userText(Error{5, "OpenProcess"}), u"Error OpenProcess: "_q + message);
    EXPECT_EQ(userText(Error{5, readToken}, {300, 84}),
              u"Error GetTokenInformation: "_q + message + u" 300 84"_q);
    EXPECT_EQ(userText(Error{5, openUserList}), u"ERROR: Unable to open registry;"_q);
    EXPECT_EQ(userText(Error{5, readUserList}), u"ERROR: Unable to read value;"_q);
}

TEST(DesktopUser, IsTheLastOwnerThatCanBeLookedUp)
{
    struct {
        QStringList processes;
        char const * user;
    } const cases[] = {
        {{}, ""},
        {{u"anna"_q, u"bert"_q, u"-"_q}, "bert"},
        {{u"anna"_q, u"noDebugPriv"_q}, "anna"},
        {{u"-"_q, u"noDebugPriv"_q}, "noDebugPriv"},
        {{u"anna"_q, u""_q}, "????"},
    };
    for (auto const & [processes, user] : cases) {
        QString const found = desktopUser(
            static_cast<int>(processes.size()),
            [&list = processes](int i) { return list[i] != u"-"_q; },
            [&list = processes](int i) { return list[i]; });
        EXPECT_EQ(found, QLatin1String(user)) << processes.join(u' ').toStdString();
    }
}

/// Returns a SMART table: attributes of 12 bytes each, and a checksum in the last byte.
std::vector<unsigned char> smartTable(std::vector<std::vector<unsigned char>> const & attributes)
{
    std::vector<unsigned char> table(512);
    table[0] = 16;
    auto place = table.begin() + 2;
    for (auto const & attribute : attributes) {
        std::copy(attribute.begin(), attribute.end(), place);
        place += 12;
    }
    table.back() =
        static_cast<unsigned char>(256 - std::accumulate(table.begin(), table.end() - 1, 0) % 256);
    return table;
}

std::vector<unsigned char> const startStops = {4, 0x32, 0, 100, 99, 0xd2, 4, 0, 0, 0, 0, 7};
std::vector<unsigned char> const airflow = {190, 0x22, 0, 66, 50, 34, 0, 0, 0, 0, 0, 0};
std::vector<unsigned char> const temperature = {194, 0x22, 1, 67, 40, 33, 0, 20, 0, 47, 0, 0};

TEST(SmartTable, ShowsAttributesAndTemperature)
{
    Disk const unreadable{u"Farm Disk", DiskBus::Ata, {}, {}};
    EXPECT_EQ(diskHealthOf(unreadable, true).lines,
              (QStringList{u"HDD: BusType Ata/Sata"_q, u"Cannot read"_q}));
    std::vector<unsigned char> const unused(12);
    Disk disk{u"Farm Disk", DiskBus::Ata, smartTable({startStops, unused, airflow, temperature}),
              21};
    DiskHealth const health = diskHealthOf(disk, true);
    EXPECT_EQ(health.name, u"Farm Disk"_q);
    EXPECT_EQ(health.temperature, 33);
    EXPECT_EQ(health.lines,
              (QStringList{u"HDD: BusType Ata/Sata"_q,
                           u"4: status: 50 value: 100  worst: 99  Raw:210 4 0 0 0 0   Res: 7"_q,
                           u"190: status: 34 value: 66  worst: 50  Raw:34 0 0 0 0 0   Res: 0"_q,
                           u"194: status: 290 value: 67  worst: 40  Raw:33 0 20 0 47 0   Res: 0"_q,
                           u"temp: 33"_q}));

    disk.smartTable = smartTable({startStops, airflow});
    EXPECT_EQ(diskHealthOf(disk, true).temperature, 34);
    disk.smartTable = smartTable({startStops});
    EXPECT_EQ(diskHealthOf(disk, true).temperature, 21);
    // A SMART table has space for 30 attributes.
    disk.smartTable = smartTable(std::vector(42, startStops));
    EXPECT_EQ(diskHealthOf(disk, true).lines.size(), 1 + 30 + 1);
}

TEST(DiskHealth, ReportsUnsupportedDisks)
{
    std::pair<DiskBus, char const *> const buses[] = {
        {DiskBus::Sas, "Sas (Scsi format) not supported"},
        {DiskBus::Scsi, "Scsi not supported"},
        {DiskBus::Raid, "Raid not supported"},
        {DiskBus::Other, "Only ata is supported"}};
    for (auto const & [bus, text] : buses) {
        DiskHealth const health =
            diskHealthOf(Disk{u"Disk", bus, smartTable({temperature}), {}}, true);
        EXPECT_EQ(health.lines, QStringList{QString::fromLatin1(text)});
        EXPECT_EQ(health.temperature, std::nullopt);
    }
    EXPECT_EQ(diskHealthOf(Error{}, true).lines, QStringList{u"Cannot access PhysicalDrive0"_q});
    EXPECT_EQ(diskHealthOf(Disk{}, true).lines, QStringList{u"Cannot read"_q});
}

TEST(StorageDescriptor, IsReadWithinItsBounds)
{
    std::vector<unsigned char> answer(36);
    answer[16] = 36;
    answer[28] = 11;
    for (char const c : std::string("  Farm Disk 500  \0serial", 24))
        answer.push_back(static_cast<unsigned char>(c));
    auto const disk = parseStorageDescriptor(answer);
    ASSERT_TRUE(disk.has_value());
    EXPECT_EQ(disk->model, u"Farm Disk 500");
    EXPECT_EQ(disk->bus, DiskBus::Ata);

    // Damaged answers: a truncated text, no text, a text offset within the header (35), and a text
    // offset after the end (60).
    EXPECT_EQ(parseStorageDescriptor(std::span(answer).first(42))->model, u"Farm");
    EXPECT_EQ(parseStorageDescriptor(std::span(answer).first(36))->model, u"");
    for (int const offset : {35, 60}) {
        answer[16] = static_cast<unsigned char>(offset);
        EXPECT_EQ(parseStorageDescriptor(answer)->model, u"") << offset;
    }
    std::pair<unsigned char, DiskBus> const buses[] = {{1, DiskBus::Scsi},
                                                       {3, DiskBus::Ata},
                                                       {8, DiskBus::Raid},
                                                       {10, DiskBus::Sas},
                                                       {17, DiskBus::Other}};
    for (auto const & [number, bus] : buses) {
        answer[28] = number;
        EXPECT_EQ(parseStorageDescriptor(answer)->bus, bus);
    }
}

} // namespace
