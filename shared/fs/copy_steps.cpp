#include "shared/fs/copy_steps.h"

#include "shared/platform/files.h"
#include "shared/system/environment.h"
#include "shared/system/os_error.h"

#include <cstdint>
#include <new>

namespace ox::detail
{
namespace
{

/// Whether a piece ends in zeros, by three samples.
/// Compatibility: the farm's applications count on these three; a full scan finds other files.
bool endsInZeros(char const * piece, std::size_t size)
{
    auto const isZero = [end = piece + size](int back) { return end[-back] == 0; };
    return isZero(1) && (size <= 10 || (isZero(7) && isZero(10)));
}

QString copyByPieces(platform::NativeName const & from, platform::NewFile & to, int pauseMs,
                     bool * endsEmpty)
{
    auto const piece = allocatePiece(copyPiece);
    if (!piece)
        return noMemory();
    platform::OpenFile source = platform::openForReading(from, platform::Writers::Refused);
    if (!source.isOpen())
        return sourceNotOpened();
    bool const copied = copyPieces(source, to.file(), piece.get(), pauseMs, endsEmpty, Faults::End);
    return copied ? QString() : QString(oxLastOSError());
}

QString copyBySystem(platform::NativeName const & from, platform::NewFile & to)
{
    return to.copyFrom(from) ? QString() : QString(oxLastOSError());
}

} // namespace

std::unique_ptr<char[]> allocatePiece(std::size_t size)
{
    return std::unique_ptr<char[]>(new (std::nothrow) char[size]);
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

bool copyPieces(platform::OpenFile & from, platform::OpenFile & to, char * piece, int pauseMs,
                bool * endsEmpty, Faults faults)
{
    bool const goesOn = faults == Faults::Ignored;
    for (;;) {
        std::int64_t const count = from.read(piece, copyPiece);
        if (count <= 0)
            return count == 0 || goesOn;
        auto const size = static_cast<std::size_t>(count);
        if (endsEmpty)
            *endsEmpty = endsInZeros(piece, size);
        if (to.write(piece, size) != size && !goesOn)
            return false;
        oxSleep(pauseMs);
    }
}

QString copyWhole(platform::NativeName const & from, platform::NewFile & to, int pauseMs,
                  bool * endsEmpty)
{
    auto const status = platform::fileStatus(from);
    if (!status || status->isFolder)
        return QStringLiteral("Source file does not exist.");
    QString const failure =
        pauseMs < 0 ? copyBySystem(from, to) : copyByPieces(from, to, pauseMs, endsEmpty);
    if (!failure.isEmpty())
        return failure;
    if (!to.file().flush())
        return oxLastOSError();
    if (std::int64_t const size = to.file().size(); size < status->size)
        return QStringLiteral("The copy had %1 of %2 bytes.").arg(size).arg(status->size);
    to.file().setTimes(status->modified);
    return {};
}

} // namespace ox::detail
