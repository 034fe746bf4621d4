#include "shared/fs/copy.h"

#include "shared/fs/copy_steps.h"
#include "shared/fs/file.h"
#include "shared/fs/native_path.h"
#include "shared/platform/files.h"
#include "shared/platform/open_file.h"
#include "shared/platform/result.h"
#include "shared/system/os_error.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

using ox::detail::nativePath;
using ox::platform::Content;
using ox::platform::FileStatus;
using ox::platform::NativeName;
using ox::platform::OpenFile;
using ox::platform::Taken;
using ox::platform::Writers;

namespace
{

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

QString copyBySystem(NativeName const & from, NativeName const & to, bool overwrite,
                     std::int64_t modified)
{
    if (ox::platform::copyFile(from, to, !overwrite, modified))
        return {};
    return oxLastOSError();
}

QString copyByPieces(NativeName const & from, NativeName const & to, bool overwrite,
                     std::int64_t modified, int pauseMs, bool * endsEmpty)
{
    auto const piece = ox::detail::allocatePiece(ox::detail::copyPiece);
    if (!piece)
        return ox::detail::noMemory();
    OpenFile source = openForReading(from, Writers::Refused);
    if (!source.isOpen())
        return ox::detail::sourceNotOpened();
    OpenFile target = ox::platform::createFile(to, overwrite ? Taken::IsReplaced : Taken::Fails);
    if (!target.isOpen())
        return ox::detail::targetNotOpened();
    // Compatibility: a short write is no failure; the farm finds it by comparing the sizes.
    copyPieces(source, target, piece.get(), pauseMs, endsEmpty, ox::detail::Faults::Ignored);
    target.setTimes(modified);
    return {};
}

/// The system's message for its last error, as Qt's files give it: without the number.
QString bareSystemMessage()
{
    return ox::detail::toQString(
        ox::platform::errorMessage(ox::platform::lastError().code).value_or(u""));
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
/// the source gains meanwhile is the next call's. The buffer gains the bytes that reach the target
/// and no others.
QString transfer(OpenFile & source, OpenFile & target, std::int64_t begin, std::int64_t end,
                 _OX_DataBuffer * added)
{
    auto const piece = ox::detail::allocatePiece(resumePiece);
    if (!piece)
        return ox::detail::noMemory();
    std::int64_t at = begin;
    bool reading = source.seek(begin);
    while (reading && at < end) {
        auto const wanted = static_cast<std::size_t>(std::min(resumePiece, end - at));
        auto const size =
            static_cast<std::size_t>(std::max<std::int64_t>(source.read(piece.get(), wanted), 0));
        reading = size > 0;
        at += static_cast<std::int64_t>(size);
        if (added && !added->append(piece.get(), static_cast<int>(size)))
            return notAppended(*added, static_cast<std::int64_t>(size));
        std::size_t const written = target.write(piece.get(), size);
        if (written == size)
            continue;
        if (added)
            added->size -= static_cast<int>(size - written);
        return notWritten();
    }
    if (!target.close())
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
    if (!ox::platform::mayReplace(to, from))
        return oxLastOSError();
    OpenFile source = openForReading(from, Writers::Allowed);
    if (!source.isOpen())
        return bareSystemMessage();
    bool const fits = size <= std::numeric_limits<int>::max();
    if (!fits || !added.newsize(static_cast<int>(size), bufferLimitMB))
        return notAppended(added, size);
    added.size = 0;
    OpenFile target = openInPlace(to, Content::Emptied);
    if (!target.isOpen())
        return bareSystemMessage();
    return transfer(source, target, 0, size, &added);
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
        if (!ox::platform::mayReplace(target, source))
            return oxLastOSError();
        if (QString const failure = oxDeleteFile(to); !failure.isEmpty())
            return failure;
    }
    auto const status = statusOfFile(source);
    if (!status)
        return QStringLiteral("Source file does not exist.");
    return pauseMs < 0
               ? copyBySystem(source, target, overwrite, status->modified)
               : copyByPieces(source, target, overwrite, status->modified, pauseMs, endsEmpty);
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
    OpenFile log = openForReading(source, Writers::Allowed);
    if (!log.isOpen())
        return QStringLiteral("Cannot open source file;") + bareSystemMessage();
    OpenFile copy = openInPlace(target, Content::Kept);
    if (!copy.isOpen())
        return QStringLiteral("Cannot open dest. file;") + bareSystemMessage();
    return transfer(log, copy, old->size, status->size, added);
}
