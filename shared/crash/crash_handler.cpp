#include "shared/crash/crash_handler.h"

#include "shared/fs/path.h"
#include "shared/platform/clock.h"
#include "shared/platform/file_names.h"
#include "shared/platform/files.h"
#include "shared/platform/minidump_writer.h"
#include "shared/platform/this_process.h"
#include "shared/system/environment.h"
#include "shared/system/os_error.h"
#include "shared/text/native_path.h"
#include "shared/time/file_name_text.h"
#include "shared/time/local_zone.h"
#include "shared/version.h"

#include <algorithm>
#include <atomic>
#include <mutex>

// `onDump` and the functions that it calls run after a crash: they allocate no memory and take no
// locks.

namespace
{

using ox::platform::DumpReason;
using ox::platform::ErrorKind;
using ox::platform::MinidumpWriter;
using ox::platform::NameKind;
using ox::platform::NativeChar;
using ox::platform::NativeName;
using ox::platform::WrittenDump;
using LogText = _oxString8_evenSize<500>;
using Path8 = _oxString8_evenSize<500>;

std::mutex initMutex; ///< not taken after a crash
std::atomic<__OX *> application = nullptr;
ox::time::LocalZone zone;
std::atomic<MinidumpWriter *> writer = nullptr;
std::atomic<bool> reportCrashesToSystem = false;

void writeLine(void * text)
{
    constexpr int error = 2;
    try {
        if (oxLogger * const logger = application.load()->logger)
            logger->log(error, *static_cast<LogText *>(text), true);
    } catch (...) {
        // An exception that the logger throws must not stop the dump.
    }
}

/// Logs a line. During the handling of a crash, a crash of the logger is caught. During a dump on
/// demand, a crash of the logger is handled like any other crash of the application.
void log(LogText text, DumpReason reason)
{
    if (reason == DumpReason::Crash)
        ox::platform::runGuarded(writeLine, &text);
    else
        writeLine(&text);
}

/// A full path in native characters.
class FullName
{
  public:
    /// Builds the path of the file `name` in the folder of the file `neighbour`. Characters that do
    /// not fit are dropped.
    FullName(NativeChar const * neighbour, std::string_view name)
    {
        std::basic_string_view<NativeChar> const path(neighbour);
        for (NativeChar const c : path.substr(0, path.rfind(NativeChar{separator}) + 1))
            add(c);
        for (char const c : name)
            add(static_cast<NativeChar>(static_cast<unsigned char>(c)));
        text_[length_] = 0;
    }

    NativeChar const * c_str() const { return text_; }

  private:
    static constexpr char separator = ox::platform::ownSeparator;
    static constexpr std::size_t longest = ox::platform::longestDumpFolder + 256;

    void add(NativeChar c)
    {
        if (length_ < longest)
            text_[length_++] = c;
    }

