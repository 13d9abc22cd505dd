#include <gtest/gtest.h>

#include "FlowWorld.h"
#include "RecordText.h"

namespace {

struct Flows : testing::Test, FlowWorld {
    /// How a flow ended, and the last thing it logged.
    std::string End(FlowResult result) const {
        constexpr const char* names[] = {"Done", "Failed", "Cancelled", "FileBad", "Refused"};
        return names[static_cast<int>(result)] + std::string(": ") + Last();
    }
    static ButtonStates Idle(bool port, bool found) {
        ButtonStates states;
        states.Port = port;
        states.Test = port;
        states.ReadCardInfo = found;
        return states;
    }
};

TEST_F(Flows, AScanFindsTheReaderReadsItAndShowsIt) {
    view.Form.Firmware = FirmwareRules::For("", "");
    host.InWait = [this] { EXPECT_FALSE(view.Buttons.Idle || view.Buttons.Port || view.Buttons.Test); };
    EXPECT_EQ(End(flows.AutoScan()), "Done: Get Device Information OK");
    EXPECT_EQ(Sent, "DVYYV");  // the product is asked once
    EXPECT_EQ(logView.Messages.front(), "Scan COM1, BaudRate=19200");
    EXPECT_EQ(view.Panel, (InfoPanel{"Zarn74", "V1.02R007", "FWQ-K4436", "COM1"}));
    EXPECT_EQ(view.Form.Firmware, FirmwareRules::For("V1.02R007", "FWQ-K4436"));
    EXPECT_EQ(view.Form.Prefix, "\x02ID=");
    EXPECT_EQ(view.Form.Table.Rows.size(), 5U);
    EXPECT_EQ(view.Buttons, Idle(/*port=*/true, /*found=*/true));
    EXPECT_GT(view.Steps, 20);
    EXPECT_FALSE(view.OutOfOrder);
    EXPECT_EQ(view.Focused, 1);

    host.InWait = {};
    serial.Unplug(1);
    host.Run(10);
    EXPECT_EQ(Last(), "COM1 is removed and closed");
    EXPECT_EQ(view.Buttons, Idle(/*port=*/false, /*found=*/false));
}

TEST_F(Flows, AScanWithoutAReaderSaysSoOnce) {
    reader.AddFault({});
    view.Panel.Product = "former";
    EXPECT_EQ(End(flows.AutoScan()), "Failed: Scan COM1, BaudRate=14400");
    EXPECT_EQ(view.Boxes, Texts{"Missing Device"});
    EXPECT_EQ(view.Buttons, Idle(/*port=*/false, /*found=*/false));
    EXPECT_EQ(view.Panel, InfoPanel());
    EXPECT_EQ(view.Steps, 5);
    EXPECT_EQ(End(flows.Scan("COM1")), "Failed: Scan COM1, BaudRate=14400");
    reader.ClearFaults();
    EXPECT_EQ(End(flows.Scan("COM1")), "Done: Found a reader");
    Sent.clear();
    ReaderIdentity identity;
    flows.Identify(identity);
    EXPECT_EQ(identity.Product + identity.Firmware.Version + identity.Firmware.FirmwareSN,
              "Zarn74V1.02R007FWQ-K4436");
    EXPECT_EQ(Sent, "V");
}

TEST_F(Flows, AnOddAnswerLeavesThePanelEmptyAndTheSettingsUnread) {
    FirmwareRules former;
    former.WithoutLeadingZeros = false;
    const char* cases[][4] = {{"Zarn74", "V1.02R007,X", "", "D"},
                              {"Zarn74,1", "V1.02R007", "Zarn74", "DV"},
                              {"Zarn74,1", "V1,X,Y", "Zarn74", "DV"}};
    for (const auto& [product, version, panel, asked] : cases) {
        reader.Product = product;
        reader.Version = version;
        Sent.clear();
        view.Form = ZarnForm();
        EXPECT_EQ(End(flows.AutoScan()), "Done: Found a reader");
        EXPECT_EQ(Sent, asked);
        EXPECT_EQ(view.Panel, (InfoPanel{panel, "", "", "COM1"}));
        EXPECT_EQ(view.Form.Firmware, former);
    }
}

TEST_F(Flows, AFailedReadLeavesTheControlsAsTheyWere) {
    flows.SetQuickRead(false);
    view.Form.Prefix = "mine";
    auto& refusal = reader.AddFault({SimFault::RefuseCode, 'B', 210, 0, -1, 3});
    EXPECT_EQ(End(flows.Read()), "Failed: Get Device Information NG");
    EXPECT_EQ(view.Form.Prefix, "mine");
    refusal.Count = 0;
    reader.Registers[210] = 5;
    EXPECT_EQ(End(flows.Read()), "Done: Language not found!");
    EXPECT_EQ(view.Form.Prefix, "mine");
    EXPECT_EQ(view.Panel.Product, "Zarn74");
}

TEST_F(Flows, ApplySendsOnlyWhatChanged) {
    flows.Read();
    auto expected = reader.Registers;
    view.Form.SelectCombo(FormList::Language, 4);
    view.Form.Filters[0].Start = 2;  // corrected: only seven digits are left from there
    EXPECT_EQ(End(flows.Apply()), "Done: Write OK");
    EXPECT_EQ(Count('C'), 4);  // language, start, length, and the one that is always written
    expected[210] = 4;
    expected[224] = 2;
    expected[225] = 7;
    EXPECT_EQ(reader.Registers, expected);
    EXPECT_EQ(view.Form.Filters[0], (CardFilterRange{2, 7}));

    flows.SetOnlyChanged(false);
    EXPECT_EQ(End(flows.Apply()), "Done: Write OK");
    EXPECT_GT(Count('C'), 100);
    reader.AddFault({SimFault::RefuseCode, 'C', 210, 0, -1, 3});
    EXPECT_EQ(End(flows.Apply()), "Failed: Write NG");
    view.Form.ClearSelections();
    Sent.clear();
    EXPECT_EQ(End(flows.Apply()), "Failed: Write NG");
    EXPECT_EQ(Sent, "");
}

TEST_F(Flows, DefaultsAreLaidOverTheRecordShownAndWritten) {
    EXPECT_EQ(End(flows.Initialize("Default.ini")), "FileBad: Open Zarn74 Default Info From File NG!");
    EXPECT_EQ(Sent, "");
    flows.Read();
    disk.Contents["Default.ini"] = "[General]\r\nLanguage=1\r\nAutoRead=1\r\n";
    EXPECT_EQ(End(flows.Initialize("Default.ini")), "Done: Write Default Info OK");
    EXPECT_EQ(Logged("Open Default Info From File OK!"), 1);
    EXPECT_EQ(reader.Registers[210], 1);
    EXPECT_EQ(reader.Registers[0], 0xFF);
    EXPECT_EQ(reader.Registers[161], 'I');
    EXPECT_EQ(view.Form.GetComboItemData(FormList::Language), 1);
    EXPECT_TRUE(view.Form.Table.Rows.empty() && view.Form.AutoRead);
    reader.AddFault({SimFault::RefuseCode, 'C', -1, 0, -1, 3});
    EXPECT_EQ(End(flows.Initialize("Default.ini")), "Failed: Write Default Info NG");
}

TEST_F(Flows, AFileIsLaidOverTheReadersOwnSettings) {
    constexpr const char* nothingKnown = "no settings found in this file; lines must end in CR LF";
    constexpr const char* emptied = "the file has no conversion table: the reader's table is emptied";
    view.Controls = false;
    flows.Read();
    flows.SaveFile("same");
    disk.Contents["partial"] = "[General]\r\nLanguage=77\r\n";
    disk.Contents["unix"] = "[General]\nLanguage=1\n";
    const struct {
        const char* File;
        bool Default;
        const char* End;
        long Writes;
        const char* Notice;
    } cases[] = {
        {"missing", false, "FileBad: Open Device Info From File NG!", 0, ""},
        {"missing", true, "FileBad: Open Zarn74 Default Info From File NG!", 0, ""},
        {"unix", false, "FileBad: ", 0, nothingKnown},
        {"same", false, "Done: Write OK", 1, ""},
        // The reader gives serial numbers without padding: kept, it makes three rows differ.
        {"same", true, "Done: Write Default Info OK", 1 + 3 * 8 + 11 + 11 + 16, ""},
        {"partial", false, "Done: Write OK", 2 + 5 * 8 + 67, emptied},
        {"partial", false, "Done: Write OK", 1, ""},
    };
    for (const auto& c : cases) {
        Sent.clear();
        logView.ClearText();
        view.Notices = {""};
        EXPECT_EQ(End(c.Default ? flows.WriteDefault(c.File) : flows.WriteFile(c.File)), c.End) << c.File;
        EXPECT_EQ(Count('C'), c.Writes) << c.File;
        EXPECT_EQ(view.Notices.back(), c.Notice);
        EXPECT_EQ(Sent.empty(), c.Writes == 0) << c.File;
    }
    EXPECT_EQ(reader.Registers[210], 77);  // a code that no list has
    EXPECT_EQ(reader.Registers[161], 'I');
    Sent.clear();
    logView.OnLine = [this] {
        if (Last() == "Open Device Info From File OK!") flows.Cancel();
    };
    EXPECT_EQ(End(flows.WriteFile("same")), "Cancelled: Write NG");
    reader.AddFault({SimFault::NoAnswer, 'V'});
    EXPECT_EQ(End(flows.WriteFile("same")), "Failed: Get Device Information NG");
    EXPECT_EQ(Count('C'), 0);
}

TEST_F(Flows, FilesAreOpenedAndSavedThroughTheirDialogs) {
    EXPECT_EQ(End(flows.Open()), "Cancelled: ");
    EXPECT_EQ(End(flows.Save()), "Cancelled: ");
    view.FileName = "f";
    EXPECT_EQ(End(flows.Open()), "FileBad: Open Device Info From File NG!");
    view.Form.AutoRead = true;
    view.Form.Prefix = "kept";
    view.Form.Table.Rows = {{"[1K ] 04A1B2C3       x\ry", false}};
    EXPECT_EQ(End(flows.Save()), "Done: Save Device Info To File OK!");
    EXPECT_EQ(view.Notices.size(), 1U);
    EXPECT_NE(disk.Contents["f"].find("=-[1K ],04A1B2C3      ,xy\r\nAutoRead=1"), std::string::npos);
    view.Form = ZarnForm();
    EXPECT_EQ(End(flows.Open()), "Done: Open Device Info From File OK!");
    EXPECT_EQ(view.Form.Prefix, "kept");
    EXPECT_TRUE(view.Form.AutoRead && view.Form.Table.Rows.at(0).Checked);
    disk.Contents["f"] = "no settings";
    EXPECT_EQ(End(flows.Open()), "Done: Open Device Info From File OK!");
    EXPECT_EQ(view.Notices.size(), 2U);
    disk.Refuse = true;
    EXPECT_EQ(End(flows.Save()), "FileBad: Save Device Info To File NG!");
    view.Form.ClearSelections();
    EXPECT_EQ(End(flows.Save()), "Failed: Save Device Info NG");
}

TEST_F(Flows, AStartupFileThatCannotBeShownIsKeptBesideTheNewOne) {
    const std::string unshown = "[General]\r\nLanguage=77\r\n";
    flows.OpenStartupFile("z.ini");
    EXPECT_EQ(Last(), "");
    disk.Contents["z.ini"] = unshown;
    flows.OpenStartupFile("z.ini");
    disk.Refuse = true;
    EXPECT_FALSE(flows.SaveStartupFile("z.ini"));
    disk.Refuse = false;
    EXPECT_TRUE(flows.SaveStartupFile("z.ini"));
    EXPECT_EQ(disk.Contents["z.ini.bak"], unshown);
    EXPECT_EQ(disk.Contents["z.ini"], TextOf(ZarnInfo()));
    flows.OpenStartupFile("z.ini");
    EXPECT_TRUE(flows.SaveStartupFile("z.ini"));
    EXPECT_EQ(disk.Contents["z.ini.bak"], unshown);
}

TEST_F(Flows, TheCardOnTheReaderFillsTheTablesControls) {
    flows.Read();
    const clsConvertTable before = view.Form.Table;
    const struct {
        int Type;  // 0: no card
        int ShownType;
        int Row;
        const char *Serial, *ShownSerial, *End;
    } cases[] = {{3, 2, 2, "04526AF13B2C80", "04526AF13B2C80", "Done: Get Device Information OK"},
                 {5, 4, 4, "2B008E41F6", "2B008E41F6", "Done: Get Device Information OK"},
                 {1, 0, -1, "11223344", "11223344", "Done: Get Device Information OK"},
                 {6, 0, -1, "11223344", "", "Done: Error Type"},
                 {0, 0, -1, "", "", "Done: Empty"}};
    for (const auto& c : cases) {
        view.Form.Table = before;
        view.Form.Table.SelectedRow = 0;
        if (c.Type > 0) reader.PlaceCard({c.Type, c.Serial});
        if (c.Type == 0) reader.RemoveCard();
        Sent.clear();
        EXPECT_EQ(End(flows.ReadCardInfo()), c.End);
        EXPECT_EQ(view.Form.Table.CardType, c.ShownType);
        EXPECT_EQ(view.Form.Table.OutputID, c.ShownSerial);
        EXPECT_EQ(view.Form.Table.SelectedRow, c.Row);
        EXPECT_EQ(Sent, c.Type > 0 ? "J" : "JJ");  // a reader without a card is asked again
    }
    reader.AddFault({});
    EXPECT_EQ(End(flows.ReadCardInfo()), "Failed: Can't Get Card Info!");
}

TEST_F(Flows, WhatTheReaderTypesIsShownAndItsCardReadWhenAsked) {
    const auto type = [this](const std::string& bytes, int ms) {
        reader.TypeText(bytes);
        host.Run(ms);
        return Sent;
    };
    reader.PlaceCard({1, "11223344"});
    EXPECT_EQ(type("12\r", 1000), "");
    view.Form.AutoRead = true;
    EXPECT_EQ(type("12\t", 99), "");
    EXPECT_EQ(type({2, 'A', '\r'}, 1000), "J");  // a packet that nobody waits for
    EXPECT_EQ(view.Form.Table.OutputID, "11223344");
    EXPECT_EQ(logView.Text, "12{b:<CR>}\n12{b:<TAB>}{b:<STX>}A{b:<CR>}\n");
    reader.RemoveCard();
    EXPECT_EQ(type("\n", 1000), "JJJ");
    EXPECT_EQ(view.Form.Table.OutputID, "");
    EXPECT_EQ(type("\n", 50), "JJJ");
    comm.SetPortOpen(false);
    host.Run(1000);
    EXPECT_EQ(Sent + Last(), "JJJ");
}

// -- what happens inside the waits --------------------------------------------------------------------------

FlowResult (*const flowCases[])(clsReaderFlows& flows) = {
    [](clsReaderFlows& flows) { return flows.AutoScan(); },
    [](clsReaderFlows& flows) { return flows.Read(); },
    [](clsReaderFlows& flows) { return flows.Apply(); },
    [](clsReaderFlows& flows) { return flows.Initialize("f"); },
    [](clsReaderFlows& flows) { return flows.WriteFile("f"); },
    [](clsReaderFlows& flows) { return flows.ReadCardInfo(); },
    [](clsReaderFlows& flows) { return flows.OpenFile("f"); },
    [](clsReaderFlows& flows) { return flows.TestEeprom(); },
};
constexpr std::size_t slowCases = 5;  // the first ones go another way when they are slow
constexpr std::size_t testCase = 7;

/// What became of a flow in whose wait something else happened.
struct Disturbed : FlowWorld {
    std::size_t Flow = 0;
    FlowResult Result = FlowResult::Done;
    bool Complete = false;  // it sent all that an undisturbed one sends
    int Commands = 0;       // frames sent since then
    std::int64_t Before = 0;
};

/// Runs every flow, quick and slow, again and again, each time with `disturb` inside one wait, later and
/// later, until the flow ends before that wait.
void DisturbEveryWait(const std::function<void(Disturbed&)>& disturb,
                      const std::function<void(Disturbed&)>& check) {
    for (std::size_t run = 0; run < 2 * std::size(flowCases); run += run < 2 * slowCases ? 1 : 2) {
        std::string all;
        for (int at = -1, reached = 1; reached != 0; at += at < 24 ? 1 : at / 6) {
            SCOPED_TRACE("flow " + std::to_string(run) + ", wait " + std::to_string(at));
            Disturbed world;
            world.Flow = run / 2;
            world.disk.Contents["f"] = "[General]\r\nLanguage=1\r\nUsbInterface=0\r\n";
            world.flows.SetQuickRead(run % 2 == 0);
            world.flows.SetOnlyChanged(run % 2 == 0);
            const auto sent = world.comm.OnMonitorData.Connect(
                [&world](const std::string&, bool received) { world.Commands += received ? 0 : 1; });
            int waits = 0;
            reached = at < 0 ? 1 : 0;
            world.host.InWait = [&] {
                if (waits++ != at) return;
                reached = 1;
                world.Commands = 0;
                world.Before = world.host.Now();
                disturb(world);
            };
            world.Result = flowCases[world.Flow](world.flows);
            world.host.InWait = {};
            if (at < 0) all = world.Sent;
            world.Complete = world.Sent == all;
            if (at >= 0 && reached != 0) check(world);
            EXPECT_FALSE(world.flows.FlowRunning());
            EXPECT_EQ(world.view.Progress, std::make_pair(0, 0));
            EXPECT_TRUE(world.view.Buttons.Idle && !world.view.Buttons.Cancel);
            EXPECT_EQ(world.view.Buttons.Port, world.comm.PortOpen());
            EXPECT_TRUE(world.flows.RequestClose());
            if (testing::Test::HasFailure()) return;
        }
    }
}

TEST(FlowWaits, ACancelEndsEveryFlowAtOnceAndNothingIsSentAfterIt) {
    const auto check = [](Disturbed& world) {
        // Only a flow that had nothing left to ask when it was cancelled is done all the same.
        EXPECT_TRUE(world.Result == FlowResult::Cancelled ||
                    (world.Complete && world.Result == FlowResult::Done));
        EXPECT_EQ(world.Commands, 0);
        EXPECT_LE(world.host.Now(), world.Before + 60);
        EXPECT_TRUE(world.view.Boxes.empty());
        EXPECT_EQ(world.flows.Read(), world.comm.PortOpen() ? FlowResult::Done : FlowResult::Failed);
    };
    DisturbEveryWait([](Disturbed& world) { world.flows.Cancel(); }, check);
}

TEST(FlowWaits, ALineThatIsPulledOutClosesThePortAndIsSaidOnce) {
    const auto check = [](Disturbed& world) {
        EXPECT_FALSE(world.comm.PortOpen());
        EXPECT_EQ(world.Logged("COM1 is removed and closed"), 1);
        EXPECT_NE(world.Result, FlowResult::Cancelled);
        const auto errors = std::count_if(
            world.logView.Messages.begin(), world.logView.Messages.end(), [](const std::string& text) {
                return text.find("Err=") < text.size() || text.ends_with("Close!");
            });
        EXPECT_LE(errors, 11);  // three attempts of one read, then of one write
    };
    DisturbEveryWait([](Disturbed& world) { world.serial.Unplug(1); }, check);
}

TEST(FlowWaits, NoOtherFlowRunsWhileOneDoes) {
    const auto disturb = [](Disturbed& world) {
        const std::string sent = world.Sent;
        for (std::size_t i = 0; i < testCase; ++i) {
            EXPECT_EQ(flowCases[i](world.flows), FlowResult::Refused);
        }
        EXPECT_EQ(world.Sent, sent);
    };
    DisturbEveryWait(disturb, [](Disturbed& world) {
        EXPECT_TRUE(world.Complete);
        EXPECT_EQ(world.Result, FlowResult::Done);
    });
}

TEST(FlowWaits, AWindowThatIsToCloseCancelsWhatRuns) {
    DisturbEveryWait(
        [](Disturbed& world) { EXPECT_FALSE(world.flows.RequestClose()); },
        [](Disturbed& world) {
            EXPECT_TRUE(world.Complete || world.Flow == testCase || world.Result == FlowResult::Cancelled);
        });
}

}  // namespace
