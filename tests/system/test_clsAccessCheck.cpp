#include "system/clsAccessCheck.h"

#include <sys/acl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "support/TempFolder.h"
#include "system/UdevRules.h"

namespace {

constexpr gid_t dialout = 20;
constexpr auto rule = R"(SUBSYSTEM=="hidraw", KERNELS=="*:2E91:0005.*", TAG+="uaccess")";
constexpr auto modems = R"(SUBSYSTEM=="usb", ATTR{idVendor}=="2e91", ENV{ID_MM_DEVICE_IGNORE}="1")";
constexpr auto tty = "ttyUSB0";

/// A machine on which all is well: a bridge with a port, a reader on USB HID, the rule and what it did to
/// both.
struct Machine : TempFolder {
    Machine() {
        Usb("1-1", "0403", "6001", "189:1", "00/ttyUSB0");
        Node("tty", "ttyUSB0", "1-1/00", "188:0");
        Usb("1-2", "2e91", "0005", "189:2", "00/0003:2E91:0005.0001/hidraw");
        Node("hidraw", "hidraw0", "1-2/00/0003:2E91:0005.0001", "240:0");
        chmod(Device("hidraw0").c_str(), 0666);
        Put("udev/control", "");
        Put("udev/data/c189:1", "E:ID_MM_DEVICE_IGNORE=1\n");
        Put("udev/data/c240:0", "G:uaccess\n");
        Put("lib/70-zarn74.rules", rule);
        fs::create_directories(folder + "/lock");
        chmod((folder + "/lock").c_str(), 01777);
        struct stat file {};
        stat(Device("ttyUSB0").c_str(), &file);
        account.User = file.st_uid + 4242;
        account.Name = "anna";
        account.Session = account.Listed = {file.st_gid};
    }
    [[nodiscard]] std::string Device(const std::string& name) const { return folder + "/dev/" + name; }
    void Usb(const std::string& socket, const std::string& vendor, const std::string& product,
             const std::string& number, const std::string& port) const {
        const std::string usb = "sys/devices/usb1/" + socket;
        Put(usb + "/idVendor", vendor + "\n");
        Put(usb + "/idProduct", product + "\n");
        Put(usb + "/dev", number + "\n");
        Put(usb + "/00/bInterfaceClass", vendor == "2e91" ? "03\n" : "ff\n");
        if (!port.empty()) fs::create_directories(folder + "/" + usb + "/" + port);
        fs::create_directories(folder + "/sys/bus/usb/devices");
        fs::create_directory_symlink(folder + "/" + usb, folder + "/sys/bus/usb/devices/" + socket);
    }
    void Node(const std::string& kind, const std::string& name, const std::string& under,
              const std::string& number) const {
        Put("sys/class/" + kind + "/" + name + "/dev", number + "\n");
        fs::create_directory_symlink(folder + "/sys/devices/usb1/" + under,
                                     folder + "/sys/class/" + kind + "/" + name + "/device");
        Put("dev/" + name, "");
        EXPECT_TRUE(geteuid() != 0 || chown(Device(name).c_str(), 0, dialout) == 0);
        chmod(Device(name).c_str(), 0660);
    }
    /// The reader on USB HID has not gone through the rule, and is root's.
    void Refuse() const {
        Put("udev/data/c240:0", "E:A=1\n");
        chmod(Device("hidraw0").c_str(), 0600);
    }
    /// Another rule instead of the shipped one, whose name leads elsewhere.
    void Own(const std::string& name, const std::string& content, const char* elsewhere = "") const {
        fs::remove_all(folder + "/lib");
        Put("etc/" + name, content);
        if (*elsewhere != 0) fs::create_symlink(elsewhere, folder + "/etc/70-zarn74.rules");
    }
    void NoGroup() { account.Session = account.Listed = {}; }
    /// It runs, and the device manager holds this of the bridge.
    void ModemManager(const std::string& data) const {
        Process("88", "ModemManager", "");
        Put("udev/data/c189:1", data);
    }
    void Process(const std::string& id, const std::string& name, const std::string& has) const {
        Put("proc/" + id + "/comm", name + "\n");
        fs::create_directories(folder + "/proc/" + id + "/fd");
        if (!has.empty()) fs::create_symlink(Device(has), folder + "/proc/" + id + "/fd/7");
    }
    void Lock(const std::string& content) const {
        std::string name = Device("ttyUSB0");
        std::replace(name.begin(), name.end(), '/', '_');
        Put("lock/LCK.." + name, content);
    }
    void SetList(const std::string& text) const {
        const acl_t list = acl_from_text(text.c_str());
        EXPECT_EQ(acl_set_file(Device("ttyUSB0").c_str(), ACL_TYPE_ACCESS, list), 0) << text;
        acl_free(list);
    }
    [[nodiscard]] AccessReport Look() const {
        PortEntry port;
        port.Name = "COM5";
        port.Device = Device("ttyUSB0");
        return clsAccessCheck({folder + "/sys",
                               folder + "/dev",
                               folder + "/proc",
                               folder + "/udev",
                               folder + "/lock",
                               {folder + "/etc", folder + "/lib"}},
                              account)
            .Look({port});
    }
    [[nodiscard]] std::string Found() const {
        std::string text;
        for (const AccessFinding& found : Look().Findings) {
            EXPECT_FALSE(found.What.empty() || found.Why.empty() || found.ToDo.empty()) << found.Word();
            std::string command = found.Command;
            for (auto at = command.find(folder); at != std::string::npos; at = command.find(folder))
                command.erase(at, folder.size());
            text += std::string(found.Word()) + " " + found.Port.substr(found.Port.rfind('/') + 1) + " $ " +
                    command + "\n";
        }
        return text;
    }
    AccessAccount account;
};

// A process that has ended and that nobody has waited for: of its names only the one that is cut off is left.
pid_t CutNamed(const char* name) {
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_NAME, name);
        _exit(0);
    }
    siginfo_t info{};
    EXPECT_EQ(waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
    return child;
}

