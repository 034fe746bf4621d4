#include "oxtool/report.h"

#include "oxtool/failure.h"
#include "shared/platform/os_error.h"
#include "shared/system/os_error.h"

#include <QDateTime>
#include <QJsonDocument>

#include <cstdio>
#include <system_error>

namespace ox::tool
{
namespace
{

constexpr int brokenPipe = static_cast<int>(std::errc::broken_pipe);

int outputError = 0;

} // namespace

void writeOutput(char const * bytes, qint64 size)
{
    auto const wanted = static_cast<std::size_t>(size);
    if (outputError == 0 && std::fwrite(bytes, 1, wanted, stdout) != wanted)
        outputError = platform::lastError();
}

void writeLine(QString const & line)
{
    QByteArray const bytes = (line + QLatin1Char('\n')).toUtf8();
    writeOutput(bytes.constData(), bytes.size());
    if (outputError == 0 && std::fflush(stdout) != 0)
        outputError = platform::lastError();
}

bool isOutputLost()
{
    return outputError != 0;
}

void writeError(QString const & text)
{
    std::fprintf(stderr, "oxtool: %s\n", text.toUtf8().constData());
}

bool finishOutput()
{
    if (std::fclose(stdout) != 0 && outputError == 0)
        outputError = platform::lastError();
    if (outputError != 0 && outputError != brokenPipe)
        writeError(QStringLiteral("The output cannot be written. ") +
                   QString(oxLastOSError(outputError)));
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

void Report::finish(QString const & failure)
{
    if (!asJson_)
        return;
    members_.insert(QStringLiteral("ok"), failure.isEmpty());
    if (!failure.isEmpty())
        members_.insert(QStringLiteral("error"), failure);
    QByteArray const text = QJsonDocument(members_).toJson();
    writeOutput(text.constData(), text.size());
}

int runReported(bool asJson, std::function<void(Report &)> const & work)
{
    Report report(asJson);
    try {
        work(report);
    } catch (Failure const & failure) {
        report.finish(failure.text());
        throw;
    }
    report.finish();
    return Done;
}

QString sizeText(qint64 bytes)
{
    QString text = QStringLiteral("%1 bytes").arg(bytes);
    if (bytes >= 1024 * 1024)
        text += QStringLiteral(" (%1 MiB)").arg(double(bytes) / (1024 * 1024), 0, 'f', 1);
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
