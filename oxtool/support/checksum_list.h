#pragma once

#include "oxtool/support/running_checksums.h"

#include <QJsonObject>
#include <QString>

#include <vector>

namespace ox::tool
{

/// Checksums of a file, as the command crc shows them: upper-case hexadecimal texts.
struct FileChecksums {
    QString file;
    qint64 size = 0;
    QString crc8;
    QString crc16;
    QString crc32;
    QString crc64;

    bool operator==(FileChecksums const &) const = default;
};

FileChecksums checksumsOf(QString const & file, RunningChecksums const & sums);

/// Returns the line of a list: checksums, size and name in columns.
QString listLine(FileChecksums const & sums);

/// Returns the JSON object of a list.
QJsonObject toJson(FileChecksums const & sums);

/// Reads a list: lines of listLine(), or the JSON object of `crc --json`, which also holds names
/// with unprintable characters. "-" is the standard input.
/// Fails: throws Failure when the list is not readable, or a line has another form.
std::vector<FileChecksums> readChecksumList(QString const & path);

} // namespace ox::tool
