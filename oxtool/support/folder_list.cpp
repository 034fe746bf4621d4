#include "oxtool/support/folder_list.h"

#include "oxtool/support/jobs.h"
#include "oxtool/support/name_patterns.h"
#include "oxtool/support/names.h"
#include "shared/fs/dir_listing.h"
#include "shared/platform/files.h"
#include "shared/platform/folders.h"

#include <algorithm>

namespace ox::tool
{
namespace
{

/// A folder, and the indices of its subfolders in the list of nodes.
struct Node {
    FolderContent content;
    std::vector<std::size_t> subfolders;
};

QString withSeparator(QString const & path)
{
    return path + QLatin1Char(platform::ownSeparator);
}

/// Returns whether to list a subfolder. Returns false and sets `isLink` for a link, which could
/// lead back to a folder above it. Returns false and sets `failure` for an unreadable subfolder.
bool mayEnter(QString const & root, FolderContent & folder)
{
    auto const opened = platform::FolderTree().open(nativeName(root + folder.path));
    if (opened)
        return true;
    using platform::ErrorKind;
    ErrorKind const kind = opened.error().kind();
    // For a link, open() fails with one of these two kinds of error. kindOf() follows the link.
    folder.isLink = (kind == ErrorKind::NotFound || kind == ErrorKind::NotAFile) &&
                    platform::kindOf(nativeName(root + folder.path)) == platform::NameKind::Folder;
    if (!folder.isLink)
        folder.failure = opened.error();
    return false;
}

void listFolder(QString const & root, FolderContent & content, FolderSelection const & selection)
{
    QString const & path = content.path;
    oxDirListing listing;
    for (QString const & ending : selection.endings)
        listing.addEndsWithFilter(ending);
    // readIntoMemory (the third argument) is false: with true, the status of each file would be
    // queried.
    listing.init(root + path, true, false, false, false);
    while (listing.nextFile()) {
        QString const name = listing.fileName();
        if (!matchesAny(path + name, selection.excluded))
            (listing.isDir() ? content.subfolders : content.files).append(name);
    }
    content.failure = platform::Error{listing.error()};
    std::sort(content.files.begin(), content.files.end());
    std::sort(content.subfolders.begin(), content.subfolders.end());
}

void appendInOrder(std::vector<FolderContent> & all, std::vector<Node> & nodes)
{
    std::vector<std::size_t> next = {0}; // recursion would overflow the stack in a deep tree
    while (!next.empty()) {
        Node & node = nodes[next.back()];
        next.pop_back();
        all.push_back(std::move(node.content));
        next.insert(next.end(), node.subfolders.rbegin(), node.subfolders.rend());
    }
}

} // namespace

std::vector<FolderContent> listFolders(QString const & folder, FolderSelection const & selection,
                                       int jobs)
{
    std::vector<Node> nodes(1);
    // All folders of one depth are listed in parallel.
    for (std::size_t begin = 0, end = 1; begin < end; begin = end, end = nodes.size()) {
        runJobs(
            jobs, end - begin,
            [&](std::size_t i) {
                FolderContent & content = nodes[begin + i].content;
                if (content.path.isEmpty() || mayEnter(folder, content))
                    listFolder(folder, content, selection);
            },
            [](std::size_t) { return true; });
        for (std::size_t i = begin; selection.isRecursive && i < end; ++i) {
            for (QString const & name : QStringList(nodes[i].content.subfolders)) {
                nodes[i].subfolders.push_back(nodes.size());
                Node subfolder;
                subfolder.content.path = withSeparator(nodes[i].content.path + name);
                nodes.push_back(std::move(subfolder));
            }
        }
    }
    std::vector<FolderContent> all;
    all.reserve(nodes.size());
    appendInOrder(all, nodes);
    return all;
}

} // namespace ox::tool
