#pragma once

#include "shared/export.h"
#include "shared/text/file_name.h"
#include "shared/text/fixed_string8.h"

#include <QString>

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

/// A growable block of bytes with a small header, a CRC-32, compression, searches and files.
///
/// An operation that can fail returns false (or a negative code) and leaves its reason in `error`;
/// nothing throws. Content and capacity survive a failure, except when the system has no more
/// memory: then there is no block left. Requests above `memoryLimitMB` are refused.
///
/// The header words may come from a file and are believed nowhere: whatever `size`, `dataOffset`
/// and `sizeUncompressed` say, no operation reads or writes outside the block.
///
/// A buffer belongs to one thread at a time. Files are described in docs/file_formats.md.
class OX_EXPORT _OX_DataBuffer
{
  public:
    /// The eight 32-bit words from here to `isCompressed` are the header that stands in files.
    std::int32_t headerValue0 = 0; ///< the caller's
    std::int32_t size = 0;         ///< valid bytes; of compressed data, counted from `dataOffset`
    std::int32_t sizeUncompressed = 0; ///< length before compression
    std::int32_t dataOffset = 0;       ///< where the compressed data starts, or inflating goes on
    std::uint32_t crc = 0;             ///< CRC-32 of the valid bytes, as of the last calcCRC()
    std::int32_t headerValue1 = 0;     ///< the caller's
    std::int32_t headerValue2 = 0;     ///< the caller's
    std::int32_t isCompressed = 0; ///< 1 after compressing into this buffer, 0 after decompressing

    std::int32_t sizeAllocated = 0; ///< capacity; the block has one spare byte more
    char * data = nullptr;          ///< the block (malloc, realloc, free), owned
    std::int32_t error = 0;         ///< code of the last operation's failure, 0 if it succeeded

    /// The codes that `error` holds and the file functions return, beside zlib's.
    enum ErrorCode {
        OutOfMemory = -100, ///< also for more than `memoryLimitMB`
        NotOpened = -101,
        WrongMagic = -102,
        Corrupt = -103, ///< wrong CRC, no content, or a `size` that is none of the block
        NotReadable = -104,
        NotWritten = -105,
        WrongLength = -106,
        Missing = -107,
        EndOfFile = -1000,
        FileError = EndOfFile - 1, ///< the system reports a failed read
    };

    /// The largest block that an operation allocates by itself, in MiB.
    static constexpr int memoryLimitMB = 768;

    _OX_DataBuffer() = default;
    ~_OX_DataBuffer();
    _OX_DataBuffer(_OX_DataBuffer const &) = delete;
    _OX_DataBuffer & operator=(_OX_DataBuffer const &) = delete;

    // Memory

    /// Gives room for newSize bytes whose old content need not survive. A block that is large
    /// enough stays as it is; a new one is zero-filled. `size` does not change. Fails with `error`
    /// as it was when newSize is negative or above maxMB MiB, and with OutOfMemory, and no block,
    /// without memory.
    bool newsize(int newSize, int maxMB);

    /// Gives room for newSize bytes and keeps the content. A block that is large enough stays as it
    /// is; growth is to exactly newSize, and the bytes gained are zero only if there was no block.
    /// `size` does not change. A size above maxMB MiB changes nothing, not even `error`; without
    /// memory it fails with OutOfMemory, and no block.
    bool resize(int newSize, int maxMB);

    /// Zeroes the whole block.
    void fillZero();

    /// Adds len bytes behind the valid ones; fewer than 1 is nothing to do. `src` lies outside the
    /// block. Fails as resize() does, and with Corrupt when `src` is null or `size` is no size of
    /// this block.
    bool append(char * src, int const & len);

    /// Copies len bytes to the start of the block, which grows if need be. `size` is the caller's
    /// to set. Fails as resize() does, and with Corrupt when `src` is null.
    bool copyFromBuffer(char const * src, int const & len);

    /// Copies len bytes from the start of the block, valid or not, as far as the block goes.
    void copyToBuffer(char * dest, int const & len) const;

    /// Sets `crc` to the CRC-32 of the first `size` bytes.
    void calcCRC();

    /// The text of `error`, or of any code. That of NotOpened ends with the system's last error.
    _oxString8_evenSize<150> errorString() const;
    static _oxString8_evenSize<150> errorString(int const & code);

    // Search

    /// The first position at or after from where the pattern stands in the first `size` bytes, or
    /// -1. An empty pattern is found nowhere; a negative from counts as 0.
    int indexOf(_oxString8_evenSize<250> const & pattern, int from) const;

