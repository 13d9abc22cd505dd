#pragma once

#include <QObject>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/clsIHost.h"
#include "ports/clsISerialControl.h"
#include "system/clsPortList.h"
#include "system/clsTtyLine.h"

class QSocketNotifier;

/// The serial control over the system's lines: raw bytes, no flow control, exclusive. Built by main; host and
/// port list outlive it. Bytes are stored where they arrive and announced from the host's loop, so that a
/// handler may do anything, close the line included.
class clsQtSerialControl final : public clsSerialControlBase {
  public:
    /// Lock files go into `lockFolder`, where other programs on serial lines look for them.
    clsQtSerialControl(clsIHost& host, clsPortList& ports, std::string lockFolder = "/var/lock");
    ~clsQtSerialControl() override;

    [[nodiscard]] int CommPort() const override { return m_number; }
    /// An open line stays open under its new number; the device changes with the next opening.
    bool SetCommPort(int number) override;
    [[nodiscard]] bool PortOpen() const override { return m_open; }
    void SetPortOpen(bool value) override;
    [[nodiscard]] PortReason LastFailure() const override { return m_failure; }
    [[nodiscard]] std::string Settings() const override { return m_settings; }
    void SetSettings(const std::string& value) override;

    [[nodiscard]] bool DTREnable() const override { return m_dtr; }
    void SetDTREnable(bool value) override;
    [[nodiscard]] bool RTSEnable() const override { return m_rts; }
    void SetRTSEnable(bool value) override;
    [[nodiscard]] bool CDHolding() const override;
    [[nodiscard]] bool CTSHolding() const override;
    [[nodiscard]] bool DSRHolding() const override;
    [[nodiscard]] std::int32_t CommID() const override;

    [[nodiscard]] int InBufferCount() override;
    void SetInBufferCount(int value) override;
    [[nodiscard]] int OutBufferCount() const override;
    std::string Input() override;
    void SetOutBufferCount(int value) override;
    void Output(const std::string& bytes) override;
    [[nodiscard]] int CommEvent() const override { return m_commEvent; }

    [[nodiscard]] int NumberOfCommPorts() override;
    [[nodiscard]] std::string EnumCommPort(int index) override;

  private:
    void Open();
    void Close();
    void CloseLine();
    bool Apply(const std::string& settings);
    void Store(const char* bytes, std::size_t count);
    bool PullIn();
    void Announce();
    void SendOn();
    void AwaitRoom(bool value);
    void Lose();
    [[nodiscard]] bool FrameErrorsGrew();

    clsIHost& m_host;
    clsPortList& m_ports;
    clsTtyLine m_line;
    clsConnection m_readable;
    QObject m_notifiers;                // their owner: one may be on its way out when the loop ends
    QSocketNotifier* m_room = nullptr;  // while the line does not take all that is to be sent
    std::string m_unsent;
    std::string m_input;  // taken from the line, not yet from here
    std::vector<std::string> m_names;
    int m_number = 1;
    bool m_open = false;
    bool m_announced = false;  // an event for the stored bytes is on its way
    std::optional<int> m_frameErrors;
    int m_commEvent = 0;
    std::shared_ptr<bool> m_opening;  // lives as long as the line stays open: a posted event looks for it
    PortReason m_failure;
    std::string m_settings = "19200,N,8,1";
    bool m_dtr = true;
    bool m_rts = true;
};
