#include "cli/clsCliRun.h"

#include <array>
#include <cstdint>

#include "base/ControlNames.h"
#include "base/TraceLine.h"
#include "base/clsWait.h"
#include "base/modText.h"
#include "cli/CliJson.h"
#include "flows/FileDifferences.h"
#include "hid/modOrvHID.h"
#include "history/HistoryEnd.h"
#include "history/HistorySettings.h"
#include "settings/RegisterMeaning.h"
#include "system/SameFile.h"
#include "system/UtcNow.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr int lossNewsTime = 1000;           // ms
constexpr char writeCommand = 'C';           // the letter of the frames that change a reader
constexpr std::size_t inputLimit = 1048576;  // bytes; a settings file has about 2000

// Decimal and hexadecimal.
std::string BothWays(int number, int digits) {
    return std::to_string(number) + " (0x" + modText::Hex(static_cast<std::uint32_t>(number), digits) + ")";
}

std::string Shortly(PortObstacle obstacle) {
    if (obstacle == PortObstacle::NotThere) return "not there";
    return obstacle == PortObstacle::InUse ? "in use" : "no access";
}

// Whether the device file is what was typed: a path to it, or its bare name.
bool MeansDevice(const std::string& typed, const std::string& device) {
    return SameFile(typed, device) || device.substr(device.rfind('/') + 1) == typed;
}

// Whether the command changes the reader.
bool Writes(CliCommand command) {
    switch (command) {
        case CliCommand::Write:
        case CliCommand::Default:
        case CliCommand::Set:
        case CliCommand::TestEeprom:
        case CliCommand::Restore: return true;
        default: return false;
    }
}

// What the history calls it; nothing for what neither looks at a reader's settings nor changes them.
std::optional<HistoryAction> ActionOf(const CliOptions& options) {
    switch (options.Command) {
        case CliCommand::Read:
        case CliCommand::Dump: return HistoryAction::Read;
        case CliCommand::Write: return options.DryRun ? HistoryAction::Check : HistoryAction::Write;
        case CliCommand::Default: return options.DryRun ? HistoryAction::Check : HistoryAction::Default;
        case CliCommand::Check:
        case CliCommand::Diff: return HistoryAction::Check;
        case CliCommand::Set: return HistoryAction::Set;
        case CliCommand::Station: return HistoryAction::Station;
        case CliCommand::TestEeprom: return HistoryAction::Test;
        case CliCommand::Restore: return options.DryRun ? HistoryAction::Check : HistoryAction::Restore;
        default: return std::nullopt;
    }
}

// Whether ports may come and go before the command ends.
bool TakesTime(CliCommand command) {
    switch (command) {
        case CliCommand::Read:
        case CliCommand::Write:
        case CliCommand::Default:
        case CliCommand::Check:
        case CliCommand::Diff:
        case CliCommand::TestEeprom:
        case CliCommand::Restore:
        case CliCommand::Station:
        case CliCommand::Monitor: return true;
        default: return false;
    }
}

}  // namespace

std::string HexTable(const modZarn74::Image& image) {
    constexpr std::size_t width = 16;
    std::string table;
    for (std::size_t row = 0; row < image.size(); row += width) {
        table += modText::Hex(static_cast<std::uint32_t>(row), 3) + ":";
        for (std::size_t i = row; i < row + width; ++i) table += " " + modText::Hex(image[i], 2);
        table += "\n";
    }
    return table;
}

std::string ChangeText(const std::vector<SettingChange>& changes) {
    std::string text;
    for (const SettingChange& change : changes) {
        text += change.Item.Name() + " (" + change.Item.Registers() + "): " + change.Before + " -> " +
                change.Wanted +
                (TakesEffectAtNextStart(change.Item) ? " (takes effect at the next start)" : "") + "\n";
    }
    const std::string of = " of " + std::to_string(itemCount) + " settings ";
    return text + (changes.empty() ? "none" : std::to_string(changes.size())) + of +
           (changes.size() == 1 ? "differs" : "differ") + "\n";
}

