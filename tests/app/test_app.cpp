// The window program's command line and its demo.

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>

#include "app/WindowOptions.h"
#include "app/clsDemoPanel.h"
#include "base/clsMemoryStore.h"
#include "comm/ucCOMM.h"
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
        {{"--demo=hid", "mine.txt"}, 0, Kind::Hid, false, "mine.txt"},
        {{"--BenchRun", "mine.txt"}, 0, Kind::None, true, "mine.txt"},
        {{"--port-map", "COM1=/dev/benchrun0", "--port-map", "COM2=x", "a"}, 0, Kind::None, true, "a"},
        {{"--screenshot", "benchrun.png"}, 0, Kind::Serial, true, ""},
        {{"--image", "x"}, 0, Kind::Serial, false, ""},
        {{"--size", "100000x100"}, 2, Kind::None, false, ""},
        {{"--no-history", "--history", "x"}, 2, Kind::None, false, ""},
        {{"--station", "a.txt", "--operator"}, 0, Kind::None, false, ""},
        {{"--operator"}, 2, Kind::None, false, ""},
        {{"--station", "a.txt", "--describe"}, 2, Kind::None, false, ""},
        {{"--station", "a.txt", "--demo=hid"}, 2, Kind::None, false, ""},
        {{"--history", ""}, 2, Kind::None, false, ""},
    };
    for (const auto& row : rows) {
        WindowOptions options;
        const WindowParsing parsing = ParseArguments(row.arguments, options);
        const std::string& what = row.arguments.front();
        EXPECT_EQ(parsing.Exit, row.exit) << what << ": " << parsing.Text;
        EXPECT_EQ(options.Bench, row.bench) << what;
        EXPECT_EQ(options.Demo, row.demo) << what;
        EXPECT_EQ(options.File, row.file) << what;
    }
    WindowOptions options;
    ParseArguments({"--history", "mine.db", "--demo"}, options);
    EXPECT_EQ(options.HistoryFile, "mine.db");
    ParseArguments({"--no-history"}, options);
    EXPECT_TRUE(options.NoHistory);
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

    auto* const plugged = panel.findChild<QCheckBox*>("chkDemoPlugged");
    plugged->click();
    host.Run(10);
    EXPECT_FALSE(comm.PortOpen());
    plugged->click();
    host.Run(10);
    comm.SetPortOpen(true);
    EXPECT_TRUE(comm.GetRegister(128, value));
}

}  // namespace
