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
        QDir::toNativeSeparators(share.write(text("job17.oxdb"), goldenFile("text.oxdb")));
    QString const out = share.path(text("payload"));
    QString const mapping = text("\\\\farm\\share=") + QDir::toNativeSeparators(share.path());
    ASSERT_EQ(file[1], QLatin1Char(':'));
    for (QString const & stored :
         {file, text("\\\\farm\\share\\job17.oxdb"), text("//FARM/share/job17.oxdb")}) {
        ToolRun run(
            {text("refresh"), stored, text("--map"), mapping, text("--out"), out, text("--json")});
        EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
        EXPECT_EQ(QDir::cleanPath(run.json().value(text("localPath")).toString()),
                  QDir::cleanPath(file));
        EXPECT_EQ(contentOf(out), goldenFile("text.raw"));
        EXPECT_EQ(share.names(), (QStringList{text("job17.oxdb"), text("payload")}));
    }
}

TEST(ToolOnWindows, ReportsTheReasonAndChangesNothing)
{
    QByteArray flipped = goldenFile("text.oxdb");
    flipped[100] = static_cast<char>(flipped[100] ^ 1);
    Share const share;
    share.write(text("flipped"), flipped);
    QStringList const before = share.names();
    std::pair<char const *, char const *> const cases[] = {{"missing", "cannot load '"},
                                                           {"no\\folder", "cannot open folder '"},
                                                           {"flipped", "CRC Error, data corrupt!"}};
    for (auto const & [name, expected] : cases) {
        ToolRun run({text("refresh"), share.path(text(name))});
        EXPECT_EQ(run.status(), 1) << name;
        EXPECT_TRUE(run.errors().contains(text(expected))) << run.errors().toStdString();
        EXPECT_EQ(share.names(), before);
    }
}

TEST(ToolOnWindows, RunsACommandUnderTheLockAndKeepsOthersOut)
{
    Share const share;
    QString const file = share.write(text("farm.ini"), "x");
    ToolRun holder(
        {text("lock"), file, text("--"), text(OX_TOOL), text("lock"), file, text("--status")});
    EXPECT_NE(holder.status(), 2);
    EXPECT_TRUE(holder.output().contains(text("held")))
        << holder.output().toStdString() << holder.errors().toStdString();
    ToolRun inner({text("lock"), file, text("--"), text(OX_TOOL), text("refresh"), file,
                   text("--timeout"), text("300")});
    EXPECT_EQ(inner.status(), 1);
    EXPECT_TRUE(inner.errors().contains(text("locked by"))) << inner.errors().toStdString();
    ToolRun quoted({text("lock"), file, text("--"), text(OX_TOOL), text("crc"), text("a \"b\\"),
                    goldenPath("small.raw")});
    EXPECT_EQ(quoted.status(), 1);
    EXPECT_TRUE(quoted.errors().contains(text("a \"b\\"))) << quoted.errors().toStdString();
    EXPECT_TRUE(quoted.output().contains(text("7B3177A3")));
    EXPECT_EQ(share.names(), QStringList{text("farm.ini")});
}

TEST(ToolOnWindows, CopiesAndResumes)
{
    Share const share;
    QString const from = share.write(text("a"), "content");
    QString const to = share.path(text("b"));
    for (QStringList const & pause : {QStringList(), QStringList({text("--pause"), text("0")})}) {
        ToolRun run(QStringList({text("cp"), from, to}) + pause);
        EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
        EXPECT_EQ(contentOf(to), "content");
    }
    share.write(text("a"), "content and more");
    EXPECT_EQ(ToolRun({text("resume"), from, to, text("--json")}).json().value(text("added")), 9);
    EXPECT_EQ(contentOf(to), "content and more");
    EXPECT_TRUE(ToolRun({text("cp"), share.path(text("none")), to})
                    .errors()
                    .contains(text("b' (target unchanged): ")));
    EXPECT_EQ(share.names(), (QStringList{text("a"), text("b")}));
}

TEST(ToolOnWindows, ReplacesInAFileAndNotInAReadOnlyOne)
{
    Share const share;
    QString const file = share.write(text("farm.ini"), "Server=a\r\n");
    ToolRun run({text("replace"), file, text("server"), text("srv")});
    EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
    EXPECT_EQ(contentOf(file), "srv=a\r\n");
    QFile::setPermissions(file, QFile::ReadOwner);
    ToolRun refused({text("replace"), file, text("srv"), text("x")});
    EXPECT_EQ(refused.status(), 1);
    EXPECT_EQ(contentOf(file), "srv=a\r\n");
    EXPECT_EQ(share.names(), QStringList{text("farm.ini")});
    QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner);
}

TEST(ToolOnWindows, ReadsTheStandardInputUnchanged)
{
    QByteArray const payload = QByteArray("\x1A\r\nline\n\0", 9).repeated(400000);
    Share const share;
    QString const packed = share.path(text("packed"));
    ToolRun pack({text("pack"), text("-"), packed});
    pack.sendInput(payload);
    EXPECT_EQ(pack.status(), 0) << pack.errors().toStdString();
    EXPECT_EQ(contentOf(packed).mid(36), payload);
}
