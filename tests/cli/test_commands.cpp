#include "CliFixture.h"

namespace {

TEST_F(clsCliTest, WhatTheMachineThrowsIsSaidInOneLineAndInTheObject) {
    struct clsBroken final : clsCliWorld<clsVirtualHost> {
        void TestBody() override {}
        std::string AddDevice(const std::string&) override { throw std::runtime_error("no such luck"); }
    } broken;
    EXPECT_EQ(broken.Run("--json --port /dev/reader info"), 1);
    EXPECT_EQ(broken.err.Text, "zarn74ctl: no such luck\n");
    EXPECT_TRUE(broken.out.Text.starts_with(R"({"command":"info","ok":false,"exit":1,)")) << broken.out.Text;
    EXPECT_EQ(Run("--port /dev/reader info"), 0);
}

TEST_F(clsCliTest, WrongUsageIsOneLineAndTouchesNothing) {
    const struct {
        const char *line, *said;
    } rows[] = {
        {"", "A subcommand is required"},
        {"nonsense", "'nonsense' is not known"},
        {"reed get 5", "'reed' is not known"},
        {"get 5 6", "'6' is not expected here"},
        {"read write x --al", "'write' is not expected here"},
        {"--port read", "'read' was taken for the value of --port; a command has to follow"},
        {"--port get 5", "'get' was taken for the value of --port; a command has to follow"},
        {"read -o", "-o: there is nothing behind it"},
        {"--port a --port b read", "--port: it may be given once only"},
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

TEST_F(clsCliTest, TheHelpOfACommandHasItsWholeNameAndAllThatItTakes) {
    const struct {
        const char *line, *first, *part, *another, *last = "";
    } rows[] = {
        {"get --help", "Usage: zarn74ctl get [OPTIONS] REG\n", "0 to 511, decimal or 0x..\n", "--port NAME "},
        {"demo read -h", "Usage: zarn74ctl demo read [OPTIONS]\n", "  -o FILE ", "--quiet ", "--image FILE "},
        {"--help", "Usage: zarn74ctl [OPTIONS] SUBCOMMAND\n", "--trace ", "Exit status: 0 done"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Run(row.line), 0) << row.line;
        for (const char* part : {row.first, row.part, row.another, row.last})
            EXPECT_NE(out.Text.find(part), std::string::npos) << out.Text;
        EXPECT_EQ(out.Text.find("\n\n\n"), std::string::npos) << out.Text;
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
        {"--port COM3 read", 3, "", "", "COM3: in use by another program; close that program"},
        {"--port COM3 --baud 9600 get 1", 3, "", "", "COM3: in use by another program; close that program"},
        {"--port COM9 read", 3, "", "", "COM9: there is no such port"},
        {"--port caf\xC3\xA9\xC2\xB5\xE2\x82\xAC\xC3 read", 3, "", "",
         "caf\xC3\xA9\xC2\xB5??: there is no such port"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Run(row.line), row.exit) << row.line;
        EXPECT_EQ(out.Text, row.out) << row.line;
        EXPECT_EQ(sent, row.frames) << row.line;
        EXPECT_EQ(Said(), row.said) << row.line;
    }
    EXPECT_EQ(store.GetSetting("Zarn*", "LastCommPort", ""), "COM1");

    serial.Unplug(1);
    EXPECT_EQ(Run("info"), 3);
    EXPECT_EQ(err.Text.substr(err.Text.find("zarn74ctl")),
              "zarn74ctl: COM1: it is not there; plug it in\n"
              "zarn74ctl: COM2: no reader answered at any speed; check cable and power\n"
              "zarn74ctl: COM3: in use by another program; close that program\n"
              "zarn74ctl: Missing Device\n");
    store.Values.clear();  // COM1 stands for "none yet" now
    EXPECT_EQ(Run("scan"), 3);
    EXPECT_EQ(err.Text.find("COM1"), err.Text.npos);
    serial.Replug(1);
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
    EXPECT_EQ(Printed("--slow read -o file"), "0 ");
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
    const Texts all = Messages();
    for (const char* notice : {"the file has no conversion table: the reader's table is emptied",
                               "Language=77: no list has this value"})
        EXPECT_EQ(std::count(all.begin(), all.end(), notice), 1) << notice;
    EXPECT_EQ(Said(), "Write Default Info OK");

    files.Contents["odd"] = "[General]\nBaudrate=9600\n";
    files.Contents["bad"] = "[General]\r\nPrefix=a\r\nLanguage=999\r\n";
    files.Contents["marked"] = "\xEF\xBB\xBF[General]\r\nBaudrate=9600\r\n";
    files.Refuse = true;
    const struct {
        const char* line;
        Texts said;
    } rows[] = {
        {"read -o file", {"Save Device Info To File NG!", "file: Refused"}},
        {"dump -o file", {"Save Dump To File NG", "file: Refused"}},
        {"write missing", {"Open Device Info From File NG!", "missing: No such file"}},
        {"default missing", {"Open Zarn74 Default Info From File NG!", "missing: No such file"}},
        {"write marked", {"the file begins with a byte-order mark; save it without one (UTF-8)"}},
        {"default odd", {"no settings found in this file; lines must end in CR LF"}},
        {"write bad",
         {"Language=999: not a number from 0 to 255", "Open Device Info From File OK!", "Write NG"}},
        {"default bad",
         {"Language=999: not a number from 0 to 255", "Open Default Info From File OK!",
          "Write Default Info NG"}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Run(row.line), 1) << row.line;
        EXPECT_EQ(Messages(), row.said) << row.line;
        EXPECT_EQ(sent, "") << row.line << ": what fails anyway troubles no reader";
    }
}

TEST_F(clsCliTest, ALineStandsForStandardInputAndOutput) {
    EXPECT_EQ(Run("read -o -"), 0);
    input = out.Text;
    EXPECT_EQ(Run("write -"), 0);
    EXPECT_EQ(Sent('C'), 1);
    EXPECT_EQ(Run("demo default -"), 0);
    EXPECT_EQ(Run("diff - -"), 0);
    EXPECT_EQ(Printed("dump -o -"), "0 " + std::string(reader.Registers.begin(), reader.Registers.end()));
    EXPECT_EQ(files.Contents.size(), 0U);
    input.resize(2 << 20);
    EXPECT_EQ(Ended("write -"), "1 standard input: there is no end to it");
}

TEST_F(clsCliTest, AReaderThatDoesNotTellWhatItIsIsTheReasonOfAFailure) {
    for (const char* line : {"info", "read", "--slow read -o file", "write file"}) {
        files.Contents["file"] = "[General]\r\nLanguage=1\r\n";
        reader.Version = "V1.02R007";
        EXPECT_EQ(Run(line), 1) << line;
        EXPECT_EQ(Said(), "the reader did not tell its firmware") << line;
        EXPECT_EQ(out.Text, "");
        EXPECT_EQ(Sent('C'), 0) << line;
    }
}

TEST_F(clsCliTest, QuietLeavesFailuresOfTheLogAlone) {
    EXPECT_EQ(Run("--quiet read"), 0);
    EXPECT_EQ(err.Text, "");
    EXPECT_EQ(Run("--quiet --json get 5"), 0);
    EXPECT_NE(out.Text.find("GetRegister OK"), std::string::npos) << "the object has all";
    reader.AddFault({SimFault::NoAnswer, 'B'});
    EXPECT_EQ(Run("--quiet get 5"), 1);
    EXPECT_EQ(Messages(), Texts{"GetRegister NG"});
}

// The command that failed is the last one: what became of it stands in the recording, or that nobody knows.
TEST_F(clsCliTest, ARecordingTellsHowItEnds) {
    reader.AddFault({SimFault::NoAnswer, 'B'});
    EXPECT_EQ(Run("--port COM1 --record line get 210"), 1);
    std::string& line = files.Contents["line"];
    const auto told = [this](const std::string& question) {
        EXPECT_EQ(Run(question), 0);
        Texts ends = Lines(out.Text);
        ends.erase(ends.begin(), ends.end() - 2);
        for (std::string& text : ends) text.erase(0, text.find_first_of("trn"));
        return ends;
    };
    const std::string command = "tx ! <STX>BD2<CR>                   read register 210 Language: no answer";
    EXPECT_EQ(told("explain line"), (Texts{command + " in 500 ms", "the recording ends"}));
    EXPECT_EQ(Run("mask line -o safe"), 0);
    EXPECT_EQ(told("explain safe"), (Texts{command + " in 500 ms", "the recording ends"}));
    line.resize(line.rfind('{'));  // killed
    std::string open = command + " is recorded";
    open[3] = ' ';
    EXPECT_EQ(told("explain line"),
              (Texts{open, "nothing more is recorded; the end of the recording is not told"}));
    lineRoom = 400;
    EXPECT_EQ(Ended("--port COM1 --record line get 210"),
              "1 line: the recording is not whole; it breaks off");
    EXPECT_EQ(err.Text.find("Full"), err.Text.rfind("Full")) << "said once";
    EXPECT_LE(line.size(), lineRoom);
}

TEST_F(clsCliTest, ARecordingTakesNoOtherFilesPlace) {
    files.Contents["file"] = "[General]\r\nLanguage=3\r\n";
    for (const char* command :
         {"--record file write file", "--record ./file read -o x/../file", "--record file diff other file",
          "--record file dump -o file", "--record file --history ./file read"}) {
        const std::string content = files.Contents["file"];
        EXPECT_EQ(Run(command), 1) << command;
        EXPECT_EQ(Said(), std::string(command).substr(9, std::string(command).find(' ', 9) - 9) +
                              ": the command names it for something else");
        EXPECT_EQ(sent, "");
        EXPECT_EQ(files.Contents["file"], content);
    }
}

TEST_F(clsCliTest, SingleRegistersAreShownAsTheyStandInTheReader) {
    EXPECT_EQ(Printed("get 0xD2"), "0 210 (0x0D2) = 2 (0x02)\n");
    EXPECT_EQ(Printed("set 511 0x41"), "0 511 (0x1FF) = 65 (0x41)\n");
    EXPECT_EQ(reader.Registers[511], 0x41);
    EXPECT_EQ(Run("dump"), 0);
    EXPECT_EQ(Lines(out.Text).at(13), "0D0: 00 FF 02 FF 00 00 FF FF FF 00 FF FF FF FF FF FF");
    EXPECT_EQ(Run("dump --explain"), 0);
    EXPECT_EQ(Lines(out.Text).at(210), "0D2 (210): 02  Language                                Germany");
    EXPECT_EQ(Run("dump --explain -o explained"), 0);
    EXPECT_EQ(Lines(files.Contents["explained"]).size(), 512U);
    EXPECT_EQ(Run("dump -o image"), 0);
    EXPECT_EQ(files.Contents["image"], std::string(reader.Registers.begin(), reader.Registers.end()));

    reader.AddFault({SimFault::DroppedWrite});
    EXPECT_EQ(Run("set 511 7"), 1);
    EXPECT_NE(err.Text.find("register 511 (0x1FF) reads 65 (0x41) after 7 (0x07) was written"),
              std::string::npos);
    EXPECT_EQ(out.Text, "");
    EXPECT_EQ(Printed("test-eeprom --yes"), "1 failed\n");
    reader.ClearFaults();
    EXPECT_EQ(Printed("test-eeprom --yes"), "0 passed\n");
}

TEST_F(clsCliTest, WhatWasWrittenIsReadBackAndWhatWasNotKeptIsNamed) {
    files.Contents["file"] =
        "[General]\r\nLanguage=3\r\nPrefix=A\r\nBaudrate=9600\r\nConvert(1)=+[1K ],04A1B2C3,Back door\r\n";
    const std::string changes =
        "Language (210): Germany -> English(UK)\n"
        "Baud rate (209): 19200 -> 9600 (takes effect at the next start)\n"
        "Prefix (160..175): <STX>ID= -> A\n"
        "Table row 1 (0..7, 256..271): [1K ] 04A1B2C3 \xE2\x86\x92 Front door -> [1K ] 04A1B2C3 \xE2\x86\x92 "
        "Back door\n";
    const auto registers = reader.Registers;
    const struct {
        const char* line;
        std::optional<SimFaultRule> fault;
        int exit;
        const char* end;   // of the output
        const char* said;  // at last
        const char* frames;
    } rows[] = {
        {"check file", {}, 4, "8 of 43 settings differ\n", "Open Device Info From File OK!", "DYYV"},
        {"write file --dry-run", {}, 0, "nothing was written\n", "Open Device Info From File OK!", "DYYV"},
        {"write file", {}, 0, "read back: all of it was kept\n", "Write OK", nullptr},
        {"write file --no-verify", {}, 0, "8 of 43 settings differ\n", "Write OK", nullptr},
        {"write file", SimFaultRule{SimFault::DroppedWrite, 'C', 160}, 4,
         "\nPrefix was not kept: written A, there is <STX>\n", "Write OK", nullptr},
        {"default file", SimFaultRule{SimFault::NoAnswer, 'V', -1, 2}, 1, "8 of 43 settings differ\n",
         "written, not proven", nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        reader.ClearFaults();
        reader.Registers = registers;
        if (row.fault) reader.AddFault(*row.fault);
        EXPECT_EQ(Run(row.line), row.exit);
        EXPECT_TRUE(out.Text.starts_with(changes)) << out.Text;
        EXPECT_TRUE(out.Text.ends_with(row.end)) << out.Text;
        EXPECT_EQ(Said(), row.said);
        EXPECT_EQ(sent, row.frames != nullptr ? row.frames : sent);
    }
    reader.ClearFaults();
    EXPECT_EQ(Printed("check file"), "0 none of 43 settings differ\n");
    files.Contents["bare"] = "[General]\r\nLanguage=3\r\n";
    EXPECT_EQ(Run("write bare --dry-run"), 0);
    EXPECT_TRUE(
        out.Text.ends_with("\nthe file has no conversion table: the reader's table would be emptied\n"
                           "nothing was written\n"))
        << out.Text;
    EXPECT_EQ(Run("write file"), 0);
    // an interrupt while it is being read back
    reader.AddFault({SimFault::NoAnswer, 'V', -1, 2});
    const clsConnection stop = reader.OnFrame.Connect([this](const std::string&, bool received) {
        if (received && Sent('V') == 3) host.StartTimer(100, [this] { cli.Stop(); });
    });
    EXPECT_EQ(Ended("write file"), "130 interrupted; written, not proven");
}

TEST_F(clsCliTest, AWriteThatHasBegunIsNotLeftHalfDoneBecauseNobodyReadsTheOutput) {
    files.Contents["file"] = "[General]\r\nLanguage=3\r\n";
    for (const char command : {'V', 'C'}) {  // of the reading before it, of the write
        LoadExampleConfiguration(reader);
        const clsConnection closes = reader.OnFrame.Connect([&](const std::string&, bool received) {
            if (!received || sent.back() != command) return;
            out.Now = clsITextOutput::State::Closed;
            host.Post([this] { cli.OutputClosed(); });
        });
        EXPECT_EQ(Run("write file"), command == 'C' ? 0 : 130);
        EXPECT_EQ(reader.Registers[0xD2], command == 'C' ? 3 : 2);
        out.Now = clsITextOutput::State::Open;
    }
}

TEST_F(clsCliTest, TwoFilesAreComparedWithoutAReader) {
    files.Contents["a"] = "[General]\r\nLanguage=3\r\n";
    files.Contents["b"] = "[General]\r\nLanguage=1\r\n";
    files.Contents["bad"] = "[General]\r\nLanguage=300\r\n";
    EXPECT_EQ(Run("diff a a"), 0);
    EXPECT_EQ(Printed("diff a b"), "4 Language (210): English(UK) -> France\n1 of 43 settings differs\n");
    EXPECT_EQ(Run("diff a bad"), 1);
    EXPECT_EQ(Messages(),
              (Texts{"Language=300: not a number from 0 to 255", "Open Device Info From File OK!"}));
    EXPECT_EQ(sent, "");
    EXPECT_EQ(Run("diff a"), 4);
    EXPECT_EQ(sent, "DYYV");
}

TEST_F(clsCliTest, AnInterruptedCommandEndsSoonAndLeavesNothingBehind) {
    EXPECT_EQ(Run("read -o file"), 0);
    const std::string file = files.Contents["file"];
    for (const char* line : {"--slow read", "--slow read -o file", "write file", "default file", "dump",
                             "get 1", "test-eeprom --yes", "--port COM2 scan", "--json --slow read"}) {
        reader.ClearFaults();
        for (const char command : {'B', 'Y'}) reader.AddFault({SimFault::NoAnswer, command});
        const auto start = host.Now();
        host.StartTimer(60, [this] { cli.Stop(); });
        EXPECT_EQ(Run(line), 130) << line;
        EXPECT_LE(host.Now() - start, 120 + 500) << line;  // in which an answer could still come
        EXPECT_EQ(files.Contents["file"], file) << line;
        EXPECT_TRUE(out.Text.empty() || out.Text == "failed\n" || out.Text.starts_with("{")) << line;
        const bool writes = std::string(line).find(" file") != std::string::npos && line[0] != '-';
        EXPECT_EQ(Said() == "interrupted; nothing was written", writes) << line;
    }
    reader.ClearFaults();
    reader.AddFault({SimFault::NoAnswer, 'C'});
    for (const char* line : {"set 5 1", "write file --all", "test-eeprom --yes"}) {
        host.StartTimer(60, [this] { cli.Stop(); });
        EXPECT_EQ(Run(line), 130) << line;
        EXPECT_EQ(Said(), "interrupted; what was written so far is in the reader") << line;
    }
    reader.ClearFaults();
    reader.AddFault({SimFault::NoAnswer, 'Y'});
    host.StartTimer(60, [this] { serial.Unplug(1); });
    EXPECT_EQ(Ended("read"), "1 Get Device Information NG");  // it was never asked for its firmware
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
    EXPECT_EQ(Printed("--json --port COM1 --baud 19200 monitor"), "130 ");
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

TEST_F(clsCliTest, TheDoctorAsksPortsOnlyWhenSomebodySaysYes) {
    EXPECT_EQ(Ended("doctor"), "0 no port was asked for a reader; --poll does that");
    EXPECT_NE(asked, "");
    EXPECT_EQ(sent, "");
    EXPECT_EQ(Lines(out.Text).back(), "nothing is wrong");
    answer = true;
    EXPECT_EQ(Run("doctor"), 4);  // COM2 is silent, COM3 does not open
    EXPECT_NE(out.Text.find("1. no reader answers on COM2\n"), out.Text.npos);
    EXPECT_NE(out.Text.find("2. COM3 cannot be opened\n"), out.Text.npos);
    EXPECT_NE(out.Text.find("$ zarn74ctl --port /dev/of/COM2 --baud 19200 monitor\n"), out.Text.npos);
    EXPECT_EQ(Lines(out.Text).back(), "2 findings");
    answer.reset();
    asked.clear();
    EXPECT_EQ(Run("--port com1 doctor --poll"), 0);
    EXPECT_NE(sent, "");
    EXPECT_EQ(store.GetSetting("Zarn*", "LastCommPort", "none"), "none") << "nothing is changed";
    EXPECT_EQ(Run("doctor COM9"), 0);  // the machine here knows no better
    EXPECT_EQ(Run("demo doctor --poll"), 0);
    EXPECT_EQ(sent, "");
    host.StartTimer(700, [this] { cli.Stop(); });
    EXPECT_EQ(Run("doctor COM2 --poll"), 130);
    access.Nodes.resize(1);
    access.Nodes[0].Name = access.Nodes[0].Device = "/dev/hidraw9";
    access.Nodes[0].There = access.Nodes[0].May = true;
    EXPECT_EQ(Run("doctor --poll"), 4);  // there, and no port of the program's
    EXPECT_NE(out.Text.find("1. /dev/hidraw9 could not be asked\n"), out.Text.npos) << out.Text;
    access.Nodes[0].Name = "COM2";
    access.Nodes[0].Device = "a b;c";
    EXPECT_EQ(Run("doctor --poll"), 4);
    EXPECT_NE(out.Text.find("$ zarn74ctl --port 'a b;c' --baud 19200 monitor\n"), out.Text.npos);
    access.Nodes[0].Name = "COM1";
    access.Findings.push_back({AccessTrouble::NotInGroup, "COM1", "what", "why\x1B", "do", "a command"});
    EXPECT_EQ(Run("doctor COM1 --poll"), 4);
    EXPECT_EQ(sent, "");  // a port that cannot be used is not asked
    EXPECT_NE(out.Text.find("   why:   why<ESC>\n   to do: do\n   $ a command\n"), out.Text.npos);
}

TEST_F(clsCliTest, OnATerminalAFailureIsFollowedOnceByWhatToDoFirst) {
    const auto hints = [&](const char* line) {
        Run(line);
        std::string text;
        for (const std::string& said : Lines(err.Text))
            if (said.starts_with("           what to do: ")) text += said.substr(23) + "|";
        return text;
    };
    reader.AddFault({SimFault::NoAnswer, 'B'});
    EXPECT_EQ(hints("get 1"), "");
    err.OnTerminal = true;
    EXPECT_EQ(hints("get 1"),
              "If reading ends with OK all the same, do nothing.|Do it again.|");  // three attempts
    EXPECT_EQ(hints("--quiet get 1"), "Do it again.|");
    EXPECT_EQ(hints("--no-hints get 1"), "");
    EXPECT_EQ(hints("info"), "");
    Run("--json get 1");
    EXPECT_EQ(out.Text.find("what to do"), out.Text.npos);
}

}  // namespace
