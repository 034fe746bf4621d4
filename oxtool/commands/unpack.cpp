#include "oxtool/commands/commands.h"
#include "oxtool/support/buffer_file.h"
#include "oxtool/support/names.h"
#include "oxtool/support/output_file.h"
#include "oxtool/support/report.h"

namespace ox::tool
{
namespace
{

struct Options {
    QString in;
    QString out;
    std::string format; ///< if empty, detected from the content
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

int unpack(Options const & options)
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
    writePayload(isCompressed ? decompressed : loaded, options.out);
    return Done;
}

} // namespace

Command unpackCommand()
{
    auto const options = std::make_shared<Options>();
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
                        formatOption(options->format)},
            .examples = {"oxtool unpack /mnt/share/jobs/job17.oxdb --out scene.txt"},
            .run = [options] { return unpack(*options); }};
}

} // namespace ox::tool
