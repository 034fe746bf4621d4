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

/// Returns whether a file of this format is one gzip stream, whose trailer contains a CRC.
bool isInGzip(Format format);

/// Detects the format from the first bytes of a file. Returns empty if the file is not a buffer
/// file.
/// Fails: throws Failure when the file cannot be read.
std::optional<Format> detectFormat(QString const & path);

/// Returns the format of a buffer file.
/// Fails: throws Failure when the file is not a buffer file or cannot be read.
Format formatOf(QString const & path);

/// Returns up to `count` bytes of a file from offset `position` on, fewer at the end of the file. A
/// negative `position` counts from the end.
platform::Result<QByteArray> bytesAt(QString const & path, std::int64_t position, int count);

/// Size in bytes of the header of a buffer file.
constexpr int headerSize = 32;
/// Returns the `headerSize` bytes of a buffer's header, for reading and writing.
char * headerOf(_OX_DataBuffer & buffer);

/// Loads a whole file and shows a progress line. The data of a compress-and-save file stays
/// compressed.
/// Fails: throws the Failure of loadFailure(); the buffer has the error code.
void loadBufferFile(QString const & path, Format format, _OX_DataBuffer & buffer);

/// Loads a whole plain file and shows a progress line. Sets `status` to the status of the file,
/// also if the load fails. If the file does not exist, sets `status` to empty.
/// Fails: throws the Failure of loadFailure().
void loadPlainFile(QString const & path, _OX_DataBuffer & buffer,
                   std::optional<platform::FileStatus> & status);

/// Decompresses the data of `loaded`, a compress-and-save file from `path`, into the empty buffer
/// `payload`, and shows a progress line.
/// Fails: throws Failure with the buffer's error text.
void decompressPayload(QString const & path, _OX_DataBuffer & loaded, _OX_DataBuffer & payload);

// loadBufferFile() and decompressPayload() without a progress line, for use on several threads.
void loadQuietly(QString const & path, Format format, _OX_DataBuffer & buffer);
void decompressQuietly(QString const & path, _OX_DataBuffer & loaded, _OX_DataBuffer & payload);

/// Return the Failure for a file that could not be loaded or saved. `code` is the buffer's error
/// code. The reason is the system's after a failed system call, otherwise the buffer's error text.
/// Call them directly after the failed call.
Failure loadFailure(QString const & path, int code);
Failure saveFailure(QString const & path, int code);

/// Returns whether the error code of a failed load means damaged content. Other codes mean that the
/// file could not be read, or that memory was not available.
bool isDamage(int code);

/// Returns the data of a buffer as unsigned bytes.
unsigned char * bytesOf(_OX_DataBuffer const & buffer);

} // namespace ox::tool
