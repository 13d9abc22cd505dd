// Every flow, and for each of its exchanges: each fault of the simulated reader once and for good, the line
// pulled out, a cancel, and the window closed. In virtual time; prints one table and ends with 1 when
// anything ended otherwise than it must.

#include <malloc.h>

#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>

#include "flows/Explanations.h"
#include "flows/FlowWorld.h"
#include "flows/RecordText.h"

namespace {

using Image = std::array<std::uint8_t, clsSimReader::registerCount>;

struct Ends {
    const char *Passed, *Failed;  // the last lines of the log
};
constexpr Ends readEnds{"Get Device Information OK", "Get Device Information NG"};
constexpr Ends writeEnds{"Write OK", "Write NG"};
constexpr Ends defaultEnds{"Write Default Info OK", "Write Default Info NG"};
constexpr Ends testEnds{"Test EEPROM OK", "Test EEPROM NG"};
constexpr auto cardNG = "Can't Get Card Info!";

void DoNothing(FlowWorld&) {}
void BeSlow(FlowWorld& world) { world.flows.SetQuickRead(false); }
void PlaceCard(FlowWorld& world) { world.reader.PlaceCard({3, "04526AF13B2C80"}); }
void RemoveCard(FlowWorld& world) { world.reader.RemoveCard(); }
void FillMemory(FlowWorld& world) { world.reader.Registers.fill(0x55); }
void ShowOtherSettings(FlowWorld& world) {
    std::string message;
    world.flows.Read();
    world.view.Form.ShowZarn74(RecordOf(unusual), message);
}
void ShowAllToWrite(FlowWorld& world) {
    ShowOtherSettings(world);
    world.flows.SetOnlyChanged(false);
}
void PutDefaults(FlowWorld& world) {
    world.disk.Contents["f"] = TextOf(ZarnInfo());
    world.flows.Read();
}
FlowResult LayAndWrite(clsReaderFlows& flows) {
    LaidFile laid;
    const FlowResult result = flows.LayFile("f", FileRole::Settings, laid);
    return result == FlowResult::Done ? flows.WriteLaid(laid, FileRole::Settings) : result;
}
void PutFile(FlowWorld& world) {
    world.view.Controls = false;
    world.disk.Contents["f"] = TextOf(RecordOf(unusual));
}

struct FlowRow {
    const char* Name;
    void (*Prepare)(FlowWorld& world);
    std::function<FlowResult(clsReaderFlows&)> Run;
    Ends LastLines;
};
const FlowRow flowRows[] = {
    {"scan", DoNothing, &clsReaderFlows::AutoScan, readEnds},
    {"slow read", BeSlow, &clsReaderFlows::Read, readEnds},
    {"quick read", DoNothing, &clsReaderFlows::Read, readEnds},
    {"card", PlaceCard, &clsReaderFlows::ReadCardInfo, {"", cardNG}},
    {"no card", RemoveCard, &clsReaderFlows::ReadCardInfo, {"Empty", cardNG}},
    {"write all", ShowAllToWrite, &clsReaderFlows::Apply, writeEnds},
    {"write", ShowOtherSettings, &clsReaderFlows::Apply, writeEnds},
    {"default", PutDefaults, [](auto& flows) { return flows.Initialize("f"); }, defaultEnds},
    {"write file", PutFile, LayAndWrite, writeEnds},
    {"EEPROM", FillMemory, &clsReaderFlows::TestEeprom, testEnds},
};
enum Flow { Scan, SlowRead, QuickRead, Card, NoCard, WriteAll, Write, Default, WriteFile, Eeprom };
bool IsReading(std::size_t flow) { return flow < WriteAll; }

int cases = 0;
int failures = 0;

/// A flow that is watched.
struct Watched : FlowWorld {
    explicit Watched(std::size_t flow, const std::string& how = "")
        : Row(flowRows[flow]), Where(Row.Name + how) {
        Row.Prepare(*this);
        logView.ClearText();
        Sent.clear();
        Before = reader.Registers;
        frames = reader.OnFrame.Connect([this](const std::string&, bool received) {
            if (received && OnFrame) OnFrame(Sent.size() - 1);
        });
    }
    void Run() {
        const auto start = host.Now();
        Result = Row.Run(flows);
        Time = host.Now() - start;
    }
    void Expect(bool holds, const std::string& what) const {
        if (holds || ++failures > 20) return;
        std::cout << Where << ": " << what << " (result " << static_cast<int>(Result) << ", " << Sent.size()
                  << " frames, " << Time << " ms, \"" << Last() << "\")\n";
    }
    /// Every line is known for what it means, and who fails says something that is explained.
    void ExpectExplained() {
        bool explained = false;
        for (const std::string& line : logView.Messages) {
            const Explanation* const row = Explanations::Of(line);
            Expect(row != nullptr, "nobody explains \"" + line + "\"");
            explained = explained || (row != nullptr && row->Failure());
        }
        const bool silent =
            std::find(view.Notices.begin(), view.Notices.end(), "Missing Device") != view.Notices.end();
        Expect(Result != FlowResult::Failed || explained || silent, "failed without an explanation");
    }
    /// What holds after every flow, however it ended.
    void ExpectControlsBack(bool forGood) {
        ExpectExplained();
        Expect(!flows.FlowRunning() && !comm.Busy(), "still running");
        Expect(view.Progress == std::pair(0, 0), "progress shown");
        const bool port = comm.PortOpen();
        Expect(view.Buttons.Idle && !view.Buttons.Cancel && view.Buttons.Port == port &&
                   view.Buttons.Test == port,
               "buttons");
        Expect(view.Caption != "Cancel" && flows.RequestClose(), "not to be closed");
        const auto frameTime = forGood ? 1500 : 5;
        Expect(Time < frameTime * static_cast<std::int64_t>(Sent.size()) + 60'000, "took too long");
    }

    const FlowRow& Row;
    const std::string Where;
    std::function<void(std::size_t)> OnFrame;  // from inside the frame of that number
    Image Before{};
    FlowResult Result = FlowResult::Refused;
    std::int64_t Time = 0;  // ms
    clsConnection frames;
};

/// What the undisturbed flow did.
struct CleanRun {
    explicit CleanRun(std::size_t flow) {
        Watched world(flow);
        world.OnFrame = [&](std::size_t) { Images.push_back(world.reader.Registers); };
        world.Run();
        world.Expect(world.Result == FlowResult::Done && world.Last() == world.Row.LastLines.Passed,
                     "not done");
        Images.push_back(world.reader.Registers);
        Sent = world.Sent;
        Record = TextOf(world.flows.Record());
        OutputID = world.view.Form.Table.OutputID;
        Watched whole(flow);
        whole.flows.SetOnlyChanged(false);
        whole.Run();
        WrittenWhole = whole.reader.Registers;
    }
    /// Nothing is written but what this flow had written by then, or a frame later.
    [[nodiscard]] bool WroteUpTo(const Image& memory, std::size_t frame) const {
        return memory == Images[frame] || memory == Images[frame + 1];
    }
    std::string Sent;
    std::vector<Image> Images;  // before each frame, and at the end
    std::string Record;
    std::string OutputID;
    Image WrittenWhole;  // at the end of the same flow without a comparison before it
};

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

/// Says whether the armed fault fired.
bool TryFault(std::size_t flow, const CleanRun& clean, std::size_t at, SimFault fault, bool forGood) {
    const char command = clean.Sent[at];
    Watched world(flow, ", exchange " + std::to_string(at) + " (" + command + "), " +
                            std::string(SimFaultName(fault)) + (forGood ? " for good" : ""));
    std::string error;
    SimFaultRule& rule = world.reader.AddFault(*ParseSimFault(SimFaultName(fault), error));
    for (std::size_t i = 0; i < at; ++i) rule.Skip += SimFaultMeets(fault, clean.Sent[i]) ? 1 : 0;
    if (!forGood) rule.Count = 1;
    world.Run();
    world.ExpectControlsBack(forGood);
    world.Expect(world.comm.PortOpen() || (flow == Scan && forGood), "port closed");

    // Nobody can tell a write that is confirmed and dropped, nor a memory whose images are all garbled alike.
    const bool dumped = clean.Sent.find('Y') != std::string::npos;
    const bool hidden =
        fault == SimFault::DroppedWrite || (fault == SimFault::GarbageBeforeStx && forGood && dumped);
    const bool done = world.Result == FlowResult::Done;
    world.Expect(done || world.Result == FlowResult::Failed, "neither done nor failed");
    if (!forGood) {
        // Who writes a file reads the reader first.
        std::size_t part = flow;
        if (flow == WriteFile) part = at <= clean.Sent.find('D') ? QuickRead : Write;
        const bool final = IsFinal(part, fault, command);
        world.Expect(done == (!final || flow == Scan), "ended the other way");
        const bool unread = flow == Scan && final && at == clean.Sent.find('V');
        const char* last = final ? flowRows[part].LastLines.Failed : world.Row.LastLines.Passed;
        world.Expect(world.Last() == (unread ? "Found a reader" : last), "last line");
    }
    const Image& memory = world.reader.Registers;
    if (IsReading(flow)) {
        world.Expect(memory == world.Before, "a read that writes");
    } else if (hidden) {
        world.Expect(done || flow == Eeprom || command != 'C', "not done");
    } else if (done) {
        world.Expect(memory == clean.Images.back() || memory == clean.WrittenWhole, "not written");
    } else if (command == 'C') {
        world.Expect(clean.WroteUpTo(memory, at), "written beyond");
    } else {
        for (std::size_t i = 0; i < memory.size(); ++i) {
            world.Expect(memory[i] == world.Before[i] || memory[i] == clean.Images.back()[i] ||
                             memory[i] == clean.WrittenWhole[i] || flow == Eeprom,
                         "register " + std::to_string(i));
        }
    }
    if (done && world.Last() == world.Row.LastLines.Passed && IsReading(flow) && !hidden) {
        world.Expect(TextOf(world.flows.Record()) == clean.Record, "another record");
        world.Expect(world.view.Form.Table.OutputID == clean.OutputID, "another card");
    }
    const bool fired = rule.Fired >= 1 && (forGood || rule.Fired == 1);
    world.Expect(fired, "not fired, or more than once");
    return fired;
}

enum Event { Pulled, Cancelled, Closed };
constexpr const char* eventNames[] = {"line pulled", "cancel", "window closed"};

/// Says whether it happened.
bool TryEvent(std::size_t flow, const CleanRun& clean, std::size_t at, Event event) {
    Watched world(flow, ", exchange " + std::to_string(at) + ", " + eventNames[event]);
    std::int64_t then = -1;
    world.OnFrame = [&](std::size_t number) {
        if (number != at) return;
        world.host.Post([&] {
            then = world.host.Now();
            if (event == Pulled) world.serial.Unplug(1);
            if (event == Cancelled) world.flows.Cancel();
            if (event == Closed) world.Expect(!world.flows.RequestClose(), "closed at once");
        });
    };
    world.Run();
    world.host.Run(10);  // what came with its last moment
    world.ExpectControlsBack(/*forGood=*/false);
    // The EEPROM test ends behind its block of 16, or behind its dump.
    const bool ownWay = event == Closed && flow == Eeprom;
    std::size_t last = at;
    if (ownWay) {
        const std::size_t inPass = at % (clean.Sent.size() / 2);
        last = inPass < 512 ? at - inPass % 16 + 15 : at + (512 - inPass) + 1 + 16;
        last = std::min(last, clean.Sent.size() - 1);
    }
    world.Expect(then >= 0, "did not happen");
    world.Expect(world.Sent.size() <= last + 1, "sent more");
    const bool done = world.Result == FlowResult::Done;
    const bool nothingLeft = world.Sent == clean.Sent;
    if (event == Pulled) {
        world.Expect(!world.comm.PortOpen() && world.Logged("COM1 is removed and closed") == 1, "port");
        world.Expect(world.Result == FlowResult::Failed || ((nothingLeft || flow == Scan) && done), "result");
        world.Expect(world.host.Now() - then <= 160, "took its time");  // two pauses between attempts
    } else if (ownWay) {
        const FlowResult result = nothingLeft ? FlowResult::Done : FlowResult::Cancelled;
        world.Expect(world.Result == result && world.Logged("Cancel") + nothingLeft == 1, "result");
    } else {
        world.Expect(world.Result == FlowResult::Cancelled || (nothingLeft && done), "result");
        world.Expect(world.host.Now() - then <= 60, "took its time");
    }
    if (!ownWay) world.Expect(clean.WroteUpTo(world.reader.Registers, at), "written beyond");
    return then >= 0;
}

/// The cells of each row, by what it says in front.
using Table = std::map<std::string_view, std::ostringstream>;

/// All cases of a flow, as a column of the table. Every `step`th exchange is disturbed, the first two always.
/// Says by how much the heap grew.
std::ptrdiff_t RunFlow(std::size_t flow, std::size_t step, Table& table) {
    const CleanRun clean(flow);
    std::map<std::string_view, std::pair<int, int>> counts;  // armed and fired
    for (const char* name : eventNames) counts[name] = {};
    for (const SimFault fault : AllSimFaults()) counts[SimFaultName(fault)] = {};
    const auto count = [&counts](std::string_view what, bool fired) {
        ++counts[what].first;
        counts[what].second += fired ? 1 : 0;
    };
    const auto before = mallinfo2().uordblks;
    for (std::size_t at = 0; at < clean.Sent.size(); at += at == 0 ? 1 : step) {
        for (const SimFault fault : AllSimFaults()) {
            if (!SimFaultMeets(fault, clean.Sent[at])) continue;
            for (const bool forGood : {false, true})
                count(SimFaultName(fault), TryFault(flow, clean, at, fault, forGood));
        }
        for (const Event event : {Pulled, Cancelled, Closed})
            count(eventNames[event], TryEvent(flow, clean, at, event));
    }
    const auto growth = static_cast<std::ptrdiff_t>(mallinfo2().uordblks - before);
    table["armed=fired"] << std::setw(12) << flowRows[flow].Name;
    table["exchanges"] << std::setw(12) << clean.Sent.size();
    table["heap growth, bytes"] << std::setw(12) << growth;
    for (const auto& [what, times] : counts) {
        table[what] << std::setw(12) << std::to_string(times.first) + "=" + std::to_string(times.second);
        cases += times.first;
    }
    return growth;
}

}  // namespace

int main(int argc, char** argv) {
    const std::size_t step = argc > 1 ? static_cast<std::size_t>(std::max(1, std::atoi(argv[1]))) : 1;
    Table table;
    bool grown = false;
    for (std::size_t flow = 0; flow < std::size(flowRows); ++flow)
        grown = RunFlow(flow, step, table) > 65536 || grown;
    for (const auto& [what, cells] : table)
        std::cout << std::left << std::setw(20) << what << cells.str() << '\n';
    std::cout << cases << " cases, " << failures << " failures" << (grown ? ", memory grows" : "") << '\n';
    return failures == 0 && !grown ? 0 : 1;
}
