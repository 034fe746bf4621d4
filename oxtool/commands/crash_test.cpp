#include "oxtool/commands/commands.h"
#include "oxtool/support/crash_kinds.h"
#include "oxtool/support/dump_readers.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "shared/crash/crash_handler.h"
#include "shared/platform/files.h"
#include "shared/platform/open_file.h"
#include "shared/platform/program/child_process.h"
#include "shared/platform/this_process.h"
#include "shared/text/utf16_view.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>

#include <algorithm>

namespace ox::tool
{
namespace
{

struct Options {
    std::string kind;
    std::string folder = "."; ///< bytes of the argument, passed unchanged to the child process
    QString readers;
    bool isChild = false;
    bool json = false;
};

/// Returns the path of the child process's log. The dump's name contains the name of the log.
QString logName(QString const & folder)
{
    return QDir::toNativeSeparators(
        QDir(folder).absoluteFilePath(QStringLiteral("crash-test.txt")));
}

/// Logs without a buffer to a file that is opened before the crash. After a crash a write to an
/// open file still works, unlike most other calls.
class FileLogger : public oxLogger
{
  public:
    explicit FileLogger(QString const & name)
        : file_(platform::openForWriting(nativeName(name), platform::Content::Emptied,
                                         platform::Writers::Refused))
    {
    }

    void log(int, _oxString8_evenSize<500> const & text, bool) override
    {
        if (!file_)
            return;
        static_cast<void>(file_->write(text.value, static_cast<std::size_t>(text.length)));
        static_cast<void>(file_->write("\n", 1));
    }

  private:
    platform::Result<platform::OpenFile> file_;
};

/// Runs in the child process, and crashes it. Returns only if the crash did not happen.
int runChild(Options const & options)
{
    QString const folder = fromArgument(options.folder);
    static FileLogger logger(logName(folder));
    static __OX context{_oxTime(true), &logger, {}, "crash-test.txt"};
    oxCrashHandler::instance()->init(context, 0, nullptr);
    oxCrashHandler::instance()->setDumpPath(folder);
    crash(options.kind.c_str());
    return Done;
}

/// Reads the child process's log, and deletes it.
QStringList readAndDeleteLog(QString const & name)
{
    QFile file(name);
    file.open(QIODevice::ReadOnly);
    QString const text =
        text::toQString(platform::recordText(file.readAll().toStdString())).trimmed();
    file.remove();
    return text.isEmpty() ? QStringList() : text.split(QLatin1Char('\n'));
}

/// Shows the signal or exception, and the innermost stack frame that has a source line.
void showCrash(CrashReport const & crash, Report & report)
{
    report.line(
        QStringLiteral("reason"),
        QStringLiteral("%1 at %2, thread %3").arg(crash.reason, crash.address, crash.thread));
    report.set(QStringLiteral("reason"), crash.reason);
    auto const known = std::ranges::find_if(
        crash.frames, [](StackFrame const & frame) { return !frame.source.isEmpty(); });
    if (known == crash.frames.end())
        return;
    report.line(QStringLiteral("function"), frameText(*known));
    report.set(QStringLiteral("function"), known->function);
    report.set(QStringLiteral("source"), known->source);
}

/// Reads a dump of this program, with the symbols that dump_syms extracts from the program.
CrashReport readOwnDump(DumpReaders const & readers, QString const & dump, QString const & program)
{
    QTemporaryDir const symbols;
    if (readers.canMakeSymbols())
        readers.storeSymbols(program, symbols.path());
    return readers.read(dump, symbols.path());
}

/// Throws Failure unless `folder` is an existing folder.
void requireFolder(QString const & folder)
{
    auto const status = platform::fileStatus(nativeName(folder));
    if (!status || !status->isFolder)
        throw Failure(
            QStringLiteral("cannot write a dump to '%1': %2")
                .arg(folder, status ? QStringLiteral("not a folder") : reasonOf(status.error())),
            status ? Failed : statusOf(status.error()));
}

void crashTest(Options const & options, Report & report)
{
    QString const folder = fromArgument(options.folder);
    QString const log = logName(folder);
    requireFolder(folder);
    if (QFile::exists(log))
        throw Failure(
            QStringLiteral("cannot create log '%1': file exists; delete or rename it").arg(log));

    std::string const program =
        text::toQString(platform::executablePath().value_or(u"")).toStdString();
    auto const child = platform::ChildProcess::start(
        {program, "crash-test", options.kind, "--dir", options.folder, "--child"});
    if (!child)
        throw Failure(QStringLiteral("cannot start '%1': %2")
                          .arg(fromArgument(program), reasonOf(child.error())));
    int const status = (*child)->wait();

    QString const prefix = QStringLiteral("wrote dumpfile to ");
    QStringList const lines = readAndDeleteLog(log);
    for (QString const & line : lines)
        report.line(QStringLiteral("log"), line);
    report.line(QStringLiteral("exit status"), QString::number(status));
    report.set(QStringLiteral("log"), QJsonArray::fromStringList(lines));
    report.set(QStringLiteral("status"), status);
    if (lines.isEmpty() || !lines.last().startsWith(prefix))
        throw Failure(
            QStringLiteral("cannot show a dump: the child process wrote none to '%1'").arg(folder));

    QString const dump = lines.last().mid(prefix.size());
    report.line(QStringLiteral("dump"), sizeText(QFile(dump).size()));
    report.set(QStringLiteral("dump"), dump);
    DumpReaders const readers(options.readers);
    if (readers.canRead())
        showCrash(readOwnDump(readers, dump, fromArgument(program)), report);
    else
        report.line(
            QStringLiteral("reason"),
            QStringLiteral(
                "unknown, since minidump_stackwalk is missing; give its folder with --readers"));
}

std::vector<std::string> kindNames()
{
    std::vector<std::string> names;
    for (CrashKind const & kind : crashKinds())
        names.push_back(kind.name);
    return names;
}

} // namespace

Command crashTestCommand()
{
    auto const options = std::make_shared<Options>();
    return {
        .name = "crash-test",
        .group = Group::Diagnosis,
        .summary = "Crash a child process and show its dump",
        .details = "The dump remains in the folder of --dir.",
        .options = {{.name = "KIND",
                     .help = "Kind of crash: null, divide, illegal, abort, throw, stack, thread or "
                             "thread-stack",
                     .target = &options->kind,
                     .isRequired = true,
                     .choices = kindNames()},
                    {.name = "--dir",
                     .valueName = "FOLDER",
                     .help = "Folder for the dump",
                     .target = &options->folder,
                     .showsDefault = true},
                    {.name = "--readers",
                     .valueName = "FOLDER",
                     .help = "Folder of minidump_stackwalk and dump_syms; default: the folder of "
                             "oxtool, then PATH",
                     .target = &options->readers},
                    {.name = "--child", .target = &options->isChild, .isHidden = true},
                    jsonOption(options->json)},
        .examples = {"oxtool crash-test null --dir /var/log/farm"},
        .run = [options] {
            if (options->isChild)
                return runChild(*options);
            return runReported(options->json,
                               [&options](Report & report) { crashTest(*options, report); });
        }};
}

} // namespace ox::tool
