#include "tests/support/file_content.h"
#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

using namespace ox::tests;

namespace
{

/// A test with a folder that contains the source "a". Some tests add an existing target "b".
class Copying : public testing::Test
{
  protected:
    /// Runs a shell script in the folder. $0 is the program. Returns the lines of standard output
    /// and standard error.
    QStringList shell(char const * script) const
    {
        QString const printed = toolShell(share.path()).printed(QByteArray("set -e\n") + script);
        return printed.split(u'\n', Qt::SkipEmptyParts);
    }

    bool works(char const * command) const { return toolShell(share.path()).succeeds(command); }

    /// Returns whether the temporary file of an unfinished copy contains at least the first piece.
    bool isHalfCopied() const
    {
        for (QString const & name : share.names()) {
            if (name.startsWith(u'.') && QFileInfo(share.path(name)).size() >= piece.size())
                return true;
        }
        return false;
    }

    Share const share;
    QByteArray const piece = QByteArray(1024 * 1024, 'x');
    QString const from = share.write(u"a"_q, piece + piece + "end");
    QString const to = share.path(u"b"_q);
};

} // namespace

TEST_F(Copying, CopiesContentAndTimeAlsoIntoAFolder)
{
    EXPECT_EQ(shell(R"(touch -d @1500000000 a; mkdir folder; echo old >b; ln -s b link
                       "$0" cp a link; "$0" cp --pause 0 a folder; "$0" cp --keep folder/a b
                       cmp a b; cmp a folder/a; stat -c %Y b folder/a)"),
              (QStringList{u"copied           link, 2097155 bytes (2.0 MiB)"_q,
                           u"copied           folder/a, 2097155 bytes (2.0 MiB)"_q,
                           u"skipped          b, 2097155 bytes (2.0 MiB)"_q, u"1500000000"_q,
                           u"1500000000"_q}));
    share.write(u"a"_q, QByteArray(10, '\0'));
    EXPECT_EQ(ToolRun("cp %1 %2 --pause 1 --json", {from, to}).json().value(u"endsEmpty"_q), true);
}

TEST_F(Copying, CopiesSeveralFilesIntoAFolder)
{
    EXPECT_EQ(
        shell(R"(mkdir out other; echo 1 >b; echo 2 >other/a
                       ! "$0" cp a b none other/a out; cat out/b; "$0" cp a b; ! "$0" cp a)"),
        (QStringList{u"copied           out/a, 2097155 bytes (2.0 MiB)"_q,
                     u"copied           out/b, 2 bytes"_q,
                     text("oxtool: cannot copy 'none' to 'out/none' (target not created): "
                          "No such file or directory"),
                     text("oxtool: cannot copy 'other/a' to 'out/a': another source has the same "
                          "name"),
                     u"1"_q, u"copied           b, 2097155 bytes (2.0 MiB)"_q,
                     u"oxtool: missing target file or folder"_q}));
    expectError("cp %1 %1 %2", {from, to}, 1, u"cannot copy several files to "_q);
}

TEST_F(Copying, ShowsProgressOnATerminal)
{
    if (!hasTerminals())
        GTEST_SKIP() << "the program script, which creates a pseudo-terminal, is not available";
    QString const shown = shell("script -qec \"'$0' cp a b --pause 600\" /dev/null").join(u'\n');
    EXPECT_TRUE(shown.contains(u" %, 1.0 of 2.0 MiB, "_q)) << shown.toStdString();
}

TEST_F(Copying, ReportsTheStateOfTheTargetWhenStopped)
{
    for (char const * const state : {"was not created", "is unchanged"}) {
        ToolRun run("cp %1 %2 --pause 100000", {from, to});
        EXPECT_TRUE(run.waitUntil([this] { return isHalfCopied(); }));
        run.send("INT");
        EXPECT_EQ(run.status(), 130);
        EXPECT_EQ(run.errors(), u"oxtool: stopped; the target %1: '%2'\n"_q.arg(text(state), to));
        EXPECT_EQ(share.names().join(u' '), *state == 'w' ? u"a"_q : u"a b"_q);
        share.write(u"b"_q, "old");
    }
    EXPECT_EQ(contentOf(to), "old");
}

TEST_F(Copying, FailsIfTheSourceShrinksDuringTheCopy)
{
    ToolRun run("cp %1 %2 --pause 3000", {from, to});
    EXPECT_TRUE(run.waitUntil([this] { return isHalfCopied(); }));
    QFile::resize(from, 100);
    EXPECT_EQ(run.status(), 1);
    EXPECT_TRUE(run.errors().contains(u"The copy had 1048576 of 2097155 bytes."_q));
    EXPECT_EQ(share.names(), words("a"));
}