clsCliRun::clsCliRun(const CliOptions& options, clsICliPlatform& platform, clsITextOutput& out,
                     clsITextOutput& err, clsCliLog& log)
    : m_options(options),
      m_platform(platform),
      m_out(out),
      m_err(err),
      m_log(log),
      m_store(platform.Store()),
      m_files(platform.Files()),
      m_comm(platform.Host(), platform.Serial(), m_store, "zarn74",
             platform.Devices(TakesTime(options.Command))),
      m_messages(platform.Host(), log),
      m_settingsFile(m_files),
      m_flows(platform.Host(), m_comm, m_settings, m_messages, m_settingsFile, log) {
    m_flows.SetQuickRead(!options.Slow);
    m_flows.SetOnlyChanged(!options.All);
    KeepHistory();
    m_onPort = m_comm.OnPort.Connect([this](std::string&, const std::string& name) {
        if (name == modOrvHID::BareName(m_port)) m_lossTold = true;
    });
    m_onSent = m_comm.OnMonitorData.Connect([this](const std::string& bytes, bool received) {
        if (!received && bytes.size() > 1 && bytes[1] == writeCommand) m_wrote = true;
    });
    if (!options.Trace) return;
    m_trace.emplace(platform.Host(), m_comm, [this](const FrameRecord& record) {
        m_err.Write(TraceLine(record.Microseconds, record.Received, record.Bytes) + "\n");
    });
}

clsCliRun::~clsCliRun() {
    m_log.EndLine();
    m_comm.SetPortOpen(false);
    m_recorder.reset();
    if (m_recordingBroke)
        m_log.Say(modText::FromUtf8(m_options.Record) + ": the recording is not whole; it breaks off");
}

// A file that was named holds whatever the user's switch says.
void clsCliRun::KeepHistory() {
    if (m_options.NoHistory || !ActionOf(m_options)) return;
    if (HistorySettings::Keeps(m_store) || !m_options.HistoryFile.empty())
        m_history = m_platform.History(m_options.HistoryFile);
    m_flows.KeepHistory(m_history);
}

void clsCliRun::Stop() {
    if (m_station) return m_station->Stop();
    m_stopped = true;
    m_comm.CancelCommand();
}

bool clsCliRun::BeginRecording() {
    if (m_options.Record.empty() || !UsesLine(m_options.Command)) return true;
    const auto complain = [this](const std::string& why) {
        m_log.Say(modText::FromUtf8(m_options.Record) + ": " + modText::FromUtf8(why));
    };
    std::string error;
    for (const std::string* const other :
         {&m_options.File, &m_options.Other, &m_options.Output, &m_options.HistoryFile, &m_options.Image})
        if (!other->empty() && SameFile(*other, m_options.Record))
            error = "the command names it for something else";
    auto file = error.empty() ? m_platform.LineFile(m_options.Record, error) : nullptr;
    if (file == nullptr) {
        complain(error);
        return false;
    }
    const RecordingHead head{"zarn74ctl", ZARN74_VERSION, {}, 0, UtcNow()};
    m_recorder.emplace(m_platform.Host(), m_comm, std::move(file), head,
                       [this, complain](const std::string& why) {
                           m_recordingBroke = true;
                           complain(why);
                       });
    return true;
}

CliResult clsCliRun::Execute() {
    if (!BeginRecording()) return {};
    CliResult result = ExecuteCommand();
    m_flows.EndEvent(/*cancelled=*/result.Exit == ExitInterrupted);
    if (!m_port.empty() && !m_stopped && !m_comm.PortOpen()) AwaitLossNews();
    if (result.Exit == ExitInterrupted && Writes(m_options.Command)) {
        m_log.Say(m_restored  ? "interrupted; what was in the reader is in it again"
                  : m_proving ? "interrupted; written, not proven"
                  : m_wrote   ? "interrupted; what was written so far is in the reader"
                              : "interrupted; nothing was written");
    }
    m_comm.AwaitReplies();  // a second Ctrl-C ends it
    AwaitHistory();
    return result;
}

// Whoever has stopped the command ends the program with the next Ctrl-C, which says nothing any more.
void clsCliRun::AwaitHistory() {
    if (m_history == nullptr) return;
    m_shown = true;
    const bool stopped = std::exchange(m_stopped, false);
    HistoryEnd::Await(
        m_platform.Host(), *m_history, /*atOnce=*/stopped, [this] { return m_stopped; },
        [this](const std::string& text) { m_log.Say(text); });
    m_stopped = stopped;
}

// A device that was pulled out cannot be used any more some time before its removal is told.
void clsCliRun::AwaitLossNews() {
    clsWait(m_platform.Host(), lossNewsTime).Until([this] { return m_lossTold || m_stopped; });
}

