#pragma once

#include <algorithm>
#include <string>

#include "hid/FakeHid.h"
#include "sim/clsSimAdapter.h"

/// A USB bus with one place, for a reader behind an adapter; whatever is plugged in there has the same name.
/// A report takes a millisecond, either way.
struct clsHidBench final : clsEmptyHidApi {
    explicit clsHidBench(clsIHost& host) : m_host(host) {}

    void Plug(clsSimAdapter& adapter) {
        m_adapter = &adapter;
        ++m_number;
        adapter.PowerUp();
        m_onControl =
            adapter.OnControl.Connect([this](const std::string& bytes) { Come(m_control, bytes, 4); });
        m_onData = adapter.OnData.Connect([this](const std::string& bytes) { Come(m_data, bytes, 0); });
        Tell(HidEventArrival);
    }
    void Pull() {
        const bool open = std::exchange(m_open, false);
        m_adapter = nullptr;
        m_onControl = {};
        m_onData = {};
        Tell(open ? HidEventRemovalOfOpen : HidEventRemoval);
    }
    [[nodiscard]] int Reports() const { return m_reports; }
    [[nodiscard]] std::string Name() const { return R"(\\?\hid#vid_2e91&pid_0005#1)"; }

    Handle Create() override { return 1; }
    int EventDescriptor(Handle) override { return 0; }
    int NumberOfDevice(Handle) override { return m_adapter == nullptr ? 0 : 1; }
    std::string EnumDeviceName(Handle, int) override { return Name(); }
    bool IsOpen(Handle) override { return m_open; }
    bool Open(Handle, const std::string& name) override {
        m_data.clear();
        m_control.clear();
        return m_open = m_adapter != nullptr && name == Name();
    }
    void Close(Handle) override { m_open = false; }
    bool Write(Handle, const std::string& bytes) override { return Put(bytes, /*control=*/false); }
    bool WriteCtrl(Handle, const std::string& bytes) override { return Put(bytes, /*control=*/true); }
    std::string Read(Handle, int count) override { return Take(m_data, count); }
    std::string ReadCtrl(Handle, int count) override { return Take(m_control, count); }
    int BytesToRead(Handle) override { return static_cast<int>(m_data.size()); }
    int BytesToReadCtrl(Handle) override { return static_cast<int>(m_control.size()); }
    void DiscardReadBuffer(Handle) override { m_data.clear(); }
    void DiscardReadCtrlBuffer(Handle) override { m_control.clear(); }
    void SetCallBackProc(Handle, CallBackProc proc, std::uint32_t userData) override {
        m_proc = proc;
        m_userData = userData;
    }
    std::string GetParamString(Handle, std::uint32_t) override { return Name(); }
    std::string GetDevicePrefix(Handle) override { return "HID"; }
    std::string GetDeviceProduct(Handle, const std::string&) override { return "Tarka USB"; }

  private:
    bool Put(const std::string& bytes, bool control) {
        if (!m_open) return false;
        m_host.StartTimer(Later(m_outFree, bytes.size()), [this, bytes, control, number = m_number] {
            if (m_adapter == nullptr || number != m_number) return;
            control ? m_adapter->ReceiveControl(bytes) : m_adapter->ReceiveData(bytes);
        });
        return true;
    }
    void Come(std::string& to, const std::string& bytes, std::uint32_t event) {
        for (std::size_t at = 0; m_open && at < bytes.size(); at += reportBytes) {
            m_host.StartTimer(Later(m_inFree, 1), [this, &to, event, piece = bytes.substr(at, reportBytes)] {
                if (!m_open) return;
                to += piece;
                Tell(event);
            });
        }
    }
    /// ms until so many bytes are over, behind all that went before them.
    int Later(std::uint32_t& free, std::size_t bytes) {
        const int reports = static_cast<int>((bytes + reportBytes - 1) / reportBytes);
        const std::uint32_t now = m_host.TickCount();
        m_reports += reports;
        free = std::max(free, now) + static_cast<std::uint32_t>(reports);
        return static_cast<int>(free - now);
    }
    void Tell(std::uint32_t event) {
        if (m_proc != nullptr) m_proc(1, m_userData, event, 0);
    }
    static std::string Take(std::string& from, int count) {
        std::string taken = from.substr(0, static_cast<std::size_t>(count));
        from.erase(0, taken.size());
        return taken;
    }
    static constexpr std::size_t reportBytes = 62;
    clsIHost& m_host;
    int m_reports = 0;
    std::uint32_t m_outFree = 0;
    std::uint32_t m_inFree = 0;
    clsSimAdapter* m_adapter = nullptr;
    int m_number = 0;
    bool m_open = false;
    CallBackProc m_proc = nullptr;
    std::uint32_t m_userData = 0;
    std::string m_control;
    std::string m_data;
    clsConnection m_onControl;
    clsConnection m_onData;
};
