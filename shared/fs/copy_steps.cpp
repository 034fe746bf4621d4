#include "shared/fs/copy_steps.h"

#include "shared/platform/files.h"
#include "shared/system/environment.h"
#include "shared/system/os_error.h"

#include <cstdint>
#include <new>
#include <optional>

namespace ox::fs
{
namespace
{

/// Returns whether a piece ends in zeros. Tests the last byte and, if the piece has more than 10
/// bytes, the seventh and the tenth byte from its end.
/// Compatibility: tests no other byte, since the farm's applications depend on this result.
bool endsInZeros(char const * piece, std::size_t size)
{
    auto const isZero = [end = piece + size](int back) { return end[-back] == 0; };
    return isZero(1) && (size <= 10 || (isZero(7) && isZero(10)));
}

using OpenedSource = std::optional<platform::FileStatus>;

QString copyByPieces(platform::NativeName const & from, platform::NewFile & to, int pauseMs,
                     bool * endsEmpty, OpenedSource & opened)
{
    auto const piece = allocatePiece(copyPiece);
    if (!piece)
        return noMemory();
    platform::FileStatus status;
    platform::Result<platform::OpenFile> source =
        platform::openForReading(from, platform::Writers::Refused, &status);
    if (!reportToThread(source))
        return sourceNotOpened();
    opened = status;
    return systemText(copyPieces(*source, to.file(), piece.get(), pauseMs, endsEmpty, Faults::End));
}

} // namespace

std::unique_ptr<char[]> allocatePiece(std::size_t size)
{
    return std::unique_ptr<char[]>(new (std::nothrow) char[size]);
}

QString systemText(platform::Result<> const & result)
{
    return reportToThread(result) ? QString() : QString(oxLastOSError());
}

QString noMemory()
{
    return QStringLiteral("No memory left.");
}

QString sourceNotOpened()
{
    return QStringLiteral("Unable to open input file.");
}

QString targetNotOpened()
{
    return QStringLiteral("Unable to open output file.");
}

platform::Result<> copyPieces(platform::OpenFile & from, platform::OpenFile & to, char * piece,
                              int pauseMs, bool * endsEmpty, Faults faults)
{
    for (;;) {
        platform::Result<std::size_t> const size = from.read(piece, copyPiece);
        if (!size)
            return size.error();
        if (*size == 0)
            return {};
        if (endsEmpty)
            *endsEmpty = endsInZeros(piece, *size);
        platform::Result<> const written = to.write(piece, *size);
        if (!written && faults == Faults::End)
            return written;
        oxSleep(pauseMs);
    }
}

QString copyWhole(platform::NativeName const & from, platform::NewFile & to, int pauseMs,
                  bool * endsEmpty, platform::NewFile::Attributes attributes)
{
    OpenedSource status;
    QString failure = pauseMs < 0 ? systemText(to.copyFrom(from, attributes, &status))
                                  : copyByPieces(from, to, pauseMs, endsEmpty, status);
    if (!status && !platform::statusOfFile(from))
        return QStringLiteral("Source file does not exist.");
    if (!failure.isEmpty())
        return failure;
    if (QString const flushFailure = systemText(to.file().flush()); !flushFailure.isEmpty())
        return flushFailure;
    platform::Result<std::int64_t> const size = to.file().size();
    if (!size)
        return systemText(size.error());
    if (*size < status->size)
        return QStringLiteral("The copy had %1 of %2 bytes.").arg(*size).arg(status->size);
    static_cast<void>(to.file().setTimes(status->modified));
    return {};
}

} // namespace ox::fs
