#include "oxtool/support/buffer_file.h"

#include "oxtool/support/names.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/reason.h"
#include "shared/data/buffer_loading.h"
#include "shared/platform/open_file.h"
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

/// Returns whether an error code of the buffer means a failed system call.
bool isSystemFailure(int code)
{
    return code == NotReadable || code == NotWritten || code == Z_ERRNO || code <= FileError;
}

/// Returns the reason for the error code Missing. The buffer sets this code for every file that it
/// cannot open, so the function opens the file once more to get the system's reason.
QString missingReason(QString const & path)
{
    auto const bytes = bytesAt(path, 0, 1);
    return bytes ? QString(_OX_DataBuffer::errorString(Missing)) : reasonOf(bytes.error());
}

/// Returns the system's reason after a failed system call, otherwise the buffer's error text. Call
/// it directly after the failed call.
QString bufferReason(QString const & path, int code)
{
    platform::Error const error = platform::lastError();
    if (code == Missing)
        return missingReason(path);
    bool const hasSystemReason = (isSystemFailure(code) || code == NotOpened) && error.code != 0;
    return hasSystemReason ? reasonOf(error) : QString(_OX_DataBuffer::errorString(code));
}

Failure decompressFailure(QString const & path, int code)
{
    return Failure(QStringLiteral("cannot decompress '%1': %2").arg(path, bufferReason(path, code)),
                   isDamage(code) ? ExitStatus::Damaged : ExitStatus::Failed);
}

/// Returns the exit status for a file that could not be loaded.
int statusOfLoad(QString const & path, int code)
{
    if (isDamage(code))
        return ExitStatus::Damaged;
    if (code != _OX_DataBuffer::Missing)
        return ExitStatus::Failed;
    auto const bytes = bytesAt(path, 0, 1);
    return bytes ? ExitStatus::Failed : statusOf(bytes.error());
}

Format formatInGzip(QString const & path)
{
    char magic[5] = "";
    int const code = _OX_DataBuffer::loadGzipFile(path, magic, 4, false);
    if (code != 0 && !isDamage(code))
        throw loadFailure(path, code);
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

std::optional<Format> detectFormat(QString const & path)
{
    auto const bytes = bytesAt(path, 0, 4 + headerSize);
    if (!bytes)
        throw Failure(QStringLiteral("cannot load '%1': %2").arg(path, reasonOf(bytes.error())),
                      statusOf(bytes.error()));
    if (bytes->startsWith("\x1F\x8B"))
        return formatInGzip(path);
    if (!bytes->startsWith("oxDB"))
        return std::nullopt;
    _OX_DataBuffer start;
    std::memcpy(headerOf(start), bytes->constData() + 4,
                static_cast<std::size_t>(bytes->size() - 4));
    return start.isCompressed == 1 ? Format::CompressAndSave : Format::Plain;
}

Format formatOf(QString const & path)
{
    if (auto const format = detectFormat(path))
        return *format;
    throw loadFailure(path, WrongMagic);
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
    auto const positioned =
        file->seek(position < 0 ? std::max<std::int64_t>(*size + position, 0) : position);
    if (!positioned)
        return positioned.error();
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
    loadQuietly(path, format, buffer);
}

void loadQuietly(QString const & path, Format format, _OX_DataBuffer & buffer)
{
    switch (format) {
    case Format::Compressed:
        buffer.loadFromFileCompressed(path, true);
        // For a missing file loadFromFileCompressed() returns an empty buffer and no error.
        if (buffer.error == 0 && buffer.size == 0 &&
            platform::kindOf(nativeName(path)) != platform::NameKind::File)
            throw loadFailure(path, _OX_DataBuffer::Missing);
        break;
    case Format::Gzip:
        buffer.loadGzipFile(path, text::mebibyte);
        break;
    default:
        buffer.loadFromFile(path, true);
    }
    if (buffer.error != 0)
        throw loadFailure(path, buffer.error);
}

void loadPlainFile(QString const & path, _OX_DataBuffer & buffer,
                   std::optional<platform::FileStatus> & status)
{
    Progress const progress(QStringLiteral("Loading %1").arg(path));
    if (!data::loadFile(buffer, nativeName(path), true, status))
        throw loadFailure(path, buffer.error);
}

void decompressPayload(QString const & path, _OX_DataBuffer & loaded, _OX_DataBuffer & payload)
{
    Progress const progress(QStringLiteral("Decompressing %1").arg(path));
    decompressQuietly(path, loaded, payload);
}

void decompressQuietly(QString const & path, _OX_DataBuffer & loaded, _OX_DataBuffer & payload)
{
    loaded.decompressTo(payload, nullptr);
    if (loaded.error != 0) // decompressTo also returns false for an empty payload
        throw decompressFailure(path, loaded.error);
}

Failure loadFailure(QString const & path, int code)
{
    QString const text = QStringLiteral("cannot load '%1': %2").arg(path, bufferReason(path, code));
    return Failure(text, statusOfLoad(path, code));
}

Failure saveFailure(QString const & path, int code)
{
    return Failure(QStringLiteral("cannot write '%1': %2").arg(path, bufferReason(path, code)));
}

bool isDamage(int code)
{
    return code != OutOfMemory && code != Z_MEM_ERROR && code != NotOpened &&
           code != _OX_DataBuffer::Missing && !isSystemFailure(code);
}

unsigned char * bytesOf(_OX_DataBuffer const & buffer)
{
    return reinterpret_cast<unsigned char *>(buffer.data);
}

} // namespace ox::tool
