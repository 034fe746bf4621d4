#include "oxtool/commands/commands.h"
#include "oxtool/support/crash_kinds.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/report.h"
#include "shared/crash/crash_handler.h"
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
    std::string folder = "."; ///< as given, since a child process gets it, too
    QString readers;
    bool isChild = false;
    bool json = false;
};

/// The log of the program that crashes, whose name is that of the application in the dump's.
QString logName(QString const & folder)
{
    return QDir::toNativeSeparators(
        QDir(folder).absoluteFilePath(QStringLiteral("crash-test.txt")));
}

/// Lines to a file that is open beforehand and has no buffer: nothing else works after a crash.
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

/// What the process that is to crash does. It returns only when nothing crashed.
int crashHere(Options const & options)
{
    QString const folder = fromArgument(options.folder);
    static FileLogger logger(logName(folder));
    static __OX context{_oxTime(true), &logger, {}, "crash-test.txt"};
    oxCrashHandler::instance()->init(context, 0, nullptr);
    oxCrashHandler::instance()->setDumpPath(folder);
    crash(options.kind.c_str());
    return Done;
}

/// The child's log, which is of no use any more.
QStringList takeLog(QString const & name)
{
    QFile file(name);
    file.open(QIODevice::ReadOnly);
    QString const text =
        text::toQString(platform::recordText(file.readAll().toStdString())).trimmed();
    file.remove();
    return text.isEmpty() ? QStringList() : text.split(QLatin1Char('\n'));
}

/// Breakpad's programs that read dumps, from a folder or from where the system looks for programs.
class Readers
{
  public:
    explicit Readers(QString const & folder)
        : stackwalk_(find(QStringLiteral("minidump_stackwalk"), folder)),
          symbols_(find(QStringLiteral("dump_syms"), folder))
    {
    }

    bool areThere() const { return !stackwalk_.isEmpty() && !symbols_.isEmpty(); }

    /// The machine-readable report on a dump of a program: lines of fields with "|" between.
    QList<QStringList> read(QString const & dump, QString const & program) const
    {
        QTemporaryDir const folder;
        // An installed program has its debug information in a file beside it.
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

/// Shows the signal or exception, and where in the program it happened: the crashed thread's first
/// frame with a source line.
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

void crashTest(Options const & options, Report & report)
{
    QString const folder = fromArgument(options.folder);
    QString const log = logName(folder);
    if (!QDir(folder).exists())
        throw Failure(QStringLiteral("There is no folder %1.").arg(folder));
    if (QFile::exists(log))
        throw Failure(QStringLiteral("%1 is in the way.").arg(log));

    std::string const program =
        text::toQString(platform::executablePath().value_or(u"")).toStdString();
    auto const child = platform::ChildProcess::start(
        {program, "crash-test", options.kind, "--dir", options.folder, "--child"});
    if (!child)
        throw Failure(systemMessage(child.error()));
    int const status = (*child)->wait();

    QString const lead = QStringLiteral("wrote dumpfile to ");
    QStringList const lines = takeLog(log);
    for (QString const & line : lines)
        report.line(QStringLiteral("log"), line);
    report.line(QStringLiteral("ended"), QStringLiteral("with status %1").arg(status));
    report.set(QStringLiteral("log"), QJsonArray::fromStringList(lines));
    report.set(QStringLiteral("status"), status);
    if (lines.isEmpty() || !lines.last().startsWith(lead))
        throw Failure(QStringLiteral("No dump was written."));

    QString const dump = lines.last().mid(lead.size());
    report.line(QStringLiteral("dump"), sizeText(QFile(dump).size()));
    report.set(QStringLiteral("dump"), dump);
    Readers const readers(options.readers);
    if (readers.areThere())
        showCrash(readers.read(dump, fromArgument(program)), report);
    else
        report.line(QStringLiteral("reason"),
                    QStringLiteral("minidump_stackwalk and dump_syms are not there to tell"));
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
        .details = "The dump stays in the folder.",
        .options = {{.name = "KIND",
                     .help = "null, divide, illegal, abort, throw, stack, thread or thread-stack",
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
                     .help =
                         "Folder with minidump_stackwalk and dump_syms, if they are not in PATH",
                     .target = &options->readers},
                    {.name = "--child", .target = &options->isChild, .isHidden = true},
                    jsonOption(options->json)},
        .examples = {"oxtool crash-test null --dir /var/log/farm"},
        .run = [options] {
            if (options->isChild)
                return crashHere(*options);
            return runReported(options->json,
                               [&options](Report & report) { crashTest(*options, report); });
        }};
}

} // namespace ox::tool
