#include "tests/support/dump.h"

#include "tests/support/file_content.h"

#include <QtEndian>

namespace ox::tests
{

DumpContent readDump(QString const & file)
{
    QByteArray const bytes = contentOf(file);
    auto const word = [&bytes](std::uint32_t at) {
        return at + 4 <= static_cast<std::uint32_t>(bytes.size())
                   ? qFromLittleEndian<quint32>(bytes.constData() + at)
                   : 0;
    };
    DumpContent content;
    content.isDump = bytes.startsWith("MDMP");
    for (std::uint32_t i = 0; i < word(8); ++i) {
        std::uint32_t const entry = word(12) + 12 * i;
        std::uint32_t const stream = word(entry + 8);
        if (word(entry) == 3) { // the stream with the list of threads
            content.threadCount = word(stream);
            content.firstThread = word(stream + 4);
        }
        if (word(entry) == 6) { // the stream with the exception
            content.thread = word(stream);
            content.code = word(stream + 8);
        }
    }
    return content;
}

} // namespace ox::tests
