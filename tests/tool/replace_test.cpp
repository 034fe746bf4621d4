#include "tests/support/file_content.h"
#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>

using namespace ox::tests;

namespace
{

class Replace : public testing::Test
{
  protected:
    QByteArray status(char const * format) const
    {
        return toolShell().run(QByteArray("stat -c ") + format + " \"$1\"", {file}).output;
    }

    Share const share;
    QString const file = share.write(u"farm.ini"_q, "Server=Łódź\nbackup=łódź server\n");
};

} // namespace

TEST_F(Replace, IgnoresLetterCaseAndReportsTheNumberOfMatches)
{
    QByteArray const before = status("%i-%y");
    EXPECT_EQ(ToolRun("replace %1 client x --json", {file}).json().value(u"found"_q), 0);
    EXPECT_EQ(status("%i-%y"), before);
    ToolRun run("replace %1 server srv", {file});
    EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
    EXPECT_EQ(run.output(), u"matches          2 in %1\nwritten          31 bytes\n"_q.arg(file));
    ToolRun json(words("replace %1 %2", {file, u"ódź"_q}) << QString() << u"--json"_q);
    EXPECT_EQ(json.json().value(u"found"_q).toInt(), 2);
    EXPECT_EQ(json.json().value(u"size"_q).toInt(), 21);
    EXPECT_EQ(contentOf(file), QByteArray("srv=Ł\nbackup=ł srv\n"));
    EXPECT_EQ(share.names().size(), 1);
}

TEST_F(Replace, ShowsTheLinesOfADryRunAndKeepsBackups)
{
    QByteArray const before = contentOf(file);
    QStringList const files = {file, share.write(u"two"_q, "a server\nb\nServer server\n")};
    ToolRun dryRun("replace %1 server srv %2 --dry-run", files);
    EXPECT_EQ(dryRun.status(), 0) << dryRun.errors().toStdString();
    EXPECT_EQ(dryRun.output(),
              QStringLiteral("line 1           Server=Łódź\nline 2           backup=łódź server\n"
                             "matches          2 in %1\nline 1           a server\n"
                             "line 3           Server server\nmatches          3 in %2\n")
                  .arg(file, files[1]));
    EXPECT_EQ(contentOf(file), before);
    ToolRun run(words("replace %1 server srv %2 %1none --case-sensitive --backup --json", files));
    EXPECT_EQ(run.status(), 5);
    QJsonArray const results = run.json().value(u"files"_q).toArray();
    EXPECT_EQ(results[0].toObject().value(u"found"_q), 1);
    EXPECT_EQ(results[1].toObject().value(u"found"_q), 2);
    EXPECT_TRUE(results[2].toObject().contains(u"error"_q));
    EXPECT_EQ(contentOf(files[1]), "a srv\nb\nServer srv\n");
    EXPECT_EQ(contentOf(file + u"_old"_q), before);
    EXPECT_EQ(share.names(), words("farm.ini farm.ini_old two two_old"));
}

TEST_F(Replace, FailsForAMatchAtTheEndOnly)
{
    for (auto const & [content, result, status] :
         {std::tuple("xa Aa", "xa Aa", 1), std::tuple("aaa", "baa", 0),
          std::tuple("aaaa", "baaa", 1)}) {
        share.write(u"farm.ini"_q, content);
        EXPECT_EQ(ToolRun("replace %1 aa ba", {file}).status(), status) << content;
        EXPECT_EQ(contentOf(file), result) << content;
    }
    auto const utf16 = [](QString const & content) {
        return QByteArray(reinterpret_cast<char const *>(content.utf16()), 2 * content.size());
    };
    share.write(u"farm.ini"_q, utf16(u"\uFEFFNAME=Łódź;name"_q));
    expectError("replace %1 Name %2 --utf16", {file, u"Büro"_q}, 1,
                u"cannot replace the match at the end of '"_q);
    EXPECT_EQ(contentOf(file), utf16(u"\uFEFFBüro=Łódź;name"_q));
}

TEST_F(Replace, KeepsPermissionsAndLinks)
{
    QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeGroup);
    QString const link = share.path(u"link"_q);
    QString const second = share.path(u"second"_q);
    ASSERT_TRUE(QFile::link(u"farm.ini"_q, link) && QFile::link(link, second));
    QByteArray const before = status("%a-%u-%g");
    ToolRun run("replace %1 server srv", {second});
    EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
    EXPECT_TRUE(contentOf(file).startsWith("srv="));
    EXPECT_EQ(status("%a-%u-%g"), before);
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    EXPECT_EQ(share.names().size(), 3);
}

TEST_F(Replace, ReportsTheReasonAndLeavesTheFileUnchanged)
{
    QByteArray const content = contentOf(file);
    QString const large = share.writeSparse(u"large"_q, 512 << 20);
    QStringList const before = share.names();
    QString const tooLong(501, u'x');
    for (auto const & [line, status, error] : {
             std::tuple("replace %1none a b", 5, "none': No such file or directory"),
             std::tuple("replace %2 a b", 1, ": not a regular file"),
             std::tuple("replace %3 a b", 1, "it is larger than 512 MiB"),
             std::tuple("replace %1  b", 2, "SEARCH is empty"),
             std::tuple("replace %1 %4 b", 2, "SEARCH is longer than 500 bytes"),
             std::tuple("replace %1 a %4", 2, "REPLACEMENT is longer than 500 bytes"),
             std::tuple("replace %1 %5 b --utf16", 2, "is longer than 250 characters"),
             std::tuple("replace %1 %6 b --utf16", 2, "Latin-1"),
         }) {
        expectError(line, {file, share.path(), large, tooLong, tooLong.left(251), u"Łódź"_q},
                    status, text(error));
        EXPECT_EQ(contentOf(file), content);
        EXPECT_EQ(share.names(), before);
    }
}
