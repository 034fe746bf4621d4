#include "shared/data/data_buffer.h"

#include "shared/data/checksum.h"
#include "shared/system/os_error.h"
#include "shared/text/mebibytes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

using ox::text::bytesOfMebibytes;
using enum _OX_DataBuffer::ErrorCode;

Bytef const * zlibBytes(char const * bytes)
{
    return reinterpret_cast<Bytef const *>(bytes);
}
Bytef * zlibBytes(char * bytes)
{
    return reinterpret_cast<Bytef *>(bytes);
}

char const * zlibText(int code)
{
    switch (code) {
    case Z_ERRNO:
        return "Compression Error, system error;";
    case Z_STREAM_ERROR:
        return "Compression Error, stream error";
    case Z_DATA_ERROR:
        return "Compression Error, data CRC error";
    case Z_MEM_ERROR:
        return "Compression Error, memory";
    case Z_BUF_ERROR:
        return "Compression Error, buffer";
    case Z_VERSION_ERROR:
        return "Compression Error, version mismatch";
    default:
        return nullptr;
    }
}

_oxString8_evenSize<150> numberedText(char const * format, int number)
{
    char text[51];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

} // namespace

_OX_DataBuffer::~_OX_DataBuffer()
{
    std::free(data);
}

bool _OX_DataBuffer::newsize(int newSize, int maxMB)
{
    if (newSize < 0 || newSize > bytesOfMebibytes(maxMB))
        return false;
    error = 0;
    if (data && newSize <= sizeAllocated)
        return true;
    std::free(data);
    data = static_cast<char *>(std::calloc(std::size_t(newSize) + 1, 1));
    sizeAllocated = data ? newSize : 0;
    return data || fail(OutOfMemory);
}

bool _OX_DataBuffer::resize(int newSize, int maxMB)
{
    if (newSize <= sizeAllocated)
        return true;
    if (newSize > bytesOfMebibytes(maxMB))
        return false;
    if (!data)
        return newsize(newSize, maxMB);
    error = 0;
    char * const block = static_cast<char *>(std::realloc(data, std::size_t(newSize) + 1));
    if (!block)
        std::free(data);
    data = block;
    sizeAllocated = data ? newSize : 0;
    return data || fail(OutOfMemory);
}

bool _OX_DataBuffer::ensureCapacity(std::int64_t bytes)
{
    return bytes <= bytesOfMebibytes(memoryLimitMB) && resize(int(bytes), memoryLimitMB);
}

std::span<char const> _OX_DataBuffer::bytesAt(int offset, int length) const
{
    if (!data || offset < 0 || offset >= sizeAllocated || length <= 0)
        return {};
    return {data + offset, std::size_t(std::min(length, sizeAllocated - offset))};
}

bool _OX_DataBuffer::hasValidSize() const
{
    return size >= 0 && size <= sizeAllocated && (data || size == 0);
}

bool _OX_DataBuffer::fail(int code)
{
    error = code;
    return false;
}

void _OX_DataBuffer::fillZero()
{
    if (data)
        std::memset(data, 0, std::size_t(sizeAllocated));
}

bool _OX_DataBuffer::append(char * src, int const & len)
{
    if (len < 1)
        return true;
    if (!src || !hasValidSize())
        return fail(Corrupt);
    if (!ensureCapacity(std::int64_t{size} + len))
        return false;
    std::memcpy(data + size, src, std::size_t(len));
    size += len;
    return true;
}

bool _OX_DataBuffer::copyFromBuffer(char const * src, int const & len)
{
    if (len < 1)
        return true;
    if (!src)
        return fail(Corrupt);
    if (!ensureCapacity(len))
        return false;
    std::memmove(data, src, std::size_t(len));
    return true;
}

void _OX_DataBuffer::copyToBuffer(char * dest, int const & len) const
{
    auto const bytes = bytesAt(0, len);
    if (dest)
        std::copy(bytes.begin(), bytes.end(), dest);
}

