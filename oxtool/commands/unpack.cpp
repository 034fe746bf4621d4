#include "oxtool/commands/commands.h"
#include "oxtool/support/buffer_file.h"
#include "oxtool/support/names.h"
#include "oxtool/support/output_file.h"
#include "oxtool/support/report.h"

#include <algorithm>

namespace ox::tool
{
namespace
{

struct Options {
    QString in;
    QString out;
    std::string format; ///< if empty, detected from the content
    bool json = false;
};

void writePayload(_OX_DataBuffer const & payload, QString const & out)
{
    if (out.isEmpty()) {
        writeOutput(payload.data, payload.size);
        return;
    }
    OutputFile file(out);
    file.write(bytesOf(payload), payload.size);
    file.commit();
}

/// Returns the value of --format for a format.
QString nameOf(Format format)
{
    auto const & names = formatNames();
    auto const found =
        std::ranges::find_if(names, [format](auto const & each) { return each.second == format; });
    return found == names.end() ? QString() : QString::fromStdString(found->first);
}

void unpack(Options const & options, Report & report)
{
    QString const path = options.in;
    Format const format =
        options.format.empty() ? formatOf(path) : formatNames().at(options.format);
    _OX_DataBuffer loaded;
    loadBufferFile(path, format, loaded);
    _OX_DataBuffer decompressed;
    bool const isCompressed = format == Format::CompressAndSave;
    if (isCompressed)
        decompressPayload(path, loaded, decompressed);
    _OX_DataBuffer const & payload = isCompressed ? decompressed : loaded;
    writePayload(payload, options.out);
    report.set(QStringLiteral("file"), path);
    report.set(QStringLiteral("out"), options.out);
    report.set(QStringLiteral("format"), nameOf(format));
    report.set(QStringLiteral("payload"), payload.size);
}

} // namespace

Command unpackCommand()
{
    auto const options = std::make_shared<Options>();
    Option json = jsonOption(options->json);
    json.needs = "--out";
    return {.name = "unpack",
            .group = Group::BufferFiles,
            .summary = "Extract the data of a buffer file (the payload)",
            .details = "Without --format the format is detected from the first bytes.",
            .options = {{.name = "BUFFER_FILE",
                         .help = "Buffer file to unpack",
                         .target = &options->in,
                         .isRequired = true},
                        {.name = "--out",
                         .letter = 'o',
                         .valueName = "FILE",
                         .help = "Write the payload to FILE instead of standard output",
                         .target = &options->out},
                        formatOption(options->format),
                        json},
            .examples = {"oxtool unpack /mnt/share/jobs/job17.oxdb --out scene.txt"},
            .run = reporting(options, unpack)};
}

} // namespace ox::tool
