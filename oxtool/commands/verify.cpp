#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/file_walk.h"
#include "oxtool/support/names.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "oxtool/support/verification.h"
#include "shared/platform/files.h"

#include <algorithm>
#include <atomic>

namespace ox::tool
{
namespace
{

using Verdict = Verification::Verdict;

struct Options {
    std::vector<QString> paths;
    std::vector<QString> endings;
    bool recursive = false;
    bool verbose = false;
    bool json = false;
};

/// A file to check.
struct Candidate {
    QString path;
    qint64 size;
    bool mustBeBufferFile; ///< whether a file of another format counts as damaged
};

Verification check(Candidate const & candidate)
{
    Verification result = verifyFile(candidate.path);
    if (result.verdict != Verdict::OtherFormat || !candidate.mustBeBufferFile)
        return result;
    Failure const failure = loadFailure(candidate.path, _OX_DataBuffer::WrongMagic);
    return {Verdict::Damaged, std::nullopt, failure.text(), failure.status()};
}

class Verify
{
  public:
    Verify(Options const & options, Report & report) : options_(options), report_(report) {}

    void run()
    {
        report_.beginArray(QStringLiteral("files"));
        collect();
        checkAll();
        report_.set(QStringLiteral("counts"),
                    QJsonObject{{QStringLiteral("intact"), intact_},
                                {QStringLiteral("damaged"), damaged_},
                                {QStringLiteral("unreadable"), unreadable_},
                                {QStringLiteral("otherFormat"), others_}});
        report_.line(QStringLiteral("done"),
                     QStringLiteral("%1 intact, %2 damaged, %3 unreadable, %4 of another format")
                         .arg(intact_)
                         .arg(damaged_)
                         .arg(unreadable_)
                         .arg(others_));
        if (damaged_ > 0)
            throw Failure(QStringLiteral("%1 of %2 files are damaged")
                              .arg(damaged_)
                              .arg(intact_ + damaged_ + unreadable_),
                          Damaged);
        if (!failures_.isEmpty())
            throw Failure::reported(failures_, status_);
    }

  private:
    bool isWanted(QString const & path) const
    {
        return options_.endings.empty() ||
               std::ranges::any_of(options_.endings, [&path](QString const & ending) {
                   return path.endsWith(ending, Qt::CaseInsensitive);
               });
    }

    void collect()
    {
        Progress const progress(QStringLiteral("Searching %1").arg(options_.paths.front()));
        for (QString const & path : options_.paths) {
            auto const status = platform::fileStatus(nativeName(path));
            if (!status)
                fail(Failure(
                    QStringLiteral("cannot read '%1': %2").arg(path, reasonOf(status.error())),
                    statusOf(status.error())));
            else if (status->isFolder)
                collectFolder(path);
            else
                candidates_.push_back({path, status->size, true});
        }
    }

    void collectFolder(QString const & folder)
    {
        walkFiles(
            folder, options_.recursive,
            [this](QString const & path, platform::FolderWalk & entry) {
                // A link is skipped: another user could have created a link to a device.
                if (isWanted(path) && !entry.isLink())
                    candidates_.push_back({path, entry.size(), !options_.endings.empty()});
            },
            [this](Failure const & failure) { fail(failure); });
        std::ranges::sort(candidates_, {}, &Candidate::path);
    }

    void checkAll()
    {
        qint64 all = 0;
        for (Candidate const & candidate : candidates_)
            all += candidate.size;
        std::atomic<qint64> done = 0;
        Progress const progress(QStringLiteral("Verifying %1 files").arg(candidates_.size()), all,
                                [&done] { return done.load(); });
        for (Candidate const & candidate : candidates_) {
            show(candidate, check(candidate));
            done += candidate.size;
        }
    }

    void show(Candidate const & candidate, Verification const & result)
    {
        switch (result.verdict) {
        case Verdict::Intact:
            ++intact_;
            if (options_.verbose)
                list("intact", candidate, result);
            break;
        case Verdict::Damaged:
            ++damaged_;
            list("damaged", candidate, result);
            break;
        case Verdict::Unreadable:
            ++unreadable_;
            list("unreadable", candidate, result);
            fail(Failure(result.failure, result.status));
            break;
        case Verdict::OtherFormat:
            ++others_;
        }
    }

    void list(char const * verdict, Candidate const & candidate, Verification const & result)
    {
        // The failure is "cannot load 'PATH': REASON". Only REASON is needed, since the report line
        // already begins with the path.
        QString const reason =
            result.failure.mid(result.failure.lastIndexOf(QLatin1String("': ")) + 3);
        QJsonObject json = {{QStringLiteral("file"), candidate.path},
                            {QStringLiteral("size"), candidate.size}};
        if (result.format)
            json.insert(QStringLiteral("format"), formatName(*result.format));
        json.insert(QStringLiteral("intact"), result.verdict == Verdict::Unreadable
                                                  ? QJsonValue()
                                                  : result.verdict == Verdict::Intact);
        if (!result.failure.isEmpty())
            json.insert(QStringLiteral("error"), result.failure);
        report_.append(json);
        if (result.verdict == Verdict::Unreadable)
            return; // fail() writes the message
        Progress::erase();
        report_.line(QString::fromLatin1(verdict),
                     result.failure.isEmpty()
                         ? candidate.path
                         : QStringLiteral("%1: %2").arg(candidate.path, reason));
    }

    void fail(Failure const & failure)
    {
        Progress::erase();
        writeError(failure.text());
        failures_ += failure.text();
        status_ = combinedStatus(status_, failure.status());
    }

    Options const & options_;
    Report & report_;
    std::vector<Candidate> candidates_;
    int intact_ = 0;
    int damaged_ = 0;
    int unreadable_ = 0;
    int others_ = 0;
    QStringList failures_;
    int status_ = Done;
};

} // namespace

Command verifyCommand()
{
    auto const options = std::make_shared<Options>();
    return {
        .name = "verify",
        .group = Group::BufferFiles,
        .summary = "Check the buffer files of folders, and list the damaged ones",
        .details =
            "In folders, files of other formats are counted and skipped; with --ends, every file\n"
            "with this ending must be a buffer file. The exit status is 3 if a file is damaged.",
        .options = {{.name = "PATH",
                     .help = "Folders, or buffer files of any format",
                     .target = &options->paths,
                     .isRequired = true},
                    {.name = "--recursive",
                     .letter = 'r',
                     .help = "Check the files of subfolders as well",
                     .target = &options->recursive},
                    {.name = "--ends",
                     .valueName = "ENDING",
                     .help = "Check only files with this ending, in any letter case",
                     .target = &options->endings},
                    {.name = "--verbose",
                     .help = "List intact files as well",
                     .target = &options->verbose},
                    jsonOption(options->json)},
        .examples = {"oxtool verify /mnt/share/jobs --recursive"},
        .run = reporting(
            options, [](Options const & given, Report & report) { Verify(given, report).run(); })};
}

} // namespace ox::tool
