#pragma once

#include <string>

#include "base/clsIHost.h"
#include "hid/OrvHIDIO.h"
#include "ports/clsControlPort.h"

/// The port interface over the HID control. Most members go straight to the control; names are turned into
/// display names and back, and opening and the RTS line also steer where the adapter sends what the reader
/// says. Owned by the comm control; control and sink outlive it. Usable once Attach has run.
class clsOrvHIDComm final : public clsControlPort<OrvHIDIO> {
  public:
    explicit clsOrvHIDComm(clsIHost& host) : m_host(host) {}
    void Attach(OrvHIDIO& control, clsMSCommEvent& sink);

    /// The display name; writing takes it or the bare name.
    [[nodiscard]] std::string CommPort() const override;
    void SetCommPort(const std::string& name) override;
    void SetPortOpen(bool value) override;
    void SetRTSEnable(bool value) override;
    [[nodiscard]] bool IsMyCommPort(const std::string& name) const override;
    [[nodiscard]] std::string EnumCommPort(int index) override;
    [[nodiscard]] std::string EnumCommPortEx(int index, int) override {
        return m_control->EnumCommPortEx(index);
    }

    [[nodiscard]] bool Break() const override { return m_control->Break(); }
    void SetBreak(bool value) override { m_control->SetBreak(value); }
    [[nodiscard]] bool CDHolding() const override { return false; }
    [[nodiscard]] bool DSRHolding() const override { return false; }
    void SetDTREnable(bool value) override { m_control->SetDTREnable(value); }
    std::string CommInput() override { return m_control->CommInput(); }
    void CommOutput(const std::string& bytes) override { m_control->CommOutput(bytes); }
    [[nodiscard]] std::string ParityReplace() const override { return m_control->ParityReplace(); }
    void SetParityReplace(const std::string& value) override { m_control->SetParityReplace(value); }
    [[nodiscard]] int RThreshold() const override { return m_control->RThreshold(); }
    void SetRThreshold(int value) override { m_control->SetRThreshold(value); }
    void SetSettings(const std::string& value) override { m_control->SetSettings(value); }
    [[nodiscard]] int SThreshold() const override { return m_control->SThreshold(); }
    void SetSThreshold(int value) override { m_control->SetSThreshold(value); }

  private:
    [[nodiscard]] TarkaIODirection StoredDirection() const;

    clsIHost& m_host;
    clsConnection m_onComm;
};
