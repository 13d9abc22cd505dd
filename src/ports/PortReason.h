#pragma once

#include <string>

/// What keeps a port from being used.
enum class PortObstacle {
    None,
    NotThere,
    Refused,   ///< this user has no right to it
    InUse,     ///< another program has it
    LockFile,  ///< a lock file says so; the program that it names was not seen to have the port
    Failed,    ///< the system's own error
    Silent     ///< it opened, and no reader answered
};

/// One finding about a port, in words for a person. Made where the obstacle was met.
struct PortReason {
    PortObstacle Obstacle = PortObstacle::None;
    std::string Port;  ///< the name that the person knows it by; may be empty until it is told
    std::string What;  ///< "no access to /dev/ttyUSB0"
    std::string Why;   ///< "it belongs to the group dialout"; may be empty
    std::string ToDo;  ///< "add yourself to the group and log in again"; may be empty

    /// All of it in one line.
    [[nodiscard]] std::string Text() const;
    /// The obstacle as a word: "not-there", "in-use".
    [[nodiscard]] const char* Word() const;
};

/// Who may use a device file, and what of that holds for this user.
struct NodeRights {
    std::string Owner;
    std::string Group;
    bool GroupMay = false;   ///< members of the group may read and write
    bool Superuser = false;  ///< this user is root, and was refused even so
    bool Listed = false;     ///< this user stands in the group's list
    bool Member = false;     ///< this session has the group
};

/// The findings, from what was seen. Names of files and programs are texts, not the system's bytes.
namespace PortReasons {

/// `device` may be empty where there is no file.
PortReason NotThere(const std::string& device);
PortReason Refused(const std::string& device, const NodeRights& rights);
/// `programs` names those that have it open, empty where the system does not tell.
PortReason InUse(const std::string& programs);
/// `holder` names the program that the file tells of; not `alive`: it has ended.
PortReason Locked(const std::string& file, const std::string& holder, bool alive);
PortReason Failed(const std::string& device, const std::string& error);
/// `rates`: it was asked at more than one speed.
PortReason Silent(bool rates);
/// A reader on USB HID that was refused with the system's error, one of errno.
PortReason Hid(const std::string& device, int error);

}  // namespace PortReasons
