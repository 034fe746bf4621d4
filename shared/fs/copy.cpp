#include "shared/fs/copy.h"

#include "shared/fs/file.h"
#include "shared/fs/native_path.h"
#include "shared/platform/copy_file.h"
#include "shared/platform/os_error.h"
#include "shared/platform/stream.h"
#include "shared/system/environment.h"
#include "shared/system/os_error.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <optional>

using ox::detail::nativePath;
using ox::detail::openUnbuffered;
using ox::detail::Stream;
using ox::platform::FileStatus;
using ox::platform::NativeName;
using ox::platform::StreamMode;

namespace
{

constexpr std::size_t copyPiece = 0x100000;
constexpr std::int64_t resumePiece = 0x40000;
constexpr std::int64_t resumeLimit = 0x1900000;
constexpr int bufferLimitMB = 768;

std::optional<FileStatus> statusOfFile(NativeName const & name)
{
    auto status = ox::platform::fileStatus(name);
    if (status && status->isFolder)
        status.reset();
    return status;
}

std::unique_ptr<char[]> allocate(std::size_t size)
{
    return std::unique_ptr<char[]>(new (std::nothrow) char[size]);
}

QString noMemory()
{
    return QStringLiteral("No memory left.");
}

/// Whether a piece ends in zeros, by three samples. The farm's applications count on these three; a
/// full scan would find other files.
bool endsInZeros(char const * piece, std::size_t size)
{
    auto const isZero = [end = piece + size](int back) { return end[-back] == 0; };
    return isZero(1) && (size <= 10 || (isZero(7) && isZero(10)));
}

QString copyBySystem(NativeName const & from, NativeName const & to, bool overwrite)
{
    if (ox::platform::copyFile(from, to, !overwrite))
        return {};
    return oxLastOSError();
}

QString copyByPieces(NativeName const & from, NativeName const & to, int pauseMs, bool * endsEmpty)
{
    auto const piece = allocate(copyPiece);
    if (!piece)
        return noMemory();
    Stream const source = openUnbuffered(from, StreamMode::Read);
    if (!source)
        return QStringLiteral("Unable to open input file.");
    Stream const target = openUnbuffered(to, StreamMode::Write);
    if (!target)
        return QStringLiteral("Unable to open output file.");
    while (std::size_t const size = std::fread(piece.get(), 1, copyPiece, source.get())) {
        if (endsEmpty)
            *endsEmpty = endsInZeros(piece.get(), size);
        // A short write is deliberately no failure: the farm finds it by comparing the sizes.
        std::fwrite(piece.get(), 1, size, target.get());
        oxSleep(pauseMs);
    }
    return {};
}

/// The system's message for its last error, as Qt's files give it: without the number.
QString bareSystemMessage()
{
    return ox::detail::toQString(
        ox::platform::errorMessage(ox::platform::lastError()).value_or(u""));
}

QString notAppended(_OX_DataBuffer const & added, std::int64_t size)
{
    return QStringLiteral("Unable to append data.  Buffer data: %1 memsize: %2 addsize: %3")
        .arg(added.size)
        .arg(added.sizeAllocated)
        .arg(size);
}

QString notWritten()
{
    return QStringLiteral("Unable to write data");
}

/// Copies the source's bytes from `begin` to `end` to the target, and to the buffer, if any. What
/// the source gains meanwhile is the next call's. `targetFailure` is the text before the system's
/// message when the target cannot be opened.
QString transfer(Stream const & source, NativeName const & to, StreamMode mode,
                 QString const & targetFailure, std::int64_t begin, std::int64_t end,
                 _OX_DataBuffer * added)
{
    Stream target = openUnbuffered(to, mode);
    if (!target)
        return targetFailure + bareSystemMessage();
    auto const piece = allocate(resumePiece);
    if (!piece)
        return noMemory();

    std::int64_t at = begin;
    bool reading = std::fseek(source.get(), static_cast<long>(begin), SEEK_SET) == 0;
    while (reading && at < end) {
        auto const wanted = static_cast<std::size_t>(std::min(resumePiece, end - at));
        std::size_t const size = std::fread(piece.get(), 1, wanted, source.get());
        reading = size > 0;
        at += static_cast<std::int64_t>(size);
        if (added && !added->append(piece.get(), static_cast<int>(size)))
            return notAppended(*added, static_cast<std::int64_t>(size));
        if (std::fwrite(piece.get(), 1, size, target.get()) != size)
            return notWritten();
    }
    if (!closeStream(target))
        return notWritten();
    if (at != end)
        return QStringLiteral("Unable to read all data  %1 != %2-%3")
            .arg(at - begin)
            .arg(end)
            .arg(begin);
    return {};
}

/// Copies the whole source, and makes it the buffer's content.
QString copyInto(_OX_DataBuffer & added, NativeName const & from, NativeName const & to,
                 std::int64_t size)
{
    if (!ox::platform::areDifferentFiles(from, to))
        return oxLastOSError();
    Stream const source = openUnbuffered(from, StreamMode::ReadShared);
    if (!source)
        return bareSystemMessage();
    bool const fits = size <= std::numeric_limits<int>::max();
    if (!fits || !added.newsize(static_cast<int>(size), bufferLimitMB))
        return notAppended(added, size);
    added.size = 0;
    return transfer(source, to, StreamMode::WriteShared, {}, 0, size, &added);
}

} // namespace

QString oxCopyFile(QString const & from, QString const & to, bool overwrite, int const & pauseMs,
                   bool * endsEmpty)
{
    NativeName const source = nativePath(from);
    NativeName const target = nativePath(to);
    if (statusOfFile(target)) {
        if (!overwrite)
            return {};
        if (!ox::platform::areDifferentFiles(source, target))
            return oxLastOSError();
        if (QString const failure = oxDeleteFile(to); !failure.isEmpty())
            return failure;
    }
    auto const status = statusOfFile(source);
    if (!status)
        return QStringLiteral("Source file does not exist.");
    QString const failure = pauseMs < 0 ? copyBySystem(source, target, overwrite)
                                        : copyByPieces(source, target, pauseMs, endsEmpty);
    if (failure.isEmpty())
        ox::platform::setFileTimes(target, status->modified);
    return failure;
}

QString oxResumeFile(QString const & from, QString const & to, bool & limitReported,
                     _OX_DataBuffer * const added)
{
    NativeName const source = nativePath(from);
    NativeName const target = nativePath(to);
    auto const status = statusOfFile(source);
    if (!status)
        return QStringLiteral("Source file does not exist");
    auto const old = statusOfFile(target);
    if (!old || old->size > status->size)
        return added ? copyInto(*added, source, target, status->size)
                     : oxCopyFile(from, to, true, -1, nullptr);
    if (status->size > resumeLimit) {
        if (limitReported)
            return {};
        limitReported = true;
        return QStringLiteral("Log file larger than 25 MB, stopping copy to oxShare.");
    }
    Stream const stream = openUnbuffered(source, StreamMode::ReadShared);
    if (!stream)
        return QStringLiteral("Cannot open source file;") + bareSystemMessage();
    return transfer(stream, target, StreamMode::Append, QStringLiteral("Cannot open dest. file;"),
                    old->size, status->size, added);
}
