#pragma once

#include <functional>
#include <string>
#include <utility>

#include "base/clsIHost.h"
#include "hid/OrvHIDIO.h"
#include "support/clsEmptyHidApi.h"

/// A library with one device, which is given what AnswerWrite answers to what was written.
struct clsFakeLibrary final : clsEmptyHidApi {
    explicit clsFakeLibrary(clsIHost& host) : m_host(host) {}

    std::string Product = "Tarka USB";
    std::pair<int, int> Id{0x2E91, 5};
    int Descriptor = 0;
    std::function<void(bool control, const std::string& bytes)> AnswerWrite;
    std::string Taken;  // since the last writing
    std::string Flood;  // what every reading brings on the data channel; empty is no flood

    /// Bytes that arrive after a while, on the control channel or the data channel.
    void Arrive(bool control, const std::string& bytes, int ms) {
        m_host.StartTimer(ms, [this, control, bytes] {
            (control ? m_control : m_data) += bytes;
            Tell(control ? HidEventControlData : HidEventData);
        });
    }
    /// Bytes on the control channel that are not told of yet.
    void Buffer(const std::string& bytes) { m_control += bytes; }
    void Tell(std::uint32_t event, std::uint32_t param = 0) { m_proc(1, m_userData, event, param); }

    Handle Create() override { return 1; }
    int EventDescriptor(Handle) override { return Descriptor; }
    int NumberOfDevice(Handle) override { return 1; }
    std::string EnumDeviceName(Handle, int) override { return R"(\\?\hid#vid_2e91&pid_0005#1)"; }
    bool IsOpen(Handle) override { return m_open; }
    bool Open(Handle, const std::string&) override { return m_open = true; }
    void Close(Handle) override { m_open = false; }
    bool Write(Handle, const std::string& bytes) override { return Written(/*control=*/false, bytes); }
    bool WriteCtrl(Handle, const std::string& bytes) override { return Written(/*control=*/true, bytes); }
    std::string Read(Handle, int count) override { return Flood.empty() ? Take(m_data, count) : Flood; }
    std::string ReadCtrl(Handle, int count) override { return Take(m_control, count); }
    int BytesToRead(Handle) override { return static_cast<int>(m_data.size() + Flood.size()); }
    int BytesToReadCtrl(Handle) override { return static_cast<int>(m_control.size()); }
    void DiscardReadBuffer(Handle) override { m_data.clear(); }
    void DiscardReadCtrlBuffer(Handle) override { m_control.clear(); }
    void SetCallBackProc(Handle, CallBackProc proc, std::uint32_t userData) override {
        m_proc = proc;
        m_userData = userData;
    }
    std::string GetParamString(Handle, std::uint32_t param) override {
        return "device" + std::to_string(param);
    }
    std::string GetDevicePrefix(Handle) override { return "HID"; }
    bool DeviceIsUSBID(Handle, int vendor, int product) override { return Id == std::pair(vendor, product); }
    std::string GetDeviceProduct(Handle, const std::string&) override { return Product; }
    bool FlushQueue(Handle) override { return true; }

  private:
    bool Written(bool control, const std::string& bytes) {
        Taken.clear();
        AnswerWrite(control, bytes);
        return true;
    }
    std::string Take(std::string& from, int count) {
        std::string taken = from.substr(0, static_cast<std::size_t>(count));
        from.erase(0, taken.size());
        Taken += taken;
        return taken;
    }
    clsIHost& m_host;
    bool m_open = false;
    CallBackProc m_proc = nullptr;
    std::uint32_t m_userData = 0;
    std::string m_control;
    std::string m_data;
};
