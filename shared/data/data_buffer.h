#pragma once

#include "shared/export.h"
#include "shared/text/file_name.h"
#include "shared/text/fixed_string8.h"

#include <zlib.h>

#include <QString>

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

/// Growable block of bytes with a small header. Computes its CRC-32, and compresses, searches,
/// saves and loads the bytes. docs/file_formats.md describes the files.
///
/// Fails: a function returns false or a negative code and sets `error` to the code. A lack of
/// memory frees the block; any other failure keeps it. A function that needs a block of more than
/// `memoryLimitMB` fails with an unchanged `error`, unless its comment says otherwise.
/// Only a lack of memory for a file name throws (std::bad_alloc).
///
/// The header words may come from a file and are untrusted. No operation accesses memory outside
/// the block, whatever `size`, `dataOffset` and `sizeUncompressed` contain.
/// Threads: one thread at a time.
class OX_EXPORT _OX_DataBuffer
{
  public:
    /// The eight 32-bit words from `headerValue0` to `isCompressed` are the header of a buffer
    /// file.
    std::int32_t headerValue0 = 0; ///< free for the caller
    std::int32_t size = 0;         ///< valid bytes; for compressed data counted from `dataOffset`
    std::int32_t sizeUncompressed = 0; ///< length before compression, in bytes
    std::int32_t dataOffset = 0; ///< offset of the compressed data, or of the next input to inflate
    std::uint32_t crc = 0;       ///< CRC-32 of the valid bytes at the last calcCRC()
    std::int32_t headerValue1 = 0; ///< free for the caller
    std::int32_t headerValue2 = 0; ///< free for the caller
    std::int32_t isCompressed = 0; ///< 1 after compressing into this buffer, 0 after decompressing

    std::int32_t sizeAllocated = 0; ///< capacity in bytes; the block has one byte more
    char * data = nullptr;          ///< the block (malloc, realloc, free), owned
    std::int32_t error = 0;         ///< error code of the last operation, 0 if it succeeded

    /// Codes that `error` and the file functions can have in addition to the codes of zlib.
    enum ErrorCode {
        OutOfMemory = -100,        ///< no memory, or a file larger than `memoryLimitMB`
        NotOpened = -101,          ///< the file cannot be opened
        WrongMagic = -102,         ///< the file does not begin with the expected magic
        Corrupt = -103,            ///< wrong CRC, no content, or a `size` beyond the block
        NotReadable = -104,        ///< a gzip file cannot be opened
        NotWritten = -105,         ///< the file cannot be written completely
        WrongLength = -106,        ///< the content does not have the expected length
        Missing = -107,            ///< the file does not exist
        EndOfFile = -1000,         ///< the file ends too early
        FileError = EndOfFile - 1, ///< the system failed to read
    };

    /// Largest block in MiB that an operation allocates, unless the caller passes a limit.
    static constexpr int memoryLimitMB = 768;

    /// Creates an empty buffer without a block.
    _OX_DataBuffer() = default;
    /// Frees the block.
    ~_OX_DataBuffer();
    _OX_DataBuffer(_OX_DataBuffer const &) = delete;
    _OX_DataBuffer & operator=(_OX_DataBuffer const &) = delete;

    // Memory

    /// Ensures a capacity of `newSize` bytes; the old content may be lost. A block that is large
    /// enough stays unchanged; otherwise a new, zero-filled block replaces it. `size` does not
    /// change.
    /// Fails: if `newSize` is negative or above `maxMB` MiB, `error` stays unchanged. If memory is
    /// lacking, fails with OutOfMemory and frees the block.
    bool newsize(int newSize, int maxMB);

    /// Ensures a capacity of `newSize` bytes and keeps the content. A block that is large enough
    /// stays unchanged; a smaller block grows to exactly `newSize` bytes. The new bytes are zero
    /// only if there was no block. `size` does not change.
    /// Fails: if `newSize` is above `maxMB` MiB, `error` stays unchanged. If memory is lacking,
    /// fails with OutOfMemory and frees the block.
    bool resize(int newSize, int maxMB);