void _OX_DataBuffer::calcCRC()
{
    auto const bytes = bytesAt(0, size);
    crc = oxCRCCalc(zlibBytes(bytes.data()), static_cast<unsigned int>(bytes.size()));
}

_oxString8_evenSize<150> _OX_DataBuffer::errorString() const
{
    return errorString(error);
}

_oxString8_evenSize<150> _OX_DataBuffer::errorString(int const & code)
{
    switch (code) {
    case OutOfMemory:
        return "Unable to allocate memory";
    case NotOpened: {
        _oxString8_evenSize<150> text("System error: ");
        text.add(oxLastOSError8().c_str());
        return text;
    }
    case WrongMagic:
        return "Wrong File Header";
    case Corrupt:
        return "CRC Error, data corrupt!";
    case NotReadable:
        return "Unable to read data from file!";
    case NotWritten:
        return "Unable to write data into file!";
    case WrongLength:
        return "Decompression error, wrong result size";
    case Missing:
        return "File does not exists!";
    case EndOfFile:
        return "File error: End of file reached!";
    case Z_ERRNO:
        // Compatibility: in the farm's logs Z_ERRNO has the text of a stream error.
        return zlibText(Z_STREAM_ERROR);
    default:
        if (code < EndOfFile)
            return numberedText("File error %d", EndOfFile - code);
        if (char const * const text = zlibText(code))
            return text;
        return numberedText("unknown error %d", code);
    }
}

bool _OX_DataBuffer::compressFromB(char const * src, int const & srcLen, int const & offset)
{
    int const length = srcLen; // srcLen may refer to a member of this buffer
    int const start = offset;
    error = 0;
    if (length < 0 || start < 0)
        return fail(Z_STREAM_ERROR);
    if (!ensureCapacity(std::int64_t(compressBound(uLong(length))) + start))
        return false;
    isCompressed = 1;
    sizeUncompressed = length;
    dataOffset = start;
    uLongf compressed = uLongf(sizeAllocated - start);
    error = compress(zlibBytes(data + start), &compressed, zlibBytes(src), uLong(length));
    size = error == Z_OK ? int(compressed) : 0;
    return error == Z_OK;
}

bool _OX_DataBuffer::compressFrom(_OX_DataBuffer & src, int const & offset)
{
    error = 0;
    if (&src == this)
        return fail(Z_STREAM_ERROR);
    if (!src.hasValidSize())
        return fail(Corrupt);
    return compressFromB(src.data, src.size, offset);
}

int _OX_DataBuffer::decompressToB(char * dest, int const & destLen, int const * offset)
{
    error = 0;
    if (offset)
        dataOffset = *offset;
    // `size` may exceed the bytes after dataOffset: some callers store a header of their own before
    // dataOffset and count this header in `size`. bytesAt limits the length.
    auto const stream = bytesAt(dataOffset, size);
    uLongf produced = uLongf(std::max(destLen, 0));
    error = uncompress(zlibBytes(dest), &produced, zlibBytes(stream.data()), uLong(stream.size()));
    if (error != Z_OK)
        return error;
    bool const asExpected = int(produced) == sizeUncompressed && int(produced) == destLen;
    error = asExpected ? 0 : WrongLength;
    return asExpected ? destLen : error;
}

bool _OX_DataBuffer::decompressTo(_OX_DataBuffer & dest, int const * offset)
{
    error = 0;
    if (&dest == this)
        return fail(Z_STREAM_ERROR);
    if (!dest.newsize(sizeUncompressed, memoryLimitMB))
        return fail(OutOfMemory);
    // Compatibility: the expected length is the capacity of dest, so a block of dest that is larger
    // than the result gives WrongLength.
    dest.size = decompressToB(dest.data, dest.sizeAllocated, offset);
    dest.isCompressed = 0;
    return dest.size > 0;
}

bool _OX_DataBuffer::chunkzipStart(z_stream & zs, int initialSize)
{
    if (!newsize(initialSize, memoryLimitMB))
        return false;
    size = 0;
    zs.zalloc = nullptr;
    zs.zfree = nullptr;
    zs.opaque = nullptr;
    int const compressionLevel = 3;
    error = deflateInit(&zs, compressionLevel);
    return error == Z_OK;
}

