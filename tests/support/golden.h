#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

namespace ox::tests
{

/// Returns the path of a file that an independent program has written.
QString goldenPath(char const * name);

/// Returns the bytes of a file that an independent program has written, or nothing if it is not
/// readable.
QByteArray goldenFile(char const * name);

/// Returns the independent program's facts about its files.
QJsonObject goldenIndex();

} // namespace ox::tests
