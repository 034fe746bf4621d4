// A file system for tests. It shows a backing folder under a mount point, without the kernel's
// caches, and injects a fault at a chosen request. Usage:
//
//     fault_fs [--delay MICROSECONDS] [--threads N] [--piece BYTES] [--entries N] [--pages 0|1]
//              [--log FILE] [--data FILE] [--control FILE] BACKING_FOLDER MOUNT_POINT
//
// The program counts the requests and logs each of them in one line: number, operation, inode,
// path, new path, size, offset and result, separated by tabs. LOOKUP is the kernel's search for a
// name. GETATTR is the kernel's request for the attributes of a known file. The options are:
//   --delay    additional time of each request
//   --threads  number of requests that are served at the same time, by default 1
//   --piece    largest read or write, by default 128 KiB
//   --entries  number of names in one READDIR, by default 16
//   --pages    1 lets the kernel keep the pages of open files, so that it reads ahead
//   --log      file for the log lines
//   --data     file for the bytes of all writes, in the order of the log
//   --control  file with a FaultControl. With this option the program ends together with its parent
//              process and removes the folder that contains the file.
//
// RELEASE, the last close of an open file, is neither counted nor logged, since the kernel sends it
// with a delay. A flock request fails instead of waiting.

#define FUSE_USE_VERSION 312

#include "tests/support/fault_fs/control.h"

