#include <gtest/gtest.h>

#include <map>

#include "FlowWorld.h"
#include "RecordText.h"

namespace {

struct Flows : testing::Test, FlowWorld {
    /// How a flow ended, and the last thing it logged.
    std::string End(FlowResult result) const {
        constexpr const char* names[] = {"Done", "Failed", "Cancelled", "FileBad", "Refused"};
        return names[static_cast<int>(result)] + std::string(": ") + Last();
    }
};

TEST_F(Flows, AScanFindsTheReaderAndReadsItOrSaysOnceThatThereIsNone) {
    EXPECT_EQ(End(flows.AutoScan()), "Done: Get Device Information OK");
    EXPECT_EQ(Sent, "DVYYV");  // the product is asked once
    EXPECT_EQ(logView.Messages.front(), "Scan COM1, BaudRate=19200");
    EXPECT_EQ(view.Buttons, (ButtonStates{.Port = true, .ReadCardInfo = true, .Test = true}));
    EXPECT_GT(view.Steps, 20);
    reader.AddFault({});
    EXPECT_EQ(End(flows.AutoScan()), "Failed: Scan COM1, BaudRate=14400");
    EXPECT_EQ(view.Notices, Texts{"Missing Device"});
    EXPECT_EQ(view.Buttons, ButtonStates());
    EXPECT_EQ(view.Panel, InfoPanel());
}

TEST_F(Flows, AnOddAnswerLeavesThePanelEmptyAndTheSettingsUnread) {
    const char* cases[][4] = {{"Zarn74", "V1.02R007,X", "", "D"},
                              {"Zarn74,1", "V1.02R007", "Zarn74", "DV"},
                              {"Zarn74,1", "V1,X,Y", "Zarn74", "DV"}};
    for (const auto& [product, version, panel, asked] : cases) {
        reader.Product = product;
        reader.Version = version;
        Sent.clear();
        view.Form = ZarnForm();
        EXPECT_EQ(End(flows.AutoScan()), "Done: Found a reader");
        EXPECT_EQ(Sent, asked) << version;
        EXPECT_EQ(view.Panel, (InfoPanel{panel, "", "", "COM1"}));
        EXPECT_EQ(view.Notices.back(), std::string("The reader was found, but it did not tell its ") +
                                           (*panel == 0 ? "product" : "firmware") +
                                           ": nothing was read, the pages show what was there before");
        EXPECT_FALSE(view.Form.Firmware.WithoutLeadingZeros || view.Form.Firmware.Known);
    }
}

TEST_F(Flows, WhatIsNoSettingNeitherReachesTheControlsNorTheReader) {
    flows.SetQuickRead(false);
    view.Form.Record.Prefix = "mine";
    auto& refusal = reader.AddFault({SimFault::RefuseCode, 'B', 210, 0, -1, 3});
    EXPECT_EQ(End(flows.Read()), "Failed: Get Device Information NG");
    EXPECT_EQ(view.Form.Record.Prefix, "mine");
    refusal.Count = 0;
    reader.Registers[210] = 5;
    EXPECT_EQ(End(flows.Read()), "Done: Language not found!");
    EXPECT_EQ(view.Form.Record.Prefix, "mine");
    EXPECT_EQ(view.Panel.Product, "Zarn74");
    view.Form.ClearSelections();
    Sent.clear();
    EXPECT_EQ(End(flows.Apply()), "Failed: Write NG");
    EXPECT_EQ(Sent, "");
}

TEST_F(Flows, WhatWritingCorrectedIsShown) {
    flows.Read();
    view.Form.Record.CardFilter[0].Start = 2;  // only seven digits are left from there
    EXPECT_EQ(End(flows.Apply()), "Done: Write OK");
    EXPECT_EQ(Count('C'), 3);  // start, length, and the one that is always written
    EXPECT_EQ(view.Form.Record.CardFilter[0], (CardFilterRange{2, 7}));
}

TEST_F(Flows, AFileIsLaidOverTheReadersOwnSettings) {
    view.Controls = false;
    flows.Read();
    flows.SaveFile("same");
    disk.Contents["partial"] = "[General]\r\nLanguage=77\r\n";
    const auto registers = reader.Registers;
    EXPECT_EQ(End(WriteFile("same")), "Done: Write OK");
    EXPECT_EQ(Count('C'), 1);
    // The reader gives serial numbers without padding: kept, it makes three rows differ.
    EXPECT_EQ(End(WriteFile("same", FileRole::Defaults)), "Done: Write Default Info OK");
    EXPECT_EQ(Count('C'), 2 + 3 * 8 + 11 + 11 + 16);
    const std::string odd = "Language=77: no list has this value";
    for (const auto& [writes, notice] : std::map<int, std::string>{
             {2 + 5 * 8 + 67, "the file has no conversion table: the reader's table is emptied"}, {1, odd}}) {
        reader.Registers = registers;
        if (writes == 1) WriteFile("partial");
        Sent.clear();
        view.Notices.clear();
        EXPECT_EQ(End(WriteFile("partial")), "Done: Write OK");
        EXPECT_EQ(Count('C'), writes);
        EXPECT_EQ(view.Notices.front(), odd);
        EXPECT_EQ(view.Notices.back(), notice);
    }
}

TEST_F(Flows, AFileThatTheReaderCannotBeGivenIsToldWholeAndNothingOfItIsWritten) {
    const std::pair<std::string, std::string> rows[] = {
        {"Prefix=mine\r\nLanguage=999\r\nTagFrequency=-1",
         "Language=999: not a number from 0 to 255\nTagFrequency=-1: not a number from 0 to 255"},
        {"Baudrate=9600\r\nFilter_Start(3)=5\r\nFilter_Length(3)=-2",
         "Filter_Length(3)=-2: not a number from 0 to 255"},
        {"Convert(2)=+[XY ],010203040506070,x\r\nLangauge=3",
         "Convert(2)=010203040506070: a serial number has 14 digits at most\n"
         "Langauge=3: there is no such setting; passed over"}};
    const auto registers = reader.Registers;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.first);
        disk.Contents["f"] = "[General]\r\n" + row.first;
        view.Controls = true;
        flows.Read();
        const auto expect = [&](FlowResult result, const char* open, const char* write) {
            EXPECT_EQ(result, FlowResult::FileBad);
            ASSERT_EQ(view.Notices.size(), 1U);
            EXPECT_NE(view.Notices[0].find(row.second), std::string::npos) << view.Notices[0];
            EXPECT_EQ(Logged(open), 1);
            EXPECT_EQ(Last(), write);
            EXPECT_EQ(logView.Text.find("Set"), std::string::npos) << "no step of a write";
            EXPECT_EQ(reader.Registers, registers);
            view.Notices.clear();
            log.Clear();
        };
        log.Clear();
        expect(flows.Initialize("f"), "Open Default Info From File OK!", "Write Default Info NG");
        view.Controls = false;
        expect(WriteFile("f"), "Open Device Info From File OK!", "Write NG");
        expect(WriteFile("f", FileRole::Defaults), "Open Default Info From File OK!",
               "Write Default Info NG");
    }
    // shown by Open, a digit box keeps it: Write does not begin either
    view.Controls = true;
    disk.Contents["f"] = "[General]\r\n" + rows[1].first;
    flows.OpenFile("f");
    log.Clear();
    Sent.clear();
    EXPECT_EQ(End(flows.Apply()), "Failed: Write NG");
    EXPECT_EQ(Sent, "");
    EXPECT_EQ(view.Notices.back(), rows[1].second);
}