CliResult clsCliRun::ExecuteCommand() {
    switch (m_options.Command) {
        case CliCommand::Ports: return Ports();
        case CliCommand::Scan:
        case CliCommand::Info: return Identify();
        case CliCommand::Read: return Read();
        case CliCommand::Write:
        case CliCommand::Default: return Write();
        case CliCommand::Check:
        case CliCommand::Diff: return Check();
        case CliCommand::Dump: return Dump();
        case CliCommand::Get: return Get();
        case CliCommand::Set: return Set();
        case CliCommand::TestEeprom: return TestEeprom();
        case CliCommand::Restore: return Restore();
        case CliCommand::Monitor: return Monitor();
        case CliCommand::Station: return Station();
        case CliCommand::Doctor: return Doctor();
        case CliCommand::History:  // these ask no reader: clsCliHistory, clsCliWire
        case CliCommand::Explain:
        case CliCommand::Mask:
        case CliCommand::None: break;
    }
    return {};
}

int clsCliRun::ExitOf(FlowResult result) const {
    if (result == FlowResult::Done) return ExitDone;
    return m_stopped || result == FlowResult::Cancelled ? ExitInterrupted : ExitFailed;
}

int clsCliRun::ExitOf(bool done) const { return ExitOf(done ? FlowResult::Done : FlowResult::Failed); }

// -- the port -----------------------------------------------------------------------------------------------

// The listed name for what the user calls the port, or that of a device file; empty when there is neither.
std::string clsCliRun::PortName() {
    const std::string upper = modText::UCase(m_options.Port);
    for (const PortEntry& port : m_platform.Ports().Ports()) {
        if (port.Name == m_options.Port || port.Name == upper) return port.Name;
    }
    const std::string typed = modText::UCase(modOrvHID::BareName(modText::FromUtf8(m_options.Port)));
    for (const PortEntry& port : m_comm.HidPorts()) {
        if (typed == port.Alias || typed == modText::UCase(modOrvHID::BareName(port.Name)) ||
            MeansDevice(m_options.Port, port.Device))
            return port.Name;
    }
    std::string name = m_platform.AddDevice(m_options.Port);
    const auto ports = m_platform.Ports().Ports();
    m_store.Remembers =
        std::any_of(ports.begin(), ports.end(), [&](const PortEntry& port) { return port.Name == name; });
    return name;
}

// Finds the reader, or opens the port that was named. The port is open when it is ExitDone, and the command
// is one event of the history from there on.
int clsCliRun::Connect() {
    const int exit = Reach();
    const auto action = ActionOf(m_options);
    if (exit == ExitDone && action) m_flows.BeginEvent(*action);
    return exit;
}

int clsCliRun::Reach() {
    std::string name;
    const std::string typed = modText::FromUtf8(m_options.Port);
    if (!typed.empty()) {
        name = PortName();
        if (name.empty()) {
            m_log.Say(typed + ": there is no such port");
            return ExitNoReader;
        }
    }
    bool open = false;
    if (m_options.Baud != 0) {
        open = OpenAtRate(name);
        if (m_stopped) return ExitInterrupted;
    } else {
        const FlowResult found = m_flows.Scan(name);
        if (found == FlowResult::Cancelled || m_stopped) return ExitInterrupted;
        open = found == FlowResult::Done;
    }
    if (!open) {
        SayWhyNotOpen(name);
        return ExitNoReader;
    }
    m_port = m_comm.CommPort();
    if (m_comm.CommPort_IsBaudrateSupported(m_port)) m_baud = m_comm.BaudRate();
    return ExitDone;
}

// `name` is the port that was asked for, empty when all were tried.
void clsCliRun::SayWhyNotOpen(const std::string& name) {
    m_reasons = m_options.Baud != 0 ? std::vector{m_comm.WhyNotOpen(name)} : m_comm.SearchReasons();
    bool asked = name.empty();  // a reader was looked for, not only a port tried
    for (PortReason& reason : m_reasons) {
        if (!name.empty()) reason.Port = modText::FromUtf8(m_options.Port);
        asked = asked || reason.Obstacle == PortObstacle::Silent;
        m_log.Say(reason.Text());
    }
    if (asked) m_log.Say("Missing Device");
}

bool clsCliRun::OpenAtRate(const std::string& name) {
    m_comm.SetCommPort(name);
    if (m_comm.CommPort() != name) return false;  // it has gone since it was listed
    m_comm.SetBaudRate(m_options.Baud);
    m_comm.SetPortOpen(true);
    return m_comm.PortOpen();
}

// -- commands -----------------------------------------------------------------------------------------------

std::vector<PortEntry> clsCliRun::AllPorts() {
    std::vector<PortEntry> ports = m_platform.Ports().Ports();
    for (PortEntry& reader : m_comm.HidPorts()) ports.push_back(std::move(reader));
    return ports;
}

