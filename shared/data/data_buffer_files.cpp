#include "shared/data/buffer_loading.h"
#include "shared/data/checksum.h"
#include "shared/platform/files.h"
#include "shared/platform/open_file.h"
#include "shared/platform/result.h"
#include "shared/text/mebibytes.h"
#include "shared/text/native_path.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

// The files are little-endian, and the header is written in the processor's byte order.
static_assert(std::endian::native == std::endian::little);

namespace
{

using ox::platform::NativeName;
using ox::platform::OpenFile;
using ox::platform::Result;
using ox::text::bytesOfMebibytes;
using ox::text::fileNameText;
using ox::text::nativePath;
using enum _OX_DataBuffer::ErrorCode;
constexpr int magicSize = 4;
constexpr int headerSize = 32;
static_assert(headerSize == offsetof(_OX_DataBuffer, sizeAllocated));

/// Memory of the caller. A block is invalid if its length is negative, or if its bytes are null and
/// its length is not 0.
struct Block {
    char * bytes;
    int length;

    bool isValid() const { return length >= 0 && (bytes || length == 0); }
};

Block headerOf(_OX_DataBuffer & buffer)
{
    return {reinterpret_cast<char *>(&buffer), headerSize};
}

enum class Mode { Read, Write };

Result<OpenFile> open(NativeName const & name, Mode mode)
{
    using namespace ox::platform;
    return mode == Mode::Read ? openForReading(name, Writers::Refused)
                              : openForWriting(name, Content::Emptied, Writers::Refused);
}

/// A file in the plain format. Provides the error codes of this format.
class PlainFile
{
  public:
    static constexpr char const * magic = "oxDB";
    static constexpr int notOpenedForReading = NotOpened;
    static constexpr int invalidBlock = EndOfFile;

    PlainFile(NativeName const & name, Mode mode) : PlainFile(open(name, mode)) {}

    explicit PlainFile(Result<OpenFile> file) : file_(std::move(file)) { reportToThread(file_); }

    explicit operator bool() const { return static_cast<bool>(file_); }

    bool write(Block block)
    {
        return reportToThread(file_->write(block.bytes, std::size_t(block.length)));
    }

    bool read(Block block)
    {
        Result<std::size_t> const length = file_->read(block.bytes, std::size_t(block.length));
        readError_ = reportToThread(length) ? EndOfFile : FileError;
        return length && *length == std::size_t(block.length);
    }

    int writeError() const { return NotWritten; }
    int readError() const { return readError_; }

    /// Closes a written file. Some systems report a failed write only when the file is closed.
    int close() { return reportToThread(file_->close()) ? 0 : NotWritten; }

  private:
    Result<OpenFile> file_;
    int readError_ = 0;
};

/// A plain file that computes the CRC-32 of the block last read. It reads in pieces, so that each
/// piece is still in the processor's cache when its CRC is computed.
class CheckedFile : public PlainFile
{
  public:
    explicit CheckedFile(Result<OpenFile> file) : PlainFile(std::move(file)) { oxCRCInitialize(); }

    bool read(Block block)
    {
        crc_ = 0xFFFFFFFF;
        while (block.length > 0) {
            Block const piece{block.bytes, std::min(block.length, pieceLengthAt(block.bytes))};
            if (!PlainFile::read(piece))
                return false;
            oxCRCPartial(&crc_, reinterpret_cast<unsigned char *>(piece.bytes),
                         unsigned(piece.length));
            block.bytes += piece.length;
            block.length -= piece.length;
        }
        return true;
    }

    std::uint32_t crc() const { return ~crc_; }

  private:
    static constexpr int pieceSize = 1024 * 1024;

    /// Returns the length of the piece that begins at `bytes`. The next piece then begins at a page
    /// boundary in memory: on an uncached share, a read to an unaligned address costs an additional
    /// request.
    static int pieceLengthAt(char const * bytes)
    {
        constexpr std::uintptr_t pageSize = 4096;
        return pieceSize - static_cast<int>(reinterpret_cast<std::uintptr_t>(bytes) % pageSize);
    }

