#include "tests/support/file_content.h"
#include "tests/support/golden.h"
#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>

#include <unistd.h>

using namespace ox::tests;

namespace
{

QString const job = QStringLiteral("job17.oxdb");

QStringList refresh(QString const & path, QStringList const & more = {})
{
    return QStringList{QStringLiteral("refresh"), path} + more;
}

QStringList heldFor(QString const & file, char const * seconds)
{
    return {
        QStringLiteral("lock"), file,
        QStringLiteral("--"),   QStringLiteral("sh"),
        QStringLiteral("-c"),   QStringLiteral("echo ready; exec sleep ") + QLatin1String(seconds)};
}

} // namespace

TEST(Refresh, MapsTheStoredPathAndShowsEachStep)
{
    Share const share;
    share.write(job, goldenFile("text.oxdb"));
    ToolRun run(refresh(QStringLiteral("\\\\farm\\share\\job17.oxdb"),
                        {QStringLiteral("--map"), QStringLiteral("\\\\farm\\share=") + share.path(),
                         QStringLiteral("--out"), share.path(QStringLiteral("payload"))}));
    EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
    int position = 0;
    for (char const * step : {"stored ", "path ", "lock ", "file ", "load ", "release ", "out "}) {
        auto const found = run.output().indexOf(QLatin1String(step), position);
        EXPECT_GE(found, position) << step;
        position = static_cast<int>(found);
    }
    EXPECT_EQ(contentOf(share.path(QStringLiteral("payload"))), goldenFile("text.raw"));
    EXPECT_EQ(share.names(), (QStringList{job, QStringLiteral("payload")}));
}

TEST(Refresh, WritesTheDecompressedPayloadWithTheModeOfThePreviousFile)
{
    Share const share;
    QString const file = share.write(job, goldenFile("binary.oxns"));
    QString const out = share.write(QStringLiteral("payload"), "old");
    QFile::setPermissions(out, QFile::ReadOwner);
    auto const before = QFile::permissions(out);
    ToolRun run(refresh(file, {QStringLiteral("--out"), out, QStringLiteral("--json")}));
    EXPECT_EQ(run.json().value(QStringLiteral("written")).toInt(), 70001);
    EXPECT_EQ(contentOf(out), goldenFile("binary.raw"));
    EXPECT_EQ(QFile::permissions(out), before);
    EXPECT_EQ(share.names().size(), 2);
}

TEST(Refresh, MapsTheLongestMatchingRoot)
{
    Share const share;
    struct Case {
        char const * stored;
        char const * local; // relative to the share; empty if no mapping applies
    };
    for (Case const & each : {
             Case{"\\\\farm\\share\\jobs\\a", "share/jobs/a"},
             Case{"//FARM/Share/jobs/a", "share/jobs/a"},
             Case{"\\\\farm\\share2\\a", ""},
             Case{"\\\\farm\\share\\fast\\a", "fast/a"},
             Case{"\\\\farm\\share\\fastest\\a", "share/fastest/a"},
             Case{"p:\\a", "drive/a"},
             Case{"P:/a", "drive/a"},
             Case{"/vol/farm/a", "vol/a"},
             Case{"/Vol/farm/a", ""},
             Case{"/vol/farm2/a", ""},
         }) {
        QStringList arguments =
            refresh(QString::fromLatin1(each.stored), {QStringLiteral("--json")});
        for (char const * mapping : {"\\\\Farm\\Share\\=share/", "//farm/share/fast=fast",
                                     "P:\\=drive", "/vol/farm/=vol"}) {
            QString text = QString::fromLatin1(mapping);
            text.insert(text.indexOf(QLatin1Char('=')) + 1, share.path());
            arguments << QStringLiteral("--map") << text;
        }
        QString expected =
            QString::fromLatin1(each.stored).replace(QLatin1Char('\\'), QLatin1Char('/'));
        if (*each.local)
            expected = share.path(QString::fromLatin1(each.local));
        ToolRun run(arguments);
        EXPECT_EQ(run.json().value(QStringLiteral("localPath")).toString(), expected)
            << each.stored;
    }
}

TEST(Refresh, ReportsTheReasonAndChangesNothing)
{
    QByteArray const good = goldenFile("text.oxdb");
    QByteArray flipped = good;
    flipped[100] = static_cast<char>(flipped[100] ^ 1);
    QByteArray lying = goldenFile("text.oxns");
    lying[12] = static_cast<char>(lying[12] + 1); // sizeUncompressed
    struct Case {
        char const * name;
        QByteArray content;
        char const * text;
    };
    for (Case const & each : {
             Case{"header only", good.left(36), "CRC Error, data corrupt!"},
             Case{"empty", {}, "CRC Error, data corrupt!"},
             Case{"flipped byte", flipped, "CRC Error, data corrupt!"},
             Case{"truncated", good.left(good.size() - 1), "CRC Error, data corrupt!"},
             Case{"wrong magic", "oxDC" + good.mid(4), "Wrong File Header"},
             Case{"lying length", lying, "Decompression error, wrong result size"},
         }) {
        Share const share;
        QString const file = share.write(job, each.content);
        ToolRun run(
            refresh(file, {QStringLiteral("--out"), share.path(QStringLiteral("payload"))}));
        EXPECT_EQ(run.status(), 1) << each.name;
        EXPECT_TRUE(run.errors().contains(QLatin1String(each.text))) << run.errors().toStdString();
        EXPECT_EQ(contentOf(file), each.content) << each.name;
        EXPECT_EQ(share.names(), QStringList{job}) << each.name;
    }
}

