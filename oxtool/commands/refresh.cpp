#include "oxtool/commands/commands.h"
#include "oxtool/support/buffer_file.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/held_lock.h"
#include "oxtool/support/names.h"
#include "oxtool/support/output_file.h"
#include "oxtool/support/path_map.h"
#include "oxtool/support/report.h"

#include <optional>

namespace ox::tool
{
namespace
{

struct Options {
    QString storedPath;
    int timeoutMs = 10000;
    QString out;
    bool json = false;
};

/// Loads a buffer file from the share in the same steps as a render client.
class Refresh
{
  public:
    Refresh(Options const & options, Report & report) : options_(options), report_(report) {}

    void run()
    {
        convertPath();
        HeldLock lock(path_, options_.timeoutMs);
        showStep(
            "lock",
            QStringLiteral("taken after %1 ms, %2").arg(lock.waitedMs()).arg(lockFileName(path_)));
        report_.set(QStringLiteral("waitedMs"), lock.waitedMs());
        load();
        QString const unlockFailure = lock.release();
        report_.set(QStringLiteral("released"), unlockFailure.isEmpty());
        showStep("release", unlockFailure.isEmpty() ? QStringLiteral("lock file removed")
                                                    : QStringLiteral("failed"));
        // The loaded data is complete. It is written even if the lock file could not be removed.
        if (!options_.out.isEmpty())
            writePayload(options_.out);
        if (!unlockFailure.isEmpty())
            throw Failure(unlockFailure);
    }

  private:
    void showStep(char const * step, QString const & result) const
    {
        report_.line(QString::fromLatin1(step), result);
    }

    void convertPath()
    {
        QString const & stored = options_.storedPath;
        LocalPath const local = localPath(stored, rootMappings());
        path_ = local.path;
        report_.set(QStringLiteral("storedPath"), stored);
        report_.set(QStringLiteral("localPath"), path_);
        showStep("stored", stored);
        showStep("path", local.storedRoot.isEmpty()
                             ? QStringLiteral("%1 (not mapped)").arg(path_)
                             : QStringLiteral("%1 (mapped from %2)").arg(path_, local.storedRoot));
    }

    void showFile(platform::FileStatus const & status)
    {
        report_.set(QStringLiteral("size"), static_cast<qint64>(status.size));
        report_.set(QStringLiteral("modified"), jsonTime(status.modified));
        showStep("file", QStringLiteral("%1, modified %2")
                             .arg(sizeText(status.size), timeText(status.modified)));
    }

    /// Loads the file, and shows its size and time from the status of the opened file.
    void load()
    {
        std::optional<platform::FileStatus> status;
        try {
            loadPlainFile(path_, loaded_, status);
        } catch (Failure const &) {
            if (status)
                showFile(*status);
            throw;
        }
        showFile(*status);
        report_.set(QStringLiteral("loaded"), loaded_.size);
        report_.set(QStringLiteral("crc"), hexText(loaded_.crc));
        report_.set(QStringLiteral("compressed"), loaded_.isCompressed == 1);
        showStep("load", QStringLiteral("%1, CRC %2 verified")
                             .arg(sizeText(loaded_.size), hexText(loaded_.crc)));
    }

    void writePayload(QString const & out)
    {
        _OX_DataBuffer decompressed;
        bool const isCompressed = loaded_.isCompressed == 1;
        if (isCompressed)
            decompressPayload(path_, loaded_, decompressed);
        _OX_DataBuffer const & payload = isCompressed ? decompressed : loaded_;

        OutputFile file(out);
        file.write(bytesOf(payload), payload.size);
        file.commit();
        report_.set(QStringLiteral("out"), out);
        report_.set(QStringLiteral("written"), payload.size);
        showStep("out", QStringLiteral("%1 to %2").arg(sizeText(payload.size), out));
    }

    Options const & options_;
    Report & report_;
    QString path_;
    _OX_DataBuffer loaded_;
};

} // namespace

Command refreshCommand()
{
    auto const options = std::make_shared<Options>();
    return {
        .name = "refresh",
        .group = Group::BufferFiles,
        .summary = "Load a buffer file from the share under its lock, as a render client does",
        .details =
            "Steps: map the path, take the file's lock, get the file's size, load the file and\n"
            "verify its CRC, release the lock. --out decompresses a compressed payload.",
        .options = {{.name = "STORED_PATH",
                     .help = "Path in Windows, Linux or Mac form",
                     .target = &options->storedPath,
                     .isRequired = true},
                    timeoutOption(options->timeoutMs),
                    {.name = "--out",
                     .letter = 'o',
                     .valueName = "FILE",
                     .help = "Write the payload to FILE",
                     .target = &options->out},
                    jsonOption(options->json)},
        .examples = {"oxtool refresh '\\\\farm\\share\\jobs\\job17.oxdb' --map "
                     "'\\\\farm\\share=/mnt/share' --out job17"},
        .run = reporting(
            options, [](Options const & given, Report & report) { Refresh(given, report).run(); })};
}

} // namespace ox::tool
