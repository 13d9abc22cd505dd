#pragma once

#include <cstdint>
#include <string>

#include "base/clsEvent.h"

/// Causes of a communication event, as serial communications controls number them.
enum CommEventCode : int {
    CommEventSend = 1,
    CommEventReceive = 2,
    CommEventCTS = 3,
    CommEventFrameError = 1004,
    CommEventReceiveOverflow = 1008,
    CommEventOutputFull = 1010,
};

/// Values of `InputMode`.
enum CommInputMode : int { CommInputText = 0, CommInputBinary = 1 };

/// The one port abstraction: what the comm control speaks its protocol through. Shaped after a serial
/// communications control. Implemented by the serial adapter and by the port set; every member may be called
/// at any time and none runs the event loop. Communication events do not belong to it: an implementation
/// reports them to a clsMSCommEvent. Texts and inputs are bytes, one character per byte.
class clsIMScomm {
  public:
    virtual ~clsIMScomm() = default;

    [[nodiscard]] virtual bool Break() const = 0;
    virtual void SetBreak(bool value) = 0;
    [[nodiscard]] virtual bool CDHolding() const = 0;
    /// Handle of the open device; -1 when there is none.
    [[nodiscard]] virtual std::int32_t CommID() const = 0;
    /// The port's name, such as "COM1". Writing selects the port; a name that is not served changes nothing.
    [[nodiscard]] virtual std::string CommPort() const = 0;
    virtual void SetCommPort(const std::string& name) = 0;
    [[nodiscard]] virtual bool CTSHolding() const = 0;
    [[nodiscard]] virtual bool DSRHolding() const = 0;
    [[nodiscard]] virtual bool DTREnable() const = 0;
    virtual void SetDTREnable(bool value) = 0;
    [[nodiscard]] virtual bool EOFEnable() const = 0;
    virtual void SetEOFEnable(bool value) = 0;
    [[nodiscard]] virtual int HandShaking() const = 0;
    virtual void SetHandShaking(int value) = 0;
    /// Bytes that have arrived and wait to be taken. Writing 0 drops them.
    [[nodiscard]] virtual int InBufferCount() = 0;
    virtual void SetInBufferCount(int value) = 0;
    [[nodiscard]] virtual int InBufferSize() const = 0;
    virtual void SetInBufferSize(int value) = 0;
    /// Takes the waiting input: `InputLen` bytes, all of them when that is 0.
    virtual std::string CommInput() = 0;
    [[nodiscard]] virtual int InputLen() const = 0;
    virtual void SetInputLen(int value) = 0;
    [[nodiscard]] virtual int InputMode() const = 0;
    virtual void SetInputMode(int value) = 0;
    [[nodiscard]] virtual bool NullDiscard() const = 0;
    virtual void SetNullDiscard(bool value) = 0;
    [[nodiscard]] virtual int OutBufferCount() const = 0;
    virtual void SetOutBufferCount(int value) = 0;
    [[nodiscard]] virtual int OutBufferSize() const = 0;
    virtual void SetOutBufferSize(int value) = 0;
    /// Sends the bytes; they are on their way when it returns. On a closed port nothing happens.
    virtual void CommOutput(const std::string& bytes) = 0;
    [[nodiscard]] virtual std::string ParityReplace() const = 0;
    virtual void SetParityReplace(const std::string& value) = 0;
    /// Opens or closes. A port that cannot be opened stays closed; read it back to know.
    [[nodiscard]] virtual bool PortOpen() const = 0;
    virtual void SetPortOpen(bool value) = 0;
    /// Kept, and starts at 1; it never holds events back.
    [[nodiscard]] virtual int RThreshold() const = 0;
    virtual void SetRThreshold(int value) = 0;
    [[nodiscard]] virtual bool RTSEnable() const = 0;
    virtual void SetRTSEnable(bool value) = 0;
    /// Baud rate, parity, data bits, stop bits, separated by commas: "19200,N,8,1".
    [[nodiscard]] virtual std::string Settings() const = 0;
    virtual void SetSettings(const std::string& value) = 0;
    [[nodiscard]] virtual int SThreshold() const = 0;
    virtual void SetSThreshold(int value) = 0;
    /// The cause of the last communication event, a CommEventCode.
    [[nodiscard]] virtual int CommEvent() const = 0;

    /// Whether this implementation serves a port of that name.
    [[nodiscard]] virtual bool IsMyCommPort(const std::string& name) const = 0;
    [[nodiscard]] virtual int NumberOfCommPorts() = 0;
    /// The name of the port at the index, from 0; empty outside the range.
    [[nodiscard]] virtual std::string EnumCommPort(int index) = 0;
    /// Extended enumeration; empty where there is none.
    [[nodiscard]] virtual std::string EnumCommPortEx(int index, int extra) = 0;
    /// Whether the port is a keyboard wedge rather than a data port.
    [[nodiscard]] virtual bool IsPS2Port() const = 0;
};

/// The sink that port adapters report to, and the port set listens to. Owned by the port set.
class clsMSCommEvent {
  public:
    /// Something happened on `port`; its CommEvent says what.
    void RaiseOnComm(clsIMScomm& port) { OnComm.Raise(port); }
    void RaiseOnMessage(clsIMScomm& port, const std::string& message) { OnMessage.Raise(port, message); }

    clsEvent<clsIMScomm&> OnComm;
    clsEvent<clsIMScomm&, const std::string&> OnMessage;
};
