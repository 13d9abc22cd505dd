#include <gtest/gtest.h>

#include "FlowWorld.h"
#include "RecordText.h"

namespace {

constexpr auto file = "folder/f";
constexpr auto content = "[General]\r\nLanguage=3\r\nDelimiter=2\r\n";

struct Recording : FlowWorld {
    Recording() {
        view.Controls = false;
        disk.Contents = {{file, content}, {"bad", "[General]\r\nOther=1\r\n"}};
    }
    void Fault(SimFault fault, char command, int number = -1) {
        SimFaultRule rule{fault, command, number};
        rule.Value = 3;
        reader.AddFault(rule);
    }
    /// What the command line does to write a file and to prove it.
    void Write() {
        flows.BeginEvent(HistoryAction::Write);
        if (WriteFile(file) == FlowResult::Done) Prove();
        flows.EndEvent(/*cancelled=*/false);
    }
    void Prove() {
        ZarnInfo after;
        flows.ReadInto(after, modZarn74::Lines::Silent);
    }
    void Edit() {
        view.Controls = true;
        flows.Read();
        std::string message;
        view.Form.ShowZarn74(RecordOf(unusual), message);
        history.Rows.clear();
        flows.SetReadBack(true);
        flows.Apply();
    }
    /// What was kept of the only event, in one line: a side is "s" with settings, "i" with an image.
    [[nodiscard]] std::string Kept() const {
        std::string text;
        for (const HistoryEvent& event : history.Rows) {
            const auto side = [](const HistorySide& held) {
                EXPECT_TRUE(held.Image.empty() || held.Image.size() == registerCount);
                return std::string(held.Settings.empty() ? "" : "s") + (held.Image.empty() ? "" : "i");
            };
            text += std::string(text.empty() ? "" : "; ") + WordOf(event.Action) + " " +
                    WordOf(event.Outcome) + " " + std::to_string(event.ChangeCount) + " [" +
                    side(event.Before) + "|" + side(event.After) + "]" +
                    (event.Reason.empty() ? "" : " " + event.Reason);
        }
        return text;
    }
};

TEST(History, EveryFlowIsOneEventOfWhatWasSeen) {
    const struct {
        const char* Name;
        std::function<void(Recording&)> Run;
        const char* Kept;
    } rows[] = {
        {"read", [](Recording& world) { world.flows.Read(); }, "read done 0 [|si]"},
        {"slow read",
         [](Recording& world) {
             world.flows.SetQuickRead(false);
             world.flows.Read();
         },
         "read done 0 [|s]"},
        {"search", [](Recording& world) { world.flows.AutoScan(); }, "read done 0 [|si]"},
        {"search without a reader",
         [](Recording& world) {
             world.serial.Unplug(1);
             world.flows.AutoScan();
         },
         ""},
        {"search, and the reader does not tell its firmware",
         [](Recording& world) {
             world.Fault(SimFault::NoAnswer, 'V');
             world.flows.AutoScan();
         },
         "read failed 0 [|] the reader did not tell its firmware"},
        {"search, and the reader does not tell its product",
         [](Recording& world) {
             world.reader.Product = "Zarn74";
             world.flows.AutoScan();
         },
         "read failed 0 [|] the reader did not tell its product"},
        {"search, and the reader is not read to its end",
         [](Recording& world) {
             world.Fault(SimFault::NoAnswer, 'B');
             world.flows.SetQuickRead(false);
             world.flows.AutoScan();
         },
         "read failed 0 [|] Get Device Information NG"},
        {"search that was cancelled as the reader told its firmware",
         [](Recording& world) {
             world.Fault(SimFault::LateReply, 'V');
             const auto cancel = world.reader.OnFrame.Connect([&world](const std::string& frame, bool) {
                 if (frame.at(1) == 'V') world.flows.Cancel();
             });
             world.flows.AutoScan();
         },
         "read cancelled 0 [|]"},
        {"no answer",
         [](Recording& world) {
             world.Fault(SimFault::NoAnswer, 'V');
             world.flows.Read();
         },
         "read failed 0 [|] Get Device Information NG"},
        {"cancelled",
         [](Recording& world) {
             world.view.OnProgress = [&] { world.flows.Cancel(); };
             world.flows.SetQuickRead(false);
             world.flows.Read();
         },
         "read cancelled 0 [|] Get Device Information NG"},
        {"dump",
         [](Recording& world) {
             modZarn74::Image image;
             world.flows.Dump(image);
         },
         "read done 0 [|i]"},
        {"check",
         [](Recording& world) {
             LaidFile laid;
             world.flows.LayFile(file, FileRole::Compare, laid);
         },
         "check differs 7 [|si]"},
        {"check, by the slow way",
         [](Recording& world) {
             world.Fault(SimFault::ShortDump, 'Y');
             LaidFile laid;
             world.flows.LayFile(file, FileRole::Compare, laid);
         },
         "check differs 7 [|s]"},
        {"read by the slow way in a write, interrupted behind it",
         [](Recording& world) {
             world.Fault(SimFault::ShortDump, 'Y');
             world.flows.BeginEvent(HistoryAction::Write);
             world.flows.Read();
             world.flows.EndEvent(/*cancelled=*/true);
         },
         "write cancelled 0 [|s]"},
        {"file without settings",
         [](Recording& world) {
             LaidFile laid;
             world.flows.LayFile("bad", FileRole::Compare, laid);
             world.flows.Initialize("missing");
         },
         ""},
        {"write and prove", [](Recording& world) { world.Write(); }, "write done 7 [si|si]"},
        {"write, and one is lost",
         [](Recording& world) {
             world.Fault(SimFault::DroppedWrite, 'C', 210);
             world.Write();
         },
         "write differs 7 [si|si] not kept: Language"},
        {"write, and no answer behind it",
         [](Recording& world) {
             world.flows.BeginEvent(HistoryAction::Write);
             world.WriteFile(file);
             world.Fault(SimFault::NoAnswer, 'B');
             world.Fault(SimFault::NoAnswer, 'D');
             world.Fault(SimFault::NoAnswer, 'V');
             world.Prove();
             world.flows.EndEvent(/*cancelled=*/true);
         },
         "write not proven 7 [si|]"},
        {"write refused",
         [](Recording& world) {
             world.Fault(SimFault::RefuseCode, 'C', 210);
             world.Write();
         },
         "write failed 7 [si|] Write NG"},
        {"interrupted between two flows",
         [](Recording& world) {
             world.flows.BeginEvent(HistoryAction::Write);
             LaidFile laid;
             world.flows.LayFile(file, FileRole::Settings, laid);
             world.flows.EndEvent(/*cancelled=*/true);
         },
         "write cancelled 7 [|si]"},
        {"write of the pages", [](Recording& world) { world.Edit(); }, "write done 23 [si|si]"},
        {"write of the pages, and one is lost",
         [](Recording& world) {
             world.Fault(SimFault::DroppedWrite, 'C', 210);
             world.Edit();
         },
         "write differs 23 [si|si] not kept: Language"},
        {"write of all pages without a look before it, and one is lost",
         [](Recording& world) {
             world.flows.SetOnlyChanged(false);
             world.Fault(SimFault::DroppedWrite, 'C', 210);
             world.Edit();
         },
         "write differs 1 [|si] not kept: Language"},
        {"write of what was chosen",
         [](Recording& world) {
             ZarnInfo held;
             world.module.GetZarnInfo(held, /*quick=*/true, modZarn74::Lines::Silent);
             ZarnInfo chosen = held;
             chosen.Language = 4;
             world.flows.BeginEvent(HistoryAction::Write);
             world.flows.WriteDifferences(chosen, held);
             world.Prove();
             world.flows.EndEvent(/*cancelled=*/false);
         },
         "write done 1 [|si]"},
        {"defaults", [](Recording& world) { world.flows.Initialize(file); }, "default done 18 [si|]"},
        {"register", [](Recording& world) { world.flows.SetRegister(5, 7, [](std::uint8_t) {}); },
         "set done 1 [|]"},
        {"register, lost",
         [](Recording& world) {
             world.Fault(SimFault::DroppedWrite, 'C', 5);
             world.flows.SetRegister(5, 7, [](std::uint8_t) {});
         },
         "set differs 1 [|] not kept: Register 5"},
        {"memory test", [](Recording& world) { world.flows.TestEeprom(); }, "test done 0 [|i]"},
        {"memory test, cancelled in its second pattern",
         [](Recording& world) {
             world.logView.OnLine = [&] {
                 if (world.Last() == "Write 0xFF to EEPROM 32~47 byte OK") world.flows.Cancel();
             };
             world.flows.TestEeprom();
         },
         "test cancelled 0 [|] Test EEPROM NG"},
        {"memory test, ended by a window that closes",
         [](Recording& world) {
             world.logView.OnLine = [&] {
                 if (world.Last() == "Write 0xFF to EEPROM 32~47 byte OK") world.flows.RequestClose();
             };
             world.flows.TestEeprom();
         },
         "test cancelled 0 [|]"},
        {"port closed",
         [](Recording& world) {
             world.comm.SetPortOpen(false);
             world.flows.Read();
             world.flows.TestEeprom();
         },
         ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Name);
        Recording world;
        // Whatever changes the reader is kept as begun before it is on the wire.
        const auto first = world.reader.OnFrame.Connect([&world](const std::string& frame, bool received) {
            if (!received || frame.at(1) != 'C') return;
            const auto& kept = world.history.Outcomes;
            EXPECT_TRUE(!kept.empty() && kept.back() == HistoryOutcome::Begun);
        });
        row.Run(world);
        EXPECT_EQ(world.Kept(), row.Kept);
    }
}

TEST(History, AnEventTellsWhereAndWhatAndWithWhichFile) {
    Recording world;
    const std::string before = TextOf([&] {
        ZarnInfo record;
        world.module.GetZarnInfo(record, /*quick=*/true, modZarn74::Lines::Silent);
        return record;
    }());
    const std::string image(world.reader.Registers.begin(), world.reader.Registers.end());
    world.view.OnProgress = [&] { world.host.Sleep(100); };
    world.Write();
    EXPECT_EQ(world.history.Outcomes, (std::vector{HistoryOutcome::Begun, HistoryOutcome::Done}));
    ASSERT_EQ(world.history.Rows.size(), 1U);
    const HistoryEvent& event = world.history.Rows[0];
    EXPECT_EQ(event.Revision, 2);
    EXPECT_GT(event.Ended, event.Begun + 1000);
    EXPECT_EQ(event.Port, "COM1");
    EXPECT_EQ(event.Baud, 19200);
    EXPECT_EQ(event.Product, "Zarn74");
    EXPECT_EQ(event.FirmwareSerial, "FWQ-K4436");
    EXPECT_EQ(event.Profile, "f");
    EXPECT_EQ(event.ProfileDigest, "digest of " + std::to_string(std::string(content).size()));
    EXPECT_EQ(event.Before, (HistorySide{before, image}));
    EXPECT_NE(event.After.Settings.find("Language=3\r\n"), std::string::npos);
    EXPECT_EQ(event.After.Image, std::string(world.reader.Registers.begin(), world.reader.Registers.end()));
    ASSERT_EQ(event.Changes.size(), 7U);
    EXPECT_EQ(event.Changes[0].Setting, "Language");
    EXPECT_EQ(event.Changes[0].Before, "Germany");
    EXPECT_EQ(event.Changes[0].Kept, true);
    std::string lines;
    for (const std::string& message : world.logView.Messages) lines += "14:03:07 - " + message + "\n";
    EXPECT_EQ(event.Lines, lines);
}

}  // namespace