TEST(AccessCheck, FindsEachObstacleAloneAndNothingOnAHealthyMachine) {
    const struct {
        const char* Name;
        std::function<void(Machine&)> Break;
        const char* Found;
    } rows[] = {
        {"healthy", [](Machine&) {}, ""},
        {"a list that gives",
         [](Machine& m) {
             m.NoGroup(), m.SetList("u::rw,g::-,u:" + std::to_string(m.account.User) + ":rw,m::rw,o::-");
         },
         ""},
        {"not there", [](Machine& m) { fs::remove(m.Device("ttyUSB0")); },
         "not-there COM5 $ zarn74ctl ports\n"},
        {"not in session", [](Machine& m) { m.account.Session.clear(); }, "not-in-session COM5 $ newgrp "},
        {"owner only", [](Machine& m) { chmod(m.Device("ttyUSB0").c_str(), 0600); },
         "owner-only COM5 $ sudo setfacl -m u:anna:rw /dev/ttyUSB0\n"},
        {"a list that takes", [](Machine& m) { m.SetList("u::rw,g::rw,u:1:rw,m::r,o::-"); },
         "acl-refuses COM5 $ sudo setfacl -b /dev/ttyUSB0\n"},
        {"a lock", [](Machine& m) { m.Lock("         1\n"); }, "lock-file COM5 $ ps -p 1\n"},
        {"a lock of who has it open",
         [](Machine& m) {
             m.Lock("         1\n"), m.Process("77", "term", tty), m.Process("1", "init", tty);
         },
         "in-use COM5 $ kill 1 77\n"},
        {"a lock of a program whose file is not told, and whose name is cut off",
         [](Machine& m) {
             m.Lock(std::to_string(CutNamed("a-name-of-15-ch")) + "\na-name-of-15-chars-and-more\n");
         },
         "lock-file COM5 $ ps -p "},
        {"a lock that was left", [](Machine& m) { m.Lock("9999999\nold\n"); },
         "lock-left COM5 $ sudo rm /lock/"},
        {"a lock of one's own that was left",
         [](Machine& m) { m.Lock("9999999\nold\n"), m.account.User -= 4242; }, ""},
        {"open", [](Machine& m) { m.Process("77", "term", tty); }, "in-use COM5 $ kill 77\n"},
        {"no rule", [](Machine& m) { m.Refuse(), fs::remove_all(m.folder + "/lib"); },
         "rule-missing  $ sudo install -b -m 644 packaging/70-zarn74.rules /etc/udev/rules.d/ && "},
        {"a rule of sentences", [](Machine& m) { m.Refuse(), m.Put("lib/70-zarn74.rules", "# 2e91\n"); },
         "rule-missing  $ sudo install -b "},
        {"a rule switched off", [](Machine& m) { m.Refuse(), m.Put("etc/70-zarn74.rules", ""); },
         "rule-missing  $ sudo mv -b /etc/70-zarn74.rules /etc/70-zarn74.rules.old && "},
        {"switched off, and nothing behind it",
         [](Machine& m) { m.Refuse(), m.Own("99-other.rules", "", "/dev/null"); },
         "rule-missing  $ sudo install -b "},
        {"a rule that comes too late",
         [](Machine& m) { chmod(m.Device("hidraw0").c_str(), 0600), m.Own("99-own.rules", rule); },
         "rule-missing  $ sudo install -b "},
        {"the line for modems alone", [](Machine& m) { m.Refuse(), m.Own("69-zarn74-modems.rules", modems); },
         "rule-missing  $ sudo install -b "},
        {"the line for modems beside it", [](Machine& m) { m.Put("etc/69-zarn74-modems.rules", modems); },
         ""},
        {"another maker's product",
         [](Machine& m) { m.Put("etc/50-local.rules", R"(ATTR{idProduct}=="2e91", TAG+="uaccess")"); }, ""},
        {"none needed",
         [](Machine& m) {
             m.Put("udev/data/c240:0", "E:A=1\n");
             m.Own("99-own.rules", R"(SUBSYSTEM=="hidraw", KERNELS=="*:2E91:*", MODE="0666")");
         },
         ""},
        {"one's own group",
         [](Machine& m) {
             m.Own("99-own.rules", R"(SUBSYSTEM=="hidraw", KERNELS=="*:2E91:*", GROUP="dialout")");
             m.Refuse(), m.NoGroup();
             chmod(m.Device("ttyUSB0").c_str(), 0666), chmod(m.Device("hidraw0").c_str(), 0660);
         },
         "not-in-group hidraw0 $ sudo adduser anna "},
        {"one that cannot be read, for root as well",
         [](Machine& m) { m.Refuse(), m.Own("99-other.rules", "", "70-zarn74.rules"); },
         "rule-not-applied hidraw0 $ "},
        {"two rules", [](Machine& m) { m.Put("etc/70-zarn74.rules", rule); },
         "rule-doubled  $ sudo mv -b /etc/70-zarn74.rules /etc/70-zarn74.rules.old && "},
        {"two rules, of which the hidden one gives less",
         [](Machine& m) {
             m.Put("etc/70-zarn74.rules", rule);
             m.Put("lib/70-zarn74.rules", R"(SUBSYSTEM=="tty", ATTRS{idVendor}=="2e91", TAG+="uaccess")");
         },
         ""},
        {"two rules of two names", [](Machine& m) { m.Put("etc/70-own.rules", rule); }, ""},
        {"not applied", [](Machine& m) { m.Refuse(); },
         "rule-not-applied hidraw0 $ sudo udevadm control --reload && "},
        {"not at the machine", [](Machine& m) { chmod(m.Device("hidraw0").c_str(), 0600); },
         "not-at-seat hidraw0 $ sudo setfacl -m u:anna:rw /dev/hidraw0\n"},
        {"a modem manager that was told", [](Machine& m) { m.ModemManager("E:ID_MM_DEVICE_IGNORE=1\n"); },
         ""},
        {"a modem manager that was not", [](Machine& m) { m.ModemManager("E:A=1\n"); },
         "modem-manager COM5 $ echo 'SUBSYSTEM==\"usb\", ENV{DEVTYPE}==\"usb_device\", "
         "ATTR{idVendor}==\"0403\", "},
        {"a real modem",
         [](Machine& m) { m.ModemManager(""), m.Put("sys/devices/usb1/1-1/idProduct", "9999\n"); }, ""},
        {"no driver", [](Machine& m) { m.Usb("1-3", "1a86", "7523", "189:3", ""); },
         "no-driver  $ sudo modprobe ch341\n"},
        {"no driver for a reader", [](Machine& m) { m.Usb("1-3", "2e91", "0005", "189:3", ""); },
         "no-driver  $ sudo modprobe usbhid\n"},
        {"no device manager",
         [](Machine& m) { fs::remove_all(m.folder + "/udev"), fs::remove_all(m.folder + "/lib"); }, ""},
    };
    for (const auto& row : rows) {
        Machine machine;
        row.Break(machine);
        const std::string found = machine.Found();
        EXPECT_EQ(found.substr(0, std::string(row.Found).size()), row.Found) << row.Name;
        EXPECT_EQ(found.empty(), *row.Found == '\0') << row.Name << ": " << found;
        EXPECT_LE(std::count(found.begin(), found.end(), '\n'), 1) << row.Name << ": " << found;
    }
}

