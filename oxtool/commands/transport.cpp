// The commands `encode` and `decode`. A transport run is the escape sequence by which the farm's
// Latin-1 files store a word with letters outside of Latin-1.

#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/input.h"
#include "oxtool/support/report.h"
#include "oxtool/support/shown_text.h"
#include "shared/platform/program/console.h"
#include "shared/text/encoding.h"

#include <QStringList>

#include <cstdio>
#include <span>

namespace ox::tool
{
namespace
{

constexpr int largestInput = 64 * 1024 * 1024;

struct Options {
    QString text;
    bool asUtf16 = false;
    bool keepOriginal = false;
    bool asLatin1 = false; ///< whether the stored side of a pipe is Latin-1
    bool json = false;
};

/// Returns the text of the command line or of the standard input. With `isLatin1` the standard
/// input is Latin-1, otherwise UTF-8.
/// Fails: throws Failure when the standard input is not readable or not UTF-8.
QString inputOf(Options const & options, bool isLatin1)
{
    if (!isStandardInput(options.text))
        return options.text;
    QByteArray bytes;
    readPieces(options.text, [&bytes](std::span<unsigned char> piece) {
        if (bytes.size() > largestInput)
            throw Failure(QStringLiteral("the standard input is larger than 64 MiB"));
        bytes.append(reinterpret_cast<char const *>(piece.data()), static_cast<int>(piece.size()));
    });
    if (isLatin1)
        return QString::fromLatin1(bytes);
    QString const text = QString::fromUtf8(bytes);
    if (text.toUtf8() != bytes)
        throw Failure(QStringLiteral("the standard input is not UTF-8"));
    return text;
}

/// Shows `result`. Escapes unprintable characters only on a terminal: runs contain unprintable
/// characters, and a program that reads the output needs the runs unchanged. Appends a line break
/// only if the input is from the command line; standard input contains its own line breaks.
void show(Options const & options, QString const & text, QString const & result, bool isLatin1,
          Report & report)
{
    report.set(QStringLiteral("text"), text);
    report.set(QStringLiteral("result"), result);
    if (options.json)
        return;
    QString shown = platform::isTerminal(stdout) ? shownLines(result) : result;
    if (!isStandardInput(options.text))
        shown += u'\n';
    QByteArray const bytes = isLatin1 ? shown.toLatin1() : shown.toUtf8();
    writeOutput(bytes.constData(), bytes.size());
}

void encode(Options const & options, Report & report)
{
    QString const text = inputOf(options, false);
    QStringList lines = text.split(u'\n');
    for (QString & line : lines) // a run must not contain a line break
        line = (options.asUtf16 ? oxToOXUni16 : oxToOXUTF8)(line, options.keepOriginal);
    show(options, text, lines.join(u'\n'), options.asLatin1, report);
}

void decode(Options const & options, Report & report)
{
    QString const text = inputOf(options, options.asLatin1);
    // A 16-bit run may contain the byte of a line break, so the text is not split into lines first.
    show(options, text, oxFromOXUni16(oxFromOXUTF8(text)), false, report);
}

Option textOption(Options & options)
{
    return {.name = "TEXT",
            .help = "Text to convert; - for the standard input",
            .target = &options.text,
            .isRequired = true};
}

char const * const details =
    "A word with a letter outside of Latin-1 is stored as a run (an escape sequence): a marker,\n"
    "one letter for each byte of the word, and \">\". The marker \"<UTF8\" means bytes in UTF-8,\n"
    "the marker \"<UNI16\" bytes in UTF-16. A terminal shows unprintable letters as \\u0097.";

} // namespace

Command encodeCommand()
{
    auto const options = std::make_shared<Options>();
    return {
        .name = "encode",
        .group = Group::Diagnosis,
        .summary = "Encode a text for the farm's Latin-1 files",
        .details = details,
        .options = {textOption(*options),
                    {.name = "--utf16",
                     .help = "Write 16-bit runs (<UNI16) instead of UTF-8 runs (<UTF8)",
                     .target = &options->asUtf16},
                    {.name = "--keep",
                     .help = "Also write the original word, after the run",
                     .target = &options->keepOriginal},
                    {.name = "--latin1",
                     .help = "Write Latin-1, the encoding of the farm's files, instead of UTF-8",
                     .target = &options->asLatin1},
                    jsonOption(options->json)},
        .examples = {"oxtool encode \"$name\"", "oxtool encode --latin1 - <names.txt >farm.ini"},
        .run = reporting(options, encode)};
}

Command decodeCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "decode",
            .group = Group::Diagnosis,
            .summary = "Decode a text from the farm's Latin-1 files",
            .details = details,
            .options = {textOption(*options),
                        {.name = "--latin1",
                         .help = "Read standard input as Latin-1, the encoding of the farm's files",
                         .target = &options->asLatin1},
                        jsonOption(options->json)},
            .examples = {"oxtool decode \"$stored\"", "oxtool decode --latin1 - <farm.ini"},
            .run = reporting(options, decode)};
}

} // namespace ox::tool