bool _OX_DataBuffer::chunkzipAdd(z_stream & zs, unsigned char * in, int len, bool last)
{
    if (len < 0 || !hasValidSize())
        return fail(Z_STREAM_ERROR);
    // Compatibility: the block grows by one half, and at most once per call, even if more memory is
    // needed. The farm's applications depend on this growth.
    bool mayGrow = true;
    auto const grow = [&] {
        mayGrow = false;
        return ensureCapacity(std::int64_t{sizeAllocated} * 3 / 2);
    };
    bool const isTight = size + 2 * std::int64_t{len} > sizeAllocated;
    if (isTight && !grow())
        return false;
    zs.next_in = in;
    zs.avail_in = uInt(len);
    int result = Z_OK;
    bool more = true;
    while (more) {
        bool const isFull = size == sizeAllocated;
        if (isFull && mayGrow && !grow())
            return false;
        int const freeBytes = sizeAllocated - size;
        if (freeBytes == 0)
            return fail(Z_BUF_ERROR);
        zs.next_out = zlibBytes(data + size);
        zs.avail_out = uInt(freeBytes);
        result = deflate(&zs, last ? Z_FINISH : Z_NO_FLUSH);
        if (result == Z_STREAM_ERROR)
            return fail(result);
        size += freeBytes - int(zs.avail_out);
        // A piece is done when zlib has consumed all of its bytes. zlib may keep output in its own
        // buffer and write it with a later piece.
        bool const done = last ? result == Z_STREAM_END : zs.avail_in == 0;
        more = zs.avail_out == 0 && !done;
    }
    return !last || result == Z_STREAM_END || fail(result);
}

bool _OX_DataBuffer::chunkzipFinish(z_stream & zs)
{
    deflateEnd(&zs);
    return true;
}

bool _OX_DataBuffer::chunkUnzipStart(z_stream & zs)
{
    dataOffset = 0;
    zs.zalloc = nullptr;
    zs.zfree = nullptr;
    zs.opaque = nullptr;
    zs.avail_in = 0;
    zs.next_in = nullptr;
    error = inflateInit(&zs);
    return error == Z_OK;
}

bool _OX_DataBuffer::chunkUnzipGet(z_stream & zs, unsigned char * out, int outLen)
{
    if (dataOffset < 0 || dataOffset >= size)
        return false;
    auto const input = bytesAt(dataOffset, size - dataOffset);
    if (input.empty())
        return false;
    if (outLen < 0)
        return fail(Z_STREAM_ERROR);
    // zlib only reads the input, although next_in is not const.
    zs.next_in = zlibBytes(const_cast<char *>(input.data()));
    zs.avail_in = uInt(input.size());
    zs.next_out = out;
    zs.avail_out = uInt(outLen);
    int const result = inflate(&zs, Z_NO_FLUSH);
    if (result == Z_MEM_ERROR || result == Z_DATA_ERROR || result == Z_NEED_DICT) {
        inflateEnd(&zs);
        return fail(result);
    }
    if (result == Z_STREAM_ERROR)
        return fail(result);
    int const consumed = int(input.size() - zs.avail_in);
    dataOffset += consumed;
    // Returns false at the end of the stream even if more bytes follow. A caller that loops
    // until the result is false would otherwise never stop.
    bool const pastTheEnd = result == Z_STREAM_END && consumed == 0 && zs.avail_out == uInt(outLen);
    return !pastTheEnd;
}

bool _OX_DataBuffer::chunkUnzipFinish(z_stream & zs)
{
    inflateEnd(&zs);
    return true;
}

QString oxConvertZLibError(int & code)
{
    char const * const text = zlibText(code);
    if (!text)
        return QStringLiteral("Compression Error, unknown error ") + QString::number(code);
    QString result = QString::fromLatin1(text);
    if (code == Z_ERRNO)
        result += QString(oxLastOSError());
    return result;
}
