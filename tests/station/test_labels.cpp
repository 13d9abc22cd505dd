#include <gtest/gtest.h>

#include "StationWorld.h"
#include "sim/clsSimBench.h"

namespace {

/// Labels that are typed while another program has the history for itself; one unit has its verdict, the next
/// one waits in line.
struct LockedWorld : StationWorld {
    LockedWorld() {
        options.Labels = StationLabels::Asked;
        EXPECT_TRUE(station.Start(options));
        Plug(Make(), 5);
        Plug(Make(), 6);
        host.Run(3000);
        EXPECT_EQ(results.size(), 1U);
        Pull(5);
        history.SetLocked(true);
    }
    void At(int ms, std::function<void()> what) { host.StartTimer(ms, std::move(what)); }
    LockedWorld& StopAt700() {
        At(700, [this] { station.Stop(); });
        return *this;
    }
    /// What is shown of each unit, as it was shown last, and what stands in the history; and the state.
    [[nodiscard]] std::string Told() const {
        std::map<int, std::string> shown;
        for (const StationUnit& unit : results) shown[unit.Number] = unit.Label;
        std::string text;
        for (const auto& [number, label] : shown) text += std::to_string(number) + "=" + label + " ";
        text += "|";
        for (const HistoryEvent& row : history.Rows) text += " " + row.Label;
        return text + " | " + station.Shown().Word();
    }
};

TEST(StationLabels, ALabelThatWaitsIsItsOwnUnitsAndNobodyElses) {
    constexpr auto notKept = "The label \"A\" was not kept: another program has the history for itself";
    struct Case {
        const char* Name;
        int Locked;  // ms
        std::function<void(LockedWorld&)> Meanwhile;
        const char* Told;
        const char* Notice = "";
    };
    const Case cases[] = {
        {"a moment", 1400, [](LockedWorld&) {}, "1=A 2= | A  | PASS"},
        {"another one, impatiently", 1400,
         [](auto& world) { world.At(700, [&] { world.station.TakeLabel("B"); }); }, "1=A 2= | A  | PASS"},
        {"left out, and answers to no question", 1400,
         [](auto& world) {
             world.At(700, [&] {
                 world.station.SkipLabel();
                 for (const bool yes : {true, false}) world.station.Answer(yes);
             });
         },
         "1=A 2= | A  | PASS"},
        {"stopped", 1400, [](auto& world) { world.StopAt700(); }, "1=A | A | STOPPED"},
        {"stopped twice", 1400,
         [](auto& world) {
             world.StopAt700().At(800, [&] {
                 world.station.Abort();
                 EXPECT_EQ(world.station.Shown().Word(), "STOPPED");
             });
         },
         "1= |  | STOPPED", notKept},
        {"stopped, and started again", 1400,
         [](auto& world) {
             world.StopAt700().At(900, [&] { EXPECT_FALSE(world.station.Start(world.options)); });
             world.At(1600, [&] { EXPECT_TRUE(world.station.Start(world.options)); });
         },
         "1=A | A | READY"},
        {"long: the next unit does not wait for ever", 5000,
         [](auto& world) {
             world.At(1900, [&] { EXPECT_EQ(world.station.Shown().State, StationState::Waiting); });
             world.At(2500, [&] {
                 EXPECT_EQ(world.station.Shown().State, StationState::Working);
                 EXPECT_EQ(world.results.back().Label, "");
             });
         },
         "1=A 2= | A  | PASS", "The label \"A\" is kept now"},
        {"long, and both units are given one", 9000,
         [](auto& world) {
             world.At(6000, [&] {
                 EXPECT_EQ(world.station.Shown().LateLabels, 1);
                 world.station.TakeLabel("A");
                 EXPECT_EQ(world.station.Shown().Question, StationQuestion::LabelUsedToday);
                 world.station.Answer(/*yes=*/false);
                 world.station.TakeLabel("B");
             });
         },
         "1=A 2=B | A B | PASS", "The label \"B\" is kept now"},
        {"stopped, and it stays locked", 60'000,
         [](auto& world) {
             world.StopAt700().At(10'600, [&] {
                 EXPECT_EQ(world.station.Shown().ToDo(), "Wait: another program has the history for itself");
             });
             world.At(10'900, [&] { EXPECT_EQ(world.station.Shown().Word(), "STOPPED"); });
         },
         "1= |  | STOPPED", notKept},
        {"the disk is full by then", 1400,
         [](auto& world) { world.At(700, [&] { world.history.Broken = "disk full"; }); }, "1= 2= |  | PASS"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.Name);
        std::string notices;
        LockedWorld world;
        world.OnShow = [&] { notices += world.station.Shown().Notice + "\n"; };
        world.At(test.Locked, [&] { world.history.SetLocked(false); });
        test.Meanwhile(world);
        world.station.TakeLabel("A");
        EXPECT_EQ(world.station.Shown().LabelWaits, true);
        world.host.Run(70'000);
        EXPECT_EQ(world.Told(), test.Told);
        EXPECT_NE(notices.find(test.Notice), std::string::npos) << notices;
    }
}

// A unit that is recorded has no label that is not; one that is in memory only has it there.
TEST(StationLabels, ALabelThatCannotBeKeptIsSaidAndNotShown) {
    for (const bool recorded : {true, false}) {
        StationWorld world;
        world.options.Labels = StationLabels::Asked;
        if (!recorded) world.history.Broken = "disk full";
        ASSERT_TRUE(world.station.Start(world.options));
        world.station.Answer(/*yes=*/true);
        world.Plug(world.Make(), 5);
        world.host.Run(3000);
        world.history.Broken = "disk full";
        world.station.TakeLabel("A");
        EXPECT_FALSE(world.station.Shown().LabelAsked);
        EXPECT_EQ(world.results.back().Recorded, recorded);
        EXPECT_EQ(world.results.back().Label, recorded ? "" : "A");
        EXPECT_EQ(world.station.Units().back().Label, recorded ? "" : "A");
        EXPECT_EQ(world.station.Shown().Notice, recorded ? "The label \"A\" was not kept: disk full" : "");
    }
}

// Its row is still on its way when the label comes.
TEST(StationLabels, AUnitWhoseRowWaitsGetsItsLabelWithIt) {
    for (const int locked : {1000, 2500, 6000}) {
        SCOPED_TRACE(locked);
        StationWorld world;
        world.options.Labels = StationLabels::Asked;
        ASSERT_TRUE(world.station.Start(world.options));
        world.host.StartTimer(100, [&] { world.history.SetLocked(true); });
        world.host.StartTimer(locked, [&] { world.history.SetLocked(false); });
        world.host.StartTimer(3500, [&] { world.station.TakeLabel("A"); });
        world.Plug(world.Make(), 5, /*paced=*/true);
        world.host.Run(9000);
        ASSERT_EQ(world.history.Rows.size(), 1U);
        EXPECT_EQ(world.history.Rows[0].Outcome, HistoryOutcome::Done);
        EXPECT_EQ(world.history.Rows[0].Label, "A");
        EXPECT_EQ(world.results.back().Label, "A");
        EXPECT_TRUE(world.results.back().Recorded) << "it was not when its verdict was said";
        EXPECT_EQ(world.station.Shown().LateLabels, 0);
    }
}

// Who thinks about a label while the next reader waits in line, longer than the bench leaves it there.
TEST(StationLabels, ASlowPersonGetsEveryReaderOfTheBench) {
    StationWorld world;
    clsSimBench bench(world.host, world.serial, /*line=*/5, /*units=*/3, /*bad=*/3,
                      [&](bool arrived, const std::string& port) {
                          (arrived ? world.notices.OnDeviceArrival : world.notices.OnDeviceRemoveComplete)
                              .Raise(DeviceNoticePort, port);
                      });
    world.options.Labels = StationLabels::Asked;
    world.options.Count = 3;
    ASSERT_TRUE(world.station.Start(world.options));
    bench.Begin();
    Texts reasons;
    for (int i = 0; i < 9; ++i) {
        world.host.Run(20'000);
        if (!world.station.Shown().LabelAsked) continue;
        reasons.push_back(world.results.back().Reason);
        world.station.TakeLabel("U-" + std::to_string(i));
    }
    EXPECT_EQ(world.station.Shown().Word(), "STOPPED");
    ASSERT_EQ(reasons.size(), 3U);
    EXPECT_TRUE(reasons[0].starts_with("second attempt; not kept")) << reasons[0];
    EXPECT_TRUE(reasons[1].starts_with("writing: Set")) << reasons[1];
    EXPECT_TRUE(reasons[2].starts_with("pulled out while writing")) << reasons[2];
}

// Closing an adapter waits for its answer. Who sees a station stopped may destroy it, or start the next one.
TEST(StationEnd, ItIsNotStoppedBeforeItsPortIsClosed) {
    for (const bool pausing : {false, true}) {
        StationWorld world;
        auto& unit = world.Make();
        world.hid.Plug(unit.Adapter);
        world.options.Port = world.hid.Name();
        world.options.StartWithPlugged = true;
        ASSERT_TRUE(world.station.Start(world.options));
        world.host.Run(5000);
        ASSERT_EQ(world.results.size(), 1U);
        int inside = 0;
        bool closing = true;
        for (int ms = 1; ms < 60; ++ms) {
            world.host.StartTimer(ms, [&] {
                if (!closing) return;
                ++inside;
                world.station.Stop();
                EXPECT_NE(world.station.Shown().State, StationState::Stopped);
                EXPECT_FALSE(world.station.Start(world.options));
            });
        }
        pausing ? world.station.Pause() : world.station.Stop();
        closing = false;
        EXPECT_GT(inside, 0);
        EXPECT_EQ(world.station.Shown().State, StationState::Stopped);
        EXPECT_FALSE(world.comm.PortOpen());
    }
}

}  // namespace
