#include "oxtool/commands/follow.h"

#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/growing_file.h"
#include "oxtool/support/names.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "oxtool/support/shown_text.h"
#include "oxtool/support/stop.h"
#include "shared/platform/files.h"
#include "shared/platform/open_file.h"
#include "shared/platform/program/console.h"
#include "shared/system/environment.h"

#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace ox::tool
{
namespace
{

/// Writes text to standard output. On a terminal, escapes unprintable characters; otherwise writes
/// the bytes unchanged.
class TextOutput
{
  public:
    void write(QByteArray const & bytes)
    {
        if (!isTerminal_) {
            writeBytes(bytes);
            return;
        }
        pending_ += bytes;
        QByteArray const whole = pending_.left(wholeCharacters());
        pending_.remove(0, whole.size());
        QString text = QString::fromUtf8(whole);
        text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
        writeBytes(shownLines(text).toUtf8());
    }

  private:
    static void writeBytes(QByteArray const & bytes)
    {
        writeOutput(bytes.constData(), bytes.size());
        std::fflush(stdout);
    }

    /// Returns the length of `pending_` without an incomplete UTF-8 sequence or a carriage return
    /// at its end.
    int wholeCharacters() const
    {
        auto const size = static_cast<int>(pending_.size());
        for (int length = 1; length <= std::min(size, 3); ++length) {
            auto const byte = static_cast<unsigned char>(pending_[size - length]);
            bool const beginsSequence = byte >= 0xC0;
            int const needed = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
            if ((beginsSequence && needed > length) || (length == 1 && byte == '\r'))
                return size - length;
            if (byte < 0x80 || beginsSequence)
                break;
        }
        return size;
    }

    bool const isTerminal_ = platform::isTerminal(stdout);
    QByteArray pending_;
};

/// The copy of a growing file. At any time it contains the first bytes of the file.
class Copy
{
  public:
    explicit Copy(QString const & path) : path_(path) {}

    /// Returns the size of the copy; 0 if the copy does not exist.
    /// Fails: when the status of the copy cannot be read, throws Failure. The result 0 would mean
    /// an empty copy.
    qint64 size() const
    {
        auto const status = platform::fileStatus(nativeName(path_));
        if (!status && status.error().kind() != platform::ErrorKind::NotFound)
            throw Failure(
                QStringLiteral("cannot read '%1': %2").arg(path_, reasonOf(status.error())),
                statusOf(status.error()));
        return status && !status->isFolder ? status->size : 0;
    }

    void clear() const { static_cast<void>(open(platform::Content::Emptied)); }

    /// Appends `bytes` to the copy.
    /// Fails: throws Failure; bytes that were written before the failure stay in the copy.
    void append(QByteArray const & bytes) const
    {
        platform::OpenFile file = open(platform::Content::Kept);
        auto written = file.write(bytes.constData(), static_cast<std::size_t>(bytes.size()));
        if (written)
            written = file.close();
        if (!written)
            throw Failure(QStringLiteral("cannot append to '%1' (%2 bytes copied): %3")
                              .arg(path_, QString::number(size()), reasonOf(written.error())));
    }

  private:
    platform::OpenFile open(platform::Content content) const
    {
        auto file = platform::openInPlace(nativeName(path_), content);
        if (!file)
            throw Failure(
                QStringLiteral("cannot write '%1': %2").arg(path_, reasonOf(file.error())),
                statusOf(file.error()));
        return *std::move(file);
    }

    QString path_;
};

/// Polls a file until it has not grown for the time of --idle.
class Follower
{
  public:
    explicit Follower(FollowOptions const & options)
        : options_(options), source_(options.file), copy_(options.copy)
    {
    }

    void run()
    {
        if (options_.copy.isEmpty())
            follow([] {}, [this](QByteArray const & bytes) { output_.write(bytes); });
        else
            followToCopy();
    }

  private:
    void followToCopy()
    {
        QString const to = options_.copy;
        auto const mayCopy = platform::mayReplace(nativeName(to), nativeName(options_.file));
        if (!mayCopy)
            throw Failure(QStringLiteral("cannot copy '%1' to '%2': %3")
                              .arg(options_.file, to, reasonOf(mayCopy.error())));
        StopGuard guard;
        guard.acquire([] { return true; }, [] {},
                      [&] {
                          return QStringLiteral("stopped: the copy '%1' has %2 bytes")
                              .arg(to)
                              .arg(copy_.size());
                      });
        if (platform::statusOfFile(nativeName(to)) && !source_.skipCopied(to))
            copy_.clear();
        follow([this] { copy_.clear(); },
               [this](QByteArray const & bytes) { copy_.append(bytes); });
    }

    void follow(std::function<void()> const & restart, GrowingFile::Receive const & receive)
    {
        if (options_.copy.isEmpty() && !options_.all)
            source_.skipToEnd();
        requireSource();
        QElapsedTimer idle;
        idle.start();
        while (!isOutputLost()) {
            // While the source is missing, the copy stays unchanged.
            bool const mayRestart =
                !options_.copy.isEmpty() && platform::statusOfFile(nativeName(options_.file));
            if (mayRestart && copy_.size() != source_.position()) {
                // Another program has changed or deleted the copy.
                copy_.clear();
                source_.rewind();
            }
            qint64 const before = source_.position();
            auto const change = source_.poll(restart, receive);
            show(change, before);
            if (change == GrowingFile::Change::Grown || change == GrowingFile::Change::Restarted)
                idle.restart();
            else if (options_.idleMs > 0 && idle.elapsed() >= options_.idleMs)
                break;
            oxSleep(options_.intervalMs);
        }
    }

    void requireSource() const
    {
        auto const status = platform::fileStatus(nativeName(options_.file));
        if (!status)
            throw Failure(
                QStringLiteral("cannot read '%1': %2").arg(options_.file, reasonOf(status.error())),
                statusOf(status.error()));
    }

    void show(GrowingFile::Change change, qint64 before)
    {
        bool const isRestarted = change == GrowingFile::Change::Restarted;
        bool const isMissing = change == GrowingFile::Change::Missing;
        if (isMissing && !wasMissing_)
            writeError(QStringLiteral("'%1' does not exist any more; waiting for a new file")
                           .arg(options_.file));
        wasMissing_ = isMissing;
        if (isRestarted)
            writeError(QStringLiteral("'%1' was truncated or replaced; following it from its "
                                      "beginning")
                           .arg(options_.file));
        if (options_.copy.isEmpty() || (change != GrowingFile::Change::Grown && !isRestarted))
            return;
        qint64 const size = source_.position();
        qint64 const added = isRestarted ? size : size - before;
        if (options_.json)
            writeJsonLine({{QStringLiteral("from"), options_.file},
                           {QStringLiteral("to"), options_.copy},
                           {QStringLiteral("whole"), isRestarted},
                           {QStringLiteral("added"), added},
                           {QStringLiteral("size"), size}});
        else
            Report(false).line(QStringLiteral("appended"),
                               QStringLiteral("%1 to %2, size now %3")
                                   .arg(sizeText(added), options_.copy, sizeText(size)));
    }

    FollowOptions const & options_;
    GrowingFile source_;
    Copy copy_;
    TextOutput output_;
    bool wasMissing_ = false;
};

} // namespace

std::vector<Option> followTimes(FollowOptions & options)
{
    return {{.name = "--interval",
             .letter = 'i',
             .valueName = "TIME",
             .help = "Time between two polls of the growing file",
             .target = Milliseconds{&options.intervalMs},
             .showsDefault = true,
             .range = Range{10, 24 * 3600 * 1000}},
            {.name = "--idle",
             .valueName = "TIME",
             .help = "End when the file has not grown for this time; 0 for no limit",
             .target = Milliseconds{&options.idleMs},
             .showsDefault = true,
             .range = atLeast(0)}};
}

int follow(FollowOptions const & options)
{
    return runInLines(options.json, [&] { Follower(options).run(); });
}

Command followCommand()
{
    auto const options = std::make_shared<FollowOptions>();
    Command command = {
        .name = "follow",
        .group = Group::Files,
        .summary = "Show or copy the new data of a growing file, until Ctrl-C",
        .details =
            "A file that was truncated or replaced is followed from its beginning. On a terminal,\n"
            "unprintable characters are escaped.",
        .options = {{.name = "FILE",
                     .help = "Growing file, such as a render log",
                     .target = &options->file,
                     .isRequired = true},
                    {.name = "--to",
                     .valueName = "COPY",
                     .help = "Append to COPY instead of writing to standard output; continue an "
                             "existing copy",
                     .target = &options->copy},
                    {.name = "--all",
                     .help = "Show the current content first",
                     .target = &options->all,
                     .excludes = "--to"}},
        .examples = {"oxtool follow /mnt/share/logs/render.log",
                     "oxtool follow render.log --to /mnt/share/logs/render.log"},
        .run = [options] { return follow(*options); }};
    std::ranges::move(followTimes(*options), std::back_inserter(command.options));
    command.options.push_back(jsonLinesOption(options->json));
    command.options.back().needs = "--to";
    return command;
}

} // namespace ox::tool
