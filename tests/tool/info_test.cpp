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

TEST(Info, ReportsTheSameFactsAsTextAndAsJson)
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

TEST(Explain, ShowsCodesTextsAndTimesOfTheFarm)
{
    QString const omega = u"a \u03A9.exr"_q;
    QString const utf8 = u"a <UTF8\u00CE\u00A9.exr>"_q;
    QString const utf16 = u"a <UNI16\u0003\u00A9\0.\0e\0x\0r>"_q;
    for (auto const & [line, name, expected] :
         {std::tuple("error 0xc0000005 --json", "number", QJsonValue(-1073741819)),
          std::tuple("error -1073741571 --json", "exception",
                     QJsonValue(u"EXCEPTION: The thread used up its stack."_q)),
          std::tuple("error 2 --json", "hexadecimal", QJsonValue(u"00000002"_q)),
          std::tuple("time 2026-11-14T08:05:07Z --json", "seconds", QJsonValue(1794643507)),
          std::tuple("time 1794643507 --json", "time", QJsonValue(u"2026-11-14T08:05:07Z"_q)),
          std::tuple("encode %1 --json", "result", QJsonValue(utf8)),
          std::tuple("decode %2 --json", "result", QJsonValue(omega)),
          std::tuple("encode %1 --utf16 --json", "result", QJsonValue(utf16)),
          std::tuple("space / --json", "ok", QJsonValue(true))}) {
        ToolRun run(line, {omega, utf8});
        EXPECT_EQ(run.json().value(text(name)), expected) << line << run.errors().toStdString();
    }
    for (char const * line : {"encode -", "encode - --utf16"}) {
        QString const lines = u"a \u03A9\n\u0A0A"_q; // a 16-bit run with line breaks
        ToolRun encoded(line);
        encoded.sendInput(lines.toUtf8());
        EXPECT_EQ(encoded.status(), 0);
        ToolRun decoded("decode - --latin1");
        decoded.sendInput(encoded.output().toLatin1());
        EXPECT_EQ(decoded.status(), 0);
        EXPECT_EQ(decoded.output(), lines) << line;
    }
    ToolRun refused("decode -");
    refused.sendInput("\xE9 ");
    EXPECT_EQ(refused.status(), 1);
}
