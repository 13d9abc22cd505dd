// zarn74: the window.

#include <QApplication>
#include <QFile>
#include <QIcon>
#include <QPixmap>
#include <QStyleFactory>
#include <QTabWidget>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "app/WindowDescription.h"
#include "app/WindowOptions.h"
#include "app/clsDemoPanel.h"
#include "app/clsDemoReader.h"
#include "base/clsMemoryStore.h"
#include "platform/ProgramFiles.h"
#include "platform/clsPortList.h"
#include "platform/clsQtHost.h"
#include "platform/clsQtSerialControl.h"
#include "platform/clsQtStore.h"
#include "platform/clsStopSignals.h"
#include "platform/clsSystemFiles.h"
#include "sim/SimImage.h"
#include "window/clsKeyState.h"
#include "window/frmMain.h"

namespace {

constexpr auto applicationName = "zarn74";
constexpr auto desktopEntry = "org.example.zarn74";

int Say(const std::string& text, int status) {
    std::fprintf(stderr, "zarn74: %s", text.c_str());
    return status;
}

bool IsSet(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && value[0] != '\0';
}

QIcon ProgramIcon() {
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64, 128, 256})
        icon.addFile(QString(":/icon/zarn74-%1.png").arg(size), QSize(size, size));
    return icon;
}

/// The dark colours of a desktop, for those who want them here alone.
void UseDarkColors() {
    QPalette colors;
    const QColor window(0x2B, 0x2B, 0x2B);
    const QColor base(0x1E, 0x1E, 0x1E);
    const QColor text(0xE6, 0xE6, 0xE6);
    colors.setColor(QPalette::Window, window);
    colors.setColor(QPalette::WindowText, text);
    colors.setColor(QPalette::Base, base);
    colors.setColor(QPalette::AlternateBase, window);
    colors.setColor(QPalette::Text, text);
    colors.setColor(QPalette::PlaceholderText, QColor(0x90, 0x90, 0x90));
    colors.setColor(QPalette::Button, QColor(0x3A, 0x3A, 0x3A));
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

void TurnToPage(QWidget& window, const QString& caption) {
    auto* const pages = window.findChild<QTabWidget*>("SSTab1");
    for (int page = 0; page < pages->count(); ++page) {
        if (pages->tabText(page).remove('&').compare(caption, Qt::CaseInsensitive) == 0)
            pages->setCurrentIndex(page);
    }
}

/// Scans and reads the demo's reader, tells what was asked for, and gives the program's exit status.
int Tell(frmMain& window, const WindowOptions& options) {
    const bool done = window.Flows().AutoScan() == FlowResult::Done;
    const QString description = DescribeWindow(window);
    if (options.Describe) std::fputs(description.toUtf8().constData(), stdout);
    if (!options.Screenshot.empty()) {
        QApplication::processEvents();
        const QString file = QString::fromLocal8Bit(options.Screenshot.c_str());
        if (!window.grab().save(file, "PNG")) return Say("cannot write " + options.Screenshot + "\n", 1);
    }
    return done && std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    WindowOptions options;
    std::vector<std::string> arguments(argv + 1, argv + argc);
    // The toolkit's own options are not known yet; all that matters now are questions and the display.
    WindowParsing parsing = ParseArguments(arguments, options);
    if (!parsing.Run && parsing.Exit == 0) return std::fputs(parsing.Text.c_str(), stdout) < 0 ? 1 : 0;
    const bool display = IsSet("DISPLAY") || IsSet("WAYLAND_DISPLAY") || IsSet("QT_QPA_PLATFORM");
    if (!display && options.Batch()) setenv("QT_QPA_PLATFORM", "offscreen", /*overwrite=*/0);
    QApplication application(argc, argv);
    QApplication::setDesktopFileName(desktopEntry);
    QApplication::setWindowIcon(ProgramIcon());
    arguments.assign(argv + 1, argv + argc);
    parsing = ParseArguments(arguments, options);
    if (!parsing.Run) return Say(parsing.Text, parsing.Exit);
    if (options.Dark) UseDarkColors();

    clsQtHost host;
    clsSystemFiles files;
    const bool demo = options.Demo != WindowOptions::DemoKind::None;
    std::optional<clsSerialDemoReader> simulated;
    std::optional<clsQtStore> store;
    std::optional<clsPortList> ports;
    std::optional<clsQtSerialControl> serial;
    clsMemoryStore demoStore;
    if (demo) {
        simulated.emplace(host);
        if (!options.Image.empty()) {
            const std::string error = LoadSimImage(files, options.Image, simulated->Reader());
            if (!error.empty()) return Say(error + "\n", 1);
        }
    } else {
        store.emplace();
        ports.emplace(*store);
        const PortMap map = ParsePortMap(options.PortMap, std::getenv("ZARN74_PORT_MAP"));
        if (!map.Error.empty()) return Say(map.Error + "\n", 2);
        ports->SetMap(map);
        serial.emplace(host, *ports);
    }

    CommDevices devices;
    if (demo) devices.Notices = &simulated->Notices();
    clsISerialControl& line = demo ? static_cast<clsISerialControl&>(simulated->Serial()) : *serial;
    clsISettingsStore& kept = demo ? static_cast<clsISettingsStore&>(demoStore) : *store;
    ucCOMM comm(host, line, kept, applicationName, devices);
    modZarn74 settings;
    const clsKeyState keys;
    const clsScanNames names;
    const modKeyboard keyNames(keys, names);

    WindowFiles windowFiles;
    windowFiles.Defaults = ProgramFiles::DefaultFile();
    if (!options.Batch()) {
        const auto startup = ProgramFiles::StartupFile(demo ? "-demo" : "");
        windowFiles.StartupToRead = startup.ToRead;
        windowFiles.StartupToWrite = startup.ToWrite;
    }
    frmMain window({host, comm, settings, files, kept, keyNames}, windowFiles, options.Bench);
    if (demo) {
        auto* const panel = new clsDemoPanel({{QObject::tr("serial line COM1"), &*simulated}}, /*chosen=*/0);
        QObject::connect(panel, &clsDemoPanel::PacedChanged,
                         [&simulated](bool paced) { simulated->SetPaced(paced); });
        window.InsertPanel(panel);
    }
    if (!options.Page.empty()) TurnToPage(window, QString::fromLocal8Bit(options.Page.c_str()));
    if (options.Width > 0 && options.Height > 0) window.resize(options.Width, options.Height);
    window.show();

    const clsStopSignals stopSignals(host, [&window] { window.CloseSoon(); });
    if (options.Batch())
        QTimer::singleShot(0, &window, [&] { QApplication::exit(Tell(window, options)); });
    else if (!options.File.empty())
        QTimer::singleShot(0, &window, [&] { window.OpenFile(QFile::decodeName(options.File.c_str())); });
    return QApplication::exec();
}
