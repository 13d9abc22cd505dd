#include "system/clsAccessCheck.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "base/modText.h"
#include "system/FolderEntries.h"
#include "system/clsPortLock.h"

namespace fs = std::filesystem;

namespace {

// The plain bridges between USB and a serial line, which the shipped rule names too, with their drivers.
constexpr std::array<std::pair<std::string_view, std::string_view>, 4> bridges{
    {{"0403:6001", "ftdi_sio"}, {"067b:2303", "pl2303"}, {"10c4:ea60", "cp210x"}, {"1a86:7523", "ch341"}}};

std::string Line(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return modText::Trim(line);
}

std::string LinkName(const fs::path& link) {
    std::error_code failed;
    const fs::path target = fs::read_symlink(link, failed);
    return failed ? std::string() : target.filename().string();
}

std::string RealPath(const std::string& file) {
    std::error_code failed;
    const fs::path real = fs::canonical(file, failed);
    return failed ? file : real.string();
}

std::string Program(const std::string& name, long process) {
    return modText::FromUtf8(name) + " (process " + std::to_string(process) + ")";
}

constexpr auto reloadRules = " && sudo udevadm control --reload";

// Nothing that somebody wrote is lost by it.
std::string PutAside(const std::string& file) {
    return "sudo mv -b " + ShellWord(file) + " " + ShellWord(file + ".old") + reloadRules;
}

bool Gives(const UdevRecords::RuleFile& rule, const UdevDevice& device) {
    return (rule.Shipped && rule.Unread) || UdevRules::Give(rule.Content, device);
}
bool Counts(const UdevRecords::RuleFile& rule) { return rule.Shipped && !rule.Hidden; }
bool IsHidden(const UdevRecords::RuleFile& rule) { return rule.Shipped && rule.Hidden && rule.MayGive; }

bool IsBridge(std::string_view id, std::string_view driver) {
    return std::any_of(bridges.begin(), bridges.end(), [&](const auto& bridge) {
        return bridge.first == id || (!driver.empty() && driver.starts_with(bridge.second));
    });
}

}  // namespace

clsAccessCheck::clsAccessCheck(AccessRoots roots, AccessAccount account)
    : m_roots(std::move(roots)), m_account(std::move(account)) {}

AccessReport clsAccessCheck::Look(const std::vector<PortEntry>& ports) {
    AccessReport report;
    for (const PortEntry& port : ports) report.Nodes.push_back(AccessNode::Of(port));
    AddHidReaders(report);
    std::error_code failed;
    m_daemon = fs::exists(m_roots.Udev + "/control", failed);
    m_rules = UdevRecords::Rules(m_roots.Rules);
    LookAtProcesses(report.Nodes);
    for (AccessNode& node : report.Nodes) LookAtNode(node, report);
    LookForDriverless(report);
    LookAtRules(report);
    return report;
}

// -- what is there ------------------------------------------------------------------------------------------

void clsAccessCheck::AddHidReaders(AccessReport& report) const {
    std::vector<fs::path> found = FolderEntries(m_roots.Sys + "/class/hidraw");
    std::sort(found.begin(), found.end());
    for (const fs::path& entry : found) {
        const std::string device = m_roots.Dev + "/" + entry.filename().string();
        if (!UsbOf(device, /*hid=*/true).Maker()) continue;
        const bool listed =
            std::any_of(report.Nodes.begin(), report.Nodes.end(),
                        [&](const AccessNode& node) { return RealPath(node.Device) == RealPath(device); });
        if (listed) continue;
        AccessNode& node = report.Nodes.emplace_back();
        node.Name = device;
        node.Device = device;
        node.Hid = true;
    }
}

fs::path clsAccessCheck::FolderOf(const std::string& device, bool hid) const {
    return fs::path(m_roots.Sys) / "class" / (hid ? "hidraw" : "tty") / fs::path(RealPath(device)).filename();
}

std::string clsAccessCheck::NumberOf(const std::string& device, bool hid) const {
    return Line(FolderOf(device, hid) / "dev");
}