    /// Sets all bytes of the block to 0.
    void fillZero();

    /// Appends `len` bytes to the valid bytes; a `len` below 1 has no effect. `src` must not lie in
    /// the block.
    /// Fails: with Corrupt when `src` is null, or when `size` is negative or beyond the block. Also
    /// fails as resize() with a limit of `memoryLimitMB`.
    bool append(char * src, int const & len);

    /// Copies `len` bytes to the start of the block, which grows if necessary; a `len` below 1 has
    /// no effect. `size` does not change: the caller sets it.
    /// Fails: with Corrupt when `src` is null. Also fails as resize() with a limit of
    /// `memoryLimitMB`.
    bool copyFromBuffer(char const * src, int const & len);

    /// Copies the first `len` bytes of the block, at most `sizeAllocated`, to `dest`. `size` does
    /// not limit the number of bytes.
    void copyToBuffer(char * dest, int const & len) const;

    /// Sets `crc` to the CRC-32 of the first `size` bytes.
    void calcCRC();

    /// Returns the text of `error`. For NotOpened it ends with the text of the system's last error.
    _oxString8_evenSize<150> errorString() const;
    /// Returns the text of any error code. For NotOpened it ends with the text of the system's last
    /// error.
    static _oxString8_evenSize<150> errorString(int const & code);

    // Search

    /// Returns the position of the first match of `pattern` at or after `from` within the first
    /// `size` bytes, or -1. Case matters. An empty pattern gives -1. A negative `from` counts as 0.
    int indexOf(_oxString8_evenSize<250> const & pattern, int from) const;

    /// Searches for `pattern` as indexOf() does, but ignores the case of ASCII letters.
    int indexOfIgnCase(_oxString8_evenSize<250> const & pattern, int from) const;

    // Compression of a whole block to a zlib stream

    /// Compresses `srcLen` bytes into this buffer. The compressed data begins at `offset`; the
    /// bytes before it are free for the caller. Sets `size` to the compressed length without
    /// `offset`. Also sets `sizeUncompressed`, `dataOffset` and `isCompressed`.
    /// Fails: with zlib's code. If the result may need more than `memoryLimitMB`, fails with
    /// `error` 0. If memory is lacking, fails with OutOfMemory and frees the block.
    bool compressFromB(char const * src, int const & srcLen, int const & offset);

    /// Compresses the valid bytes of another buffer into this one, by the rules of compressFromB().
    /// Fails: as compressFromB(), and with Corrupt when the `size` of `src` is negative or beyond
    /// its block.
    bool compressFrom(_OX_DataBuffer & src, int const & offset);

    /// Decompresses the `size` bytes at `dataOffset` into exactly `destLen` bytes. If `offset` is
    /// not null, first sets `dataOffset` to `*offset`. Returns `destLen`.
    /// Fails: returns an error code and stores it in `error`: zlib's code, or WrongLength if the
    /// length of the result differs from `destLen` or from `sizeUncompressed`.
    int decompressToB(char * dest, int const & destLen, int const * offset);

    /// Decompresses into another buffer. Sets the `size` of `dest` to the length of the result, or
    /// to the code of the error. Returns whether this `size` is above 0. `offset` has
    /// the same effect as in decompressToB().
    /// Fails: sets `error` of this buffer. If `dest` cannot get a block of `sizeUncompressed`
    /// bytes, the code is OutOfMemory; otherwise the codes are those of decompressToB().
    /// Compatibility: an existing block of `dest` that is larger than `sizeUncompressed` gives
    /// WrongLength, as the applications expect.
    bool decompressTo(_OX_DataBuffer & dest, int const * offset);

    // Compression in pieces, with the caller's z_stream

    /// Begins a compressed stream in a block of `initialSize` bytes.
    /// Fails: as newsize() with a limit of `memoryLimitMB`, or with zlib's code.
    bool chunkzipStart(z_stream & zs, int initialSize);

