#include "oxtool/commands/commands.h"
#include "oxtool/support/dump_readers.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "shared/platform/files.h"

#include <QJsonArray>

#include <algorithm>

namespace ox::tool
{
namespace
{

struct Options {
    QString dump;
    QString symbols;
    QString readers;
    bool json = false;
};

void requireExisting(QString const & path)
{
    auto const status = platform::fileStatus(nativeName(path));
    if (!status)
        throw Failure(QStringLiteral("cannot read '%1': %2").arg(path, reasonOf(status.error())),
                      statusOf(status.error()));
}

QJsonObject jsonOf(StackFrame const & frame)
{
    return {{QStringLiteral("module"), frame.module},
            {QStringLiteral("function"), frame.function},
            {QStringLiteral("source"), frame.source},
            {QStringLiteral("offset"), frame.offset}};
}

bool hasSource(StackFrame const & frame)
{
    return !frame.source.isEmpty();
}

void showStack(CrashReport const & crash, Report & report)
{
    QJsonArray stack;
    for (StackFrame const & frame : crash.frames) {
        report.line(stack.isEmpty() ? QStringLiteral("stack") : QString(), frameText(frame));
        stack.append(jsonOf(frame));
    }
    report.set(QStringLiteral("stack"), stack);
}

void show(Options const & options, Report & report)
{
    // openForReading() fails for a named pipe, on which minidump_stackwalk would block.
    if (auto const dump =
            platform::openForReading(nativeName(options.dump), platform::Writers::Allowed);
        !dump)
        throw Failure(
            QStringLiteral("cannot read '%1': %2").arg(options.dump, reasonOf(dump.error())),
            statusOf(dump.error()));
    if (!options.symbols.isEmpty())
        requireExisting(options.symbols);
    DumpReaders const readers(options.readers);
    if (!readers.canRead())
        throw Failure(
            QStringLiteral("cannot find minidump_stackwalk, which is installed with oxtool; give "
                           "its folder with --readers"));
    CrashReport const crash = readers.read(options.dump, options.symbols);
    auto const own = std::ranges::find_if(crash.frames, hasSource);
    bool const hasSources = own != crash.frames.end();
    QString const module = hasSources             ? own->module
                           : crash.frames.empty() ? QString()
                                                  : crash.frames.front().module;
    report.set(QStringLiteral("file"), options.dump);
    report.set(QStringLiteral("reason"), crash.reason);
    report.set(QStringLiteral("address"), crash.address);
    report.set(QStringLiteral("thread"), crash.thread.toInt());
    report.set(QStringLiteral("module"), module);
    report.line(QStringLiteral("reason"),
                QStringLiteral("%1 at %2").arg(crash.reason, crash.address));
    report.line(QStringLiteral("thread"), crash.thread);
    report.line(QStringLiteral("module"), module);
    showStack(crash, report);
    if (!hasSources)
        report.line(QStringLiteral("symbols"),
                    QStringLiteral("none found for this build; make them with oxtool-symbols, and "
                                   "give their folder with --symbols"));
}

} // namespace

Command crashCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "crash",
            .group = Group::Diagnosis,
            .summary = "Show reason, module and stack of a crash dump",
            .details =
                "\"oxtool-symbols FOLDER FILE...\" writes the symbols of a release to FOLDER.",
            .options = {{.name = "DUMP",
                         .help = "Crash dump from any operating system",
                         .target = &options->dump,
                         .isRequired = true},
                        {.name = "--symbols",
                         .letter = 's',
                         .valueName = "FOLDER",
                         .help = "Folder with the symbols of all releases",
                         .target = &options->symbols},
                        {.name = "--readers",
                         .valueName = "FOLDER",
                         .help = "Folder of minidump_stackwalk; default: the folder of oxtool, "
                                 "then PATH",
                         .target = &options->readers},
                        jsonOption(options->json)},
            .examples = {"oxtool crash client__dump_1114_090507_7.0.26_261114_0905_64.oxdmp "
                         "--symbols /mnt/share/symbols"},
            .run = reporting(options, show)};
}

} // namespace ox::tool