    unsigned int crc_ = 0;
};

/// A file in one of the compressed formats, read and written by zlib's gzip interface. Provides the
/// error codes of these formats.
class GzipFile
{
  public:
    static constexpr char const * magic = "oxZP";
    static constexpr int notOpenedForReading = NotReadable;
    static constexpr int invalidBlock = Z_STREAM_ERROR;

    GzipFile(NativeName const & name, Mode mode)
    {
        Result<OpenFile> opened = open(name, mode);
        if (!reportToThread(opened))
            return;
        auto const gzip = openGzip(*std::move(opened), mode == Mode::Read ? "rb" : "wb");
        if (!reportToThread(gzip))
            return;
        unsigned const bufferSize = 128 * 1024; // saves system calls
        gzbuffer(*gzip, bufferSize);
        file_.reset(*gzip);
    }

    explicit operator bool() const { return file_ != nullptr; }

    bool write(Block block)
    {
        return gzwrite(file_.get(), block.bytes, unsigned(block.length)) == block.length;
    }

    bool read(Block block) { return readSome(block.bytes, unsigned(block.length)) == block.length; }

    /// Reads up to `capacity` bytes. Returns the number of bytes read, which is below `capacity`
    /// only at the end of the data. If the stream is damaged or truncated, returns -1.
    int readSome(char * bytes, unsigned capacity)
    {
        int const count = gzread(file_.get(), bytes, capacity);
        return unsigned(count) < capacity && readError() != Z_OK ? -1 : count;
    }

    int writeError() const { return readError(); }

    int readError() const
    {
        int number = Z_OK;
        gzerror(file_.get(), &number);
        return number;
    }

    /// Closes a written file. Some systems report a failed write only when the file is closed.
    int close() { return gzclose(file_.release()); }

  private:
    struct Close {
        void operator()(gzFile file) const
        {
            ox::platform::KeptError const kept;
            gzclose(file);
        }
    };
    std::unique_ptr<gzFile_s, Close> file_;
};

/// Writes the magic if `withMagic`, then the blocks. An invalid block is refused before the file is
/// opened, so the previous content stays.
template <class File>
int save(QString const & name, bool withMagic, Block block1, Block block2)
{
    if (!block1.isValid() || !block2.isValid())
        return NotWritten;
    File file(nativePath(name), Mode::Write);
    if (!file)
        return NotOpened;
    Block const magic{const_cast<char *>(File::magic), withMagic ? magicSize : 0};
    if (!file.write(magic) || !file.write(block1) || !file.write(block2))
        return file.writeError();
    return file.close();
}

/// Reads the magic if `withMagic`, then both blocks completely. On failure returns false and sets
/// `error`, which is 0 if a gzip stream ended too early.
template <class File>
bool load(File & file, bool withMagic, Block block1, Block block2, std::int32_t & error)
{
    auto const fail = [&error](int code) {
        error = code;
        return false;
    };
    if (!file)
        return fail(File::notOpenedForReading);
    char magic[magicSize];
    if (withMagic && !file.read({magic, magicSize}))
        return fail(file.readError());
    if (withMagic && std::memcmp(magic, File::magic, magicSize) != 0)
        return fail(WrongMagic);
    if (!block1.isValid() || !block2.isValid())
        return fail(File::invalidBlock);
    return (file.read(block1) && file.read(block2)) || fail(file.readError());
}

template <class File>
int load(QString const & name, bool withMagic, Block block1, Block block2)
{
    File file(nativePath(name), Mode::Read);
    std::int32_t error = 0;
    load(file, withMagic, block1, block2, error);
    return error;
}

/// Reads the rest of a file into a buffer. The buffer grows by `step` bytes before each read.
bool readGrowing(GzipFile & file, _OX_DataBuffer & buffer, unsigned step)
{
    auto const finish = [&buffer](int code, int length) {
        buffer.error = code;
        buffer.size = buffer.sizeUncompressed = length;
        return code == 0;
    };
    std::int64_t const limit = bytesOfMebibytes(_OX_DataBuffer::memoryLimitMB);
    std::int64_t target = 0;
    int total = 0;
    int count = 0;
    do {
        target = std::min(target + step, limit);
        if (!buffer.resize(int(target), _OX_DataBuffer::memoryLimitMB))
            return finish(OutOfMemory, 0);
        unsigned const freeBytes = std::min(step, unsigned(buffer.sizeAllocated - total));
        bool const isFull = freeBytes == 0 && step > 0;
        char extraByte;
        count =
            isFull ? file.readSome(&extraByte, 1) : file.readSome(buffer.data + total, freeBytes);
        if (count < 0)
            return finish(file.readError(), 0);
        if (isFull && count > 0)
            return finish(OutOfMemory, 0);
        total += count;
    } while (count > 0);
    return finish(0, total);
}

/// Returns whether a file that cannot be opened counts as missing: it does not exist, or it is a
/// folder. A file whose status is not readable does not count as missing.
bool countsAsMissing(NativeName const & name)
{
    ox::platform::KeptError const kept;
    auto const status = ox::platform::fileStatus(name);
    return status ? status->isFolder : status.error().kind() == ox::platform::ErrorKind::NotFound;
}

/// A buffer over the caller's memory. The destructor does not free it.
struct BorrowedBuffer : _OX_DataBuffer {
    BorrowedBuffer(char * memory, int length)
    {
        data = memory;
        size = sizeUncompressed = sizeAllocated = length;
    }
    ~BorrowedBuffer() { data = nullptr; }
};

} // namespace

