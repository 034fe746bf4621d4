#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace ox::tool
{

/// A frame of a stack. Function and source are empty without symbols of its module.
struct StackFrame {
    QString module;
    QString function;
    QString source; ///< "/oxShared/oxtool/main.cpp:17"
    QString offset; ///< in the module or, with symbols, in the function or line
};

/// What a dump contains about its crash.
struct CrashReport {
    QString reason;                 ///< "SIGSEGV /SEGV_MAPERR"; empty without a crash
    QString address;                ///< "0x0"
    QString thread;                 ///< number of the thread that crashed
    std::vector<StackFrame> frames; ///< stack of that thread, the innermost frame first
};

/// Breakpad's programs that read dumps. They are in a given folder; without one, in the folder of
/// this program or in PATH.
class DumpReaders
{
  public:
    explicit DumpReaders(QString const & folder);

    /// Returns whether read() can run.
    bool canRead() const { return !stackwalk_.isEmpty(); }
    /// Returns whether storeSymbols() can run.
    bool canMakeSymbols() const { return !symbols_.isEmpty(); }

    /// Makes the symbols of a program, and writes them to their place in a folder of symbols.
    void storeSymbols(QString const & program, QString const & folder) const;

    /// Reads a dump with the symbols of a folder; an empty name for none.
    /// Fails: throws Failure when the file is not a dump.
    CrashReport read(QString const & dump, QString const & symbols) const;

  private:
    QString stackwalk_;
    QString symbols_;
};

/// Returns "function, source" of a frame, or "module + offset" without symbols.
QString frameText(StackFrame const & frame);

} // namespace ox::tool
