// The window as something to measure: its log line by line, how long its loop stands still while it works,
// and a read of everything through it.

#include <unistd.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeView>
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "FullImage.h"
#include "base/clsMemoryStore.h"
#include "flows/RecordText.h"
#include "qt/clsQtHost.h"
#include "qt/clsQtSerialControl.h"
#include "sim/clsSimReader.h"
#include "sim/clsSimSerialControl.h"
#include "system/clsPortList.h"
#include "system/clsSystemFiles.h"
#include "window/clsComparison.h"
#include "window/clsKeyState.h"
#include "window/clsLogView.h"
#include "window/frmMain.h"

namespace {

constexpr double million = 1e6;

double ProcessorTime() {
    timespec at{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &at);
    return static_cast<double>(at.tv_sec) * million + static_cast<double>(at.tv_nsec) / 1e3;
}

/// ms that this thread was ready to run and another one ran; 0 where the kernel does not tell.
double WaitedForProcessor() {
    double ran = 0;
    double waited = 0;
    std::ifstream("/proc/thread-self/schedstat") >> ran >> waited;
    return waited / million;
}

double ResidentMiB() {
    long pages = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1048576.0;
}

/// The processor time of a line in us, the loop turning after each and every `pause` us, without what the
/// turning itself takes; then the memory in MiB after a fifth, a half and all of the lines.
int Log(int lines, int pause) {
    const auto turn = [pause] {
        QElapsedTimer timer;
        timer.start();
        do {
            QApplication::processEvents(pause > 0 ? QEventLoop::WaitForMoreEvents : QEventLoop::AllEvents);
        } while (timer.nsecsElapsed() < pause * 1000);
    };
    QTimer clock;  // lets the loop wait without an end of its own
    clock.start(1);
    clsLogView view;
    view.resize(800, 300);
    view.show();
    QApplication::processEvents();
    const double idleStart = ProcessorTime();
    for (int i = 0; i < lines; ++i) turn();
    const double idle = ProcessorTime() - idleStart;
    std::vector<double> memory;
    const double start = ProcessorTime();
    for (int i = 0; i < lines; ++i) {
        view.AppendLine("14:03:07 - ", "Step 12.00 - GetDelimiter OK", LogColor::Blue);
        turn();
        if (i + 1 == lines / 5 || i + 1 == lines / 2 || i + 1 == lines) memory.push_back(ResidentMiB());
    }
    std::printf("%.1f %.1f %.1f %.1f\n", (ProcessorTime() - start - idle) / lines, memory.at(0), memory.at(1),
                memory.at(2));
    return 0;
}

/// The window on a serial control.
struct Program {
    Program(clsQtHost& host, clsISerialControl& serial, clsISettingsStore& store)
        : Comm(host, serial, store, "benchmark"),
          Window({host, Comm, Settings, Files, store, KeyNames}, {"", "", DefaultFile, ""},
                 /*bench=*/true) {
        Window.MessageBoxDoor = [](const QString& text) { std::fprintf(stderr, "%s\n", qPrintable(text)); };
        Window.show();
    }
    [[nodiscard]] QPushButton& Button(const char* name) const {
        return *Window.findChild<QPushButton*>(name);
    }

    const std::string DefaultFile = ZARN74_DEFAULT_INI;
    clsSystemFiles Files;
    clsKeyState Keys;
    clsScanNames Names;
    modKeyboard KeyNames{Keys, Names};
    modZarn74 Settings;
    ucCOMM Comm;
    frmMain Window;
};

/// For every flow its name, the largest gap of a 5 ms timer while it runs, and the largest without the time
/// that others held the processor, in ms.
int Gaps(bool paced) {
    clsQtHost host;
    clsMemoryStore store;
    clsSimReader reader(host);
    const auto image = FullImage();
    std::copy(image.begin(), image.end(), reader.Registers.begin());
    if (paced) reader.Registers[209] = 0;  // 2400 baud
    reader.PowerUp();
    reader.PlaceCard({1, "04A1B2C3"});
    clsSimSerialControl serial(host);
    clsSimSerialControl::Line line;
    line.Reader = &reader;
    line.Paced = paced;
    if (paced) line.OnlyBaud = reader.LineSpeed();
    serial.AddLine(1, line);
    Program program(host, serial, store);

    QElapsedTimer since;
    double waited = 0;
    double largest = 0;
    double own = 0;
    const auto tick = [&] {
        const double now = WaitedForProcessor();
        const double gap = static_cast<double>(since.nsecsElapsed()) / million;
        largest = std::max(largest, gap);
        own = std::max(own, gap - (now - waited));
        since.restart();
        waited = now;
    };
    QTimer ticks;
    ticks.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticks, &QTimer::timeout, tick);
    ticks.start(5);
    const auto run = [&](const char* name, const char* button) {
        for (int i = 0; i < 20; ++i) host.WaitEvents(5);
        tick();
        largest = own = 0;
        program.Button(button).click();
        tick();
        std::printf("%s %.1f %.1f\n", name, largest, own);
    };
    run("scan", "cmdAutoScan");
    run("read", "cmdShowZarn74");
    run("default", "cmdInitialize");
    program.Window.findChild<QCheckBox*>("chkQuickMode")->setChecked(false);
    run("slow-read", "cmdShowZarn74");
    run("write-all", "cmdApply");
    program.Window.findChild<QCheckBox*>("chkQuickMode")->setChecked(true);
    run("write-changed", "cmdApply");
    run("card", "cmdReadCardInfo");
    run("test", "cmdTest");
    return 0;
}