TEST_F(Copying, KeepsTheModeOfThePreviousFile)
{
    EXPECT_EQ(shell(R"sh(echo content >in; "$0" pack in packed >/dev/null
                         set -- cp.in.b "cp.--pause.0.in.b" pack.in.b unpack.packed.--out.b \
                                refresh.packed.--out.b
                         for command; do
                             echo old >b; chmod 640 b
                             (IFS=.; "$0" $command >/dev/null); stat -c %a b
                         done)sh"),
              (QStringList{u"640"_q, u"640"_q, u"640"_q, u"640"_q, u"640"_q}));
}

TEST_F(Copying, RemovesTemporaryFilesOfKilledProcessesOnly)
{
    QStringList const slowly = words("cp %1 %2 --pause 100000", {from, to});
    ToolRun killed(slowly);
    EXPECT_TRUE(killed.waitUntil([this] { return isHalfCopied(); }));
    killed.send("KILL");
    EXPECT_EQ(killed.status(), 128 + 9);
    EXPECT_EQ(share.names().size(), 2);
    ToolRun running(slowly);
    EXPECT_TRUE(running.waitUntil([this, first = share.names()] {
        QStringList const names = share.names();
        return names.size() == 2 && names != first && isHalfCopied();
    }));
    ToolRun other("cp %1 %2", {from, share.path(u"c"_q)});
    EXPECT_EQ(other.status(), 0);
    EXPECT_EQ(share.names().size(), 3); // the source, the other copy, the temporary file
    running.send("INT");
    EXPECT_EQ(running.status(), 130);
    EXPECT_EQ(share.names(), (QStringList{u"a"_q, u"c"_q}));
}

TEST_F(Copying, RefusesLinksOfOtherUsersAsRoot)
{
    if (!works("test $(id -u) = 0 && ln -s b link && chown -h 65534 link"))
        GTEST_SKIP() << "only root can create a link of another user";
    EXPECT_EQ(
        shell(R"sh(echo 1 >b; echo 12 >log; ! "$0" cp a link; ! "$0" resume log link; cat b
                         chown -h 0 link; "$0" resume log link; cat b)sh"),
        (QStringList{u"oxtool: cannot write 'link': Permission denied"_q,
                     text("oxtool: cannot append to 'link' (2 of 3 bytes copied): "
                          "Cannot open dest. file;Permission denied"),
                     u"1"_q, u"appended         1 bytes to link, size now 3 bytes"_q, u"1"_q}));
}

TEST_F(Copying, AppendsTheNewDataOfTheSource)
{
    EXPECT_EQ(shell(R"sh(echo 12345 >log; echo a longer one >b
                       "$0" resume log b; echo 678 >>log; "$0" resume log b; cmp log b
                       cat a >>log; ulimit -f 1; trap "" XFSZ; ! "$0" resume log b)sh"),
              (QStringList{u"copied           6 bytes to b, size now 6 bytes"_q,
                           u"appended         4 bytes to b, size now 10 bytes"_q,
                           text("oxtool: cannot append to 'b' (512 of 2097165 bytes copied): "
                                "Unable to write data")}));
}

TEST(Follow, CopiesAppendedDataAndRestartedFiles)
{
    Share const share;
    QString const log = share.write(u"log"_q, "one\n");
    QString const copy = share.path(u"copy"_q);
    ToolRun run("follow %1 --to %2 --interval 10", {log, copy});
    QByteArray const longLine(10000, 'x');
    for (QByteArray const & content :
         {QByteArray("one\n"), "one\ntwo\n" + longLine, QByteArray("anew\n"),
          "replaced by a longer file\n" + longLine + longLine}) {
        share.write(u"next"_q, content);
        EXPECT_EQ(std::rename(qPrintable(share.path(u"next"_q)), qPrintable(log)), 0);
        ASSERT_TRUE(run.waitUntil([&] { return contentOf(copy) == content; }));
    }
    run.send("INT");
    EXPECT_EQ(run.status(), 130);
    EXPECT_TRUE(run.errors().endsWith(u"copy' has 20026 bytes\n"_q)) << run.errors().toStdString();
    EXPECT_EQ(run.errors().count(u"was truncated or replaced"_q), 2);

    QFile grown(log);
    ASSERT_TRUE(grown.open(QIODevice::Append) && grown.write("end") == 3);
    grown.close();
    ToolRun again("follow %1 --to %2 --interval 10 --idle 100 --json", {log, copy});
    EXPECT_EQ(again.json().value(u"added"_q), 3);
    EXPECT_EQ(contentOf(copy), contentOf(log));
    grown.remove();
    share.write(u"log"_q, "anew");
    ToolRun resumed("resume %1 %2 --follow --interval 10 --idle 100 --json", {log, copy});
    EXPECT_TRUE(resumed.json().value(u"ok"_q).toBool());
    EXPECT_EQ(contentOf(copy), "anew");
    ToolRun all("follow %1 --all --interval 10 --idle 20", {log});
    EXPECT_EQ(all.status(), 0);
    EXPECT_EQ(all.output().toUtf8(), contentOf(log));
}
