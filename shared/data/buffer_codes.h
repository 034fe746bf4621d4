#pragma once

namespace ox::detail
{

/// What `_OX_DataBuffer::error` holds beside zlib's codes.
enum BufferCode {
    outOfMemory = -100,
    notOpened = -101,
    wrongMagic = -102,
    corrupt = -103,
    notReadable = -104,
    notWritten = -105,
    wrongLength = -106,
    missing = -107,
    endOfFile = -1000,
    fileError = endOfFile - 1,
};

inline constexpr int memoryLimitMB = 768;

} // namespace ox::detail
