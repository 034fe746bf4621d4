#include "oxtool/buffer_file.h"

#include "oxtool/names.h"
#include "oxtool/progress.h"
#include "shared/fs/file.h"
#include "shared/platform/os_error.h"

#include <QByteArray>

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>

namespace ox::tool
{
namespace
{

constexpr int notReadable = -104;
constexpr int notWritten = -105;
constexpr int endOfFile = -1000;

/// Why a file is missing for the buffer, which takes everything for missing that it cannot open.
QString whyMissing(QString const & path)
{
    QString const text = QString(_OX_DataBuffer::errorString(missingFile));
    if (bytesAt(path, 0, 1))
        return text;
    bool const notFound = isNotFound(platform::lastError());
    QString const message = lastSystemMessage();
    return notFound ? text + QLatin1Char(' ') + message : message;
}

Format formatInGzip(QString const & path)
{
    char magic[5] = "";
    _OX_DataBuffer::loadGzipFile(recordName(path), magic, 4, false);
    return std::strcmp(magic, "oxZP") == 0 ? Format::Compressed : Format::Gzip;
}

} // namespace

std::map<std::string, Format> const & formatNames()
{
    static std::map<std::string, Format> const names = {{"db", Format::Plain},
                                                        {"zp", Format::Compressed},
                                                        {"ns", Format::CompressAndSave},
                                                        {"gz", Format::Gzip}};
    return names;
}

QString formatName(Format format)
{
    auto const & names = formatNames();
    return QString::fromStdString(
        std::find_if(names.begin(), names.end(), [format](auto const & entry) {
            return entry.second == format;
        })->first);
}

bool isInGzip(Format format)
{
    return format == Format::Compressed || format == Format::Gzip;
}

Format formatOf(QString const & path)
{
    auto const bytes = bytesAt(path, 0, 4 + headerSize);
    if (!bytes)
        throw fileFailure(path, missingFile);
    if (bytes->startsWith("\x1F\x8B"))
        return formatInGzip(path);
    if (!bytes->startsWith("oxDB"))
        throw fileFailure(path, wrongMagic);
    _OX_DataBuffer start;
    std::memcpy(headerOf(start), bytes->constData() + 4,
                static_cast<std::size_t>(bytes->size() - 4));
    return start.isCompressed == 1 ? Format::CompressAndSave : Format::Plain;
}

std::optional<QByteArray> bytesAt(QString const & path, long position, int count)
{
    detail::Stream const stream = openInput(path);
    if (!stream || std::fseek(stream.get(), position, position < 0 ? SEEK_END : SEEK_SET) != 0)
        return std::nullopt;
    QByteArray bytes(count, '\0');
    std::size_t const read =
        std::fread(bytes.data(), 1, static_cast<std::size_t>(count), stream.get());
    if (std::ferror(stream.get()) != 0)
        return std::nullopt;
    bytes.truncate(static_cast<int>(read));
    return bytes;
}

char * headerOf(_OX_DataBuffer & buffer)
{
    return reinterpret_cast<char *>(&buffer);
}

void loadBufferFile(QString const & path, Format format, _OX_DataBuffer & buffer)
{
    Progress const progress(QStringLiteral("Loading %1").arg(path));
    auto const name = recordName(path);
    switch (format) {
    case Format::Compressed:
        if (!oxFileExists(name)) // which the buffer takes for nothing to load
            throw fileFailure(path, missingFile);
        buffer.loadFromFileCompressed(name, true);
        break;
    case Format::Gzip:
        buffer.loadGzipFile(name, 1024 * 1024);
        break;
    default:
        buffer.loadFromFile(name, true);
    }
    if (buffer.error != 0)
        throw fileFailure(path, buffer.error);
}

void decompressPayload(QString const & path, _OX_DataBuffer & loaded, _OX_DataBuffer & payload)
{
    Progress const progress(QStringLiteral("Decompressing %1").arg(path));
    loaded.decompressTo(payload, nullptr);
    if (loaded.error != 0) // the result is false for an empty payload as well
        throw fileFailure(path, loaded.error);
}

Failure fileFailure(QString const & path, int code)
{
    if (code == missingFile)
        return Failure(QStringLiteral("%1: %2").arg(path, whyMissing(path)));
    QString const message = lastSystemMessage();
    QString const text = QString(_OX_DataBuffer::errorString(code));
    bool const systemCall = code == notReadable || code == notWritten || code < endOfFile;
    return Failure(systemCall ? QStringLiteral("%1: %2 %3").arg(path, text, message)
                              : QStringLiteral("%1: %2").arg(path, text));
}

unsigned char * bytesOf(_OX_DataBuffer const & buffer)
{
    return reinterpret_cast<unsigned char *>(buffer.data);
}

} // namespace ox::tool
