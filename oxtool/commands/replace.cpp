#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/output_file.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "shared/data/file_searcher.h"
#include "shared/platform/files.h"

#include <QJsonArray>

#include <functional>
#include <string_view>

namespace ox::tool
{
namespace
{

using Text = _oxString8_evenSize<500>;

struct Options {
    QString file;
    std::vector<QString> more; ///< further files
    std::string search;
    std::string replacement;
    bool utf16 = false;
    bool isExact = false; ///< whether the search respects letter case
    bool dryRun = false;
    bool backup = false;
    bool json = false;
};

/// Returns the bytes of `argument` in the file's encoding. `name` is the name of the argument, for
/// messages.
/// Fails: throws Failure in two cases:
/// - The text is longer than 500 bytes; with `utf16`, longer than 250 characters.
/// - `utf16` is set, and the text has characters outside Latin-1.
Text bytesOf(char const * name, std::string const & argument, bool utf16)
{
    auto const refuse = [name](QString const & reason) {
        throw Failure(QString::fromLatin1(name) + QLatin1Char(' ') + reason, WrongUse);
    };
    if (!utf16) {
        if (argument.size() > 500)
            refuse(QStringLiteral("is longer than 500 bytes"));
        return Text(std::string_view(argument));
    }
    QString const text = fromArgument(argument);
    if (text.size() > 250)
        refuse(QStringLiteral("is longer than 250 characters, the limit of --utf16"));
    if (QString(Text(text)) != text)
        refuse(QStringLiteral("has characters outside Latin-1, which --utf16 does not support: %1")
                   .arg(text));
    return Text(reinterpret_cast<char const *>(text.utf16()), 2 * static_cast<int>(text.size()));
}

/// Throws Failure when the file does not exist.
void requireExisting(QString const & path)
{
    auto const status = platform::fileStatus(nativeName(path));
    if (!status)
        throw Failure(QStringLiteral("cannot read '%1': %2").arg(path, reasonOf(status.error())),
                      statusOf(status.error()));
}

/// Loads a file by `name`, which stays valid if another process renames the file. `path` is the
/// path of the file as the user has given it, for messages.
void load(_oxFileSearcher & file, QString const & name, QString const & path)
{
    if (file.load(name))
        return;
    QString const reason = lastReason();
    auto const status = platform::fileStatus(nativeName(path));
    bool const tooLarge = status && status->size > _oxFileSearcher::largestFile;
    throw Failure(QStringLiteral("cannot read '%1': %2")
                      .arg(path, tooLarge ? QStringLiteral("it is larger than 512 MiB") : reason),
                  status ? Failed : statusOf(status.error()));
}

/// Replaces a text in one file after the other.
class Replacing
{
  public:
    Replacing(Options const & options, Report & report)
        : options_(options), report_(report),
          search_(bytesOf("SEARCH", options.search, options.utf16)),
          replacement_(bytesOf("REPLACEMENT", options.replacement, options.utf16))
    {
        if (search_.isEmpty())
            throw Failure(QStringLiteral("SEARCH is empty"), WrongUse);
    }

    void run()
    {
        if (options_.more.empty()) {
            replaceIn(options_.file, [this](QString const & name, QJsonValue const & value) {
                report_.set(name, value);
            });
            return;
        }
        std::vector<QString> files = {options_.file};
        files.insert(files.end(), options_.more.begin(), options_.more.end());
        report_.beginArray(QStringLiteral("files"));
        for (QString const & file : files)
            replaceInOneOfSeveral(file);
        if (!failures_.isEmpty())
            throw Failure::reported(failures_, status_);
    }

  private:
    /// Stores a member in the JSON object of a file.
    using SetMember = std::function<void(QString const &, QJsonValue const &)>;

    void replaceInOneOfSeveral(QString const & path)
    {
        QJsonObject object;
        try {
            replaceIn(path, [&object](QString const & name, QJsonValue const & value) {
                object.insert(name, value);
            });
        } catch (Failure const & failure) {
            writeError(failure.text());
            failures_.append(failure.text());
            status_ = combinedStatus(status_, failure.status());
            object.insert(QStringLiteral("file"), path);
            object.insert(QStringLiteral("error"), failure.text());
        }
        report_.append(object);
    }

    void replaceIn(QString const & path, SetMember const & set) const
    {
        Progress const progress(QStringLiteral("Replacing in %1").arg(path));
        requireExisting(path);
        OutputFile out(path);
        _oxFileSearcher file;
        load(file, out.nameToRead(), path);
        bool const isOneKept = isLastMatchKept(file);
        std::string exact;
        int const count = options_.dryRun    ? showLines(file, set)
                          : options_.isExact ? replaceExactly(file, exact)
                                             : replaceIgnoringCase(file, path);
        set(QStringLiteral("file"), path);
        set(QStringLiteral("found"), count);
        report_.line(QStringLiteral("matches"), QStringLiteral("%1 in %2").arg(count).arg(path));
        if (options_.dryRun)
            return;
        std::string_view const content =
            options_.isExact ? std::string_view(exact)
                             : std::string_view(file.data, static_cast<std::size_t>(file.size));
        if (count > (isOneKept ? 1 : 0))
            write(content, out, set);
        if (isOneKept)
            throw Failure(QStringLiteral("cannot replace the match at the end of '%1': append a "
                                         "line break to the file first")
                              .arg(path));
    }

    int length() const { return static_cast<int>(search_.size()); }

