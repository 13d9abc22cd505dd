#include <gtest/gtest.h>

#include <random>

#include "FlowWorld.h"
#include "RecordText.h"

namespace {

using Registers = std::array<std::uint8_t, registerCount>;

/// A reader that was read with an odd switch, and a foreign card type with an ID, in its memory; then forty
/// registers of settings and five others were changed behind the host's back.
struct Restore : testing::Test, FlowWorld {
    Restore() {
        reader.Registers[128] = 0x01;
        const std::array<std::uint8_t, 8> foreign{0xF3, 1, 2, 3, 4, 5, 6, 7};
        std::copy(foreign.begin(), foreign.end(), reader.Registers.begin() + 40);
        flows.Read();
        kept = reader.Registers;
        event = history.Rows.back();
        changed = kept;
        changed[128] = 0xFF;  // the same switch
        for (const int at : {43, 129, 138, 154, 209, 210, 216, 217, 218, 223})
            changed[static_cast<std::size_t>(at)] ^= 0x02;
        for (std::size_t at = 300; at < 334; ++at) changed[at] ^= 0x20;
        Change();
    }
    void Change() {
        reader.Registers = changed;
        reader.ClearFaults();
        history.Rows.resize(1);
        log.Clear();
        Sent.clear();
    }
    /// All that a front end does. What became of it, and of the event.
    std::string Run(bool before = false) {
        flows.BeginEvent(HistoryAction::Restore);
        const bool tested = TestedSince(history, event, before, {port, ""});
        FlowResult result = flows.PlanRestore(event, before, tested, plan);
        if (result == FlowResult::Done) result = flows.WriteRestore(plan);
        if (result == FlowResult::Done) result = flows.ProveRestore(plan);
        flows.EndEvent(/*cancelled=*/false);
        std::string text = plan.NotWritten();
        for (const std::string& line : plan.NotKept()) text += line;
        const bool done = result == FlowResult::Done && text.empty();
        const HistoryEvent& last = history.Rows.back();
        return (done ? "restored" : text) + "/" +
               (last.Action == HistoryAction::Restore ? WordOf(last.Outcome) : "none");
    }
    /// The event of a test.
    HistoryEvent& Tested() {
        flows.TestEeprom();
        return history.Rows.back();
    }
    /// Read and tested as one event, which is the one to be restored.
    void TestInOneEvent() {
        flows.BeginEvent(HistoryAction::Test);
        ZarnInfo read;
        flows.ReadInto(read, modZarn74::Lines::Silent);
        flows.TestEeprom();
        flows.EndEvent(/*cancelled=*/false);
        event = history.Rows.back();
    }
    /// From what `other` holds, in the registers of settings or in the others.
    [[nodiscard]] int Differing(const Registers& other, bool mapped = true) const {
        int count = 0;
        for (std::size_t i = 0; i < other.size(); ++i)
            count += ZarnRegisterMap::mapped[i] == mapped && reader.Registers[i] != other[i] ? 1 : 0;
        return count;
    }

