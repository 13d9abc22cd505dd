#pragma once

#include <string>

#include "ports/clsIMScomm.h"
#include "ports/clsISerialControl.h"

/// The port interface over the serial control. It keeps its own copy of the line settings and applies it
/// again whenever the port is opened or closed or a handshake line changes, and it heals a framing error by
/// opening the port anew. Owned by the comm control; control and sink outlive it. Usable once Attach has run.
class clsMSComm : public clsIMScomm {
  public:
    /// A null control leaves the settings copy at "19200,N,8,1"; the object is then not usable.
    void Attach(clsISerialControl* control, clsMSCommEvent* sink);

    // Kept here and never passed on: Break and ParityReplace read as nothing, the thresholds are remembered.
    [[nodiscard]] bool Break() const override { return false; }
    void SetBreak(bool) override {}
    [[nodiscard]] std::string ParityReplace() const override { return {}; }
    void SetParityReplace(const std::string&) override {}
    [[nodiscard]] int RThreshold() const override { return m_rThreshold; }
    void SetRThreshold(int value) override { m_rThreshold = value; }
    [[nodiscard]] int SThreshold() const override { return m_sThreshold; }
    void SetSThreshold(int value) override { m_sThreshold = value; }

    /// "COM" and the control's port number.
    [[nodiscard]] std::string CommPort() const override;
    /// A bare number selects that port and leaves an open line alone; "COM" (upper case) and a number closes
    /// it first; any other name does nothing.
    void SetCommPort(const std::string& name) override;
    [[nodiscard]] bool PortOpen() const override { return m_control->PortOpen(); }
    void SetPortOpen(bool value) override;
    [[nodiscard]] bool DTREnable() const override { return m_control->DTREnable(); }
    void SetDTREnable(bool value) override;
    [[nodiscard]] bool RTSEnable() const override { return m_control->RTSEnable(); }
    void SetRTSEnable(bool value) override;
    [[nodiscard]] std::string Settings() const override { return m_control->Settings(); }
    void SetSettings(const std::string& value) override;

    [[nodiscard]] bool CDHolding() const override { return m_control->CDHolding(); }
    [[nodiscard]] std::int32_t CommID() const override { return m_control->CommID(); }
    [[nodiscard]] bool CTSHolding() const override { return m_control->CTSHolding(); }
    [[nodiscard]] bool DSRHolding() const override { return m_control->DSRHolding(); }
    [[nodiscard]] bool EOFEnable() const override { return m_control->EOFEnable(); }
    void SetEOFEnable(bool value) override { m_control->SetEOFEnable(value); }
    [[nodiscard]] int HandShaking() const override { return m_control->HandShaking(); }
    void SetHandShaking(int value) override { m_control->SetHandShaking(value); }
    [[nodiscard]] int InBufferCount() override { return m_control->InBufferCount(); }
    void SetInBufferCount(int value) override { m_control->SetInBufferCount(value); }
    [[nodiscard]] int InBufferSize() const override { return m_control->InBufferSize(); }
    void SetInBufferSize(int value) override { m_control->SetInBufferSize(value); }
    std::string CommInput() override { return m_control->Input(); }
    [[nodiscard]] int InputLen() const override { return m_control->InputLen(); }
    void SetInputLen(int value) override { m_control->SetInputLen(value); }
    [[nodiscard]] int InputMode() const override { return m_control->InputMode(); }
    void SetInputMode(int value) override { m_control->SetInputMode(value); }
    [[nodiscard]] bool NullDiscard() const override { return m_control->NullDiscard(); }
    void SetNullDiscard(bool value) override { m_control->SetNullDiscard(value); }
    [[nodiscard]] int OutBufferCount() const override { return m_control->OutBufferCount(); }
    void SetOutBufferCount(int value) override { m_control->SetOutBufferCount(value); }
    [[nodiscard]] int OutBufferSize() const override { return m_control->OutBufferSize(); }
    void SetOutBufferSize(int value) override { m_control->SetOutBufferSize(value); }
    void CommOutput(const std::string& bytes) override { m_control->Output(bytes); }
    [[nodiscard]] int CommEvent() const override { return m_control->CommEvent(); }

    /// True for a name that begins with "COM" in any letter case. SetCommPort wants upper case; the two
    /// tests differ on purpose.
    [[nodiscard]] bool IsMyCommPort(const std::string& name) const override;
    [[nodiscard]] int NumberOfCommPorts() override { return m_control->NumberOfCommPorts(); }
    [[nodiscard]] std::string EnumCommPort(int index) override { return m_control->EnumCommPort(index); }
    [[nodiscard]] std::string EnumCommPortEx(int, int) override { return {}; }
    [[nodiscard]] bool IsPS2Port() const override { return false; }

  private:
    void HandleComm();
    void ReapplySettings();

    clsISerialControl* m_control = nullptr;
    clsMSCommEvent* m_sink = nullptr;
    std::string m_settings = "19200,N,8,1";
    int m_rThreshold = 1;
    int m_sThreshold = 0;
    clsConnection m_onComm;
};