int _OX_DataBuffer::saveToFile(QString const & file, bool const & withMagic, char * const block1,
                               int const & len1, char * const block2, int const & len2)
{
    return save<PlainFile>(file, withMagic, {block1, len1}, {block2, block2 ? len2 : 0});
}

int _OX_DataBuffer::loadFromFile(QString const & file, bool const & withMagic, char * const block1,
                                 int const & len1, char * const block2, int const & len2)
{
    return load<PlainFile>(file, withMagic, {block1, len1},
                           {block2, block2 ? std::max(len2, 0) : 0});
}

int _OX_DataBuffer::saveToFileCompressed(QString const & file, bool const & withMagic,
                                         char * const block1, int const & len1, char * const block2,
                                         int const & len2)
{
    return save<GzipFile>(file, withMagic, {block1, len1}, {block2, block2 ? len2 : 0});
}

int _OX_DataBuffer::loadFromFileCompressed(QString const & file, bool const & withMagic,
                                           char * const block1, int const & len1,
                                           char * const block2, int const & len2)
{
    return load<GzipFile>(file, withMagic, {block1, len1},
                          {block2, block2 ? std::max(len2, 0) : 0});
}

int _OX_DataBuffer::saveGzipFile(QString const & file, char const * data, int const & len)
{
    int const result = save<GzipFile>(file, false, {const_cast<char *>(data), len}, {nullptr, 0});
    // Compatibility: the farm's applications expect NotReadable if a gzip file without a header
    // cannot be opened, even for writing.
    return result == NotOpened ? NotReadable : result;
}

int _OX_DataBuffer::loadGzipFile(QString const & file, char * dest, unsigned int const & len,
                                 bool const & exact)
{
    GzipFile gzip(nativePath(file), Mode::Read);
    if (!gzip)
        return NotReadable;
    if (!dest && len > 0)
        return Z_STREAM_ERROR;
    int const count = gzip.readSome(dest, len);
    if (count < 0)
        return gzip.readError();
    char extraByte;
    bool const isExact = unsigned(count) == len && gzip.readSome(&extraByte, 1) == 0;
    return exact && !isExact ? WrongLength : 0;
}

int _OX_DataBuffer::saveToFileCompressedHeader(QString const & file, char * data, int const & len)
{
    BorrowedBuffer buffer(data, len);
    buffer.saveToFileCompressed(file);
    return buffer.error;
}

int _OX_DataBuffer::loadFromFileCompressedHeader(QString const & file, char * dest, int const & len)
{
    BorrowedBuffer buffer(dest, len);
    buffer.loadFromFileCompressed(file, false);
    return buffer.error;
}

