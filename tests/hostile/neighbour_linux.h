#pragma once

#include "tests/support/temporary_folder.h"

#include <functional>
#include <string>
#include <vector>

namespace ox::tests
{

/// What another user can put under a name. Links lead to the victim.
enum class Kind { File, FileLink, NewFileLink, FolderLink, Folder, Pipe, Socket, Device };

/// A test with a folder of the user nobody, and beside it the victim: a tree that no act in the
/// folder may change. Without root's rights both belong to the user of the test.
class NeighbourTest : public FolderTest
{
  protected:
    void SetUp() override;
    /// Fails when the victim has changed.
    void TearDown() override;

    /// Why a test is skipped that needs another user.
    static constexpr char needsRoot[] = "it takes root to become another user";
    static bool isRoot();

    /// A path in the folder of the other user.
    QString inside(char const * name) const;
    /// Puts something of the other user under a path. Only root can make a device.
    void plant(QString const & path, Kind kind) const;
    /// Whether the path still means what was put there.
    static bool isStill(QString const & path, Kind kind);

    /// As root, runs the acts in turn for OX_RACE_SECONDS (1 by default), while the other user
    /// exchanges the names in the folder, and the temporary files there, for things of these kinds.
    struct Act {
        char const * name;
        std::function<void()> run;
    };
    void race(std::vector<std::string> const & names, std::vector<Kind> const & kinds,
              std::vector<Act> const & acts);

  private:
    /// Names, owners, modes, times and content of the victim.
    std::string victim() const;

    std::string before_;
};

} // namespace ox::tests
