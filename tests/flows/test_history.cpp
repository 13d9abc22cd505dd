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
    Recording& Fault(SimFault fault, char command, int number = -1) {
        reader.AddFault({fault, command, number, 0, -1, /*Value=*/3});
        return *this;
    }
    Recording& Slow() {
        flows.SetQuickRead(false);
        return *this;
    }
    Recording& Begin() {
        flows.BeginEvent(HistoryAction::Write);
        return *this;
    }
    void Lay(const char* name = file, FileRole role = FileRole::Compare) {
        LaidFile laid;
        flows.LayFile(name, role, laid);
    }
    /// When the test of the memory is in its second pattern.
    Recording& EndInTheTest(bool closes) {
        logView.OnLine = [this, closes] {
            if (Last() == "Write 0xFF to EEPROM 32~47 byte OK")
                closes ? void(flows.RequestClose()) : flows.Cancel();
        };
        return *this;
    }
    /// What the command line does to write a file and to prove it.
    void Write() {
        if (Begin().WriteFile(file) == FlowResult::Done) Prove();
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
        {"read", [](auto& world) { world.flows.Read(); }, "read done 0 [|si]"},
        {"slow read", [](auto& world) { world.Slow().flows.Read(); }, "read done 0 [|s]"},
        {"search", [](auto& world) { world.flows.AutoScan(); }, "read done 0 [|si]"},
        {"search without a reader", [](auto& world) { world.serial.Unplug(1), world.flows.AutoScan(); }, ""},
        {"search, and the reader does not tell its firmware",
         [](auto& world) { world.Fault(SimFault::NoAnswer, 'V').flows.AutoScan(); },
         "read failed 0 [|] the reader did not tell its firmware"},
        {"search, and the reader does not tell its product",
         [](auto& world) { world.reader.Product = "Zarn74", world.flows.AutoScan(); },
         "read failed 0 [|] the reader did not tell its product"},
        {"search, and the reader is not read to its end",
         [](auto& world) { world.Slow().Fault(SimFault::NoAnswer, 'B').flows.AutoScan(); },
         "read failed 0 [|] Get Device Information NG"},
        {"search that was cancelled as the reader told its firmware",
         [](auto& world) {
             const auto cancel = world.reader.OnFrame.Connect([&world](const std::string& frame, bool) {
                 if (frame.at(1) == 'V') world.flows.Cancel();
             });
             world.Fault(SimFault::LateReply, 'V').flows.AutoScan();
         },
         "read cancelled 0 [|]"},
        {"no answer", [](auto& world) { world.Fault(SimFault::NoAnswer, 'V').flows.Read(); },
         "read failed 0 [|] Get Device Information NG"},
        {"cancelled",
         [](auto& world) {
             world.view.OnProgress = [&] { world.flows.Cancel(); };
             world.Slow().flows.Read();
         },
         "read cancelled 0 [|] Get Device Information NG"},
        {"dump", [image = modZarn74::Image()](auto& world) mutable { world.flows.Dump(image); },
         "read done 0 [|i]"},
        {"check", [](auto& world) { world.Lay(); }, "check differs 7 [|si]"},
        {"check, by the slow way", [](auto& world) { world.Fault(SimFault::ShortDump, 'Y').Lay(); },
         "check differs 7 [|s]"},
        {"read by the slow way in a write, interrupted behind it",
         [](auto& world) {
             world.Begin().Fault(SimFault::ShortDump, 'Y').flows.Read();
             world.flows.EndEvent(/*cancelled=*/true);
         },
         "write cancelled 0 [|s]"},
        {"file without settings", [](auto& world) { world.Lay("bad"), world.flows.Initialize("missing"); },
         ""},
        {"write and prove", [](auto& world) { world.Write(); }, "write done 7 [si|si]"},
        {"write, and one is lost", [](auto& world) { world.Fault(SimFault::DroppedWrite, 'C', 210).Write(); },
         "write differs 7 [si|si] not kept: Language"},
        {"write, and no answer behind it",
         [](auto& world) {
             world.Begin().WriteFile(file);
             for (const char command : {'B', 'D', 'V'}) world.Fault(SimFault::NoAnswer, command);
             world.Prove();
             world.flows.EndEvent(/*cancelled=*/true);
         },
         "write not proven 7 [si|]"},
        {"write refused", [](auto& world) { world.Fault(SimFault::RefuseCode, 'C', 210).Write(); },
         "write failed 7 [si|] Write NG"},
        {"interrupted between two flows",
         [](auto& world) {
             world.Begin().Lay(file, FileRole::Settings);
             world.flows.EndEvent(/*cancelled=*/true);
         },
         "write cancelled 7 [|si]"},
        {"write of the pages", [](auto& world) { world.Edit(); }, "write done 23 [si|si]"},
        {"write of the pages, and one is lost",
         [](auto& world) { world.Fault(SimFault::DroppedWrite, 'C', 210).Edit(); },
         "write differs 23 [si|si] not kept: Language"},
        {"write of all pages without a look before it, and one is lost",
         [](auto& world) {
             world.flows.SetOnlyChanged(false);
             world.Fault(SimFault::DroppedWrite, 'C', 210).Edit();
         },
         "write differs 1 [|si] not kept: Language"},
        {"write of what was chosen",
         [](auto& world) {
             ZarnInfo held;
             world.module.GetZarnInfo(held, /*quick=*/true, modZarn74::Lines::Silent);
             ZarnInfo chosen = held;
             chosen.Language = 4;
             world.Begin().flows.WriteDifferences(chosen, held);
             world.Prove();
             world.flows.EndEvent(/*cancelled=*/false);
         },
         "write done 1 [|si]"},
        {"defaults", [](auto& world) { world.flows.Initialize(file); }, "default done 18 [si|]"},
        {"register", [](auto& world) { world.flows.SetRegister(5, 7, [](auto) {}); }, "set done 1 [|]"},
        {"register, lost",
         [](auto& world) {
             world.Fault(SimFault::DroppedWrite, 'C', 5).flows.SetRegister(5, 7, [](auto) {});
         },
         "set differs 1 [|] not kept: Register 5"},
        {"memory test", [](auto& world) { world.flows.TestEeprom(); }, "test done 0 [|i]"},
        {"memory test, cancelled in its second pattern",
         [](auto& world) { world.EndInTheTest(/*closes=*/false).flows.TestEeprom(); },
         "test cancelled 0 [|] Test EEPROM NG"},
        {"memory test, ended by a window that closes",
         [](auto& world) { world.EndInTheTest(/*closes=*/true).flows.TestEeprom(); }, "test cancelled 0 [|]"},
        {"port closed",
         [](auto& world) { world.comm.SetPortOpen(false), world.flows.Read(), world.flows.TestEeprom(); },
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
