#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/clsIHost.h"
#include "ports/clsIPortDirectory.h"
#include "ports/clsISerialControl.h"
#include "sim/clsIReader.h"
#include "sim/clsSimCable.h"

/// A serial control over simulated lines: what the platform's control is to real ones, so that a whole
/// program runs in one process on a simulated reader. Readers and host outlive it. The bytes of a reader
/// arrive through the host's loop, never from inside a call.
class clsSimSerialControl final : public clsSerialControlBase, public clsIPortDirectory {
  public:
    /// `Line::OnlyBaud` of a line whose speed is the reader's own since its last power-up.
    static constexpr int readerSpeed = -1;

    /// One line of the simulated machine.
    struct Line {
        clsIReader* Reader = nullptr;  ///< null: nothing is connected
        bool Opens = true;             ///< false: opening is refused
        int OnlyBaud = 0;              ///< nothing gets through at another rate; 0 is every rate
        bool Paced = false;            ///< a byte takes ten bit times of the line's rate, both ways
        std::string Description;
    };

    explicit clsSimSerialControl(clsIHost& host);
    ~clsSimSerialControl() override;

    /// Adds line COM`number`, plugged, or replaces it.
    void AddLine(int number, const Line& line);
    /// The open line reports its loss; the line is gone from the list until Replug.
    void Unplug(int number);
    /// The line is there again and its reader powers up.
    void Replug(int number);
    [[nodiscard]] bool Plugged(int number) const;
    /// The open line reports a framing error, once.
    void RaiseFrameError() { PostEvent(CommEventFrameError); }

    [[nodiscard]] std::vector<PortEntry> Ports() override;

    [[nodiscard]] int CommPort() const override { return m_number; }
    /// Refused for a line that is not there. An open line stays open on its former number.
    bool SetCommPort(int number) override;
    [[nodiscard]] bool PortOpen() const override { return m_open != 0; }
    void SetPortOpen(bool value) override;
    [[nodiscard]] PortReason LastFailure() const override { return m_failure; }
    [[nodiscard]] std::string Settings() const override { return m_settings; }
    void SetSettings(const std::string& value) override;

    [[nodiscard]] bool DTREnable() const override { return m_dtr; }
    void SetDTREnable(bool value) override { m_dtr = value; }
    [[nodiscard]] bool RTSEnable() const override { return m_rts; }
    void SetRTSEnable(bool value) override { m_rts = value; }
    [[nodiscard]] bool CDHolding() const override { return false; }
    [[nodiscard]] bool CTSHolding() const override { return false; }
    [[nodiscard]] bool DSRHolding() const override { return false; }
    [[nodiscard]] std::int32_t CommID() const override { return m_open != 0 ? m_open : -1; }

    [[nodiscard]] int InBufferCount() override { return static_cast<int>(m_input.size()); }
    void SetInBufferCount(int value) override {
        if (value == 0) m_input.clear();
    }
    [[nodiscard]] int OutBufferCount() const override { return static_cast<int>(m_cable.ToReaderCount()); }
    void SetOutBufferCount(int value) override {
        if (value == 0) m_cable.ClearToReader();
    }
    std::string Input() override;
    void Output(const std::string& bytes) override;
    [[nodiscard]] int CommEvent() const override { return m_commEvent; }

    [[nodiscard]] int NumberOfCommPorts() override;
    [[nodiscard]] std::string EnumCommPort(int index) override;

  private:
    struct State {
        Line Data;
        bool Plugged = true;
        clsConnection OnSend;
    };
    [[nodiscard]] const Line* OpenLine() const;
    [[nodiscard]] bool SpeedFits(const Line& line) const;
    [[nodiscard]] std::int64_t Now();
    void Schedule();
    void Deliver();
    void ReaderSends(int number, const std::string& bytes);
    void PostEvent(int code);
    void PostToLine(std::function<void()> handler);
    void ClearBuffers();

    clsIHost& m_host;
    std::map<int, State> m_lines;
    int m_number = 1;
    int m_open = 0;  // the number that is open, 0 for none
    bool m_lost = false;
    std::shared_ptr<int> m_opening;  // its own for each opening: what was posted for a former one falls away
    PortReason m_failure;
    std::string m_settings = "19200,N,8,1";
    int m_rate = 19200;

    std::string m_input;
    bool m_receivePosted = false;
    int m_commEvent = 0;
    std::uint32_t m_lastTick;
    std::int64_t m_now = 0;  // ns since the start
    clsSimCable m_cable;
    clsIHost::TimerId m_timer = 0;

    bool m_dtr = true;
    bool m_rts = true;
};
