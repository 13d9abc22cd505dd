#include "system/clsPortList.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/modText.h"
#include "hidlib/orvhidio.h"
#include "system/FolderEntries.h"
#include "system/PortAccess.h"

namespace fs = std::filesystem;

namespace {

constexpr int firstAdapter = 5;  // COM1 to COM4 are the places of built-in lines
constexpr int lastNumber = 255;
constexpr const char* storeSection = "Ports";
constexpr const char* storeKey = "Adapters";

// The number that `digits` plus `offset` gives, 1..lastNumber; nothing for anything else.
std::optional<int> PortNumber(std::string_view digits, int offset = 0) {
    if (digits.empty() || digits.size() > 3) return {};
    int number = 0;
    for (const char c : digits) {
        if (!modText::IsDigit(c)) return {};
        number = number * 10 + (c - '0');
    }
    number += offset;
    if (number < 1 || number > lastNumber) return {};
    return number;
}

std::string ComName(int number) { return "COM" + std::to_string(number); }

// The attribute's first line; the kernel's texts are UTF-8.
std::string Attribute(const fs::path& directory, const char* name) {
    std::ifstream file(directory / name);
    std::string line;
    std::getline(file, line);
    return modText::Trim(modText::FromUtf8(line));
}

std::string Resolved(const fs::path& path) {
    std::error_code failed;
    const fs::path resolved = fs::canonical(path, failed);
    return failed ? path.string() : resolved.string();
}

// Keeps what a list of "number=identity" separated by semicolons can hold.
constexpr const char* uartText = "Serial port";

std::string Plain(std::string text) {
    for (char& c : text) {
        const bool plain =
            modText::IsDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '.' || c == '-';
        if (!plain) c = '_';
    }
    return text;
}

// What the USB device says of itself, found by climbing from the tty's own directory. Nothing for a line that
// hangs on no USB device.
std::optional<std::string> ReadUsb(fs::path directory, PortEntry& entry) {
    std::string interface;
    for (; directory.has_relative_path(); directory = directory.parent_path()) {
        std::error_code failed;
        if (interface.empty() && fs::exists(directory / "bInterfaceNumber", failed))
            interface = Attribute(directory, "bInterfaceNumber");
        if (!fs::exists(directory / "idVendor", failed)) continue;
        entry.Description = Attribute(directory, "product");
        entry.Maker = Attribute(directory, "manufacturer");
        entry.Serial = Attribute(directory, "serial");
        entry.OfReaders =
            modText::UCase(Attribute(directory, "idVendor")) == modText::Hex(HidReaderVendor, 4);
        const std::string which =
            entry.Serial.empty() ? "at-" + directory.filename().string() : Plain(entry.Serial);
        return Plain(Attribute(directory, "idVendor")) + ":" + Plain(Attribute(directory, "idProduct")) +
               ":" + which + ":" + Plain(interface);
    }
    return {};
}

bool Taken(const std::map<int, PortEntry>& lines, int number) { return lines.count(number) != 0; }

// The numbers of the adapters that were seen before, the longest known first.
class clsAdapterNumbers {
  public:
    explicit clsAdapterNumbers(const std::string& text) {
        for (const std::string& piece : modText::Split(text, ';')) {
            const auto equals = piece.find('=');
            const auto number = PortNumber(std::string_view(piece).substr(0, std::min(equals, piece.size())));
            if (number && equals != std::string::npos)
                m_known.emplace_back(*number, piece.substr(equals + 1));
        }
    }
    [[nodiscard]] std::string Text() const {
        std::string text;
        for (const auto& [number, identity] : m_known)
            text += (text.empty() ? "" : ";") + std::to_string(number) + "=" + identity;
        return text;
    }
    [[nodiscard]] bool Has(int number) const {
        return std::any_of(m_known.begin(), m_known.end(),
                           [&](const auto& adapter) { return adapter.first == number; });
    }
    // An adapter whose number a built-in line has taken since moves on.
    void Forget(const std::map<int, PortEntry>& lines) {
        std::erase_if(m_known, [&](const auto& adapter) { return Taken(lines, adapter.first); });
    }
    // The adapter's number, a free one for a new adapter. When every number is remembered, the longest known
    // adapter that is not present gives its own up; 0 where all are.
    int NumberOf(const std::string& identity, const std::map<int, PortEntry>& lines,
                 const std::set<std::string>& present) {
        for (const auto& [number, known] : m_known)
            if (known == identity) return number;
        int number = firstAdapter;
        while (number <= lastNumber && (Taken(lines, number) || Has(number))) ++number;
        if (number > lastNumber) {
            const auto gone = std::find_if(m_known.begin(), m_known.end(), [&](const auto& adapter) {
                return present.count(adapter.second) == 0;
            });
            if (gone == m_known.end()) return 0;
            number = gone->first;
            m_known.erase(gone);
        }
        m_known.emplace_back(number, identity);
        return number;
    }

  private:
    std::vector<std::pair<int, std::string>> m_known;
};

}  // namespace

