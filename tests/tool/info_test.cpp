#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

using namespace ox::tests;

namespace
{

QStringList const info = {QStringLiteral("info"), QStringLiteral("--interval"),
                          QStringLiteral("50")};

QJsonValue member(QJsonObject const & object, char const * name)
{
    EXPECT_TRUE(object.contains(QLatin1String(name))) << name;
    return object.value(QLatin1String(name));
}

} // namespace

TEST(Info, ReportsTheSameFactsInBothForms)
{
    ToolRun forScripts(info + QStringList{QStringLiteral("--json")});
    QJsonObject const json = forScripts.json();
    EXPECT_EQ(forScripts.status(), 0) << forScripts.errors().toStdString();
    EXPECT_TRUE(member(json, "ok").toBool());
    EXPECT_GT(member(json, "totalMemoryMB").toInt(), member(json, "freeMemoryMB").toInt());
    double const load = member(json, "cpuUsage").toDouble(-1);
    EXPECT_TRUE(load >= 0 && load <= 1) << load;
    QJsonValue const temperature = member(json, "diskTemperature");
    EXPECT_TRUE(temperature.isNull() || temperature.isDouble());

    ToolRun forPeople(info);
    EXPECT_EQ(forPeople.status(), 0);
    QString const text = forPeople.output();
    for (char const * name : {"osString", "cpuString", "userSID", "folderAppData", "diskName"})
        EXPECT_TRUE(text.contains(member(json, name).toString())) << name << text.toStdString();
    EXPECT_TRUE(
        text.contains(QStringLiteral("%1 MiB, ").arg(member(json, "totalMemoryMB").toInt())));
}
