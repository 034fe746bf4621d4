#include "shared/fs/copy.h"
#include "shared/platform/program/child_process.h"

#include <benchmark/benchmark.h>

#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace
{

constexpr qint64 mebibyte = 1024 * 1024;
constexpr qint64 resumedFrom = 24 * mebibyte;

void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// A source file and the path of its copy, both in the folder for temporary files (TMPDIR).
class Pair
{
  public:
    explicit Pair(qint64 size)
    {
        QFile file(from());
        require(file.open(QIODevice::WriteOnly));
        for (QByteArray const piece(mebibyte, 'x'); size > 0; size -= mebibyte)
            require(file.write(piece) == mebibyte);
    }

    QString from() const { return folder_.filePath(QStringLiteral("from")); }
    QString to() const { return folder_.filePath(QStringLiteral("to")); }

  private:
    QTemporaryDir folder_;
};

using Job = void (*)(QString const & from, QString const & to);

void runProgram(std::vector<std::string> command, QString const & from, QString const & to)
{
    command.push_back(from.toStdString());
    command.push_back(to.toStdString());
    auto const child = ox::platform::ChildProcess::start(command);
    require(child && (*child)->wait() == 0);
}

/// Copies the source, starting at the offset `begin`, with read and write calls of `pieceSize`
/// bytes.
void readAndWrite(QString const & from, QString const & to, qint64 begin, qint64 pieceSize)
{
    auto const unbuffered = QIODevice::Unbuffered;
    QFile source(from);
    QFile target(to);
    auto const mode = begin > 0 ? QIODevice::Append : QIODevice::WriteOnly;
    require(source.open(QIODevice::ReadOnly | unbuffered) && target.open(mode | unbuffered) &&
            source.seek(begin));
    QByteArray piece(static_cast<int>(pieceSize), Qt::Uninitialized);
    while (qint64 const count = source.read(piece.data(), pieceSize))
        require(target.write(piece.constData(), count) == count);
}

void copyOver(QString const & from, QString const & to, int pauseMs)
{
    require(oxCopyFile(from, to, true, pauseMs).isEmpty());
}

void resume(QString const & from, QString const & to)
{
    bool limitReported = false;
    require(oxResumeFile(from, to, limitReported).isEmpty() && !limitReported);
}

/// Registers a benchmark. `before` prepares the target; its time is not measured.
void add(char const * name, qint64 size, std::function<void(QString const & to)> const & before,
         Job job)
{
    benchmark::RegisterBenchmark(name,
                                 [size, before, job](benchmark::State & state) {
                                     Pair const pair(size);
                                     for (auto _ : state) {
                                         state.PauseTiming();
                                         before(pair.to());
                                         state.ResumeTiming();
                                         job(pair.from(), pair.to());
                                     }
                                     require(QFile(pair.to()).size() == size);
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

void addCopies(std::string const & size, qint64 bytes)
{
    std::pair<char const *, Job> const jobs[] = {
        {"copyBySystem/%/oxShared", [](auto & from, auto & to) { copyOver(from, to, -1); }},
        {"copyBySystem/%/copy_file",
         [](auto & from, auto & to) {
             std::filesystem::copy_file(from.toStdString(), to.toStdString());
         }},
        {"copyBySystem/%/cp", [](auto & from, auto & to) { runProgram({"cp"}, from, to); }},
        {"copyByPieces/%/oxShared", [](auto & from, auto & to) { copyOver(from, to, 0); }},
        {"copyByPieces/%/read+write",
         [](auto & from, auto & to) { readAndWrite(from, to, 0, mebibyte); }},
        {"copyByPieces/%/cp", [](auto & from, auto & to) { runProgram({"cp"}, from, to); }}};
    for (auto const & [name, job] : jobs)
        add(
            std::string(name).replace(std::string(name).find('%'), 1, size).c_str(), bytes,
            [](QString const & to) { QFile::remove(to); }, job);
}

void addResumes()
{
    std::pair<char const *, Job> const jobs[] = {
        {"resume/1MiB/oxShared", resume},
        {"resume/1MiB/read+write",
         [](auto & from, auto & to) { readAndWrite(from, to, resumedFrom, mebibyte / 4); }},
        {"resume/1MiB/rsync", [](auto & from, auto & to) {
             runProgram({"rsync", "--append"}, from, to);
         }}};
    for (auto const & [name, job] : jobs)
        add(
            name, resumedFrom + mebibyte,
            [](QString const & to) {
                QFile file(to);
                require(file.open(QIODevice::ReadWrite) && file.resize(resumedFrom));
            },
            job);
}

[[maybe_unused]] bool const registered = [] {
    addCopies("24MiB", 24 * mebibyte);
    addCopies("256MiB", 256 * mebibyte);
    addResumes();
    return true;
}();

} // namespace