int _OX_DataBuffer::compressNSaveToFile(QString const & file, char * data, int const & len)
{
    _OX_DataBuffer buffer;
    if (!buffer.compressFromB(data, len, 0))
        return buffer.error;
    // Compatibility: a failed save is not reported. The farm's applications can recompute the data,
    // and a read-only share must not stop them.
    buffer.saveToFile(file, true);
    return 0;
}

int _OX_DataBuffer::compressNLoadFromFile(QString const & file, char * dest, int const & len,
                                          bool const & exact)
{
    _OX_DataBuffer buffer;
    if (!buffer.loadFromFile(file, true))
        return buffer.error;
    if (exact && buffer.sizeUncompressed != len)
        return WrongLength;
    buffer.decompressToB(dest, len, nullptr);
    return buffer.error;
}

bool _OX_DataBuffer::saveToFile(QString const & file, bool const & withHeader)
{
    if (!hasValidSize())
        return fail(NotWritten);
    calcCRC();
    Block const header = withHeader ? headerOf(*this) : Block{nullptr, 0};
    error = save<PlainFile>(file, withHeader, header, {data, size});
    return error == 0;
}

bool ox::data::loadOpenFile(_OX_DataBuffer & buffer, Result<OpenFile> file, std::int64_t fileSize,
                            bool withHeader)
{
    auto const fail = [&buffer](int code) {
        buffer.error = code;
        return false;
    };
    buffer.error = 0;
    std::int64_t const length = fileSize - (withHeader ? magicSize + headerSize : 0);
    // Compatibility: a file too short for its header is reported as corrupt, like any damaged file.
    if (length <= 0)
        return fail(Corrupt);
    if (length > bytesOfMebibytes(_OX_DataBuffer::memoryLimitMB) ||
        !buffer.resize(int(length), _OX_DataBuffer::memoryLimitMB))
        return fail(OutOfMemory);
    CheckedFile checked(std::move(file));
    Block const header = withHeader ? headerOf(buffer) : Block{nullptr, 0};
    if (!load(checked, withHeader, header, {buffer.data, int(length)}, buffer.error))
        return false;
    buffer.size = int(length);
    if (!withHeader)
        return true;
    std::uint32_t const stored = buffer.crc;
    buffer.crc = checked.crc();
    return buffer.crc == stored || fail(Corrupt);
}

bool ox::data::loadFile(_OX_DataBuffer & buffer, NativeName const & name, bool withHeader,
                        std::optional<platform::FileStatus> & status)
{
    platform::FileStatus opened;
    auto file = platform::openForReading(name, platform::Writers::Refused, &opened);
    // Compatibility: an existing file that cannot be opened is not reported as missing. If the file
    // was not found, its status is not read: if another process has created the file after the
    // open, a status query would find the file, and the load would not fail with Missing.
    if (file)
        status = opened;
    else if (file.error().kind() != platform::ErrorKind::NotFound)
        status = platform::statusOfFile(name);
    else
        status.reset();
    if (status)
        return loadOpenFile(buffer, std::move(file), status->size, withHeader);
    buffer.error = Missing;
    return false;
}

bool _OX_DataBuffer::loadFromFile(QString const & file, bool withHeader)
{
    std::optional<ox::platform::FileStatus> status;
    return ox::data::loadFile(*this, nativePath(file), withHeader, status);
}

bool _OX_DataBuffer::saveToFileCompressed(QString const & file)
{
    if (!hasValidSize())
        return fail(NotWritten);
    error = save<GzipFile>(file, true, headerOf(*this), {data, size});
    return error == 0;
}

bool _OX_DataBuffer::loadFromFileCompressed(QString const & file, bool growToFit)
{
    error = 0;
    NativeName const name = nativePath(file);
    GzipFile gzip(name, Mode::Read);
    // Compatibility: a missing file counts as empty, since these files hold settings and caches.
    if (!gzip && countsAsMissing(name))
        return true;
    if (!load(gzip, true, headerOf(*this), {nullptr, 0}, error))
        return false;
    size = sizeUncompressed = 0;
    if (growToFit)
        return readGrowing(gzip, *this, 1024 * 1024);
    if (!load(gzip, false, {data, sizeAllocated}, {nullptr, 0}, error))
        return false;
    char extraByte;
    int const more = gzip.readSome(&extraByte, 1);
    if (more < 0)
        return fail(gzip.readError());
    // Compatibility: if the data is larger than the buffer, the size is 0 and the result is true.
    // The farm's applications never use data in part.
    if (more == 0)
        size = sizeUncompressed = sizeAllocated;
    return true;
}

