#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QJsonArray>
#include <QRegularExpression>

#include <algorithm>

using namespace ox::tests;

namespace
{

/// Returns the usage of a core in the lines about processes, for each report.
std::vector<std::vector<double>> usagesIn(QString const & output)
{
    QRegularExpression const figures(text("(\\d+\\.\\d) +\\d+\\.\\d  "));
    std::vector<std::vector<double>> reports;
    for (QString const & report : output.split(text("\n\n"))) {
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
    ToolRun forScripts({text("ps"), text("tool_TESTS"), text("--json")});
    QJsonArray const processes = forScripts.json().value(text("processes")).toArray();
    EXPECT_EQ(forScripts.status(), 0);
    EXPECT_TRUE(std::any_of(processes.begin(), processes.end(), [&](QJsonValue const & process) {
        return process.toObject().value(text("pid")).toDouble() == static_cast<double>(ownId) &&
               process.toObject().value(text("name")).toString().startsWith(text("TOOL_TESTS"));
    }));

    for (QStringList const & arguments : {QStringList(text("ps")), {text("ps"), text("tool_t")}}) {
        ToolRun forPeople(arguments);
        EXPECT_EQ(forPeople.status(), 0) << forPeople.errors().toStdString();
        EXPECT_TRUE(forPeople.output().contains(text(" %1 ").arg(ownId)));
    }
    ToolRun none({text("ps"), text("no such\x1b")});
    EXPECT_EQ(none.status(), 1);
    EXPECT_EQ(none.errors().trimmed(),
              text("oxtool: cannot find a process: no name begins with 'no such\\u001B'"));
}

TEST(Processes, AreSortedByUsageFromTheMinimumOn)
{
    ToolRun run({text("top"), text("--interval"), text("200"), text("--count"), text("2")});
    EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
    auto const reports = usagesIn(run.output());
    ASSERT_EQ(reports.size(), 2U) << run.output().toStdString();
    for (auto const & usages : reports) {
        EXPECT_GT(usages.size(), 1U);
        EXPECT_TRUE(std::is_sorted(usages.rbegin(), usages.rend())) << run.output().toStdString();
    }
    ToolRun calm({text("top"), text("--interval"), text("50"), text("--count"), text("1"),
                  text("--min"), text("1000000")});
    EXPECT_EQ(calm.status(), 0);
    EXPECT_TRUE(usagesIn(calm.output()).front().empty());
    EXPECT_TRUE(calm.output().contains(text("CORE %")));
}