TEST(AccessCheck, TellsWhatItSawAndTakesNoNameForMoreThanAName) {
    Machine machine;
    machine.NoGroup();
    machine.Process("77", "term", tty);
    const AccessReport report = machine.Look();
    const AccessNode& node = report.Nodes.at(0);
    EXPECT_EQ(node.Mode, "-rw-rw----");
    EXPECT_TRUE(node.There && !node.Listed && !node.Member && !node.May && !node.Hid);
    EXPECT_EQ(node.Programs, "term (process 77)");
    EXPECT_EQ(report.Nodes.at(1).Name, machine.Device("hidraw0"));
    EXPECT_EQ(report.Only("COM5").Findings.size(), 2U);  // not-in-group, in-use
    EXPECT_EQ(report.Askable(), std::vector{machine.Device("hidraw0")});
    EXPECT_EQ(ShellWord("/dev/a b'$(c)"), "'/dev/a b'\\''$(c)'");
}

TEST(AccessCheck, ARuleCountsForTheDevicesThatItGives) {
    const Machine machine;
    machine.Usb("1-3", "2e91", "0007", "189:3", "00/tty");
    machine.Node("tty", "ttyACM0", "1-3/00", "166:0");
    const UdevDevice devices[] = {{"hidraw", machine.folder + "/sys/class/hidraw/hidraw0"},
                                  {"tty", machine.folder + "/sys/class/tty/ttyACM0"}};
    const std::pair<const char*, const char*> rows[] = {
        {rule, "hidraw "},
        {R"(SUBSYSTEM=="tty", ATTRS{idVendor}=="2e91", TAG+="uaccess")", "tty "},
        {R"(ATTRS{idVendor}=="0403|2e91", TAG+="seat", TAG+="uaccess")", "hidraw tty "},
        {"KERNEL==\"hidraw*\", \\\n  TAG=\"uaccess\"", "hidraw "},
        {R"(ATTRS{idVendor}=="2e91", ATTRS{idProduct}=="0007", TAG+="uaccess")", "tty "},
        {R"(ATTRS{idVendor}=="2e91", KERNELS=="*:2E91:*", TAG+="uaccess")", ""},  // of two parents
        {R"(ATTRS{idVendor}!="2e91", KERNELS=="1-*", TAG+="uaccess")", ""},
        {R"(ATTR{idVendor}=="2e91", TAG+="uaccess")", ""},  // of the USB device itself
        {R"(ATTRS{idVendor}=="2E91", TAG+="uaccess")", ""},
        {R"(ATTRS{idVendor}=="2e91", ENV{WHO}=="knows", TAG+="uaccess")", ""},
        {R"(ATTRS{idVendor}=="2e91", TAG-="uaccess")", ""},
        {R"(ATTRS{idVendor}=="2e91", TAG=="uaccess", RUN{builtin}+="uaccess")", ""},
        {R"(# ATTRS{idVendor}=="2e91", TAG+="uaccess")", ""},
        {"ACTION==\"remove\", GOTO=\"end\"\nSUBSYSTEM!=\"tty\", GOTO=\"end\"\n"
         "ATTRS{idVendor}==\"2e91\", TAG+=\"uaccess\"\nLABEL=\"end\"",
         "tty "},
        {"GOTO=\"end\"\nTAG+=\"uaccess\"\nLABEL=\"end\"\nKERNEL==\"ttyACM0\", TAG+=\"uaccess\"", "tty "},
        {R"(TAG+="uaccess)", ""},
    };
    for (const auto& [content, expected] : rows) {
        std::string given;
        for (const UdevDevice& device : devices)
            if (UdevRules::Give(content, device)) given += device.Kind + " ";
        EXPECT_EQ(given, expected) << content;
    }
}

}  // namespace
