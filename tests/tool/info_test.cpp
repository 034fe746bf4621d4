#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

using namespace ox::tests;

namespace
{

QJsonValue member(QJsonObject const & object, char const * name)
{
    EXPECT_TRUE(object.contains(text(name))) << name;
    return object.value(text(name));
}

} // namespace

TEST(Info, ReportsTheSameFactsInBothForms)
{
    ToolRun forScripts("info --interval 50 --json");
    QJsonObject const json = forScripts.json();
    EXPECT_EQ(forScripts.status(), 0) << forScripts.errors().toStdString();
    EXPECT_TRUE(member(json, "ok").toBool());
    EXPECT_GT(member(json, "totalMemoryMB").toInt(), member(json, "freeMemoryMB").toInt());
    double const load = member(json, "cpuUsage").toDouble(-1);
    EXPECT_TRUE(load >= 0 && load <= 1) << load;
    QJsonValue const temperature = member(json, "diskTemperature");
    EXPECT_TRUE(temperature.isNull() || temperature.isDouble());

    ToolRun forPeople("info --interval 50");
    EXPECT_EQ(forPeople.status(), 0);
    QString const shown = forPeople.output();
    for (char const * name : {"osString", "cpuString", "userSID", "folderAppData", "diskName"})
        EXPECT_TRUE(shown.contains(member(json, name).toString())) << name << shown.toStdString();
    EXPECT_TRUE(shown.contains(u"%1 MiB, "_q.arg(member(json, "totalMemoryMB").toInt())));
}
