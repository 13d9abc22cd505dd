// zarn74: the window.

#include <QApplication>
#include <QEventLoop>
#include <QIcon>
#include <QStringList>
#include <QStyleFactory>
#include <QTabWidget>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <vector>

#include "app/WindowDescription.h"
#include "app/WindowOptions.h"
#include "app/clsDemoPanel.h"
#include "app/clsDemoReader.h"
#include "base/RunProgram.h"
#include "base/clsMemoryStore.h"
#include "base/clsScopeGuard.h"
#include "base/modText.h"
#include "history/HistoryEnd.h"
#include "history/HistorySettings.h"
#include "qt/clsQtHost.h"
#include "qt/clsQtSerialControl.h"
#include "qt/clsQtStore.h"
#include "qt/clsSqlHistory.h"
#include "sim/SimImage.h"
#include "sim/clsSimBench.h"
#include "system/ProgramFiles.h"
#include "system/SameFile.h"
#include "system/clsAccessCheck.h"
#include "system/clsDeviceNotices.h"
#include "system/clsHidReaders.h"
#include "system/clsLineFile.h"
#include "system/clsPortList.h"
#include "system/clsStopSignals.h"
#include "system/clsSystemFiles.h"
#include "window/clsKeyState.h"
#include "window/frmMain.h"

namespace {

constexpr auto applicationName = "zarn74";
constexpr int exitUsage = 2;
constexpr int iconTime = 50;   // ms from the window's being shown
constexpr int drawTime = 150;  // ms
constexpr int demoUnits = 40;  // of a station's demo
constexpr int demoBad = 10;
constexpr auto desktopEntry = "org.example.zarn74";

int Say(const std::string& text, int status) {
    std::fprintf(stderr, "zarn74: %s", text.c_str());
    return status;
}

/// Whether all of it went out; it is said when not.
bool Print(const std::string& text) {
    const bool taken = std::fputs(text.c_str(), stdout) >= 0;
    if (std::fflush(stdout) == 0 && taken) return true;
    Say("cannot write to standard output\n", 1);
    return false;
}

bool IsSet(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && value[0] != '\0';
}

/// Whether the toolkit has somewhere to open a window; without that it would end the program with a crash.
bool HasDisplay(const std::vector<std::string>& arguments) {
    return IsSet("DISPLAY") || IsSet("WAYLAND_DISPLAY") || IsSet("QT_QPA_PLATFORM") ||
           std::any_of(arguments.begin(), arguments.end(), [](const std::string& argument) {
               return argument == "-platform" || argument == "--platform";
           });
}

// To decode the first one the toolkit loads all that it has for any picture, so this is left for when the
// window is there. The large sizes are the desktop entry's.
QIcon ProgramIcon() {
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64})
        icon.addFile(QString(":/icon/zarn74-%1.png").arg(size), QSize(size, size));
    return icon;
}

/// The dark colours of a desktop, for those who want them here alone.
void UseDarkColors() {
    const QColor window(0x2B, 0x2B, 0x2B);
    const QColor button(0x3A, 0x3A, 0x3A);
    const QColor base(0x1E, 0x1E, 0x1E);
    const QColor text(0xE6, 0xE6, 0xE6);
    QPalette colors(button, window);  // the shades of edges are made from the button's
    colors.setColor(QPalette::WindowText, text);
    colors.setColor(QPalette::Base, base);
    colors.setColor(QPalette::AlternateBase, window);
    colors.setColor(QPalette::Text, text);
    colors.setColor(QPalette::PlaceholderText, QColor(0xB0, 0xB0, 0xB0));
    colors.setColor(QPalette::ButtonText, text);
    colors.setColor(QPalette::ToolTipBase, QColor(0x45, 0x45, 0x45));
    colors.setColor(QPalette::ToolTipText, text);
    colors.setColor(QPalette::Highlight, QColor(0x2F, 0x65, 0xCA));
    colors.setColor(QPalette::HighlightedText, Qt::white);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        colors.setColor(QPalette::Disabled, role, QColor(0x80, 0x80, 0x80));
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    QApplication::setPalette(colors);
}