    /// Compresses `len` more bytes. With `last` it also ends the stream.
    /// Fails: if the block is full and has already grown in this call, fails with Z_BUF_ERROR (-5).
    /// Also fails with zlib's code, or as resize() with a limit of `memoryLimitMB`.
    /// Compatibility: if the block is full or has no space for twice the input, it grows by one
    /// half, but at most once per call. The applications rely on this growth.
    bool chunkzipAdd(z_stream & zs, unsigned char * in, int len, bool last);

    /// Releases the memory that zlib uses for the compression. Always returns true.
    bool chunkzipFinish(z_stream & zs);

    /// Begins decompression at the start of the block.
    /// Fails: with zlib's code.
    bool chunkUnzipStart(z_stream & zs);

    /// Decompresses up to `outLen` bytes. Sets `zs.avail_out` to the number of bytes that stay free
    /// in `out`, and `dataOffset` to the offset of the next input. At the end of the input returns
    /// false and leaves `error` unchanged.
    /// Fails: with zlib's code when the data is damaged. The failure releases zlib's memory, except
    /// with Z_STREAM_ERROR (-2).
    bool chunkUnzipGet(z_stream & zs, unsigned char * out, int outLen);

    /// Releases the memory that zlib uses for the decompression. Always returns true.
    bool chunkUnzipFinish(z_stream & zs);

    // Files from and to the caller's memory. The functions return 0 or an error code.
    //
    // A file name is a QString, an _oxString8_evenSize<500>, or any other type that satisfies
    // ox::text::FileName: a literal, a fixed string of another capacity, std::string. Opening never
    // waits: it fails for a folder and for a named pipe.
    //
    // After NotOpened, NotReadable, NotWritten, zlib's -1 and a code below EndOfFile, the thread's
    // last error is the system's reason (oxLastOSError). The other codes concern the content of the
    // file or, with OutOfMemory, the memory.
    //
    // Functions with two blocks write or read a magic of 4 bytes if `withMagic` is true, then
    // `block1`, then `block2` unless it is null. Saving fails with NotWritten and leaves the file
    // unchanged if a length is negative, or if `block1` is null and `len1` is not 0.

    /// Saves two blocks as a plain file.
    /// Fails: NotOpened; NotWritten, even if a part of the file was written.
    static int saveToFile(_oxString8_evenSize<500> file, bool const & withMagic,
                          char * const block1, int const & len1, char * const block2,
                          int const & len2);
    /// Saves two blocks as a plain file; the name is a QString.
    static int saveToFile(QString const & file, bool const & withMagic, char * const block1,
                          int const & len1, char * const block2, int const & len2);

    /// Loads two blocks from a plain file. Bytes after the blocks are ignored.
    /// Fails: NotOpened; WrongMagic; EndOfFile when the file ends early; a code below EndOfFile
    /// when reading fails.
    static int loadFromFile(_oxString8_evenSize<500> file, bool const & withMagic,
                            char * const block1, int const & len1, char * const block2,
                            int const & len2);
    /// Loads two blocks from a plain file; the name is a QString.
    static int loadFromFile(QString const & file, bool const & withMagic, char * const block1,
                            int const & len1, char * const block2, int const & len2);

    /// Saves two blocks as a gzip file.
    /// Fails: NotOpened; zlib's code when the file is not written completely.
    static int saveToFileCompressed(_oxString8_evenSize<500> file, bool const & withMagic,
                                    char * const block1, int const & len1, char * const block2,
                                    int const & len2);
    /// Saves two blocks as a gzip file; the name is a QString.
    static int saveToFileCompressed(QString const & file, bool const & withMagic,
                                    char * const block1, int const & len1, char * const block2,
                                    int const & len2);

    /// Loads two blocks from a gzip file.
    /// Fails: NotReadable when the file cannot be opened; WrongMagic; zlib's code when the file is
    /// damaged or truncated.
    /// Compatibility: a complete stream with too few bytes gives 0, since older applications wrote
    /// shorter records.
    static int loadFromFileCompressed(_oxString8_evenSize<500> file, bool const & withMagic,
                                      char * const block1, int const & len1, char * const block2,
                                      int const & len2);
    /// Loads two blocks from a gzip file; the name is a QString.
    static int loadFromFileCompressed(QString const & file, bool const & withMagic,
                                      char * const block1, int const & len1, char * const block2,
                                      int const & len2);

