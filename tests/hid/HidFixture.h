#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <set>
#include <string>
#include <vector>

#include "base/clsPropertyBag.h"
#include "hid/OrvHIDIO.h"
#include "hid/modOrvHID.h"
#include "support/clsVirtualHost.h"

using Texts = std::vector<std::string>;
using namespace std::string_literals;

/// A library file in a folder, with counted references and a set of exports.
struct clsFakeLoader final : clsILibraryLoader {
    std::string Present = "/app/OrvHIDIO";
    std::string Application = "/app";
    std::set<std::string> Exports{"orvhidAddNewUSBID", "orvhidGetDeviceUSBID", "orvhidFlushQueue",
                                  "orvhidCheckDevicesIsChanged"};
    int References = 0;
    Texts Loaded;

    [[nodiscard]] std::string ApplicationPath() const override { return Application; }
    [[nodiscard]] std::string ModuleFileName() const override { return "/app/zarn74"; }
    [[nodiscard]] std::string LibraryFile(const std::string& folder, const std::string& name) const override {
        return folder + "/" + name;
    }
    Handle LoadLibrary(const std::string& file) override {
        Loaded.push_back(file);
        if (file != Present) return 0;
        ++References;
        return 7;
    }
    [[nodiscard]] Handle GetModuleHandle(const std::string& file) const override {
        return file == Present && References > 0 ? 7 : 0;
    }
    [[nodiscard]] void* GetProcAddress(Handle, const std::string& name) const override {
        return Exports.count(name) > 0 ? const_cast<clsFakeLoader*>(this) : nullptr;
    }
    void FreeLibrary(Handle) override { --References; }
};

/// A library with one device. Answers holds one adapter answer a control packet, in order; an empty one is
/// silence. Data channel bytes arrive when told.
struct clsFakeLibrary final : clsIHidApi {
    explicit clsFakeLibrary(clsIHost& host) : m_host(host) {}

    std::string Product = "Tarka USB";
    std::pair<int, int> Id{0x2E91, 5};
    bool Refuses = false;
    std::deque<std::string> Answers;
    std::string Always;  // answered when Answers is empty
    Texts SentCtrl;
    Texts SentData;
    std::string Prefix = "HID";
    std::string Calls;
    std::function<void(const std::string&)> OnData;

    void ArriveCtrl(const std::string& bytes, int ms) {
        m_host.StartTimer(ms, [this, bytes] {
            m_ctrl += bytes;
            Tell(HidEventControlData);
        });
    }
    void ArriveData(const std::string& bytes, int ms) {
        m_host.StartTimer(ms, [this, bytes] {
            m_data += bytes;
            Tell(HidEventData);
        });
    }
    void Tell(std::uint32_t event, std::uint32_t param = 0) {
        if (m_proc != nullptr) m_proc(1, m_userData, event, param);
    }
    void TellAs(std::uint32_t userData, std::uint32_t event) { m_proc(1, userData, event, 0); }

    Handle Create() override {
        Calls += "create ";
        return 1;
    }
    void Destroy(Handle) override { Calls += "destroy "; }
    int NumberOfDevice(Handle) override { return 1; }
    std::string EnumDeviceName(Handle, int) override { return R"(\\?\hid#vid_2e91&pid_0005#1)"; }
    std::string EnumDevice(Handle, int) override { return "/dev/hidraw0 " + Product; }
    bool IsOpen(Handle) override { return m_open; }
    bool Open(Handle, const std::string& name) override { return m_open = !Refuses && !name.empty(); }
    void Close(Handle) override { m_open = false; }
    bool Write(Handle, const std::string& bytes) override {
        SentData.push_back(bytes);
        if (OnData) OnData(bytes);
        return true;
    }
    std::string Read(Handle, int count) override { return Take(m_data, count); }
    int BytesToRead(Handle) override { return static_cast<int>(m_data.size()); }
    void DiscardReadBuffer(Handle) override { m_data.clear(); }
    void SetReadBufferSize(Handle, int size) override { Calls += "in=" + std::to_string(size) + " "; }
    void SetWriteBufferSize(Handle, int size) override { Calls += "out=" + std::to_string(size) + " "; }
    bool WriteCtrl(Handle, const std::string& bytes) override {
        SentCtrl.push_back(bytes);
        std::string answer = Always;
        if (!Answers.empty()) {
            answer = Answers.front();
            Answers.pop_front();
        }
        if (!answer.empty()) ArriveCtrl(answer, 2);
        return true;
    }
    std::string ReadCtrl(Handle, int count) override { return Take(m_ctrl, count); }
    int BytesToReadCtrl(Handle) override { return static_cast<int>(m_ctrl.size()); }
    void DiscardReadCtrlBuffer(Handle) override { m_ctrl.clear(); }
    void SetCallBackProc(Handle, CallBackProc proc, std::uint32_t userData) override {
        m_proc = proc;
        m_userData = userData;
    }
    std::string GetParamString(Handle, std::uint32_t param) override {
        return "device" + std::to_string(param);
    }
    std::string GetDevicePrefix(Handle) override { return Prefix; }
    bool DeviceIsUSBID(Handle, int vendor, int product) override { return Id == std::pair(vendor, product); }
    std::string GetDeviceProduct(Handle, const std::string&) override { return Product; }
    bool FlushQueue(Handle) override {
        Calls += "flush ";
        return true;
    }

  private:
    static std::string Take(std::string& from, int count) {
        std::string taken = from.substr(0, static_cast<std::size_t>(count));
        from.erase(0, taken.size());
        return taken;
    }
    clsIHost& m_host;
    bool m_open = false;
    CallBackProc m_proc = nullptr;
    std::uint32_t m_userData = 0;
    std::string m_ctrl;
    std::string m_data;
};

struct HidFixture : testing::Test {
    HidFixture() { library.Always = "\x06\0"s; }
    /// A probed control with its device open; the log of control packets begins behind that.
    OrvHIDIO& Opened() {
        hid.ReadProperties(bag);
        hid.SetCommPort("path");
        hid.SetPortOpen(true);
        library.SentCtrl.clear();
        return hid;
    }
    clsVirtualHost host;
    clsFakeLoader loader;
    clsFakeLibrary library{host};
    clsPropertyBag bag;
    Texts boxes;
    OrvHIDIO hid{host, loader, library, /*userMode=*/true,
                 [this](const std::string& text) { boxes.push_back(text); }};
};