TEST_F(Flows, AReaderThatDoesNotTellWhatItIsIsNotTakenForTheOneBefore) {
    const std::string end = ": nothing was read, the pages show what was there before";
    const struct {
        char Silent;
        std::string Notice;
        InfoPanel Panel;
        const char* Said;
    } rows[] = {{'V',
                 "The reader was found, but it did not tell its firmware" + end,
                 {"Zarn74", "", "", "COM1"},
                 "Found a reader"},
                {'Y', "", {"Zarn74", "V1.02R007", "FWQ-K4436", "COM1"}, "Get Device Information OK"},
                {'B',
                 "The reader was found, but it was not read to its end: the pages show what was there before",
                 {"Zarn74", "V1.02R007", "FWQ-K4436", "COM1"},
                 "Get Device Information NG"}};
    disk.Contents["f"] = "[General]\r\nLanguage=4\r\n";
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Silent);
        reader.ClearFaults();
        flows.SetQuickRead(true);
        flows.AutoScan();
        flows.SetQuickRead(row.Silent != 'B');
        view.Form.Record.Prefix = "of the first";
        view.Notices.clear();
        reader.AddFault({SimFault::NoAnswer, row.Silent});
        EXPECT_EQ(End(flows.AutoScan()), std::string("Done: ") + row.Said);
        EXPECT_EQ(view.Panel, row.Panel);
        const Texts notices = row.Notice.empty() ? Texts() : Texts{row.Notice};
        EXPECT_EQ(view.Notices, notices);
        reader.ClearFaults();
        view.Notices.clear();
        EXPECT_EQ(flows.Record().Version, row.Panel.Version);
        EXPECT_EQ(End(flows.Apply()), "Done: Write OK") << "it is told, not refused";
        EXPECT_EQ(view.Notices, notices);
        flows.Initialize("f");
        EXPECT_EQ(view.Notices.size(), 2 * notices.size());
        flows.Read();
        view.Notices.clear();
        flows.Apply();
        EXPECT_EQ(view.Notices, Texts()) << "it has been read since";
    }
}