bool _OX_DataBuffer::loadGzipFile(QString const & file, unsigned int const & chunk)
{
    GzipFile gzip(nativePath(file), Mode::Read);
    if (!gzip)
        return fail(NotReadable);
    return readGrowing(gzip, *this, chunk);
}

// Overloads for file names in an _oxString8_evenSize<500>.

int _OX_DataBuffer::saveToFile(_oxString8_evenSize<500> file, bool const & withMagic,
                               char * const block1, int const & len1, char * const block2,
                               int const & len2)
{
    return saveToFile(fileNameText(file), withMagic, block1, len1, block2, len2);
}

int _OX_DataBuffer::loadFromFile(_oxString8_evenSize<500> file, bool const & withMagic,
                                 char * const block1, int const & len1, char * const block2,
                                 int const & len2)
{
    return loadFromFile(fileNameText(file), withMagic, block1, len1, block2, len2);
}

int _OX_DataBuffer::saveToFileCompressed(_oxString8_evenSize<500> file, bool const & withMagic,
                                         char * const block1, int const & len1, char * const block2,
                                         int const & len2)
{
    return saveToFileCompressed(fileNameText(file), withMagic, block1, len1, block2, len2);
}

int _OX_DataBuffer::loadFromFileCompressed(_oxString8_evenSize<500> file, bool const & withMagic,
                                           char * const block1, int const & len1,
                                           char * const block2, int const & len2)
{
    return loadFromFileCompressed(fileNameText(file), withMagic, block1, len1, block2, len2);
}

int _OX_DataBuffer::saveGzipFile(_oxString8_evenSize<500> const & file, char const * data,
                                 int const & len)
{
    return saveGzipFile(fileNameText(file), data, len);
}

int _OX_DataBuffer::loadGzipFile(_oxString8_evenSize<500> const & file, char * dest,
                                 unsigned int const & len, bool const & exact)
{
    return loadGzipFile(fileNameText(file), dest, len, exact);
}

int _OX_DataBuffer::saveToFileCompressedHeader(_oxString8_evenSize<500> const & file, char * data,
                                               int const & len)
{
    return saveToFileCompressedHeader(fileNameText(file), data, len);
}

int _OX_DataBuffer::loadFromFileCompressedHeader(_oxString8_evenSize<500> const & file, char * dest,
                                                 int const & len)
{
    return loadFromFileCompressedHeader(fileNameText(file), dest, len);
}

int _OX_DataBuffer::compressNSaveToFile(_oxString8_evenSize<500> const & file, char * data,
                                        int const & len)
{
    return compressNSaveToFile(fileNameText(file), data, len);
}

int _OX_DataBuffer::compressNLoadFromFile(_oxString8_evenSize<500> const & file, char * dest,
                                          int const & len, bool const & exact)
{
    return compressNLoadFromFile(fileNameText(file), dest, len, exact);
}

bool _OX_DataBuffer::saveToFile(_oxString8_evenSize<500> const & file, bool const & withHeader)
{
    return saveToFile(fileNameText(file), withHeader);
}

bool _OX_DataBuffer::loadFromFile(_oxString8_evenSize<500> const & file, bool withHeader)
{
    return loadFromFile(fileNameText(file), withHeader);
}

bool _OX_DataBuffer::saveToFileCompressed(_oxString8_evenSize<500> const & file)
{
    return saveToFileCompressed(fileNameText(file));
}

bool _OX_DataBuffer::loadFromFileCompressed(_oxString8_evenSize<500> const & file, bool growToFit)
{
    return loadFromFileCompressed(fileNameText(file), growToFit);
}

bool _OX_DataBuffer::loadGzipFile(_oxString8_evenSize<500> const & file, unsigned int const & chunk)
{
    return loadGzipFile(fileNameText(file), chunk);
}