    Registers kept{};
    Registers changed{};
    HistoryEvent event;
    RestorePlan plan;
    std::string port = "COM1";  ///< on which it is restored
};

TEST_F(Restore, BytesOfSettingsComeBackAndNothingElseIsTouched) {
    view.Form.Record.Prefix = "being typed";
    const std::string record = TextOf(flows.Record());
    ASSERT_EQ(Differing(kept), 40);
    EXPECT_EQ(Run(), "restored/done");
    EXPECT_EQ(Count('C'), 40);
    EXPECT_EQ(Differing(kept), 0);
    EXPECT_EQ(Differing(changed, /*mapped=*/false), 0);
    EXPECT_EQ(plan.LeftAlone, 5);
    EXPECT_EQ(logView.Messages, Texts{"Write OK"});
    EXPECT_EQ(view.Form.Record.Prefix, "being typed");
    EXPECT_EQ(TextOf(flows.Record()), record);
    EXPECT_EQ(flows.Picture().Held().Language, 2);
    EXPECT_EQ(flows.Picture().Of(128), RegisterSight::Seen);
    EXPECT_EQ(flows.Picture().Image()->Bytes, reader.Registers);
    const HistoryEvent& last = history.Rows.back();
    EXPECT_EQ(last.Before.Image, std::string(changed.begin(), changed.end()));
    EXPECT_EQ(last.After.Image, std::string(reader.Registers.begin(), reader.Registers.end()));
    const HistoryChange odd{registerSetting, "128", "FF", "01", "01", true};
    EXPECT_EQ(std::count(last.Changes.begin(), last.Changes.end(), odd), 1);
    EXPECT_EQ(Run(), "restored/done");
    EXPECT_EQ(Count('C'), 40) << "there was nothing to write";
    EXPECT_EQ(flows.LastSeen().Event()->Id, history.Rows.back().Id);
    flows.Scan("COM2");
    EXPECT_EQ(flows.LastSeen().Event(), std::nullopt);
}

TEST_F(Restore, WhatWentWrongIsNamedAndNeverCalledRestored) {
    const struct {
        SimFaultRule Fault;
        const char* End;
    } rows[] = {
        {{SimFault::DroppedWrite, 'C', 128}, "Register 128 was not kept: written 01, there is FF/differs"},
        {{SimFault::DroppedWrite, 'C', 210},
         "Language was not kept: written Germany, there is Japan/differs"},
        {{SimFault::DroppedWrite, 'C', 43}, "Register 43 was not kept: written 03, there is 01/differs"},
        {{SimFault::RefuseCode, 'C', 217, 0, -1, 4}, "register 217 not written/failed"},
        {{SimFault::RefuseCode, 'C', -1, 38, -1, 4}, "registers 333, 209 not written/failed"},
        {{SimFault::NoAnswer, 'C', 209}, "register 209 not written/failed"},
        {{SimFault::NoAnswer, 'C', 210}, "register 210 not written; 37 of 40 registers not tried/failed"},
        {{SimFault::NoAnswer, 'Y', -1, 2}, "/not proven"},
        {{SimFault::ShortDump, 'Y', -1, 0, -1, 100}, "/failed"},
        {{SimFault::DifferentDumps, 'Y', -1, 2, -1, 100}, "/not proven"},
        {{SimFault::NoAnswer, 'V'}, "/failed"},
    };
    for (const auto& row : rows) {
        Change();
        reader.AddFault(row.Fault);
        EXPECT_EQ(Run(), row.End) << SimFaultText(row.Fault);
        host.Run(12'000);
    }
}

TEST_F(Restore, AtWhateverMomentItEndsItIsNotCalledDoneUnlessItIs) {
    std::mt19937 random(7);
    int restored = 0;
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        if (!serial.Plugged(1)) serial.Replug(1);
        comm.SetPortOpen(true);
        host.Run(12'000);
        Change();
        host.StartTimer(static_cast<int>(random() % 1500), [this, round] {
            if (round % 2 == 0) return flows.Cancel();
            serial.Unplug(1);
        });
        view.OnProgress = [this] { host.Sleep(10); };
        const std::string end = Run();
        const bool done = end == "restored/done";
        EXPECT_EQ(end.find("restored") != std::string::npos || end.find("/done") != std::string::npos, done);
        restored += done ? 1 : 0;
        EXPECT_TRUE(!done || Differing(kept) == 0);
        host.Run(2'000);
    }
    EXPECT_TRUE(restored > 20 && restored < 150) << restored;
}

TEST_F(Restore, SettingsComeBackWhereNoBytesAreKeptAndAPersonIsAskedWhereTheyMayNotFit) {
    event.After.Image.clear();
    EXPECT_EQ(Run(), "restored/done");
    EXPECT_EQ(plan.Lost, Texts{"Table row 6: the card ID of an unchecked row"});
    EXPECT_EQ(plan.Questions, Texts());
    EXPECT_EQ(reader.Registers[43], changed[43]);
    EXPECT_EQ(reader.Registers[210], kept[210]);
    const struct {
        const char* Name;
        std::function<void()> Do;
        Texts Questions;
    } rows[] = {
        {"of a reader that nobody knows",
         [this] { event.Product.clear(); },
         {"the event does not tell what it was read from; this is a Zarn74"}},
        {"another product",
         [this] { event.Product = "Zarn75"; },
         {"it was read from a Zarn75, and this is a Zarn74"}},
        {"old firmware",
         [this] { reader.Version = "V1.01R003,FWQ-K1"; },
         {"it was read from a Zarn75, and this is a Zarn74",
          "Tag frequency: Needs firmware V1.02R002 or later, or model FWQ-K4436 or FWQ-K4407",
          "ID without leading zeros: Needs firmware V1.01R004 or later"}},
        {"what a test left",
         [this] {
             event.Product.clear(), event.Action = HistoryAction::Test,
                                    reader.Version = "V1.02R007,FWQ-K4436";
         },
         {"a memory test left this behind: there are no settings in it"}},
    };
    for (const auto& row : rows) {
        Change();
        row.Do();
        EXPECT_EQ(flows.PlanRestore(event, /*before=*/false, /*tested=*/false, plan), FlowResult::Done)
            << row.Name;
        EXPECT_EQ(plan.Questions, row.Questions) << row.Name;
    }
    EXPECT_EQ(Count('C'), 0);
    EXPECT_EQ(flows.PlanRestore(event, /*before=*/true, /*tested=*/false, plan), FlowResult::FileBad);
    EXPECT_EQ(view.Notices.back(), "event 10000000 holds nothing to restore from before it");
    event.After.Settings = "Language=999";
    EXPECT_EQ(flows.PlanRestore(event, /*before=*/false, /*tested=*/false, plan), FlowResult::FileBad);
    event.After.Settings = "[General]\r\nLanguage=999\r\n";
    EXPECT_EQ(flows.PlanRestore(event, /*before=*/false, /*tested=*/false, plan), FlowResult::FileBad);
    EXPECT_EQ(view.Notices.back(), "Language=999: not a number from 0 to 255");
}

TEST_F(Restore, All512ComeBackBehindAMemoryTestAndOnlyThere) {
    const struct {
        const char* Name;
        std::function<void()> Do;
        bool Whole;
    } rows[] = {
        {"read, then tested", [this] { flows.TestEeprom(); }, true},
        {"the test broke off in its first pattern",
         [this] {
             reader.AddFault({SimFault::RefuseCode, 'C', 140, 0, 1, 4}), flows.TestEeprom();
         },
         true},
        {"what the test found before it", [this] { TestInOneEvent(); }, true},
        {"tested before it was read",
         [this] { flows.TestEeprom(), flows.Read(), event = history.Rows.back(); }, false},
        {"restored since", [this] { flows.TestEeprom(), Run(), reader.Registers = changed; }, false},
        {"another reader in its place", [this] { flows.TestEeprom(), reader.Registers[129] = 0x17; }, false},
        {"another port's reader was tested", [this] { Tested().Port = "COM7"; }, false},
        {"never tested", [this] { reader.Registers.fill(0xFF); }, false},
        {"another machine's reader was tested", [this] { Tested().Host = "another"; }, false},
        {"another machine's event, and its test", [this] { event.Host = Tested().Host = "another"; }, false},
        {"another machine's test itself",
         [this] { TestInOneEvent(), event.Host = history.Rows.back().Host = "another"; }, false},
        {"restored on another port than that of the read", [this] { Tested(), port = "COM2"; }, false},
        {"the test itself, its reader on another port by now", [this] { TestInOneEvent(), port = "COM2"; },
         true},
        {"a test that did not begin, and was given a label",
         [this] {
             reader.AddFault({SimFault::RefuseCode, 'Y', -1, 0, -1, 4});
             TestedReader none;
             flows.TestAndRestore(none);
             history.Rows.back().Revision = 2;
             reader.Registers.fill(0xFF);
         },
         false},
        {"a test of which nothing was kept before it", [this] { Tested().Revision = 1; }, false},
        {"the program was killed in the test",
         [this] { Tested().Revision = 1, history.Rows.back().Outcome = HistoryOutcome::Interrupted; }, true},
        {"the history is locked as it is asked for tests", [this] { Tested(), history.BusyAt = 1; }, false},
        {"the history is locked as it is asked for restores", [this] { Tested(), history.BusyAt = 2; },
         false},
    };
    const HistoryEvent first = event;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Name);
        event = first;
        port = "COM1";
        history.BusyAt = 0;
        Change();
        reader.Registers = kept;
        row.Do();
        reader.ClearFaults();
        Registers wanted = reader.Registers;
        const bool before = event.Action == HistoryAction::Test;
        const std::string image = (before ? event.Before : event.After).Image;
        for (std::size_t i = 0; i < wanted.size(); ++i)
            if (row.Whole || ZarnRegisterMap::mapped[i]) wanted[i] = static_cast<std::uint8_t>(image[i]);
        EXPECT_EQ(Run(before), "restored/done");
        EXPECT_EQ(plan.Whole, row.Whole);
        EXPECT_EQ(reader.Registers, wanted);
    }
}

TEST_F(Restore, ATestWritesBackWhatWasThereHoweverItEnds) {
    constexpr auto another = "what answers now may be another reader";
    const std::string version = reader.Version;
    using enum FlowResult;
    using enum SimFault;
    struct Moment {
        SimFaultRule Fault{NoAnswer, 'Z'};
        int Step = 0;           ///< at which something happens,
        const char* Line = "";  ///< or the line of the log
        std::function<void()> Do;
    };
    const auto fault = [](auto... rule) { return Moment{{rule...}, 0, "", {}}; };
    const auto at = [](int step, auto what) { return Moment{{NoAnswer, 'Z'}, step, "", what}; };
    const auto on = [](const char* line, auto what, SimFaultRule rule) {
        return Moment{rule, 0, line, what};
    };
    const auto cancel = [this] { flows.Cancel(); };
    const auto exchange = [this] { reader.Registers.fill(0xFF), reader.Registers[210] = 5; };
    const struct {
        const char* Name;
        Moment What;
        FlowResult Result;
        bool Whole;          ///< all is as it was
        const char* Events;  ///< of the history
        const char* WhyNot = "";
    } rows[] = {
        {"passed", {}, Done, true, "test done, restore done"},
        {"a block was refused", fault(RefuseCode, 'C', 100, 0, 1, 4), Failed, true,
         "test failed, restore done"},
        {"a byte was not kept", fault(DroppedWrite, 'C', 100, 1, 1), Failed, true,
         "test failed, restore done"},
        {"cancelled in the test", at(60, cancel), Cancelled, true, "test cancelled, restore done"},
        {"closed in the test", at(60, [this] { flows.RequestClose(); }), Cancelled, true,
         "test cancelled, restore done"},
        {"cancelled as it is written back", at(130, cancel), Failed, false, "test done, restore cancelled",
         "188 of 204 registers not tried"},
        {"pulled in the test", at(60, [this] { serial.Unplug(1); }), Failed, false, "test failed"},
        {"its memory cannot be seen behind the test", fault(RefuseCode, 'Y', -1, 6, 2, 4), Failed, false,
         "test done, restore failed", another},
        {"silent in the test for a moment", fault(NoAnswer, 'C', 100, 0, 2), Done, true,
         "test done, restore done"},
        {"silent until the test ended", fault(NoAnswer, 'C', 100, 0, 3), Failed, true,
         "test failed, restore done"},
        {"a bit is stuck, and it was never silent",
         on("Write 0x0 to EEPROM 128~143 byte OK", [this] { reader.Registers[129] = 0x10; }, {NoAnswer, 'Z'}),
         Failed, true, "test failed, restore done"},
        {"another is plugged in behind the test, factory-fresh but for a setting",
         on("Test EEPROM NG", exchange, {NoAnswer, 'C', 100, 0, 3}), Failed, false,
         "test failed, restore failed", another},
        {"another is plugged in, and the test goes on with it",
         on("SetRegister - Reg=100, Err=Timeout", [this] { reader.Registers = kept; },
            {NoAnswer, 'C', 100, 0, 2}),
         Failed, false, "test failed, restore failed", another},
        {"another is plugged in that tells itself by its firmware alone",
         on("Test EEPROM NG", [this] { reader.Version = "V1.01R003,FWQ-K1"; }, {NoAnswer, 'C', 100, 0, 3}),
         Failed, false, "test failed, restore failed", another},
        {"a register is worn out", fault(DroppedWrite, 'C', 129, 2), Failed, false,
         "test done, restore differs"},
        {"no memory in one piece", fault(RefuseCode, 'Y', -1, 0, -1, 4), Failed, true, "read failed"},
        {"cancelled before the test", at(1, cancel), Cancelled, true, "read cancelled"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Name);
        if (!serial.Plugged(1)) serial.Replug(1);
        comm.SetPortOpen(true);
        Change();
        history.Rows.clear();
        reader.AddFault(row.What.Fault);
        reader.Version = version;
        int steps = 0;
        view.OnProgress = [&] {
            if (++steps == row.What.Step) row.What.Do();
        };
        logView.OnLine = [&] {
            if (Last() == row.What.Line) row.What.Do();
        };
        TestedReader tested;
        EXPECT_EQ(flows.TestAndRestore(tested), row.Result);
        view.OnProgress = {};
        logView.OnLine = {};
        EXPECT_EQ(reader.Registers == changed, row.Whole);
        EXPECT_EQ(tested.Restored(), row.Whole && tested.Tested);
        EXPECT_EQ(tested.WhyNotRestored(), row.WhyNot);
        std::string events;
        for (const HistoryEvent& one : history.Rows)
            events +=
                (events.empty() ? "" : ", ") + std::string(WordOf(one.Action)) + " " + WordOf(one.Outcome);
        EXPECT_EQ(events, row.Events);
        if (row.WhyNot == std::string(another)) {
            EXPECT_EQ(history.Rows[1].Revision, 1) << "nothing was written";
            EXPECT_EQ(history.Rows[1].Reason, another);
        }
        if (!tested.Tested) continue;
        EXPECT_EQ(tested.Passed, history.Rows[0].Outcome == HistoryOutcome::Done);
        ASSERT_EQ(history.Rows[0].Id, tested.Event);
        EXPECT_EQ(history.Rows[0].Before.Image, std::string(changed.begin(), changed.end()));
        EXPECT_EQ(view.Caption, "Test EEPROM");
    }
}

}  // namespace
