#include "tests/support/golden.h"

#include "tests/support/file_content.h"

#include <QJsonDocument>

namespace ox::tests
{

QString goldenPath(char const * name)
{
    return QStringLiteral(OX_TEST_DATA "/golden/") + QLatin1String(name);
}

QByteArray goldenFile(char const * name)
{
    return contentOf(goldenPath(name));
}

QJsonObject goldenIndex()
{
    return QJsonDocument::fromJson(goldenFile("index.json")).object();
}

} // namespace ox::tests
