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
        EXPECT_FALSE(view.Form.Firmware.WithoutLeadingZeros || view.Form.Firmware.Known);
    }
}

TEST_F(Flows, WhatIsNoSettingNeitherReachesTheControlsNorTheReader) {
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
    view.Form.ClearSelections();
    Sent.clear();
    EXPECT_EQ(End(flows.Apply()), "Failed: Write NG");
    EXPECT_EQ(Sent, "");
}

TEST_F(Flows, WhatWritingCorrectedIsShown) {
    flows.Read();
    view.Form.Filters[0].Start = 2;  // only seven digits are left from there
    EXPECT_EQ(End(flows.Apply()), "Done: Write OK");
    EXPECT_EQ(Count('C'), 3);  // start, length, and the one that is always written
    EXPECT_EQ(view.Form.Filters[0], (CardFilterRange{2, 7}));
}

TEST_F(Flows, AFileIsLaidOverTheReadersOwnSettings) {
    view.Controls = false;
    flows.Read();
    flows.SaveFile("same");
    disk.Contents["partial"] = "[General]\r\nLanguage=77\r\n";  // a code that no list has
    EXPECT_EQ(End(flows.WriteFile("same")), "Done: Write OK");
    EXPECT_EQ(Count('C'), 1);
    // The reader gives serial numbers without padding: kept, it makes three rows differ.
    EXPECT_EQ(End(flows.WriteDefault("same")), "Done: Write Default Info OK");
    EXPECT_EQ(Count('C'), 2 + 3 * 8 + 11 + 11 + 16);
    for (const int writes : {2 + 5 * 8 + 67, 1}) {
        Sent.clear();
        EXPECT_EQ(End(flows.WriteFile("partial")), "Done: Write OK");
        EXPECT_EQ(Count('C'), writes);
        EXPECT_EQ(view.Notices.size(), 1U) << "that the table is emptied";
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
    EXPECT_EQ(view.Form.GetComboItemData(FormList::Language), 4);
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
    clsSimSerialControl::Line line;
    line.Reader = &reader;
    line.Paced = true;
    serial.AddLine(1, line);
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
    log.Clear();
    comm.SetPortOpen(false);
    EXPECT_EQ(End(flows.TestEeprom()), "Failed: ") << "a closed port: without a line";
    EXPECT_EQ(view.Indicator, TestIndicator::Grey);
    EXPECT_EQ(view.Caption, "Test EEPROM");
    EXPECT_EQ(view.Buttons, ButtonStates());
}

}  // namespace
