#include "shared/data/file_searcher.h"

#include "shared/data/byte_search.h"
#include "shared/platform/files.h"
#include "shared/platform/open_file.h"
#include "shared/text/native_path.h"

#include <array>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

using ox::data::ByteSearch;
using ox::platform::OpenFile;
using ox::platform::reportToThread;
using ox::platform::Result;
using ox::platform::Writers;
using ox::text::nativePath;

namespace
{

constexpr int extraBytes = 10;
constexpr std::int64_t largestContent =
    std::numeric_limits<std::int32_t>::max() - _oxFileSearcher::headroom - extraBytes;

/// Allocates a block for `contentSize` bytes and headroom. Returns null when memory is lacking.
char * newBlock(std::int64_t contentSize)
{
    auto const bytes = contentSize + _oxFileSearcher::headroom + extraBytes;
    return contentSize <= largestContent ? new (std::nothrow) char[std::size_t(bytes)] : nullptr;
}

/// Replaces a block by a new one and discards the old content. Returns false when memory is
/// lacking; `block` is then null.
bool renewBlock(char *& block, std::int32_t & capacity, std::int32_t contentSize)
{
    delete[] block;
    block = newBlock(contentSize);
    capacity = block ? contentSize + _oxFileSearcher::headroom : 0;
    return block != nullptr;
}

void swapBlocks(_oxFileSearcher & file)
{
    std::swap(file.data, file.spare);
    std::swap(file.capacity, file.spareCapacity);
}

/// Builds the new content of a file from appended pieces. If the content does not grow, the pieces
/// overwrite bytes that were already read. Otherwise they go to the spare block.
class NewContent
{
  public:
    NewContent(_oxFileSearcher & file, bool grows) : file_(file), grows_(grows) {}

    /// Appends bytes. Returns false when memory is lacking.
    bool add(char const * bytes, int length)
    {
        if (grows_ && !ensureCapacity(std::int64_t{size_} + length))
            return false;
        char * const to = (grows_ ? file_.spare : file_.data) + size_;
        if (length > 0 && to != bytes)
            std::memmove(to, bytes, std::size_t(length));
        size_ += length;
        return true;
    }

    void putInPlace()
    {
        if (grows_)
            swapBlocks(file_);
        file_.size = size_;
    }

  private:
    bool ensureCapacity(std::int64_t needed)
    {
        if (needed <= file_.spareCapacity)
            return true;
        auto const more = std::max<std::int64_t>(file_.size, needed + needed / 2);
        auto const contentSize = std::int32_t(std::min(more, largestContent));
        char * const block = needed <= largestContent ? newBlock(contentSize) : nullptr;
        if (!block)
            return false;
        std::copy_n(file_.spare, size_, block);
        delete[] file_.spare;
        file_.spare = block;
        file_.spareCapacity = contentSize + _oxFileSearcher::headroom;
        return true;
    }

    _oxFileSearcher & file_;
    bool const grows_;
    std::int32_t size_ = 0;
};

std::span<char const> contentOf(_oxFileSearcher const & file)
{
    return {file.data, std::size_t(file.size)};
}

/// The first 250 characters of a Latin-1 text as UTF-16LE bytes.
class Utf16Bytes
{
  public:
    explicit Utf16Bytes(std::string_view latin1)
        : size_(2 * std::min(latin1.size(), std::size_t{250}))
    {
        for (std::size_t i = 0; i < size_; i += 2)
            bytes_[i] = latin1[i / 2];
    }

    std::string_view view() const { return {bytes_.data(), size_}; }

  private:
    std::array<char, 500> bytes_ = {};
    std::size_t size_;
};

} // namespace

_oxFileSearcher::~_oxFileSearcher()
{
    freeBuffer();
}

void _oxFileSearcher::freeBuffer()
{
    delete[] std::exchange(data, nullptr);
    delete[] std::exchange(spare, nullptr);
    capacity = spareCapacity = size = 0;
}

