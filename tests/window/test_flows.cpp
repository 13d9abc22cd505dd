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
    EXPECT_EQ(End(flows.AutoScan()), "Done: Get Device Information OK");
    EXPECT_EQ(Sent, "DVYYV");  // the product is asked once
    EXPECT_EQ(logView.Messages.front(), "Scan COM1, BaudRate=19200");
    EXPECT_EQ(view.Buttons, Idle(/*port=*/true, /*found=*/true));
    EXPECT_GT(view.Steps, 20);
    EXPECT_FALSE(view.OutOfOrder);
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

TEST_F(Flows, TheCardOnTheReaderFillsTheTablesControls) {
    flows.Read();
    const clsConvertTable before = view.Form.Table;
    const struct {
        int Type;  // 0: no card
        int ShownType, Row;
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
    logView.ClearText();
    EXPECT_EQ(End(flows.Read()), "Done: Get Device Information OK");
    EXPECT_EQ(logView.Text.find("Front door"), std::string::npos);
    EXPECT_EQ(logView.Text.find(" NG"), std::string::npos);
}

TEST_F(Flows, ACancelBetweenTwoStepsIsNotForgotten) {
    disk.Contents["f"] = "[General]\r\nLanguage=1\r\n";
    logView.OnLine = [this] {
        if (Last() == "Open Default Info From File OK!") flows.Cancel();
    };
    EXPECT_EQ(End(flows.Initialize("f")), "Cancelled: Write Default Info NG");
    EXPECT_EQ(Sent, "");
}

}  // namespace
