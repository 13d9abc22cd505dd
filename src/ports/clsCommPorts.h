#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ports/clsIMScomm.h"

/// Several ports behind the one port interface. Every member but the writing of CommPort goes to the port in
/// use; writing CommPort chooses the attached port that serves the name and hands it the properties that
/// travel. Passes on the events of the port in use alone. Owned by the comm control; the attached ports
/// outlive it or are never used again. Every forwarded member throws error 91 while no port is attached.
class clsCommPorts final : public clsIMScomm {
  public:
    /// `application` is the program's name, for the source of error 91.
    explicit clsCommPorts(std::string application);

    /// The sink that adapters are to report to.
    clsMSCommEvent& CommPortEvent() { return m_sink; }
    /// The first port attached is the port in use.
    void Attach(clsIMScomm& port, bool inFront);
    [[nodiscard]] std::size_t AttachCount() const { return m_ports.size(); }
    /// The attached port at the index, in the order of the set.
    [[nodiscard]] clsIMScomm& AttachedPort(std::size_t index) const { return *m_ports.at(index); }
    /// Whether any attached port serves a port of that name.
    [[nodiscard]] bool IsServed(const std::string& name) const;
    [[nodiscard]] clsIMScomm& PortInUse() const;

    clsEvent<> OnComm;
    clsEvent<const std::string&> OnMessage;

    [[nodiscard]] bool Break() const override;
    void SetBreak(bool value) override;
    [[nodiscard]] bool CDHolding() const override;
    [[nodiscard]] std::int32_t CommID() const override;
    [[nodiscard]] std::string CommPort() const override;
    /// An open port in use is closed first. A name that no attached port serves goes to the port in use.
    void SetCommPort(const std::string& name) override;
    [[nodiscard]] bool CTSHolding() const override;
    [[nodiscard]] bool DSRHolding() const override;
    [[nodiscard]] bool DTREnable() const override;
    void SetDTREnable(bool value) override;
    [[nodiscard]] bool EOFEnable() const override;
    void SetEOFEnable(bool value) override;
    [[nodiscard]] int HandShaking() const override;
    void SetHandShaking(int value) override;
    [[nodiscard]] int InBufferCount() override;
    void SetInBufferCount(int value) override;
    [[nodiscard]] int InBufferSize() const override;
    void SetInBufferSize(int value) override;
    std::string CommInput() override;
    [[nodiscard]] int InputLen() const override;
    void SetInputLen(int value) override;
    [[nodiscard]] int InputMode() const override;
    void SetInputMode(int value) override;
    [[nodiscard]] bool NullDiscard() const override;
    void SetNullDiscard(bool value) override;
    [[nodiscard]] int OutBufferCount() const override;
    void SetOutBufferCount(int value) override;
    [[nodiscard]] int OutBufferSize() const override;
    void SetOutBufferSize(int value) override;
    void CommOutput(const std::string& bytes) override;
    [[nodiscard]] std::string ParityReplace() const override;
    void SetParityReplace(const std::string& value) override;
    [[nodiscard]] bool PortOpen() const override;
    void SetPortOpen(bool value) override;
    [[nodiscard]] int RThreshold() const override;
    void SetRThreshold(int value) override;
    [[nodiscard]] bool RTSEnable() const override;
    void SetRTSEnable(bool value) override;
    [[nodiscard]] std::string Settings() const override;
    void SetSettings(const std::string& value) override;
    [[nodiscard]] int SThreshold() const override;
    void SetSThreshold(int value) override;
    [[nodiscard]] int CommEvent() const override;
    [[nodiscard]] bool IsMyCommPort(const std::string& name) const override;
    [[nodiscard]] int NumberOfCommPorts() override;
    [[nodiscard]] std::string EnumCommPort(int index) override;
    [[nodiscard]] std::string EnumCommPortEx(int index, int extra) override;
    [[nodiscard]] bool IsPS2Port() const override;

  private:
    /// The properties that a newly chosen port is given, in the order they are written.
    struct TravellingProperties {
        bool Break = false;
        bool DTREnable = false;
        bool EOFEnable = false;
        int HandShaking = 0;
        int InBufferSize = 0;
        int InputLen = 0;
        int InputMode = 0;
        bool NullDiscard = false;
        int OutBufferSize = 0;
        std::string ParityReplace;
        int RThreshold = 0;
        bool RTSEnable = false;
        std::string Settings;
        int SThreshold = 0;
    };
    [[nodiscard]] clsIMScomm* PortServing(const std::string& name) const;
    static TravellingProperties ReadProperties(const clsIMScomm& port);
    static void WriteProperties(const TravellingProperties& from, clsIMScomm& port);

    std::string m_application;
    std::vector<clsIMScomm*> m_ports;
    clsIMScomm* m_inUse = nullptr;
    TravellingProperties m_properties;
    clsMSCommEvent m_sink;
    clsConnection m_onComm;
    clsConnection m_onMessage;
};
