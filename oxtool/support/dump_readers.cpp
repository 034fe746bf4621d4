#include "oxtool/support/dump_readers.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "shared/platform/this_process.h"
#include "shared/text/utf16_view.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace ox::tool
{
namespace
{

QString find(QString const & name, QString const & folder, QString const & programFolder)
{
    QString const found =
        QStandardPaths::findExecutable(name, {folder.isEmpty() ? programFolder : folder});
    return found.isEmpty() && folder.isEmpty() ? QStandardPaths::findExecutable(name) : found;
}

struct Output {
    QByteArray bytes;
    bool succeeded;
};

Output run(QString const & program, QStringList const & arguments)
{
    QProcess process;
    process.start(program, arguments);
    bool const hasEnded = process.waitForFinished(-1);
    return {process.readAllStandardOutput(),
            hasEnded && process.error() != QProcess::FailedToStart &&
                process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0};
}

/// Parses "0|1|oxtool|main|/oxShared/oxtool/main.cpp|17|0x3".
StackFrame frameOf(QStringList const & fields)
{
    QString const source =
        fields[4].isEmpty() ? QString() : fields[4] + QLatin1Char(':') + fields[5];
    return {fields[2], fields[3], source, fields[6]};
}

} // namespace

DumpReaders::DumpReaders(QString const & folder)
{
    auto const program = platform::executablePath();
    QString const programFolder = program ? QFileInfo(text::toQString(*program)).path() : QString();
    stackwalk_ = find(QStringLiteral("minidump_stackwalk"), folder, programFolder);
    symbols_ = find(QStringLiteral("dump_syms"), folder, programFolder);
}

void DumpReaders::storeSymbols(QString const & program, QString const & folder) const
{
    // The second argument is the folder where dump_syms searches for a separate file with debug
    // information. An installed program has this file in its own folder.
    QByteArray const symbols = run(symbols_, {program, QFileInfo(program).path()}).bytes;
    // The first line is "MODULE Linux x86_64 1F0B… oxtool".
    QStringList const module =
        QString::fromUtf8(symbols.left(symbols.indexOf('\n'))).split(QLatin1Char(' '));
    if (module.size() != 5)
        return;
    QDir const place(folder + QLatin1Char('/') + module[4] + QLatin1Char('/') + module[3]);
    place.mkpath(QStringLiteral("."));
    QFile file(place.filePath(module[4] + QStringLiteral(".sym")));
    file.open(QIODevice::WriteOnly);
    file.write(symbols);
}

CrashReport DumpReaders::read(QString const & dump, QString const & symbols) const
{
    // A relative path could begin with "-" and be read as an option.
    QStringList arguments = {QStringLiteral("-m"), fullPath(dump)};
    if (!symbols.isEmpty())
        arguments += symbols;
    Output const output = run(stackwalk_, arguments);
    if (!output.succeeded)
        throw Failure(QStringLiteral("cannot read '%1': it is not a complete minidump").arg(dump),
                      Damaged);
    CrashReport report;
    for (QByteArray const & line : output.bytes.split('\n')) {
        QStringList const fields = QString::fromUtf8(line).split(QLatin1Char('|'));
        if (fields[0] == QLatin1String("Crash") && fields.size() == 4) {
            report.reason = fields[1];
            report.address = fields[2];
            report.thread = fields[3];
        } else if (!report.thread.isEmpty() && fields[0] == report.thread && fields.size() == 7) {
            report.frames.push_back(frameOf(fields));
        }
    }
    return report;
}

QString frameText(StackFrame const & frame)
{
    if (frame.function.isEmpty())
        return frame.module.isEmpty() ? frame.offset
                                      : QStringLiteral("%1 + %2").arg(frame.module, frame.offset);
    return frame.source.isEmpty() ? QStringLiteral("%1, %2").arg(frame.function, frame.module)
                                  : QStringLiteral("%1, %2").arg(frame.function, frame.source);
}

} // namespace ox::tool