// Empty for what hangs on no USB device. A HID device that a program made has no USB device above it, and is
// known by what it says of itself.
clsAccessCheck::UsbPart clsAccessCheck::UsbOf(const std::string& device, bool hid) const {
    UsbPart usb;
    const fs::path link = FolderOf(device, hid) / "device";
    usb.Driver = LinkName(link / "driver");
    std::ifstream properties(link / "uevent");
    for (std::string line; std::getline(properties, line);) {
        const auto parts = modText::Split(line, ':');  // HID_ID=0003:00002E91:00000005
        if (!line.starts_with("HID_ID=") || parts.size() < 3) continue;
        usb.Id = modText::ContainsNoCase(parts[1], "2E91") ? "2e91:0005" : "";
    }
    std::error_code failed;
    for (fs::path at = fs::canonical(link, failed); !failed && at.has_relative_path();
         at = at.parent_path()) {
        if (!fs::exists(at / "idVendor", failed)) continue;
        usb.Id = Line(at / "idVendor") + ":" + Line(at / "idProduct");
        usb.Number = Line(at / "dev");
        break;
    }
    return usb;
}

void clsAccessCheck::LookAtProcesses(std::vector<AccessNode>& nodes) {
    std::map<std::string, AccessNode*> devices;
    for (AccessNode& node : nodes) devices[RealPath(node.Device)] = &node;
    for (const fs::path& process : FolderEntries(m_roots.Proc)) {
        const long id = std::strtol(process.filename().c_str(), nullptr, 10);
        if (id <= 0 || id == getpid()) continue;
        std::error_code failed;
        const std::string name = Line(process / "comm");
        if (name == "ModemManager") m_modemManager = Program(name, id);
        std::set<std::string> open;
        for (const fs::path& descriptor : FolderEntries(process / "fd"))
            open.insert(fs::read_symlink(descriptor, failed).string());
        // Whoever made a pseudo-terminal is the other end of that line.
        const bool makes = open.count("/dev/ptmx") + open.count("/dev/pts/ptmx") != 0;
        for (const auto& [device, node] : devices) {
            if (open.count(device) == 0 || (makes && device.starts_with("/dev/pts/"))) continue;
            node->Programs += (node->Programs.empty() ? "" : ", ") + Program(name, id);
            m_holders[node->Name].insert(id);
        }
    }
}

// -- what is wrong ------------------------------------------------------------------------------------------

void clsAccessCheck::LookAtNode(AccessNode& node, AccessReport& report) {
    AccessRights::Look(node, m_account);
    const std::string device = modText::FromUtf8(node.Device);
    if (!node.There) {
        report.Findings.push_back({AccessTrouble::NotThere, node.Name, device + " is not there",
                                   "nothing is plugged in that has this name",
                                   "plug it in; this shows which ports there are", "zarn74ctl ports"});
        return;
    }
    const UsbPart usb = UsbOf(node.Device, node.Hid);
    if (usb.Maker()) m_makers.push_back(ForRules(node));
    LookAtAccess(node, usb, report);
    LookAtLock(node, report);
    if (!node.Programs.empty()) {
        std::string command = "kill";
        for (const long process : m_holders[node.Name]) command += " " + std::to_string(process);
        report.Findings.push_back({AccessTrouble::InUse, node.Name, device + " is in use",
                                   node.Programs + " has it open", "close that program; this ends it",
                                   command});
    }
    LookAtModems(node, usb, report);
}

UdevDevice clsAccessCheck::ForRules(const AccessNode& node) const {
    return {node.Hid ? "hidraw" : "tty", FolderOf(node.Device, node.Hid).string()};
}

// `late`: one that would, came it before the devices are given away.
bool clsAccessCheck::RuleGives(const AccessNode& node, bool late) const {
    const UdevDevice device = ForRules(node);
    return std::any_of(m_rules.begin(), m_rules.end(), [&](const UdevRecords::RuleFile& rule) {
        return !rule.Hidden && rule.Late == late && Gives(rule, device);
    });
}