    /// The same, with ASCII letters matching in either case.
    int indexOfIgnCase(_oxString8_evenSize<250> const & pattern, int from) const;

    // Compression of a whole block, as a zlib stream

    /// Compresses srcLen bytes into this buffer behind offset bytes that are left for the caller.
    /// Sets `size` to the compressed length (without the offset), `sizeUncompressed`, `dataOffset`
    /// and `isCompressed`. Fails as resize() does, or with zlib's code in `error`.
    bool compressFromB(char const * src, int const & srcLen, int const & offset);

    /// Compresses the valid bytes of another buffer. Fails as well with Corrupt when its `size` is
    /// no size of its block.
    bool compressFrom(_OX_DataBuffer & src, int const & offset);

    /// Decompresses the `size` bytes at `dataOffset` (set to *offset first, if given) into exactly
    /// destLen bytes and returns their number. Returns the error's code, also in `error`,
    /// otherwise: zlib's, or WrongLength when the result is not both destLen and
    /// `sizeUncompressed` long.
    int decompressToB(char * dest, int const & destLen, int const * offset);

    /// Decompresses into another buffer and sets its `size` to the length or the error's code; true
    /// when the length is above 0. `error` here (not in dest) tells why not: as for
    /// decompressToB(), OutOfMemory without memory. The block of dest must not be larger than
    /// `sizeUncompressed`, or the result is WrongLength.
    bool decompressTo(_OX_DataBuffer & dest, int const * offset);

    // Compression piece by piece, through the caller's z_stream

    /// Begins a compressed stream in a block of initialSize bytes.
    bool chunkzipStart(z_stream & zs, int initialSize);

    /// Compresses len bytes more, and closes the stream when they are the last. The block grows by
    /// one half, once in a call, if it has not room for twice the input or gets full. False when it
    /// cannot grow, when that is not enough (-5), or when zlib refuses (its code in `error`).
    bool chunkzipAdd(z_stream & zs, unsigned char * in, int len, bool last);

    /// Releases what zlib holds; always true.
    bool chunkzipFinish(z_stream & zs);

    /// Begins inflating at the start of the block.
    bool chunkUnzipStart(z_stream & zs);

    /// Inflates up to outLen bytes; zs.avail_out is what was left of them. `dataOffset` moves on to
    /// the input that is still to come. False when there is none, or with zlib's code in `error`
    /// when it is damaged; then the stream is already released, except for code -2.
    bool chunkUnzipGet(z_stream & zs, unsigned char * out, int outLen);

    /// Releases what zlib holds; always true.
    bool chunkUnzipFinish(z_stream & zs);

    // Files from and to the caller's memory. They return 0 or an error code.
    //
    // A name is given as a QString, whose letters all reach the system, as a record, or as any
    // other type of text that names a file: a literal, a fixed string of another capacity,
    // std::string. Opening never waits: a folder and a named pipe are not opened.
    //
    // After NotOpened, NotReadable, NotWritten, zlib's -1 and a code below EndOfFile the thread's
    // last error is the system's reason (oxLastOSError). The other codes describe the content,
    // OutOfMemory the memory.
    //
    // The forms with two blocks write or read a magic if asked, then block1, then block2 unless it
    // is null. Saving a length that is negative, or a null block that is not empty, gives
    // NotWritten and leaves the file alone.

    /// Plain file. Fails: NotOpened; NotWritten, also when a part of it was written.
    static int saveToFile(_oxString8_evenSize<500> file, bool const & withMagic,
                          char * const block1, int const & len1, char * const block2,
                          int const & len2);
    static int saveToFile(QString const & file, bool const & withMagic, char * const block1,
                          int const & len1, char * const block2, int const & len2);

    /// Plain file. What follows the blocks is ignored. Fails: NotOpened, WrongMagic; EndOfFile when
    /// it ends early; a code below EndOfFile when it cannot be read.
    static int loadFromFile(_oxString8_evenSize<500> file, bool const & withMagic,
                            char * const block1, int const & len1, char * const block2,
                            int const & len2);
    static int loadFromFile(QString const & file, bool const & withMagic, char * const block1,
                            int const & len1, char * const block2, int const & len2);

    /// Gzip file. Fails: NotOpened; zlib's code when not written whole.
    static int saveToFileCompressed(_oxString8_evenSize<500> file, bool const & withMagic,
                                    char * const block1, int const & len1, char * const block2,
                                    int const & len2);
    static int saveToFileCompressed(QString const & file, bool const & withMagic,
                                    char * const block1, int const & len1, char * const block2,
                                    int const & len2);

