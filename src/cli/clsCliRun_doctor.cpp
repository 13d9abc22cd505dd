// zarn74ctl doctor: what stands between an account and the readers.

#include <algorithm>

#include "base/ControlNames.h"
#include "base/modText.h"
#include "cli/CliJson.h"
#include "cli/clsCliRun.h"

namespace {

constexpr auto pollQuestion =
    "Ask the free ports for a reader? Each is opened and sent a poll, at every speed. [y/N] ";

std::string Shown(const std::string& text) { return modText::ToUtf8(ControlNames::Visible(text)); }

std::string NodeText(const AccessNode& node) {
    std::string text = modText::ToUtf8(node.Name);
    text.resize(std::max<std::size_t>(text.size(), 7), ' ');
    text += " " + node.Device;
    if (node.Mode.empty()) return text + "  " + Shown(AccessText(node)) + "\n";
    const auto yes = [](bool is) { return is ? "yes" : "no"; };
    text += Shown("  " + node.Owner + ":" + node.Group + " " + node.Mode + "  " + AccessText(node)) + "\n";
    text += Shown("        in the group " + node.Group + " on paper: " + yes(node.Listed) +
                  ", in this session: " + yes(node.Member)) +
            "\n";
    if (!node.Acl.empty()) text += Shown("        access list: " + node.Acl) + "\n";
    if (!node.LockFile.empty())
        text += Shown("        lock file: " + node.LockFile +
                      (node.LockedBy.empty() ? "" : ", which names " + node.LockedBy)) +
                "\n";
    return text;
}

std::string ReportText(const AccessReport& report) {
    std::string text;
    for (const AccessNode& node : report.Nodes) text += NodeText(node);
    int number = 0;
    for (const AccessFinding& found : report.Findings) {
        const bool named = found.What.find(found.Port) != std::string::npos;  // as an empty one always is
        text += "\n" + std::to_string(++number) + ". " +
                Shown((named ? "" : found.Port + ": ") + found.What) + "\n" +
                Shown("   why:   " + found.Why) + "\n" + Shown("   to do: " + found.ToDo) + "\n";
        text += Shown("   $ " + found.Command) + "\n";
    }
    if (number == 0) return text + "nothing is wrong\n";
    return text + (number == 1 ? "\n1 finding\n" : "\n" + std::to_string(number) + " findings\n");
}

}  // namespace

CliResult clsCliRun::Doctor() {
    CliResult result{ExitDone, {}, {}};
    std::vector<PortEntry> ports = m_platform.Ports().Ports();
    for (PortEntry& reader : m_comm.HidPorts()) ports.push_back(std::move(reader));
    const std::string typed = modText::FromUtf8(m_options.Port);
    std::string name = typed.empty() ? std::string() : PortName();
    if (!typed.empty()) {
        const auto listed = std::find_if(ports.begin(), ports.end(),
                                         [&](const PortEntry& port) { return port.Name == name; });
        if (listed == ports.end()) {
            PortEntry& added = ports.emplace_back();
            added.Name = name = name.empty() ? typed : name;
            added.Device = m_options.Port;
        } else if (!listed->Alias.empty()) {
            name = listed->Alias;
        }
    }
    AccessReport report = m_platform.Access(ports);
    if (!name.empty()) report = report.Only(name);
    const bool asked = AskPorts(report);
    if (m_stopped) {
        result.Exit = ExitInterrupted;
        return result;
    }
    result.Exit = report.Findings.empty() ? ExitDone : ExitDiffers;
    result.Text = ReportText(report);
    result.Json = CliJson::Access(report);
    result.Json["asked"] = asked;
    return result;
}

// False when nobody wanted that, or there is no port to be asked.
bool clsCliRun::AskPorts(AccessReport& report) {
    const std::vector<std::string> names = report.Askable();
    if (names.empty()) return false;
    if (!m_options.Poll && !m_platform.Confirm(pollQuestion).value_or(false)) {
        if (!m_stopped) m_log.Say("no port was asked for a reader; --poll does that");
        return false;
    }
    for (const std::string& name : names) {
        std::string port = name;
        for (const PortEntry& reader : m_comm.HidPorts())
            if (reader.Alias == name || reader.Device == name) port = reader.Name;
        const FlowResult found = m_flows.Probe(port);
        if (m_stopped || found == FlowResult::Cancelled) break;
        if (found != FlowResult::Done) report.Add(name, m_comm.SearchReasons());
    }
    m_comm.SetPortOpen(false);
    return true;
}