void clsAccessCheck::LookAtAccess(const AccessNode& node, const UsbPart& usb, AccessReport& report) {
    const std::string device = modText::FromUtf8(node.Device);
    const std::string quoted = ShellWord(node.Device);
    if (node.May) {
        if (AccessRights::SystemRefuses(node, m_account))
            report.Findings.push_back({AccessTrouble::SystemRefuses, node.Name, "no access to " + device,
                                       "every right is there, and the system refuses it",
                                       "if this is a container or sandbox, give it the device",
                                       "ls -l " + quoted});
        return;
    }
    const bool ruled = m_daemon && usb.Maker();
    const bool counts = ruled && RuleGives(node, /*late=*/false);
    const auto record = UdevRecords::RecordOf(m_roots.Udev + "/data", NumberOf(node.Device, node.Hid));
    const bool given = ruled && record && record->Given && (counts || !RuleGives(node, /*late=*/true));
    if (!counts && !given) {
        AccessFinding found = AccessRights::Explain(node, m_account);
        const bool ruleHelps = ruled && found.Trouble == AccessTrouble::OwnerOnly;
        if (ruleHelps) return m_needing.push_back(ForRules(node));  // told of the machine
        report.Findings.push_back(std::move(found));
        return;
    }
    if (!given) {
        report.Findings.push_back(
            {AccessTrouble::RuleNotApplied, node.Name, "the udev rule was not applied to " + device,
             "the reader was plugged in before the rule was there",
             "plug it in again, or go through the rules",
             "sudo udevadm control --reload && sudo udevadm trigger --action=add --name-match=" + quoted});
        return;
    }
    const std::string name = modText::FromUtf8(m_account.Name);
    report.Findings.push_back(
        {AccessTrouble::NotAtSeat, node.Name, "no access to " + device,
         "the rule gives it to whoever sits at the machine, and " + name + " does not",
         "work at the machine itself, or give it to the account until it is plugged in again",
         "sudo setfacl -m u:" + name + ":rw " + quoted});
}

void clsAccessCheck::LookAtLock(AccessNode& node, AccessReport& report) {
    const auto holder = clsPortLock::HolderOf(m_roots.Locks, RealPath(node.Device));
    if (!holder || holder->Process == getpid()) return;
    node.LockFile = modText::FromUtf8(holder->File);
    if (holder->Process > 0)
        node.LockedBy = Program(holder->Program.empty() ? "a program" : holder->Program, holder->Process);
    if (m_holders[node.Name].count(holder->Process) != 0) return;  // in use says it all
    const std::string by = node.LockedBy.empty() ? "a program that it does not name" : node.LockedBy;
    if (holder->Alive) {
        // Anybody may write that number, and it may be another program's by now: none is to be ended for it.
        const bool named = holder->Process > 0;
        report.Findings.push_back(
            {AccessTrouble::LockFile, node.Name, node.LockFile + " keeps others off",
             named ? "it names " + by + ", which was not seen to have the port open" : by + " made it",
             "close that program if it uses the port, else remove the file; this shows what " +
                 std::string(named ? "it is" : "the file says"),
             named ? "ps -p " + std::to_string(holder->Process) : "cat " + ShellWord(holder->File)});
    } else if (!clsPortLock::MayRemove(holder->File, m_account.User)) {
        report.Findings.push_back({AccessTrouble::LockLeft, node.Name, node.LockFile + " keeps others off",
                                   by + " made it and has ended", "remove the file",
                                   "sudo rm " + ShellWord(holder->File)});
    }
}

