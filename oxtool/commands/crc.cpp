#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/input.h"
#include "oxtool/support/names.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/report.h"
#include "oxtool/support/running_checksums.h"
#include "shared/platform/files.h"

#include <QJsonArray>

#include <atomic>

namespace ox::tool
{
namespace
{

struct Options {
    std::vector<QString> files;
    bool json = false;
};

RunningChecksums checksumsOf(QString const & path)
{
    auto const status = platform::fileStatus(nativeName(path));
    std::atomic<qint64> done = 0;
    Progress const progress(QStringLiteral("Reading %1").arg(path), status ? status->size : 0,
                            [&done] { return done.load(); });
    RunningChecksums sums;
    readPieces(path, [&](std::span<unsigned char> piece) {
        sums.add(piece);
        done = sums.size();
    });
    return sums;
}

QString lineOf(RunningChecksums const & sums, QString const & path)
{
    return QStringLiteral("%1    %2   %3  %4  %5  %6")
        .arg(hexText(sums.crc8(), 2), hexText(sums.crc16(), 4), hexText(sums.crc32()),
             hexText(sums.crc64(), 16))
        .arg(sums.size(), 10)
        .arg(path);
}

QJsonObject jsonOf(RunningChecksums const & sums, QString const & path)
{
    return {{QStringLiteral("file"), path},
            {QStringLiteral("size"), sums.size()},
            {QStringLiteral("crc8"), hexText(sums.crc8(), 2)},
            {QStringLiteral("crc16"), hexText(sums.crc16(), 4)},
            {QStringLiteral("crc32"), hexText(sums.crc32())},
            {QStringLiteral("crc64"), hexText(sums.crc64(), 16)}};
}

/// Shows all readable files, and fails if one of them is not readable.
void crc(Options const & options, Report & report)
{
    report.text(QStringLiteral("crc8  crc16  crc32     crc64                  bytes  file"));
    QJsonArray files;
    QStringList failures;
    int status = Done;
    for (QString const & path : options.files) {
        try {
            RunningChecksums const sums = checksumsOf(path);
            files.append(jsonOf(sums, path));
            report.text(lineOf(sums, path));
        } catch (Failure const & failure) {
            writeError(failure.text());
            failures += failure.text();
            status = combinedStatus(status, failure.status());
        }
    }
    report.set(QStringLiteral("files"), files);
    if (!failures.isEmpty())
        throw Failure::reported(failures, status);
}

} // namespace

Command crcCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "crc",
            .group = Group::BufferFiles,
            .summary = "Compute the 8, 16, 32 and 64 bit checksums of files",
            .options = {{.name = "FILE",
                         .help = "Files to read; - is the standard input",
                         .target = &options->files,
                         .isRequired = true},
                        jsonOption(options->json)},
            .examples = {"oxtool crc /mnt/share/jobs/job17.oxdb"},
            .run = reporting(options, crc)};
}

} // namespace ox::tool
