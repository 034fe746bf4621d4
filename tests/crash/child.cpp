// The program that crashes: child LOG_FILE DUMP_FOLDER WORD…
// The dump folder "default" leaves it as init sets it. Each word does one thing or is a kind of
// crash. The exit code is 0 when there was none.

#include "oxtool/crash_kinds.h"
#include "shared/crash/crash_handler.h"
#include "shared/system/environment.h"
#include "tests/crash/child_system.h"

#include <QString>

#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace
{

/// Writes to a file that is open beforehand, without a buffer.
class FileLogger : public oxLogger
{
  public:
    explicit FileLogger(char const * file) : file_(std::fopen(file, "wb"))
    {
        std::setvbuf(file_, nullptr, _IONBF, 0);
    }

    void log(int level, _oxString8_evenSize<500> const & text, bool flag) override
    {
        if (fails_)
            throw std::runtime_error("no log");
        if (isSlow_)
            oxSleep(500);
        if (level == 2 && flag) {
            std::fwrite(text.value, 1, text.length, file_);
            std::fwrite("\n", 1, 1, file_);
        }
    }
    void fail() { fails_ = true; }
    void beSlow() { isSlow_ = true; }

  private:
    std::FILE * file_;
    bool fails_ = false;
    bool isSlow_ = false;
};

bool isWord(char const * word, char const * expected)
{
    return std::strcmp(word, expected) == 0;
}

void print(bool result)
{
    std::puts(result ? "true" : "false");
    std::fflush(stdout);
}

} // namespace

int main(int argc, char ** argv)
{
    if (argc < 4)
        return 2;
    if (isWord(argv[3], "earlier-handler"))
        installEarlierHandler();
    static FileLogger logger(argv[1]);
    static __OX context{_oxTime(1'794'000'000, true), &logger, argv[2], argv[1]};
    oxCrashHandler & handler = *oxCrashHandler::instance();
    handler.init(context, argc, argv);
    if (!isWord(argv[2], "default"))
        handler.setDumpPathDefault();
    for (int i = 3; i < argc; ++i) {
        char const * const word = argv[i];
        if (isWord(word, "dump"))
            print(handler.writeMinidump());
        else if (isWord(word, "dump-for-exception"))
            print(dumpForException());
        else if (isWord(word, "init"))
            handler.init(context, argc, argv);
        else if (isWord(word, "too-long-folder"))
            handler.setDumpPath(QString(2000, u'x'));
        else if (isWord(word, "to-system"))
            handler.setReportCrashesToSystem(true);
        else if (isWord(word, "failing-logger"))
            logger.fail();
        else if (isWord(word, "slow-logger"))
            logger.beSlow();
        else if (isWord(word, "no-logger"))
            context.logger = nullptr;
        else if (isWord(word, "logger"))
            context.logger = &logger;
        else if (!doSystemWord(word))
            ox::tool::crash(word);
    }
    return 0;
}
