#include "tests/fuzz/fuzz_input.h"

#include "shared/platform/file_names.h"
#include "shared/text/utf16_view.h"

#include <QFile>
#include <QTemporaryDir>

namespace ox::fuzz
{

QString utf16Of(std::string_view bytes)
{
    return text::toQString(platform::fromUtf8(bytes));
}

QString filePath(char const * name)
{
    static QTemporaryDir const folder;
    return folder.filePath(QString::fromLatin1(name));
}

QString writeFile(char const * name, std::string_view content)
{
    QString const path = filePath(name);
    QFile file(path);
    auto const size = static_cast<qint64>(content.size());
    OX_HOLDS(file.open(QIODevice::WriteOnly) && file.write(content.data(), size) == size);
    return path;
}

std::string contentOf(QString const & path)
{
    QFile file(path);
    OX_HOLDS(file.open(QIODevice::ReadOnly));
    return file.readAll().toStdString();
}

} // namespace ox::fuzz