TEST(Refresh, ReportsTheSystemsReasonForAnUnreadableFile)
{
    Share const share;
    QDir().mkdir(share.path(QStringLiteral("folder")));
    QFile::link(QStringLiteral("loop"), share.path(QStringLiteral("loop")));
    QFile::setPermissions(share.write(QStringLiteral("secret"), goldenFile("small.oxdb")), {});
    share.writeSparse(QStringLiteral("large"), (qint64(768) << 20) + 1);
    QStringList const before = share.names();
    struct Case {
        char const * name;
        char const * ending;
    };
    for (Case const & each : {
             Case{"missing", "/missing': No such file or directory"},
             Case{"no/folder", "/no': No such file or directory"},
             Case{"folder", "/folder': Is a directory"},
             Case{"loop", "/loop': Too many levels of symbolic links"},
             Case{"secret", "/secret': Permission denied"},
             Case{"large", "Unable to allocate memory"},
         }) {
        if (QLatin1String(each.name) == QLatin1String("secret") && ::geteuid() == 0)
            continue; // nothing is unreadable for root
        ToolRun run(refresh(share.path(QString::fromLatin1(each.name))));
        EXPECT_EQ(run.status(), 1) << each.name;
        EXPECT_TRUE(run.errors().trimmed().endsWith(QLatin1String(each.ending)))
            << run.errors().toStdString();
        EXPECT_EQ(share.names(), before) << each.name;
    }
}

TEST(Refresh, ReportsTheHolderAndKeepsTheLockFile)
{
    Share const share;
    QString const file = share.write(job, goldenFile("small.oxdb"));
    ToolRun holder(heldFor(file, "60"));
    ASSERT_TRUE(holder.waitForOutput("ready"));
    QByteArray const lock = contentOf(file + QLatin1String("_lock.txt"));
    ToolRun run(refresh(
        file, {QStringLiteral("--timeout"), QStringLiteral("500"), QStringLiteral("--json")}));
    EXPECT_EQ(run.status(), 1);
    EXPECT_FALSE(run.json().value(QStringLiteral("ok")).toBool(true));
    QString const error = run.json().value(QStringLiteral("error")).toString();
    EXPECT_TRUE(error.contains(QLatin1String("within 500 ms: locked by "))) << error.toStdString();
    EXPECT_TRUE(error.contains(QLatin1String(" oxtool "))) << error.toStdString();
    EXPECT_TRUE(error.contains(QLatin1String(" since 20"))) << error.toStdString();
    EXPECT_EQ(contentOf(file + QLatin1String("_lock.txt")), lock);
}

TEST(Refresh, LeavesNoFileWhenTheOutputCannotBeWritten)
{
    Share const share;
    QString const file = share.write(job, goldenFile("small.oxdb"));
    QDir().mkdir(share.path(QStringLiteral("folder")));
    QStringList const before = share.names();
    struct Case {
        QString out;
        char const * text;
    };
    for (Case const & each : {
             Case{share.path(QStringLiteral("folder")), ": not a regular file"},
             Case{QStringLiteral("/dev/null"), ": not a regular file"},
             Case{share.path(QStringLiteral("no/folder")), ": No such file or directory"},
         }) {
        ToolRun run(refresh(file, {QStringLiteral("--out"), each.out}));
        EXPECT_EQ(run.status(), 1);
        EXPECT_TRUE(run.errors().contains(QLatin1String(each.text))) << run.errors().toStdString();
        EXPECT_EQ(share.names(), before);
    }
}

TEST(Refresh, LeavesNoFileWhenStoppedWhileLoadingOrWriting)
{
    Share const share;
    QString const file = share.writeSparse(job, qint64(700) << 20);
    QString const packed = share.path(QStringLiteral("packed"));
    {
        // A file with a valid CRC, so that the command reaches the output.
        Share const source;
        source.writeSparse(QStringLiteral("raw"), qint64(200) << 20);
        ASSERT_EQ(
            ToolRun({QStringLiteral("pack"), source.path(QStringLiteral("raw")), packed}).status(),
            0);
    }
    struct Case {
        QString file;
        char const * step;
        char const * signal;
        int status;
    };
    for (Case const & each :
         {Case{file, "file ", "INT", 130}, Case{file, "file ", "TERM", 143},
          Case{packed, "release ", "INT", 130}, Case{packed, "release ", "TERM", 143}}) {
        ToolRun run(
            refresh(each.file, {QStringLiteral("--out"), share.path(QStringLiteral("payload"))}));
        ASSERT_TRUE(run.waitForOutput(each.step));
        run.send(each.signal);
        EXPECT_EQ(run.status(), each.status) << each.step;
        EXPECT_EQ(share.names(), (QStringList{job, QStringLiteral("packed")})) << each.step;
    }
}

TEST(Refresh, KeepsTheHoldersLockWhenStoppedWhileWaiting)
{
    Share const share;
    QString const file = share.write(job, goldenFile("small.oxdb"));
    ToolRun holder(heldFor(file, "60"));
    ASSERT_TRUE(holder.waitForOutput("ready"));
    QStringList const before = share.names();
    struct Case {
        char const * signal;
        int status;
    };
    for (Case const & each : {Case{"INT", 130}, Case{"TERM", 143}}) {
        ToolRun run(refresh(file, {QStringLiteral("--timeout"), QStringLiteral("60000")}));
        ASSERT_TRUE(run.waitForOutput("path "));
        run.send(each.signal);
        EXPECT_EQ(run.status(), each.status);
        EXPECT_EQ(share.names(), before);
    }
    holder.send("TERM");
    EXPECT_EQ(holder.status(), 143);
    EXPECT_EQ(share.names(), QStringList{job});
}
