#include "tests/support/file_content.h"
#include "tests/support/golden.h"
#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

using namespace ox::tests;

TEST(ToolOnWindows, RefreshesADrivePathAndAStoredSharePath)
{
    Share const share;
    QString const file =
        QDir::toNativeSeparators(share.write(u"job17.oxdb"_q, goldenFile("text.oxdb")));
    QString const out = share.path(u"payload"_q);
    QString const mapping = u"\\\\farm\\share="_q + QDir::toNativeSeparators(share.path());
    ASSERT_EQ(file[1], u':');
    for (QString const & stored :
         {file, u"\\\\farm\\share\\job17.oxdb"_q, u"//FARM/share/job17.oxdb"_q}) {
        ToolRun run("refresh %1 --map %2 --out %3 --json", {stored, mapping, out});
        EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
        EXPECT_EQ(QDir::cleanPath(run.json().value(u"localPath"_q).toString()),
                  QDir::cleanPath(file));
        EXPECT_EQ(contentOf(out), goldenFile("text.raw"));
        EXPECT_EQ(share.names(), (QStringList{u"job17.oxdb"_q, u"payload"_q}));
    }
}

TEST(ToolOnWindows, ReportsTheReasonAndChangesNothing)
{
    QByteArray flipped = goldenFile("text.oxdb");
    flipped[100] = static_cast<char>(flipped[100] ^ 1);
    Share const share;
    share.write(u"flipped"_q, flipped);
    QStringList const before = share.names();
    std::tuple<char const *, int, char const *> const cases[] = {
        {"missing", 5, "cannot load '"},
        {"no\\folder", 5, "cannot open folder '"},
        {"flipped", 3, "CRC Error, data corrupt!"}};
    for (auto const & [name, status, expected] : cases) {
        ToolRun run("refresh %1", {share.path(text(name))});
        EXPECT_EQ(run.status(), status) << name;
        EXPECT_TRUE(run.errors().contains(text(expected))) << run.errors().toStdString();
        EXPECT_EQ(share.names(), before);
    }
}

TEST(ToolOnWindows, RunsACommandUnderTheLockAndKeepsOthersOut)
{
    Share const share;
    QString const file = share.write(u"farm.ini"_q, "x");
    ToolRun holder("lock %1 -- %2 lock %1 --status", {file, text(OX_TOOL)});
    EXPECT_NE(holder.status(), 2);
    EXPECT_TRUE(holder.output().contains(u"held"_q))
        << holder.output().toStdString() << holder.errors().toStdString();
    ToolRun inner(
        {u"lock"_q, file, u"--"_q, text(OX_TOOL), u"refresh"_q, file, u"--timeout"_q, u"300"_q});
    EXPECT_EQ(inner.status(), 4);
    EXPECT_TRUE(inner.errors().contains(u"locked by"_q)) << inner.errors().toStdString();
    ToolRun quoted(
        {u"lock"_q, file, u"--"_q, text(OX_TOOL), u"crc"_q, u"a \"b\\"_q, goldenPath("small.raw")});
    EXPECT_NE(quoted.status(), 0);
    EXPECT_TRUE(quoted.errors().contains(u"a \"b\\"_q)) << quoted.errors().toStdString();
    EXPECT_TRUE(quoted.output().contains(u"7B3177A3"_q));
    EXPECT_EQ(share.names(), QStringList{u"farm.ini"_q});
}

TEST(ToolOnWindows, CopiesAndResumes)
{
    Share const share;
    QString const from = share.write(u"a"_q, "content");
    QString const to = share.path(u"b"_q);
    for (QStringList const & pause : {QStringList(), QStringList({u"--pause"_q, u"0"_q})}) {
        ToolRun run(QStringList({u"cp"_q, from, to}) + pause);
        EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
        EXPECT_EQ(contentOf(to), "content");
    }
    share.write(u"a"_q, "content and more");
    EXPECT_EQ(ToolRun("resume %1 %2 --json", {from, to}).json().value(u"added"_q), 9);
    EXPECT_EQ(contentOf(to), "content and more");
    EXPECT_TRUE(ToolRun("cp %1 %2", {share.path(u"none"_q), to})
                    .errors()
                    .contains(u"b' (target unchanged): "_q));
    EXPECT_EQ(share.names(), (QStringList{u"a"_q, u"b"_q}));
}

TEST(ToolOnWindows, ReplacesInAFileAndNotInAReadOnlyOne)
{
    Share const share;
    QString const file = share.write(u"farm.ini"_q, "Server=a\r\n");
    ToolRun run("replace %1 server srv", {file});
    EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
    EXPECT_EQ(contentOf(file), "srv=a\r\n");
    QFile::setPermissions(file, QFile::ReadOwner);
    ToolRun refused("replace %1 srv x", {file});
    EXPECT_EQ(refused.status(), 1);
    EXPECT_EQ(contentOf(file), "srv=a\r\n");
    EXPECT_EQ(share.names(), QStringList{u"farm.ini"_q});
    QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner);
}

TEST(ToolOnWindows, ReadsTheStandardInputUnchanged)
{
    QByteArray const payload = QByteArray("\x1A\r\nline\n\0", 9).repeated(400000);
    Share const share;
    QString const packed = share.path(u"packed"_q);
    ToolRun pack("pack - %1", {packed});
    pack.sendInput(payload);
    EXPECT_EQ(pack.status(), 0) << pack.errors().toStdString();
    EXPECT_EQ(contentOf(packed).mid(36), payload);
}
