#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

namespace ox::tests
{

/// Returns the path of a golden file. An independent program has written the golden files.
QString goldenPath(char const * name);

/// Returns the bytes of a golden file, or nothing if the file is not readable.
QByteArray goldenFile(char const * name);

/// Returns the content of index.json, in which the independent program describes the golden files.
QJsonObject goldenIndex();

} // namespace ox::tests
