#include "tests/tool/tool_run.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>

namespace
{

constexpr int longestRunMs = 120000;

} // namespace

ToolRun::ToolRun(QStringList const & arguments, QString const & folder)
{
    process_.setWorkingDirectory(folder);
    process_.start(QStringLiteral(OX_TOOL), arguments);
    process_.waitForStarted();
}

ToolRun::~ToolRun()
{
    process_.kill();
    process_.waitForFinished();
}

void ToolRun::sendInput(QByteArray const & input)
{
    process_.write(input);
    process_.closeWriteChannel();
}

bool ToolRun::waitForOutput(char const * text)
{
    while (!output_.contains(text)) {
        if (!process_.waitForReadyRead(longestRunMs))
            return false;
        output_ += process_.readAllStandardOutput();
    }
    return true;
}

bool ToolRun::waitUntil(std::function<bool()> const & condition)
{
    while (!condition()) {
        if (process_.waitForFinished(10))
            return false;
    }
    return true;
}

void ToolRun::send(char const * signal)
{
    QProcess::execute(QStringLiteral("kill"), {QStringLiteral("-") + QLatin1String(signal),
                                               QString::number(process_.processId())});
}

int ToolRun::status()
{
    process_.waitForFinished(longestRunMs);
    output_ += process_.readAllStandardOutput();
    errors_ += process_.readAllStandardError();
    return process_.exitCode() + (process_.exitStatus() == QProcess::CrashExit ? 128 : 0);
}

QString ToolRun::errors()
{
    status();
    return QString::fromUtf8(errors_);
}

QJsonObject ToolRun::json()
{
    status();
    return QJsonDocument::fromJson(output_).object();
}

QString Share::write(QString const & name, QByteArray const & content) const
{
    QFile file(path(name));
    file.open(QIODevice::WriteOnly);
    file.write(content);
    return file.fileName();
}

QString Share::writeSparse(QString const & name, qint64 payload) const
{
    QFile file(write(name, golden("small.oxdb").left(36)));
    file.resize(36 + payload);
    return file.fileName();
}

QStringList Share::names() const
{
    return QDir(dir_.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

QByteArray contentOf(QString const & path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

QString goldenPath(char const * name)
{
    return QStringLiteral(OX_TEST_DATA "/golden/") + QLatin1String(name);
}

QByteArray golden(char const * name)
{
    return contentOf(goldenPath(name));
}
