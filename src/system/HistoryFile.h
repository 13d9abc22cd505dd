#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

/// The history's file as a file: its rights, and setting it aside.
namespace HistoryFile {

/// Makes the file, empty and for its user alone, when it is not there. With `ownFolder` its folder as well,
/// which like the file is closed to all others even if it was there already, but not what a link leads to.
/// Why that failed, or empty.
std::string Prepare(const std::string& file, bool ownFolder);

/// Which file it is, whatever its name; none where nothing is.
struct Node {
    dev_t Device = 0;
    ino_t Number = 0;
    bool operator==(const Node&) const = default;
};
[[nodiscard]] Node NodeOf(const std::string& file);

struct Aside {
    enum class State {
        Done,   ///< it is called `Name` now, and what belongs to it begins so
        Gone,   ///< another program was faster
        InUse,  ///< another program has it open: nothing was done
        Failed  ///< nothing was done
    };
    State Result = State::Done;
    std::string Name;
};
/// Gives the database, with the two files beside it, a name that ends in ".damaged", while no other program
/// can use it. `close` ends this program's own use of it, and finds nobody alone with the file: the database
/// would tidy up.
Aside SetAside(const std::string& file, const std::function<void()>& close);

}  // namespace HistoryFile
