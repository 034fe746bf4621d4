#include "oxtool/commands/commands.h"
#include "oxtool/support/buffer_file.h"
#include "oxtool/support/input.h"
#include "oxtool/support/names.h"
#include "oxtool/support/output_file.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/report.h"
#include "shared/platform/files.h"
#include "shared/text/mebibytes.h"

#include <algorithm>
#include <array>

namespace ox::tool
{
namespace
{

struct Options {
    QString in;
    QString out;
    std::string format = "db";
    std::array<int, 3> headerValues{};
    bool json = false;
};

/// Loads a file whose length is not known in advance, such as a pipe.
void loadStream(QString const & path, _OX_DataBuffer & buffer)
{
    constexpr int limitMB = _OX_DataBuffer::memoryLimitMB;
    constexpr qint64 limit = text::bytesOfMebibytes(limitMB);
    readPieces(path, [&](std::span<unsigned char> piece) {
        auto const length = static_cast<int>(piece.size());
        qint64 const needed = qint64{buffer.size} + length;
        // Doubling the capacity limits the number of reallocations, each of which copies the
        // content.
        qint64 const capacity =
            std::max(needed, std::min<qint64>(limit, qint64{buffer.sizeAllocated} * 2));
        bool const fits = needed <= buffer.sizeAllocated ||
                          (needed <= limit && buffer.resize(static_cast<int>(capacity), limitMB));
        if (!fits || !buffer.append(reinterpret_cast<char *>(piece.data()), length))
            throw loadFailure(path, _OX_DataBuffer::OutOfMemory);
    });
}

/// Returns whether a path refers to a stream, such as a pipe, whose length is not known in advance.
bool isStream(QString const & path)
{
    auto const status = platform::statusOfFile(nativeName(path));
    return isStandardInput(path) || (status && status->size == 0);
}

void loadPayload(QString const & path, _OX_DataBuffer & buffer)
{
    Progress const progress(QStringLiteral("Loading %1").arg(path));
    if (isStream(path))
        loadStream(path, buffer);
    else if (!buffer.loadFromFile(path, false) && buffer.error != _OX_DataBuffer::Corrupt)
        throw loadFailure(path, buffer.error);
    if (buffer.size == 0)
        throw Failure(
            QStringLiteral("cannot pack '%1': it is empty, and a buffer file has at least "
                           "one byte")
                .arg(path));
}

/// Saves a buffer to `path`. Returns 0, or the buffer's error code.
int save(_OX_DataBuffer & buffer, Format format, QString const & path)
{
    if (format == Format::Gzip)
        return _OX_DataBuffer::saveGzipFile(path, buffer.data, buffer.size);
    if (format != Format::Compressed) {
        buffer.saveToFile(path, true);
        return buffer.error;
    }
    buffer.calcCRC();
    buffer.sizeUncompressed = buffer.size;
    buffer.saveToFileCompressed(path);
    return buffer.error;
}

/// Writes the buffer file to the temporary file `path`. `out` is the target's path for messages.
void compressAndSave(_OX_DataBuffer & payload, Options const & options, QString const & path,
                     QString const & out)
{
    Progress const progress(QStringLiteral("Writing %1").arg(out));
    Format const format = formatNames().at(options.format);
    _OX_DataBuffer compressed;
    if (format == Format::CompressAndSave && !compressed.compressFrom(payload, 0))
        throw saveFailure(out, compressed.error);
    _OX_DataBuffer & buffer = format == Format::CompressAndSave ? compressed : payload;
    buffer.headerValue0 = options.headerValues[0];
    buffer.headerValue1 = options.headerValues[1];
    buffer.headerValue2 = options.headerValues[2];
    int const code = save(buffer, format, path);
    if (code != 0)
        throw saveFailure(out, code);
}

void pack(Options const & options, Report & report)
{
    _OX_DataBuffer payload;
    loadPayload(options.in, payload);
    QString const out = options.out;
    OutputFile file(out);
    file.writeByName([&](QString const & name) { compressAndSave(payload, options, name, out); });
    file.commit();
    report.set(QStringLiteral("file"), out);
    report.set(QStringLiteral("format"), QString::fromStdString(options.format));
    report.set(QStringLiteral("payload"), payload.size);
    report.line(QStringLiteral("packed"),
                QStringLiteral("%1 into %2 (%3)")
                    .arg(sizeText(payload.size), out, QString::fromStdString(options.format)));
}

} // namespace

Command packCommand()
{
    auto const options = std::make_shared<Options>();
    Option format = formatOption(options->format);
    format.showsDefault = true;
    return {.name = "pack",
            .group = Group::BufferFiles,
            .summary = "Write the bytes of a file to a buffer file",
            .details =
                "Formats: db (plain file), zp (gzip of header and data), ns (plain file with\n"
                "compressed data), gz (gzip of the data alone).",
            .options = {{.name = "FILE",
                         .help = "File to pack; - is the standard input",
                         .target = &options->in,
                         .isRequired = true},
                        {.name = "BUFFER_FILE",
                         .help = "Buffer file to write",
                         .target = &options->out,
                         .isRequired = true},
                        format,
                        {.name = "--header",
                         .valueName = "N",
                         .help = "Values of headerValue0, headerValue1 and headerValue2",
                         .target = std::span<int>(options->headerValues)},
                        jsonOption(options->json)},
            .examples = {"oxtool pack scene.txt /mnt/share/jobs/job17.oxdb --format db"},
            .run = reporting(options, pack)};
}

} // namespace ox::tool
