#include "oxtool/commands.h"
#include "oxtool/failure.h"
#include "oxtool/names.h"
#include "oxtool/progress.h"
#include "oxtool/report.h"
#include "oxtool/running_checksums.h"
#include "shared/platform/files.h"

#include <QJsonArray>

#include <atomic>
#include <cstdio>

namespace ox::tool
{
namespace
{

struct Options {
    std::vector<std::string> files;
    bool json = false;
};

RunningChecksums checksumsOf(QString const & path)
{
    auto const status = platform::fileStatus(nativeName(path));
    std::atomic<qint64> done = 0;
    Progress const progress(QStringLiteral("Reading %1").arg(path), status ? status->size : 0,
                            [&done] { return done.load(); });
    detail::Stream const stream = openInput(path);
    RunningChecksums sums;
    std::vector<unsigned char> piece(1024 * 1024);
    std::size_t read = piece.size();
    while (stream && read == piece.size()) {
        read = std::fread(piece.data(), 1, piece.size(), stream.get());
        sums.add({piece.data(), read});
        done = sums.size();
    }
    if (!stream || std::ferror(stream.get()) != 0)
        throw Failure(QStringLiteral("%1 cannot be read. %2").arg(path, lastSystemMessage()));
    return sums;
}

QString lineOf(RunningChecksums const & sums, QString const & path)
{
    return QStringLiteral("%1  %2  %3  %4  %5  %6")
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

/// A file that cannot be read fails the command after the others were shown.
void crc(Options const & options, Report & report)
{
    report.text(QStringLiteral("8   16    32        64                      bytes  file"));
    QJsonArray files;
    QString failures;
    for (std::string const & file : options.files) {
        QString const path = fromArgument(file);
        try {
            RunningChecksums const sums = checksumsOf(path);
            files.append(jsonOf(sums, path));
            report.text(lineOf(sums, path));
        } catch (Failure const & failure) {
            failures += (failures.isEmpty() ? QString() : QStringLiteral("\n")) + failure.text();
        }
    }
    report.set(QStringLiteral("files"), files);
    if (!failures.isEmpty())
        throw Failure(failures);
}

} // namespace

void addCrc(CLI::App & program, Run & run)
{
    auto const options = std::make_shared<Options>();
    CLI::App & command =
        *program.add_subcommand("crc", "Compute the 8, 16, 32 and 64 bit checksums of files");
    command.footer("Example:\n"
                   "  oxtool crc /mnt/share/jobs/job17.oxdb");
    command.add_option("FILE", options->files, "What to read")->required();
    addJson(command, options->json);
    command.callback([options, &run] { run = reporting(options, crc); });
}

} // namespace ox::tool
