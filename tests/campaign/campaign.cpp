// Every flow, and for each of its exchanges: each fault of the simulated reader once and for good, the line
// pulled out, a cancel, and the window closed. In virtual time; prints one table and ends with 1 when
// anything ended otherwise than it must.

#include <malloc.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "window/FlowWorld.h"
#include "window/RecordText.h"

namespace {

using Image = std::array<std::uint8_t, clsSimReader::registerCount>;

struct FlowRow {
    const char* Name;
    void (*Prepare)(FlowWorld& world);
    FlowResult (*Run)(clsReaderFlows& flows);
    const char *Passed, *Failed;  // the last lines of the log
};

void ShowOtherSettings(FlowWorld& world) {
    std::string message;
    world.flows.Read();
    world.view.Form.ShowZarn74(RecordOf(unusual), message);
}

const FlowRow flowRows[] = {
    {"scan", [](FlowWorld&) {}, [](clsReaderFlows& flows) { return flows.AutoScan(); },
     "Get Device Information OK", "Get Device Information NG"},
    {"slow read", [](FlowWorld& world) { world.flows.SetQuickRead(false); },
     [](clsReaderFlows& flows) { return flows.Read(); }, "Get Device Information OK",
     "Get Device Information NG"},
    {"quick read", [](FlowWorld&) {}, [](clsReaderFlows& flows) { return flows.Read(); },
     "Get Device Information OK", "Get Device Information NG"},
    {"write all",
     [](FlowWorld& world) {
         ShowOtherSettings(world);
         world.flows.SetOnlyChanged(false);
     },
     [](clsReaderFlows& flows) { return flows.Apply(); }, "Write OK", "Write NG"},
    {"write", ShowOtherSettings, [](clsReaderFlows& flows) { return flows.Apply(); }, "Write OK", "Write NG"},
    {"default",
     [](FlowWorld& world) {
         std::ifstream shipped(ZARN74_DATA_FOLDER "/Default.ini", std::ios::binary);
         world.disk.Contents["f"] = {std::istreambuf_iterator<char>(shipped), {}};
         world.flows.Read();
     },
     [](clsReaderFlows& flows) { return flows.Initialize("f"); }, "Write Default Info OK",
     "Write Default Info NG"},
    {"write file",
     [](FlowWorld& world) {
         world.view.Controls = false;
         world.disk.Contents["f"] = TextOf(RecordOf(unusual));
     },
     [](clsReaderFlows& flows) { return flows.WriteFile("f"); }, "Write OK", "Write NG"},
    {"card",
     [](FlowWorld& world) {
         world.reader.PlaceCard({3, "04526AF13B2C80"});
     },
     [](clsReaderFlows& flows) { return flows.ReadCardInfo(); }, "", "Can't Get Card Info!"},
    {"no card", [](FlowWorld& world) { world.reader.RemoveCard(); },
     [](clsReaderFlows& flows) { return flows.ReadCardInfo(); }, "Empty", "Can't Get Card Info!"},
    {"EEPROM", [](FlowWorld& world) { world.reader.Registers.fill(0x55); },
     [](clsReaderFlows& flows) { return flows.TestEeprom(); }, "Test EEPROM OK", "Test EEPROM NG"},
};
enum FlowIndex : std::size_t {
    Scan,
    SlowRead,
    QuickRead,
    WriteAll,
    Write,
    Default,
    WriteFile,
    Card,
    NoCard,
    Eeprom
};

/// A flow that is watched: what the reader was sent, and its memory before each frame.
struct Watched : FlowWorld {
    explicit Watched(std::size_t flow) : Flow(flow) {
        flowRows[flow].Prepare(*this);
        logView.ClearText();
        Sent.clear();
        Before = reader.Registers;
        frames = reader.OnFrame.Connect([this](const std::string&, bool received) {
            if (!received) return;
            if (Keep) Images.push_back(reader.Registers);
            if (OnFrame) OnFrame(Sent.size() - 1);
        });
    }
    void Run() {
        const auto start = host.Now();
        Result = flowRows[Flow].Run(flows);
        Time = host.Now() - start;
    }
    std::size_t Flow;
    bool Keep = false;  // Images are kept
    std::vector<Image> Images;
    std::function<void(std::size_t)> OnFrame;  // from inside the frame of that number
    Image Before{};
    FlowResult Result = FlowResult::Refused;
    std::int64_t Time = 0;  // ms
    clsConnection frames;
};

/// What the undisturbed flow did.
struct CleanRun {
    std::string Sent;
    std::vector<Image> Images;  // before each frame, and at the end
    std::string Record;
    std::string OutputID;
    Image WrittenWhole;  // at the end of the same flow without a comparison before it
};

int failures = 0;
void Expect(bool holds, const std::string& what, const Watched& world, const std::string& where) {
    if (holds || ++failures > 20) return;
    std::cout << where << ": " << what << " (result " << static_cast<int>(world.Result) << ", "
              << world.Sent.size() << " frames, " << world.Time << " ms, \"" << world.Last() << "\")\n";
}

bool IsReading(std::size_t flow) {
    return flow == Scan || flow == SlowRead || flow == QuickRead || flow == Card || flow == NoCard;
}

/// Whether one fault at that exchange ends the flow, and otherwise a second attempt or another way makes up
/// for it.
bool IsFinal(std::size_t flow, SimFault fault, char command) {
    const bool refused = fault == SimFault::RefuseBusy || fault == SimFault::RefuseCode;
    const bool unanswered =
        fault == SimFault::NoAnswer || fault == SimFault::TruncatedReply || fault == SimFault::LateReply;
    if (command == 'C') {
        return fault == SimFault::RefuseCode || (flow == Eeprom && fault == SimFault::DroppedWrite);
    }
    if (command == 'B') return refused;
    if (flow == Write || flow == Default) return false;  // without a comparison everything is written
    if (command == 'Y') {
        return flow == Eeprom && fault != SimFault::LateReply && fault != SimFault::TrickledReply;
    }
    return (refused || unanswered) && !(flow == Scan && command == 'D');  // found at the next rate
}

/// What holds after every flow, however it ended.
void ExpectControlsBack(Watched& world, const std::string& where, bool forGood = false) {
    Expect(!world.flows.FlowRunning() && !world.comm.Busy(), "still running", world, where);
    Expect(world.view.Progress == std::pair(0, 0), "progress shown", world, where);
    Expect(world.view.Buttons.Idle && !world.view.Buttons.Cancel &&
               world.view.Buttons.Port == world.comm.PortOpen() &&
               world.view.Buttons.Test == world.comm.PortOpen(),
           "buttons", world, where);
    Expect(world.view.Caption != "Cancel" && world.flows.RequestClose(), "not to be closed", world, where);
    Expect(world.Time < (forGood ? 1500 : 5) * static_cast<std::int64_t>(world.Sent.size()) + 60'000,
           "took too long", world, where);
}

/// Nothing is written but what the undisturbed flow had written by then, or a frame later.
bool WroteUpTo(const Watched& world, const CleanRun& clean, std::size_t frame) {
    return world.reader.Registers == clean.Images[frame] || world.reader.Registers == clean.Images[frame + 1];
}

/// Says whether the armed fault fired.
bool TryFault(std::size_t flow, const CleanRun& clean, std::size_t at, SimFault fault, bool forGood) {
    const std::string where = std::string(flowRows[flow].Name) + ", exchange " + std::to_string(at) + " (" +
                              clean.Sent[at] + "), " + std::string(SimFaultName(fault)) +
                              (forGood ? " for good" : "");
    Watched world(flow);
    std::string error;
    SimFaultRule& rule = world.reader.AddFault(*ParseSimFault(SimFaultName(fault), error));
    for (std::size_t i = 0; i < at; ++i) rule.Skip += SimFaultMeets(fault, clean.Sent[i]) ? 1 : 0;
    if (!forGood) rule.Count = 1;
    world.Run();
    ExpectControlsBack(world, where, forGood);
    Expect(world.comm.PortOpen() || (flow == Scan && forGood), "port closed", world, where);

    // Nobody can tell a write that is confirmed and dropped, nor a memory whose images are all garbled alike.
    const bool dumped = clean.Sent.find('Y') != std::string::npos;
    const bool hidden =
        fault == SimFault::DroppedWrite || (fault == SimFault::GarbageBeforeStx && forGood && dumped);
    const bool done = world.Result == FlowResult::Done;
    Expect(done || world.Result == FlowResult::Failed, "neither done nor failed", world, where);
    if (!forGood) {
        // Who writes a file reads the reader first.
        const std::size_t part = flow != WriteFile ? flow : at <= clean.Sent.find('D') ? QuickRead : Write;
        const bool final = IsFinal(part, fault, clean.Sent[at]);
        Expect(done == (!final || flow == Scan), "ended the other way", world, where);
        const bool unread = flow == Scan && final && at == clean.Sent.find('V');
        const char* last = final ? flowRows[part].Failed : flowRows[flow].Passed;
        Expect(world.Last() == (unread ? "Found a reader" : last), "last line", world, where);
    }
    const Image& memory = world.reader.Registers;
    if (IsReading(flow)) {
        Expect(memory == world.Before, "a read that writes", world, where);
    } else if (hidden) {
        Expect(done || flow == Eeprom || clean.Sent[at] != 'C', "not done", world, where);
    } else if (done) {
        Expect(memory == clean.Images.back() || memory == clean.WrittenWhole, "not written", world, where);
    } else if (clean.Sent[at] == 'C') {
        Expect(WroteUpTo(world, clean, at), "written beyond", world, where);
    } else {
        for (std::size_t i = 0; i < memory.size(); ++i) {
            Expect(memory[i] == world.Before[i] || memory[i] == clean.Images.back()[i] ||
                       memory[i] == clean.WrittenWhole[i] || flow == Eeprom,
                   "register " + std::to_string(i), world, where);
        }
    }
    if (done && world.Last() == flowRows[flow].Passed && IsReading(flow) && !hidden) {
        Expect(TextOf(world.flows.Record()) == clean.Record, "another record", world, where);
        Expect(world.view.Form.Table.OutputID == clean.OutputID, "another card", world, where);
    }
    return rule.Fired >= 1 && (forGood || rule.Fired == 1);
}

enum class Event { Pulled, Cancelled, Closed };
constexpr const char* eventNames[] = {"line pulled", "cancel", "window closed"};

/// Says whether it happened.
bool TryEvent(std::size_t flow, const CleanRun& clean, std::size_t at, Event event) {
    const std::string where = std::string(flowRows[flow].Name) + ", exchange " + std::to_string(at) + ", " +
                              eventNames[static_cast<int>(event)];
    Watched world(flow);
    std::int64_t then = -1;
    world.OnFrame = [&](std::size_t number) {
        if (number != at) return;
        world.host.Post([&] {
            then = world.host.Now();
            if (event == Event::Pulled) world.serial.Unplug(1);
            if (event == Event::Cancelled) world.flows.Cancel();
            if (event == Event::Closed) {
                Expect(!world.flows.RequestClose(), "closed at once", world, where);
            }
        });
    };
    world.Run();
    world.host.Run(10);  // what came with its last moment
    ExpectControlsBack(world, where);
    // The EEPROM test ends behind its block of 16, or behind its dump.
    const bool ownWay = event == Event::Closed && flow == Eeprom;
    std::size_t last = at;
    if (ownWay) {
        const std::size_t inPass = at % (clean.Sent.size() / 2);
        last = inPass < 512 ? at - inPass % 16 + 15 : at + (512 - inPass) + 1 + 16;
        last = std::min(last, clean.Sent.size() - 1);
    }
    Expect(world.Sent.size() <= last + 1, "sent more", world, where);
    const bool nothingLeft = world.Sent == clean.Sent;
    if (event == Event::Pulled) {
        Expect(!world.comm.PortOpen() && world.Logged("COM1 is removed and closed") == 1, "port", world,
               where);
        Expect(world.Result == FlowResult::Failed ||
                   ((nothingLeft || flow == Scan) && world.Result == FlowResult::Done),
               "result", world, where);
    } else if (ownWay) {
        Expect(world.Result == FlowResult::Done && world.Logged("Cancel") + nothingLeft == 1, "result", world,
               where);
    } else {
        Expect(world.Result == FlowResult::Cancelled || (nothingLeft && world.Result == FlowResult::Done),
               "result", world, where);
        Expect(world.host.Now() - then <= 60, "took its time", world, where);
    }
    if (!ownWay) Expect(WroteUpTo(world, clean, at), "written beyond", world, where);
    return then >= 0;
}

struct Cell {
    int Armed = 0;
    int Fired = 0;
};
struct Column {
    std::size_t Exchanges = 0;
    std::vector<Cell> Cells = std::vector<Cell>(AllSimFaults().size() + std::size(eventNames));
    std::ptrdiff_t Growth = 0;  // of the heap, over all these cases
};

CleanRun RunClean(std::size_t flow) {
    Watched world(flow);
    world.Keep = true;
    world.Run();
    Expect(world.Result == FlowResult::Done && world.Last() == flowRows[flow].Passed, "not done", world,
           flowRows[flow].Name);
    world.Images.push_back(world.reader.Registers);
    Watched whole(flow);
    whole.flows.SetOnlyChanged(false);
    whole.Run();
    return {world.Sent, world.Images, TextOf(world.flows.Record()), world.view.Form.Table.OutputID,
            whole.reader.Registers};
}

// Every `step`th exchange is disturbed, the first two always.
Column RunColumn(std::size_t flow, std::size_t step) {
    const auto& faults = AllSimFaults();
    const CleanRun clean = RunClean(flow);
    Column column;
    column.Exchanges = clean.Sent.size();
    const auto before = mallinfo2().uordblks;
    for (std::size_t at = 0; at < clean.Sent.size(); at += at == 0 ? 1 : step) {
        const auto count = [&column](std::size_t row, bool fired) {
            ++column.Cells[row].Armed;
            column.Cells[row].Fired += fired ? 1 : 0;
        };
        for (std::size_t i = 0; i < faults.size(); ++i) {
            if (!SimFaultMeets(faults[i], clean.Sent[at])) continue;
            for (const bool forGood : {false, true}) count(i, TryFault(flow, clean, at, faults[i], forGood));
        }
        for (const Event event : {Event::Pulled, Event::Cancelled, Event::Closed}) {
            count(faults.size() + static_cast<std::size_t>(event), TryEvent(flow, clean, at, event));
        }
    }
    column.Growth = static_cast<std::ptrdiff_t>(mallinfo2().uordblks - before);
    return column;
}

}  // namespace