CliResult clsCliRun::Ports() {
    CliResult result{ExitDone, {}, Json::array()};
    for (const PortEntry& port : AllPorts()) {
        const bool onHid = !port.Alias.empty();
        result.Json.push_back(CliJson::Port(port));
        std::string line = modText::ToUtf8(onHid ? port.Alias : port.Name);
        line.resize(std::max<std::size_t>(line.size(), 7), ' ');
        line += " " + port.Device;
        std::string more = onHid ? port.Name : port.Description;
        if (!port.Maker.empty()) more += (more.empty() ? "" : ", ") + port.Maker;
        if (onHid && !port.Serial.empty()) more += ", serial number " + port.Serial;
        if (!port.Access) more += (more.empty() ? "(" : " (") + Shortly(port.Reason.Obstacle) + ")";
        if (!more.empty()) line += "  " + modText::ToUtf8(ControlNames::Visible(more));
        result.Text += line + "\n";
        if (!port.Access) m_log.Say(port.Reason.Text());
    }
    if (result.Text.empty()) m_log.Say("there are no ports");
    return result;
}

CliResult clsCliRun::Identify() {
    CliResult result;
    result.Exit = Connect();
    if (result.Exit != ExitDone) return result;
    ReaderIdentity reader;
    result.Exit = ExitOf(m_flows.Identify(reader));
    if (result.Exit == ExitFailed) SayWhyNotTold(reader.Product);
    if (result.Exit != ExitDone) return result;
    result.Json = {{"product", CliJson::Text(reader.Product)},
                   {"version", CliJson::Text(reader.Firmware.Version)},
                   {"firmwareSerial", CliJson::Text(reader.Firmware.FirmwareSN)},
                   {"adapter", m_comm.AdapterName().empty() ? Json() : CliJson::Text(m_comm.AdapterName())}};
    result.Text =
        modText::ToUtf8(ControlNames::Visible("Product Name: " + reader.Product)) + "\n" +
        modText::ToUtf8(ControlNames::Visible("Firmware Version: " + reader.Firmware.Version)) + "\n" +
        modText::ToUtf8(ControlNames::Visible("Firmware Serial Number: " + reader.Firmware.FirmwareSN)) +
        "\n" + modText::ToUtf8(ControlNames::Visible("COM Port: " + m_flows.PortInfo()));
    if (m_baud != 0) result.Text += ", " + std::to_string(m_baud) + " baud";
    result.Text += "\n";
    return result;
}

// A reader that answers the search may yet not say what it is.
void clsCliRun::SayWhyNotTold(const std::string& product) {
    m_log.Say(product.empty() ? "the reader does not say what it is"
                              : "the reader did not tell its firmware");
}

// After a reading that failed.
void clsCliRun::SayWhyNotRead(const ZarnInfo& record) {
    if (!m_comm.PortOpen()) return;  // the log tells of the loss; the reader was perhaps never asked
    if (record.Version.empty()) {
        m_log.Say("the reader did not tell its firmware");
    } else if (record.ProductName.empty()) {
        m_log.Say("the reader does not say what it is");
    }
}

// What a file operation that failed said of itself.
void clsCliRun::SayWhyNotFile(const std::string& name) {
    const std::string reason = m_files.LastError();
    if (!reason.empty()) m_log.Say(modText::FromUtf8(name) + ": " + modText::FromUtf8(reason));
}

// The file to save to; empty when the result is printed.
std::string clsCliRun::OutputFile() const {
    return m_options.File == clsCliFiles::standard ? std::string() : m_options.File;
}

CliResult clsCliRun::Read() {
    const std::string file = OutputFile();
    CliResult result;
    if (!file.empty() && m_flows.CheckSaveFile(file) != FlowResult::Done) {
        SayWhyNotFile(file);
        return result;
    }
    result.Exit = Connect();
    if (result.Exit != ExitDone) return result;
    result.Exit = ExitOf(m_flows.Read());
    if (result.Exit == ExitFailed) SayWhyNotRead(m_flows.Record());
    if (result.Exit != ExitDone) return result;
    if (!file.empty()) result.Exit = ExitOf(m_flows.SaveFile(file));
    if (result.Exit == ExitFailed) SayWhyNotFile(file);
    if (result.Exit != ExitDone) return result;
    result.Json = CliJson::Settings(m_flows.Record());
    if (file.empty()) result.Text = m_flows.RecordText();
    return result;
}