    /// Saves `len` bytes as a plain gzip file: without the magic and the header of a buffer file.
    /// Fails: NotReadable when the file cannot be opened; zlib's code when the file is not written
    /// completely.
    /// Compatibility: the applications expect NotReadable, and not NotOpened, for a plain gzip
    /// file.
    static int saveGzipFile(_oxString8_evenSize<500> const & file, char const * data,
                            int const & len);
    /// Saves `len` bytes as a plain gzip file; the name is a QString.
    static int saveGzipFile(QString const & file, char const * data, int const & len);

    /// Loads up to `len` bytes from a plain gzip file. With `exact` the file must contain exactly
    /// `len` bytes.
    /// Fails: NotReadable when the file cannot be opened; WrongLength when `exact` is set and the
    /// file does not contain `len` bytes; zlib's code when the file is damaged or truncated.
    static int loadGzipFile(_oxString8_evenSize<500> const & file, char * dest,
                            unsigned int const & len, bool const & exact);
    /// Loads up to `len` bytes from a plain gzip file; the name is a QString.
    static int loadGzipFile(QString const & file, char * dest, unsigned int const & len,
                            bool const & exact);

    /// Saves `len` bytes as a compressed buffer file. The file's header contains only `len`.
    /// Fails: as saveToFileCompressed().
    static int saveToFileCompressedHeader(_oxString8_evenSize<500> const & file, char * data,
                                          int const & len);
    /// Saves `len` bytes as a compressed buffer file; the name is a QString.
    static int saveToFileCompressedHeader(QString const & file, char * data, int const & len);

    /// Loads `len` bytes from a compressed buffer file. If the file is missing, loads nothing and
    /// returns 0. If the file is complete but has fewer bytes, returns 0, too.
    /// Fails: as loadFromFileCompressed().
    static int loadFromFileCompressedHeader(_oxString8_evenSize<500> const & file, char * dest,
                                            int const & len);
    /// Loads `len` bytes from a compressed buffer file; the name is a QString.
    static int loadFromFileCompressedHeader(QString const & file, char * dest, int const & len);

    /// Compresses `len` bytes and saves them as a buffer file.
    /// Fails: as compressFromB().
    /// Compatibility: a failure to write the file is not reported. The applications can recompute
    /// the data, and a read-only share must not stop them.
    static int compressNSaveToFile(_oxString8_evenSize<500> const & file, char * data,
                                   int const & len);
    /// Compresses `len` bytes and saves them as a buffer file; the name is a QString.
    static int compressNSaveToFile(QString const & file, char * data, int const & len);

    /// Loads and decompresses `len` bytes from a file that compressNSaveToFile() has written. With
    /// `exact` the call fails before the decompression if the length in the header is not `len`.
    /// Fails: as loadFromFile() with a header; WrongLength when the file contains a different
    /// number of bytes; zlib's code when the data is damaged.
    static int compressNLoadFromFile(_oxString8_evenSize<500> const & file, char * dest,
                                     int const & len, bool const & exact);
    /// Loads and decompresses `len` bytes from a file that compressNSaveToFile() has written; the
    /// name is a QString.
    static int compressNLoadFromFile(QString const & file, char * dest, int const & len,
                                     bool const & exact);

    // Saves from this buffer and loads into it. After a failed load, header and block contain what
    // was read before the failure.

    /// Saves the `size` bytes as a plain file. Computes `crc`. With `withHeader` writes magic and
    /// header before the bytes.
    /// Fails: with the codes of the static saveToFile(). If `size` is negative or beyond the block,
    /// fails with NotWritten and leaves the file unchanged.
    bool saveToFile(_oxString8_evenSize<500> const & file, bool const & withHeader);
    /// Saves the `size` bytes as a plain file; the name is a QString.
    bool saveToFile(QString const & file, bool const & withHeader);

