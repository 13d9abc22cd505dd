#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "HidBench.h"
#include "flows/clsReaderFlows.h"
#include "station/clsStation.h"
#include "support/SimWorld.h"
#include "support/clsMemoryFiles.h"
#include "support/clsMemoryHistory.h"

/// A flows' view that hands progress on, and a log that keeps its lines.
struct clsStationFlowsView final : clsIMainView, clsILogView {
    bool ReadForm(ZarnForm&) override { return false; }
    void ShowForm(const ZarnForm&) override {}
    void ShowPanel(const InfoPanel&) override {}
    void ShowPicture(const clsReaderPicture&) override {}
    void EnableButtons(const ButtonStates&) override {}
    void ShowProgress(int number, int count) override {
        if (Station != nullptr) Station->Progress(number, count);
    }
    void ShowImageProgress(int received, int count) override {
        if (Station != nullptr) Station->ImageProgress(received, count);
    }
    void ShowTest(const std::string&, TestIndicator) override {}
    void ShowMessageBox(const std::string&) override {}
    void ShowNotice(const std::string& text) override { Notices.push_back(text); }
    bool GetFileName(std::string&, bool, const std::string&) override { return false; }
    void FocusLog() override {}
    void AppendLine(const std::string&, const std::string& text, LogColor) override { Lines.push_back(text); }
    void AppendText(const std::string& text, LogColor) override { Lines.push_back(text); }
    void EndLine() override {}
    void ClearText() override {}

    clsStation* Station = nullptr;
    Texts Lines;
    Texts Notices;
};

/// A station on a machine of simulated readers, each on a line of its own, which come and go. The profile is
/// the example configuration with another prefix and language.
struct StationWorld : clsIStationView {
    static constexpr const char* profile = "shop.txt";
    struct Unit {
        explicit Unit(clsIHost& host) : Reader(host) {}
        void Fault(const std::string& rule) {
            std::string error;
            if (!rule.empty()) Reader.AddFault(*ParseSimFault(rule, error));
        }
        clsSimReader Reader;
        clsSimAdapter Adapter{Reader};  // of one on USB HID
    };

    explicit StationWorld(bool inMemory = false)
        : station({host, comm, flows, files, store, inMemory ? nullptr : &history, *this,
                   [this](const std::string& port) { return own == port; }}) {
        ZarnInfo wanted;
        wanted.Prefix = "ID=";
        wanted.Language = 2;
        disk.Contents[profile] = clsSettingsFile::MakeText(wanted, {}, /*autoRead=*/false).Text;
        options.Profile = profile;
        view.Station = &station;
    }

    /// A reader that is not plugged in yet, factory-fresh.
    Unit& Make() {
        units.push_back(std::make_unique<Unit>(host));
        units.back()->Reader.Registers.fill(0xFF);
        units.back()->Reader.PowerUp();
        return *units.back();
    }
    void Plug(Unit& unit, int port, bool paced = false) {
        clsSimSerialControl::Line line;
        line.Reader = &unit.Reader;
        line.Paced = paced;
        line.OnlyBaud = clsSimSerialControl::readerSpeed;
        unit.Reader.PowerUp();
        serial.AddLine(port, line);
        notices.OnDeviceArrival.Raise(DeviceNoticePort, "COM" + std::to_string(port));
    }
    void Pull(int port) {
        serial.Unplug(port);
        notices.OnDeviceRemoveComplete.Raise(DeviceNoticePort, "COM" + std::to_string(port));
    }
    void ShowStation() override {
        const StationShown& shown = station.Shown();
        seen += (seen.empty() ? "" : "|") + shown.Word() + " " + shown.Doing();
        if (OnShow) OnShow();
    }
    void ShowUnit(const StationUnit& unit) override { results.push_back(unit); }
    void Beep(int times) override { beeps.push_back(times); }

    clsVirtualHost host;
    clsSimSerialControl serial{host};
    clsMemoryStore store;
    clsIDeviceNotices notices;
    clsFakeLoader loader;
    clsHidBench hid{host};
    ucCOMM comm{host, serial, store, "zarn74", {&loader, &hid, &notices}};
    modZarn74 module;
    clsMemoryFiles disk;
    clsMemoryHistory history;
    clsStationFlowsView view;
    clsMessageLog log{host, view};
    clsSettingsFile files{disk};
    clsReaderFlows flows{host, comm, module, log, files, view};
    std::vector<std::unique_ptr<Unit>> units;
    StationOptions options;
    std::string own;  ///< the port of an adapter of the readers' maker
    std::string seen;
    std::function<void()> OnShow;
    std::vector<StationUnit> results;
    std::vector<int> beeps;
    clsStation station;
};