    /// Gzip file. Fails: NotReadable when it cannot be opened; WrongMagic; zlib's code when it is
    /// damaged or cut short. A whole stream that merely holds too few bytes gives 0: the farm's
    /// readers rely on it to read records that older applications wrote shorter.
    static int loadFromFileCompressed(_oxString8_evenSize<500> file, bool const & withMagic,
                                      char * const block1, int const & len1, char * const block2,
                                      int const & len2);
    static int loadFromFileCompressed(QString const & file, bool const & withMagic,
                                      char * const block1, int const & len1, char * const block2,
                                      int const & len2);

    /// Gzip file of the bytes alone. Fails: NotReadable when it cannot be opened for writing;
    /// zlib's code when not written whole.
    static int saveGzipFile(_oxString8_evenSize<500> const & file, char const * data,
                            int const & len);
    static int saveGzipFile(QString const & file, char const * data, int const & len);

    /// Up to len bytes of a gzip file, with exact neither more nor fewer. Fails: NotReadable when
    /// it cannot be opened; WrongLength; zlib's code when it is damaged or cut short.
    static int loadGzipFile(_oxString8_evenSize<500> const & file, char * dest,
                            unsigned int const & len, bool const & exact);
    static int loadGzipFile(QString const & file, char * dest, unsigned int const & len,
                            bool const & exact);

    /// Compressed buffer file of len bytes, with a header that tells their length and nothing else.
    static int saveToFileCompressedHeader(_oxString8_evenSize<500> const & file, char * data,
                                          int const & len);
    static int saveToFileCompressedHeader(QString const & file, char * data, int const & len);

    /// The first len bytes of a compressed buffer file, which must hold as many. A missing file is
    /// 0.
    static int loadFromFileCompressedHeader(_oxString8_evenSize<500> const & file, char * dest,
                                            int const & len);
    static int loadFromFileCompressedHeader(QString const & file, char * dest, int const & len);

    /// Buffer file of the compressed bytes. A failure to write the file is not reported.
    static int compressNSaveToFile(_oxString8_evenSize<500> const & file, char * data,
                                   int const & len);
    static int compressNSaveToFile(QString const & file, char * data, int const & len);

    /// Reads what compressNSaveToFile() wrote; it must have been len bytes, or the result is
    /// WrongLength.
    static int compressNLoadFromFile(_oxString8_evenSize<500> const & file, char * dest,
                                     int const & len, bool const & exact);
    static int compressNLoadFromFile(QString const & file, char * dest, int const & len,
                                     bool const & exact);

    // Files from and to this buffer. A failed load leaves what it read so far, in the header too.

    /// Plain file of the `size` bytes, with magic, header and fresh CRC in front if asked. Codes of
    /// the static form; NotWritten, with the file left alone, if `size` is no size of this block.
    bool saveToFile(_oxString8_evenSize<500> const & file, bool const & withHeader);
    bool saveToFile(QString const & file, bool const & withHeader);

    /// Plain file, whole. Fails: Missing; Corrupt when the CRC is wrong or nothing is behind the
    /// header; OutOfMemory when it is too large; otherwise as the static form.
    bool loadFromFile(_oxString8_evenSize<500> const & file, bool withHeader);
    bool loadFromFile(QString const & file, bool withHeader);

    /// Compressed buffer file with the header as it stands (`crc` is not computed). Codes as for
    /// saveToFile().
    bool saveToFileCompressed(_oxString8_evenSize<500> const & file);
    bool saveToFileCompressed(QString const & file);

    /// Compressed buffer file. With growToFit the block grows as the data comes, and data that is
    /// too large fails with OutOfMemory. Without, it must hold at least `sizeAllocated` bytes, and
    /// when it holds more `size` stays 0 and the result is true. A missing file is true with
    /// nothing loaded.
    bool loadFromFileCompressed(_oxString8_evenSize<500> const & file, bool growToFit);
    bool loadFromFileCompressed(QString const & file, bool growToFit);

    /// Gzip file, whole, in steps of chunk bytes. Fails: NotReadable when it cannot be opened;
    /// OutOfMemory when it is too large; zlib's code when it is damaged or cut short.
    bool loadGzipFile(_oxString8_evenSize<500> const & file, unsigned int const & chunk);
    bool loadGzipFile(QString const & file, unsigned int const & chunk);

    // The forms for the other types.

