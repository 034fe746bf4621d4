#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "oxtool/support/stop.h"
#include "shared/platform/shared_segment.h"
#include "shared/system/environment.h"
#include "shared/system/shared_memory.h"
#include "shared/text/native_path.h"

#include <QJsonArray>

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
    int shownBytes = 64;
    bool local = false;
    bool json = false;
};

/// Returns the key as an 8-bit record of the library.
/// Fails: throws Failure when the key is too long for the name of a segment or not in Latin-1,
/// since a truncated or converted key would refer to another segment.
_oxString8_evenSize<250> recordKey(QString const & key)
{
    constexpr int longestKey = 232;
    _oxString8_evenSize<250> const record(key);
    if (QString(record) != key || record.size() > longestKey)
        throw Failure(
            QStringLiteral("cannot use key '%1': it is longer than %2 characters or not in Latin-1")
                .arg(key, QString::number(longestKey)));
    return record;
}

/// Returns the Failure of an action, such as "attach to", with the library's error text.
Failure failureOf(char const * action, Options const & options, oxSharedMemory const & memory)
{
    bool const isMissing = memory.error() == oxSharedMemory::DoesNotExist;
    return Failure(
        QStringLiteral("cannot %1 segment '%2': %3")
            .arg(QLatin1String(action), options.key,
                 isMissing ? QStringLiteral("it does not exist") : QString(memory.errorString())),
        isMissing ? Missing : Failed);
}

QString nameInUse(oxSharedMemory const & memory)
{
    return memory.usesGlobalName() ? memory.globalName() : memory.localName();
}

/// Shows a segment that was created or locked, and keeps it until a stop request ends the program.
[[noreturn]] void keepUntilStop(char const * label, oxSharedMemory & memory, bool asJson)
{
    if (asJson)
        writeJsonLine({{QStringLiteral("name"), nameInUse(memory)},
                       {QStringLiteral("global"), memory.usesGlobalName()},
                       {QStringLiteral("size"), memory.size()},
                       {QStringLiteral("locked"), memory.isLocked()}});
    else
        Report(false).line(QLatin1String(label), QStringLiteral("%1, %2").arg(
                                                     nameInUse(memory), sizeText(memory.size())));
    for (;;)
        oxSleep(std::numeric_limits<int>::max());
}

/// Creates the segment, and keeps it until a stop request ends the program.
[[noreturn]] void create(Options const & options)
{
    oxSharedMemory memory(recordKey(options.key));
    StopGuard guard;
    if (!guard.acquire([&] { return memory.create(options.size, !options.local, !options.local); },
                       [&] { memory.detach(); }))
        throw failureOf("create", options, memory);
    keepUntilStop("created", memory, options.json);
}

/// Locks the segment until a stop request ends the program. Waits up to two seconds for the lock. A
/// stop request during this wait takes effect after the wait.
[[noreturn]] void lock(Options const & options)
{
    oxSharedMemory memory(recordKey(options.key));
    StopGuard guard;
    bool isAttached = false;
    bool const isLocked = guard.acquire(
        [&] {
            Progress const progress(QStringLiteral("Waiting for the lock of %1").arg(options.key));
            isAttached = memory.attach();
            return isAttached && memory.lock();
        },
        [&] { memory.detach(); });
    if (!isAttached)
        throw failureOf("attach to", options, memory);
    if (!isLocked)
        throw Failure(failureOf("lock", options, memory).text(), Locked);
    keepUntilStop("locked", memory, options.json);
}

/// Shows a hex dump with 16 bytes per line: "00000000  4A 6F 62 20 …  Job …".
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

/// Size of the lock byte and the reserved bytes before the data.
constexpr std::size_t headerSize = 8;

/// Returns the key from the name of a segment: "KEY" from "Global\OX_KEY_1234567".
QString keyIn(QString const & name)
{
    QLatin1String const begin("OX_");
    QLatin1String const end("_1234567");
    QString key = name.mid(name.indexOf(begin) + begin.size());
    if (key.endsWith(end))
        key.chop(end.size());
    return key;
}