    int find(_oxFileSearcher const & file, int from) const
    {
        return options_.isExact ? file.indexOf(search_, from) : file.indexOfIgnCase(search_, from);
    }

    /// Returns whether the last match is at the end of the file. The library does not replace a
    /// match at the end of the file.
    bool isLastMatchKept(_oxFileSearcher const & file) const
    {
        if (find(file, file.size - length()) < 0)
            return false;
        // The text at the end of the file is not a match if it overlaps the previous match.
        int next = 0;
        for (int at = 0; (at = find(file, next)) >= 0;)
            next = at + length();
        return next == file.size;
    }

    int replaceIgnoringCase(_oxFileSearcher & file, QString const & path) const
    {
        int const count = file.replaceAll(search_, replacement_);
        if (count == 0 && find(file, 0) >= 0)
            throw Failure(QStringLiteral("cannot replace in '%1': not enough memory").arg(path));
        return count;
    }

    /// Sets `content` to the file's content with all exact matches replaced, and returns the number
    /// of matches. The library's replaceAll() cannot be used, since it always ignores case. A match
    /// at the end of the file is counted but not replaced, as by replaceAll().
    int replaceExactly(_oxFileSearcher const & file, std::string & content) const
    {
        auto const append = [&](int begin, int end) {
            content.append(file.data + begin, static_cast<std::size_t>(end - begin));
        };
        int count = 0;
        int done = 0;
        for (int at = 0; (at = find(file, done)) >= 0;) {
            ++count;
            if (at + length() == file.size)
                break;
            append(done, at);
            content.append(replacement_.view());
            done = at + length();
        }
        append(done, file.size);
        return count;
    }

    void write(std::string_view content, OutputFile & out, SetMember const & set) const
    {
        auto const size = static_cast<qint64>(content.size());
        auto * const bytes = reinterpret_cast<unsigned char const *>(content.data());
        out.requireWritable();
        out.write(bytes, size);
        using Previous = OutputFile::Previous;
        out.commit(options_.backup ? Previous::Kept : Previous::Deleted);
        set(QStringLiteral("size"), size);
        report_.line(QStringLiteral("written"), sizeText(size));
    }

    /// Shows the first 200 characters of each line that contains a match. Returns the number of
    /// matches.
    int showLines(_oxFileSearcher const & file, SetMember const & set) const
    {
        constexpr int longest = 200;
        QJsonArray lines;
        int count = 0;
        int number = 0;
        int end = 0;
        for (int at = find(file, 0); at >= 0; at = find(file, at + length())) {
            ++count;
            if (at < end) // in the line of the previous match
                continue;
            int begin = end;
            for (; at >= end && end < file.size; ++number) {
                begin = end;
                end = lineEnd(file, begin);
            }
            QString const text = lineText(file.data + begin, end - begin).left(longest);
            lines.append(
                QJsonObject{{QStringLiteral("line"), number}, {QStringLiteral("text"), text}});
            report_.line(QStringLiteral("line %1").arg(number), text);
        }
        set(QStringLiteral("lines"), lines);
        return count;
    }

    /// Returns the position after the line break of the line that begins at `begin`.
    int lineEnd(_oxFileSearcher const & file, int begin) const
    {
        int const unit = options_.utf16 ? 2 : 1;
        for (int at = begin; at + unit <= file.size; at += unit) {
            if (file.data[at] == '\n' && (unit == 1 || file.data[at + 1] == 0))
                return at + unit;
        }
        return file.size;
    }

    QString lineText(char const * data, int size) const
    {
        QString text = options_.utf16
                           ? QString::fromUtf16(reinterpret_cast<char16_t const *>(data), size / 2)
                           : fromArgument(std::string(data, static_cast<std::size_t>(size)));
        while (text.endsWith(u'\n') || text.endsWith(u'\r'))
            text.chop(1);
        return text;
    }

    Options const & options_;
    Report & report_;
    Text const search_;
    Text const replacement_;
    QStringList failures_;
    int status_ = Done; ///< exit status of the failures
};

} // namespace

Command replaceCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "replace",
            .group = Group::Files,
            .summary = "Replace a text in files",
            .details = "Without --case-sensitive the search ignores the case of ASCII letters. It "
                       "compares all\n"
                       "other bytes exactly.",
            .options = {{.name = "FILE",
                         .help = "File to change",
                         .target = &options->file,
                         .isRequired = true},
                        {.name = "SEARCH",
                         .help = "Text to search for",
                         .target = &options->search,
                         .isRequired = true},
                        {.name = "REPLACEMENT",
                         .help = "New text; may be empty",
                         .target = &options->replacement,
                         .isRequired = true},
                        {.name = "MORE", .help = "More files to change", .target = &options->more},
                        {.name = "--case-sensitive",
                         .help = "Respect the letter case of the text",
                         .target = &options->isExact},
                        {.name = "--dry-run",
                         .letter = 'n',
                         .help = "Change nothing; only list the lines with the text",
                         .target = &options->dryRun},
                        {.name = "--backup",
                         .help = "Keep the previous file as FILE_old",
                         .target = &options->backup},
                        {.name = "--utf16",
                         .help = "Treat the file as UTF-16, little endian",
                         .target = &options->utf16},
                        jsonOption(options->json)},
            .examples = {"oxtool replace /mnt/share/farm.ini old-server new-server",
                         "oxtool replace a.ini 'old server' 'new server' b.ini c.ini --dry-run"},
            .run = reporting(options, [](Options const & given, Report & report) {
                Replacing(given, report).run();
            })};
}

} // namespace ox::tool