TEST_F(Flows, TheDefaultsAreShownAndWrittenUnlessACancelComesBetween) {
    EXPECT_EQ(End(flows.Initialize("f")), "FileBad: Open Zarn74 Default Info From File NG!");
    disk.Contents["f"] = "[General]\r\nLanguage=4\r\n";
    logView.OnLine = [this] {
        if (Last() == "Open Default Info From File OK!") flows.Cancel();
    };
    EXPECT_EQ(End(flows.Initialize("f")), "Cancelled: Write Default Info NG");
    EXPECT_EQ(Sent, "");
    logView.OnLine = {};
    EXPECT_EQ(End(flows.Initialize("f")), "Done: Write Default Info OK");
    EXPECT_EQ(view.Form.GetComboItemData(Setting::Language), 4);
    EXPECT_EQ(reader.Registers[210], 4);
}

TEST_F(Flows, TheCardOnTheReaderFillsTheTablesControls) {
    flows.Read();
    const clsConvertTable before = view.Form.Table;
    const struct {
        SimCard Card;  // type 0: none
        int Type, Row;
        const char *Serial, *Said;
    } cases[] = {{{5, "2B008E41F6"}, 4, 4, "2B008E41F6", ""},
                 {{1, "11223344"}, 0, -1, "11223344", ""},
                 {{6, "11223344"}, 0, -1, "", "Error Type"},
                 {{0, ""}, 0, -1, "", "Empty"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.Card.Type) + " " + c.Card.Serial);
        view.Form.Table = before;
        view.Form.Table.SelectedRow = 0;
        reader.PlaceCard(c.Card);
        if (c.Card.Type == 0) reader.RemoveCard();
        Sent.clear();
        log.Clear();
        EXPECT_EQ(End(flows.ReadCardInfo()), "Done: " + std::string(c.Said));
        EXPECT_EQ(view.Form.Table.CardType, c.Type);
        EXPECT_EQ(view.Form.Table.OutputID, c.Serial);
        EXPECT_EQ(view.Form.Table.SelectedRow, c.Row);
        EXPECT_EQ(Sent, c.Card.Type > 0 ? "J" : "JJ");  // a reader without a card is asked again
    }
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
    EXPECT_EQ(type("\t", 1000), "JJJJJ");
}

