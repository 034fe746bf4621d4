#include "oxtool/buffer_file.h"
#include "oxtool/commands.h"
#include "oxtool/names.h"
#include "oxtool/output_file.h"
#include "oxtool/progress.h"
#include "oxtool/report.h"

#include <array>

namespace ox::tool
{
namespace
{

struct Options {
    std::string in;
    std::string out;
    std::string format = "db";
    std::array<int, 3> headerValues{};
    bool json = false;
};

void loadPayload(QString const & path, _OX_DataBuffer & buffer)
{
    Progress const progress(QStringLiteral("Loading %1").arg(path));
    if (buffer.loadFromFile(recordName(path), false))
        return;
    if (buffer.error == wrongCrc)
        throw Failure(
            QStringLiteral("%1 is empty, and a buffer file holds at least one byte.").arg(path));
    throw fileFailure(path, buffer.error);
}

/// Returns 0 or the buffer's error code.
int save(_OX_DataBuffer & buffer, Format format, QString const & path)
{
    auto const name = recordName(path);
    if (format == Format::Gzip)
        return _OX_DataBuffer::saveGzipFile(name, buffer.data, buffer.size);
    if (format != Format::Compressed) {
        buffer.saveToFile(name, true);
        return buffer.error;
    }
    buffer.calcCRC();
    buffer.sizeUncompressed = buffer.size;
    buffer.saveToFileCompressed(name);
    return buffer.error;
}

int compressAndSave(_OX_DataBuffer & payload, Options const & options, QString const & path)
{
    Progress const progress(QStringLiteral("Writing"));
    Format const format = formatNames().at(options.format);
    _OX_DataBuffer compressed;
    if (format == Format::CompressAndSave && !compressed.compressFrom(payload, 0))
        return compressed.error;
    _OX_DataBuffer & buffer = format == Format::CompressAndSave ? compressed : payload;
    buffer.headerValue0 = options.headerValues[0];
    buffer.headerValue1 = options.headerValues[1];
    buffer.headerValue2 = options.headerValues[2];
    return save(buffer, format, path);
}

void pack(Options const & options, Report & report)
{
    _OX_DataBuffer payload;
    loadPayload(fromArgument(options.in), payload);
    QString const out = fromArgument(options.out);
    OutputFile file(out);
    int const code = compressAndSave(payload, options, file.temporaryName());
    if (code != 0)
        throw fileFailure(out, code);
    file.commit();
    report.set(QStringLiteral("file"), out);
    report.set(QStringLiteral("format"), QString::fromStdString(options.format));
    report.set(QStringLiteral("payload"), payload.size);
    report.line(QStringLiteral("packed"),
                QStringLiteral("%1 into %2 (%3)")
                    .arg(sizeText(payload.size), out, QString::fromStdString(options.format)));
}

} // namespace

void addPack(CLI::App & program, Run & run)
{
    auto const options = std::make_shared<Options>();
    CLI::App & command = *program.add_subcommand("pack", "Write a file's bytes as a buffer file");
    command.footer("The formats: db plain, zp compressed, ns compress-and-save, gz bare gzip.\n"
                   "Example:\n"
                   "  oxtool pack scene.txt /mnt/share/jobs/job17.oxdb --format db");
    command.add_option("FILE", options->in, "The bytes to pack")->required();
    command.add_option("BUFFER_FILE", options->out, "What to write")->required();
    addFormat(command, options->format)->capture_default_str();
    command
        .add_option("--header", options->headerValues,
                    "The three header words that are the application's")
        ->type_name("N N N");
    addJson(command, options->json);
    command.callback([options, &run] { run = reporting(options, pack); });
}

} // namespace ox::tool
