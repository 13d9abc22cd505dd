#include <gtest/gtest.h>

#include <set>

#include "StationWorld.h"

namespace {

using enum StationResult;

/// What the reader's memory holds, decoded by itself.
bool Holds(StationWorld& world, const clsSimReader& read) {
    clsSimReader reader(world.host);
    reader.Registers = read.Registers;
    clsSimSerialControl serial(world.host);
    clsSimSerialControl::Line line;
    line.Reader = &reader;
    serial.AddLine(1, line);
    clsMemoryStore store;
    ucCOMM comm(world.host, serial, store, "judge");
    comm.SetMSCommMode(false);
    comm.SetPortOpen(true);
    modZarn74 module;
    module.Attach(comm, nullptr);
    ZarnInfo held;
    EXPECT_TRUE(module.GetZarnInfo(held, /*quick=*/false));
    return Differences(held, world.station.Profile().LaidOver(held)).empty();
}

// Every kind of fault, with what has to come of it where that is one thing.
struct FaultCase {
    const char* Fault;
    StationResult Result;
    bool Second = false;
};
const FaultCase faults[] = {
    {"", Pass},
    {"dropped-write", Fail, true},
    {"dropped-write register=160", Fail, true},
    {"dropped-write register=160 once", Pass, true},
    {"dropped-write register=162 once", Pass, true},
    {"refuse-code value=3 command=C register=161", Fail},
    {"refuse-code value=3 command=C skip=1", Fail},
    {"refuse-busy once command=C", Pass},
    {"refuse-busy command=C", Fail},
    {"no-answer command=C skip=2", Fail},
    {"no-answer command=Y", Fail},
    {"no-answer skip=1", Fail},
    {"no-answer skip=5", Fail},
    {"no-answer skip=10", NotProven},
    {"no-answer command=V", Fail},
    {"short-dump value=100 once", Pass},
    {"different-dumps value=300", Pass},
    {"wrong-checksum", Pass},
    {"truncated-reply command=V", Fail},
    {"trickled-reply value=3", Pass},
    {"garbage-before-stx command=C", Pass},
    {"late-reply value=300", Pass},
    {"late-reply value=300 command=C once", Pass},
};

class StationFaults : public testing::TestWithParam<bool> {};

// The verdict is what the memory holds, the row is one, nothing is written twice that was kept.
TEST_P(StationFaults, EachUnitHasOneRowAndTheVerdictOfItsMemory) {
    StationWorld world;
    ASSERT_TRUE(world.station.Start(world.options));
    std::size_t rows = 0;
    for (int i = 0; i < 46; ++i) {
        const FaultCase& test = faults[static_cast<std::size_t>(i) % std::size(faults)];
        SCOPED_TRACE(test.Fault);
        auto& unit = world.Make();
        if (i % 3 == 1) unit.Reader.SetRegister(209, 6);
        if (GetParam()) unit.Reader.SetRegister(209, 3);
        unit.Fault(test.Fault);
        std::map<std::string, int> writes;
        const auto onFrame = unit.Reader.OnFrame.Connect([&](const std::string& frame, bool received) {
            if (received && frame[1] == 'C') ++writes[frame];
        });
        GetParam() ? world.hid.Plug(unit.Adapter) : world.Plug(unit, 5);
        world.host.Run(60'000);
        ASSERT_EQ(world.history.Rows.size(), ++rows) << world.view.Lines.size();
        ASSERT_EQ(world.results.size(), rows);
        const StationUnit& result = world.results.back();
        EXPECT_EQ(result.Result, test.Result) << result.Reason;
        EXPECT_EQ(result.SecondAttempt, test.Second) << result.Reason;
        EXPECT_EQ(result.Reason.empty(), result.Result == Pass && !test.Second) << result.Reason;
        EXPECT_EQ(world.history.Rows.back().Outcome == HistoryOutcome::Done, result.Result == Pass);
        const bool retried = std::string(test.Fault).find("command=C") != std::string::npos;
        for (const auto& [frame, count] : writes) {
            if (!test.Second && !retried && test.Result == Pass) {
                EXPECT_EQ(count, 1) << frame;
            }
        }
        if (result.Result == Pass) {
            EXPECT_TRUE(Holds(world, unit.Reader));
        }
        if (test.Second && result.Result == Fail) {
            EXPECT_FALSE(Holds(world, unit.Reader));
        }
        GetParam() ? world.hid.Pull() : world.Pull(5);
        world.host.Run(500);
    }
    EXPECT_EQ(world.station.Shown().Counters.Units, 46);
    EXPECT_TRUE(world.view.Notices.empty()) << world.view.Notices.front();
}

// Out at any moment: one row, never a PASS that the memory does not hold; in again it begins anew.
TEST_P(StationFaults, AUnitPulledOutAtAnyMomentHasOneRowAndBeginsAnew) {
    std::set<std::string> reasons;
    for (int ms = 1; ms < 2400; ms += ms < 500 ? 97 : 61) {
        SCOPED_TRACE(ms);
        StationWorld world;
        ASSERT_TRUE(world.station.Start(world.options));
        auto& unit = world.Make();
        GetParam() ? world.hid.Plug(unit.Adapter) : world.Plug(unit, 5, /*paced=*/true);
        // By a timer: the work on a unit runs inside the host's handlers.
        world.host.StartTimer(ms, [&] { GetParam() ? world.hid.Pull() : world.Pull(5); });
        world.host.Run(8000);
        const std::size_t rows = world.history.Rows.size();
        EXPECT_EQ(world.results.size(), rows);
        EXPECT_LE(rows, 1U);
        if (ms > 60 || GetParam()) {
            EXPECT_EQ(rows, 1U) << world.seen;
        }
        for (const StationUnit& result : world.results) {
            reasons.insert(result.Reason.substr(0, result.Reason.find(';')));
            if (result.Result == Pass) {
                EXPECT_TRUE(Holds(world, unit.Reader));
            }
        }
        GetParam() ? world.hid.Plug(unit.Adapter) : world.Plug(unit, 5);
        world.host.Run(6000);
        ASSERT_EQ(world.history.Rows.size(), rows + 1);
        EXPECT_EQ(world.results.back().Result, Pass) << world.results.back().Reason;
    }
    for (const char* reason :
         {"pulled out while reading", "pulled out while writing", "pulled out while reading back"})
        if (!GetParam()) {
            EXPECT_TRUE(reasons.contains(reason)) << reason;
        }
}

INSTANTIATE_TEST_SUITE_P(Station, StationFaults, testing::Bool(),
                         [](const auto& kind) { return kind.param ? "Hid" : "Serial"; });

TEST(Station, AVerdictStandsUntilTheNextUnitBeginsAndNothingIsDoneTwice) {
    StationWorld world;
    auto& first = world.Make();
    auto& second = world.Make();
    auto& there = world.Make();
    world.Plug(there, 9);  // before the start: left alone
    ASSERT_TRUE(world.station.Start(world.options));
    world.host.Run(3000);
    EXPECT_EQ(world.station.Shown().Word(), "READY");
    world.Plug(first, 5);
    world.host.StartTimer(20, [&] { world.Plug(second, 6); });
    world.host.Run(5000);
    EXPECT_EQ(world.station.Shown().ToDo(), "Unplug it");
    ASSERT_EQ(world.station.Shown().Queue.size(), 1U);
    EXPECT_EQ(world.station.Shown().Queue[0].Port, "COM6");
    EXPECT_EQ(world.results.size(), 1U);
    world.Pull(5);
    world.host.Run(5000);
    EXPECT_EQ(world.results.size(), 2U);
    world.Pull(6);
    world.host.Run(100);
    EXPECT_EQ(world.station.Shown().Word(), "PASS");
    EXPECT_EQ(world.station.Shown().ToDo(), "Plug in a reader");
    world.station.Pause();
    world.host.Run(10);
    EXPECT_EQ(world.station.Shown().Word(), "PAUSED");
    world.Plug(first, 7);
    world.station.Resume();
    world.host.Run(5000);
    EXPECT_EQ(world.results.size(), 2U);
    world.Pull(7);
    world.Plug(first, 7);
    world.host.Run(5000);
    EXPECT_EQ(world.results.size(), 3U);
    EXPECT_EQ(world.results.back().Changes.size(), 0U);  // right already
    world.Pull(9);
    world.Pull(7);
    world.Plug(there, 9);
    world.host.Run(5000);
    EXPECT_EQ(world.results.size(), 4U);
    EXPECT_EQ(world.beeps, (std::vector<int>{1, 1, 1, 1}));
    EXPECT_TRUE(world.flows.Picture().Known());
    world.history.ShowNotice("not kept");
    world.station.Stop();
    EXPECT_EQ(world.station.Shown().State, StationState::Stopped);
    EXPECT_FALSE(world.flows.Picture().Known()) << "nobody knows what the next one holds";
    EXPECT_EQ(world.flows.LastSeen().Event(), std::nullopt);
    world.history.ShowNotice("not kept either");
    EXPECT_EQ(world.view.Notices, (Texts{"not kept", "not kept either"}));
}

TEST(Station, SilenceIsAFailureOnlyWhereThereIsAReaderForSure) {
    StationWorld world;
    auto& unit = world.Make();
    unit.Reader.AddFault({SimFault::NoAnswer});
    ASSERT_TRUE(world.station.Start(world.options));
    world.Plug(unit, 5);
    world.host.Run(4200);
    EXPECT_EQ(world.station.Shown().Notice, "COM5: nothing answers behind this adapter");
    EXPECT_TRUE(world.results.empty() && world.beeps.empty() && world.history.Rows.empty());
    world.own = "COM6";
    world.Plug(unit, 6);
    world.host.Run(4200);
    world.Pull(6);
    world.hid.Plug(unit.Adapter);
    world.host.Run(6000);
    ASSERT_EQ(world.results.size(), 2U);
    EXPECT_EQ(world.results[0].ShortPort, "COM6");
    EXPECT_EQ(world.results[1].ShortPort, "HID1");
    EXPECT_EQ(world.station.Shown().Port, "HID1");
    EXPECT_TRUE(world.history.Rows.back().Port.starts_with(world.hid.Name()));
    world.hid.Pull();
    EXPECT_EQ(world.station.Shown().Last.ShortPort, "HID1");
    EXPECT_EQ(world.results[0].Reason, "it does not answer");
    EXPECT_EQ(world.results[1].Reason, "it does not answer");
    EXPECT_EQ(world.history.Rows.size(), 2U);
}

TEST(Station, AFixedLineIsPolledWithoutALineInTheLog) {
    StationWorld world;
    auto& unit = world.Make();
    world.Plug(unit, 1);
    world.options.Port = "COM1";
    ASSERT_TRUE(world.station.Start(world.options));
    const std::size_t lines = world.view.Lines.size();
    const clsSimSerialControl::Line empty;
    world.host.Run(5000);
    EXPECT_EQ(world.station.Shown().ToDo(), "Remove the reader that is plugged in");
    world.serial.AddLine(1, empty);
    world.host.Run(1000);
    EXPECT_EQ(world.station.Shown().Word(), "READY");
    EXPECT_EQ(world.view.Lines.size(), lines);
    for (const char* fault : {"", "late-reply value=350", "trickled-reply value=2", "no-answer skip=6"}) {
        SCOPED_TRACE(fault);
        auto& next = world.Make();
        if (*fault == 'n') next.Reader.SetRegister(209, 7);
        next.Fault(fault);
        const std::size_t before = world.results.size();
        world.Plug(next, 1);
        world.host.Run(60'000);
        ASSERT_EQ(world.results.size(), before + 1) << world.results.back().Reason;
        EXPECT_EQ(world.results.back().Result, *fault == 'n' ? Fail : Pass) << world.results.back().Reason;
        if (*fault != 'n') {
            EXPECT_TRUE(Holds(world, next.Reader));
        }
        world.serial.AddLine(1, empty);
        world.host.Run(1000);
        EXPECT_EQ(world.station.Shown().ToDo(), "Plug in a reader");
    }
}

TEST(Station, AProfileThatDoesNotFitTheFirmwareIsRefusedWithTheVersionNeeded) {
    StationWorld world;
    auto& unit = world.Make();
    unit.Reader.Version = "V1.01R003,FWQ-K3861";
    ZarnInfo wanted;
    wanted.TagFrequency = 1;
    world.disk.Contents[StationWorld::profile] = clsSettingsFile::MakeText(wanted, {}, false).Text;
    ASSERT_TRUE(world.station.Start(world.options));
    world.Plug(unit, 5);
    world.host.Run(3000);
    ASSERT_EQ(world.results.size(), 1U);
    EXPECT_EQ(world.results[0].Result, Fail);
    EXPECT_NE(world.results[0].Reason.find("Needs firmware V1.02R002"), std::string::npos)
        << world.results[0].Reason;
    EXPECT_EQ(unit.Reader.FramesReceived('C'), 0);
}

TEST(Station, CheckingOnlyWritesNothing) {
    for (const char* fault : {"", "short-dump value=100"}) {
        StationWorld world;
        auto& unit = world.Make();
        unit.Fault(fault);
        world.options.CheckOnly = true;
        ASSERT_TRUE(world.station.Start(world.options));
        world.Plug(unit, 5);
        world.host.Run(20'000);
        ASSERT_EQ(world.results.size(), 1U);
        EXPECT_EQ(world.results[0].Result, Fail);
        EXPECT_EQ(world.results[0].Reason, "it differs from the profile");
        EXPECT_EQ(world.results[0].Changes.size(), 2U);
        EXPECT_EQ(unit.Reader.FramesReceived('C'), 0);
    }
}

TEST(Station, NoRowThatSaysOtherwiseIsAPass) {
    StationWorld world;
    const clsStationProfile profile = world.station.CheckProfile(StationWorld::profile);
    HistoryEvent good;
    good.Outcome = HistoryOutcome::Done;
    good.After.Settings = world.disk.Contents[StationWorld::profile];
    EXPECT_EQ(profile.Judge(good).Result, Pass);
    for (int i = 0; i < 6; ++i) {
        HistoryEvent row = good;
        if (i == 0) row.Outcome = HistoryOutcome::Differs;
        if (i == 1) row.After.Settings.clear();
        if (i == 2) row.After.Settings = clsSettingsFile::MakeText({}, {}, false).Text;
        if (i == 3) row.Changes = {{"Prefix", "160", "", "ID=", "", std::nullopt}};
        if (i == 4) row.Outcome = HistoryOutcome::NotProven;
        if (i == 5) row.Outcome = HistoryOutcome::Begun;
        EXPECT_NE(profile.Judge(row).Result, Pass) << i;
    }
}

TEST(Station, WithoutAHistoryThatCanBeWrittenItAsksFirst) {
    StationWorld world;
    world.history.Broken = "disk full";
    auto& unit = world.Make();
    ASSERT_TRUE(world.station.Start(world.options));
    EXPECT_EQ(world.station.Shown().Question, StationQuestion::NotRecorded);
    world.Plug(unit, 5);
    world.host.Run(3000);
    EXPECT_TRUE(world.results.empty());
    world.station.Answer(/*yes=*/true);
    world.host.Run(3000);
    ASSERT_EQ(world.results.size(), 1U);
    EXPECT_EQ(world.results[0].Result, Pass);
    EXPECT_FALSE(world.results[0].Recorded);
}

TEST(Station, ALabelIsAskedForAndAskedAboutWhenItIsOdd) {
    StationWorld world;
    world.options.Labels = StationLabels::Asked;
    ASSERT_TRUE(world.station.Start(world.options));
    auto next = [&, port = 5]() mutable {
        auto& unit = world.Make();
        world.Plug(unit, ++port);
        world.host.Run(3000);
        world.Pull(port);
        world.host.Run(10);
    };
    next();
    EXPECT_TRUE(world.station.Shown().LabelAsked);
    world.station.TakeLabel("ID=04A1B2C3\r");
    EXPECT_EQ(world.station.Shown().Question, StationQuestion::LabelOdd);
    next();  // waits for the label
    EXPECT_EQ(world.results.size(), 1U);
    world.station.Answer(/*yes=*/false);
    const std::string name(labelLimit, 'n');
    world.station.TakeLabel(name + "x");
    world.host.Run(3000);
    ASSERT_EQ(world.history.Rows.size(), 1U);
    EXPECT_EQ(world.history.Rows[0].Label, name) << "as much as is kept of it anywhere";
    next();
    world.station.TakeLabel(name);
    EXPECT_EQ(world.station.Shown().Question, StationQuestion::LabelUsedToday);
    world.station.Answer(/*yes=*/true);
    world.host.Run(10);
    EXPECT_EQ(world.history.Rows.back().Label, name);
    world.station.Stop();
    world.options.Labels = StationLabels::Running;
    world.options.LabelPattern = "A-{0009}";
    ASSERT_TRUE(world.station.Start(world.options));
    next();
    next();
    EXPECT_EQ(world.results.back().Label, "A-0010");
}

// What the wire and the adapter take, and hardly more: no question is asked twice.
TEST(Station, AUnitTakesTheTimeOfItsBytes) {
    for (const bool hid : {false, true}) {
        StationWorld world;
        ASSERT_TRUE(world.station.Start(world.options));
        auto& unit = world.Make();
        std::size_t bytes = 0;
        int reports = 0;
        world.OnShow = [&] {
            if (world.results.empty()) reports = world.hid.Reports();
        };
        std::string letters;
        const auto onBytes =
            world.comm.OnMonitorData.Connect([&](const std::string& some, bool) { bytes += some.size(); });
        const auto onFrame = unit.Reader.OnFrame.Connect([&](const std::string& frame, bool received) {
            if (received) letters += frame[1];
        });
        hid ? world.hid.Plug(unit.Adapter) : world.Plug(unit, 5, /*paced=*/true);
        world.host.Run(10'000);
        ASSERT_EQ(world.results.size(), 1U);
        EXPECT_EQ(world.results[0].Result, Pass);
        EXPECT_EQ(letters, "DYYV" + std::string(5, 'C') + "YYV");
        const double ms = world.results[0].Milliseconds;
        const double wire = static_cast<double>(bytes) * 10 * 1000 / 19200;
        // An adapter needs 150 ms once it is open, and 50 before each of its two questions.
        EXPECT_LE(ms, hid ? 250 + reports * 1.1 : wire * 1.1) << reports << " reports";
    }
}

TEST(Station, WhatLooksLikeACardIdIsKnown) {
    const auto looks = [](const char* text) { return StationLabel::LooksLikeCardId(text, "\x02ID=", "#\r"); };
    for (const char* text : {"04A1B2C3", "04a1b2c3d4", "04A1B2C3D4E5F6", "0123456789", "01234567890123",
                             "012345678901234567", "ID=04A1B2C3#", "ID=04A1B2C3"})
        EXPECT_TRUE(looks(text)) << text;
    for (const char* text :
         {"", "A-0001", "04A1B2C", "04A1B2C3D", "012345678901", "04A1B2C3D4E5F6A7B8", "04A1B2CG"})
        EXPECT_FALSE(looks(text)) << text;
}

}  // namespace
