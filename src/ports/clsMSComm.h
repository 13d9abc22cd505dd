#pragma once

#include <string>

#include "ports/clsControlPort.h"
#include "ports/clsISerialControl.h"

/// The port interface over the serial control. It keeps its own copy of the line settings and applies it
/// again whenever the port is opened or closed or a handshake line changes, and it heals a framing error by
/// opening the port anew. Owned by the comm control; control and sink outlive it. Usable once Attach has run.
class clsMSComm : public clsControlPort<clsISerialControl> {
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
    void SetPortOpen(bool value) override;
    void SetDTREnable(bool value) override;
    void SetRTSEnable(bool value) override;
    void SetSettings(const std::string& value) override;

    [[nodiscard]] bool CDHolding() const override { return m_control->CDHolding(); }
    [[nodiscard]] bool DSRHolding() const override { return m_control->DSRHolding(); }
    std::string CommInput() override { return m_control->Input(); }
    void CommOutput(const std::string& bytes) override { m_control->Output(bytes); }

    /// True for a name that begins with "COM" in any letter case. SetCommPort wants upper case; the two
    /// tests differ on purpose.
    [[nodiscard]] bool IsMyCommPort(const std::string& name) const override;
    [[nodiscard]] std::string EnumCommPort(int index) override { return m_control->EnumCommPort(index); }
    [[nodiscard]] std::string EnumCommPortEx(int, int) override { return {}; }

  private:
    void HandleComm();
    void ReapplySettings();

    clsMSCommEvent* m_sink = nullptr;
    std::string m_settings = "19200,N,8,1";
    int m_rThreshold = 1;
    int m_sThreshold = 0;
    clsConnection m_onComm;
};
