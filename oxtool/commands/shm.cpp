#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/report.h"
#include "oxtool/support/stop.h"
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
    QString key;
    int size = 0;
    int dumped = 64;
    bool local = false;
    bool json = false;
};

/// Fails where the record would cut the key, and so mean another's segment.
_oxString8_evenSize<250> recordKey(QString const & key)
{
    constexpr int longestKey = 232;
    _oxString8_evenSize<250> const record(key);
    if (QString(record) != key || record.size() > longestKey)
        throw Failure(QStringLiteral("The key %1 is longer than %2 characters, or not in Latin-1.")
                          .arg(key)
                          .arg(longestKey));
    return record;
}

Failure failureOf(Options const & options, oxSharedMemory const & memory)
{
    return Failure(QStringLiteral("%1: %2").arg(options.key, QString(memory.errorString())));
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
    StopGuard guard;
    if (!guard.acquire([&] { return memory.create(options.size, !options.local, !options.local); },
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
    StopGuard guard;
    bool const isTaken = guard.acquire(
        [&] {
            Progress const progress(QStringLiteral("Waiting for the lock of %1").arg(options.key));
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

} // namespace

Command sharedMemoryCommand()
{
    auto const options = std::make_shared<Options>();
    auto const key = [&options] {
        return Option{.name = "KEY",
                      .help = "Key of the segment",
                      .target = &options->key,
                      .isRequired = true};
    };
    return {
        .name = "shm",
        .group = Group::Machine,
        .summary = "Show a shared memory segment, create one, hold its lock",
        .examples = {"oxtool shm show ClientState"},
        .subcommands = {
            {.name = "create",
             .summary = "Create a segment and keep it until Ctrl-C",
             .options = {key(),
                         {.name = "SIZE",
                          .help = "Number of data bytes",
                          .target = &options->size,
                          .isRequired = true},
                         {.name = "--local",
                          .help =
                              "Create it for this session (on Linux: user) only; otherwise it is "
                              "global where that is allowed",
                          .target = &options->local}},
             .run = [options] { return create(*options); }},
            {.name = "show",
             .summary = "Show the size, the lock and the first bytes of a segment",
             .options = {key(),
                         {.name = "--bytes",
                          .valueName = "N",
                          .help = "Number of data bytes to show",
                          .target = &options->dumped,
                          .showsDefault = true,
                          .range = atLeast(0)},
                         jsonOption(options->json)},
             .run = reporting(options, show)},
            {.name = "lock",
             .summary = "Attach to a segment and hold its lock until Ctrl-C",
             .options = {key()},
             .run = [options] { return lock(*options); }}}};
}

} // namespace ox::tool