    template <ox::text::FileName Name>
    static int saveToFile(Name const & file, bool const & withMagic, char * const block1,
                          int const & len1, char * const block2, int const & len2)
    {
        return saveToFile(ox::text::fileNameText(file), withMagic, block1, len1, block2, len2);
    }
    template <ox::text::FileName Name>
    static int loadFromFile(Name const & file, bool const & withMagic, char * const block1,
                            int const & len1, char * const block2, int const & len2)
    {
        return loadFromFile(ox::text::fileNameText(file), withMagic, block1, len1, block2, len2);
    }
    template <ox::text::FileName Name>
    static int saveToFileCompressed(Name const & file, bool const & withMagic, char * const block1,
                                    int const & len1, char * const block2, int const & len2)
    {
        return saveToFileCompressed(ox::text::fileNameText(file), withMagic, block1, len1, block2,
                                    len2);
    }
    template <ox::text::FileName Name>
    static int loadFromFileCompressed(Name const & file, bool const & withMagic,
                                      char * const block1, int const & len1, char * const block2,
                                      int const & len2)
    {
        return loadFromFileCompressed(ox::text::fileNameText(file), withMagic, block1, len1, block2,
                                      len2);
    }
    template <ox::text::FileName Name>
    static int saveGzipFile(Name const & file, char const * data, int const & len)
    {
        return saveGzipFile(ox::text::fileNameText(file), data, len);
    }
    template <ox::text::FileName Name>
    static int loadGzipFile(Name const & file, char * dest, unsigned int const & len,
                            bool const & exact)
    {
        return loadGzipFile(ox::text::fileNameText(file), dest, len, exact);
    }
    template <ox::text::FileName Name>
    static int saveToFileCompressedHeader(Name const & file, char * data, int const & len)
    {
        return saveToFileCompressedHeader(ox::text::fileNameText(file), data, len);
    }
    template <ox::text::FileName Name>
    static int loadFromFileCompressedHeader(Name const & file, char * dest, int const & len)
    {
        return loadFromFileCompressedHeader(ox::text::fileNameText(file), dest, len);
    }
    template <ox::text::FileName Name>
    static int compressNSaveToFile(Name const & file, char * data, int const & len)
    {
        return compressNSaveToFile(ox::text::fileNameText(file), data, len);
    }
    template <ox::text::FileName Name>
    static int compressNLoadFromFile(Name const & file, char * dest, int const & len,
                                     bool const & exact)
    {
        return compressNLoadFromFile(ox::text::fileNameText(file), dest, len, exact);
    }
    template <ox::text::FileName Name>
    bool saveToFile(Name const & file, bool const & withHeader)
    {
        return saveToFile(ox::text::fileNameText(file), withHeader);
    }
    template <ox::text::FileName Name>
    bool loadFromFile(Name const & file, bool withHeader)
    {
        return loadFromFile(ox::text::fileNameText(file), withHeader);
    }
    template <ox::text::FileName Name>
    bool saveToFileCompressed(Name const & file)
    {
        return saveToFileCompressed(ox::text::fileNameText(file));
    }
    template <ox::text::FileName Name>
    bool loadFromFileCompressed(Name const & file, bool growToFit)
    {
        return loadFromFileCompressed(ox::text::fileNameText(file), growToFit);
    }
    template <ox::text::FileName Name>
    bool loadGzipFile(Name const & file, unsigned int const & chunk)
    {
        return loadGzipFile(ox::text::fileNameText(file), chunk);
    }

  private:
    /// resize() to a size that may be more than an int holds.
    bool makeRoom(std::int64_t bytes);
    /// The part of the block from offset on, of at most length bytes, that there really is.
    std::span<char const> bytesAt(int offset, int length) const;
    /// Whether `size` counts bytes that there really are.
    bool hasTrueSize() const;
    bool fail(int code);
};

static_assert(std::is_standard_layout_v<_OX_DataBuffer>);
static_assert(offsetof(_OX_DataBuffer, headerValue0) == 0);
static_assert(offsetof(_OX_DataBuffer, size) == 4);
static_assert(offsetof(_OX_DataBuffer, sizeUncompressed) == 8);
static_assert(offsetof(_OX_DataBuffer, dataOffset) == 12);
static_assert(offsetof(_OX_DataBuffer, crc) == 16);
static_assert(offsetof(_OX_DataBuffer, headerValue1) == 20);
static_assert(offsetof(_OX_DataBuffer, headerValue2) == 24);
static_assert(offsetof(_OX_DataBuffer, isCompressed) == 28);
static_assert(offsetof(_OX_DataBuffer, sizeAllocated) == 32);
static_assert(offsetof(_OX_DataBuffer, data) == (sizeof(void *) == 8 ? 40 : 36));
static_assert(offsetof(_OX_DataBuffer, error) == offsetof(_OX_DataBuffer, data) + sizeof(void *));

/// The text of a zlib code; that of -1 ends with the system's last error.
OX_EXPORT QString oxConvertZLibError(int & code);
