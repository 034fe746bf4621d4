#include "tests/support/file_content.h"
#include "tests/support/golden.h"
#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

using namespace ox::tests;

namespace
{

class Refresh : public testing::Test
{
  protected:
    Share const share;
    QString const file = share.write(u"job17.oxdb"_q, goldenFile("text.oxdb"));
};

} // namespace

TEST_F(Refresh, MapsTheStoredPathAndShowsEachStep)
{
    ToolRun run("refresh \\\\farm\\share\\job17.oxdb --map \\\\farm\\share=%1 --out %1payload",
                {share.path()});
    EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
    int position = 0;
    for (char const * step : {"stored ", "path ", "lock ", "file ", "load ", "release ", "out "}) {
        auto const found = run.output().indexOf(text(step), position);
        EXPECT_GE(found, position) << step;
        position = static_cast<int>(found);
    }
    EXPECT_EQ(contentOf(share.path(u"payload"_q)), goldenFile("text.raw"));
    EXPECT_EQ(share.names(), words("job17.oxdb payload"));
}

TEST_F(Refresh, MapsTheLongestMatchingRoot)
{
    // Pairs of a stored path and the expected local path. The local path is relative to the share,
    // or empty if no mapping applies.
    for (auto const & [stored, local] :
         {std::pair("\\\\farm\\share\\jobs\\a", "share/jobs/a"),
          std::pair("//FARM/Share/jobs/a", "share/jobs/a"), std::pair("\\\\farm\\share2\\a", ""),
          std::pair("\\\\farm\\share\\fast\\a", "fast/a"),
          std::pair("\\\\farm\\share\\fastest\\a", "share/fastest/a"),
          std::pair("p:\\a", "drive/a"), std::pair("/vol/farm/a", "vol/a"),
          std::pair("/Vol/farm/a", "")}) {
        ToolRun run("refresh %2 --json --map \\\\Farm\\Share\\=%1share/ --map "
                    "//farm/share/fast=%1fast --map P:\\=%1drive --map /vol/farm/=%1vol",
                    {share.path(), text(stored)});
        EXPECT_EQ(run.json().value(u"localPath"_q).toString(),
                  *local ? share.path(text(local)) : text(stored).replace(u'\\', u'/'));
    }
}

TEST_F(Refresh, SharesItsMappingsWithAllCommands)
{
    Share const config;
    QDir().mkpath(config.path(u"oxtool"_q));
    config.write(u"oxtool/oxtool.conf"_q,
                 "# comment\nmap = \\\\farm\\conf=/conf\nmap = P:\\=/other\n");
    auto const run = [&](char const * command) {
        return toolShell().printed((std::string("export XDG_CONFIG_HOME=\"$1\" OXTOOL_MAP='P:\\=/p:"
                                                "\\\\farm\\env=/env:'\"$2\"; \"$0\" ") +
                                    command + " 2>&1; echo $?")
                                       .c_str(),
                                   {config.path(), u"//vol="_q + share.path()});
    };
    for (auto const & [stored, local] :
         {std::pair("'\\\\farm\\env\\a'", "/env/a"), std::pair("'p:\\a'", "/p/a"),
          std::pair("'\\\\FARM\\conf\\a'", "/conf/a"), std::pair("'a\\b'", "a\\b"),
          std::pair("'\\\\farm\\x'", "//farm/x"),
          std::pair("--map '\\\\farm\\env=/first' '\\\\farm\\env\\a'", "/first/a")}) {
        QString const shown = run((std::string("path ") + stored).c_str());
        EXPECT_TRUE(shown.contains(u"path             "_q + text(local) + u'\n'))
            << shown.toStdString();
    }
    EXPECT_TRUE(run("crc '\\\\vol\\job17.oxdb'").endsWith(u"job17.oxdb\n0\n"_q));
    config.write(u"oxtool/oxtool.conf"_q, "map = x\n");
    for (char const * command : {"ls .", "--json ls .", "path --json", "follow --json --to b a"}) {
        QString const shown = run(command);
        EXPECT_TRUE(shown.contains(u"oxtool.conf, line 1: "_q) && shown.endsWith(u"\n2\n"_q))
            << shown.toStdString();
        EXPECT_EQ(shown.contains(u"\"error\": "_q), text(command) != u"ls ."_q) << command;
    }
}

