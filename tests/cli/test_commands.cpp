#include "CliFixture.h"

namespace {

TEST_F(clsCliTest, WrongUsageIsOneLineAndTouchesNothing) {
    const struct {
        const char *line, *said;
    } rows[] = {
        {"", "A subcommand is required"},
        {"nonsense", "'nonsense' is not known"},
        {"get 512", "REG: '512' is not a number from 0 to 511"},
        {"set 5 256", "VALUE: '256' is not a number from 0 to 255"},
        {"--baud 9600 info", "--baud: needs --port"},
        {"--port COM1 --baud 0 info", "--baud: '0' is not a number from 1 to 4000000"},
        {"--quick --slow read", "--quick excludes --slow"},
        {"test-eeprom", "test-eeprom: destroys all settings of the reader; --yes confirms that"},
        {"--port-map COM1=/x ports", "no map here"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Run(row.line), 2) << row.line;
        EXPECT_EQ(err.Text, "zarn74ctl: " + std::string(row.said) + " (zarn74ctl --help tells more)\n");
        EXPECT_EQ(out.Text + sent, "") << row.line;
    }
}

TEST_F(clsCliTest, TheReaderIsFoundOrItIsSaidWhyNot) {
    const std::string found =
        "Product Name: Zarn74\nFirmware Version: V1.02R007\nFirmware Serial Number: FWQ-K4436\nCOM Port: "
        "COM1, ";
    const struct {
        const char* line;
        int exit;
        const char* frames;
        std::string out;
        const char* said;
    } rows[] = {
        {"info", 0, "DV", found + "19200 baud\n", "Found a reader"},
        {"--port com1 --baud 9600 info", 0, "DV", found + "9600 baud\n", ""},
        {"--port /dev/reader scan", 0, "DV", found + "19200 baud\n", "Found a reader"},
        {"--port COM2 scan", 3, "", "", "Missing Device"},
        {"--port COM2 --baud 9600 info", 1, "", "", "the reader does not say what it is"},
        {"--port COM3 read", 3, "", "", "COM3: The port is in use"},
        {"--port COM3 --baud 9600 get 1", 3, "", "", "COM3: The port is in use"},
        {"--port COM9 read", 3, "", "", "COM9: there is no such port"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Run(row.line), row.exit) << row.line;
        EXPECT_EQ(out.Text, row.out) << row.line;
        EXPECT_EQ(sent, row.frames) << row.line;
        EXPECT_EQ(err.Text.empty() ? "" : Said(), row.said) << row.line;
    }
    EXPECT_EQ(store.GetSetting("Zarn*", "LastCommPort", ""), "COM1");
    EXPECT_EQ(Run("ports"), 0);
    EXPECT_EQ(Lines(out.Text).size(), 3u);
    EXPECT_NE(out.Text.find("Caf\xC3\xA9"), std::string::npos);
}

TEST_F(clsCliTest, ADemoReadsTheImageThatItIsGivenAndRemembersNothing) {
    files.Contents["image"] = std::string(512, '\xFF').replace(160, 2, "\xE9\xFF");
    EXPECT_EQ(Run("demo --image image read"), 0);
    EXPECT_NE(out.Text.find("Prefix=\xE9\r\n"), std::string::npos);
    EXPECT_TRUE(store.Values.empty());
}

TEST_F(clsCliTest, WhatWasReadIsASettingsFileThatWritesBackNothing) {
    EXPECT_EQ(Run("read"), 0);
    const std::string text = out.Text;
    EXPECT_EQ(Run("--slow read -o file"), 0);
    EXPECT_EQ(out.Text, "");
    EXPECT_EQ(files.Contents["file"], text);
    EXPECT_EQ(Run("write file"), 0);
    EXPECT_EQ(Sent('C'), 1);  // the one setting that is never compared
    EXPECT_EQ(Said(), "Write OK");
    EXPECT_EQ(Run("write file --all"), 0);
    EXPECT_GT(Sent('C'), 100);

    files.Contents["Default.ini"] = "[General]\r\nLanguage=77\r\n";  // a code that no list has
    EXPECT_EQ(Run("default"), 0);
    EXPECT_EQ(reader.Registers[0xD2], 77);
    EXPECT_EQ(reader.Registers[0], 0xFF);
    EXPECT_NE(err.Text.find("zarn74ctl: the file has no conversion table"), std::string::npos);
    EXPECT_EQ(Said(), "Write Default Info OK");

    files.Refuse = true;
    files.Contents["odd"] = "[General]\nBaudrate=9600\n";
    const struct {
        const char *line, *said;
        bool sends = false;
    } rows[] = {
        {"read -o file", "Save Device Info To File NG!", true},
        {"dump -o file", "Save Dump To File NG", true},
        {"write missing", "Open Device Info From File NG!"},
        {"default missing", "Open Zarn74 Default Info From File NG!"},
        {"default odd", "no settings found in this file; lines must end in CR LF"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Run(row.line), 1) << row.line;
        EXPECT_EQ(Said(), row.said) << row.line;
        EXPECT_EQ(sent.empty(), !row.sends) << row.line;
    }
}

TEST_F(clsCliTest, SingleRegistersAreShownAsTheyStandInTheReader) {
    EXPECT_EQ(Run("get 0xD2"), 0);
    EXPECT_EQ(out.Text, "210 (0x0D2) = 2 (0x02)\n");
    EXPECT_EQ(Run("set 511 0x41"), 0);
    EXPECT_EQ(out.Text, "511 (0x1FF) = 65 (0x41)\n");
    EXPECT_EQ(reader.Registers[511], 0x41);
    EXPECT_EQ(Run("dump"), 0);
    EXPECT_EQ(Lines(out.Text).at(13), "0D0: 00 FF 02 FF 00 00 FF FF FF 00 FF FF FF FF FF FF");
    EXPECT_EQ(Run("dump -o image"), 0);
    EXPECT_EQ(files.Contents["image"], std::string(reader.Registers.begin(), reader.Registers.end()));

    SimFaultRule fault;
    fault.Fault = SimFault::DroppedWrite;
    reader.AddFault(fault);
    EXPECT_EQ(Run("set 511 7"), 1);
    EXPECT_NE(err.Text.find("register 511 (0x1FF) reads 65 (0x41) after 7 (0x07) was written"),
              std::string::npos);
    EXPECT_EQ(out.Text, "");
    EXPECT_EQ(Run("test-eeprom --yes"), 1);
    EXPECT_EQ(out.Text, "failed\n");
    reader.ClearFaults();
    EXPECT_EQ(Run("test-eeprom --yes"), 0);
    EXPECT_EQ(out.Text, "passed\n");
}

TEST_F(clsCliTest, AnInterruptedCommandEndsAtOnceAndLeavesNothingBehind) {
    EXPECT_EQ(Run("read -o file"), 0);
    const std::string file = files.Contents["file"];
    for (const char* line : {"--slow read", "--slow read -o file", "write file", "default file", "dump",
                             "get 1", "test-eeprom --yes", "--port COM2 scan", "--json --slow read"}) {
        reader.ClearFaults();
        for (const char command : {'B', 'Y'}) {
            SimFaultRule silent;
            silent.Command = command;
            reader.AddFault(silent);
        }
        const auto start = host.Now();
        host.StartTimer(60, [this] { cli.Stop(); });
        EXPECT_EQ(Run(line), 130) << line;
        EXPECT_LE(host.Now() - start, 120) << line;
        EXPECT_EQ(files.Contents["file"], file) << line;
        EXPECT_TRUE(out.Text.empty() || out.Text == "failed\n" || out.Text.starts_with("{")) << line;
    }
}

TEST_F(clsCliTest, TheMonitorShowsFramesAndWhatTheReaderTypes) {
    const auto type = [this] {
        reader.TypeText("12");
        host.StartTimer(20, [this] { reader.TypeText("\x1B\r\n"); });
        host.StartTimer(300, [this] { reader.TypeText("next"); });
    };
    host.StartTimer(100, type);
    host.StartTimer(1000, [this] { cli.Stop(); });
    EXPECT_EQ(Run("monitor"), 130);
    ASSERT_EQ(Lines(out.Text).size(), 4u);
    EXPECT_EQ(out.Text.substr(8, 14), " tx <STX>D<CR>");
    EXPECT_NE(out.Text.find(" rx <STX>AZarn74,00<CR>\n"), std::string::npos);
    EXPECT_NE(out.Text.find(" rx 12<ESC><CR><LF>\n"), std::string::npos);
    EXPECT_EQ(err.Text.find("12"), err.Text.npos);  // shown once

    out.Limit = 60;  // whoever reads it goes away after the first line
    host.StartTimer(100, type);
    EXPECT_EQ(Run("--json --port COM1 --baud 19200 monitor"), 130);
    EXPECT_EQ(out.Text, "");
}

TEST_F(clsCliTest, ColorIsForTerminalsAndControlCharactersForNobody) {
    reader.Product = "Zarn\x1B[2J\x9B,00";
    EXPECT_EQ(Run("info"), 0);
    EXPECT_EQ(out.Text.substr(0, 30), "Product Name: Zarn<ESC>[2J<9B>");
    EXPECT_EQ(Run("get 1"), 0);
    EXPECT_EQ(err.Text.find('\x1B'), std::string::npos);
    err.InColor = true;
    EXPECT_EQ(Run("get 1"), 0);
    EXPECT_NE(err.Text.find(" - \x1B[94mGetRegister OK\x1B[0m\n"), std::string::npos);
}

}  // namespace
