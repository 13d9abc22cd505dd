#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "base/clsIHost.h"
#include "ports/clsISerialControl.h"

/// A serial control that a test scripts: it records what is done to it and lets bytes arrive when told.
/// Numbers 1 to 9 exist; the number Refused does not open.
class clsScriptedSerial final : public clsSerialControlBase {
  public:
    explicit clsScriptedSerial(clsIHost& host) : m_host(host) {}

    std::string Calls;                                           ///< writes of properties, as "Name=value;"
    std::vector<std::string> Sent;                               ///< one entry for each Output
    std::function<void(const std::string& bytes)> AnswerOutput;  ///< the script's answer
    std::vector<int> Listed{1};
    int Refused = 0;

    /// Bytes that arrive after `ms`, announced by one event.
    void Arrive(const std::string& bytes, int ms = 0) {
        m_host.StartTimer(ms, [this, bytes] {
            m_input += bytes;
            Event(CommEventReceive);
        });
    }
    /// Bytes that lie in the buffer without any event.
    void Buffer(const std::string& bytes) { m_input += bytes; }
    void Event(int cause) {
        m_event = cause;
        OnComm.Raise();
    }

    [[nodiscard]] int CommPort() const override { return m_number; }
    bool SetCommPort(int number) override {
        const bool known = number >= 1 && number <= 9;
        if (known) m_number = number;
        return known;
    }
    [[nodiscard]] bool PortOpen() const override { return m_open; }
    void SetPortOpen(bool value) override {
        Set("PortOpen", m_open, value);
        if (m_number == Refused) m_open = false;
    }
    [[nodiscard]] PortReason LastFailure() const override { return {}; }
    [[nodiscard]] std::string Settings() const override { return m_settings; }
    void SetSettings(const std::string& value) override {
        Calls += "Settings=" + value + ";";
        if (!value.starts_with("0,")) m_settings = value;
    }
    [[nodiscard]] bool DTREnable() const override { return m_dtr; }
    void SetDTREnable(bool value) override { Set("DTREnable", m_dtr, value); }
    [[nodiscard]] bool RTSEnable() const override { return m_rts; }
    void SetRTSEnable(bool value) override { Set("RTSEnable", m_rts, value); }
    [[nodiscard]] bool CDHolding() const override { return false; }
    [[nodiscard]] bool CTSHolding() const override { return false; }
    [[nodiscard]] bool DSRHolding() const override { return false; }
    [[nodiscard]] std::int32_t CommID() const override { return -1; }
    [[nodiscard]] int InBufferCount() override { return static_cast<int>(m_input.size()); }
    void SetInBufferCount(int) override { m_input.clear(); }
    [[nodiscard]] int OutBufferCount() const override { return 0; }
    void SetOutBufferCount(int) override {}
    std::string Input() override { return std::exchange(m_input, {}); }
    void Output(const std::string& bytes) override {
        Sent.push_back(bytes);
        if (AnswerOutput) AnswerOutput(bytes);
    }
    [[nodiscard]] int CommEvent() const override { return m_event; }
    [[nodiscard]] int NumberOfCommPorts() override { return static_cast<int>(Listed.size()); }
    [[nodiscard]] std::string EnumCommPort(int index) override {
        return "COM" + std::to_string(Listed.at(static_cast<std::size_t>(index)));
    }

  private:
    void Set(const std::string& name, bool& property, bool value) {
        Calls += name + (value ? "=True;" : "=False;");
        property = value;
    }

    clsIHost& m_host;
    int m_number = 1;
    bool m_open = false;
    bool m_dtr = true;
    bool m_rts = true;
    std::string m_settings = "19200,N,8,1";
    int m_event = 0;
    std::string m_input;
};
