#include "shared/fs/empty_folder.h"

#include "shared/fs/copy_steps.h"
#include "shared/fs/empty_folder_steps.h"
#include "shared/platform/clock.h"
#include "shared/platform/folders.h"
#include "shared/system/os_error.h"
#include "shared/text/native_path.h"

#include <algorithm>
#include <utility>
#include <vector>

using ox::fs::Keep;
using ox::fs::systemText;
using ox::platform::FolderTree;
using ox::platform::Result;
using ox::text::ownSeparator;

namespace
{

using Entry = FolderTree::Entry;

QString nameOf(Entry const & entry)
{
    return ox::text::toQString(ox::platform::nameText(entry.name));
}

void addFailure(_oxEmptyFolderResult & result, _oxEmptyFolderOptions const & options, bool isFolder,
                QString const & path, QString const & reason)
{
    ++result.failures;
    result.lastError = (isFolder ? QStringLiteral("Error deleting folder ")
                                 : QStringLiteral("Unable to delete file ")) +
                       path + QStringLiteral(", ") + reason;
    if (options.report)
        options.report(path, result.lastError);
}

/// Deletes entries of a folder in one pass: files first, then each subfolder with its content. The
/// open folders are in a list, since recursive calls would overflow the stack in a deep tree.
class Emptying
{
  public:
    Emptying(FolderTree & tree, QString const & folder, _oxEmptyFolderOptions const & options,
             ox::fs::KeepRule const & keep)
        : tree_(tree), options_(options), keep_(keep),
          newest_(ox::platform::currentTime() - std::max(options.minAge, 0))
    {
        levels_.push_back({folder, {}, {}, false});
    }

    _oxEmptyFolderResult run(std::vector<Entry> entries)
    {
        deleteFiles(std::move(entries));
        while (result_.done && levels_.size() + levels_.back().subfolders.size() > 1) {
            if (levels_.back().subfolders.empty())
                leave();
            else
                enterNext();
        }
        return std::move(result_);
    }

  private:
    struct Level {
        QString path; ///< ends with a separator
        Entry folder;
        std::vector<Entry> subfolders; ///< not emptied yet
        bool keepsSomething;
    };

    Keep ruleFor(QString const & path, QString const & name, bool isFolder) const
    {
        if (options_.skip.contains(name, Qt::CaseInsensitive) || (isFolder && !options_.recursive))
            return Keep::All;
        return keep_ ? keep_(path, isFolder) : Keep::Nothing;
    }

    bool mayContinue() const { return !options_.stop || !options_.stop(); }

    bool isTooYoung(Entry const & entry) const
    {
        return options_.minAge > 0 && entry.modified > newest_;
    }

    void enterNext()
    {
        Level & level = levels_.back();
        Entry folder = std::move(level.subfolders.back());
        level.subfolders.pop_back();
        QString const path = level.path + nameOf(folder);
        if (Result<> const entered = tree_.enter(folder); !entered) {
            failed(true, path, systemText(entered));
            return;
        }
        bool const isKept = ruleFor(path, nameOf(folder), true) == Keep::Folder;
        levels_.push_back({path + ownSeparator, std::move(folder), {}, isKept});
        if (auto entries = tree_.entries())
            deleteFiles(std::move(*entries));
        else
            failed(true, path, systemText(entries.error()));
    }

    void leave()
    {
        Level const left = std::move(levels_.back());
        levels_.pop_back();
        QString const path = left.path.left(left.path.size() - 1);
        if (Result<> const result = tree_.leave(); !result) {
            failed(true, path, systemText(result));
            result_.done = false;
        } else if (left.keepsSomething || isTooYoung(left.folder)) {
            levels_.back().keepsSomething = true;
        } else {
            deleteEntry(left.folder, path);
        }
    }

