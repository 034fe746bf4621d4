#include "oxtool/support/input.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"

#include <cstdio>
#include <vector>

namespace ox::tool
{

bool isStandardInput(QString const & path)
{
    return path == QLatin1String("-") || path == QLatin1String("/dev/stdin");
}

void readPieces(QString const & path, std::function<void(std::span<unsigned char>)> const & take)
{
    platform::Stream const opened = isStandardInput(path) ? nullptr : openInput(path);
    std::FILE * const stream = isStandardInput(path) ? stdin : opened.get();
    std::vector<unsigned char> piece(1024 * 1024);
    std::size_t read = piece.size();
    while (stream && read == piece.size()) {
        read = std::fread(piece.data(), 1, piece.size(), stream);
        if (std::ferror(stream) == 0)
            take({piece.data(), read});
    }
    if (!stream || std::ferror(stream) != 0)
        throw Failure(QStringLiteral("%1 cannot be read. %2").arg(path, lastSystemMessage()));
}

} // namespace ox::tool
