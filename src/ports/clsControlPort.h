#pragma once

#include <string>

#include "ports/clsIMScomm.h"

/// What the port interface over a control hands straight to that control, which has it under the same name.
/// The base of the adapters; usable once the control is set.
template <class Control>
class clsControlPort : public clsIMScomm {
  public:
    [[nodiscard]] bool IsPS2Port() const override { return false; }
    [[nodiscard]] std::int32_t CommID() const override { return m_control->CommID(); }
    [[nodiscard]] bool CTSHolding() const override { return m_control->CTSHolding(); }
    [[nodiscard]] bool DTREnable() const override { return m_control->DTREnable(); }
    [[nodiscard]] bool EOFEnable() const override { return m_control->EOFEnable(); }
    void SetEOFEnable(bool value) override { m_control->SetEOFEnable(value); }
    [[nodiscard]] int HandShaking() const override { return m_control->HandShaking(); }
    void SetHandShaking(int value) override { m_control->SetHandShaking(value); }
    [[nodiscard]] int InBufferCount() override { return m_control->InBufferCount(); }
    void SetInBufferCount(int value) override { m_control->SetInBufferCount(value); }
    [[nodiscard]] int InBufferSize() const override { return m_control->InBufferSize(); }
    void SetInBufferSize(int value) override { m_control->SetInBufferSize(value); }
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
    [[nodiscard]] bool PortOpen() const override { return m_control->PortOpen(); }
    [[nodiscard]] bool RTSEnable() const override { return m_control->RTSEnable(); }
    [[nodiscard]] std::string Settings() const override { return m_control->Settings(); }
    [[nodiscard]] int CommEvent() const override { return m_control->CommEvent(); }
    [[nodiscard]] int NumberOfCommPorts() override { return m_control->NumberOfCommPorts(); }

  protected:
    Control* m_control = nullptr;  ///< outlives the port
};
