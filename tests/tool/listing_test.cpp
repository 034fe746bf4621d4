#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QJsonArray>

using namespace ox::tests;

namespace
{

class Listing : public testing::Test
{
  protected:
    void SetUp() override
    {
        QDir(share.path()).mkpath(text("sub.exr/deep"));
        for (char const * name : {"b.exr", "a.EXR", "c.tif", "d", "sub.exr/e"})
            share.write(text(name), "content");
    }

    Share const share;
};

} // namespace

TEST_F(Listing, FiltersAndSortsTheEntries)
{
    ToolRun list({text("ls"), text("--ends"), text(".exr"), text("--ends"), text("tif"),
                  text("--sort"), text("--dirs"), share.path()});
    EXPECT_EQ(list.status(), 0) << list.errors().toStdString();
    QStringList names;
    for (QString const & line : list.output().split(u'\n', Qt::SkipEmptyParts))
        names << line.left(17).trimmed() + u' ' + line.mid(38);
    EXPECT_EQ(names,
              (QStringList{text("7 a.EXR"), text("7 b.exr"), text("7 c.tif"), text(" sub.exr/")}));

    QJsonObject const json =
        ToolRun({text("ls"), share.path(), text("--json"), text("--ends"), text("D")}).json();
    QJsonArray const entries = json.value(text("entries")).toArray();
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries[0].toObject().value(text("name")), text("d"));
    EXPECT_EQ(entries[0].toObject().value(text("size")), 7);
    EXPECT_TRUE(entries[0].toObject().value(text("time")).toString().startsWith(text("20")));
}

TEST_F(Listing, FailsForAMissingFolder)
{
    for (char const * command : {"ls", "empty"}) {
        for (QString const & name : {QString(), share.path(text("none/at/all"))}) {
            ToolRun run({text(command), name});
            EXPECT_EQ(run.status(), 1) << command;
            EXPECT_TRUE(run.errors().contains(text("'%1': ").arg(name)))
                << run.errors().toStdString();
            EXPECT_EQ(run.output(), QString());
        }
        QJsonObject const json =
            ToolRun({text(command), share.path(text("none")), text("--json")}).json();
        EXPECT_FALSE(json.value(text("ok")).toBool(true));
    }
}

TEST_F(Listing, EmptiesAFolderOrListsItsEntriesInADryRun)
{
    QStringList const before = share.names();
    ToolRun dryRun({text("empty"), share.path(), text("--recursive"), text("--dry-run")});
    EXPECT_EQ(dryRun.status(), 0) << dryRun.errors().toStdString();
    EXPECT_EQ(dryRun.output().count(text("to delete        ")), 7);
    EXPECT_TRUE(dryRun.output().endsWith(text("dry run          7 to delete, 35 bytes\n")));
    EXPECT_EQ(share.names(), before);

    EXPECT_EQ(ToolRun({text("empty"), share.path()}).status(), 0);
    EXPECT_EQ(share.names(), QStringList(text("sub.exr")));
    QJsonObject const json =
        ToolRun({text("empty"), share.path(), text("--recursive"), text("--json")}).json();
    EXPECT_EQ(json.value(text("entries")).toArray().size(), 3);
    EXPECT_EQ(json.value(text("bytes")), 7);
    EXPECT_EQ(share.names(), QStringList());
}
