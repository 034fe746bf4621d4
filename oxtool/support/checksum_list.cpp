#include "oxtool/support/checksum_list.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/input.h"
#include "oxtool/support/names.h"
#include "oxtool/support/report.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <string>

namespace ox::tool
{
namespace
{

[[noreturn]] void refuse(QString const & path, int line)
{
    throw Failure(
        QStringLiteral("cannot read '%1': line %2 is not in the output format of 'oxtool crc'")
            .arg(path)
            .arg(line));
}

/// Removes the first word of a line, with the blanks in front of it, and returns the word.
QString takeWord(QString & line)
{
    int begin = 0;
    while (begin < line.size() && line[begin] == u' ')
        ++begin;
    auto const end = line.indexOf(u' ', begin);
    QString const word = line.mid(begin, end < 0 ? -1 : end - begin);
    line = end < 0 ? QString() : line.mid(end);
    return word;
}

std::vector<FileChecksums> fromJson(QByteArray const & text, QString const & path)
{
    QJsonArray const files =
        QJsonDocument::fromJson(text).object().value(QStringLiteral("files")).toArray();
    std::vector<FileChecksums> list;
    for (int i = 0; i < files.size(); ++i) {
        QJsonObject const file = files[i].toObject();
        auto const textOf = [&file](char const * name) {
            return file.value(QLatin1String(name)).toString();
        };
        list.push_back({textOf("file"),
                        static_cast<qint64>(file.value(QLatin1String("size")).toDouble()),
                        textOf("crc8"), textOf("crc16"), textOf("crc32"), textOf("crc64")});
    }
    if (list.empty())
        refuse(path, 1);
    return list;
}

/// Parses a line that listLine() has written. Returns false if the line has another form.
bool parseLine(QString line, FileChecksums & sums)
{
    sums.crc8 = takeWord(line);
    sums.crc16 = takeWord(line);
    sums.crc32 = takeWord(line);
    sums.crc64 = takeWord(line);
    bool isNumber = false;
    sums.size = takeWord(line).toLongLong(&isNumber);
    sums.file = line.mid(2); // the name itself may begin with a blank
    return isNumber && sums.crc64.size() == 16 && !sums.file.isEmpty();
}

std::vector<FileChecksums> fromLines(std::string const & text, QString const & path)
{
    std::vector<FileChecksums> list;
    int number = 0;
    for (std::size_t begin = 0; begin < text.size();) {
        std::size_t const end = std::min(text.find('\n', begin), text.size());
        QString line = fromArgument(text.substr(begin, end - begin));
        if (line.endsWith(u'\r'))
            line.chop(1);
        begin = end + 1;
        ++number;
        bool const isHeading = number == 1 && line.startsWith(QLatin1String("crc8"));
        if (isHeading || line.isEmpty())
            continue;
        if (!parseLine(line, list.emplace_back()))
            refuse(path, number);
    }
    if (list.empty())
        refuse(path, 1);
    return list;
}

} // namespace

FileChecksums checksumsOf(QString const & file, RunningChecksums const & sums)
{
    return {file,
            sums.size(),
            hexText(sums.crc8(), 2),
            hexText(sums.crc16(), 4),
            hexText(sums.crc32()),
            hexText(sums.crc64(), 16)};
}

QString listLine(FileChecksums const & sums)
{
    return QStringLiteral("%1    %2   %3  %4  %5  %6")
        .arg(sums.crc8, sums.crc16, sums.crc32, sums.crc64)
        .arg(sums.size, 10)
        .arg(sums.file);
}

QJsonObject toJson(FileChecksums const & sums)
{
    return {{QStringLiteral("file"), sums.file},   {QStringLiteral("size"), sums.size},
            {QStringLiteral("crc8"), sums.crc8},   {QStringLiteral("crc16"), sums.crc16},
            {QStringLiteral("crc32"), sums.crc32}, {QStringLiteral("crc64"), sums.crc64}};
}

std::vector<FileChecksums> readChecksumList(QString const & path)
{
    std::string text;
    readPieces(path, [&text](std::span<unsigned char> piece) {
        text.append(reinterpret_cast<char const *>(piece.data()), piece.size());
    });
    if (text.starts_with('{'))
        return fromJson(QByteArray::fromStdString(text), path);
    return fromLines(text, path);
}

} // namespace ox::tool