TEST_F(Refresh, ReportsTheReasonAndChangesNothing)
{
    QByteArray wrongSize = goldenFile("text.oxns");
    wrongSize[12] = static_cast<char>(wrongSize[12] + 1); // changes sizeUncompressed
    share.write(u"wrongSize"_q, wrongSize);
    share.write(u"truncated"_q, goldenFile("text.oxdb").chopped(1));
    share.write(u"magic"_q, "oxDC" + goldenFile("text.oxdb").mid(4));
    share.writeSparse(u"large"_q, (qint64(768) << 20) + 1);
    QDir().mkdir(share.path(u"folder"_q));
    QFile::link(u"loop"_q, share.path(u"loop"_q));
    QStringList const before = share.names();
    for (auto const & [line, status, reason] : {
             std::tuple("refresh %1truncated --out %1payload", 3, "CRC Error, data corrupt!"),
             std::tuple("refresh %1magic --out %1payload", 3, "Wrong File Header"),
             std::tuple("refresh %1wrongSize --out %1payload", 3,
                        "Decompression error, wrong result size"),
             std::tuple("refresh %1missing", 5, "/missing': No such file or directory"),
             std::tuple("refresh %1no/folder", 5, "/no': No such file or directory"),
             std::tuple("refresh %1folder", 1, "/folder': Is a directory"),
             std::tuple("refresh %1loop", 1, "/loop': Too many levels of symbolic links"),
             std::tuple("refresh %1large", 1, "Unable to allocate memory"),
             std::tuple("refresh %1job17.oxdb --out %1folder", 1, ": not a regular file"),
             std::tuple("refresh %1job17.oxdb --out /dev/null", 1, ": not a regular file"),
             std::tuple("refresh %1job17.oxdb --out %1no/folder", 1, ": No such file or directory"),
         }) {
        expectError(line, {share.path()}, status, text(reason));
        EXPECT_EQ(share.names(), before) << line;
    }
}

TEST_F(Refresh, LeavesNoFileWhenStoppedWhileLoadingOrWriting)
{
    share.writeSparse(u"large"_q, qint64(700) << 20);
    share.writeSparse(u"raw"_q, qint64(200) << 20);
    // The file "valid" has a valid CRC, so the command starts to write the output.
    ASSERT_EQ(ToolRun("pack %1raw %1valid", {share.path()}).status(), 0);
    QStringList const before = share.names();
    for (auto const & [name, step] :
         {std::pair("large", "file "), std::pair("valid", "release ")}) {
        for (auto const & [signal, status] : {std::pair("INT", 130), std::pair("TERM", 143)}) {
            ToolRun run("refresh %1 --out %2", {share.path(text(name)), share.path(u"payload"_q)});
            ASSERT_TRUE(run.waitForOutput(step));
            run.send(signal);
            EXPECT_EQ(run.status(), status) << step;
            EXPECT_EQ(share.names(), before) << step;
        }
    }
}

TEST_F(Refresh, ReportsTheHolderAndKeepsItsLock)
{
    ToolRun holder(words("lock %1 -- sh -c", {file}) << u"echo ready; exec sleep 60"_q);
    ASSERT_TRUE(holder.waitForOutput("ready"));
    QByteArray const lock = contentOf(file + u"_lock.txt"_q);
    ToolRun late("refresh %1 --timeout 500 --json", {file});
    EXPECT_EQ(late.status(), 4);
    EXPECT_FALSE(late.json().value(u"ok"_q).toBool(true));
    QString const error = late.json().value(u"error"_q).toString();
    for (char const * part : {"within 500 ms: locked by ", " oxtool ", " since 20"})
        EXPECT_TRUE(error.contains(text(part))) << error.toStdString();
    ToolRun stopped("refresh %1 --timeout 60000", {file});
    ASSERT_TRUE(stopped.waitForOutput("path "));
    stopped.send("INT");
    EXPECT_EQ(stopped.status(), 130);
    EXPECT_EQ(contentOf(file + u"_lock.txt"_q), lock);
}
