#include "oxtool/commands/commands.h"
#include "oxtool/support/checksum_list.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/input.h"
#include "oxtool/support/jobs.h"
#include "oxtool/support/names.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/report.h"
#include "oxtool/support/running_checksums.h"
#include "shared/platform/files.h"

#include <atomic>
#include <optional>

namespace ox::tool
{
namespace
{

struct Options {
    std::vector<QString> files;
    QString list;
    int jobs = 0;
    bool json = false;
};

/// Reads files in parallel, and reports them in the order of the command line or list.
class Checksums
{
  public:
    Checksums(Options const & options, Report & report) : options_(options), report_(report) {}

    /// Shows the checksums of the readable files.
    /// Fails: when a file is not readable, throws Failure after the last file.
    void show()
    {
        report_.text(QStringLiteral("crc8  crc16  crc32     crc64                  bytes  file"));
        forEachFile(options_.files, [this](std::size_t, FileChecksums const & sums) {
            report_.text(listLine(sums));
            report_.append(toJson(sums));
        });
        if (!failures_.isEmpty())
            throw Failure::reported(failures_, status_);
    }

    /// Compares the files of a checksum list with the list.
    /// Fails: when a file differs or is not readable, throws Failure after the last file.
    void check()
    {
        std::vector<FileChecksums> const list = readChecksumList(options_.list);
        std::vector<QString> names;
        names.reserve(list.size());
        for (FileChecksums const & file : list)
            names.push_back(file.file);
        int intact = 0;
        int changed = 0;
        forEachFile(names, [&](std::size_t i, FileChecksums const & sums) {
            bool const isIntact = sums == list[i];
            ++(isIntact ? intact : changed);
            report_.line(isIntact ? QStringLiteral("intact") : QStringLiteral("changed"),
                         sums.file);
            QJsonObject object = toJson(sums);
            object.insert(QStringLiteral("intact"), isIntact);
            report_.append(object);
        });
        report_.set(QStringLiteral("counts"),
                    QJsonObject{{QStringLiteral("intact"), intact},
                                {QStringLiteral("changed"), changed},
                                {QStringLiteral("failed"), failures_.size()}});
        report_.line(QStringLiteral("done"), QStringLiteral("%1 intact, %2 changed, %3 failed")
                                                 .arg(intact)
                                                 .arg(changed)
                                                 .arg(failures_.size()));
        if (changed > 0)
            throw Failure(QStringLiteral("number of files that differ from '%1': %2")
                              .arg(options_.list)
                              .arg(changed),
                          Damaged);
        if (!failures_.isEmpty())
            throw Failure::reported(failures_, status_);
    }

  private:
    struct Outcome {
        FileChecksums sums;
        std::optional<Failure> failure;
    };

    template <typename Show>
    void forEachFile(std::vector<QString> const & names, Show const & show)
    {
        std::atomic<qint64> files = 0;
        std::atomic<qint64> bytes = 0;
        Progress progress(names.size() == 1 ? QStringLiteral("Reading %1").arg(names[0])
                                            : QStringLiteral("Reading"),
                          [&, total = sizeOf(names), all = static_cast<qint64>(names.size())] {
                              return Progress::Amount{files, all, bytes, total};
                          });
        std::vector<Outcome> outcomes(names.size());
        report_.beginArray(QStringLiteral("files"));
        auto const work = [&](std::size_t i) {
            outcomes[i] = read(names[i], bytes);
            ++files;
        };
        runJobs(threadCount(options_.jobs), names.size(), work, [&](std::size_t i) {
            progress.interrupt([&] {
                if (outcomes[i].failure)
                    fail(names[i], *outcomes[i].failure);
                else
                    show(i, outcomes[i].sums);
            });
            return !isOutputLost();
        });
    }

    /// Returns the size of a single file. Returns 0 for several files, since each query of a size
    /// takes a round trip.
    static qint64 sizeOf(std::vector<QString> const & names)
    {
        if (names.size() != 1)
            return 0;
        auto const status = platform::fileStatus(nativeName(names[0]));
        return status ? status->size : 0;
    }

    static Outcome read(QString const & path, std::atomic<qint64> & bytes)
    try {
        RunningChecksums sums;
        readPieces(path, [&](std::span<unsigned char> piece) {
            sums.add(piece);
            bytes += static_cast<qint64>(piece.size());
        });
        return {checksumsOf(path, sums), std::nullopt};
    } catch (Failure const & failure) {
        return {{}, failure};
    }

    void fail(QString const & file, Failure const & failure)
    {
        report_.append({{QStringLiteral("file"), file}, {QStringLiteral("error"), failure.text()}});
        writeError(failure.text());
        failures_ += failure.text();
        status_ = combinedStatus(status_, failure.status());
    }

    Options const & options_;
    Report & report_;
    QStringList failures_;
    int status_ = Done; ///< exit status of the failures
};

void crc(Options const & options, Report & report)
{
    if (options.files.empty() == options.list.isEmpty())
        throw Failure(QStringLiteral("either FILE or --check LIST is required"), WrongUse);
    Checksums checksums(options, report);
    if (options.list.isEmpty())
        checksums.show();
    else
        checksums.check();
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
                         .target = &options->files},
                        {.name = "--check",
                         .letter = 'c',
                         .valueName = "LIST",
                         .help = "Check the files listed in LIST, a saved output of this command; "
                                 "- is the standard input",
                         .target = &options->list},
                        jobsOption(options->jobs),
                        jsonOption(options->json)},
            .examples = {"oxtool crc /mnt/share/jobs/job17.oxdb",
                         "oxtool crc /mnt/share/bin/* >bin.crc && oxtool crc --check bin.crc"},
            .run = reporting(options, crc)};
}

} // namespace ox::tool