    /// Loads a whole plain file and sets `size`. With `withHeader` the file begins with magic and
    /// header, and its CRC is checked.
    /// Fails: Missing; Corrupt when the CRC is wrong or the file has no content; OutOfMemory when
    /// the file is larger than `memoryLimitMB` or memory is lacking; otherwise with the codes of
    /// the static loadFromFile().
    bool loadFromFile(_oxString8_evenSize<500> const & file, bool withHeader);
    /// Loads a whole plain file and sets `size`; the name is a QString.
    bool loadFromFile(QString const & file, bool withHeader);

    /// Saves the `size` bytes as a compressed buffer file with the current header. Does not compute
    /// `crc`.
    /// Fails: NotOpened; zlib's code when the file is not written completely. If `size` is negative
    /// or beyond the block, fails with NotWritten and leaves the file unchanged.
    bool saveToFileCompressed(_oxString8_evenSize<500> const & file);
    /// Saves the `size` bytes as a compressed buffer file; the name is a QString.
    bool saveToFileCompressed(QString const & file);

    /// Loads a compressed buffer file and sets `size`. With `growToFit` the block grows with the
    /// data. Without `growToFit` the function fills the block: the file must contain at least
    /// `sizeAllocated` bytes. If the file contains more, `size` becomes 0 and the result is true.
    /// If the file is missing, loads nothing and returns true.
    /// Fails: NotReadable when the file cannot be opened; WrongMagic; OutOfMemory when the data is
    /// too large; zlib's code when the file is damaged or truncated. If a complete stream has too
    /// few bytes, returns false with `error` 0.
    /// Compatibility: settings and caches are kept in these files, so a missing file counts as an
    /// empty one.
    bool loadFromFileCompressed(_oxString8_evenSize<500> const & file, bool growToFit);
    /// Loads a compressed buffer file and sets `size`; the name is a QString.
    bool loadFromFileCompressed(QString const & file, bool growToFit);

    /// Loads a whole plain gzip file and sets `size`. The block grows in steps of `chunk` bytes.
    /// Fails: NotReadable when the file cannot be opened; OutOfMemory when the content is larger
    /// than `memoryLimitMB` or memory is lacking; zlib's code when the file is damaged or
    /// truncated.
    bool loadGzipFile(_oxString8_evenSize<500> const & file, unsigned int const & chunk);
    /// Loads a whole plain gzip file and sets `size`; the name is a QString.
    bool loadGzipFile(QString const & file, unsigned int const & chunk);

    // Overloads of the functions above for file names of any other string type.

