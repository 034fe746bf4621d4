#include "oxtool/support/input.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/reason.h"
#include "shared/platform/program/console.h"
#include "shared/text/mebibytes.h"

#include <vector>

namespace ox::tool
{

bool isStandardInput(QString const & path)
{
    return path == QLatin1String("-") || path == QLatin1String("/dev/stdin");
}

void readPieces(QString const & path, std::function<void(std::span<unsigned char>)> const & process)
{
    auto const fail = [&path](platform::Error error) {
        throw Failure(QStringLiteral("cannot read '%1': %2").arg(path, reasonOf(error)),
                      statusOf(error));
    };
    platform::Result<platform::OpenFile> file =
        isStandardInput(path)
            ? platform::openStandardInput()
            : platform::openForReading(nativeName(path), platform::Writers::Refused);
    if (!file)
        fail(file.error());
    std::vector<char> piece(text::mebibyte);
    std::size_t length = piece.size();
    while (length == piece.size()) {
        platform::Result<std::size_t> const read = file->read(piece.data(), piece.size());
        if (!read)
            fail(read.error());
        length = *read;
        process({reinterpret_cast<unsigned char *>(piece.data()), length});
    }
}

} // namespace ox::tool