/// A slow read of everything through the visible window: us from the click until the controls are back, of
/// these the processor's, and the frames sent.
/// With the traffic shown where that is `open`.
int Read(const std::string& device, bool open) {
    clsQtHost host;
    clsMemoryStore store;
    clsPortList ports(store);
    const std::string name = ports.AddDevice(device);
    clsQtSerialControl serial(host, ports);
    Program program(host, serial, store);
    program.Comm.SetCommPort(name);
    program.Comm.SetPortOpen(true);
    program.Window.Flows().ButtonsEnable(true);
    program.Window.findChild<QCheckBox*>("chkQuickMode")->setChecked(false);
    if (open) program.Window.findChild<QAction*>("actTraffic")->trigger();
    int frames = 0;
    const auto counting = program.Comm.OnMonitorData.Connect(
        [&frames](const std::string&, bool received) { frames += received ? 0 : 1; });
    for (int i = 0; i < 100; ++i) host.WaitEvents(2);
    QElapsedTimer timer;
    timer.start();
    const double processor = ProcessorTime();
    program.Button("cmdShowZarn74").click();
    const double used = ProcessorTime() - processor;
    const double took = static_cast<double>(timer.nsecsElapsed()) / 1e3;
    if (!program.Window.Flows().Record().Valid) return 1;
    std::printf("%.0f %.0f %d\n", took, used, frames);
    return 0;
}

/// Processor time in ms of a flow until its last picture, with the marks and the open list of changes and
/// without both: a read after which all 43 marks vanish, and the file after which they appear. Alternately,
/// medians.
int Marks() {
    constexpr int rounds = 61;
    clsQtHost host;
    clsMemoryStore store;
    clsSimReader reader(host);
    clsSimSerialControl serial(host);
    serial.AddLine(1, {.Reader = &reader, .Description = {}});
    Program program(host, serial, store);
    frmMain& window = program.Window;
    program.Button("cmdAutoScan").click();
    const QTemporaryDir folder;
    const std::string file = folder.filePath("other.txt").toStdString();
    program.Files.ReplaceFile(file, TextOf(AllOther(window.Flows().Record())));
    window.findChild<QAction*>("actChanges")->trigger();
    auto* const comparison = window.findChild<clsComparison*>();
    const auto settle = [&] {
        for (int turn = 0; turn < 10; ++turn) host.WaitEvents(3);
    };
    const auto timed = [&](const std::function<void()>& flow) {
        settle();
        const double start = ProcessorTime();
        flow();
        settle();
        return (ProcessorTime() - start) / 1e3;
    };
    std::array<std::vector<double>, 4> times;
    for (int round = 0; round < 2 * rounds; ++round) {
        const bool without = round % 2 == 1;
        if (without) {
            QObject::disconnect(&window, nullptr, comparison, nullptr);
        } else {
            QObject::connect(&window, &frmMain::FormChanged, comparison, &clsComparison::Outdate);
            QObject::connect(&window, &frmMain::PictureChanged, comparison, &clsComparison::Outdate);
            comparison->Outdate();
        }
        times.at(without ? 1 : 0).push_back(timed([&] { program.Button("cmdShowZarn74").click(); }));
        times.at(without ? 3 : 2).push_back(timed([&] { window.OpenFile(file); }));
    }
    for (auto& column : times) {
        std::nth_element(column.begin(), column.begin() + rounds / 2, column.end());
        std::printf("%.2f ", column[rounds / 2]);
    }
    std::printf("\n");
    return window.findChild<QTreeView*>("lstChanges")->model()->rowCount() == 0 ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    const QApplication application(argc, argv);
    if (words.size() == 3 && words[0] == "log")
        return Log(std::atoi(words[1].c_str()), std::atoi(words[2].c_str()));
    if (words.size() == 2 && words[0] == "gaps") return Gaps(words[1] == "paced");
    if (words.size() == 2 && words[0] == "read") return Read(words[1], /*open=*/false);
    if (words.size() == 2 && words[0] == "traffic") return Read(words[1], /*open=*/true);
    if (words.size() == 1 && words[0] == "marks") return Marks();
    std::fprintf(stderr,
                 "usage: window log LINES PAUSE | window gaps instant|paced | window read|traffic DEVICE |\n"
                 "       window marks\n");
    return 2;
}
