#include "oxtool/support/report.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/shown_text.h"
#include "shared/platform/result.h"
#include "shared/text/mebibytes.h"

#include <QDateTime>
#include <QJsonDocument>

#include <cstdio>
#include <new>
#include <system_error>

namespace ox::tool
{
namespace
{

constexpr int brokenPipe = static_cast<int>(std::errc::broken_pipe);
constexpr int noStream = static_cast<int>(std::errc::bad_file_descriptor);

int outputError = 0;
bool hasOnlyReport = true;

void write(char const * bytes, qint64 size)
{
    auto const wanted = static_cast<std::size_t>(size);
    if (outputError == 0 && std::fwrite(bytes, 1, wanted, stdout) != wanted)
        outputError = platform::lastError().code;
}

void writeText(QString const & text)
{
    QByteArray const bytes = text.toUtf8();
    write(bytes.constData(), bytes.size());
}

/// Returns the text of a JSON object. The escapes are valid JSON, since only strings can contain
/// unprintable characters.
QString jsonText(QJsonObject const & object)
{
    return shownLines(QString::fromUtf8(QJsonDocument(object).toJson()));
}

} // namespace

void writeOutput(char const * bytes, qint64 size)
{
    hasOnlyReport = false;
    write(bytes, size);
}

void writeLine(QString const & line)
{
    writeText(shownText(line) + u'\n');
    if (outputError == 0 && std::fflush(stdout) != 0)
        outputError = platform::lastError().code;
}

void writeJsonLine(QJsonObject object)
{
    object.insert(QStringLiteral("ok"), !object.contains(QStringLiteral("error")));
    writeLine(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)));
}

bool isOutputLost()
{
    return outputError != 0;
}

void writeError(QString const & text)
{
    std::fprintf(stderr, "oxtool: %s\n", shownText(text).toUtf8().constData());
}

bool finishOutput()
{
    if (std::fclose(stdout) != 0 && outputError == 0)
        outputError = platform::lastError().code;
    // If the caller has closed standard output, a lost report is not an error.
    if (outputError == noStream && hasOnlyReport)
        return true;
    if (outputError != 0 && outputError != brokenPipe)
        writeError(
            QStringLiteral("cannot write to standard output: %1").arg(reasonOf(outputError)));
    return outputError == 0;
}

void Report::text(QString const & line) const
{
    if (!asJson_)
        writeLine(line);
}

void Report::line(QString const & label, QString const & text) const
{
    this->text(label.leftJustified(16) + QLatin1Char(' ') + text);
}

void Report::set(QString const & name, QJsonValue const & value)
{
    if (asJson_)
        members_.insert(name, value);
}

void Report::beginArray(QString const & name)
{
    if (!asJson_)
        return;
    writeText(QStringLiteral("{\n    \"%1\": [").arg(name));
    array_ = Array::Empty;
}

void Report::append(QJsonObject const & element)
{
    if (!asJson_)
        return;
    QString const indented =
        jsonText(element).trimmed().replace(u'\n', QLatin1String("\n        "));
    writeText(
        (array_ == Array::Empty ? QStringLiteral("\n        ") : QStringLiteral(",\n        ")) +
        indented);
    array_ = Array::HasElements;
}

void Report::finish(QString const & failure)
{
    if (!asJson_)
        return;
    members_.insert(QStringLiteral("ok"), failure.isEmpty());
    if (!failure.isEmpty())
        members_.insert(QStringLiteral("error"), failure);
    QString const text = jsonText(members_);
    if (array_ == Array::None)
        writeText(text);
    else // beginArray() has written "{"
        writeText(QStringLiteral("\n    ],") + text.mid(1));
}

QString messageOf(std::exception const & error)
{
    if (auto const * const failure = dynamic_cast<Failure const *>(&error))
        return failure->text();
    if (dynamic_cast<std::bad_alloc const *>(&error))
        return QStringLiteral("not enough memory");
    return QString::fromLocal8Bit(error.what());
}

int runReported(bool asJson, std::function<void(Report &)> const & work)
{
    Report report(asJson);
    try {
        work(report);
    } catch (std::exception const & error) {
        report.finish(messageOf(error));
        throw;
    }
    report.finish();
    return Done;
}

int runInLines(bool asJson, std::function<void()> const & work)
try {
    work();
    return Done;
} catch (std::exception const & error) {
    if (asJson)
        writeJsonLine({{QStringLiteral("error"), messageOf(error)}});
    throw;
}

QString sizeText(qint64 bytes)
{
    QString text = QStringLiteral("%1 bytes").arg(bytes);
    if (bytes >= text::mebibyte)
        text += QStringLiteral(" (%1 MiB)").arg(double(bytes) / text::mebibyte, 0, 'f', 1);
    return text;
}

QString hexText(quint64 value, int digits)
{
    return QStringLiteral("%1").arg(value, digits, 16, QLatin1Char('0')).toUpper();
}

QString timeText(qint64 seconds)
{
    return QDateTime::fromSecsSinceEpoch(seconds).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QString jsonTime(qint64 seconds)
{
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toString(Qt::ISODate);
}

} // namespace ox::tool
