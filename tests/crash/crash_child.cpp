// The program that crashes: crash_child LOG_FILE DUMP_FOLDER WORD…
// Each WORD is an action, such as "dump", or a kind of crash, such as "null". The program performs
// the words in order. The DUMP_FOLDER "default" selects the folder that init() sets. If no word
// causes a crash, the exit code is 0.

#include "oxtool/support/crash_kinds.h"
#include "shared/crash/crash_handler.h"
#include "shared/system/environment.h"
#include "tests/crash/crash_child_system.h"

#include <QString>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <latch>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace
{

/// Logs to a file without buffering, so that no line is lost in a crash.
class FileLogger : public oxLogger
{
  public:
    explicit FileLogger(char const * file) : file_(std::fopen(file, "wb"))
    {
        std::setvbuf(file_, nullptr, _IONBF, 0);
    }

    void log(int level, _oxString8_evenSize<500> const & text, bool flag) override
    {
        if (fault_)
            fault_();
        if (level == 2 && flag) {
            std::fwrite(text.value, 1, text.length, file_);
            std::fwrite("\n", 1, 1, file_);
        }
    }
    /// Selects the fault that the logger causes before it writes a line. Returns false for an
    /// unknown word.
    bool doWord(char const * word);

  private:
    std::FILE * file_;
    void (*fault_)() = nullptr;
};

bool isWord(char const * word, char const * expected)
{
    return std::strcmp(word, expected) == 0;
}

bool FileLogger::doWord(char const * word)
{
    static constexpr std::pair<char const *, void (*)()> faults[] = {
        {"failing-logger", [] { throw std::runtime_error("no log"); }},
        {"slow-logger", [] { oxSleep(500); }},
        {"hanging-logger", [] { oxSleep(3600000); }},
        {"aborting-logger", [] { std::abort(); }},
        {"crashing-logger", [] { ox::tool::crash("null"); }},
    };
    auto const fault = std::find_if(std::begin(faults), std::end(faults),
                                    [&](auto const & each) { return isWord(word, each.first); });
    if (fault == std::end(faults))
        return false;
    fault_ = fault->second;
    return true;
}

/// Makes 40 threads crash at the same moment. Each thread crashes in one of the given ways.
void crashTogether(std::initializer_list<char const *> kinds)
{
    constexpr std::ptrdiff_t count = 40;
    static std::latch start(count);
    std::vector<std::thread> threads;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        char const * const kind = std::data(kinds)[static_cast<std::size_t>(i) % kinds.size()];
        threads.emplace_back([kind] {
            start.arrive_and_wait();
            ox::tool::crash(kind);
        });
    }
    for (std::thread & thread : threads)
        thread.join();
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
        else if (isWord(word, "no-logger"))
            context.logger = nullptr;
        else if (isWord(word, "logger"))
            context.logger = &logger;
        else if (isWord(word, "crowd"))
            crashTogether({"null"});
        else if (isWord(word, "mixed-crowd"))
            crashTogether({"null", "abort", "divide", "illegal"});
        else if (!logger.doWord(word) && !doSystemWord(word))
            ox::tool::crash(word);
    }
    return 0;
}
