// The whole program below its front ends on a simulated HID reader, as something to measure: one exchange
// over and over, a memory image at the device's pace, an open reader with nothing to do.

#include <QCoreApplication>
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "Exchange.h"
#include "base/clsMemoryStore.h"
#include "comm/ucCOMM.h"
#include "qt/clsQtHost.h"
#include "qt/clsQtSerialControl.h"
#include "sim/hid/clsDemoBus.h"
#include "system/clsHidReaders.h"
#include "system/clsPortList.h"

namespace {

/// All layers, on the device that the words make.
struct Program {
    explicit Program(const std::string& device) : Device(Bus.Plug(device)) {
        Comm.SetMSCommMode(false);
        const auto ports = Comm.HidPorts();
        if (!ports.empty()) Comm.SetCommPort(ports.front().Name);
        Comm.SetPortOpen(!ports.empty());
        if (Device != 0 && Comm.PortOpen()) return;
        std::fprintf(stderr, "hid: %s: cannot be opened\n", device.c_str());
        std::exit(1);
    }
    clsMemoryStore Store;
    clsQtHost Host;
    clsPortList Ports{Store};
    clsQtSerialControl Serial{Host, Ports};
    clsHidReaders Readers{clsHidReaders::Library::Simulated};
    clsDemoBus Bus{Readers.Loader()};
    int Device;  // plugged in before the comm control looks for devices
    ucCOMM Comm{Host, Serial, Store, "benchmark", Readers.Devices(/*notices=*/nullptr)};
};

/// Two images one after the other, in us.
int Image(Program& program) {
    std::array<std::uint8_t, 512> image{};
    const double start = Microseconds(CLOCK_MONOTONIC);
    if (!program.Comm.Dump(image)) return 1;
    std::printf("%.0f\n", Microseconds(CLOCK_MONOTONIC) - start);
    return 0;
}

/// The processor time of so many seconds, in percent of one core.
int Idle(Program& program, int seconds) {
    const double cpu = Microseconds(CLOCK_PROCESS_CPUTIME_ID);
    const double start = Microseconds(CLOCK_MONOTONIC);
    double passed = 0;
    while ((passed = Microseconds(CLOCK_MONOTONIC) - start) < seconds * 1e6) program.Host.WaitEvents(1000);
    std::printf("%.4f\n", 100 * (Microseconds(CLOCK_PROCESS_CPUTIME_ID) - cpu) / passed);
    return program.Comm.PortOpen() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    const int number = words.size() == 3 ? std::atoi(words[2].c_str()) : 0;
    setenv("QT_NO_GLIB", "1", /*overwrite=*/1);  // as zarn74ctl does
    const QCoreApplication application(argc, argv);
    if (words.size() == 3 && number > 0) {
        Program program(words[1]);
        if (words[0] == "exchange") return Exchange(program.Comm, number);
        if (words[0] == "idle") return Idle(program, number);
    } else if (words.size() == 2 && words[0] == "image") {
        Program program(words[1]);
        return Image(program);
    }
    std::fprintf(stderr, "usage: hid exchange DEVICE COUNT | hid idle DEVICE SECONDS | hid image DEVICE\n");
    return 2;
}
