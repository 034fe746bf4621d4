#include "tests/tool/share.h"

#include "tests/support/file_content.h"
#include "tests/support/golden.h"

#include <QDir>
#include <QFile>

namespace ox::tests
{

QString Share::write(QString const & name, QByteArray const & content) const
{
    return writeFile(path(name), content);
}

QString Share::writeSparse(QString const & name, qint64 payload) const
{
    constexpr int headerSize = 36;
    QString const file = write(name, goldenFile("small.oxdb").left(headerSize));
    QFile::resize(file, headerSize + payload);
    return file;
}

QStringList Share::names() const
{
    return QDir(folder_.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

} // namespace ox::tests