// Standard input, for the files that stand for it; it is there once. False when it cannot be had.
bool clsCliRun::TakeInput() {
    if (m_files.HasInput()) return true;
    std::string error;
    const auto input = m_platform.ReadInput(inputLimit, error);
    if (input) m_files.SetInput(*input);
    if (!error.empty()) m_log.Say("standard input: " + modText::FromUtf8(error));
    return input.has_value();
}

// Before anything is asked of a reader.
int clsCliRun::CheckFile(const std::string& file, FileRole role) {
    if (file == clsCliFiles::standard && !TakeInput()) return ExitOf(/*done=*/false);
    const int exit = ExitOf(m_flows.CheckFile(file, role));
    if (exit == ExitFailed) SayWhyNotFile(file);
    return exit;
}

// Connects, reads, and lays the file over it.
int clsCliRun::LayFile(const std::string& file, FileRole role, LaidFile& laid) {
    int exit = CheckFile(file, role);
    if (exit == ExitDone) exit = Connect();
    if (exit != ExitDone) return exit;
    const FlowResult result = m_flows.LayFile(file, role, laid);
    if (result == FlowResult::FileBad) SayWhyNotFile(file);
    if (result == FlowResult::Failed) SayWhyNotRead(laid.Before);
    return ExitOf(result);
}

// What the user is to see before the rest is done.
void clsCliRun::ShowNow(const std::string& text) {
    if (!m_options.Json) m_out.Write(text);
}

CliResult clsCliRun::Write() {
    const bool defaults = m_options.Command == CliCommand::Default;
    const FileRole role = defaults ? FileRole::Defaults : FileRole::Settings;
    const std::string file = defaults && m_options.File.empty() ? m_platform.DefaultFile() : m_options.File;
    CliResult result;
    LaidFile laid;
    result.Exit = LayFile(file, role, laid);
    if (result.Exit != ExitDone) return result;
    const auto changes = Changes(laid.Before, laid.Wanted);
    result.Json = {{"changes", CliJson::Changes(changes)}, {"emptiesTable", laid.EmptiesTable}};
    m_writing = !m_options.DryRun;
    ShowNow(ChangeText(changes));
    if (m_options.DryRun) {
        if (laid.EmptiesTable)
            result.Text = "the file has no conversion table: the reader's table would be emptied\n";
        result.Text += "nothing was written\n";
        return result;
    }
    result.Exit = ExitOf(m_flows.WriteLaid(laid, role));
    if (result.Exit != ExitDone || m_options.NoVerify) return result;
    return Prove(laid);
}

// Reads back what was written; what is there then is the result.
CliResult clsCliRun::Prove(const LaidFile& laid) {
    CliResult result;
    m_proving = true;
    ZarnInfo after;
    result.Exit = ExitOf(m_flows.ReadInto(after, modZarn74::Lines::Silent));
    const bool read = result.Exit == ExitDone;
    const auto changes = Changes(laid.Before, laid.Wanted, read ? &after : nullptr);
    result.Json = {{"changes", CliJson::Changes(changes)}, {"emptiesTable", laid.EmptiesTable}};
    if (result.Exit == ExitFailed) m_log.Say("written, not proven");
    if (!read) return result;
    for (const SettingChange& change : changes) {
        if (*change.Kept) continue;
        result.Exit = ExitDiffers;
        result.Text += change.Item.Name() + " was not kept: written " + change.Wanted + ", there is " +
                       change.After + "\n";
    }
    if (result.Exit == ExitDone) result.Text = "read back: all of it was kept\n";
    return result;
}

CliResult clsCliRun::Check() {
    const bool reader = m_options.Other.empty();
    std::vector<SettingChange> changes;
    CliResult result;
    if (reader) {
        LaidFile laid;
        result.Exit = LayFile(m_options.File, FileRole::Compare, laid);
        changes = Changes(laid.Before, laid.Wanted);
    } else {
        result.Exit = CheckFile(m_options.File, FileRole::Compare);
        if (result.Exit == ExitDone) result.Exit = CheckFile(m_options.Other, FileRole::Compare);
        if (result.Exit == ExitDone) {
            for (SettingDifference& found : FileDifferences(m_settingsFile, m_options.File, m_options.Other))
                changes.push_back({found.Item, std::move(found.A), std::move(found.B), {}, {}});
        }
    }
    if (result.Exit != ExitDone) return result;
    result.Exit = changes.empty() ? ExitDone : ExitDiffers;
    result.Json = {{"changes", CliJson::Changes(changes)}};
    result.Text = ChangeText(changes);
    return result;
}

