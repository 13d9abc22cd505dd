#include <stdlib.h>
#include <time.h>

#include "CliFixture.h"
#include "cli/CliOptions.h"

namespace {

struct CliHistory : clsCliTest {
    CliHistory() {
        setenv("TZ", "XST-2", /*overwrite=*/1);  // two hours ahead of UTC
        tzset();
        files.Contents["file"] = "[General]\r\nLanguage=3\r\n";
        files.Contents["other"] = "[General]\r\nLanguage=4\r\n";
    }
    /// Action, outcome and number of changes of everything kept, oldest first.
    [[nodiscard]] std::string Kept() const {
        std::string text;
        for (const HistoryEvent& event : history.Rows)
            text += std::string(text.empty() ? "" : ", ") + WordOf(event.Action) + " " +
                    WordOf(event.Outcome) + " " + std::to_string(event.ChangeCount);
        return text;
    }
};

TEST_F(CliHistory, ACommandThatLooksAtAReaderOrChangesItIsOneEvent) {
    const struct {
        const char* Line;
        const char* Kept;
    } rows[] = {
        {"read", "read done 0"},
        {"dump", "read done 0"},
        {"read -o saved", "read done 0"},
        {"check file", "check differs 6"},
        {"diff file", "check differs 6"},
        {"write file --dry-run", "check differs 6"},
        {"write file", "write done 6"},
        {"write file --all --no-verify", "write done 6"},
        {"default file", "default done 6"},
        {"set 5 7", "set done 1"},
        {"test-eeprom --yes", "test done 0"},
        {"test-eeprom --restore", "test done 0, restore done 23"},
        {"get 5", ""},
        {"ports", ""},
        {"scan", ""},
        {"info", ""},
        {"diff file other", ""},
        {"write missing", ""},
        {"--port COM2 read", ""},
        {"--no-history read", ""},
        {"demo read", ""},
        {"demo --history own read", "read done 0"},
        {"--history none read", ""},
    };
    const auto registers = reader.Registers;
    for (const auto& row : rows) {
        reader.Registers = registers;
        history.Rows.clear();
        Run(row.Line);
        EXPECT_EQ(Kept(), row.Kept) << row.Line;
    }
    store.SaveSetting("History", "Keep", "0");
    history.Rows.clear();
    Run("read");
    EXPECT_EQ(Kept(), "") << "switched off";
    Run("--history own read");
    EXPECT_EQ(Kept(), "read done 0");
}

TEST_F(CliHistory, WhatDidNotComeToItsEndSaysHow) {
    SimFaultRule dropped{SimFault::DroppedWrite, 'C', 210};
    reader.AddFault(dropped);
    EXPECT_EQ(Run("write file"), ExitDiffers);
    EXPECT_EQ(Run("set 210 5"), ExitFailed);
    reader.ClearFaults();
    reader.AddFault({SimFault::NoAnswer, 'B', 208});
    host.StartTimer(200, [this] { cli.Stop(); });
    EXPECT_EQ(Run("--port COM1 --baud 19200 --slow read"), ExitInterrupted);
    EXPECT_EQ(Kept(), "write differs 6, set differs 1, read cancelled 0");
}

TEST_F(CliHistory, EventsAreListedShownComparedAndTakenOut) {
    Run("read");
    Run("write file");
    Run("set 5 7");
    history.Rows[0].Label = "17 \"\xF0\x9F\x98\x80\",\nx";
    const HistoryEvent& read = history.Rows[0];
    const struct {
        const char* Line;
        int Exit;
        std::string Out;  ///< what it prints begins so
        std::string Said;
    } rows[] = {
        {"history", 0,
         "30000000  2026-09-21 16:16:20  set    done                COM1             1 change\n", ""},
        {"history --action write", 0,
         "20000000  2026-09-21 16:15:20  write  done    COM1  V1.02R007  6 changes\n", ""},
        {"history --outcome not-proven", 0, "", ""},
        {"history --since 2026-09-21T16:16 --csv", 0,
         "id,revision,begun,ended,action,outcome,reason,label,port,adapter,adapterSerial,baud,product,"
         "version,"
         "firmwareSerial,profile,profileSha256,changeCount,host,user,program,programVersion\r\n"
         "30000000-0000-4000-8000-000000000000,2,2026-09-21T14:16:20.000Z,",
         ""},
        {"history --until 2026-09-20", 0, "", ""},
        {"history --until 2026-09-21 --limit 1", 0, "30000000", ""},
        {"history --since 2026-02-30", 2, "",
         "--since: '2026-02-30' is no date as 2026-03-31 or 2026-03-31T14:05 (zarn74ctl --help tells more)"},
        {"history --action nothing", 2, "", "--action: 'nothing' is not known (zarn74ctl --help tells more)"},
        {"history show 2", 0, "Event: 20000000-0000-4000-8000-000000000000\nBegun: 2026-09-21 16:15:20\n",
         ""},
        {"history show x", 2, "", "ID: 'x' is no event's id (zarn74ctl --help tells more)"},
        {"history show 4", 1, "", "4: there is no such event"},
        {"history settings 1", 0, read.After.Settings, ""},
        {"history settings 1 --before", 1, "", "event 10000000 holds no settings from before it"},
        {"history image 1 -o -", 0, read.After.Image, ""},
        {"history image 3 -o -", 1, "", "event 30000000 holds no image from behind it"},
        {"history diff 2", 4, "Language (210): Germany -> English(UK)\n", ""},
        {"history diff 1 2", 4, "Language (210): Germany -> English(UK)\n", ""},
        {"history diff 1 1", 0, "none of 43 settings differ\n", ""},
        {"history diff 2 file", 4, "Baud rate (209): 19200 -> (not in the file)", ""},
        {"history diff 1 3", 1, "", "event 30000000 holds no settings from behind it"},
        {"history prune --before 2026-09-22", 2, "",
         "prune: deletes for good; --yes confirms that (zarn74ctl --help tells more)"},
        {"demo history", 1, "", "a simulated reader has no history unless --history names a file"},
        {"--no-history history", 2, "",
         "--no-history: leaves no history to ask (zarn74ctl --help tells more)"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Run(row.Line), row.Exit) << row.Line;
        EXPECT_EQ(out.Text.substr(0, row.Out.size()), row.Out) << row.Line;
        EXPECT_EQ(out.Text.empty(), row.Out.empty()) << row.Line << out.Text;
        EXPECT_EQ(Said(), row.Said) << row.Line;
        EXPECT_EQ(sent, "") << row.Line;
    }
    history.Rows[2].Before.Settings = read.After.Settings;
    EXPECT_EQ(Ended("history diff 3 1"),
              "0 what event 30000000 left was not read: what there was before it is compared");
    EXPECT_EQ(Printed("history export saved"), "0 3 events exported\n");
    EXPECT_EQ(Run("history export -"), 0);
    EXPECT_EQ(files.Contents["saved"], out.Text);
    history.Imported = [&](const std::string& content, const HistoryImport& soFar) {
        EXPECT_EQ(content, files.Contents["saved"]);
        // In two parts.
        return HistoryAnswer<HistoryImport>{{}, {soFar.New > 0, 1, 1, {}, 2, 1, 4, 1, 5}, {}};
    };
    EXPECT_EQ(Run("history import saved"), 0);
    EXPECT_EQ(out.Text,
              "7 events: 2 new, 1 newer, 4 already there\n1 event deleted here before brought back\n"
              "5 events too old to stay: deleted when something new is kept\n");
    history.Imported = [](const std::string&, const HistoryImport& soFar) {
        using State = HistoryAnswer<HistoryImport>::State;
        if (soFar.New > 0) return HistoryAnswer<HistoryImport>{State::Failed, {}, "disk full"};
        return HistoryAnswer<HistoryImport>{{}, {false, 1, 1, {}, 2}, {}};
    };
    EXPECT_EQ(Run("history import saved"), 1);
    EXPECT_EQ(Messages(), (Texts{"the history cannot be used: disk full",
                                 "2 events imported before that: import the file again"}));
    history.Imported = [](const std::string&, const HistoryImport&) {
        return HistoryAnswer<HistoryImport>{{}, {false, 0, 0, "it is bad"}, {}};
    };
    EXPECT_EQ(Ended("history import saved"), "1 saved: it is bad; nothing was imported");
    EXPECT_EQ(Run("history import missing"), 1);
    Run("history --csv");
    EXPECT_NE(out.Text.find(",done,,\"17 \"\"\xF0\x9F\x98\x80\"\",\nx\",COM1,"), std::string::npos);
    EXPECT_EQ(Run("history settings 1 -o saved"), 0);
    EXPECT_EQ(files.Contents["saved"], read.After.Settings);
    EXPECT_EQ(Run("history label 2 Unit"), 0);
    EXPECT_EQ(Run("history --label unit"), 0);
    EXPECT_EQ(Lines(out.Text).size(), 1U);
    EXPECT_EQ(Printed("history prune --before 2026-09-21T16:16 --yes"), "0 2 events deleted\n");
    EXPECT_EQ(Kept(), "set done 1");
}

/// Another machine's events may hold anything.
TEST_F(CliHistory, NothingInAnEventCommandsTheTerminal) {
    Run("set 5 7");
    const std::string bad = "A\x1B[2J\r\x7F\xC2\x9B\xE2\x80\xAE\xE2\x82\xAC";
    HistoryEvent& event = history.Rows[0];
    for (std::string* text : {&event.Label, &event.Reason, &event.Port, &event.Adapter, &event.AdapterSerial,
                              &event.Host, &event.User, &event.Program, &event.Version, &event.Product,
                              &event.Firmware, &event.FirmwareSerial, &event.Profile, &event.ProfileDigest})
        *text = bad;
    event.Lines = bad + "\n";
    event.Changes = {{bad, bad, bad, bad, bad, false}};
    for (const char* line : {"history", "history show 1"}) {
        EXPECT_EQ(Run(line), 0);
        EXPECT_NE(out.Text.find("A<ESC>[2J<CR><7F><9B><202E>\xE2\x82\xAC"), std::string::npos) << line;
        for (const char* sign : {"\x1B", "\r", "\x7F", "\xC2\x9B", "\xE2\x80\xAE"})
            EXPECT_EQ(out.Text.find(sign), std::string::npos) << line;
    }
    Run("history --csv");
    EXPECT_NE(out.Text.find(",\"" + bad + "\","), std::string::npos);
    const std::string name(labelLimit + 1, 'x');
    EXPECT_EQ(Ended("history label 1 " + name),
              "2 TEXT: a label has at most 200 characters (zarn74ctl --help tells more)");
    EXPECT_EQ(Run("history label 1 " + name.substr(1)), 0);
    EXPECT_EQ(Run("station file --label " + name + "{1}"), 2);
}

TEST_F(CliHistory, WhatAnEventHoldsIsPutBackAndProven) {
    const auto held = reader.Registers;
    Run("read");
    Run("set 210 0");
    Run("test-eeprom --restore");
    const std::string one = "Language (210): Japan -> Germany\n1 of 43 settings differs\n";
    const struct {
        const char* Line;
        int Exit;
        std::string Out;
        std::string Said;  ///< behind the log, each with a "|"
        SimFaultRule Fault = {SimFault::NoAnswer, 'Z'};
    } rows[] = {
        {"restore 1 --dry-run", 0, one + "nothing was written\n", ""},
        {"restore 1",
         4,
         one + "Language was not kept: written Germany, there is Japan\n",
         "Write OK|",
         {SimFault::DroppedWrite, 'C', 210}},
        {"restore 1",
         1,
         one,
         "SetRegister - Reg=210, Err=N04|Write NG|register 210 not written|",
         {SimFault::RefuseCode, 'C', 210, 0, -1, 4}},
        {"restore 1", 1, one, "Write OK|written, not proven|", {SimFault::NoAnswer, 'Y', -1, 2}},
        {"restore 1 --no-verify", 0, "none of 43 settings differ\n", "Write OK|"},
        {"restore 1", 0, "none of 43 settings differ\nread back: all of it was kept\n", "Write OK|"},
        {"restore 2", 1, "", "event 20000000 holds nothing to restore from behind it|"},
        {"restore 7777", 1, "", "7777: there is no such event|"},
        {"restore", 2, "", "ID is required (zarn74ctl --help tells more)|"},
        {"--no-history restore 1", 2, "",
         "--no-history: leaves no history to ask (zarn74ctl --help tells more)|"},
        {"demo restore 1", 1, "", "a simulated reader has no history unless --history names a file|"},
    };
    for (const auto& row : rows) {
        host.Run(12'000);
        reader.ClearFaults();
        reader.AddFault(row.Fault);
        EXPECT_EQ(Run(row.Line), row.Exit) << row.Line;
        EXPECT_EQ(out.Text, row.Out) << row.Line;
        std::string said;
        for (const std::string& line : Messages())
            if (line.find("ound a reader") == line.npos && !line.starts_with("Scan")) said += line + "|";
        EXPECT_EQ(said, row.Said) << row.Line;
    }
    EXPECT_EQ(reader.Registers, held);
    Run("restore 3");
    EXPECT_EQ(Said(), "nothing was written; --yes restores it all the same");
    EXPECT_EQ(reader.Registers, held);
    EXPECT_EQ(history.Rows.back().Outcome, HistoryOutcome::Cancelled);
}

TEST_F(CliHistory, BehindAMemoryTestItSaysHowToPutBackWhatWasThere) {
    const auto said = [this](const char* line) {
        Run(line);
        return Said();
    };
    const auto held = reader.Registers;
    const std::string none = "the history has no read of this reader since it was plugged in";
    EXPECT_EQ(
        said("test-eeprom --yes"),
        "the history does not know the reader on this port again: zarn74ctl history lists what was read")
        << "nobody knows when it was plugged in";
    pluggedIn = 1;
    history.Rows.clear();
    EXPECT_EQ(said("test-eeprom --yes"), none);
    EXPECT_EQ(said("--no-history test-eeprom --yes"), "no history is kept: there is nothing to restore from");
    reader.Registers = held;
    Run("read");
    EXPECT_EQ(said("test-eeprom --yes"),
              "what was in the reader 2026-09-21 16:16:20 can be restored: zarn74ctl restore 30000000");
    EXPECT_EQ(Run("restore 3"), 0);
    EXPECT_EQ(reader.Registers, held);
    pluggedIn = history.Rows.back().Begun + 1;
    EXPECT_EQ(said("test-eeprom --yes"), none);
    reader.Registers = held;
    host.StartTimer(1500, [this] { cli.Stop(); });
    const auto slow = reader.OnFrame.Connect([this](const std::string&, bool) { host.Sleep(5); });
    EXPECT_EQ(Ended("test-eeprom --restore"), "130 interrupted; what was in the reader is in it again");
    EXPECT_EQ(reader.Registers, held);
    host.StartTimer(1500, [this] { serial.Unplug(1); });
    EXPECT_EQ(Ended("test-eeprom --restore"),
              "1 what was in the reader is kept: zarn74ctl restore 90000000 --before");
    serial.Replug(1);
    EXPECT_NE(reader.Registers, held);
    EXPECT_EQ(Run("restore 9 --before"), 0);
    EXPECT_EQ(reader.Registers, held);
}

TEST_F(CliHistory, BehindAMemoryTestOnlyWhatWasInThisReaderIsOffered) {
    const std::string none = "the history has no read of this reader since it was plugged in";
    const std::string offer =
        "what was in the reader 2026-09-21 16:14:20 can be restored: zarn74ctl restore 10000000";
    const std::string since = "what was written into it since then is not in that";
    const auto pull = [this] { host.StartTimer(1500, [this] { serial.Unplug(1); }); };
    pluggedIn = 1;
    Run("read");
    const auto read = history.Rows;
    const auto at = read[0].Begun;
    HistoryEvent write = read[0];
    write.Id = "a" + write.Id;
    write.Action = HistoryAction::Write;
    write.After = {};
    const struct {
        const char* Name;
        std::function<void()> Do;
        std::string Said;
    } rows[] = {
        {"read on another machine", [&] { history.Rows[0].Host = "another"; }, none},
        {"with another adapter", [&] { history.Rows[0].AdapterSerial = "7"; }, none},
        {"plugged in since, and pulled in the test", [&] { pluggedIn = at + 1, pull(); }, none},
        {"pulled in the test", [&] { pluggedIn = at - 1, pull(); }, offer},
        {"locked", [&] { history.Instead.Result = clsIHistory::Events::State::Busy; },
         "the history cannot be used: another program keeps its file locked"},
        {"refused",
         [&] {
             history.Instead = {clsIHistory::Events::State::Failed, {}, "it is bad"};
         },
         "the history cannot be used: it is bad"},
        {"locked for a moment", [&] { history.BusyAt = 1; }, offer},
        {"locked for a moment as the event is asked for", [&] { history.BusyAt = 2; }, offer},
        {"a write that wrote nothing", [&] { history.Rows.push_back(write); }, offer},
        {"written since", [&] { write.Revision = 2, history.Rows.push_back(write); }, since},
        {"a write that was killed",
         [&] {
             write.Revision = 1, write.Outcome = HistoryOutcome::Interrupted, history.Rows.push_back(write);
         },
         since},
    };
    const auto slow = reader.OnFrame.Connect([this](const std::string&, bool) { host.Sleep(5); });
    for (const auto& row : rows) {
        history.Rows = read;
        history.Instead = {};
        pluggedIn = 1;
        if (!serial.Plugged(1)) serial.Replug(1);
        row.Do();
        Run("test-eeprom --yes");
        EXPECT_EQ(Said(), row.Said) << row.Name;
    }
}

TEST_F(CliHistory, WhatIsNotKeptIsShownWhereItCouldNotBeWrittenBack) {
    const auto held = reader.Registers;
    Run("dump");
    const std::string line = out.Text.substr(out.Text.find("0D0: "), 52);
    history.Rows.clear();
    const struct {
        const char* Line;
        std::function<void()> Do;
        const char* Said;
    } rows[] = {
        {"test-eeprom --restore", [] {},
         "what was in the reader is kept: zarn74ctl restore 20000000 --before"},
        {"test-eeprom --restore", [this] { history.Broken = "read-only"; },
         "what was in the reader is not kept: the history has not taken it"},
        {"test-eeprom --restore", [this] { history.Instead.Result = clsIHistory::Events::State::Busy; },
         "the history cannot be used: another program keeps its file locked"},
        {"--no-history test-eeprom --restore", [] {},
         "what was in the reader is not kept: there is no history"},
    };
    for (const auto& row : rows) {
        reader.Registers = held;
        reader.ClearFaults();
        reader.AddFault({SimFault::RefuseCode, 'C', 210, 2, -1, 4});
        history.Broken.clear();
        history.Instead = {};
        row.Do();
        EXPECT_EQ(Run(row.Line), 1) << row.Line;
        EXPECT_EQ(Said(), row.Said) << row.Line;
        const bool kept = Said().find(" is kept: ") != std::string::npos;
        EXPECT_EQ(out.Text.find(line) == std::string::npos, kept) << out.Text;
    }
}

}  // namespace
