#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/output_file.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "shared/data/file_searcher.h"
#include "shared/platform/files.h"

namespace ox::tool
{
namespace
{

using Text = _oxString8_evenSize<500>;

struct Options {
    QString file;
    std::string search;
    std::string replacement;
    bool utf16 = false;
    bool json = false;
};

/// Returns the bytes of an argument in the file's encoding.
/// Fails: throws Failure when the text is too long for the record or not representable in it.
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
        refuse(
            QStringLiteral("has characters outside Latin-1, the limit of --utf16: %1").arg(text));
    return Text(reinterpret_cast<char const *>(text.utf16()), 2 * static_cast<int>(text.size()));
}

/// Fails: throws Failure when the file does not exist.
void requireExisting(QString const & path)
{
    auto const status = platform::fileStatus(nativeName(path));
    if (!status)
        throw Failure(QStringLiteral("cannot read '%1': %2").arg(path, reasonOf(status.error())),
                      statusOf(status.error()));
}

/// Loads the file `path` under `name`, a name that stays valid.
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

int replaceIn(_oxFileSearcher & file, QString const & path, Text const & search,
              Text const & replacement)
{
    int const count = file.replaceAll(search, replacement);
    if (count == 0 && file.indexOfIgnCase(search, 0) >= 0)
        throw Failure(QStringLiteral("cannot replace in '%1': not enough memory").arg(path));
    return count;
}

/// Returns whether the last match is at the end of the file, where the library does not replace it.
bool isLastMatchKept(_oxFileSearcher const & file, Text const & search)
{
    int const length = static_cast<int>(search.size());
    if (file.indexOfIgnCase(search, file.size - length) < 0)
        return false;
    // The last bytes of the file may overlap the previous match.
    int next = 0;
    for (int at = 0; (at = file.indexOfIgnCase(search, next)) >= 0;)
        next = at + length;
    return next == file.size;
}

void replace(Options const & options, Report & report)
{
    QString const path = options.file;
    Text const search = bytesOf("SEARCH", options.search, options.utf16);
    Text const replacement = bytesOf("REPLACEMENT", options.replacement, options.utf16);
    if (search.isEmpty())
        throw Failure(QStringLiteral("SEARCH is empty"), WrongUse);

    Progress const progress(QStringLiteral("Replacing in %1").arg(path));
    requireExisting(path);
    OutputFile out(path);
    _oxFileSearcher file;
    load(file, out.nameToRead(), path);
    bool const isOneKept = isLastMatchKept(file, search);
    int const count = replaceIn(file, path, search, replacement);
    report.set(QStringLiteral("file"), path);
    report.set(QStringLiteral("found"), count);
    report.line(QStringLiteral("matches"), QStringLiteral("%1 in %2").arg(count).arg(path));
    if (count > (isOneKept ? 1 : 0)) {
        out.requireWritable();
        out.write(reinterpret_cast<unsigned char *>(file.data), file.size);
        out.commit();
        report.set(QStringLiteral("size"), file.size);
        report.line(QStringLiteral("written"), sizeText(file.size));
    }
    if (isOneKept)
        throw Failure(QStringLiteral("cannot replace the match at the end of '%1': append a line "
                                     "break to the file first")
                          .arg(path));
}

} // namespace

Command replaceCommand()
{
    auto const options = std::make_shared<Options>();
    return {
        .name = "replace",
        .group = Group::Files,
        .summary = "Replace a text in a file",
        .details =
            "The search ignores the case of ASCII letters and compares all other bytes exactly.",
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
                    {.name = "--utf16",
                     .help = "Treat the file as UTF-16, little endian",
                     .target = &options->utf16},
                    jsonOption(options->json)},
        .examples = {"oxtool replace /mnt/share/farm.ini old-server new-server"},
        .run = reporting(options, replace)};
}

} // namespace ox::tool
