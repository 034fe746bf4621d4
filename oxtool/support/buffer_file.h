#pragma once

#include "oxtool/support/failure.h"
#include "shared/data/data_buffer.h"
#include "shared/platform/files.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace ox::tool
{

/// File format of a data buffer.
enum class Format {
    Plain,           ///< "oxDB", header, data
    Compressed,      ///< a gzip stream of "oxZP", header, data
    CompressAndSave, ///< a plain file whose data is the zlib stream of the payload
    Gzip,            ///< a gzip stream of the data alone
};

/// Returns the formats by their names on the command line: db, zp, ns, gz.
std::map<std::string, Format> const & formatNames();
/// Returns the name of a format on the command line.
QString formatName(Format format);

/// Returns whether the whole file is a gzip stream, which ends with its CRC.
bool isInGzip(Format format);

/// Detects the format from the first bytes of a file; empty for a file of another format.
/// Fails: throws Failure when the file cannot be read.
std::optional<Format> detectFormat(QString const & path);

/// Detects the format of a buffer file.
/// Fails: throws Failure when the format is unknown or the file cannot be read.
Format formatOf(QString const & path);

/// Returns up to `count` bytes of a file from a position on, fewer at the end of the file. A
/// negative position counts from the end.
platform::Result<QByteArray> bytesAt(QString const & path, std::int64_t position, int count);

/// Size in bytes of the header of a buffer file.
constexpr int headerSize = 32;
/// Returns the header of a buffer, for reading and writing.
char * headerOf(_OX_DataBuffer & buffer);

/// Loads a whole file, with a progress line; compressed data stays compressed.
/// Fails: throws the Failure of loadFailure(); the buffer has the error code.
void loadBufferFile(QString const & path, Format format, _OX_DataBuffer & buffer);

/// Loads a whole plain file. Sets `status` to that of the loaded file; also before a Failure, if
/// the file exists.
void loadPlainFile(QString const & path, _OX_DataBuffer & buffer,
                   std::optional<platform::FileStatus> & status);

/// Decompresses the data of a compress-and-save file, loaded from `path`, into an empty buffer,
/// with a progress line.
/// Fails: throws Failure with the buffer's error text.
void decompressPayload(QString const & path, _OX_DataBuffer & loaded, _OX_DataBuffer & payload);

// The same without a progress line, for the work of several threads.
void loadQuietly(QString const & path, Format format, _OX_DataBuffer & buffer);
void decompressQuietly(QString const & path, _OX_DataBuffer & loaded, _OX_DataBuffer & payload);

/// Return the failure of loading and of saving a file, for an error code of the buffer. The reason
/// is the system's for a failed system call, otherwise the buffer's error text. Call them directly
/// after the failed call.
Failure loadFailure(QString const & path, int code);
Failure saveFailure(QString const & path, int code);

/// Returns whether the error code of a failed load means damaged content, and not a file that could
/// not be read.
bool isDamage(int code);

/// Returns the bytes of a buffer as unsigned ones.
unsigned char * bytesOf(_OX_DataBuffer const & buffer);

} // namespace ox::tool
