#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

namespace ox::tests
{

/// The path of a file that an independent program wrote.
QString goldenPath(char const * name);

/// The bytes of a file that an independent program wrote; empty when it cannot be read.
QByteArray goldenFile(char const * name);

/// What the independent program states about its files.
QJsonObject goldenIndex();

} // namespace ox::tests