void show(Options const & options, Report & report)
{
    oxSharedMemory memory(recordKey(options.key));
    if (!memory.attach())
        throw failureOf("attach to", options, memory);
    auto const all = memory.bytes();
    auto const shown =
        all.first(std::min(all.size(), static_cast<std::size_t>(options.shownBytes)));
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
    report.line(QStringLiteral("lock"), isLocked ? QStringLiteral("held") : QStringLiteral("free"));
    showBytes(shown, report);
}

/// Lists the farm's segments (names with the prefix "OX_") that at least one process has open.
void list(Options const &, Report & report)
{
    using platform::SharedSegment;
    auto const segments = SharedSegment::list("OX_");
    if (!segments)
        throw Failure(QStringLiteral("cannot list segments: %1").arg(reasonOf(segments.error())));
    QJsonArray entries;
    for (SharedSegment::Listed const & listed : *segments) {
        SharedSegment segment;
        QString const name = text::toQString(platform::systemText(listed.name));
        auto const opened = segment.open(listed.name, listed.reach);
        if (!opened && SharedSegment::isMissing(opened.error()))
            continue;
        bool const isMapped = opened && segment.map();
        auto const size = isMapped ? segment.viewSize().value_or(0) : 0;
        bool const isLocked = isMapped && *static_cast<unsigned char const *>(segment.view()) != 0;
        QJsonObject entry{{QStringLiteral("name"), name},
                          {QStringLiteral("key"), keyIn(name)},
                          {QStringLiteral("global"), listed.reach == SharedSegment::Reach::Global}};
        if (isMapped) {
            entry.insert(QStringLiteral("size"), static_cast<qint64>(size - headerSize));
            entry.insert(QStringLiteral("locked"), isLocked);
        } else if (!opened) {
            entry.insert(QStringLiteral("error"), reasonOf(opened.error()));
        }
        QString const state = !isMapped  ? QStringLiteral("not readable")
                              : isLocked ? QStringLiteral("held")
                                         : QStringLiteral("free");
        if (entries.isEmpty())
            report.text(QStringLiteral("       bytes  lock          segment"));
        report.text(QStringLiteral("%1  %2  %3")
                        .arg(isMapped ? qint64(size - headerSize) : 0, 12)
                        .arg(state, -12)
                        .arg(name));
        entries.append(entry);
    }
    report.set(QStringLiteral("segments"), entries);
    if (entries.isEmpty())
        report.text(QStringLiteral("no segment"));
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
        .summary = "List, show, create or lock shared memory segments",
        .examples = {"oxtool shm list"},
        .subcommands = {
            {.name = "create",
             .summary = "Create a segment, and keep it until Ctrl-C",
             .options = {key(),
                         {.name = "SIZE",
                          .help = "Size of the data",
                          .unit = "bytes",
                          .target = &options->size,
                          .isRequired = true},
                         {.name = "--local",
                          .help =
                              "Create a segment for this session only (on Linux: for this user); "
                              "default: global, if permitted",
                          .target = &options->local},
                         jsonLinesOption(options->json)},
             .examples = {"oxtool shm create ClientState 4096"},
             .run = [options] { return runInLines(options->json, [&] { create(*options); }); }},
            {.name = "show",
             .summary = "Show the size, the lock and the first bytes of a segment",
             .options = {key(),
                         {.name = "--bytes",
                          .valueName = "N",
                          .help = "Number of data bytes to show",
                          .target = &options->shownBytes,
                          .showsDefault = true,
                          .range = atLeast(0)},
                         jsonOption(options->json)},
             .examples = {"oxtool shm show ClientState --bytes 256"},
             .run = reporting(options, show)},
            {.name = "list",
             .summary = "List the segments that a process has open, with size and lock",
             .options = {jsonOption(options->json)},
             .examples = {"oxtool shm list --json"},
             .run = reporting(options, list)},
            {.name = "lock",
             .summary = "Lock a segment until Ctrl-C",
             .options = {key(), jsonLinesOption(options->json)},
             .examples = {"oxtool shm lock ClientState"},
             .run = [options] { return runInLines(options->json, [&] { lock(*options); }); }}}};
}

} // namespace ox::tool