bool _oxFileSearcher::load(QString const & file)
{
    auto const name = nativePath(file);
    auto const status = ox::platform::fileStatus(name);
    if (!reportToThread(status) || status->isFolder || status->size > largestFile)
        return false;
    Result<OpenFile> opened = openForReading(name, Writers::Allowed);
    if (!reportToThread(opened))
        return false;
    auto const length = std::int32_t(status->size);
    size = 0;
    if (length > capacity && !renewBlock(data, capacity, length)) {
        freeBuffer();
        return false;
    }
    Result<std::size_t> const read = opened->read(data, std::size_t(length));
    if (!reportToThread(read) || *read != std::size_t(length))
        return false;
    size = length;
    fileName = file;
    return true;
}

bool _oxFileSearcher::save(QString const & file)
{
    if (!file.isEmpty())
        fileName = file;
    if (fileName.isEmpty() || size < 1 || !data)
        return false;
    Result<OpenFile> opened =
        openForWriting(nativePath(fileName), ox::platform::Content::Emptied, Writers::Allowed);
    if (!opened)
        return reportToThread(opened);
    Result<> const written = opened->write(data, std::size_t(size));
    Result<> const closed = opened->close();
    return reportToThread(written ? closed : written);
}

bool _oxFileSearcher::changeDataSize(int pos, int delta)
{
    if (delta == 0)
        return true;
    std::int64_t const removed = delta < 0 ? -std::int64_t{delta} : 0;
    if (pos < 0 || pos > size || (delta < 0 && pos + removed >= size))
        return false;
    std::int64_t const newSize = std::int64_t{size} + delta;
    bool const fits = newSize < spareCapacity;
    if (!fits && (delta > headroom || !renewBlock(spare, spareCapacity, size)))
        return false;
    swapBlocks(*this);
    std::copy_n(spare, pos, data);
    std::copy(spare + pos + removed, spare + size, data + pos + std::max(delta, 0));
    size = std::int32_t(newSize);
    return true;
}

int _oxFileSearcher::find(std::string_view pattern, int from) const
{
    return ByteSearch<false>(pattern).find(contentOf(*this), from);
}

int _oxFileSearcher::findIgnoringCase(std::string_view pattern, int from) const
{
    return ByteSearch<true>(pattern).find(contentOf(*this), from);
}

bool _oxFileSearcher::insertText(int pos, std::string_view text)
{
    if (!hasPosition(pos) || !changeDataSize(pos, int(text.size())))
        return false;
    std::copy(text.begin(), text.end(), data + pos);
    return true;
}

bool _oxFileSearcher::replaceText(int pos, std::string_view text, int oldLen)
{
    if (!hasPosition(pos) || std::int64_t{pos} + oldLen >= size)
        return false;
    if (oldLen >= 0 && !changeDataSize(pos, int(text.size()) - oldLen))
        return false;
    std::copy_n(text.begin(), std::min(int(text.size()), size - pos), data + pos);
    return true;
}

int _oxFileSearcher::replaceEach(std::string_view search, std::string_view replacement)
{
    auto const oldLength = int(search.size());
    auto const newLength = int(replacement.size());
    NewContent result(*this, newLength > oldLength);
    ByteSearch<true> matches(search);
    int count = 0;
    int done = 0;
    for (int at = 0; (at = matches.find(contentOf(*this), done)) >= 0;) {
        ++count;
        bool const touchesTheEnd = at + oldLength == size;
        if (touchesTheEnd)
            break;
        // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): `newLength` is its size
        if (!result.add(data + done, at - done) || !result.add(replacement.data(), newLength))
            return 0;
        done = at + oldLength;
    }
    bool const anyReplaced = done > 0;
    if (anyReplaced) {
        if (!result.add(data + done, size - done))
            return 0;
        result.putInPlace();
    }
    return count;
}

int _oxFileSearcher::replaceInFile(QString const & file, std::string_view search,
                                   std::string_view replacement)
{
    int const count = load(file) ? replaceEach(search, replacement) : 0;
    if (count > 0)
        save(QString());
    return count;
}

int _oxFileSearcher::replaceAll_unicode(_oxString8_evenSize<500> const & search,
                                        _oxString8_evenSize<500> const & replacement)
{
    return replaceEach(Utf16Bytes(search.view()).view(), Utf16Bytes(replacement.view()).view());
}
