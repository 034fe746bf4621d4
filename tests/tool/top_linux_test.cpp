#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QProcess>

using namespace ox::tests;

namespace
{

/// Runs a shell script on a pseudo-terminal. The variable $TOOL is the program.
class OnTerminal
{
  public:
    explicit OnTerminal(QByteArray const & commands)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"SHELL"_q, u"/bin/sh"_q);
        environment.insert(u"TOOL"_q, QStringLiteral(OX_TOOL));
        environment.insert(u"TERM"_q, u"xterm"_q);
        process_.setProcessEnvironment(environment);
        process_.start(u"script"_q, {u"-qec"_q, QString::fromLatin1(commands), u"/dev/null"_q});
    }
    ~OnTerminal()
    {
        process_.kill();
        process_.waitForFinished();
    }

    bool waitFor(char const * text)
    {
        while (!shown_.contains(text) && process_.waitForReadyRead(10000))
            shown_ += process_.readAll();
        shown_ += process_.readAll();
        return shown_.contains(text);
    }
    bool waitForNew(char const * text, QByteArray::size_type from)
    {
        while (!shown_.mid(from).contains(text) && process_.waitForReadyRead(10000))
            shown_ += process_.readAll();
        return shown_.mid(from).contains(text);
    }
    void press(char key)
    {
        process_.write(&key, 1);
        process_.waitForBytesWritten();
    }
    QByteArray const & shown() const { return shown_; }

  private:
    QProcess process_;
    QByteArray shown_;
};

} // namespace

TEST(TopOnTerminal, IsDrawnInPlaceAndRestoresTheTerminal)
{
    if (!hasTerminals())
        GTEST_SKIP() << "the program script, which creates a pseudo-terminal, is not available";
    struct {
        char const * run;
        char key;
        char const * status;
    } const ends[] = {
        {R"("$TOOL" top --interval 100)", 'q', "status 0"},
        {R"("$TOOL" top --interval 86400000)", 'Q', "status 0"},
        {R"("$TOOL" top)", '\x03', "status 130"},
        {R"("$TOOL" top --interval 50 --count 2)", 'x', "status 0"},
    };
    for (auto const & [run, key, status] : ends) {
        OnTerminal terminal(QByteArray("export NO_COLOR=1; trap : INT; stty rows 10 columns 60; "
                                       "before=$(stty -g); ") +
                            run +
                            R"(; echo status $?; test $before = $(stty -g) && echo restored)");
        EXPECT_TRUE(terminal.waitFor("q: quit")) << run << terminal.shown().data();
        terminal.press(key);
        EXPECT_TRUE(terminal.waitFor("restored")) << run << terminal.shown().data();
        QByteArray const shown = terminal.shown();
        EXPECT_TRUE(shown.contains(status)) << run << shown.data();
        auto const begin = shown.indexOf("\033[?1049h\033[?25l");
        auto const end = shown.indexOf("\033[?25h\033[?1049l");
        EXPECT_TRUE(begin >= 0 && begin < end && end < shown.indexOf("status"))
            << run << shown.data();
        // No report exceeds the terminal's rows or columns, so nothing scrolls.
        QByteArray const view = shown.mid(begin, shown.indexOf("\033[J", begin) - begin);
        EXPECT_EQ(view.count('\n'), 9) << view.data();
        for (QByteArray const & line : view.mid(view.indexOf("\033[H") + 3).split('\n'))
            EXPECT_LE(line.indexOf("\033[K"), 60) << line.data();
        EXPECT_LT(view.indexOf("NAME"), view.indexOf("USER")) << view.data();
    }
}

TEST(TopOnTerminal, SortsAndScrollsByKeys)
{
    if (!hasTerminals())
        GTEST_SKIP() << "the program script, which creates a pseudo-terminal, is not available";
    OnTerminal terminal("stty rows 8 columns 90; for i in 1 2 3 4 5 6; do sleep 60 & done; "
                        "\"$TOOL\" top --interval 1d; kill $(jobs -p); echo ended");
    ASSERT_TRUE(terminal.waitFor("q: quit")) << terminal.shown().data();
    EXPECT_TRUE(terminal.shown().contains("\033[1m    PID")) << terminal.shown().data();
    QByteArray seen;
    for (char const * const keys : {"i", "\033[B", "j", "\033[6~", "k", "c"}) {
        auto const before = terminal.shown().size();
        for (char const * key = keys; *key; ++key)
            terminal.press(*key);
        ASSERT_TRUE(terminal.waitForNew("q: quit", before)) << keys;
        QByteArray const frame = terminal.shown().mid(before);
        EXPECT_NE(frame, seen) << keys << frame.data();
        seen = frame;
    }
    terminal.press('q');
    EXPECT_TRUE(terminal.waitFor("ended"));
}

TEST(TopInPipe, EndsWhenItsReaderEnds)
{
    EXPECT_TRUE(
        runProgram(u"sh"_q, {u"-c"_q, u"'%1' top --interval 50 | head -n 1"_q.arg(text(OX_TOOL))})
            .hasEnded);
}