bool clsCliRun::Logged(const char* operation, bool done) {
    m_messages.ShowMsg(std::string(operation) + (done ? " OK" : " NG"));
    return done;
}

CliResult clsCliRun::Dump() {
    const std::string file = OutputFile();
    CliResult result;
    const auto failed = [&] {
        Logged("Save Dump To File", /*done=*/false);
        SayWhyNotFile(file);
        return CliResult();
    };
    if (!file.empty() && !m_files.MayReplace(file)) return failed();
    result.Exit = Connect();
    if (result.Exit != ExitDone) return result;
    modZarn74::Image image{};
    result.Exit = ExitOf(m_flows.Dump(image));
    if (result.Exit != ExitDone) return result;
    const bool explain = m_options.Explain;
    const std::string content =
        explain ? RegisterMeaning::Text(image) : std::string(image.begin(), image.end());
    if (m_options.File.empty()) {
        result.Text = explain ? content : HexTable(image);
    } else if (file.empty()) {
        result.Text = content;
    } else {
        if (!m_files.ReplaceFile(file, content)) return failed();
        Logged("Save Dump To File", /*done=*/true);
    }
    result.Json = {{"registers", image}};
    if (explain) result.Json["explained"] = CliJson::Explained(image);
    return result;
}

CliResult clsCliRun::RegisterResult(int value) const {
    CliResult result{ExitDone, BothWays(m_options.Register, 3) + " = " + BothWays(value, 2) + "\n", {}};
    result.Json = {{"register", m_options.Register}, {"value", value}};
    return result;
}

CliResult clsCliRun::Get() {
    CliResult result;
    result.Exit = Connect();
    if (result.Exit != ExitDone) return result;
    std::uint8_t value = 0;
    m_messages.ShowMsg("GetRegister...");
    result.Exit = ExitOf(Logged("GetRegister", m_comm.GetRegister(m_options.Register, value)));
    return result.Exit == ExitDone ? RegisterResult(value) : result;
}

CliResult clsCliRun::Set() {
    CliResult result;
    result.Exit = Connect();
    if (result.Exit != ExitDone) return result;
    const auto wanted = static_cast<std::uint8_t>(m_options.Value);
    const auto differs = [&](std::uint8_t found) {
        m_log.Say("register " + BothWays(m_options.Register, 3) + " reads " + BothWays(found, 2) + " after " +
                  BothWays(wanted, 2) + " was written");
    };
    result.Exit = ExitOf(m_flows.SetRegister(m_options.Register, wanted, differs));
    return result.Exit == ExitDone ? RegisterResult(wanted) : result;
}

CliResult clsCliRun::Station() {
    CliResult result;
    std::string name;
    if (!m_options.Port.empty()) {
        name = PortName();
        if (name.empty()) {
            m_log.Say(modText::FromUtf8(m_options.Port) + ": there is no such port");
            result.Exit = ExitNoReader;
            return result;
        }
    }
    if (m_options.File == clsCliFiles::standard && !TakeInput()) return result;
    m_port = name;
    m_station.emplace(m_options, name, m_platform, m_comm, m_flows, m_settingsFile, m_store.Store, m_history,
                      m_out, m_log);
    m_platform.BeginUnits();
    result.Exit = m_station->Run();
    m_station.reset();
    return result;
}

CliResult clsCliRun::Monitor() {
    CliResult result;
    m_log.SetEcho(false);
    m_monitor.emplace(m_platform.Host(), m_comm, [this](const FrameRecord& record) { ShowRecord(record); });
    result.Exit = Connect();
    if (result.Exit != ExitDone) return result;
    // Anything the line brings runs in here; a lost line closes the port, Ctrl-C and a closed output stop.
    clsWait(m_platform.Host()).Until([this] { return m_stopped || !m_comm.PortOpen(); });
    m_monitor.reset();
    result.Exit = ExitOf(/*done=*/false);
    return result;
}

void clsCliRun::ShowRecord(const FrameRecord& record) {
    if (m_options.Json) {
        m_out.Write(TraceLine(record.Microseconds, record.Received, record.Bytes) + "\n");
    } else {
        m_out.Write(TimeText(m_platform.Host().TimeOfDay()) + (record.Received ? " rx " : " tx ") +
                    modText::ToUtf8(ControlNames::Visible(record.Bytes)) + "\n");
    }
    if (m_out.CurrentState() != clsITextOutput::State::Open) Stop();
}
