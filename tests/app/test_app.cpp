// The window program: its command line, its demo, and what it tells about itself.

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QImage>
#include <QProcess>
#include <QPushButton>
#include <QTemporaryDir>
#include <fstream>

#include "app/WindowOptions.h"
#include "app/clsDemoPanel.h"
#include "base/clsMemoryStore.h"
#include "protocol/ucCOMM.h"
#include "support/clsVirtualHost.h"

namespace {

TEST(WindowOptionsTest, TheArgumentsAreUnderstood) {
    using Kind = WindowOptions::DemoKind;
    const struct {
        std::vector<std::string> arguments;
        int exit;
        Kind demo;
        bool bench;
        std::string file;
    } rows[] = {
        {{}, 0, Kind::None, false, ""},
        {{"--demo"}, 0, Kind::Serial, false, ""},
        {{"--demo=hid", "mine.txt"}, 0, Kind::Hid, false, "mine.txt"},
        {{"mine.txt", "--demo"}, 0, Kind::Serial, false, "mine.txt"},
        {{"/benchrun"}, 0, Kind::None, true, ""},
        {{"--BenchRun", "mine.txt"}, 0, Kind::None, true, "mine.txt"},
        {{"--port-map", "COM1=/dev/benchrun0", "--port-map", "COM2=x", "a"}, 0, Kind::None, true, "a"},
        {{"--screenshot", "benchrun.png"}, 0, Kind::Serial, true, ""},
        {{"--describe"}, 0, Kind::Serial, false, ""},
        {{"--image", "x"}, 0, Kind::Serial, false, ""},
        {{"--demo=usb"}, 2, Kind::None, false, ""},
        {{"--nonsense"}, 2, Kind::None, false, ""},
        {{"a", "b"}, 2, Kind::None, false, ""},
        {{"--size", "100000x100"}, 2, Kind::None, false, ""},
        {{"--screenshot", ""}, 2, Kind::None, false, ""},
        {{"--size", "3x"}, 2, Kind::None, false, ""},
    };
    for (const auto& row : rows) {
        WindowOptions options;
        const WindowParsing parsing = ParseArguments(row.arguments, options);
        const std::string what = row.arguments.empty() ? "nothing" : row.arguments.front();
        EXPECT_EQ(parsing.Exit, row.exit) << what << ": " << parsing.Text;
        EXPECT_EQ(parsing.Run, row.exit == 0) << what;
        EXPECT_EQ(options.Bench, row.bench) << what;
        if (row.exit != 0) continue;
        EXPECT_EQ(options.Demo, row.demo) << what;
        EXPECT_EQ(options.File, row.file) << what;
    }
}

TEST(DemoPanelTest, ItsControlsReachTheReader) {
    clsVirtualHost host;
    clsSerialDemoReader demo(host);
    clsMemoryStore store;
    ucCOMM comm(host, demo.Serial(), store, "zarn74", CommDevices{nullptr, nullptr, &demo.Notices()});
    comm.SetMSCommMode(false);
    clsDemoPanel panel({{"serial", &demo}}, 0);
    const auto choose = [&panel](const char* box, const char* entry) {
        auto* const list = panel.findChild<QComboBox*>(box);
        list->setCurrentIndex(list->findText(entry));
    };
    comm.SetPortOpen(true);
    choose("cboDemoCard", "EM125K 2B008E41F6");
    EXPECT_EQ(comm.SendOrvNetCMD("J", /*bTxChkSum=*/false, /*bRxChkSum=*/false), "A05,2B008E41F6");
    std::string typed;
    const auto onChar = comm.OnChar.Connect([&](std::uint8_t byte) { typed += static_cast<char>(byte); });
    panel.findChild<QPushButton*>("cmdDemoType")->click();
    host.Run(10);
    EXPECT_EQ(typed, "2B008E41F6");
    choose("cboDemoFault", "refuse-busy");
    std::uint8_t value = 0;
    EXPECT_FALSE(comm.GetRegister(128, value));
    choose("cboDemoFault", "no fault");
    EXPECT_TRUE(comm.GetRegister(128, value));

    std::vector<std::string> news;
    const auto onPort =
        comm.OnPort.Connect([&](std::string& message, const std::string&) { news.push_back(message); });
    auto* const plugged = panel.findChild<QCheckBox*>("chkDemoPlugged");
    plugged->click();
    host.Run(10);
    EXPECT_FALSE(comm.PortOpen());
    plugged->click();
    host.Run(10);
    EXPECT_EQ(news.size(), 2U) << "gone once, back once";
    comm.SetPortOpen(true);
    EXPECT_TRUE(comm.GetRegister(128, value));
}

/// Standard output of the program as it is.
QString Output(const QStringList& arguments, int& status) {
    QProcess program;
    program.start(ZARN74, arguments);
    program.waitForFinished();
    status = program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1;
    return QString::fromUtf8(program.readAllStandardOutput());
}

TEST(ProgramTest, ItTellsWhatTheReadersImageHoldsAndDrawsIt) {
    const QTemporaryDir folder;
    const QString image = folder.filePath("image");
    std::string bytes(512, '\xFF');
    bytes[210] = 1;                     // France
    bytes.replace(160, 4, "ab\r\xFF");  // the prefix
    bytes[224] = 2;                     // digits 2 to 4 of the first card type
    bytes[225] = 3;
    std::ofstream(image.toStdString(), std::ios::binary) << bytes;
    int status = -1;
    const QStringList lines = Output({"--describe", "--image", image, "--screenshot",
                                      folder.filePath("p.png"), "--size", "1100x750"},
                                     status)
                                  .split('\n');
    EXPECT_EQ(status, 0);
    for (const char* line : {"cboLanguage=France", "txtPrefix=ab<CR>", "oCardSNLen0=2,3", "lstTable=0",
                             "labPort=COM1", "cmdApply=Write", "cboBaudRate=19200"})
        EXPECT_TRUE(lines.contains(line)) << line;
    EXPECT_TRUE(lines.value(lines.size() - 2).endsWith(" - Get Device Information OK"));
    const QImage picture(folder.filePath("p.png"));
    EXPECT_EQ(picture.size(), QSize(1100, 750));

    const QString onHid = Output({"--demo=hid", "--describe"}, status);
    EXPECT_TRUE(onHid.contains(" (Tarka USB Adapter) with Tarka V2.10\n") && onHid.contains("=Germany\n"));
    Output({"--screenshot", "/no/such/folder/p.png"}, status);
    EXPECT_EQ(status, 1);
    Output({"--image", "/no/such/image"}, status);
    EXPECT_EQ(status, 1);
    Output({"--nonsense"}, status);
    EXPECT_EQ(status, 2);
    EXPECT_EQ(Output({"--version"}, status), "zarn74 " ZARN74_VERSION "\n");
}

}  // namespace