#include <fuse.h>
#include <fuse_lowlevel.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <linux/fuse.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace ox::tests
{
namespace
{

using Info = fuse_file_info;

FaultControl ownControl;
FaultControl * control = &ownControl;
int backing = -1;
int logFile = -1;
int dataFile = -1;
unsigned piece = 128 * 1024;
long threads = 1;
long entriesAtOnce = 16;
bool keepsPages = false;
std::chrono::microseconds delay(0);
std::filesystem::path testFolder; ///< the folder of the control file

/// Whether the current request of the kernel still has to be counted. For some requests the FUSE
/// library calls two functions: the function of the request, and then getattr for the changed file.
/// Only the first call is counted.
thread_local bool isFresh = false;
/// Whether the current request is a LOOKUP. The FUSE library serves a LOOKUP by a call of getattr.
thread_local bool isLookup = false;

struct Request {
    char const * operation;
    char const * path; ///< null for an open file that has been removed
    Info const * info = nullptr;
    char const * newPath = "";
    std::size_t size = 0;
    off_t offset = 0;
};

/// Converts a path of the mount to a path relative to the backing folder.
char const * below(char const * path)
{
    return path[1] == '\0' ? "." : path + 1;
}

/// Returns the path of a file for system calls such as fstatat(backing, …): a path relative to the
/// backing folder, or below /proc/self/fd for an open file.
std::string nameOf(char const * path, Info const * info)
{
    return info ? "/proc/self/fd/" + std::to_string(info->fh) : below(path);
}

int fileOf(Info const * info)
{
    return static_cast<int>(info->fh);
}

DIR * folderOf(Info const * info)
{
    return reinterpret_cast<DIR *>(info->fh);
}

/// Converts the result of a system call to the form that FUSE expects: a negative errno for an
/// error.
int resultOf(long result)
{
    return result < 0 ? -errno : static_cast<int>(result);
}

void append(int file, std::string_view text)
{
    if (file >= 0 && ::write(file, text.data(), text.size()) < 0)
        std::perror("fault_fs");
}

void log(std::uint64_t number, Request const & request, int result)
{
    char const * const path = request.path ? request.path : "/";
    struct stat status = {};
    ::fstatat(backing, nameOf(path, request.info).c_str(), &status,
              request.info ? 0 : AT_SYMLINK_NOFOLLOW);
    std::string line = std::to_string(number);
    for (std::string const & column :
         {std::string(request.operation), std::to_string(status.st_ino),
          std::string(request.path ? request.path : ""), std::string(request.newPath),
          std::to_string(request.size), std::to_string(request.offset), std::to_string(result)})
        line += '\t' + column;
    append(logFile, line + '\n');
}

/// Injects the armed fault if it is due at this request. Returns the errno with which the request
/// must fail, or 0. For a short transfer, reduces the size of the request.
int injectFault(std::uint64_t number, Request & request)
{
    FaultKind const kind = control->kind;
    std::uint64_t const at = control->faultAt;
    if (at == 0 || !canAffect(kind, request.operation))
        return 0;
    std::uint64_t const eligible = ++control->eligible;
    if (kind < FaultKind::Full ? eligible != at : eligible < at)
        return 0;
    if (control->faultedRequest == 0)
        control->faultedRequest = number;
    if (kind == FaultKind::Kill)
        ::kill(fuse_get_context()->pid, SIGKILL);
    if (kind == FaultKind::Delay)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    if (kind == FaultKind::Short)
        request.size = std::max<std::size_t>(request.size / 2, 1);
    return kind == FaultKind::Delay || kind == FaultKind::Short ? 0 : control->error.load();
}

/// Counts and logs a request. Performs the request unless a fault makes it fail.
template <typename Perform>
int serve(Request request, Perform const & perform)
{
    if (!isFresh)
        return perform(request);
    isFresh = false;
    if (isLookup)
        request.operation = "LOOKUP";
    std::uint64_t const number = ++control->requests;
    if (delay.count() > 0)
        std::this_thread::sleep_for(delay);
    int const fault = injectFault(number, request);
    int const result = fault != 0 ? -fault : perform(request);
    log(number, request, result);
    return result;
}

/// Serves a request by a single system call.
template <typename Call, typename... Arguments>
int serveCall(Request const & request, Call const & call, Arguments... arguments)
{
    return serve(request, [&](Request const &) { return resultOf(call(arguments...)); });
}

void * start(fuse_conn_info * connection, fuse_config * config)
{
    config->use_ino = 1;
    config->hard_remove = 1;
    config->direct_io = keepsPages ? 0 : 1;
    config->entry_timeout = config->attr_timeout = config->negative_timeout = 0;
    connection->want |= connection->capable & FUSE_CAP_FLOCK_LOCKS;
    connection->want &= ~static_cast<unsigned>(FUSE_CAP_ATOMIC_O_TRUNC | FUSE_CAP_READDIRPLUS);
    connection->max_write = connection->max_read = piece;
    control->isReady = 1;
    return nullptr;
}

int keepOpen(Info * info, int file)
{
    if (file < 0)
        return -errno;
    info->fh = static_cast<std::uint64_t>(file);
    ++control->openFiles;
    return 0;
}

int truncateFile(char const * path, off_t size, Info * info)
{
    return serve({"TRUNCATE", path, info, "", static_cast<std::size_t>(size)}, [&](auto const &) {
        int const file = ::openat(backing, nameOf(path, info).c_str(), O_WRONLY | O_CLOEXEC);
        int const result = file < 0 ? -errno : resultOf(::ftruncate(file, size));
        ::close(file);
        return result;
    });
}

int readLink(char const * path, char * text, std::size_t size)
{
    return serve({"READLINK", path}, [&](auto const &) {
        ssize_t const length = ::readlinkat(backing, below(path), text, size - 1);
        text[std::max<ssize_t>(length, 0)] = '\0';
        return length < 0 ? -errno : 0;
    });
}

int writeFile(char const * path, char const * data, std::size_t size, off_t offset, Info * info)
{
    return serve({"WRITE", path, info, "", size, offset}, [&](Request const & request) {
        int const length = resultOf(::pwrite(fileOf(info), data, request.size, offset));
        append(dataFile, {data, static_cast<std::size_t>(std::max(length, 0))});
        return length;
    });
}

ssize_t copyRange(char const *, Info * source, off_t from, char const * path, Info * target,
                  off_t to, std::size_t size, int flags)
{
    return serve({"COPY", path, target, "", size, to}, [&](Request const & request) {
        off_t in = from;
        off_t out = to;
        std::size_t const length = std::min<std::size_t>(request.size, piece);
        int const copied = resultOf(::copy_file_range(fileOf(source), &in, fileOf(target), &out,
                                                      length, static_cast<unsigned>(flags)));
        std::vector<char> data(static_cast<std::size_t>(std::max(copied, 0)));
        if (::pread(fileOf(source), data.data(), data.size(), from) > 0)
            append(dataFile, {data.data(), data.size()});
        return copied;
    });
}

off_t seekInFile(char const * path, off_t offset, int whence, Info * info)
{
    off_t position = 0;
    int const result = serve({"LSEEK", path, info, "", 0, offset}, [&](auto const &) {
        position = ::lseek(fileOf(info), offset, whence);
        return position < 0 ? -errno : 0;
    });
    return result < 0 ? result : position;
}

int openFolder(char const * path, Info * info)
{
    return serve({"OPENDIR", path}, [&](auto const &) {
        int const file = ::openat(backing, below(path), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        int const result = keepOpen(info, file);
        if (result == 0)
            info->fh = reinterpret_cast<std::uint64_t>(::fdopendir(file));
        return result;
    });
}

/// Returns up to `--entries` entries per call, so that a listing takes several requests.
int readFolder(char const * path, void * entries, fuse_fill_dir_t fill, off_t offset, Info * info,
               fuse_readdir_flags)
{
    return serve({"READDIR", path, nullptr, "", 0, offset}, [&](auto const &) {
        ::seekdir(folderOf(info), offset);
        errno = 0;
        for (long i = 0; i < entriesAtOnce; ++i) {
            dirent const * const found = ::readdir(folderOf(info));
            if (!found)
                return -errno;
            struct stat status = {};
            status.st_ino = found->d_ino;
            status.st_mode = static_cast<mode_t>(DTTOIF(found->d_type));
            if (fill(entries, found->d_name, &status, found->d_off, fuse_fill_dir_flags{}) != 0)
                break;
        }
        return 0;
    });
}

void addAttributes(fuse_operations & all)
{
    all.getattr = [](char const * path, struct stat * status, Info * info) {
        return serveCall({"GETATTR", path, info}, ::fstatat, backing, nameOf(path, info).c_str(),
                         status, info ? 0 : AT_SYMLINK_NOFOLLOW);
    };
    all.chmod = [](char const * path, mode_t mode, Info * info) {
        return serveCall({"CHMOD", path, info}, ::fchmodat, backing, nameOf(path, info).c_str(),
                         mode, 0);
    };
    all.chown = [](char const * path, uid_t user, gid_t group, Info * info) {
        return serveCall({"CHOWN", path, info}, ::fchownat, backing, nameOf(path, info).c_str(),
                         user, group, info ? 0 : AT_SYMLINK_NOFOLLOW);
    };
    all.utimens = [](char const * path, timespec const * times, Info * info) {
        return serveCall({"UTIMENS", path, info}, ::utimensat, backing, nameOf(path, info).c_str(),
                         times, info ? 0 : AT_SYMLINK_NOFOLLOW);
    };
    all.truncate = truncateFile;
    all.statfs = [](char const * path, struct statvfs * status) {
        return serveCall({"STATFS", path}, ::fstatvfs, backing, status);
    };
}

void addNames(fuse_operations & all)
{
    all.mkdir = [](char const * path, mode_t mode) {
        return serveCall({"MKDIR", path}, ::mkdirat, backing, below(path), mode);
    };
    all.unlink = [](char const * path) {
        return serveCall({"UNLINK", path}, ::unlinkat, backing, below(path), 0);
    };
    all.rmdir = [](char const * path) {
        return serveCall({"RMDIR", path}, ::unlinkat, backing, below(path), AT_REMOVEDIR);
    };
    all.symlink = [](char const * target, char const * path) {
        return serveCall({"SYMLINK", path}, ::symlinkat, target, backing, below(path));
    };
    all.readlink = readLink;
    all.link = [](char const * path, char const * newPath) {
        return serveCall({"LINK", path, nullptr, newPath}, ::linkat, backing, below(path), backing,
                         below(newPath), 0);
    };
    all.rename = [](char const * path, char const * newPath, unsigned flags) {
        return serveCall({"RENAME", path, nullptr, newPath}, ::renameat2, backing, below(path),
                         backing, below(newPath), flags);
    };
}

void addFiles(fuse_operations & all)
{
    all.open = [](char const * path, Info * info) {
        int const flags = (info->flags & ~(O_NOFOLLOW | O_DIRECT)) | O_CLOEXEC;
        return serve({"OPEN", path}, [&](auto const &) {
            return keepOpen(info, ::openat(backing, below(path), flags));
        });
    };
    all.create = [](char const * path, mode_t mode, Info * info) {
        int const flags = (info->flags & ~O_DIRECT) | O_CREAT | O_CLOEXEC;
        return serve({"CREATE", path}, [&](auto const &) {
            return keepOpen(info, ::openat(backing, below(path), flags, mode));
        });
    };
    all.read = [](char const * path, char * data, std::size_t size, off_t offset, Info * info) {
        return serve({"READ", path, info, "", size, offset}, [&](Request const & request) {
            return resultOf(::pread(fileOf(info), data, request.size, offset));
        });
    };
    all.write = writeFile;
    all.copy_file_range = copyRange;
    all.lseek = seekInFile;
    all.flush = [](char const * path, Info * info) { // called when a descriptor is closed
        return serve({"FLUSH", path, info},
                     [&](auto const &) { return resultOf(::close(::dup(fileOf(info)))); });
    };
    all.fsync = [](char const * path, int dataOnly, Info * info) {
        return serveCall({"FSYNC", path, info}, dataOnly ? ::fdatasync : ::fsync, fileOf(info));
    };
    all.flock = [](char const * path, Info * info, int operation) {
        return serveCall({"FLOCK", path, info}, ::flock, fileOf(info), operation | LOCK_NB);
    };
    all.release = [](char const *, Info * info) {
        --control->openFiles;
        return resultOf(::close(fileOf(info)));
    };
}

void addFolders(fuse_operations & all)
{
    all.opendir = openFolder;
    all.readdir = readFolder;
    all.fsyncdir = [](char const * path, int, Info * info) {
        return serveCall({"FSYNCDIR", path}, ::fsync, ::dirfd(folderOf(info)));
    };
    all.releasedir = [](char const *, Info * info) {
        --control->openFiles;
        return resultOf(::closedir(folderOf(info)));
    };
}

/// Serves requests until the file system is unmounted or a signal ends the session.
void serveAll(fuse_session * session)
{
    fuse_buf buffer = {};
    while (!fuse_session_exited(session)) {
        int const length = fuse_session_receive_buf(session, &buffer);
        if (length == -EINTR)
            continue;
        if (length <= 0)
            break;
        isFresh = true;
        bool const isInMemory = (buffer.flags & FUSE_BUF_IS_FD) == 0; // long requests are in a pipe
        auto const opcode =
            isInMemory ? static_cast<fuse_in_header const *>(buffer.mem)->opcode : 0;
        isLookup = opcode == FUSE_LOOKUP;
        fuse_session_process_buf(session, &buffer);
        // The FUSE library answers GETATTR for a removed open file without a call of getattr. So
        // this request is counted here.
        if (isFresh && opcode == FUSE_GETATTR)
            serve({"GETATTR", nullptr}, [](auto const &) { return -ENOENT; });
    }
    std::free(buffer.mem);
}

int mountAndServe(char const * program, char const * mountPoint)
{
    std::string const options = "fsname=fault_fs,max_read=" + std::to_string(piece);
    char const * words[] = {program, "-o", options.c_str()};
    fuse_args arguments = FUSE_ARGS_INIT(3, const_cast<char **>(words));
    fuse_operations all = {};
    all.init = start;
    addAttributes(all);
    addNames(all);
    addFiles(all);
    addFolders(all);
    fuse * const system = fuse_new(&arguments, &all, sizeof all, nullptr);
    bool const isMounted = system && fuse_mount(system, mountPoint) == 0;
    if (isMounted) {
        fuse_session * const session = fuse_get_session(system);
        fuse_set_signal_handlers(session);
        sigset_t blocked;
        sigset_t before;
        ::sigfillset(&blocked);
        ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
        for (long i = 1; i < threads; ++i)
            std::thread(serveAll, session).detach();
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
        serveAll(session);
        fuse_remove_signal_handlers(session);
        fuse_unmount(system);
        // Ends the process without joining the other threads, which wait for requests as long as
        // another mount namespace contains the mount.
        if (threads > 1)
            std::_Exit(0);
    }
    if (system)
        fuse_destroy(system);
    return isMounted ? 0 : 1;
}

bool serveTest(char const * controlFile)
{
    int const file = ::open(controlFile, O_RDWR | O_CLOEXEC);
    void * const shared =
        ::mmap(nullptr, sizeof(FaultControl), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    if (shared == MAP_FAILED)
        return false;
    control = static_cast<FaultControl *>(shared);
    testFolder = std::filesystem::path(controlFile).parent_path();
    return ::prctl(PR_SET_PDEATHSIG, SIGTERM) == 0;
}

bool readOption(std::string_view option, char const * value)
{
    constexpr int toAppend = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC;
    if (option == "--delay")
        delay = std::chrono::microseconds(std::atol(value));
    else if (option == "--piece")
        piece = static_cast<unsigned>(std::atol(value));
    else if (option == "--threads")
        threads = std::atol(value);
    else if (option == "--entries")
        entriesAtOnce = std::atol(value);
    else if (option == "--pages")
        keepsPages = std::string_view(value) == "1";
    else if (option == "--log")
        return (logFile = ::open(value, toAppend, 0600)) >= 0;
    else if (option == "--data")
        return (dataFile = ::open(value, toAppend, 0600)) >= 0;
    else if (option == "--control")
        return serveTest(value);
    else
        return false;
    return true;
}

int runProgram(int count, char ** words)
{
    int next = 1;
    while (next + 2 < count - 1 && readOption(words[next], words[next + 1]))
        next += 2;
    if (next + 2 != count) {
        std::fputs(
            "usage: fault_fs [--delay MICROSECONDS] [--threads N] [--piece BYTES] [--entries N] "
            "[--pages 0|1] [--log FILE] [--data FILE] [--control FILE] BACKING_FOLDER "
            "MOUNT_POINT\n",
            stderr);
        return 2;
    }
    ::umask(0);
    backing = ::open(words[next], O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (backing < 0) {
        std::perror(words[next]);
        return 1;
    }
    pid_t const starter = ::getppid();
    int const result = mountAndServe(words[0], words[next + 1]);
    if (!testFolder.empty() && ::getppid() != starter)
        std::filesystem::remove_all(testFolder);
    return result;
}

} // namespace
} // namespace ox::tests

int main(int argc, char ** argv)
{
    return ox::tests::runProgram(argc, argv);
}
