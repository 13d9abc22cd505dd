#include <gtest/gtest.h>

#include "StationWorld.h"

namespace {

/// Whether the reader's memory is what the profile wants, decoded by itself.
bool Holds(StationWorld& world, clsSimReader& reader) {
    clsSimSerialControl serial(world.host);
    clsMemoryStore store;
    clsSimSerialControl::Line line;
    line.Reader = &reader;
    serial.AddLine(1, line);
    ucCOMM comm(world.host, serial, store, "judge");
    comm.SetMSCommMode(false);
    comm.SetPortOpen(true);
    modZarn74 module;
    module.Attach(comm, nullptr);
    ZarnInfo held;
    const auto faults = reader.Faults();
    reader.ClearFaults();
    EXPECT_TRUE(module.GetZarnInfo(held, /*quick=*/false));
    for (const SimFaultRule& fault : faults) reader.AddFault(fault);
    return Differences(held, world.station.Profile().LaidOver(held)).empty();
}

TEST(Station, AUnitIsReadWrittenProvenAndRecorded) {
    StationWorld world;
    auto& unit = world.Make();
    ASSERT_TRUE(world.station.Start(world.options));
    world.host.Run(100);
    EXPECT_EQ(world.station.Shown().Word(), "READY");
    world.Plug(unit, 5);
    world.host.Run(3000);
    ASSERT_EQ(world.results.size(), 1U) << world.seen;
    EXPECT_EQ(world.results[0].Result, StationResult::Pass) << world.results[0].Reason;
    EXPECT_TRUE(Holds(world, unit.Reader));
    EXPECT_EQ(world.station.Shown().ToDo(), "Unplug it");
    EXPECT_EQ(world.history.Rows.size(), 1U);
    world.Pull(5);
    world.host.Run(100);
    EXPECT_EQ(world.station.Shown().ToDo(), "Plug in a reader");
    EXPECT_EQ(world.station.Shown().Word(), "PASS");
}

TEST(Station, AReaderOnAFixedLineIsSeenComingAndGoing) {
    StationWorld world;
    auto& unit = world.Make();
    world.Plug(unit, 1);
    world.options.Port = "COM1";
    ASSERT_TRUE(world.station.Start(world.options));
    world.host.Run(5000);
    EXPECT_EQ(world.station.Shown().ToDo(), "Remove the reader that is plugged in");
    EXPECT_TRUE(world.results.empty());
    clsSimSerialControl::Line empty;
    world.serial.AddLine(1, empty);
    world.host.Run(1000);
    EXPECT_EQ(world.station.Shown().Word(), "READY");
    world.Plug(unit, 1);
    world.host.Run(5000);
    ASSERT_EQ(world.results.size(), 1U) << world.seen;
    EXPECT_EQ(world.results[0].Result, StationResult::Pass) << world.results[0].Reason;
    world.serial.AddLine(1, empty);
    world.host.Run(1000);
    EXPECT_EQ(world.station.Shown().ToDo(), "Plug in a reader");
}

}  // namespace