TEST_F(Flows, TheRestOfACancelledImageIsNeitherShownNorTakenForAnAnswer) {
    Pace();
    comm.SetBaudRate(2400);  // 512 bytes take two seconds
    host.StartTimer(300, [this] { flows.Cancel(); });
    EXPECT_EQ(End(flows.Read()), "Cancelled: Get Device Information NG");
    const std::string text = logView.Text;
    host.Run(100);
    EXPECT_EQ(logView.Text, text);
    EXPECT_EQ(End(flows.Read()), "Done: Get Device Information OK");
    EXPECT_EQ(logView.Text.find("Front door"), std::string::npos);

    host.StartTimer(300, [this] { flows.Cancel(); });
    flows.Read();
    const auto begun = host.Now();
    EXPECT_EQ(End(flows.Scan("COM1")), "Done: Found a reader");
    EXPECT_GT(host.Now() - begun, 1500) << "the port is not closed before the image is over";

    comm.SetBaudRate(2400);
    host.StartTimer(300, [this] { flows.Cancel(); });
    flows.Read();
    Sent.clear();
    host.StartTimer(300, [this] { flows.Cancel(); });
    EXPECT_EQ(flows.Scan(), FlowResult::Cancelled);
    EXPECT_EQ(Sent, "") << "a search that is cancelled while it waits for that";
}

TEST_F(Flows, TheEepromTestFillsTheMemoryTwiceAndEndsAtTheFirstFailure) {
    const std::pair<SimFaultRule, Texts> lastLines[] = {
        {{SimFault::RefuseCode, 'C', 33, 0, -1, 4},
         {"Begin Test EEPROM...", "Write 0x0 to EEPROM 0~15 byte OK", "Write 0x0 to EEPROM 16~31 byte OK",
          "SetRegister - Reg=33, Err=N04", "Write 0x0 to EEPROM 32~47 byte NG", "Test EEPROM NG"}},
        {{SimFault::ShortDump, 'Y', -1, 0, -1, 100}, {"Read EEPROM NG", "Test EEPROM NG"}},
        {{SimFault::DroppedWrite, 'C', 0, 1, 1},
         {"Write 0xFF to EEPROM 496~511 byte OK", "Read EEPROM OK", "Check EEPROM NG", "Test EEPROM NG"}},
        {{SimFault::NoAnswer, 'B'}, {"Read EEPROM OK", "Check EEPROM OK", "Test EEPROM OK"}}};
    for (const auto& [fault, lines] : lastLines) {
        SCOPED_TRACE(SimFaultName(fault.Fault));
        reader.ClearFaults();
        reader.AddFault(fault);
        view.Steps = 0;
        const bool done = flows.TestEeprom() == FlowResult::Done;
        const auto end = logView.Messages.end();
        EXPECT_EQ(Texts(end - static_cast<std::ptrdiff_t>(lines.size()), end), lines);
        EXPECT_EQ(view.Indicator, done ? TestIndicator::Green : TestIndicator::Red);
    }
    EXPECT_EQ(view.Steps, 66);
    Sent.clear();
    view.OnProgress = [this] { flows.Cancel(); };
    EXPECT_EQ(End(flows.TestEeprom()), "Cancelled: Test EEPROM NG");
    EXPECT_EQ(Sent, "") << "a block that was cancelled as it began";
    view.OnProgress = nullptr;
    reader.AddFault({SimFault::NoAnswer, 'V'});
    bool refused = false;
    host.StartTimer(100, [&] { refused = !flows.RequestClose(); });
    comm.GetVersion();
    EXPECT_TRUE(refused);
    flows.TestEeprom();
    EXPECT_EQ(view.Indicator, TestIndicator::Green) << "closed before it, in a command alone";
    log.Clear();
    comm.SetPortOpen(false);
    EXPECT_EQ(End(flows.TestEeprom()), "Failed: ") << "a closed port: without a line";
    EXPECT_EQ(view.Indicator, TestIndicator::Grey);
    EXPECT_EQ(view.Caption, "Test EEPROM");
    EXPECT_EQ(view.Buttons, ButtonStates());
}

}  // namespace
