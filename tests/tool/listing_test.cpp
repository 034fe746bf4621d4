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
        QDir(share.path()).mkpath(u"sub.exr/deep"_q);
        for (char const * name : {"b.exr", "a.EXR", "c.tif", "d", "sub.exr/e"})
            share.write(text(name), "content");
    }

    Share const share;
};

} // namespace

TEST_F(Listing, FiltersAndSortsTheEntries)
{
    ToolRun list("ls --ends .exr --ends tif --sort --dirs %1", {share.path()});
    EXPECT_EQ(list.status(), 0) << list.errors().toStdString();
    QStringList names;
    for (QString const & line : list.output().split(u'\n', Qt::SkipEmptyParts))
        names << line.left(17).trimmed() + u' ' + line.mid(38);
    EXPECT_EQ(names, (QStringList{u"7 a.EXR"_q, u"7 b.exr"_q, u"7 c.tif"_q, u" sub.exr/"_q}));

    QJsonObject const json = ToolRun("ls %1 --json --ends D", {share.path()}).json();
    QJsonArray const entries = json.value(u"entries"_q).toArray();
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries[0].toObject().value(u"name"_q), u"d"_q);
    EXPECT_EQ(entries[0].toObject().value(u"size"_q), 7);
    EXPECT_TRUE(entries[0].toObject().value(u"time"_q).toString().startsWith(u"20"_q));
}

TEST_F(Listing, FailsForAMissingFolder)
{
    for (char const * command : {"ls", "empty"}) {
        for (QString const & name : {QString(), share.path(u"none/at/all"_q)}) {
            ToolRun run({text(command), name});
            EXPECT_EQ(run.status(), 5) << command;
            EXPECT_TRUE(run.errors().contains(u"'%1': "_q.arg(name))) << run.errors().toStdString();
            EXPECT_EQ(run.output(), QString());
        }
        QJsonObject const json =
            ToolRun({text(command), share.path(u"none"_q), u"--json"_q}).json();
        EXPECT_FALSE(json.value(u"ok"_q).toBool(true));
    }
}

TEST_F(Listing, EmptiesAFolderOrListsItsEntriesInADryRun)
{
    QStringList const before = share.names();
    ToolRun dryRun("empty %1 --recursive --dry-run", {share.path()});
    EXPECT_EQ(dryRun.status(), 0) << dryRun.errors().toStdString();
    EXPECT_EQ(dryRun.output().count(u"to delete        "_q), 7);
    EXPECT_TRUE(dryRun.output().endsWith(u"dry run          7 to delete, 35 bytes\n"_q));
    EXPECT_EQ(share.names(), before);

    EXPECT_EQ(ToolRun("empty %1", {share.path()}).status(), 0);
    EXPECT_EQ(share.names(), QStringList(u"sub.exr"_q));
    QJsonObject const json = ToolRun("empty %1 --recursive --json", {share.path()}).json();
    EXPECT_EQ(json.value(u"entries"_q).toArray().size(), 3);
    EXPECT_EQ(json.value(u"bytes"_q), 7);
    EXPECT_EQ(share.names(), QStringList());
}