void clsAccessCheck::LookAtModems(const AccessNode& node, const UsbPart& usb, AccessReport& report) const {
    if (m_modemManager.empty() || node.Hid || !m_daemon) return;
    if (!usb.Maker() && !IsBridge(usb.Id, usb.Driver)) return;
    const auto record = UdevRecords::RecordOf(m_roots.Udev + "/data", usb.Number);
    if (record && record->ModemIgnored) return;
    const auto ids = modText::Split(usb.Id, ':');
    if (ids.size() != 2) return;
    report.Findings.push_back(
        {AccessTrouble::ModemManager, node.Name, "ModemManager may try " + node.Name + " for half a minute",
         m_modemManager + " runs and is not told to keep off the adapter " + usb.Id,
         "a rule of its own for this adapter keeps it off; plug the adapter in again then",
         R"(echo 'SUBSYSTEM=="usb", ENV{DEVTYPE}=="usb_device", ATTR{idVendor}==")" + ids[0] +
             R"(", ATTR{idProduct}==")" + ids[1] +
             R"(", ENV{ID_MM_DEVICE_IGNORE}="1"' | sudo tee -a /etc/udev/rules.d/69-zarn74-modems.rules)"});
}

void clsAccessCheck::LookAtRules(AccessReport& report) const {
    if (!m_needing.empty()) return AddRuleMissing(report);
    const auto first = std::find_if(m_rules.begin(), m_rules.end(), Counts);
    const auto behind = std::find_if(m_rules.begin(), m_rules.end(), IsHidden);
    if (first == m_rules.end() || first->Void || behind == m_rules.end()) return;
    const bool needed = std::any_of(m_makers.begin(), m_makers.end(), [&](const UdevDevice& device) {
        return Gives(*first, device) && !Gives(*behind, device);
    });
    if (needed) return;
    report.Findings.push_back(
        {AccessTrouble::RuleDoubled,
         {},
         "the udev rule for readers is there more than once",
         modText::FromUtf8(first->Path + " hides " + behind->Path),
         "put the first aside, unless it was changed on purpose; it stays there under another name",
         PutAside(first->Path)});
}

void clsAccessCheck::AddRuleMissing(AccessReport& report) const {
    const auto first = std::find_if(m_rules.begin(), m_rules.end(), Counts);
    const auto behind = std::find_if(m_rules.begin(), m_rules.end(), IsHidden);
    const bool off = first != m_rules.end() && behind != m_rules.end() && Gives(*behind, m_needing.front());
    const std::string rule = UdevRecords::ruleName;
    const std::string why = "no rule gives readers to whoever sits at the machine";
    const std::string how = first == m_rules.end() ? ""
                            : first->Void          ? " is empty and switches it off"
                                                   : " does not give them";
    report.Findings.push_back(
        {AccessTrouble::RuleMissing,
         {},
         "the udev rule for readers is missing",
         how.empty() ? why : why + ", since " + modText::FromUtf8(first->Path) + how,
         off ? "put that file aside, and plug the reader in again; it stays there under another name"
             : "install it from the folder packaging of the sources, and plug the reader in again; the "
               "Debian package does that too",
         off ? PutAside(first->Path)
             : "sudo install -b -m 644 packaging/" + rule + " /etc/udev/rules.d/" + reloadRules});
}

// A USB device of the maker's, or a bridge, of which no port has come.
void clsAccessCheck::LookForDriverless(AccessReport& report) const {
    for (const fs::path& device : FolderEntries(m_roots.Sys + "/bus/usb/devices")) {
        const std::string id = Line(device / "idVendor") + ":" + Line(device / "idProduct");
        const bool maker = id.starts_with("2e91:");
        const auto* const bridge = std::find_if(bridges.begin(), bridges.end(),
                                                [&](const auto& entry) { return entry.first == id; });
        if (!maker && bridge == bridges.end()) continue;
        bool port = false;
        bool hid = false;
        std::string taken;
        for (const fs::path& part : FolderEntries(device)) {
            const std::string kind = Line(part / "bInterfaceClass");
            if (kind.empty()) continue;
            hid = hid || kind == "03";
            const std::string driver = LinkName(part / "driver");
            if (driver == "usbfs") taken = driver;
            std::error_code failed;
            port = port || fs::exists(part / "tty", failed);
            for (const fs::path& inner : FolderEntries(part)) {
                const std::string name = inner.filename().string();
                port = port || name.starts_with("ttyUSB") || fs::exists(inner / "hidraw", failed);
            }
        }
        if (port) continue;
        const std::string driver = !maker ? std::string(bridge->second) : hid ? "usbhid" : "cdc_acm";
        report.Findings.push_back(
            {AccessTrouble::NoDriver,
             {},
             "no port has come of the USB device " + id,
             taken.empty() ? "its driver " + driver + " is not loaded, or did not take it"
                           : "another program has taken it as a whole, past the driver " + driver,
             taken.empty() ? "load the driver"
                           : "close or remove that program; this shows what the kernel said",
             taken.empty() ? "sudo modprobe " + driver : "sudo dmesg | grep -i usb"});
    }
}
