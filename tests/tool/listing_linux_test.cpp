#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

using namespace ox::tests;

TEST(ListingOnLinux, EscapesUnprintableCharactersInNames)
{
    Share const share;
    EXPECT_EQ(toolShell(share.path())
                  .printed(R"sh(d=$(printf 'd\351'); mkdir $d; : >$d/"$(printf 'a\nb\033[2J\351')"
                          "$0" ls $d | cut -c39-; "$0" ls $d --json | grep name
                          "$0" ls $d/none; "$0" empty $d; rm -r $d)sh"),
              text(R"(a\u000Ab\u001B[2J\uDCE9
            "name": "a\nb\u001b[2J\udce9",
oxtool: cannot list folder 'd\uDCE9/none': No such file or directory
deleted          d\uDCE9/a\u000Ab\u001B[2J\uDCE9
done             1 deleted, 0 bytes
)"));
}

TEST(ListingOnLinux, ReportsTheNumberOfDeletedFilesWhenStopped)
{
    Share const share;
    int const all = 4000;
    QString const longName(200, u'x');
    for (int i = 0; i < all; ++i)
        share.write(longName + QString::number(i), {});
    // The report is larger than the buffer of a pipe, so the program blocks while it prints the
    // report.
    ToolRun run("empty %1", {share.path()});
    EXPECT_TRUE(run.waitForOutput("deleted"));
    run.send("INT");
    EXPECT_EQ(run.status(), 130);
    auto const left = share.names().size();
    EXPECT_GT(left, 0);
    EXPECT_TRUE(run.errors().startsWith(u"oxtool: stopped: "_q));
    EXPECT_TRUE(run.errors().endsWith(u": %1 deleted, 0 bytes\n"_q.arg(all - left)))
        << run.errors().toStdString();
    EXPECT_EQ(run.output().count(u"deleted  "_q), all - left);
}
