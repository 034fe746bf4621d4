#include "tests/support/file_content.h"
#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>

using namespace ox::tests;

namespace
{

QString const ini = QStringLiteral("farm.ini");

QStringList replace(QString const & file, char const * search, char const * replacement,
                    QStringList const & more = {})
{
    return QStringList{QStringLiteral("replace"), file, QString::fromUtf8(search),
                       QString::fromUtf8(replacement)} +
           more;
}

} // namespace

TEST(Replace, IgnoresLetterCaseAndReportsTheNumberOfMatches)
{
    Share const share;
    QString const file = share.write(ini, "Server=Łódź\nbackup=łódź server\n");
    ToolRun run(replace(file, "server", "srv"));
    EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
    EXPECT_EQ(run.output(), QStringLiteral("matches          2 in %1\n"
                                           "written          31 bytes\n")
                                .arg(file));
    EXPECT_EQ(contentOf(file), QByteArray("srv=Łódź\nbackup=łódź srv\n"));

    ToolRun json(replace(file, "ódź", "", {QStringLiteral("--json")}));
    EXPECT_EQ(json.json().value(QStringLiteral("found")).toInt(), 2);
    EXPECT_EQ(json.json().value(QStringLiteral("size")).toInt(), 21);
    EXPECT_EQ(contentOf(file), QByteArray("srv=Ł\nbackup=ł srv\n"));
    EXPECT_EQ(share.names(), QStringList{ini});
}

TEST(Replace, ReplacesInUtf16AndFailsForAMatchAtTheEnd)
{
    auto const utf16 = [](char const * text) {
        QString const content = QString::fromUtf8(text);
        return QByteArray(reinterpret_cast<char const *>(content.utf16()), 2 * content.size());
    };
    Share const share;
    QString const file = share.write(ini, utf16("\uFEFFNAME=Łódź;name"));
    ToolRun run(replace(file, "Name", "Büro", {QStringLiteral("--utf16")}));
    EXPECT_EQ(run.status(), 1);
    EXPECT_TRUE(run.errors().contains(QLatin1String("cannot replace the match at the end of '")));
    EXPECT_EQ(contentOf(file), utf16("\uFEFFBüro=Łódź;name"));
}

TEST(Replace, DistinguishesAMatchAtTheEndFromOverlappingBytes)
{
    struct {
        char const * content;
        char const * result;
        int status;
    } const cases[] = {{"xa Aa", "xa Aa", 1},
                       {"aa-aa", "ba-aa", 1},
                       {"aaa", "baa", 0},
                       {"aaaa", "baaa", 1},
                       {"aa aaa", "ba baa", 0}};
    for (auto const & each : cases) {
        Share const share;
        QString const file = share.write(ini, each.content);
        EXPECT_EQ(ToolRun(replace(file, "aa", "ba")).status(), each.status) << each.content;
        EXPECT_EQ(contentOf(file), each.result) << each.content;
    }
}

TEST(Replace, LeavesAFileWithoutAMatchUnchanged)
{
    Share const share;
    QString const file = share.write(ini, "server=a\n");
    QByteArray const before = toolShell().run("stat -c %i-%y \"$1\"", {file}).output;
    ToolRun run(replace(file, "client", "x"));
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(run.output(), QStringLiteral("matches          0 in %1\n").arg(file));
    EXPECT_EQ(toolShell().run("stat -c %i-%y \"$1\"", {file}).output, before);
}

TEST(Replace, KeepsPermissionsAndLinks)
{
    Share const share;
    QString const file = share.write(ini, "server=a\n");
    QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeGroup);
    QString const link = share.path(QStringLiteral("link"));
    QString const second = share.path(QStringLiteral("second"));
    ASSERT_TRUE(QFile::link(ini, link) && QFile::link(link, second));
    QByteArray const before = toolShell().run("stat -c %a-%u-%g \"$1\"", {file}).output;
    ToolRun run(replace(second, "server", "srv"));
    EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
    EXPECT_EQ(contentOf(file), "srv=a\n");
    EXPECT_EQ(toolShell().run("stat -c %a-%u-%g \"$1\"", {file}).output, before);
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    EXPECT_EQ(share.names().size(), 3);
}

TEST(Replace, ReportsTheReasonAndLeavesTheFileUnchanged)
{
    Share const share;
    QByteArray const content = "server=a\n";
    QString const file = share.write(ini, content);
    QString const large = share.writeSparse(QStringLiteral("large"), 512 << 20);
    QStringList const before = share.names();
    QByteArray const longText(501, 'x');
    struct {
        QStringList arguments;
        int status;
        char const * error;
    } const cases[] = {
        {replace(share.path(QStringLiteral("missing")), "a", "b"), 1,
         "missing': No such file or directory"},
        {replace(share.path(), "a", "b"), 1, ": not a regular file"},
        {replace(large, "a", "b"), 1, "it is larger than 512 MiB"},
        {replace(file, "", "b"), 2, "SEARCH is empty"},
        {replace(file, longText.constData(), ""), 2, "SEARCH is longer than 500 bytes"},
        {replace(file, "a", longText.constData()), 2, "REPLACEMENT is longer than 500 bytes"},
        {replace(file, longText.left(251).constData(), "", {QStringLiteral("--utf16")}), 2,
         "is longer than 250 characters"},
        {replace(file, "Łódź", "", {QStringLiteral("--utf16")}), 2, "Latin-1"},
    };
    for (auto const & each : cases) {
        ToolRun run(each.arguments);
        EXPECT_EQ(run.status(), each.status) << each.error;
        EXPECT_TRUE(run.errors().contains(QString::fromUtf8(each.error)))
            << run.errors().toStdString();
        EXPECT_EQ(contentOf(file), content);
        EXPECT_EQ(share.names(), before);
    }
}