    /// Saves two blocks as a plain file; the name is of any string type.
    template <ox::text::FileName Name>
    static int saveToFile(Name const & file, bool const & withMagic, char * const block1,
                          int const & len1, char * const block2, int const & len2)
    {
        return saveToFile(ox::text::fileNameText(file), withMagic, block1, len1, block2, len2);
    }
    /// Loads two blocks from a plain file; the name is of any string type.
    template <ox::text::FileName Name>
    static int loadFromFile(Name const & file, bool const & withMagic, char * const block1,
                            int const & len1, char * const block2, int const & len2)
    {
        return loadFromFile(ox::text::fileNameText(file), withMagic, block1, len1, block2, len2);
    }
    /// Saves two blocks as a gzip file; the name is of any string type.
    template <ox::text::FileName Name>
    static int saveToFileCompressed(Name const & file, bool const & withMagic, char * const block1,
                                    int const & len1, char * const block2, int const & len2)
    {
        return saveToFileCompressed(ox::text::fileNameText(file), withMagic, block1, len1, block2,
                                    len2);
    }
    /// Loads two blocks from a gzip file; the name is of any string type.
    template <ox::text::FileName Name>
    static int loadFromFileCompressed(Name const & file, bool const & withMagic,
                                      char * const block1, int const & len1, char * const block2,
                                      int const & len2)
    {
        return loadFromFileCompressed(ox::text::fileNameText(file), withMagic, block1, len1, block2,
                                      len2);
    }
    /// Saves `len` bytes as a plain gzip file; the name is of any string type.
    template <ox::text::FileName Name>
    static int saveGzipFile(Name const & file, char const * data, int const & len)
    {
        return saveGzipFile(ox::text::fileNameText(file), data, len);
    }
    /// Loads up to `len` bytes from a plain gzip file; the name is of any string type.
    template <ox::text::FileName Name>
    static int loadGzipFile(Name const & file, char * dest, unsigned int const & len,
                            bool const & exact)
    {
        return loadGzipFile(ox::text::fileNameText(file), dest, len, exact);
    }
    /// Saves `len` bytes as a compressed buffer file; the name is of any string type.
    template <ox::text::FileName Name>
    static int saveToFileCompressedHeader(Name const & file, char * data, int const & len)
    {
        return saveToFileCompressedHeader(ox::text::fileNameText(file), data, len);
    }
    /// Loads `len` bytes from a compressed buffer file; the name is of any string type.
    template <ox::text::FileName Name>
    static int loadFromFileCompressedHeader(Name const & file, char * dest, int const & len)
    {
        return loadFromFileCompressedHeader(ox::text::fileNameText(file), dest, len);
    }
    /// Compresses `len` bytes and saves them as a buffer file; the name is of any other string
    /// type.
    template <ox::text::FileName Name>
    static int compressNSaveToFile(Name const & file, char * data, int const & len)
    {
        return compressNSaveToFile(ox::text::fileNameText(file), data, len);
    }
    /// Loads and decompresses `len` bytes from a file of compressNSaveToFile(); the name is of any
    /// other string type.
    template <ox::text::FileName Name>
    static int compressNLoadFromFile(Name const & file, char * dest, int const & len,
                                     bool const & exact)
    {
        return compressNLoadFromFile(ox::text::fileNameText(file), dest, len, exact);
    }
    /// Saves the `size` bytes as a plain file; the name is of any string type.
    template <ox::text::FileName Name>
    bool saveToFile(Name const & file, bool const & withHeader)
    {
        return saveToFile(ox::text::fileNameText(file), withHeader);
    }
    /// Loads a whole plain file; the name is of any string type.
    template <ox::text::FileName Name>
    bool loadFromFile(Name const & file, bool withHeader)
    {
        return loadFromFile(ox::text::fileNameText(file), withHeader);
    }
    /// Saves the `size` bytes as a compressed buffer file; the name is of any string type.
    template <ox::text::FileName Name>
    bool saveToFileCompressed(Name const & file)
    {
        return saveToFileCompressed(ox::text::fileNameText(file));
    }
    /// Loads a compressed buffer file; the name is of any string type.
    template <ox::text::FileName Name>
    bool loadFromFileCompressed(Name const & file, bool growToFit)
    {
        return loadFromFileCompressed(ox::text::fileNameText(file), growToFit);
    }
    /// Loads a whole plain gzip file; the name is of any string type.
    template <ox::text::FileName Name>
    bool loadGzipFile(Name const & file, unsigned int const & chunk)
    {
        return loadGzipFile(ox::text::fileNameText(file), chunk);
    }

  private:
    /// Ensures a capacity of `bytes` bytes as resize() does; `bytes` may exceed the range of int.
    /// Returns false if it is above `memoryLimitMB`.
    bool ensureCapacity(std::int64_t bytes);
    /// Returns the bytes of the block from `offset` on: at most `length` bytes, and none beyond the
    /// end of the block.
    std::span<char const> bytesAt(int offset, int length) const;
    /// Returns whether `size` is between 0 and the capacity of the block.
    bool hasValidSize() const;
    /// Sets `error` to `code` and returns false.
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

/// Returns the text of a zlib error code. For Z_ERRNO the text ends with the text of the system's
/// last error.
OX_EXPORT QString oxConvertZLibError(int & code);
