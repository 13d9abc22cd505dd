// What the core costs on its own: everything read in virtual time, and a settings file's text.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "FullImage.h"
#include "base/clsMemoryStore.h"
#include "comm/ucCOMM.h"
#include "flows/RecordText.h"
#include "flows/clsConvertTable.h"
#include "flows/clsSettingsFile.h"
#include "settings/modZarn74.h"
#include "sim/clsSimReader.h"
#include "sim/clsSimSerialControl.h"
#include "station/StationWorld.h"
#include "support/clsVirtualHost.h"
#include "system/clsSystemFiles.h"
#include "wire/clsWireRing.h"

namespace {

/// The program's core on a simulated reader, in time that jumps.
struct Machine {
    Machine() {
        Serial.AddLine(/*number=*/1, {.Reader = &Reader, .Description = {}});
        Comm.SetCommPort("COM1");
        Comm.SetMSCommMode(false);
        Settings.Attach(Comm, /*log=*/nullptr);
    }
    clsVirtualHost Host;
    clsSimReader Reader{Host};
    clsSimSerialControl Serial{Host};
    clsMemoryStore Store;
    ucCOMM Comm{Host, Serial, Store, "benchmark"};
    modZarn74 Settings;
};

/// The record of the longest texts.
ZarnInfo FullRecord() {
    Machine machine;
    const auto image = FullImage();
    std::copy(image.begin(), image.end(), machine.Reader.Registers.begin());
    machine.Comm.SetPortOpen(true);
    ZarnInfo record;
    machine.Settings.GetZarnInfo(record, /*quick=*/true);
    return record;
}

void ReadEverything(benchmark::State& state, bool full, bool quick, int exchanges) {
    Machine machine;
    if (full) {
        const auto image = FullImage();
        std::copy(image.begin(), image.end(), machine.Reader.Registers.begin());
    }
    ZarnInfo info;
    for (auto unused : state) {
        machine.Comm.SetPortOpen(true);
        const int before = machine.Reader.FramesReceived();
        const bool good = machine.Settings.GetZarnInfo(info, quick);
        if (!good || machine.Reader.FramesReceived() - before != exchanges) {
            state.SkipWithError(("failed, or not made of the exchanges it should be: " +
                                 std::to_string(machine.Reader.FramesReceived() - before))
                                    .c_str());
            break;
        }
        machine.Comm.SetPortOpen(false);  // the product name is asked for anew
        machine.Host.Run(/*ms=*/1);
        benchmark::DoNotOptimize(info);
    }
    state.counters["exchanges"] = exchanges;
}
BENCHMARK_CAPTURE(ReadEverything, slow, /*full=*/true, /*quick=*/false, /*exchanges=*/468)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ReadEverything, slow_fresh, /*full=*/false, /*quick=*/false, /*exchanges=*/183)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ReadEverything, quick, /*full=*/true, /*quick=*/true, /*exchanges=*/4)
    ->Unit(benchmark::kMillisecond);

void SettingsText(benchmark::State& state) {
    const ZarnInfo record = FullRecord();
    const auto rows = RowsOfRecord(record);
    for (auto unused : state) {
        const std::string text = clsSettingsFile::MakeText(record, rows, /*autoRead=*/false).Text;
        ZarnInfo again;
        clsSettingsParser parser(again);
        parser.Feed(text);
        parser.End();
        if (again.Convert[15].OutputText != record.Convert[15].OutputText ||
            again.OnRemove != record.OnRemove) {
            state.SkipWithError("the text does not give the record back");
            break;
        }
    }
}
BENCHMARK(SettingsText)->Unit(benchmark::kMillisecond);

void SettingsFileSaved(benchmark::State& state) {
    clsSystemFiles system;
    clsSettingsFile file(system);
    const ZarnInfo record = FullRecord();
    const auto rows = RowsOfRecord(record);
    const std::string name = "saved-by-the-benchmark.txt";
    for (auto unused : state) {
        if (!file.SaveInfoFile(name, clsSettingsFile::MakeText(record, rows, /*autoRead=*/false))) {
            state.SkipWithError("it could not be saved here");
            break;
        }
    }
    std::remove(name.c_str());
}
BENCHMARK(SettingsFileSaved)->Unit(benchmark::kMillisecond)->UseRealTime();

void AllDifferences(benchmark::State& state) {
    const ZarnInfo record = FullRecord();
    const ZarnInfo other = AllOther(record);
    for (auto unused : state) {
        if (Differences(record, other).size() != itemCount) {
            state.SkipWithError("not everything differs");
            break;
        }
    }
}
BENCHMARK(AllDifferences)->Unit(benchmark::kMicrosecond);

/// A command and its answer, remembered while nobody looks at the line; per frame.
void FrameKept(benchmark::State& state) {
    Machine machine;
    clsWireRing ring(machine.Host, machine.Comm);
    const std::string command =
        "\x02"
        "BD2\r";
    const std::string reply =
        "\x02"
        "A02A3\r";
    for (auto unused : state) {
        for (int i = 0; i < 500; ++i) {
            machine.Comm.OnMonitorData.Raise(command, /*received=*/false);
            machine.Comm.OnMonitorData.Raise(reply, /*received=*/true);
        }
    }
    if (ring.End() - ring.First() != clsWireRing::smallRows) state.SkipWithError("they were not kept");
}
BENCHMARK(FrameKept)->Unit(benchmark::kMillisecond);

/// Forty units with seven changes each at 19200 baud, one after the other. What it takes is the program's and
/// the simulated readers' time together, for all forty; the rest of a unit is the wire's.
void StationOfForty(benchmark::State& state) {
    constexpr int units = 40;
    constexpr int changes = 7;
    double milliseconds = 0;
    for (auto unused : state) {
        StationWorld world(/*inMemory=*/true);
        world.disk.Contents[StationWorld::profile] =
            "[General]\r\nPrefixHex=49443D\r\nLanguage=2\r\nTagFrequency=1\r\nDelimiter=1\r\n"
            "KeyboardOutput=False\r\nBuzzerEnabled=False\r\nDisplayCardType=False\r\nCardIDNumericSequence="
            "0\r\n";
        if (!world.station.Start(world.options)) state.SkipWithError("the station does not start");
        for (int i = 0; i < units; ++i) {
            world.Plug(world.Make(), 5, /*paced=*/true);
            world.host.Run(4000);
            const StationUnit& last = world.station.Shown().Last;
            if (last.Result != StationResult::Pass || last.Changes.size() != changes)
                state.SkipWithError(("no PASS with so many changes: " + last.Reason + ", " +
                                     std::to_string(last.Changes.size()))
                                        .c_str());
            milliseconds += last.Milliseconds;
            world.Pull(5);
            world.host.Run(500);
        }
    }
    state.counters["wire ms"] = milliseconds / units / static_cast<double>(state.iterations());
}
BENCHMARK(StationOfForty)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
