#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/output_file.h"
#include "oxtool/support/progress.h"
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

/// An argument as it stands in the file. Fails where a cut text, or "?" for a letter, would be
/// searched instead.
Text bytesOf(std::string const & argument, bool utf16)
{
    if (!utf16) {
        if (argument.size() > 500)
            throw Failure(QStringLiteral("A text has up to 500 bytes."), WrongUse);
        return Text(std::string_view(argument));
    }
    QString const text = fromArgument(argument);
    if (text.size() > 250)
        throw Failure(QStringLiteral("A text in UTF-16 has up to 250 characters."), WrongUse);
    if (QString(Text(text)) != text)
        throw Failure(QStringLiteral("A text in UTF-16 has characters of Latin-1 only, other than "
                                     "%1.")
                          .arg(text),
                      WrongUse);
    return Text(reinterpret_cast<char const *>(text.utf16()), 2 * static_cast<int>(text.size()));
}

/// `name` is where the file of that path is read.
void load(_oxFileSearcher & file, QString const & name, QString const & path)
{
    if (file.load(name))
        return;
    QString const message = lastSystemMessage();
    auto const status = platform::fileStatus(nativeName(path));
    bool const tooLarge = status && status->size > _oxFileSearcher::largestFile;
    throw Failure(tooLarge ? QStringLiteral("%1 has more than 512 MiB.").arg(path)
                           : QStringLiteral("%1 cannot be read. %2").arg(path, message));
}

int replaceIn(_oxFileSearcher & file, Text const & search, Text const & replacement)
{
    int const count = file.replaceAll(search, replacement);
    if (count == 0 && file.indexOfIgnCase(search, 0) >= 0)
        throw Failure(QStringLiteral("There is not enough memory."));
    return count;
}

/// Whether the last match ends the file. The library leaves that one in place.
bool isLastMatchLeft(_oxFileSearcher const & file, Text const & search)
{
    int const length = static_cast<int>(search.size());
    if (file.indexOfIgnCase(search, file.size - length) < 0)
        return false;
    // The end of the file may overlap the match before it.
    int next = 0;
    for (int at = 0; (at = file.indexOfIgnCase(search, next)) >= 0;)
        next = at + length;
    return next == file.size;
}

void replace(Options const & options, Report & report)
{
    QString const path = options.file;
    Text const search = bytesOf(options.search, options.utf16);
    Text const replacement = bytesOf(options.replacement, options.utf16);
    if (search.isEmpty())
        throw Failure(QStringLiteral("The text to search for is empty."), WrongUse);

    Progress const progress(QStringLiteral("Replacing in %1").arg(path));
    OutputFile out(path);
    _oxFileSearcher file;
    load(file, out.nameToRead(), path);
    bool const isOneLeft = isLastMatchLeft(file, search);
    int const count = replaceIn(file, search, replacement);
    report.set(QStringLiteral("file"), path);
    report.set(QStringLiteral("found"), count);
    report.line(QStringLiteral("found"), QStringLiteral("%1 times in %2").arg(count).arg(path));
    if (count > (isOneLeft ? 1 : 0)) {
        out.refuseWriteProtected();
        out.write(reinterpret_cast<unsigned char *>(file.data), file.size);
        out.commit();
        report.set(QStringLiteral("size"), file.size);
        report.line(QStringLiteral("written"), sizeText(file.size));
    }
    if (isOneLeft)
        throw Failure(QStringLiteral("cannot replace the match that ends '%1': end the file with a "
                                     "line break first")
                          .arg(path));
}

} // namespace

Command replaceCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "replace",
            .group = Group::Files,
            .summary = "Replace a text in a file",
            .details =
                "The search ignores the case of ASCII letters. Texts are compared byte by byte.",
            .options = {{.name = "FILE",
                         .help = "File to change",
                         .target = &options->file,
                         .isRequired = true},
                        {.name = "SEARCH",
                         .help = "Text to search for",
                         .target = &options->search,
                         .isRequired = true},
                        {.name = "REPLACEMENT",
                         .help = "Text to put in its place, may be empty",
                         .target = &options->replacement,
                         .isRequired = true},
                        {.name = "--utf16",
                         .help = "Treat the file as UTF-16 (little endian)",
                         .target = &options->utf16},
                        jsonOption(options->json)},
            .examples = {"oxtool replace /mnt/share/farm.ini old-server new-server"},
            .run = reporting(options, replace)};
}

} // namespace ox::tool
