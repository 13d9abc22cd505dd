#pragma once

#include <string>

#include "base/clsIHost.h"
#include "hid/OrvHIDIO.h"
#include "ports/clsIMScomm.h"

/// The port interface over the HID control. Most members go straight to the control; names are turned into
/// display names and back, and opening and the RTS line also steer where the adapter sends what the reader
/// says. Owned by the comm control; control and sink outlive it. Usable once Attach has run.
class clsOrvHIDComm final : public clsIMScomm {
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
    [[nodiscard]] bool IsPS2Port() const override { return false; }

    [[nodiscard]] bool Break() const override { return m_control->Break(); }
    void SetBreak(bool value) override { m_control->SetBreak(value); }
    [[nodiscard]] bool CDHolding() const override { return false; }
    [[nodiscard]] std::int32_t CommID() const override { return m_control->CommID(); }
    [[nodiscard]] bool CTSHolding() const override { return m_control->CTSHolding(); }
    [[nodiscard]] bool DSRHolding() const override { return false; }
    [[nodiscard]] bool DTREnable() const override { return m_control->DTREnable(); }
    void SetDTREnable(bool value) override { m_control->SetDTREnable(value); }
    [[nodiscard]] bool EOFEnable() const override { return m_control->EOFEnable(); }
    void SetEOFEnable(bool value) override { m_control->SetEOFEnable(value); }
    [[nodiscard]] int HandShaking() const override { return m_control->HandShaking(); }
    void SetHandShaking(int value) override { m_control->SetHandShaking(value); }
    [[nodiscard]] int InBufferCount() override { return m_control->InBufferCount(); }
    void SetInBufferCount(int value) override { m_control->SetInBufferCount(value); }
    [[nodiscard]] int InBufferSize() const override { return m_control->InBufferSize(); }
    void SetInBufferSize(int value) override { m_control->SetInBufferSize(value); }
    std::string CommInput() override { return m_control->CommInput(); }
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
    void CommOutput(const std::string& bytes) override { m_control->CommOutput(bytes); }
    [[nodiscard]] std::string ParityReplace() const override { return m_control->ParityReplace(); }
    void SetParityReplace(const std::string& value) override { m_control->SetParityReplace(value); }
    [[nodiscard]] bool PortOpen() const override { return m_control->PortOpen(); }
    [[nodiscard]] int RThreshold() const override { return m_control->RThreshold(); }
    void SetRThreshold(int value) override { m_control->SetRThreshold(value); }
    [[nodiscard]] bool RTSEnable() const override { return m_control->RTSEnable(); }
    [[nodiscard]] std::string Settings() const override { return m_control->Settings(); }
    void SetSettings(const std::string& value) override { m_control->SetSettings(value); }
    [[nodiscard]] int SThreshold() const override { return m_control->SThreshold(); }
    void SetSThreshold(int value) override { m_control->SetSThreshold(value); }
    [[nodiscard]] int CommEvent() const override { return m_control->CommEvent(); }
    [[nodiscard]] int NumberOfCommPorts() override { return m_control->NumberOfCommPorts(); }

  private:
    [[nodiscard]] TarkaIODirection StoredDirection() const;

    clsIHost& m_host;
    OrvHIDIO* m_control = nullptr;
    clsConnection m_onComm;
};
