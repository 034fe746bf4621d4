#include "tests/support/fault_mount_linux.h"

#include <QDir>
#include <QFileInfo>

#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <unistd.h>

namespace ox::tests
{
namespace
{

constexpr int timeoutMs = 10000;

template <typename Condition>
bool waitUntil(Condition const & condition)
{
    auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return true;
}

/// Returns a name pattern for a temporary folder. If possible, the folder is in memory (/dev/shm),
/// where flushes are fast.
QString folderName()
{
    QString const memory = QStringLiteral("/dev/shm");
    return (QFileInfo(memory).isWritable() ? memory : QDir::tempPath()) +
           QStringLiteral("/fault_mount_XXXXXX");
}

} // namespace

FaultMount::FaultMount() : root_(folderName())
{
    if (!QDir(root_.path()).mkdir(QStringLiteral("mount")) ||
        !QDir(root_.path()).mkdir(QStringLiteral("backing")) || !mapControl()) {
        refusal_ = "a folder for the mount cannot be created";
        return;
    }
    // With pieces of 16 KiB, even a small file takes several read and write requests.
    QStringList words = {QStringLiteral("--piece"), QStringLiteral("16384")};
    for (char const * const name : {"log", "data", "control"})
        words << QStringLiteral("--") + QLatin1String(name) << root_.filePath(QLatin1String(name));
    words << root_.filePath(QStringLiteral("backing")) << root_.filePath(QStringLiteral("mount"));
    server_.start(QStringLiteral(OX_FAULT_FS), words);
    bool const hasStarted = server_.waitForStarted(timeoutMs) && waitUntil([this] {
                                return control_->isReady != 0 || server_.waitForFinished(1);
                            });
    if (!hasStarted || server_.state() != QProcess::Running)
        refusal_ = "FUSE does not mount here: " + server_.readAllStandardError().toStdString();
}

FaultMount::~FaultMount()
{
    server_.terminate();
    if (server_.state() != QProcess::NotRunning && !server_.waitForFinished(timeoutMs)) {
        server_.kill();
        server_.waitForFinished(timeoutMs);
        ::umount2(folder().c_str(), MNT_DETACH);
    }
    if (control_)
        ::munmap(control_, sizeof *control_);
}

std::string FaultMount::pathOf(char const * name) const
{
    return root_.filePath(QLatin1String(name)).toStdString();
}

bool FaultMount::mapControl()
{
    int const file = ::open(pathOf("control").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    bool const hasSize = file >= 0 && ::ftruncate(file, sizeof(FaultControl)) == 0;
    void * const shared =
        ::mmap(nullptr, sizeof(FaultControl), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    control_ = shared == MAP_FAILED ? nullptr : static_cast<FaultControl *>(shared);
    return hasSize && control_;
}

void FaultMount::arm(Fault const & fault, std::uint64_t request)
{
    std::filesystem::resize_file(pathOf("log"), 0);
    std::filesystem::resize_file(pathOf("data"), 0);
    control_->requests = 0;
    control_->eligible = 0;
    control_->faultedRequest = 0;
    control_->kind = fault.kind;
    control_->error = fault.error;
    control_->faultAt = request;
}

bool FaultMount::waitUntilClosed() const
{
    return waitUntil([this] { return control_->openFiles == 0; });
}

std::vector<LoggedRequest> FaultMount::log() const
{
    std::vector<LoggedRequest> requests;
    std::ifstream lines(pathOf("log"));
    std::ifstream data(pathOf("data"), std::ios::binary);
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> columns;
        std::istringstream in(line);
        for (std::string column; std::getline(in, column, '\t');)
            columns.push_back(column);
        LoggedRequest & request = requests.emplace_back(LoggedRequest{
            std::stoull(columns[0]), columns[1], std::stoull(columns[2]), columns[3], columns[4],
            std::stoull(columns[5]), std::stol(columns[6]), std::stol(columns[7])});
        bool const hasData = request.operation == "WRITE" || request.operation == "COPY";
        if (hasData && request.result > 0) {
            request.data.resize(static_cast<std::size_t>(request.result));
            data.read(request.data.data(), request.result);
        }
    }
    return requests;
}

} // namespace ox::tests
