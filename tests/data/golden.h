#pragma once

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

/// The bytes of a file that an independent program wrote; none when it cannot be read.
inline QByteArray goldenFile(QString const & name)
{
    QFile file(QStringLiteral(OX_TEST_DATA "/golden/") + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// What that program says of its files.
inline QJsonObject goldenIndex()
{
    return QJsonDocument::fromJson(goldenFile(QStringLiteral("index.json"))).object();
}
