#pragma once

#include "oxtool/support/failure.h"
#include "shared/data/data_buffer.h"
#include "shared/platform/result.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace ox::tool
{

/// The kinds of file that a data buffer is kept in.
enum class Format {
    Plain,           ///< "oxDB", header, data
    Compressed,      ///< a gzip stream of "oxZP", header, data
    CompressAndSave, ///< a plain file whose data is the zlib stream of the payload
    Gzip,            ///< a gzip stream of the data alone
};

/// The formats as the command line calls them: db, zp, ns, gz.
std::map<std::string, Format> const & formatNames();
QString formatName(Format format);

/// Whether a gzip stream is around it all, the CRC of which stands at the file's end.
bool isInGzip(Format format);

/// Tells the format from the file's first bytes. Fails when they are of none, or cannot be read.
Format formatOf(QString const & path);

/// Some bytes of a file, fewer when it ends before; a negative position counts from the end.
/// Nothing when they cannot be read, with the system's last error set.
platform::Result<QByteArray> bytesAt(QString const & path, std::int64_t position, int count);

/// The header of a buffer file as 32 bytes to read into or write from.
constexpr int headerSize = 32;
char * headerOf(_OX_DataBuffer & buffer);

/// Loads a file whole, the data as it stands in the file. Fails with the buffer's error text; its
/// code is in the buffer.
void loadBufferFile(QString const & path, Format format, _OX_DataBuffer & buffer);

/// Decompresses the data of a compress-and-save file, loaded from `path`, into an empty buffer.
/// Fails with the buffer's error text.
void decompressPayload(QString const & path, _OX_DataBuffer & loaded, _OX_DataBuffer & payload);

/// The failure of loading or saving a file with one of the buffer's error codes: the path, the
/// buffer's text, and the system's message where a system call failed. To be made right after it.
Failure fileFailure(QString const & path, int code);

/// Returns whether the error code of a failed load means damaged content. False for a file that
/// could not be read.
bool isDamage(int code);

/// The bytes of the block, for the functions that take them unsigned.
unsigned char * bytesOf(_OX_DataBuffer const & buffer);

} // namespace ox::tool
