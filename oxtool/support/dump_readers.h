#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace ox::tool
{

/// Stack frame. `function` and `source` are empty if the module has no symbols.
struct StackFrame {
    QString module;
    QString function;
    QString source; ///< "/oxShared/oxtool/main.cpp:17"
    QString offset; ///< from the module's start; with symbols, from the function's or line's start
};

/// Data of a crash, read from its dump.
struct CrashReport {
    QString reason;                 ///< "SIGSEGV /SEGV_MAPERR"; empty without a crash
    QString address;                ///< "0x0"
    QString thread;                 ///< number of the thread that crashed
    std::vector<StackFrame> frames; ///< stack of that thread, the innermost frame first
};

/// Runs two programs of Breakpad: minidump_stackwalk, which reads dumps, and dump_syms, which
/// extracts symbols. Only the installation for 64-bit Linux contains dump_syms.
class DumpReaders
{
  public:
    /// Searches for the programs in `folder`. If `folder` is an empty text, searches in the folder
    /// of this program, then in PATH.
    explicit DumpReaders(QString const & folder);

    /// Returns whether read() can run.
    bool canRead() const { return !stackwalk_.isEmpty(); }
    /// Returns whether storeSymbols() can run.
    bool canMakeSymbols() const { return !symbols_.isEmpty(); }

    /// Extracts the symbols of a program to the symbol folder `folder`, under the name that
    /// minidump_stackwalk searches for: FOLDER/NAME/ID/NAME.sym.
    void storeSymbols(QString const & program, QString const & folder) const;

    /// Reads a dump. `symbols` is the symbol folder; empty for none.
    /// Fails: throws Failure when the file is not a dump.
    CrashReport read(QString const & dump, QString const & symbols) const;

  private:
    QString stackwalk_;
    QString symbols_;
};

/// Returns "function, source" of a frame; without symbols "module + offset".
QString frameText(StackFrame const & frame);

} // namespace ox::tool
