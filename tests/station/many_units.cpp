// Unit after unit for as long as one likes: each with its verdict, in memory that does not grow.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>

#include "StationWorld.h"

namespace {

std::size_t Descriptors() {
    const std::filesystem::directory_iterator first("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(first), end(first)));
}

long ResidentKiB() {
    long size = 0;
    long resident = 0;
    std::ifstream statm("/proc/self/statm");
    statm >> size >> resident;
    return resident * sysconf(_SC_PAGESIZE) / 1024;
}

int Run(int units) {
    constexpr int settled = 1500;   // by then the list of units is full
    constexpr long mayGrow = 1024;  // KiB
    StationWorld world(/*inMemory=*/true);
    if (!world.station.Start(world.options)) return 1;
    long before = 0;
    std::size_t descriptors = 0;
    for (int i = 1; i <= units; ++i) {
        if (i == settled) {
            before = ResidentKiB();
            descriptors = Descriptors();
        }
        const bool hid = i % 2 == 0;
        const bool bad = i % 7 == 0;
        auto& unit = world.Make();
        if (bad) unit.Reader.AddFault({SimFault::DroppedWrite});
        hid ? world.hid.Plug(unit.Adapter) : world.Plug(unit, 5);
        world.host.Run(4000);
        const StationShown& shown = world.station.Shown();
        const auto wanted = bad ? StationResult::Fail : StationResult::Pass;
        if (shown.Counters.Units != i || shown.Last.Result != wanted) {
            std::printf("unit %d: %s, %s\n", i, shown.Word().c_str(), shown.Last.Reason.c_str());
            return 1;
        }
        hid ? world.hid.Pull() : world.Pull(5);
        world.host.Run(500);
        world.serial.AddLine(5, {});
        world.units.clear();
        world.view.Lines.clear();
        world.results.clear();
        world.beeps.clear();
        world.seen.clear();
    }
    const long grown = ResidentKiB() - before;
    std::printf("%d units, %ld KiB more than after %d, %zu descriptors\n", units, grown, settled,
                Descriptors());
    return grown <= mayGrow && Descriptors() == descriptors ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc > 1 ? std::atoi(argv[1]) : 3000);
    } catch (const std::exception& error) {
        std::puts(error.what());
        return 1;
    }
}
