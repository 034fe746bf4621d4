#include "oxtool/commands.h"
#include "oxtool/failure.h"
#include "oxtool/names.h"
#include "oxtool/output_file.h"
#include "oxtool/progress.h"
#include "oxtool/report.h"
#include "shared/data/file_searcher.h"
#include "shared/platform/files.h"

namespace ox::tool
{
namespace
{

using Text = _oxString8_evenSize<500>;

struct Options {
    std::string file;
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

void load(_oxFileSearcher & file, QString const & path)
{
    if (file.load(path))
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

void replace(Options const & options, Report & report)
{
    QString const path = fromArgument(options.file);
    Text const search = bytesOf(options.search, options.utf16);
    Text const replacement = bytesOf(options.replacement, options.utf16);
    if (search.isEmpty())
        throw Failure(QStringLiteral("The text to search for is empty."), WrongUse);

    Progress const progress(QStringLiteral("Replacing in %1").arg(path));
    OutputFile out(path);
    _oxFileSearcher file;
    load(file, path);
    int const count = replaceIn(file, search, replacement);
    report.set(QStringLiteral("file"), path);
    report.set(QStringLiteral("found"), count);
    report.line(QStringLiteral("found"), QStringLiteral("%1 times in %2").arg(count).arg(path));
    if (count == 0)
        return;
    out.keepPermissions();
    out.write(reinterpret_cast<unsigned char *>(file.data), file.size);
    out.commit();
    report.set(QStringLiteral("size"), file.size);
    report.line(QStringLiteral("written"), sizeText(file.size));
    if (file.indexOfIgnCase(search, file.size - search.size()) >= 0)
        report.line(QStringLiteral("end"), QStringLiteral("the file ends with the text, which is "
                                                          "not replaced there"));
}

} // namespace

void addReplace(CLI::App & program, Run & run)
{
    auto const options = std::make_shared<Options>();
    CLI::App & command =
        *program.add_subcommand("replace", "Replace a text wherever a file has it");
    command.footer("Letters of either case are found. Texts are taken byte by byte.\n"
                   "Example:\n"
                   "  oxtool replace /mnt/share/farm.ini old-server new-server");
    command.add_option("FILE", options->file, "The file to change")->required();
    command.add_option("SEARCH", options->search, "The text to search for")->required();
    command.add_option("REPLACEMENT", options->replacement, "The text to put there, may be empty")
        ->required();
    command.add_flag("--utf16", options->utf16, "The file is in UTF-16 (little endian)");
    addJson(command, options->json);
    command.callback([options, &run] { run = reporting(options, replace); });
}

} // namespace ox::tool