/// False when neither a page that is shown nor what View opens has that caption. The latter opens once the
/// window is shown and has its size.
bool TurnToPage(QWidget& window, const QString& caption) {
    for (const char* name : {"actChanges", "actRegisters", "actTraffic"}) {
        auto* const view = window.findChild<QAction*>(name);
        if (view->text().remove('&').compare(caption, Qt::CaseInsensitive) != 0) continue;
        QTimer::singleShot(0, view, &QAction::trigger);
        return true;
    }
    auto* const pages = window.findChild<QTabWidget*>("SSTab1");
    for (int page = 0; page < pages->count(); ++page) {
        if (!pages->isTabVisible(page)) continue;
        if (pages->tabText(page).remove('&').compare(caption, Qt::CaseInsensitive) != 0) continue;
        pages->setCurrentIndex(page);
        return true;
    }
    return false;
}

/// Scans and reads the demo's reader, tells what was asked for, and gives the program's exit status.
int Tell(frmMain& window, const WindowOptions& options) {
    window.MessageBoxDoor = [](const QString& text) { Say(text.toStdString() + "\n", 1); };
    bool done = window.Flows().AutoScan() == FlowResult::Done;
    if (!options.File.empty()) window.OpenFile(options.File);
    const QString description = DescribeWindow(window);
    if (options.Describe) done = Print(description.toStdString()) && done;
    if (!options.Screenshot.empty()) {
        // What draws itself some times a second is to be in the picture.
        QEventLoop drawing;
        QTimer::singleShot(drawTime, &drawing, &QEventLoop::quit);
        drawing.exec();
        const QString file = QString::fromLocal8Bit(options.Screenshot.c_str());
        if (!window.grab().save(file, "PNG")) return Say("cannot write " + options.Screenshot + "\n", 1);
    }
    return done ? 0 : 1;
}

// A demo has only one that was named.
bool HasHistory(const WindowOptions& options) {
    if (options.NoHistory) return false;
    return !options.HistoryFile.empty() || options.Demo == WindowOptions::DemoKind::None;
}

/// The window is gone: what there is to say goes to whoever has started the program.
void AwaitHistory(clsIHost& host, clsIHistory& history) {
    const auto say = [](const std::string& text) { Say(modText::ToUtf8(text) + "\n", 1); };
    bool stopped = false;
    const clsStopSignals stopSignals(host, [&stopped] { stopped = true; });
    history.Changed = {};
    history.ShowNotice = say;
    HistoryEnd::Await(
        host, history, /*atOnce=*/false, [&stopped] { return stopped; }, say);
}

/// Shows the window until it is closed, on a simulated reader when there is a panel for one. The program's
/// exit status.
int Open(const WindowParts& parts, const WindowOptions& options, QWidget* panel,
         const std::function<void()>& stationStarted = {}) {
    WindowFiles files;
    files.Defaults = ProgramFiles::DefaultFile();
    if (panel == nullptr) files.UserDefaults = ProgramFiles::UserDefaultFile();
    if (!options.Batch()) {
        const auto startup = ProgramFiles::StartupFile(panel != nullptr ? "-demo" : "");
        files.StartupToRead = startup.ToRead;
        files.StartupToWrite = startup.ToWrite;
    }
    std::optional<clsSqlHistory> history;
    // While there is still a loop to wait in, and nobody left to be told: what the reader still sends is the
    // next program's no more, an adapter is put back, and what another program kept from the history is in
    // it.
    const clsScopeGuard close([&parts, &history] {
        parts.Comm.AwaitReplies();
        parts.Comm.SetPortOpen(false);
        if (history) AwaitHistory(parts.Host, *history);
    });
    frmMain window(parts, files, options.Bench);
    if (HasHistory(options)) {
        const bool own = options.HistoryFile.empty();
        history.emplace(parts.Host,
                        HistoryPlace{own ? ProgramFiles::HistoryFile() : options.HistoryFile, own,
                                     HistorySettings::Days(parts.Store)},
                        applicationName);
        window.UseHistory(*history, /*always=*/!own);
    }
    if (panel != nullptr) window.InsertPanel(panel);
    if (stationStarted) QObject::connect(&window, &frmMain::StationStarted, &window, stationStarted);
    if (!options.Page.empty() && !TurnToPage(window, QString::fromLocal8Bit(options.Page.c_str())))
        return Say("there is no page " + options.Page + "\n", exitUsage);
    if (options.Width > 0 && options.Height > 0) window.resize(options.Width, options.Height);
    if (!options.Record.empty()) {
        for (const std::string& other :
             {options.File, options.HistoryFile, options.Screenshot, options.Station})
            if (!other.empty() && SameFile(other, options.Record))
                return Say("cannot record to " + options.Record + ", which is named for something else\n", 1);
        if (!window.Record(options.Record)) return Say("cannot record to " + options.Record + "\n", 1);
    }
    window.show();
    QTimer::singleShot(iconTime, &window, [] { QApplication::setWindowIcon(ProgramIcon()); });

    const clsStopSignals stopSignals(parts.Host, [&window] { window.CloseSoon(); });
    if (options.Batch()) {
        QTimer::singleShot(0, &window, [&] { QApplication::exit(Tell(window, options)); });
    } else if (!options.Station.empty()) {
        QTimer::singleShot(0, &window, [&] { window.StartStation(options.Station, options.Operator); });
    } else if (!options.File.empty()) {
        QTimer::singleShot(0, &window, [&] { window.OpenFile(options.File); });
    }
    const int status = QApplication::exec();
    if (!window.LeftUnsaved()) return status;
    return Say("the settings shown could not be saved to " + files.StartupToWrite + "\n", 1);
}

