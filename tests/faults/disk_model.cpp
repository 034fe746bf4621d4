#include "tests/faults/disk_model.h"

#include <algorithm>

#include <sys/stat.h>

namespace ox::tests
{
namespace
{

std::string folderOf(std::string const & path)
{
    return path.substr(0, path.rfind('/'));
}

} // namespace

DiskModel::DiskModel(std::filesystem::path const & folder)
{
    for (auto const & [path, content] : filesIn(folder)) {
        struct stat status = {};
        ::lstat((folder.string() + path).c_str(), &status);
        files_[status.st_ino] = {content, content};
        names_[path] = status.st_ino;
    }
    flushedNames_ = names_;
}

void DiskModel::apply(LoggedRequest const & request)
{
    if (request.result < 0)
        return;
    std::string const & what = request.operation;
    File & file = files_[request.file];
    if (what == "CREATE" || what == "SYMLINK") {
        file = {};
        names_[request.path] = request.file;
    } else if (what == "MKDIR") {
        file = {isFolder, isFolder};
        names_[request.path] = request.file;
    } else if (what == "LINK") {
        names_[request.newPath] = request.file;
    } else if (what == "RENAME") {
        rename(request.path, request.newPath);
    } else if (what == "UNLINK" || what == "RMDIR") {
        names_.erase(request.path);
    } else if (what == "WRITE" || what == "COPY") {
        auto const at = static_cast<std::size_t>(request.offset);
        file.content.resize(std::max(file.content.size(), at + request.data.size()));
        file.content.replace(at, request.data.size(), request.data);
    } else if (what == "TRUNCATE") {
        file.content.resize(request.size);
    } else if (what == "FSYNC") {
        file.flushed = file.content;
    } else if (what == "FSYNCDIR") {
        flushFolder(request.path == "/" ? "" : request.path);
    }
}

void DiskModel::rename(std::string const & from, std::string const & to)
{
    ino_t const file = names_[from];
    if (names_.contains(to) && names_[to] == file) // rename() ignores two names of one file
        return;
    names_.erase(from);
    names_[to] = file;
}

void DiskModel::flushFolder(std::string const & folder)
{
    auto const isInside = [&folder](auto const & name) { return folderOf(name.first) == folder; };
    std::erase_if(flushedNames_, isInside);
    std::copy_if(names_.begin(), names_.end(), std::inserter(flushedNames_, flushedNames_.end()),
                 isInside);
}

Files DiskModel::content(Keeps keeps) const
{
    Files found;
    Names const & names = keeps == Keeps::Flushed ? flushedNames_ : names_;
    for (auto const & [path, number] : names) {
        File const & file = files_.at(number);
        std::string const folder = folderOf(path);
        // The paths are sorted, so the loop visits a folder before its entries.
        if (folder.empty() || found.contains(folder))
            found[path] = keeps == Keeps::Everything ? file.content : file.flushed;
    }
    return found;
}

} // namespace ox::tests
