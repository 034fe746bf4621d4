#include "oxtool/commands.h"
#include "oxtool/failure.h"
#include "oxtool/names.h"
#include "oxtool/progress.h"
#include "oxtool/report.h"
#include "oxtool/stop.h"
#include "shared/system/environment.h"
#include "shared/system/shared_memory.h"

#include <algorithm>
#include <limits>
#include <span>

namespace ox::tool
{
namespace
{

struct Options {
    std::string key;
    int size = 0;
    int dumped = 64;
    bool local = false;
    bool json = false;
};

/// Fails where the record would cut the key, and so mean another's segment.
_oxString8_evenSize<250> recordKey(std::string const & argument)
{
    constexpr int longestKey = 232;
    QString const key = fromArgument(argument);
    _oxString8_evenSize<250> const record(key);
    if (QString(record) != key || record.size() > longestKey)
        throw Failure(QStringLiteral("The key %1 is longer than %2 characters, or not in Latin-1.")
                          .arg(key)
                          .arg(longestKey));
    return record;
}

Failure failureOf(Options const & options, oxSharedMemory const & memory)
{
    return Failure(
        QStringLiteral("%1: %2").arg(fromArgument(options.key), QString(memory.errorString())));
}

QString nameInUse(oxSharedMemory const & memory)
{
    return memory.usesGlobalName() ? memory.globalName() : memory.localName();
}

QString segmentText(oxSharedMemory const & memory)
{
    return QStringLiteral("%1, %2").arg(nameInUse(memory), sizeText(memory.size()));
}

[[noreturn]] void waitForStopRequest()
{
    for (;;)
        oxSleep(std::numeric_limits<int>::max());
}

/// Keeps the segment until a stop request ends the program, which gives it back.
int create(Options const & options)
{
    oxSharedMemory memory(recordKey(options.key));
    Holding segment;
    if (!segment.take([&] { return memory.create(options.size, !options.local, !options.local); },
                      [&] { memory.detach(); }))
        throw failureOf(options, memory);
    Report(false).line(QStringLiteral("created"), segmentText(memory));
    waitForStopRequest();
}

/// As `create`. A stop request is acted upon when the waiting for the lock, of two seconds at most,
/// is over.
int lock(Options const & options)
{
    oxSharedMemory memory(recordKey(options.key));
    Holding segment;
    bool const isTaken = segment.take(
        [&] {
            Progress const progress(
                QStringLiteral("Waiting for the lock of %1").arg(fromArgument(options.key)));
            return memory.attach() && memory.lock();
        },
        [&] { memory.detach(); });
    if (!isTaken)
        throw failureOf(options, memory);
    Report(false).line(QStringLiteral("locked"), segmentText(memory));
    waitForStopRequest();
}

/// "0000  4A 6F 62 20 …  Job …", sixteen bytes a line.
void showBytes(std::span<std::byte const> bytes, Report & report)
{
    constexpr std::size_t perLine = 16;
    for (std::size_t start = 0; start < bytes.size(); start += perLine) {
        QString hex;
        QString text;
        for (std::byte const each : bytes.subspan(start, std::min(perLine, bytes.size() - start))) {
            auto const value = std::to_integer<unsigned>(each);
            hex += hexText(value, 2) + QLatin1Char(' ');
            bool const isPrintable = value >= 0x20 && value < 0x7F;
            text += QLatin1Char(isPrintable ? static_cast<char>(value) : '.');
        }
        report.line(hexText(start, 8), hex.leftJustified(3 * perLine) + QLatin1Char(' ') + text);
    }
}

void show(Options const & options, Report & report)
{
    oxSharedMemory memory(recordKey(options.key));
    if (!memory.attach())
        throw failureOf(options, memory);
    auto const all = memory.bytes();
    auto const shown = all.first(std::min(all.size(), static_cast<std::size_t>(options.dumped)));
    bool const isLocked = memory.isLocked();
    report.set(QStringLiteral("name"), nameInUse(memory));
    report.set(QStringLiteral("global"), memory.usesGlobalName());
    report.set(QStringLiteral("size"), memory.size());
    report.set(QStringLiteral("locked"), isLocked);
    report.set(
        QStringLiteral("data"),
        QString::fromLatin1(QByteArray::fromRawData(reinterpret_cast<char const *>(shown.data()),
                                                    static_cast<int>(shown.size()))
                                .toHex()));
    report.line(QStringLiteral("segment"), nameInUse(memory));
    report.line(QStringLiteral("size"), sizeText(memory.size()));
    report.line(QStringLiteral("lock"),
                isLocked ? QStringLiteral("taken") : QStringLiteral("free"));
    showBytes(shown, report);
}

int showReported(Options const & options)
{
    return runReported(options.json, [&options](Report & report) { show(options, report); });
}

/// Adds one of the subcommands, all of which name a key.
CLI::App & addSubcommand(CLI::App & command, std::shared_ptr<Options> const & options, Run & run,
                         char const * name, char const * description, int (*work)(Options const &))
{
    CLI::App & subcommand = *command.add_subcommand(name, description);
    subcommand.add_option("KEY", options->key, "The segment's key")->required();
    subcommand.callback(
        [options, &run, work] { run = [options, work] { return work(*options); }; });
    return subcommand;
}

} // namespace

void addShm(CLI::App & program, Run & run)
{
    auto const options = std::make_shared<Options>();
    CLI::App & command = *program.add_subcommand(
        "shm", "Look into a named shared memory segment, create it, lock it");
    command.require_subcommand(1);
    command.footer("Example:\n"
                   "  oxtool shm show ClientState");

    CLI::App & create = addSubcommand(command, options, run, "create",
                                      "Create a segment and keep it until Ctrl-C", tool::create);
    create.add_option("SIZE", options->size, "Number of data bytes")->required();
    create.add_flag("--local", options->local,
                    "Only for this session (on Linux: user); else global where that is allowed");

    CLI::App & show = addSubcommand(command, options, run, "show",
                                    "Tell a segment's size, lock and first bytes", showReported);
    show.add_option("--bytes", options->dumped, "How many data bytes to show")
        ->check(atLeast(0))
        ->capture_default_str();
    addJson(show, options->json);

    addSubcommand(command, options, run, "lock",
                  "Attach to a segment and hold its lock until Ctrl-C", lock);
}

} // namespace ox::tool
