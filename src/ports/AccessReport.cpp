#include "ports/AccessReport.h"

#include <algorithm>
#include <iterator>

#include "base/modText.h"

AccessNode AccessNode::Of(const PortEntry& port) {
    AccessNode node;
    node.Hid = !port.Alias.empty();
    node.Name = node.Hid ? port.Alias : port.Name;
    node.Device = port.Device;
    return node;
}

const char* AccessFinding::Word() const {
    switch (Trouble) {
        case AccessTrouble::NotThere: return "not-there";
        case AccessTrouble::NotInGroup: return "not-in-group";
        case AccessTrouble::NotInSession: return "not-in-session";
        case AccessTrouble::OwnerOnly: return "owner-only";
        case AccessTrouble::AclRefuses: return "acl-refuses";
        case AccessTrouble::SystemRefuses: return "system-refuses";
        case AccessTrouble::NotAtSeat: return "not-at-seat";
        case AccessTrouble::LockFile: return "lock-file";
        case AccessTrouble::LockLeft: return "lock-left";
        case AccessTrouble::InUse: return "in-use";
        case AccessTrouble::RuleMissing: return "rule-missing";
        case AccessTrouble::RuleDoubled: return "rule-doubled";
        case AccessTrouble::RuleNotApplied: return "rule-not-applied";
        case AccessTrouble::ModemManager: return "modem-manager";
        case AccessTrouble::NoDriver: return "no-driver";
        case AccessTrouble::Silent: break;
    }
    return "silent";
}

AccessReport AccessReport::Only(const std::string& port) const {
    AccessReport report;
    std::copy_if(Nodes.begin(), Nodes.end(), std::back_inserter(report.Nodes),
                 [&](const AccessNode& node) { return node.Name == port; });
    std::copy_if(Findings.begin(), Findings.end(), std::back_inserter(report.Findings),
                 [&](const AccessFinding& found) { return found.Port.empty() || found.Port == port; });
    return report;
}

std::vector<std::string> AccessReport::Askable() const {
    std::vector<std::string> ports;
    for (const AccessNode& node : Nodes) {
        const bool hindered = std::any_of(Findings.begin(), Findings.end(), [&](const AccessFinding& found) {
            return found.Port == node.Name && found.Trouble != AccessTrouble::ModemManager;
        });
        if (node.There && node.May && !hindered) ports.push_back(node.Name);
    }
    return ports;
}

void AccessReport::Add(const std::string& port, const std::vector<PortReason>& reasons) {
    const auto node =
        std::find_if(Nodes.begin(), Nodes.end(), [&](const AccessNode& entry) { return entry.Name == port; });
    if (node == Nodes.end()) return;
    for (const PortReason& reason : reasons) Add(*node, reason);
    if (reasons.empty())
        Findings.push_back({AccessTrouble::NotThere, port, port + " could not be asked",
                            "its device is there, and it is none of the ports that the program knows",
                            "plug it in again; this shows which ports there are", "zarn74ctl ports"});
}

void AccessReport::Add(const AccessNode& node, const PortReason& reason) {
    const std::string& port = node.Name;
    if (reason.Obstacle != PortObstacle::Silent) {
        // Everything looked well, and it could not be opened all the same.
        const bool failed = reason.Obstacle == PortObstacle::Failed;
        Findings.push_back({failed ? AccessTrouble::SystemRefuses : AccessTrouble::InUse, port,
                            port + " cannot be opened",
                            reason.What + (reason.Why.empty() ? "" : ": " + reason.Why),
                            failed ? "see whether it is a serial line, and whether its hardware is there"
                                   : reason.ToDo + "; this shows who has it",
                            (failed ? "ls -l " : "sudo fuser -v ") + ShellWord(node.Device)});
        return;
    }
    // By the device: the name may be this run's alone.
    Findings.push_back(
        {AccessTrouble::Silent, port, "no reader answers on " + port,
         node.Hid ? "its adapter is there, and nothing came back from behind it"
                  : "the port opens, and nothing came back at any speed",
         "check the reader's cable and power; this shows whether it sends anything",
         "zarn74ctl --port " + (node.Hid ? port : ShellWord(node.Device) + " --baud 19200") + " monitor"});
}

std::string AccessText(const AccessNode& node) {
    if (!node.There) return "not there";
    if (!node.Programs.empty()) return "in use by " + node.Programs;
    return node.May ? "may be used" : "no access";
}

std::string ShellWord(const std::string& file) {
    constexpr const char* plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+:@";
    if (!file.empty() && file.find_first_not_of(plain) == std::string::npos) return file;
    std::string quoted = "'";
    for (const char c : file) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return modText::FromUtf8(quoted + "'");
}
