#pragma once

#include "oxtool/support/running_checksums.h"

#include <QJsonObject>
#include <QString>

#include <vector>

namespace ox::tool
{

/// Checksums of a file as `oxtool crc` shows them: upper-case hexadecimal numbers.
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

/// Returns the line of a checksum list for one file: checksums, size and name in columns.
QString listLine(FileChecksums const & sums);

/// Returns the JSON object of a checksum list for one file.
QJsonObject toJson(FileChecksums const & sums);

/// Reads a checksum list in one of two forms: lines of listLine(), or the JSON object of
/// `oxtool crc --json`. Only JSON preserves names with unprintable characters. The path "-" means
/// the standard input.
/// Fails: throws Failure when the list is not readable, or has another form.
std::vector<FileChecksums> readChecksumList(QString const & path);

} // namespace ox::tool