/// While it lives, the toolkit's complaints are kept back, and its way of ending the program when it has
/// nowhere to open a window (a crash) is this program's own.
class clsDisplayCheck {
  public:
    clsDisplayCheck() : m_former(qInstallMessageHandler(&Take)) {}
    clsDisplayCheck(const clsDisplayCheck&) = delete;
    clsDisplayCheck& operator=(const clsDisplayCheck&) = delete;
    ~clsDisplayCheck() {
        qInstallMessageHandler(m_former);
        for (const QString& text : Kept()) std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
    }

  private:
    static QStringList& Kept() {
        static QStringList kept;
        return kept;
    }
    static void Take(QtMsgType type, const QMessageLogContext& context, const QString& text) {
        // The platform's first complaint is the reason; what comes before and behind it is about other
        // things.
        static QString reason;
        if (type == QtFatalMsg) {
            Say(("the window cannot be shown: " + (reason.isEmpty() ? text : reason) + "\n").toStdString(),
                1);
            std::_Exit(1);
        }
        if (reason.isEmpty() && QByteArrayView(context.category).startsWith("qt.qpa")) reason = text;
        Kept().append(text);
    }

    QtMessageHandler m_former;
};

/// What the program stands on, with readers or in a demo.
struct ProgramBase {
    clsQtHost Host;
    clsSystemFiles Files;
    clsKeyState Keys;
    clsScanNames Names;
    modKeyboard KeyNames{Keys, Names};
    modZarn74 Settings;

    [[nodiscard]] WindowParts Parts(ucCOMM& comm, clsISettingsStore& store) {
        return {Host, comm, Settings, Files, store, KeyNames, /*Access=*/{}, &clsLineFile::Open};
    }
};

int RunOnReaders(ProgramBase& base, const WindowOptions& options, const PortMap& map) {
    clsQtStore store;
    clsPortList ports(store);
    ports.SetMap(map);
    clsQtSerialControl serial(base.Host, ports);
    clsDeviceNotices notices(base.Host, ports);
    clsHidReaders readers(clsHidReaders::Library::Real);
    CommDevices devices = readers.Devices(&notices);
    devices.UsbAdapter = [&ports](const std::string& port) { return ports.UsbAdapter(port); };
    ucCOMM comm(base.Host, serial, store, applicationName, devices);
    WindowParts parts = base.Parts(comm, store);
    parts.Access = [&ports, &comm] {
        std::vector<PortEntry> all = ports.Ports();
        for (PortEntry& reader : comm.HidPorts()) all.push_back(std::move(reader));
        return clsAccessCheck().Look(all);
    };
    parts.IsReadersOwn = [&ports](const std::string& port) {
        const auto all = ports.Ports();
        return std::any_of(all.begin(), all.end(),
                           [&](const PortEntry& entry) { return entry.Name == port && entry.OfReaders; });
    };
    return Open(parts, options, nullptr);
}

