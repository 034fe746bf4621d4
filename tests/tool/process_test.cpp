#include "tests/support/this_build.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

#include <algorithm>

using namespace ox::tests;

namespace
{

/// Parses the reports in the output of `top`. Returns a list for each report. The list contains the
/// usage of each process, in percent of one core.
std::vector<std::vector<double>> usagesIn(QString const & output)
{
    QRegularExpression const figures(u"(\\d+\\.\\d) +\\d+\\.\\d  "_q);
    std::vector<std::vector<double>> reports;
    for (QString const & report : output.split(u"\n\n"_q)) {
        reports.emplace_back();
        for (auto all = figures.globalMatch(report); all.hasNext();)
            reports.back().push_back(all.next().captured(1).toDouble());
    }
    return reports;
}

} // namespace

TEST(Processes, AreListedByNamePrefix)
{
    auto const ownId = QCoreApplication::applicationPid();
    ToolRun forScripts("ps tool_TESTS --json");
    QJsonArray const processes = forScripts.json().value(u"processes"_q).toArray();
    EXPECT_EQ(forScripts.status(), 0);
    EXPECT_TRUE(std::any_of(processes.begin(), processes.end(), [&](QJsonValue const & process) {
        return process.toObject().value(u"pid"_q).toDouble() == static_cast<double>(ownId) &&
               process.toObject().value(u"name"_q).toString().startsWith(u"TOOL_TESTS"_q);
    }));

    for (QStringList const & arguments : {QStringList(u"ps"_q), {u"ps"_q, u"tool_t"_q}}) {
        ToolRun forPeople(arguments);
        EXPECT_EQ(forPeople.status(), 0) << forPeople.errors().toStdString();
        EXPECT_TRUE(forPeople.output().contains(u" %1 "_q.arg(ownId)));
    }
    ToolRun own("ps --name tool_t --sort id --top 1000 --json");
    QJsonArray const sorted = own.json().value(u"processes"_q).toArray();
    ASSERT_FALSE(sorted.isEmpty());
    double previous = 0;
    for (QJsonValue const & each : sorted) {
        QJsonObject const process = each.toObject();
        EXPECT_GE(process.value(u"pid"_q).toDouble(), previous);
        previous = process.value(u"pid"_q).toDouble();
        auto const started =
            QDateTime::fromString(process.value(u"started"_q).toString(), Qt::ISODate);
        EXPECT_LT(qAbs(started.secsTo(QDateTime::currentDateTimeUtc())), 3600);
        QString const commandLine = process.value(u"commandLine"_q).toString();
        EXPECT_TRUE(commandLine.contains(u"tool_tests"_q) || isWindows)
            << "Wine reports no command line";
    }
    QString const user = sorted[0].toObject().value(u"user"_q).toString();
    ToolRun first({u"ps"_q, u"-u"_q, user.toUpper(), u"-n"_q, u"1"_q, u"-s"_q, u"time"_q});
    EXPECT_EQ(first.status(), 0);
    EXPECT_TRUE(first.output().contains(u"1 of "_q)) << first.output().toStdString();
    expectError("ps --user %1", {u"nobody at all"_q}, 5, u"no process of user 'nobody at all'"_q);
    expectError("ps %1", {u"no such\x1b"_q}, 5,
                u"oxtool: cannot find a process: no name begins with 'no such\\u001B'"_q);
}

TEST(Processes, AreEndedByIdAfterConfirmation)
{
    ToolRun victim("top --interval 1d");
    QString const id = QString::number(victim.id());
    expectError("kill %1", {id}, 2, u"confirm with --yes"_q);
    expectError("kill %1 --yes", {u"no-such-process"_q}, 5, u"'no-such-process'"_q);
    QJsonObject const json = ToolRun("kill %1 --yes --json", {id}).json();
    EXPECT_EQ(json.value(u"processes"_q).toArray().at(0).toObject().value(u"pid"_q).toDouble(),
              id.toDouble());
    EXPECT_EQ(victim.status(), isWindows ? 1 : 128 + 15);
    expectError("kill %1 -y", {id}, 5, id);
}

TEST(Processes, AreSortedByUsageAndFilteredByTheMinimum)
{
    ToolRun run("top --interval 200 --count 2");
    EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
    auto const reports = usagesIn(run.output());
    ASSERT_EQ(reports.size(), 2U) << run.output().toStdString();
    for (auto const & usages : reports) {
        EXPECT_GT(usages.size(), 1U);
        EXPECT_TRUE(std::is_sorted(usages.rbegin(), usages.rend())) << run.output().toStdString();
    }
    ToolRun calm(
        {u"top"_q, u"--interval"_q, u"50"_q, u"--count"_q, u"1"_q, u"--min"_q, u"1000000"_q});
    EXPECT_EQ(calm.status(), 0);
    EXPECT_TRUE(usagesIn(calm.output()).front().empty());
    EXPECT_TRUE(calm.output().contains(u"CORE %"_q));

    ToolRun forScripts("top --interval 50 --count 2 --json --name tool_t");
    EXPECT_EQ(forScripts.status(), 0);
    QStringList const lines = forScripts.output().trimmed().split(u'\n');
    EXPECT_EQ(lines.size(), 2) << forScripts.output().toStdString();
    auto const processIn = [](QJsonObject const & report) {
        EXPECT_TRUE(report.value(u"ok"_q).toBool() && report.contains(u"total"_q));
        return report.value(u"processes"_q).toArray().at(0).toObject();
    };
    QJsonObject const shown = processIn(QJsonDocument::fromJson(lines.last().toUtf8()).object());
    QStringList expected = processIn(ToolRun("ps tool_t --json").json()).keys();
    expected.insert(expected.indexOf(u"user"_q), u"usage"_q); // keys are sorted
    EXPECT_EQ(shown.keys(), expected);
}
