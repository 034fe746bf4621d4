#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/file_walk.h"
#include "oxtool/support/lock_state.h"
#include "oxtool/support/names.h"
#include "oxtool/support/report.h"
#include "oxtool/support/shown_text.h"
#include "shared/fs/lock_file_status.h"
#include "shared/system/environment.h"

#include <map>
#include <utility>

namespace ox::tool
{
namespace
{

struct Options {
    std::vector<QString> folders;
    bool recursive = false;
    bool watch = false;
    int intervalMs = 2000;
    int count = 0;
    bool json = false;
};

QLatin1String const ending("_lock.txt");

/// Maps the path of each lock file to the state of its lock.
using Locks = std::map<QString, _oxFileLockStatus>;

/// Result of one search for lock files in all folders.
struct Search {
    Locks locks;
    QStringList failures;
    int status = Done;
};

/// Returns the state of a lock file. If the lock seems to be left behind, queries the state twice:
/// the holder may have released the lock during the first query.
_oxFileLockStatus statusOfLock(QString const & lockFile)
{
    platform::NativeName const name = nativeName(lockFile);
    _oxFileLockStatus const status = fs::statusOfLockFile(name);
    bool const looksLeft = status.exists && status.holder == _oxFileLockStatus::Nobody;
    return looksLeft ? fs::statusOfLockFile(name) : status;
}

Search searchLocks(Options const & options)
{
    Search found;
    auto const visit = [&found](QString const & path, platform::FolderWalk &) {
        if (!path.endsWith(ending))
            return;
        _oxFileLockStatus const status = statusOfLock(path);
        if (status.exists)
            found.locks.emplace(path, status);
    };
    auto const fail = [&found](Failure const & failure) {
        found.failures += failure.text();
        found.status = combinedStatus(found.status, failure.status());
    };
    for (QString const & folder : options.folders)
        walkFiles(folder, options.recursive, visit, fail);
    return found;
}

QString fileOf(QString const & lockFile)
{
    return lockFile.chopped(ending.size());
}

QString lineOf(QString const & state, qint64 since, QString const & holder, QString const & file)
{
    return QStringLiteral("%1  %2  %3  %4")
        .arg(padded(state, 11), timeText(since), padded(shownText(holder), 26), file);
}

QString heading()
{
    return QStringLiteral("%1  %2  %3  FILE")
        .arg(padded(QStringLiteral("STATE"), 11), padded(QStringLiteral("SINCE"), 19),
             padded(QStringLiteral("HOLDER"), 26));
}

QJsonObject jsonOf(QString const & lockFile, _oxFileLockStatus const & status)
{
    QJsonObject json = lockJson(status);
    json.insert(QStringLiteral("file"), fileOf(lockFile));
    json.insert(QStringLiteral("lockFile"), lockFile);
    json.insert(QStringLiteral("held"), status.exists);
    return json;
}

void show(QString const & lockFile, _oxFileLockStatus const & status, Report & report)
{
    report.text(
        lineOf(lockStateText(status), status.since.value, holderName(status), fileOf(lockFile)));
    report.append(jsonOf(lockFile, status));
}

void list(Options const & options, Report & report)
{
    Search const found = searchLocks(options);
    std::map<QString, int> counts;
    report.beginArray(QStringLiteral("locks"));
    if (!found.locks.empty())
        report.text(heading());
    for (auto const & [lockFile, status] : found.locks) {
        show(lockFile, status, report);
        ++counts[lockStateText(status)];
    }
    QStringList parts;
    for (auto const & [state, count] : counts)
        parts += QStringLiteral("%1 %2").arg(count).arg(state);
    report.line(QStringLiteral("locks"),
                parts.isEmpty() ? QStringLiteral("none") : parts.join(QLatin1String(", ")));
    for (QString const & failure : found.failures)
        writeError(failure);
    if (!found.failures.isEmpty())
        throw Failure::reported(found.failures, found.status);
}

bool isSame(_oxFileLockStatus const & one, _oxFileLockStatus const & other)
{
    return one.holder == other.holder && one.since == other.since && one.who == other.who;
}

/// Shows each change of a lock in a line; with --json as a JSON object in one line.
class Watch
{
  public:
    explicit Watch(Options const & options) : options_(options) {}