PortMap ParsePortMap(const std::vector<std::string>& entries, const char* environment) {
    PortMap map;
    const bool fromEnvironment = entries.empty() && environment != nullptr;
    for (const std::string& entry : fromEnvironment ? modText::Split(environment, ',') : entries) {
        const auto equals = entry.find('=');
        const std::string name = modText::UCase(modText::Trim(entry.substr(0, equals)));
        const auto number =
            name.starts_with("COM") ? PortNumber(std::string_view(name).substr(3)) : std::nullopt;
        if (!number || equals == std::string::npos || equals + 1 == entry.size()) {
            map.Error = "'" + entry + "' is not COMn=PATH with n from 1 to " + std::to_string(lastNumber);
        } else if (!map.Lines.emplace(*number, entry.substr(equals + 1)).second) {
            map.Error = name + " is mapped twice";
        }
        if (!map.Error.empty()) break;
    }
    return map;
}

clsPortList::clsPortList(clsISettingsStore& store, Roots roots) : m_store(store), m_roots(std::move(roots)) {}

std::vector<PortEntry> clsPortList::Ports() {
    std::vector<PortEntry> ports;
    for (const auto& [number, entry] : Lines()) {
        PortEntry& port = ports.emplace_back(entry);
        port.Name = ComName(number);
        port.Reason = PortAccess::Look(port.Device);
        port.Reason.Port = port.Name;
        port.Access = port.Reason.Obstacle == PortObstacle::None;
    }
    return ports;
}

std::string clsPortList::DeviceOf(int number) {
    const auto added = m_added.find(number);
    if (added != m_added.end()) return added->second;
    if (!m_map.empty()) {
        const auto mapped = m_map.find(number);
        return mapped == m_map.end() ? std::string() : mapped->second;
    }
    const Numbered lines = MachineLines();
    const auto line = lines.find(number);
    return line == lines.end() ? std::string() : line->second.Device;
}

std::string clsPortList::AddDevice(const std::string& path) {
    const Numbered lines = Lines();
    const std::string resolved = Resolved(path);
    for (const auto& [number, entry] : lines) {
        if (Resolved(entry.Device) == resolved) return ComName(number);
    }
    const clsAdapterNumbers remembered(m_store.GetSetting(storeSection, storeKey, ""));
    int number = firstAdapter;
    while (Taken(lines, number) || m_added.count(number) != 0 || remembered.Has(number)) ++number;
    m_added[number] = path;
    return ComName(number);
}

PortAdapter clsPortList::UsbAdapter(const std::string& port) {
    for (const auto& [number, entry] : Lines()) {
        const bool found = port == "COM" + std::to_string(number);
        if (found && entry.Description != uartText) return {entry.Description, entry.Serial};
    }
    return {};
}

clsPortList::Numbered clsPortList::Lines() { return m_map.empty() ? MachineLines() : MappedLines(); }

clsPortList::Numbered clsPortList::MappedLines() {
    const Numbered machine = MachineLines();
    Numbered lines;
    for (const auto& [number, device] : m_map) {
        PortEntry entry;
        for (const auto& [own, known] : machine) {
            if (Resolved(known.Device) == Resolved(device)) entry = known;
        }
        entry.Device = device;
        lines[number] = entry;
    }
    return lines;
}

clsPortList::Numbered clsPortList::MachineLines() {
    Numbered lines;
    std::vector<Node> adapters;
    for (const fs::path& item : FolderEntries(m_roots.Sys + "/class/tty")) {
        const std::string name = item.filename().string();
        const bool uart = name.starts_with("ttyS");
        if (!uart && !name.starts_with("ttyUSB") && !name.starts_with("ttyACM")) continue;
        Node node;
        node.Entry.Device = m_roots.Dev + "/" + name;
        std::error_code missing;
        if (!fs::exists(node.Entry.Device, missing)) continue;
        if (uart) {
            const auto number = PortNumber(std::string_view(name).substr(4), /*offset=*/1);
            // The kernel makes nodes for chips that are not there; their type is 0, unknown.
            const std::string type = Attribute(item, "type");
            if (!number || type.empty() || type == "0") continue;
            node.Entry.Description = uartText;
            lines[*number] = node.Entry;
            continue;
        }
        node.Path = Resolved(item / "device");
        const auto identity = ReadUsb(node.Path, node.Entry);
        if (!identity) continue;
        node.Identity = *identity;
        adapters.push_back(std::move(node));
    }
    NumberAdapters(std::move(adapters), lines);
    return lines;
}

// Adapters of one make may share a serial number: the later ones go by the order of their sockets.
std::set<std::string> clsPortList::TellApart(std::vector<Node>& adapters) {
    std::sort(adapters.begin(), adapters.end(), [](const Node& a, const Node& b) { return a.Path < b.Path; });
    std::set<std::string> identities;
    for (Node& node : adapters) {
        const std::string shared = node.Identity;
        for (int i = 2; !identities.insert(node.Identity).second; ++i)
            node.Identity = shared + ":" + std::to_string(i);
    }
    return identities;
}

void clsPortList::NumberAdapters(std::vector<Node> adapters, Numbered& lines) {
    if (adapters.empty()) return;
    const std::string before = m_store.GetSetting(storeSection, storeKey, "");
    clsAdapterNumbers numbers(before);
    const auto present = TellApart(adapters);
    numbers.Forget(lines);
    for (const Node& node : adapters) {
        const int number = numbers.NumberOf(node.Identity, lines, present);
        if (number != 0) lines[number] = node.Entry;
    }
    if (numbers.Text() != before) m_store.SaveSetting(storeSection, storeKey, numbers.Text());
}
