#include "ports/PortReason.h"

#include <cerrno>
#include <system_error>

std::string PortReason::Text() const {
    std::string text = Port.empty() ? What : Port + ": " + What;
    if (!Why.empty()) text += ": " + Why;
    if (!ToDo.empty()) text += "; " + ToDo;
    return text;
}

const char* PortReason::Word() const {
    switch (Obstacle) {
        case PortObstacle::None: break;
        case PortObstacle::NotThere: return "not-there";
        case PortObstacle::Refused: return "refused";
        case PortObstacle::InUse: return "in-use";
        case PortObstacle::LockFile: return "lock-file";
        case PortObstacle::Failed: return "failed";
        case PortObstacle::Silent: return "silent";
    }
    return "none";
}

namespace PortReasons {

PortReason NotThere(const std::string& device) {
    return {PortObstacle::NotThere, {}, (device.empty() ? "it" : device) + " is not there", {}, "plug it in"};
}

PortReason Refused(const std::string& device, const NodeRights& rights) {
    PortReason reason{PortObstacle::Refused, {}, "no access to " + device, {}, {}};
    const bool group = rights.GroupMay && rights.Group != "root";
    if (rights.Superuser || (group && rights.Member)) {
        reason.Why = rights.Superuser ? "the system refuses it even to root"
                                      : "the system refuses it although you are in the group " + rights.Group;
        reason.ToDo = "if this is a container or sandbox, give it the device";
    } else if (group) {
        reason.Why = "it belongs to the group " + rights.Group;
        reason.ToDo = rights.Listed
                          ? "you are in that group since you logged in: log out and in again"
                          : "add yourself (sudo adduser \"$USER\" " + rights.Group + ") and log in again";
    } else {
        reason.Why = "only " + (rights.Owner.empty() ? "its owner" : rights.Owner) + " may use it";
        reason.ToDo = "a udev rule can give it to a group that you are in";
    }
    return reason;
}

PortReason InUse(const std::string& programs) {
    return {PortObstacle::InUse, {}, "in use by another program", programs, "close that program"};
}

PortReason Locked(const std::string& file, const std::string& holder, bool alive) {
    return {PortObstacle::LockFile,
            {},
            "refused by the lock file " + file,
            holder.empty() ? std::string() : holder + (alive ? " made it" : " made it and has ended"),
            alive ? "close that program" : "remove it (sudo rm " + file + ")"};
}

PortReason Failed(const std::string& device, const std::string& error) {
    return {PortObstacle::Failed, {}, device + " cannot be opened", error, {}};
}

PortReason Silent(bool rates) {
    return {PortObstacle::Silent,
            {},
            rates ? "no reader answered at any speed" : "no reader answered",
            {},
            "check cable and power"};
}

PortReason Hid(const std::string& device, int error) {
    switch (error) {
        case EACCES:
        case EPERM:
            return {PortObstacle::Refused,
                    {},
                    "no access to " + device,
                    {},
                    "put the rule 70-zarn74.rules into /etc/udev/rules.d and plug the reader in again"};
        case EBUSY:
        case EWOULDBLOCK: return InUse({});
        case ENOENT:
        case ENODEV:
        case ENXIO: return NotThere(device);
        default: return Failed(device, std::generic_category().message(error));
    }
}

}  // namespace PortReasons
