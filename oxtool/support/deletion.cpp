#include "oxtool/support/deletion.h"

#include "oxtool/support/jobs.h"
#include "oxtool/support/reason.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace ox::tool
{
namespace
{

using platform::FolderTree;

/// A subfolder that is deleted with its content, and the result of this deletion.
struct Subfolder {
    struct Report {
        QString path;
        QString failure;
    };

    FolderTree::Entry entry;
    _oxEmptyFolderResult result = {};
    std::vector<Report> reports = {};
};

void add(_oxEmptyFolderResult & all, _oxEmptyFolderResult const & part)
{
    all.count += part.count;
    all.bytes += part.bytes;
    all.failures += part.failures;
    all.done = all.done && part.done;
    if (part.failures > 0)
        all.lastError = part.lastError;
}

} // namespace

_oxEmptyFolderResult deleteInParallel(FolderTree & tree, QString const & folder,
                                      std::vector<FolderTree::Entry> entries,
                                      _oxEmptyFolderOptions const & options,
                                      fs::KeepRule const & keep, int jobs)
{
    auto const firstFolder =
        std::stable_partition(entries.begin(), entries.end(),
                              [](FolderTree::Entry const & entry) { return !entry.isFolder; });
    std::vector<Subfolder> subfolders;
    // fs::deleteEntries deletes the subfolders in this order, too: the last one first.
    for (auto each = entries.end(); each != firstFolder; --each)
        subfolders.push_back({std::move(*std::prev(each))});
    entries.erase(firstFolder, entries.end());

    _oxEmptyFolderResult all = fs::deleteEntries(tree, folder, std::move(entries), options, keep);
    if (!all.done)
        return all;
    auto const work = [&](std::size_t i) {
        Subfolder & subfolder = subfolders[i];
        auto const store = [&subfolder](QString const & path, QString const & failure) {
            subfolder.reports.push_back({path, failure});
        };
        FolderTree own;
        if (auto const opened = own.open(tree); !opened) {
            subfolder.result.failures = 1;
            return store(folder, folder + QLatin1String(", ") + reasonOf(opened.error()));
        }
        _oxEmptyFolderOptions silent = options;
        silent.report = store;
        subfolder.result = fs::deleteEntries(own, folder, {subfolder.entry}, silent, keep);
    };
    runJobs(jobs, subfolders.size(), work, [&](std::size_t i) {
        Subfolder const subfolder = std::move(subfolders[i]);
        for (Subfolder::Report const & report : subfolder.reports)
            options.report(report.path, report.failure);
        add(all, subfolder.result);
        return true;
    });
    return all;
}

} // namespace ox::tool
