#include "oxtool/buffer_file.h"
#include "oxtool/commands.h"
#include "oxtool/names.h"
#include "oxtool/output_file.h"
#include "oxtool/report.h"

namespace ox::tool
{
namespace
{

struct Options {
    std::string in;
    std::string out;
    std::string format; ///< empty: told by the file's content
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
    QString const path = fromArgument(options.in);
    Format const format =
        options.format.empty() ? formatOf(path) : formatNames().at(options.format);
    _OX_DataBuffer loaded;
    loadBufferFile(path, format, loaded);
    _OX_DataBuffer decompressed;
    bool const isCompressed = format == Format::CompressAndSave;
    if (isCompressed)
        decompressPayload(path, loaded, decompressed);
    writePayload(isCompressed ? decompressed : loaded, fromArgument(options.out));
    return Done;
}

} // namespace

void addUnpack(CLI::App & program, Run & run)
{
    auto const options = std::make_shared<Options>();
    CLI::App & command = *program.add_subcommand("unpack", "Write the payload of a buffer file");
    command.footer("Example:\n"
                   "  oxtool unpack /mnt/share/jobs/job17.oxdb --out scene.txt");
    command.add_option("BUFFER_FILE", options->in, "What to unpack")->required();
    command.add_option("--out", options->out, "The file to write; standard output without it")
        ->type_name("FILE");
    addFormat(command, options->format);
    command.callback([options, &run] { run = [options] { return unpack(*options); }; });
}

} // namespace ox::tool
