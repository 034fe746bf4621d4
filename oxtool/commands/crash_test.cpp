#include "oxtool/commands/commands.h"
#include "oxtool/support/crash_kinds.h"
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
#include <QFileInfo>
#include <QJsonArray>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace ox::tool
{
namespace
{

struct Options {
    std::string kind;
    std::string folder = "."; ///< unchanged argument, which the child process receives
    QString readers;
    bool isChild = false;
    bool json = false;
};

/// Returns the path of the child process's log. Its name is part of the dump's name.
QString logName(QString const & folder)
{
    return QDir::toNativeSeparators(
        QDir(folder).absoluteFilePath(QStringLiteral("crash-test.txt")));
}

/// Logs to an unbuffered file that is opened before the crash, since little else works after it.
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

/// Breakpad's programs that read dumps, in a folder or in PATH.
class DumpReaders
{
  public:
    explicit DumpReaders(QString const & folder)
        : stackwalk_(find(QStringLiteral("minidump_stackwalk"), folder)),
          symbols_(find(QStringLiteral("dump_syms"), folder))
    {
    }

    bool areInstalled() const { return !stackwalk_.isEmpty() && !symbols_.isEmpty(); }

    /// Returns the machine-readable report on a dump of a program, as lines of fields.
    QList<QStringList> read(QString const & dump, QString const & program) const
    {
        QTemporaryDir const folder;
        // The debug information of an installed program is a file in the program's folder.
        QByteArray const symbols = run(symbols_, {program, QFileInfo(program).path()});
        // "MODULE Linux x86_64 1F0B… oxtool"
        QStringList const module =
            QString::fromUtf8(symbols.left(symbols.indexOf('\n'))).split(QLatin1Char(' '));
        if (module.size() == 5) {
            QDir const place(folder.filePath(module[4] + QLatin1Char('/') + module[3]));
            place.mkpath(QStringLiteral("."));
            QFile file(place.filePath(module[4] + QStringLiteral(".sym")));
            file.open(QIODevice::WriteOnly);
            file.write(symbols);
        }
        QList<QStringList> lines;
        for (QByteArray const & line :
             run(stackwalk_, {QStringLiteral("-m"), dump, folder.path()}).split('\n'))
            lines += QString::fromUtf8(line).split(QLatin1Char('|'));
        return lines;
    }

  private:
    static QString find(QString const & name, QString const & folder)
    {
        return QStandardPaths::findExecutable(name, folder.isEmpty() ? QStringList()
                                                                     : QStringList(folder));
    }

    static QByteArray run(QString const & program, QStringList const & arguments)
    {
        QProcess process;
        process.start(program, arguments);
        process.waitForFinished(-1);
        return process.readAllStandardOutput();
    }

    QString stackwalk_;
    QString symbols_;
};

/// Shows the signal or exception, and its place in the program: the first frame of the crashed
/// thread that has a source line.
void showCrash(QList<QStringList> const & lines, Report & report)
{
    QString thread;
    for (QStringList const & line : lines) {
        if (line[0] == QLatin1String("Crash") && line.size() == 4) {
            thread = line[3];
            report.line(QStringLiteral("reason"),
                        QStringLiteral("%1 at %2, thread %3").arg(line[1], line[2], thread));
            report.set(QStringLiteral("reason"), line[1]);
        } else if (!thread.isEmpty() && line[0] == thread && line.size() == 7 &&
                   !line[4].isEmpty()) {
            report.line(QStringLiteral("function"),
                        QStringLiteral("%1, %2:%3").arg(line[3], line[4], line[5]));
            report.set(QStringLiteral("function"), line[3]);
            report.set(QStringLiteral("source"), line[4] + QLatin1Char(':') + line[5]);
            return;
        }
    }
}

/// Fails: throws Failure when the folder does not exist.
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
    if (readers.areInstalled())
        showCrash(readers.read(dump, fromArgument(program)), report);
    else
        report.line(QStringLiteral("reason"),
                    QStringLiteral("unknown; install minidump_stackwalk and dump_syms, or give "
                                   "their folder with --readers"));
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
                     .help = "Folder of minidump_stackwalk and dump_syms; without it PATH is used",
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