    NativeChar text_[longest + 1];
    std::size_t length_ = 0;
};

/// Appends a path to a log line. A wide character outside Latin-1 becomes '?'.
void add(LogText & text, NativeChar const * path)
{
    for (; *path; ++path) {
        bool const isByte = sizeof *path == 1 || static_cast<unsigned>(*path) <= 0xFF;
        text += isByte ? static_cast<char>(*path) : '?';
    }
}

LogText nameOfDump(__int64 time)
{
    __OX const & context = *application;
    LogText name(oxGetFileName(context.logFile).view());
    if (name.endsWith(".txt"))
        name = name.left(name.size() - 4);
    name.add("_").add("_dump_").add(ox::time::fileNameText(zone.fields(time)).c_str());
    name.add("_" OX_VERSION_STRING "_");
    name.add(ox::time::fileNameTextYearMinute(zone.fields(context.startTime.value)).c_str());
    return name.add("_").addNr(sizeof(void *) * 8, 2).add(".oxdmp");
}

/// Renames a dump to its final name and logs its path. If the rename fails, the dump keeps its
/// temporary name.
void finish(WrittenDump const & dump)
{
    constexpr int secondsToTry = 60;
    LogText text("wrote dumpfile to ");
    __int64 const now = ox::platform::currentTime();
    for (int i = 0; i < secondsToTry; ++i) {
        FullName const name(dump.file, nameOfDump(now + i).view());
        auto const renamed = ox::platform::renameToNewName(dump.file, name.c_str());
        ErrorKind const failure = renamed.error().kind();
        if (!renamed && failure == ErrorKind::AlreadyExists)
            continue;
        if (!renamed && failure == ErrorKind::NotFound)
            return;
        add(text, renamed ? name.c_str() : dump.file);
        return log(text, dump.reason);
    }
    add(text, dump.file);
    log(text, dump.reason);
}

bool onDump(WrittenDump const & dump)
{
    LogText text("crash detected ");
    text.add(dump.succeeded ? "true" : "false");
    if (dump.reason == DumpReason::Request)
        text.add("dump called");
    log(text, dump.reason);
    if (dump.succeeded) {
        oxSleep(200);
        finish(dump);
    }
    bool const isPassedToSystem = dump.reason == DumpReason::Crash && reportCrashesToSystem;
    return dump.succeeded && !isPassedToSystem;
}

/// Returns the absolute path of a folder, without a separator at its end. If the path is too long
/// for the dump writer or cannot be determined, returns an empty name.
NativeName dumpFolder(NativeName const & folder)
{
    if (folder.empty())
        return {};
    auto const full = ox::platform::absolutePath(ox::platform::nameText(folder));
    NativeName name = full ? ox::platform::nativeName(*full) : NativeName();
    while (name.size() > 1 && name.back() == NativeChar{ox::platform::ownSeparator})
        name.pop_back();
    return name.size() <= ox::platform::longestDumpFolder ? name : NativeName();
}

NativeName temporaryDumpFolder()
{
    using ox::platform::nativeName;
    NativeName const folder = dumpFolder(nativeName(ox::platform::temporaryFolder()));
    return folder.empty() ? dumpFolder(nativeName(u"/tmp")) : folder;
}

/// Returns the log folder of the installation that contains the executable, or an empty name if
/// none exists.
NativeName logFolderOfInstallation(char * argv0)
{
    char const separator[] = {ox::platform::ownSeparator, 0};
    Path8 const bin = Path8(separator).add("bin").add(separator);
    Path8 path(oxApplicationPath(argv0).view());
    int found = -1; // the last "bin", since a parent folder may have the same name
    for (int at = path.indexOf(bin); at >= 0; at = path.indexOf(bin, at + 1))
        found = at;
    if (found < 0)
        return {};
    path = path.left(found + 1).add("sub").add(separator).add("log");
    path.replace("_debug", "_release");
    NativeName const folder = ox::text::nativePath(path);
    return ox::platform::kindOf(folder) == NameKind::Folder ? folder : NativeName();
}

void setFolder(NativeName const & given)
{
    NativeName const folder = given.empty() ? temporaryDumpFolder() : dumpFolder(given);
    MinidumpWriter * const present = writer;
    if (present && !folder.empty())
        present->setFolder(folder);
}

} // namespace

oxCrashHandler * oxCrashHandler::instance()
{
    static oxCrashHandler handler;
    return &handler;
}

oxCrashHandler::~oxCrashHandler()
{
    delete writer.exchange(nullptr);
}

void oxCrashHandler::init(__OX & context, int argc, char ** const argv)
{
    prepareThread();
    std::lock_guard const lock(initMutex);
    application = &context;
    if (writer)
        return;
    zone.read(ox::platform::currentTime());
    NativeName folder = dumpFolder(logFolderOfInstallation(argc > 0 && argv ? argv[0] : nullptr));
    if (folder.empty())
        folder = temporaryDumpFolder();
    writer = new MinidumpWriter(folder, onDump);
}

void oxCrashHandler::prepareThread()
{
    ox::platform::prepareThreadForCrash();
}

void oxCrashHandler::setDumpPath(QString const & path)
{
    setFolder(ox::text::nativePath(path));
}

void oxCrashHandler::setDumpPathDefault()
{
    if (__OX const * const context = application)
        setFolder(ox::text::nativePath(context->logFolder));
}

void oxCrashHandler::setReportCrashesToSystem(bool on)
{
    reportCrashesToSystem = on;
}

bool oxCrashHandler::writeMinidump()
{
    constexpr std::uint32_t nonContinuableException = 0xC0000025;
    MinidumpWriter * const present = writer;
    return present && present->write(nonContinuableException);
}

bool oxCrashHandler::WriteMinidumpForException(EXCEPTION_POINTERS * exinfo)
{
    MinidumpWriter * const present = writer;
    return exinfo ? present && present->write(*exinfo) : writeMinidump();
}

unsigned long filter(EXCEPTION_POINTERS * exinfo, _oxString<250> & message)
{
    constexpr unsigned long executeHandler = 1;
    oxCrashHandler::instance()->WriteMinidumpForException(exinfo);
    message.clear();
    if (exinfo)
        message = exceptionCodeText(ox::platform::exceptionCode(*exinfo)).view();
    return executeHandler;
}

QString oxOutputStackTrace(int)
{
    return {};
}
