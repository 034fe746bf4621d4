#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QJsonDocument>

namespace ox::tests
{

namespace
{

constexpr int longestRunMs = 120000;

} // namespace

QStringList words(char const * line, QStringList const & values)
{
    QStringList all = text(line).split(u' ');
    for (QString & word : all) {
        for (int i = 0; i < values.size(); ++i)
            word.replace(u'%' + QString::number(i + 1), values[i]);
    }
    return all;
}

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
    QProcess::execute(u"kill"_q,
                      {u"-"_q + QLatin1String(signal), QString::number(process_.processId())});
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

void expectError(char const * line, QStringList const & values, int status, QString const & text)
{
    ToolRun run(line, values);
    EXPECT_EQ(run.status(), status) << line;
    EXPECT_TRUE(run.errors().contains(text)) << line << ": " << run.errors().toStdString();
}

Shell toolShell(QString const & folder)
{
    return Shell(QStringLiteral(OX_TOOL), folder);
}

bool hasTerminals()
{
    return Shell().succeeds("script -qec true /dev/null >/dev/null 2>&1");
}

} // namespace ox::tests