    void run()
    {
        if (!options_.json)
            writeLine(heading());
        for (int searches = 1; !isOutputLost(); ++searches) {
            Search found = searchLocks(options_);
            // Without any readable folder there is nothing to watch.
            if (searches == 1 && found.failures.size() == std::ssize(options_.folders) &&
                found.locks.empty())
                throw Failure(found.failures.join(u'\n'), found.status);
            showChanges(std::move(found));
            if (searches == options_.count)
                break;
            oxSleep(options_.intervalMs);
        }
    }

  private:
    void showChanges(Search && found)
    {
        for (auto const & [lockFile, status] : known_) {
            if (!found.locks.contains(lockFile))
                showReleased(lockFile, status);
        }
        for (auto const & [lockFile, status] : found.locks) {
            auto const old = known_.find(lockFile);
            if (old == known_.end() || !isSame(old->second, status))
                showHeld(lockFile, status);
        }
        known_ = std::move(found.locks);
        for (QString const & failure : std::as_const(found.failures)) {
            if (!failures_.contains(failure))
                writeError(failure);
        }
        failures_ = std::move(found.failures);
    }

    void showHeld(QString const & lockFile, _oxFileLockStatus const & status) const
    {
        if (options_.json)
            writeJsonLine(jsonOf(lockFile, status));
        else
            writeLine(lineOf(lockStateText(status), status.since.value, holderName(status),
                             fileOf(lockFile)));
    }

    void showReleased(QString const & lockFile, _oxFileLockStatus const & last) const
    {
        _oxTime const now(true);
        if (options_.json)
            writeJsonLine({{QStringLiteral("file"), fileOf(lockFile)},
                           {QStringLiteral("lockFile"), lockFile},
                           {QStringLiteral("held"), false},
                           {QStringLiteral("since"), jsonTime(now.value)}});
        else
            writeLine(
                lineOf(QStringLiteral("released"), now.value, holderName(last), fileOf(lockFile)));
    }

    Options const & options_;
    Locks known_;
    QStringList failures_;
};

} // namespace

Command locksCommand()
{
    auto const options = std::make_shared<Options>();
    return {
        .name = "locks",
        .group = Group::Locks,
        .summary = "List the locks in folders with their state, time and holder",
        .details =
            "A lock is left behind if the process that took it has ended without releasing it.\n"
            "\"oxtool lock --break FILE\" removes such a lock. The state is \"cannot tell\" if\n"
            "the share does not report whether a process holds the lock.",
        .options = {{.name = "FOLDER",
                     .help = "Folders with the locked files",
                     .target = &options->folders,
                     .isRequired = true},
                    {.name = "--recursive",
                     .letter = 'r',
                     .help = "Search subfolders as well",
                     .target = &options->recursive},
                    {.name = "--watch",
                     .help = "Show each change until Ctrl-C; with --json one object per line",
                     .target = &options->watch},
                    {.name = "--interval",
                     .letter = 'i',
                     .valueName = "TIME",
                     .help = "Time between two searches with --watch",
                     .target = Milliseconds{&options->intervalMs},
                     .showsDefault = true,
                     .range = Range{50, 24 * 3600 * 1000},
                     .needs = "--watch"},
                    {.name = "--count",
                     .valueName = "N",
                     .help = "End --watch after N searches; 0 for no limit",
                     .target = &options->count,
                     .showsDefault = true,
                     .range = atLeast(0),
                     .needs = "--watch"},
                    jsonOption(options->json)},
        .examples = {"oxtool locks /mnt/share --recursive"},
        .run = [options] {
            if (options->watch)
                return runInLines(options->json, [&] { Watch(*options).run(); });
            return runReported(options->json, [&](Report & report) { list(*options, report); });
        }};
}

} // namespace ox::tool
