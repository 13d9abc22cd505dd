#pragma once

#include <string>
#include <vector>

#include "ports/PortReason.h"
#include "ports/clsIPortDirectory.h"

/// What can be wrong with the way to a reader.
enum class AccessTrouble {
    NotThere,        ///< there is no such device file
    NotInGroup,      ///< the account is not in the group that has the device
    NotInSession,    ///< it is, but this session began before that
    OwnerOnly,       ///< no group may use the device
    AclRefuses,      ///< the access list takes away what the mode gives
    SystemRefuses,   ///< every right is there, and the system says no
    NotAtSeat,       ///< whoever sits at the machine is given the reader; this account does not
    LockFile,        ///< a lock file that names a running program, or none
    LockLeft,        ///< a lock file whose program has ended, and which this account cannot remove
    InUse,           ///< a program has it open
    RuleMissing,     ///< no udev rule gives this account the maker's device that it may not use
    RuleDoubled,     ///< there are two of its name, and one hides the other
    RuleNotApplied,  ///< there is one, and this device has not gone through it
    ModemManager,    ///< it runs and was not told to keep off this adapter
    NoDriver,        ///< a USB device is there and no port has come of it
    Silent           ///< the port opens, and no reader answers
};

/// One port or reader as it was found. Texts are bytes, one character per byte.
struct AccessNode {
    std::string Name;    ///< the port's, "COM5"; of a reader on USB HID its short one, "HID1"
    std::string Device;  ///< the device file, as the system's bytes
    bool Hid = false;
    bool There = false;  ///< false: all behind it is empty
    std::string Owner;
    std::string Group;
    std::string Mode;      ///< "crw-rw----"
    std::string Acl;       ///< "user:anna:rw-,mask::rw-"; empty: none
    bool Listed = false;   ///< the account is in the group, on paper
    bool Member = false;   ///< this session is
    bool May = false;      ///< by owner, group, mode and access list this session may read and write
    std::string LockFile;  ///< empty: none
    std::string LockedBy;  ///< whom it names, "name (process 12)"; empty: nobody
    std::string Programs;  ///< that have it open, as far as this account may see them

    /// That port, of which nothing more is known yet.
    static AccessNode Of(const PortEntry& port);
};

/// One thing that is wrong, for a person.
struct AccessFinding {
    AccessTrouble Trouble = AccessTrouble::NotThere;
    std::string Port;     ///< empty: of the machine
    std::string What;     ///< "no access to /dev/ttyUSB0"
    std::string Why;      ///< "it belongs to the group dialout, in which anna is not"
    std::string ToDo;     ///< "add yourself, and log in again"
    std::string Command;  ///< that does it or helps with it, to be copied; nothing runs it

    /// The trouble as a word: "not-in-group".
    [[nodiscard]] const char* Word() const;
};

/// What one look at the machine brought.
struct AccessReport {
    std::vector<AccessNode> Nodes;
    std::vector<AccessFinding> Findings;

    /// What is said of that port and of the machine as a whole.
    [[nodiscard]] AccessReport Only(const std::string& port) const;
    /// The ports that nothing keeps from being asked for a reader.
    [[nodiscard]] std::vector<std::string> Askable() const;
    /// A port was asked for a reader, in vain: what the search found out of it. Without any reason there was
    /// no such port to be asked.
    void Add(const std::string& port, const std::vector<PortReason>& reasons);

  private:
    void Add(const AccessNode& node, const PortReason& reason);
};

/// What an account is let do with a device, in one line: "anna may use it".
std::string AccessText(const AccessNode& node);
/// A file's name, as the system's bytes, as a shell takes it.
std::string ShellWord(const std::string& file);