/// A box of simulated readers that come and go once the station runs.
int RunStationDemo(ProgramBase& base, const WindowOptions& options) {
    clsMemoryStore store;
    store.SaveSetting("Station", "Labels", "running");
    clsSimSerialControl serial(base.Host);
    clsIDeviceNotices notices;
    clsSimBench bench(base.Host, serial, /*line=*/1, demoUnits, demoBad,
                      [&notices](bool arrived, const std::string& port) {
                          (arrived ? notices.OnDeviceArrival : notices.OnDeviceRemoveComplete)
                              .Raise(DeviceNoticePort, port);
                      });
    ucCOMM comm(base.Host, serial, store, applicationName, {nullptr, nullptr, &notices});
    return Open(base.Parts(comm, store), options, new clsDemoStationStrip(demoUnits, demoBad),
                [&bench] { bench.Begin(); });
}

int RunDemo(ProgramBase& base, const WindowOptions& options) {
    clsMemoryStore store;
    clsSerialDemoReader onSerial(base.Host);
    if (!options.Image.empty()) {
        const std::string error = LoadSimImage(base.Files, options.Image, onSerial.Reader());
        if (!error.empty()) return Say(error + "\n", 1);
    }
    clsHidReaders readers(clsHidReaders::Library::Simulated);
    const clsDemoBus bus(readers.Loader());
    std::vector<clsDemoPanel::Connection> connections{{QObject::tr("serial line COM1"), &onSerial}};
    std::optional<clsHidDemoReader> onHid;
    const bool startsOnHid = options.Demo == WindowOptions::DemoKind::Hid;
    if (bus.Ready()) {
        onHid.emplace(bus);
        if (!options.Image.empty()) onHid->CopyRegisters(onSerial.Reader());
        connections.push_back({QObject::tr("USB HID"), &*onHid});
    } else if (startsOnHid) {
        return Say("the simulated USB bus is missing: " + readers.Loader().ApplicationPath() + "\n", 1);
    }
    // The window owns the panel, and is gone before the readers are.
    auto* const panel = new clsDemoPanel(connections, startsOnHid ? 1 : 0);
    QObject::connect(panel, &clsDemoPanel::PacedChanged,
                     [&onSerial](bool paced) { onSerial.SetPaced(paced); });
    ucCOMM comm(base.Host, onSerial.Serial(), store, applicationName, readers.Devices(&onSerial.Notices()));
    return Open(base.Parts(comm, store), options, panel);
}

int Main(int argc, char** argv) {
    WindowOptions options;
    std::vector<std::string> arguments(argv + 1, argv + argc);
    // The toolkit's own options are not known yet; all that matters now are questions and the display.
    WindowParsing parsing = ParseArguments(arguments, options);
    if (!parsing.Run && parsing.Exit == 0) return Print(parsing.Text) ? 0 : 1;
    if (!HasDisplay(arguments)) {
        if (!parsing.Run) return Say(parsing.Text, parsing.Exit);
        if (!options.Batch()) return Say("there is no display to open the window on\n", 1);
        setenv("QT_QPA_PLATFORM", "offscreen", /*overwrite=*/1);
    }
    std::optional<clsDisplayCheck> displayCheck(std::in_place);
    const QApplication application(argc, argv);
    displayCheck.reset();
    QApplication::setDesktopFileName(desktopEntry);
    arguments.assign(argv + 1, argv + argc);
    parsing = ParseArguments(arguments, options);
    if (!parsing.Run) return Say(parsing.Text, parsing.Exit);
    if (options.Dark) UseDarkColors();

    const PortMap map = ParsePortMap(options.PortMap, std::getenv("ZARN74_PORT_MAP"));
    if (!map.Error.empty()) return Say(map.Error + "\n", exitUsage);
    ProgramBase base;
    if (options.Demo != WindowOptions::DemoKind::None && !options.Station.empty())
        return RunStationDemo(base, options);
    return options.Demo == WindowOptions::DemoKind::None ? RunOnReaders(base, options, map)
                                                         : RunDemo(base, options);
}

}  // namespace

int main(int argc, char** argv) {
    return RunProgram(applicationName, [&] { return Main(argc, argv); });
}
