#pragma once

#include <QSerialPort>
#include <memory>
#include <string>
#include <vector>

#include "base/clsIHost.h"
#include "platform/clsPortList.h"
#include "ports/clsISerialControl.h"

/// The serial control over the system's lines: raw bytes, no flow control, exclusive. Built by main; host and
/// port list outlive it. Bytes are stored where they arrive and announced from the host's loop, so that a
/// handler may do anything, close the line included.
class clsQtSerialControl final : public clsSerialControlBase {
  public:
    clsQtSerialControl(clsIHost& host, const clsPortList& ports);
    ~clsQtSerialControl() override;

    [[nodiscard]] int CommPort() const override { return m_number; }
    /// An open line stays open under its new number; the device changes with the next opening.
    bool SetCommPort(int number) override;
    [[nodiscard]] bool PortOpen() const override { return m_open; }
    void SetPortOpen(bool value) override;
    [[nodiscard]] std::string LastError() const override { return m_lastError; }
    [[nodiscard]] std::string Settings() const override { return m_settings; }
    void SetSettings(const std::string& value) override;

    [[nodiscard]] bool DTREnable() const override { return m_dtr; }
    void SetDTREnable(bool value) override;
    [[nodiscard]] bool RTSEnable() const override { return m_rts; }
    void SetRTSEnable(bool value) override;
    [[nodiscard]] bool CDHolding() const override { return Line(QSerialPort::DataCarrierDetectSignal); }
    [[nodiscard]] bool CTSHolding() const override { return Line(QSerialPort::ClearToSendSignal); }
    [[nodiscard]] bool DSRHolding() const override { return Line(QSerialPort::DataSetReadySignal); }
    [[nodiscard]] std::int32_t CommID() const override;

    [[nodiscard]] int InBufferCount() const override;
    void SetInBufferCount(int value) override;
    [[nodiscard]] int OutBufferCount() const override;
    std::string Input() override;
    void SetOutBufferCount(int value) override;
    void Output(const std::string& bytes) override;
    [[nodiscard]] int CommEvent() const override { return m_commEvent; }

    [[nodiscard]] int NumberOfCommPorts() const override;
    [[nodiscard]] std::string EnumCommPort(int index) const override;

  private:
    void Open();
    void Close();
    bool Apply(const std::string& settings);
    [[nodiscard]] bool Line(QSerialPort::PinoutSignal signal) const;
    void Store(const char* bytes, std::size_t count) const;
    void PullIn() const;
    void Announce();
    void HandleError(QSerialPort::SerialPortError error);
    [[nodiscard]] bool FrameErrorsGrew();

    clsIHost& m_host;
    const clsPortList& m_ports;
    mutable QSerialPort m_port;
    mutable std::string m_input;  // taken from the port, not yet from here
    mutable std::vector<std::string> m_names;
    int m_number = 1;
    bool m_open = false;
    mutable bool m_announced = false;  // an event for the stored bytes is on its way
    bool m_countsFrameErrors = false;
    int m_frameErrors = 0;
    int m_commEvent = 0;
    std::shared_ptr<bool> m_opening;  // lives as long as the line stays open: a posted event looks for it
    std::string m_lastError;
    std::string m_settings = "19200,N,8,1";
    bool m_dtr = true;
    bool m_rts = true;
};
