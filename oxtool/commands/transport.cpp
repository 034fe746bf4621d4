// The commands encode and decode. A transport run is the escape sequence by which the farm's
// Latin-1 files store a word with letters outside of Latin-1.

#include "oxtool/commands/commands.h"
#include "oxtool/support/report.h"
#include "oxtool/support/shown_text.h"
#include "shared/platform/program/console.h"
#include "shared/text/encoding.h"

#include <cstdio>

namespace ox::tool
{
namespace
{

struct Options {
    QString text;
    bool asUtf16 = false;
    bool keepOriginal = false;
    bool json = false;
};

/// Shows `result`. Escapes unprintable characters only on a terminal, since runs contain them.
void show(Options const & options, QString const & result, Report & report)
{
    report.set(QStringLiteral("text"), options.text);
    report.set(QStringLiteral("result"), result);
    if (options.json)
        return;
    QString const shown = platform::isTerminal(stdout) ? shownText(result) : result;
    QByteArray const bytes = shown.toUtf8() + '\n';
    writeOutput(bytes.constData(), bytes.size());
}

void encode(Options const & options, Report & report)
{
    auto const convert = options.asUtf16 ? oxToOXUni16 : oxToOXUTF8;
    show(options, convert(options.text, options.keepOriginal), report);
}

void decode(Options const & options, Report & report)
{
    show(options, oxFromOXUni16(oxFromOXUTF8(options.text)), report);
}

Option textOption(Options & options)
{
    return {.name = "TEXT", .help = "Text to convert", .target = &options.text, .isRequired = true};
}

char const * const details =
    "A word with a letter outside of Latin-1 is stored as a run, an escape sequence: \"<UTF8\" or\n"
    "\"<UNI16\", one letter for each byte of the word, \">\". A terminal shows unprintable "
    "letters\n"
    "as \\u0097.";

} // namespace

Command encodeCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "encode",
            .group = Group::Diagnosis,
            .summary = "Encode a text for the farm's Latin-1 files",
            .details = details,
            .options = {textOption(*options),
                        {.name = "--utf16",
                         .help = "Write 16-bit runs instead of UTF-8 runs",
                         .target = &options->asUtf16},
                        {.name = "--keep",
                         .help = "Write the word in readable letters after its run",
                         .target = &options->keepOriginal},
                        jsonOption(options->json)},
            .examples = {"oxtool encode \"$name\""},
            .run = reporting(options, encode)};
}

Command decodeCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "decode",
            .group = Group::Diagnosis,
            .summary = "Decode a text from the farm's Latin-1 files",
            .details = details,
            .options = {textOption(*options), jsonOption(options->json)},
            .examples = {"oxtool decode \"$stored\""},
            .run = reporting(options, decode)};
}

} // namespace ox::tool
