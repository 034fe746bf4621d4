#include "tests/support/file_content.h"

#include <gtest/gtest.h>

#include <QFile>

namespace ox::tests
{

QByteArray contentOf(QString const & file)
{
    QFile source(file);
    return source.open(QIODevice::ReadOnly) ? source.readAll() : QByteArray();
}

QByteArray linesOf(QString const & file)
{
    return contentOf(file).replace("\r\n", "\n");
}

QByteArray contentOf(_OX_DataBuffer const & buffer)
{
    return QByteArray(buffer.data, buffer.size);
}

QString writeFile(QString const & file, QByteArray const & content)
{
    QFile target(file);
    EXPECT_TRUE(target.open(QIODevice::WriteOnly)) << file.toStdString();
    EXPECT_EQ(target.write(content), content.size()) << file.toStdString();
    return file;
}

} // namespace ox::tests
