// The whole program below its front ends on a real line, as something to measure: one exchange over and over,
// or a read of everything. Also gives the image and the exchanges that the others of the benchmarks are to
// use.

#include <QCoreApplication>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "Exchange.h"
#include "FullImage.h"
#include "base/clsMemoryStore.h"
#include "comm/ucCOMM.h"
#include "qt/clsQtHost.h"
#include "qt/clsQtSerialControl.h"
#include "settings/modZarn74.h"
#include "system/clsPortList.h"

namespace {

/// All layers, on the line behind a device file.
struct Program {
    explicit Program(const std::string& device) : Serial(Host, (Ports.AddDevice(device), Ports)) {
        Comm.SetMSCommMode(false);
        Comm.SetCommPort(Ports.AddDevice(device));
        Comm.SetPortOpen(true);
        if (!Comm.PortOpen()) {
            std::fprintf(stderr, "line: %s: %s\n", device.c_str(), Serial.LastFailure().Text().c_str());
            std::exit(1);
        }
    }
    clsMemoryStore Store;
    clsQtHost Host;
    clsPortList Ports{Store};
    clsQtSerialControl Serial;
    ucCOMM Comm{Host, Serial, Store, "benchmark"};
};

/// A read of everything: how long it took and its processor time in us, the bytes on the line, the frames;
/// then each frame's command on a line of its own.
int Read(Program& program, bool quick) {
    std::vector<std::string> frames;
    std::size_t bytes = 0;
    const auto counting = program.Comm.OnMonitorData.Connect([&](const std::string& data, bool received) {
        bytes += data.size();
        if (!received) frames.push_back(data.substr(1, data.size() - 2));
    });
    modZarn74 settings;
    settings.Attach(program.Comm, /*log=*/nullptr);
    ZarnInfo info;
    const double cpu = Microseconds(CLOCK_PROCESS_CPUTIME_ID);
    const double start = Microseconds(CLOCK_MONOTONIC);
    const bool good = settings.GetZarnInfo(info, quick);
    const double took = Microseconds(CLOCK_MONOTONIC) - start;
    const double used = Microseconds(CLOCK_PROCESS_CPUTIME_ID) - cpu;
    if (!good || !info.Valid) return 1;
    std::printf("%.0f %.0f %zu %zu\n", took, used, bytes, frames.size());
    for (const auto& frame : frames) std::printf("%s\n", frame.c_str());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() == 1 && words[0] == "image") {
        const auto image = FullImage();
        return std::fwrite(image.data(), 1, image.size(), stdout) == image.size() ? 0 : 1;
    }
    setenv("QT_NO_GLIB", "1", /*overwrite=*/1);  // as zarn74ctl does
    const QCoreApplication application(argc, argv);
    if (words.size() == 3 && words[0] == "exchange" && std::atoi(words[2].c_str()) > 0) {
        Program program(words[1]);
        return Exchange(program.Comm, std::atoi(words[2].c_str()));
    }
    if (words.size() == 3 && words[0] == "read" && (words[2] == "slow" || words[2] == "quick")) {
        Program program(words[1]);
        return Read(program, words[2] == "quick");
    }
    std::fprintf(stderr, "usage: line image | line exchange DEVICE COUNT | line read DEVICE slow|quick\n");
    return 2;
}