int main(int argc, char** argv) {
    const std::size_t step = argc > 1 ? static_cast<std::size_t>(std::max(1, std::atoi(argv[1]))) : 1;
    std::vector<Column> columns;
    for (std::size_t flow = 0; flow < std::size(flowRows); ++flow) columns.push_back(RunColumn(flow, step));

    const auto print = [&columns](const std::string& name, const auto& cell) {
        std::cout << std::left << std::setw(20) << name << std::right;
        for (const Column& column : columns) std::cout << std::setw(12) << cell(column);
        std::cout << '\n';
    };
    std::size_t flow = 0;
    print("armed=fired", [&flow](const Column&) { return flowRows[flow++].Name; });
    print("exchanges", [](const Column& column) { return column.Exchanges; });
    int cases = 0;
    bool allFired = true;
    for (std::size_t row = 0; row < columns[0].Cells.size(); ++row) {
        const auto& faults = AllSimFaults();
        const std::string name(row < faults.size() ? SimFaultName(faults[row])
                                                   : eventNames[row - faults.size()]);
        print(name, [&](const Column& column) {
            const Cell& cell = column.Cells[row];
            cases += cell.Armed;
            allFired = allFired && cell.Armed == cell.Fired;
            if (cell.Armed == 0) return std::string("-");
            return std::to_string(cell.Armed) + (cell.Armed == cell.Fired ? "=" : "!=") +
                   std::to_string(cell.Fired);
        });
    }
    bool grown = false;
    print("heap growth, bytes", [&grown](const Column& column) {
        grown = grown || column.Growth > 65536;
        return column.Growth;
    });
    std::cout << cases << " cases, " << failures << " failures" << (allFired ? "" : ", a fault did not fire")
              << (grown ? ", memory grows" : "") << '\n';
    return failures == 0 && allFired && !grown ? 0 : 1;
}
