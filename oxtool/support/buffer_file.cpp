#include "oxtool/support/buffer_file.h"

#include "oxtool/support/names.h"
#include "oxtool/support/progress.h"
#include "shared/platform/files.h"
#include "shared/platform/open_file.h"
#include "shared/platform/result.h"
#include "shared/text/mebibytes.h"

#include <QByteArray>

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>

namespace ox::tool
{
namespace
{

using enum _OX_DataBuffer::ErrorCode;

/// Whether a code without a text of its own for the reason stands for a failed system call.
bool isSystemFailure(int code)
{
    return code == NotReadable || code == NotWritten || code == Z_ERRNO ||
           code < _OX_DataBuffer::EndOfFile;
}

QString missingText()
{
    return QString(_OX_DataBuffer::errorString(Missing));
}

/// Why a file could not be opened or read.
QString whyUnreadable(platform::Error error)
{
    QString const message = systemMessage(error);
    return error.kind() == platform::ErrorKind::NotFound
               ? missingText() + QLatin1Char(' ') + message
               : message;
}

/// Why a file is missing for the buffer, which takes everything for missing that it cannot open.
QString whyMissing(QString const & path)
{
    auto const bytes = bytesAt(path, 0, 1);
    return bytes ? missingText() : whyUnreadable(bytes.error());
}

Format formatInGzip(QString const & path)
{
    char magic[5] = "";
    int const code = _OX_DataBuffer::loadGzipFile(path, magic, 4, false);
    if (code != 0 && !isDamage(code))
        throw fileFailure(path, code);
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
        throw Failure(QStringLiteral("%1: %2").arg(path, whyUnreadable(bytes.error())));
    if (bytes->startsWith("\x1F\x8B"))
        return formatInGzip(path);
    if (!bytes->startsWith("oxDB"))
        throw fileFailure(path, WrongMagic);
    _OX_DataBuffer start;
    std::memcpy(headerOf(start), bytes->constData() + 4,
                static_cast<std::size_t>(bytes->size() - 4));
    return start.isCompressed == 1 ? Format::CompressAndSave : Format::Plain;
}

platform::Result<QByteArray> bytesAt(QString const & path, std::int64_t position, int count)
{
    platform::Result<platform::OpenFile> file =
        platform::openForReading(nativeName(path), platform::Writers::Refused);
    if (!file)
        return file.error();
    platform::Result<std::int64_t> const size = file->size();
    if (!size)
        return size.error();
    auto const sought =
        file->seek(position < 0 ? std::max<std::int64_t>(*size + position, 0) : position);
    if (!sought)
        return sought.error();
    QByteArray bytes(count, '\0');
    auto const read = file->read(bytes.data(), static_cast<std::size_t>(count));
    if (!read)
        return read.error();
    bytes.truncate(static_cast<int>(*read));
    return bytes;
}

char * headerOf(_OX_DataBuffer & buffer)
{
    return reinterpret_cast<char *>(&buffer);
}

void loadBufferFile(QString const & path, Format format, _OX_DataBuffer & buffer)
{
    Progress const progress(QStringLiteral("Loading %1").arg(path));
    switch (format) {
    case Format::Compressed:
        // The buffer loads a missing file as an empty one.
        if (platform::kindOf(nativeName(path)) != platform::NameKind::File)
            throw fileFailure(path, Missing);
        buffer.loadFromFileCompressed(path, true);
        break;
    case Format::Gzip:
        buffer.loadGzipFile(path, text::mebibyte);
        break;
    default:
        buffer.loadFromFile(path, true);
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
    if (code == Missing)
        return Failure(QStringLiteral("%1: %2").arg(path, whyMissing(path)));
    QString const message = lastSystemMessage();
    QString const text = QString(_OX_DataBuffer::errorString(code));
    return Failure(isSystemFailure(code) ? QStringLiteral("%1: %2 %3").arg(path, text, message)
                                         : QStringLiteral("%1: %2").arg(path, text));
}

bool isDamage(int code)
{
    return code != OutOfMemory && code != Z_MEM_ERROR && code != NotOpened && code != Missing &&
           !isSystemFailure(code);
}

unsigned char * bytesOf(_OX_DataBuffer const & buffer)
{
    return reinterpret_cast<unsigned char *>(buffer.data);
}

} // namespace ox::tool
