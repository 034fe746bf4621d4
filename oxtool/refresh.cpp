#include "oxtool/buffer_file.h"
#include "oxtool/commands.h"
#include "oxtool/held_lock.h"
#include "oxtool/names.h"
#include "oxtool/output_file.h"
#include "oxtool/report.h"
#include "oxtool/stored_path.h"
#include "shared/fs/file.h"
#include "shared/time/time_value.h"

namespace ox::tool
{
namespace
{

struct Options {
    std::string storedPath;
    std::vector<RootMapping> mappings;
    int timeoutMs = 10000;
    std::string out;
    bool json = false;
};

/// What a render client does when it refreshes a file of the farm from the share.
class Refresh
{
  public:
    Refresh(Options const & options, Report & report) : options_(options), report_(report) {}

    void run()
    {
        convertPath();
        {
            HeldLock lock(path_, options_.timeoutMs);
            tell("lock", QStringLiteral("taken after %1 ms, %2")
                             .arg(lock.waitedMs())
                             .arg(lockFileName(path_)));
            report_.set(QStringLiteral("waitedMs"), lock.waitedMs());
            testFile();
            load();
        }
        tell("release", QStringLiteral("the lock is free again"));
        if (!options_.out.empty())
            writePayload(fromArgument(options_.out));
    }

  private:
    void tell(char const * step, QString const & result) const
    {
        report_.line(QString::fromLatin1(step), result);
    }

    void convertPath()
    {
        QString const stored = fromArgument(options_.storedPath);
        LocalPath const local = localPath(stored, options_.mappings);
        path_ = local.path;
        report_.set(QStringLiteral("storedPath"), stored);
        report_.set(QStringLiteral("localPath"), path_);
        tell("stored", stored);
        tell("path",
             local.storedRoot.isEmpty()
                 ? QStringLiteral("%1 (no mapping applies)").arg(path_)
                 : QStringLiteral("%1 (by the mapping of %2)").arg(path_, local.storedRoot));
    }

    void testFile()
    {
        _oxTime modified;
        __int64 size = 0;
        if (!oxFileExists(recordName(path_), &modified, &size))
            throw fileFailure(path_, missingFile);
        report_.set(QStringLiteral("size"), static_cast<qint64>(size));
        report_.set(QStringLiteral("modified"), jsonTime(modified.value));
        tell("file",
             QStringLiteral("%1, written %2").arg(sizeText(size), timeText(modified.value)));
    }

    void load()
    {
        loadBufferFile(path_, Format::Plain, loaded_);
        report_.set(QStringLiteral("loaded"), loaded_.size);
        report_.set(QStringLiteral("crc"), hexText(loaded_.crc));
        report_.set(QStringLiteral("compressed"), loaded_.isCompressed == 1);
        tell("load", QStringLiteral("%1, CRC %2 as stored")
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
        tell("out", QStringLiteral("%1 to %2").arg(sizeText(payload.size), out));
    }

    Options const & options_;
    Report & report_;
    QString path_;
    _OX_DataBuffer loaded_;
};

} // namespace

void addRefresh(CLI::App & program, Run & run)
{
    auto const options = std::make_shared<Options>();
    CLI::App & command = *program.add_subcommand(
        "refresh", "Load a buffer file from the share, as a render client does");
    command.footer(
        "The steps: convert the path, take the file's lock, test the file, load it and check its\n"
        "CRC, release the lock. What the file held compressed is written decompressed.\n"
        "Example:\n"
        "  oxtool refresh '\\\\farm\\share\\jobs\\job17.oxdb' --map '\\\\farm\\share=/mnt/share' "
        "--out job17");
    command
        .add_option("STORED_PATH", options->storedPath,
                    "The path as any system of the farm wrote it")
        ->required();
    command
        .add_option_function<std::vector<std::string>>(
            "--map",
            [options](std::vector<std::string> const & texts) {
                for (std::string const & text : texts) {
                    RootMapping mapping;
                    if (!parseRootMapping(fromArgument(text), mapping))
                        throw CLI::ValidationError("--map",
                                                   "'" + text + "' is not STORED_ROOT=LOCAL_ROOT");
                    options->mappings.push_back(mapping);
                }
            },
            "Where this machine has a stored root; the longest that fits is taken")
        ->type_name("STORED_ROOT=LOCAL_ROOT")
        ->type_size(1)
        ->allow_extra_args(false);
    addTimeout(command, options->timeoutMs);
    command.add_option("--out", options->out, "Write the payload to a file")->type_name("FILE");
    addJson(command, options->json);
    command.callback([options, &run] {
        run = reporting(
            options, [](Options const & given, Report & report) { Refresh(given, report).run(); });
    });
}

} // namespace ox::tool
