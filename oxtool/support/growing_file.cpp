#include "oxtool/support/growing_file.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/reason.h"
#include "shared/platform/files.h"
#include "shared/text/mebibytes.h"

#include <algorithm>

namespace ox::tool
{
namespace
{

/// Number of bytes that are compared at the beginning and at the end of the content read so far.
constexpr qint64 sampleSize = 4096;

[[noreturn]] void fail(QString const & path, platform::Error error)
{
    throw Failure(QStringLiteral("cannot read '%1': %2").arg(path, reasonOf(error)),
                  statusOf(error));
}

platform::OpenFile openSource(QString const & path)
{
    auto file = platform::openForReading(nativeName(path), platform::Writers::Allowed);
    if (!file)
        fail(path, file.error());
    return *std::move(file);
}

qint64 sizeOf(platform::OpenFile const & file, QString const & path)
{
    auto const size = file.size();
    if (!size)
        fail(path, size.error());
    return *size;
}

} // namespace

QByteArray GrowingFile::read(platform::OpenFile & file, qint64 position, qint64 size) const
{
    if (auto const moved = file.seek(position); !moved)
        fail(path_, moved.error());
    QByteArray bytes(static_cast<int>(size), '\0');
    auto const count = file.read(bytes.data(), static_cast<std::size_t>(size));
    if (!count)
        fail(path_, count.error());
    bytes.truncate(static_cast<int>(*count));
    return bytes;
}

void GrowingFile::remember(QByteArray const & bytes)
{
    position_ += bytes.size();
    if (head_.size() < sampleSize)
        head_ += bytes.left(static_cast<int>(sampleSize - head_.size()));
    tail_ = (tail_ + bytes.right(static_cast<int>(sampleSize))).right(static_cast<int>(sampleSize));
}

bool GrowingFile::isSameContent(platform::OpenFile & file, qint64 size) const
{
    return size >= position_ && read(file, 0, head_.size()) == head_ &&
           read(file, position_ - tail_.size(), tail_.size()) == tail_;
}

void GrowingFile::rewind()
{
    position_ = 0;
    lastSize_ = -1;
    head_.clear();
    tail_.clear();
}

void GrowingFile::skipToEnd()
{
    platform::OpenFile file = openSource(path_);
    qint64 const size = sizeOf(file, path_);
    head_ = read(file, 0, std::min(size, sampleSize));
    tail_ = read(file, std::max<qint64>(size - sampleSize, 0), std::min(size, sampleSize));
    position_ = size;
}

bool GrowingFile::skipCopied(QString const & copy)
{
    GrowingFile copied(copy);
    copied.skipToEnd();
    platform::OpenFile file = openSource(path_);
    if (!copied.isSameContent(file, sizeOf(file, path_)))
        return false;
    position_ = copied.position_;
    head_ = copied.head_;
    tail_ = copied.tail_;
    return true;
}

GrowingFile::Change GrowingFile::poll(std::function<void()> const & restart,
                                      Receive const & receive)
{
    auto const status = platform::fileStatus(nativeName(path_));
    if (!status && status.error().kind() == platform::ErrorKind::NotFound)
        return Change::Missing;
    if (!status)
        fail(path_, status.error());
    bool const isUnchanged =
        status->size == lastSize_ && status->size == position_ && status->modified == lastModified_;
    if (isUnchanged)
        return Change::None;

    auto opened = platform::openForReading(nativeName(path_), platform::Writers::Allowed);
    if (!opened && opened.error().kind() == platform::ErrorKind::NotFound)
        return Change::Missing; // renamed since its status was read
    if (!opened)
        fail(path_, opened.error());
    platform::OpenFile file = *std::move(opened);
    qint64 const size = sizeOf(file, path_);
    bool const isRestarted = !isSameContent(file, size);
    if (isRestarted) {
        rewind();
        restart();
    }
    qint64 const begin = position_;
    // Bytes that are appended during this call are read by the next call.
    while (position_ < size) {
        qint64 const length = std::min<qint64>(size - position_, text::mebibyte);
        QByteArray const bytes = read(file, position_, length);
        if (bytes.isEmpty())
            break;
        receive(bytes);
        remember(bytes);
    }
    lastSize_ = status->size;
    lastModified_ = status->modified;
    if (isRestarted)
        return Change::Restarted;
    return position_ > begin ? Change::Grown : Change::None;
}

} // namespace ox::tool
