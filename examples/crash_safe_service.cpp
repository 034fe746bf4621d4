// A service that writes a dump when it crashes. When it is started again, it continues after the
// last rendered frame:
//   crash_safe_service FOLDER [crash]     renders three frames; with "crash" it then crashes
// FOLDER contains the log, the dumps and the state. The state file is complete at any moment: the
// service writes a new file and then renames it to the name of the previous file.

#include "shared/oxshared.h"

#include <cstdio>
#include <cstring>

namespace
{

/// A logger that works after a crash: its file is already open and has no buffer.
class Log final : public oxLogger
{
  public:
    bool open(QString const & path)
    {
        file_ = std::fopen(path.toLocal8Bit().constData(), "a");
        return file_ != nullptr && std::setvbuf(file_, nullptr, _IONBF, 0) == 0;
    }
    void log(int level, _oxString8_evenSize<500> const & text, bool) override
    {
        std::fprintf(file_, "%d %s\n", level, text.c_str());
    }

  private:
    std::FILE * file_ = nullptr;
};

struct State {
    int starts = 0;
    int frames = 0;
};

/// Returns the stored state, or an empty state if there is none.
State load(QString const & path)
{
    State state;
    _OX_DataBuffer buffer;
    if (buffer.loadFromFile(path, true) && buffer.size == sizeof state)
        buffer.copyToBuffer(reinterpret_cast<char *>(&state), sizeof state);
    return state;
}

bool save(QString const & path, State state)
{
    QString const newPath = path + QStringLiteral(".new");
    _OX_DataBuffer buffer;
    return buffer.append(reinterpret_cast<char *>(&state), sizeof state) &&
           buffer.saveToFile(newPath, true) && oxRenameFile(newPath, path, true);
}

} // namespace

int main(int argc, char ** argv)
{
    if (argc < 2) {
        std::fputs("usage: crash_safe_service FOLDER [crash]\n", stderr);
        return 2;
    }
    QString const folder = QString::fromLocal8Bit(argv[1]) + QLatin1Char('/');
    // Static, since the crash handler uses the logger and the context until the process ends.
    static Log log;
    static __OX context;
    if (!log.open(folder + QStringLiteral("service.txt"))) {
        std::fputs("the log cannot be opened\n", stderr);
        return 1;
    }
    context = __OX{_oxTime(true), &log, argv[1], "service.txt"};
    oxCrashHandler::instance()->init(context, argc, argv);
    oxCrashHandler::instance()->setDumpPathDefault();

    QString const path = folder + QStringLiteral("service.oxdb");
    State state = load(path);
    std::printf("start %d, continues after frame %d\n", ++state.starts, state.frames);
    std::fflush(stdout);
    for (int frame = 0; frame < 3; ++frame) {
        ++state.frames; // A real service renders the frame here.
        if (!save(path, state)) {
            std::fputs("the state cannot be saved\n", stderr);
            return 1;
        }
    }
    if (argc > 2 && std::strcmp(argv[2], "crash") == 0)
        *static_cast<int volatile *>(nullptr) = 1;
    return 0;
}
