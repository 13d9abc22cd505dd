#pragma once

#include <optional>
#include <string>

#include "comm/CommDevices.h"
#include "sim/clsSimReader.h"
#include "sim/clsSimSerialControl.h"
#include "sim/hid/clsDemoBus.h"

/// What the demo's panel does to a simulated reader, however it is connected.
class clsIDemoReader {
  public:
    virtual ~clsIDemoReader() = default;
    virtual void PlaceCard(const std::optional<SimCard>& card) = 0;
    virtual void TypeText(const std::string& bytes) = 0;
    virtual void SetPlugged(bool value) = 0;
    /// One fault at a time, which takes the place of the former one; without any, none. See ParseSimFault.
    virtual void SetFault(const std::optional<SimFaultRule>& fault) = 0;
};

/// A simulated reader on a simulated serial line, COM1, and the news of its plug. Built by main.
class clsSerialDemoReader final : public clsIDemoReader {
  public:
    static constexpr int lineNumber = 1;

    explicit clsSerialDemoReader(clsIHost& host);

    [[nodiscard]] clsSimReader& Reader() { return m_reader; }
    [[nodiscard]] clsSimSerialControl& Serial() { return m_serial; }
    [[nodiscard]] clsIDeviceNotices& Notices() { return m_notices; }
    /// Bytes take as long as on a real line. Off at start.
    void SetPaced(bool value);

    void PlaceCard(const std::optional<SimCard>& card) override;
    void TypeText(const std::string& bytes) override { m_reader.TypeText(bytes); }
    void SetPlugged(bool value) override;
    void SetFault(const std::optional<SimFaultRule>& fault) override;

  private:
    bool m_plugged = true;
    clsSimReader m_reader;
    clsSimSerialControl m_serial;
    clsIDeviceNotices m_notices;
};

/// A simulated reader behind a simulated USB adapter, on the bus that `bus` leads to. Built by main, gone
/// from the bus with this object.
class clsHidDemoReader final : public clsIDemoReader {
  public:
    /// Not plugged in yet, with the example configuration.
    explicit clsHidDemoReader(const clsDemoBus& bus);
    clsHidDemoReader(const clsHidDemoReader&) = delete;
    clsHidDemoReader& operator=(const clsHidDemoReader&) = delete;
    ~clsHidDemoReader() override { m_bus.Reset(); }

    /// Takes another reader's registers over.
    void CopyRegisters(const clsSimReader& reader);

    void PlaceCard(const std::optional<SimCard>& card) override;
    void TypeText(const std::string& bytes) override;
    void SetPlugged(bool value) override;
    void SetFault(const std::optional<SimFaultRule>& fault) override;

  private:
    const clsDemoBus& m_bus;
    const int m_device;
};
