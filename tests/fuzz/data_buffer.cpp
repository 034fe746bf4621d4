#include "shared/data/data_buffer.h"

#include "tests/fuzz/fuzz_input.h"

#include <vector>

// Fuzzes data buffers: loads intact and damaged files of all formats, and calls all operations on
// buffers whose size members are wrong. docs/file_formats.md defines the expected error codes.

namespace
{

using namespace ox::fuzz;
using enum _OX_DataBuffer::ErrorCode;
constexpr std::size_t headerSize = 32;
constexpr std::size_t dataStart = 4 + headerSize;
constexpr std::int64_t limit = std::int64_t{_OX_DataBuffer::memoryLimitMB} << 20;

/// Replaces a valid size above 1 MiB by an invalid size, since large allocations are slow.
int cheap(int size)
{
    return size > 1 << 20 && size <= limit ? size | 0x40000000 : size;
}

bool hasTrueSize(_OX_DataBuffer const & buffer)
{
    return buffer.size >= 0 && buffer.size <= buffer.sizeAllocated;
}

std::string_view validBytes(_OX_DataBuffer const & buffer)
{
    int const size = buffer.data ? std::clamp(buffer.size, 0, buffer.sizeAllocated) : 0;
    return {buffer.data, std::size_t(size)};
}

bool isBlock(_OX_DataBuffer const & buffer)
{
    return buffer.sizeAllocated >= 0 && buffer.sizeAllocated <= limit &&
           (buffer.data || buffer.sizeAllocated == 0);
}

bool isWhole(_OX_DataBuffer const & buffer, std::string_view expected)
{
    return buffer.error == 0 && hasTrueSize(buffer) && validBytes(buffer) == expected;
}

Bytef * zlibBytes(std::string_view bytes)
{
    return reinterpret_cast<Bytef *>(const_cast<char *>(bytes.data()));
}

std::uint32_t crcOf(std::string_view bytes)
{
    auto const length = uInt(bytes.size());
    return static_cast<std::uint32_t>(length == 0 ? 0 : crc32(0, zlibBytes(bytes), length));
}

enum StreamKind { ZlibStream = 15, GzipStream = 31 };

std::string deflated(std::string_view bytes, StreamKind kind)
{
    z_stream zs{};
    OX_HOLDS(deflateInit2(&zs, 6, Z_DEFLATED, kind, 8, Z_DEFAULT_STRATEGY) == Z_OK);
    std::string out(deflateBound(&zs, uLong(bytes.size())) + 32, '\0');
    zs.next_in = zlibBytes(bytes);
    zs.avail_in = uInt(bytes.size());
    zs.next_out = zlibBytes(out);
    zs.avail_out = uInt(out.size());
    OX_HOLDS(deflate(&zs, Z_FINISH) == Z_STREAM_END);
    out.resize(zs.total_out);
    deflateEnd(&zs);
    return out;
}

std::uint32_t wordAt(std::string_view bytes, std::size_t offset)
{
    std::uint32_t word = 0;
    std::memcpy(&word, &bytes[offset], sizeof word);
    return word;
}

void setWord(std::string & header, std::size_t index, std::size_t value)
{
    auto const word = static_cast<std::uint32_t>(value);
    std::memcpy(&header[4 * index], &word, sizeof word);
}

enum Frame { Raw, Plain, CompressedBuffer, CompressAndSave, BareGzip, FrameCount };

/// Returns the content of a file with the payload in the format `frame`. Computes the checksum,
/// since the fuzzer would hardly ever find the correct one.
std::string framed(Frame frame, std::string header, std::string const & payload)
{
    std::string const stream = frame == CompressAndSave ? deflated(payload, ZlibStream) : payload;
    header.resize(headerSize);
    switch (frame) {
    case CompressAndSave:
        header.assign(headerSize, '\0');
        setWord(header, 1, stream.size());
        setWord(header, 2, payload.size());
        setWord(header, 7, 1);
        [[fallthrough]];
    case Plain:
        setWord(header, 4, crcOf(stream));
        return "oxDB" + header + stream;
    case CompressedBuffer:
        return deflated("oxZP" + header + payload, GzipStream);
    case BareGzip:
        return deflated(payload, GzipStream);
    default:
        return payload;
    }
}

/// Loads the file with all functions for plain buffer files. `buffer` receives the loaded content.
void loadPlain(QString const & file, std::string_view content, _OX_DataBuffer & buffer)
{
    bool const hasData = content.size() > dataStart;
    bool const hasMagic = content.starts_with("oxDB");
    int const expected = !hasData                                                  ? Corrupt
                         : !hasMagic                                               ? WrongMagic
                         : wordAt(content, 20) == crcOf(content.substr(dataStart)) ? 0
                                                                                   : Corrupt;
    OX_HOLDS(buffer.loadFromFile(file, true) == (expected == 0) && buffer.error == expected);
    OX_HOLDS(expected != 0 || isWhole(buffer, content.substr(dataStart)));
    _OX_DataBuffer bare;
    OX_HOLDS(bare.loadFromFile(file, false) == !content.empty());
    OX_HOLDS(content.empty() || isWhole(bare, content));

    std::string blocks(headerSize + content.size() / 2, '\0');
    int const code =
        _OX_DataBuffer::loadFromFile(file, true, blocks.data(), headerSize,
                                     blocks.data() + headerSize, int(blocks.size() - headerSize));
    bool const isLongEnough = content.size() >= 4 + blocks.size();
    OX_HOLDS(code == (content.size() < 4 ? EndOfFile
                      : !hasMagic        ? WrongMagic
                      : isLongEnough     ? 0
                                         : EndOfFile));
    OX_HOLDS(code != 0 || content.substr(4).starts_with(blocks));
}

/// Loads the file with all functions for compressed files. Derives the expected results of the
/// other functions from the result of loadGzipFile().
void loadGzip(QString const & file, int length, _OX_DataBuffer & buffer)
{
    _OX_DataBuffer bare;
    bool const isGzip = bare.loadGzipFile(file, 64 << 10);
    std::string_view const all = validBytes(bare);
    OX_HOLDS(isBlock(bare) && isGzip == (bare.error == 0));
    bool const hasMagic = all.starts_with("oxZP");
    bool const hasData = hasMagic && all.size() >= dataStart;
    bool const isLoaded = buffer.loadFromFileCompressed(file, true);
    OX_HOLDS(isLoaded == (isGzip && hasData));
    OX_HOLDS(!isLoaded || isWhole(buffer, all.substr(dataStart)));
    int const magicCode = hasMagic || all.size() < 4 ? 0 : WrongMagic;
    OX_HOLDS(isLoaded || !isGzip || buffer.error == magicCode);

    std::string block(unsigned(length), '\0');
    std::string_view const read = block;
    auto const room = unsigned(length);
    int const exact = _OX_DataBuffer::loadGzipFile(file, block.data(), room, true);
    OX_HOLDS(!isGzip || exact == (all.size() == block.size() ? 0 : WrongLength));
    OX_HOLDS(exact != 0 || (isGzip && read == all));
    int const headed = _OX_DataBuffer::loadFromFileCompressedHeader(file, block.data(), length);
    if (isGzip && hasData && all.size() - dataStart >= block.size())
        OX_HOLDS(headed == 0 && read == all.substr(dataStart, block.size()));
    int const both = _OX_DataBuffer::loadFromFileCompressed(file, true, block.data(), length,
                                                            block.data(), length / 2);
    OX_HOLDS(!isGzip || both == magicCode);
    if (_OX_DataBuffer::compressNLoadFromFile(file, block.data(), length, false) == 0)
        OX_HOLDS(_OX_DataBuffer::compressNLoadFromFile(file, block.data(), length, true) == 0);
}

void loadFile(Input & in, _OX_DataBuffer & buffer)
{
    auto const frame = static_cast<Frame>(in.below(FrameCount));
    std::string const header(in.bytes(frame == Raw ? 0 : headerSize));
    std::string const payload(in.bytes(in.number<std::uint16_t>()));
    std::string const content = framed(frame, header, payload);
    QString const file = writeFile("buffer", content);
    _OX_DataBuffer other;
    bool const inGzip = frame == CompressedBuffer || frame == BareGzip;
    loadPlain(file, content, inGzip ? other : buffer);
    loadGzip(file, in.number(), inGzip ? buffer : other);
    if (frame != CompressAndSave || payload.empty())
        return;
    std::string block(payload.size(), '\0');
    int const length = int(block.size());
    OX_HOLDS(_OX_DataBuffer::compressNLoadFromFile(file, block.data(), length, true) == 0);
    OX_HOLDS(block == payload);
}

void saveAndLoad(_OX_DataBuffer & buffer, bool inGzip)
{
    QString const file = filePath("saved");
    bool const isTrue = hasTrueSize(buffer);
    bool const isSaved = inGzip ? buffer.saveToFileCompressed(file) : buffer.saveToFile(file, true);
    OX_HOLDS(isSaved == isTrue && buffer.error == (isTrue ? 0 : NotWritten));
    _OX_DataBuffer loaded;
    if (!isTrue || (!inGzip && buffer.size == 0))
        return;
    OX_HOLDS(inGzip ? loaded.loadFromFileCompressed(file, true) : loaded.loadFromFile(file, true));
    OX_HOLDS(isWhole(loaded, validBytes(buffer)) && loaded.headerValue0 == buffer.headerValue0);
}

void compress(_OX_DataBuffer & to, _OX_DataBuffer & from, int offset)
{
    std::string const bytes(validBytes(from));
    bool const isPossible = &to != &from && hasTrueSize(from) && offset >= 0 && offset <= 1 << 20;
    OX_HOLDS(to.compressFrom(from, offset) == isPossible);
    _OX_DataBuffer result;
    if (isPossible)
        OX_HOLDS(to.decompressTo(result, nullptr) == !bytes.empty() && to.error == 0 &&
                 validBytes(result) == bytes);
}

/// Decompresses a stream in pieces until its end or the first error.
std::string unzipped(_OX_DataBuffer & buffer, int pieceLength)
{
    z_stream zs{};
    OX_HOLDS(buffer.chunkUnzipStart(zs));
    std::vector<unsigned char> piece(unsigned(pieceLength), 0);
    std::string all;
    for (int i = 0; i < 300 && buffer.chunkUnzipGet(zs, piece.data(), pieceLength); ++i)
        all.append(piece.begin(), piece.end() - int(zs.avail_out));
    OX_HOLDS(buffer.chunkUnzipFinish(zs));
    return all;
}

void zipInPieces(Input & in, _OX_DataBuffer & buffer)
{
    z_stream zs{};
    if (!buffer.chunkzipStart(zs, cheap(in.position())))
        return;
    std::string all;
    bool isDone = true;
    for (int pieces = in.below(8); pieces >= 0 && isDone; --pieces) {
        std::string const piece = in.text();
        all += piece;
        isDone = buffer.chunkzipAdd(zs, zlibBytes(piece), int(piece.size()), pieces == 0);
    }
    OX_HOLDS(buffer.chunkzipFinish(zs) && isBlock(buffer));
    if (isDone)
        OX_HOLDS(unzipped(buffer, 4096) == all &&
                 all.starts_with(unzipped(buffer, 1 + in.below(100))));
}

void checkSearch(_OX_DataBuffer const & buffer, std::string_view pattern, int from)
{
    _oxString8_evenSize<250> const text(pattern);
    auto const found = [&](auto same) {
        return text.isEmpty() ? -1 : naiveFind(validBytes(buffer), text.view(), from, same);
    };
    OX_HOLDS(buffer.indexOf(text, from) == found(std::equal_to<char>()));
    OX_HOLDS(buffer.indexOfIgnCase(text, from) ==
             found([](char a, char b) { return upper(a) == upper(b); }));
}

void operate(Input & in, _OX_DataBuffer & a, _OX_DataBuffer & b)
{
    int const operation = in.below(12);
    bool const flag = in.flag();
    int const number = in.position();
    std::string bytes = in.text();
    auto const length = int(bytes.size());
    int const maxMB = (length & 3) - 1;
    std::string const before(validBytes(a));
    bool const isTrue = hasTrueSize(a);
    switch (operation) {
    case 0:
        std::memcpy(static_cast<void *>(&a), bytes.data(), std::min(bytes.size(), headerSize));
        break;
    case 1:
        OX_HOLDS(a.newsize(number, maxMB) == (number >= 0 && number <= maxMB * (1 << 20)));
        break;
    case 2: {
        bool const fits = number <= std::max(a.sizeAllocated, maxMB * (1 << 20));
        OX_HOLDS(a.resize(number, maxMB) == fits);
        break;
    }
    case 3:
        OX_HOLDS(a.append(bytes.data(), length) == (isTrue || length == 0));
        OX_HOLDS(!isTrue || validBytes(a) == before + bytes);
        break;
    case 4:
        OX_HOLDS(a.copyFromBuffer(bytes.data(), length));
        OX_HOLDS(length == 0 || std::memcmp(a.data, bytes.data(), bytes.size()) == 0);
        break;
    case 5:
        a.copyToBuffer(bytes.data(), length);
        OX_HOLDS(
            std::equal(bytes.begin(), bytes.begin() + std::min(length, a.sizeAllocated), a.data));
        break;
    case 6:
        a.calcCRC();
        OX_HOLDS(a.crc == crcOf(before));
        OX_HOLDS(!_OX_DataBuffer::errorString(number).isEmpty());
        break;
    case 7:
        checkSearch(a, bytes, number);
        break;
    case 8:
        compress(a, flag ? a : b, cheap(number));
        break;
    case 9:
        a.sizeUncompressed = cheap(a.sizeUncompressed);
        if (a.decompressTo(b, flag ? &number : nullptr))
            OX_HOLDS(hasTrueSize(b) && b.size > 0);
        a.decompressToB(bytes.data(), length, flag ? &number : nullptr);
        break;
    case 10:
        flag ? zipInPieces(in, a) : void(unzipped(a, length));
        break;
    default:
        saveAndLoad(a, flag);
    }
    OX_HOLDS(isBlock(a) && isBlock(b));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size)
{
    Input in(data, size);
    _OX_DataBuffer buffers[2];
    loadFile(in, buffers[0]);
    for (int i = 0; i < mostOperations / 4 && !in.isAtEnd(); ++i) {
        int const first = in.below(2);
        operate(in, buffers[first], buffers[1 - first]);
    }
    return 0;
}
