#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "base/clsISettingsStore.h"
#include "ports/clsIPortDirectory.h"

/// COM numbers that the user gives to device files.
struct PortMap {
    std::map<int, std::string> Lines;  ///< number to device file
    std::string Error;                 ///< the first entry that is no "COMn=PATH", in words; empty: none
};
/// The map of the entries, each "COMn=PATH"; without any entry that of the environment's text, which holds
/// such entries separated by commas and may be null.
PortMap ParsePortMap(const std::vector<std::string>& entries, const char* environment);

/// The serial lines of the machine and their COM numbers. A real UART ttyS n is COM(n+1). A USB adapter gets
/// the lowest free number from COM5 up when it is first seen; the store remembers it by the adapter's
/// identity, so that it keeps the number over plugging, reboot and plug order. Built by main; every question
/// looks at the machine anew.
class clsPortList final : public clsIPortDirectory {
  public:
    /// Where the system shows its devices.
    struct Roots {
        std::string Sys = "/sys";
        std::string Dev = "/dev";
    };
    explicit clsPortList(clsISettingsStore& store, Roots roots = {"/sys", "/dev"});

    /// With a map that is not empty, only its lines exist.
    void SetMap(const PortMap& map) { m_map = map.Lines; }
    /// The name of the line behind a device file (or a link to it). One that is not listed gets a free
    /// number until the program ends, and is not listed even so.
    std::string AddDevice(const std::string& path);
    /// In the order of their numbers.
    [[nodiscard]] std::vector<PortEntry> Ports() override;
    /// The USB adapter that a line hangs on; empty for another one.
    [[nodiscard]] PortAdapter UsbAdapter(const std::string& port);
    /// The device file of line COM`number`; empty when there is no such line.
    [[nodiscard]] std::string DeviceOf(int number);

  private:
    /// A USB adapter's line.
    struct Node {
        PortEntry Entry;
        std::string Identity;  // vendor, product, serial number or socket, interface
        std::string Path;      // in the system's device tree
    };
    using Numbered = std::map<int, PortEntry>;
    [[nodiscard]] Numbered Lines();
    [[nodiscard]] Numbered MachineLines();
    [[nodiscard]] Numbered MappedLines();
    static std::set<std::string> TellApart(std::vector<Node>& adapters);
    void NumberAdapters(std::vector<Node> adapters, Numbered& lines);

    clsISettingsStore& m_store;
    Roots m_roots;
    std::map<int, std::string> m_map;
    std::map<int, std::string> m_added;
};