    /// Deletes the files among `entries` of the current folder, and stores the subfolders in the
    /// current level.
    void deleteFiles(std::vector<Entry> entries)
    {
        Level & level = levels_.back();
        result_.done = true;
        for (Entry & entry : entries) {
            QString const name = nameOf(entry);
            Keep const rule = ruleFor(level.path + name, name, entry.isFolder);
            bool const isWanted = rule == Keep::Nothing || (rule == Keep::Folder && entry.isFolder);
            if (isWanted && entry.isFolder)
                level.subfolders.push_back(std::move(entry));
            else if (!isWanted || isTooYoung(entry))
                level.keepsSomething = true;
            else if (!deleteEntry(entry, level.path + name))
                break;
        }
    }

    /// Deletes an entry and reports the result. Returns false if `stop` returned true.
    bool deleteEntry(Entry const & entry, QString const & path)
    {
        result_.done = mayContinue();
        if (!result_.done)
            return false;
        Result<> const removed = options_.isDryRun ? Result<>() : tree_.remove(entry);
        if (!removed) {
            failed(entry.isFolder, path, systemText(removed));
            return true;
        }
        ++result_.count;
        result_.bytes += entry.size;
        report(path, QString());
        return true;
    }

    /// Reports an entry that could not be deleted. The folder that contains the entry stays, too.
    void failed(bool isFolder, QString const & path, QString const & reason)
    {
        levels_.back().keepsSomething = true;
        addFailure(result_, options_, isFolder, path, reason);
    }

    void report(QString const & path, QString const & failure) const
    {
        if (options_.report)
            options_.report(path, failure);
    }

    FolderTree & tree_;
    _oxEmptyFolderOptions const & options_;
    ox::fs::KeepRule const & keep_;
    std::int64_t const newest_; ///< entries written later stay; seconds since 1970-01-01 UTC
    std::vector<Level> levels_;
    _oxEmptyFolderResult result_;
};

/// Returns the options as text for the messages, such as " -rec -ign -del 3600".
QString optionWords(bool recursive, bool ignoreErrors, int minAge)
{
    return (recursive ? QStringLiteral(" -rec") : QString()) +
           (ignoreErrors ? QStringLiteral(" -ign") : QString()) +
           (minAge > 0 ? QStringLiteral(" -del %1").arg(minAge) : QString());
}

} // namespace

_oxEmptyFolderResult ox::fs::deleteEntries(FolderTree & tree, QString const & folder,
                                           std::vector<Entry> entries,
                                           _oxEmptyFolderOptions const & options,
                                           KeepRule const & keep)
{
    return Emptying(tree, folder, options, keep).run(std::move(entries));
}

_oxEmptyFolderResult oxEmptyFolder(QString const & folder, _oxEmptyFolderOptions const & options)
{
    FolderTree tree;
    _oxEmptyFolderResult result;
    if (Result<> const opened = tree.open(ox::text::nativePath(folder)); !opened) {
        addFailure(result, options, true, folder, systemText(opened));
        return result;
    }
    if (tree.isRoot()) {
        addFailure(result, options, true, folder,
                   QStringLiteral("it is the root of a drive or share."));
        return result;
    }
    auto entries = tree.entries();
    if (!entries) {
        addFailure(result, options, true, folder, systemText(entries.error()));
        return result;
    }
    QString const path = folder.endsWith(ownSeparator) ? folder : folder + ownSeparator;
    return ox::fs::deleteEntries(tree, path, std::move(*entries), options);
}

bool oxEmptyFolder(QString const & folder, bool const & recursive, bool const & ignoreErrors,
                   int const & minAge, QStringList const * const skip, QString * messages,
                   int * count, __int64 * bytes, QString * lastError)
{
    QString lines = folder + optionWords(recursive, ignoreErrors, minAge);
    _oxEmptyFolderOptions options;
    options.recursive = recursive;
    options.minAge = minAge;
    if (skip)
        options.skip = *skip;
    options.report = [&lines](QString const &, QString const & failure) {
        if (!failure.isEmpty())
            lines += u'\n' + failure;
    };

    auto const result = oxEmptyFolder(folder, options);
    if (messages)
        *messages = lines;
    if (count)
        *count = result.count;
    if (bytes)
        *bytes = result.bytes;
    if (lastError)
        *lastError = result.lastError;
    return result.done && (ignoreErrors || result.failures == 0);
}
