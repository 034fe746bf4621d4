#pragma once

#include "tests/support/temporary_folder.h"

#include <functional>
#include <string>
#include <vector>

namespace ox::tests
{

/// Kinds of objects that another user can create under a name. The links lead into the victim's
/// tree.
enum class Kind { File, FileLink, NewFileLink, FolderLink, Folder, Pipe, Socket, Device };

/// A test with a folder that the user `nobody` owns. Beside this folder is the victim: a folder
/// tree that no operation in nobody's folder may change. If the test does not run as root, the
/// test's own user owns the folder and the victim.
class NeighbourTest : public FolderTest
{
  protected:
    void SetUp() override;
    /// Checks that the victim is unchanged.
    void TearDown() override;

    /// Reason to skip a test that needs a second user.
    static constexpr char needsRoot[] = "only root can become another user";
    static bool isRoot();

    /// Returns the path of a file in the folder of the other user.
    QString inside(char const * name) const;
    /// Creates an object of this kind, owned by the other user. Only root can create a device.
    void plant(QString const & path, Kind kind) const;
    /// Returns whether the path still refers to an object of this kind.
    static bool isStill(QString const & path, Kind kind);

    /// An operation that root performs in the folder of the other user.
    struct Act {
        char const * name;
        std::function<void()> run;
    };
    /// Runs the acts in turn, as root, for the number of seconds in the environment variable
    /// OX_RACE_SECONDS, by default 1. At the same time, the other user replaces the files `names`
    /// and the temporary files by objects of the given kinds.
    void race(std::vector<std::string> const & names, std::vector<Kind> const & kinds,
              std::vector<Act> const & acts);

  private:
    /// Returns a text with the modes, owners, link counts, sizes, times and contents of the
    /// victim's files.
    std::string victim() const;

    std::string before_;
};

} // namespace ox::tests
