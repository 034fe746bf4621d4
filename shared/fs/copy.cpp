#include "shared/fs/copy.h"

#include "shared/fs/copy_steps.h"
#include "shared/fs/file.h"
#include "shared/platform/files.h"
#include "shared/platform/open_file.h"
#include "shared/platform/result.h"
#include "shared/system/os_error.h"
#include "shared/text/native_path.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

using ox::fs::systemText;
using ox::platform::Content;
using ox::platform::IfExists;
using ox::platform::NativeName;
using ox::platform::OpenFile;
using ox::platform::reportToThread;
using ox::platform::Result;
using ox::platform::statusOfFile;
using ox::platform::Writers;
using ox::text::nativePath;

namespace
{

constexpr std::int64_t resumePiece = 0x40000;
constexpr std::int64_t resumeLimit = 0x1900000;

QString copyBySystem(NativeName const & from, NativeName const & to, bool overwrite,
                     std::int64_t modified)
{
    return systemText(ox::platform::copyFile(from, to, !overwrite, modified));
}

QString copyByPieces(NativeName const & from, NativeName const & to, bool overwrite,
                     std::int64_t modified, int pauseMs, bool * endsEmpty)
{
    auto const piece = ox::fs::allocatePiece(ox::fs::copyPiece);
    if (!piece)
        return ox::fs::noMemory();
    Result<OpenFile> source = openForReading(from, Writers::Refused);
    if (!reportToThread(source))
        return ox::fs::sourceNotOpened();
    Result<OpenFile> target =
        ox::platform::createFile(to, overwrite ? IfExists::Replace : IfExists::Fail);
    if (!reportToThread(target))
        return ox::fs::targetNotOpened();
    // Compatibility: a failed read or write is no error. The farm's applications compare the sizes.
    static_cast<void>(
        copyPieces(*source, *target, piece.get(), pauseMs, endsEmpty, ox::fs::Faults::Ignored));
    static_cast<void>(target->setTimes(modified));
    return {};
}

/// Returns the system's message without the error number, in the form of Qt's file errors.
template <typename Value>
QString messageWithoutNumber(Result<Value> const & failed)
{
    reportToThread(failed);
    return ox::text::toQString(ox::platform::errorMessage(failed.error().code).value_or(u""));
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

/// Copies the source's bytes from `begin` to `end` to the target, and appends them to `added` if it
/// is not null. Bytes that other processes append to the source during this call are copied by the
/// next call. After a failed write `added` has received only the bytes that the target contains.
QString transfer(OpenFile & source, OpenFile & target, std::int64_t begin, std::int64_t end,
                 _OX_DataBuffer * added)
{
    auto const piece = ox::fs::allocatePiece(resumePiece);
    if (!piece)
        return ox::fs::noMemory();
    std::int64_t at = begin;
    bool reading = reportToThread(source.seek(begin));
    while (reading && at < end) {
        auto const wanted = static_cast<std::size_t>(std::min(resumePiece, end - at));
        Result<std::size_t> const read = source.read(piece.get(), wanted);
        reading = reportToThread(read) && *read > 0;
        std::size_t const size = reading ? *read : 0;
        at += static_cast<std::int64_t>(size);
        if (added && !added->append(piece.get(), static_cast<int>(size)))
            return notAppended(*added, static_cast<std::int64_t>(size));
        std::size_t written = 0;
        if (reportToThread(target.write(piece.get(), size, &written)))
            continue;
        if (added)
            added->size -= static_cast<int>(size - written);
        return notWritten();
    }
    if (!reportToThread(target.close()))
        return notWritten();
    if (at != end)
        return QStringLiteral("Unable to read all data  %1 != %2-%3")
            .arg(at - begin)
            .arg(end)
            .arg(begin);
    return {};
}

/// Replaces the content of the target and the content of `added` by the whole source.
QString copyInto(_OX_DataBuffer & added, NativeName const & from, NativeName const & to,
                 std::int64_t size)
{
    if (QString const refusal = systemText(ox::platform::mayReplace(to, from)); !refusal.isEmpty())
        return refusal;
    Result<OpenFile> source = openForReading(from, Writers::Allowed);
    if (!source)
        return messageWithoutNumber(source);
    bool const fits = size <= std::numeric_limits<int>::max();
    if (!fits || !added.newsize(static_cast<int>(size), _OX_DataBuffer::memoryLimitMB))
        return notAppended(added, size);
    added.size = 0;
    Result<OpenFile> target = openInPlace(to, Content::Emptied);
    if (!target)
        return messageWithoutNumber(target);
    return transfer(*source, *target, 0, size, &added);
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
        if (QString const refusal = systemText(ox::platform::mayReplace(target, source));
            !refusal.isEmpty())
            return refusal;
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
    Result<OpenFile> log = openForReading(source, Writers::Allowed);
    if (!log)
        return QStringLiteral("Cannot open source file;") + messageWithoutNumber(log);
    Result<OpenFile> copy = openInPlace(target, Content::Kept);
    if (!copy)
        return QStringLiteral("Cannot open dest. file;") + messageWithoutNumber(copy);
    return transfer(*log, *copy, old->size, status->size, added);
}
