#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
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
    ToolRun list("ls --ends .exr --ends tif --sort name --dirs %1", {share.path()});
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
    EXPECT_TRUE(entries[0].toObject().value(u"modified"_q).toString().startsWith(u"20"_q));
}

TEST_F(Listing, ListsATreeBySizeTimeAndAge)
{
    share.write(u"sub.exr/deep/large"_q, QByteArray(3 << 20, 'x'));
    QFile old(share.write(u"old"_q, "12"));
    ASSERT_TRUE(old.open(QFile::ReadWrite));
    old.setFileTime(QDateTime::currentDateTime().addDays(-2), QFile::FileModificationTime);
    old.close();
    auto const namesOf = [&](char const * options) {
        QStringList names;
        QStringList const arguments = words(options) + QStringList(share.path());
        QJsonObject const json = ToolRun(words("ls -r --json") + arguments).json();
        for (QJsonValue const & entry : json.value(u"entries"_q).toArray())
            names << entry.toObject().value(u"name"_q).toString();
        EXPECT_EQ(json.value(u"ok"_q), true) << options;
        return QDir::fromNativeSeparators(names.join(u' '));
    };
    for (auto const & [options, names] :
         {std::pair("--jobs 3", "a.EXR b.exr c.tif d old sub.exr/e sub.exr/deep/large"),
          std::pair("--jobs 1", "a.EXR b.exr c.tif d old sub.exr/e sub.exr/deep/large"),
          std::pair("--sort size", "sub.exr/deep/large a.EXR b.exr c.tif d sub.exr/e old"),
          std::pair("--newer 1d --sort name", "a.EXR b.exr c.tif d sub.exr/deep/large sub.exr/e"),
          std::pair("--newer 49h --ends old", "old"), std::pair("--newer 3600 --ends old", "")})
        EXPECT_EQ(namesOf(options), text(names)) << options;
    EXPECT_TRUE(namesOf("--sort time").endsWith(u" old"_q));
    ToolRun human("ls -r --human --total %1 --ends e", {share.path()});
    EXPECT_EQ(human.status(), 0);
    QString const shown = human.output();
    EXPECT_TRUE(shown.contains(u"  3.0 MiB  "_q)) << shown.toStdString();
    EXPECT_TRUE(shown.endsWith(u"total            2 files, 3.0 MiB\n"_q)) << shown.toStdString();
    expectError("ls --newer soon %1", {share.path()}, 2,
                u"'soon' is not an age such as 90s, 10min, 2h or 7d"_q);
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

    QJsonObject const some =
        ToolRun(words("empty %1 -r --jobs 3 --keep *.EXR --keep %2 --keep c* --json",
                      {share.path(), u"sub.exr/d*"_q}))
            .json();
    QJsonArray const entries = some.value(u"files"_q).toArray();
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(QFileInfo(entries[0].toObject().value(u"file"_q).toString()),
              QFileInfo(share.path(u"d"_q)));
    share.write(u"d"_q, "content");
    EXPECT_EQ(ToolRun("empty %1 -r --older-than 1h", {share.path()}).status(), 0);
    EXPECT_EQ(share.names(), before);

    EXPECT_EQ(ToolRun("empty %1", {share.path()}).status(), 0);
    EXPECT_EQ(share.names(), QStringList(u"sub.exr"_q));
    QJsonObject const json = ToolRun("empty %1 --recursive --json", {share.path()}).json();
    EXPECT_EQ(json.value(u"counts"_q).toObject().value(u"deleted"_q), 3);
    EXPECT_EQ(json.value(u"bytes"_q), 7);
    EXPECT_EQ(share.names(), QStringList());
}
