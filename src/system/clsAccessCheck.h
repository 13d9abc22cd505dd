#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "ports/AccessReport.h"
#include "ports/clsIPortDirectory.h"
#include "system/AccessRights.h"
#include "system/UdevRecords.h"
#include "system/UdevRules.h"

/// Where the system tells of itself.
struct AccessRoots {
    std::string Sys = "/sys";
    std::string Dev = "/dev";
    std::string Proc = "/proc";
    std::string Udev = "/run/udev";
    std::string Locks = "/var/lock";
    /// The first counts most.
    std::vector<std::string> Rules{"/etc/udev/rules.d", "/run/udev/rules.d", "/usr/local/lib/udev/rules.d",
                                   "/usr/lib/udev/rules.d", "/lib/udev/rules.d"};
};

/// Looks at everything between an account and the readers: device files, lock files, the programs that have
/// them open, udev's rules and what became of them, the modem manager, USB devices without a driver. Opens no
/// device, sends nothing, changes nothing. Made for one look, by whoever shows it; takes milliseconds, most
/// of them for the list of processes.
class clsAccessCheck {
  public:
    explicit clsAccessCheck(AccessRoots roots = {}, AccessAccount account = AccessAccount::Current());

    /// The ports that are listed, and every reader on USB HID: one that is not among `ports` is called by its
    /// device file.
    [[nodiscard]] AccessReport Look(const std::vector<PortEntry>& ports);

  private:
    /// What hangs on USB at a device file.
    struct UsbPart {
        std::string Id;      // "0403:6001"
        std::string Number;  // of the device, "189:3"
        std::string Driver;  // of the port
        [[nodiscard]] bool Maker() const { return Id.starts_with("2e91:"); }
    };
    [[nodiscard]] UsbPart UsbOf(const std::string& device, bool hid) const;
    [[nodiscard]] std::string NumberOf(const std::string& device, bool hid) const;
    void AddHidReaders(AccessReport& report) const;
    void LookAtProcesses(std::vector<AccessNode>& nodes);
    void LookAtNode(AccessNode& node, AccessReport& report);
    void LookAtAccess(const AccessNode& node, const UsbPart& usb, AccessReport& report);
    void LookAtLock(AccessNode& node, AccessReport& report);
    void LookAtRules(AccessReport& report) const;
    void LookAtModems(const AccessNode& node, const UsbPart& usb, AccessReport& report) const;
    void LookForDriverless(AccessReport& report) const;
    [[nodiscard]] std::filesystem::path FolderOf(const std::string& device, bool hid) const;
    [[nodiscard]] UdevDevice ForRules(const AccessNode& node) const;
    [[nodiscard]] bool RuleGives(const AccessNode& node, bool late) const;
    void AddRuleMissing(AccessReport& report) const;

    const AccessRoots m_roots;
    const AccessAccount m_account;
    bool m_daemon = false;  // the device manager runs here
    std::vector<UdevRecords::RuleFile> m_rules;
    std::vector<UdevDevice> m_makers;   // the devices of the maker's
    std::vector<UdevDevice> m_needing;  // those that only a rule would open, and none does
    std::string m_modemManager;
    std::map<std::string, std::set<long>> m_holders;  // the processes that have a port's device open
};
