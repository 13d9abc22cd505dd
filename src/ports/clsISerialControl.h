#pragma once

#include <cstdint>
#include <string>

#include "base/clsEvent.h"
#include "ports/PortReason.h"
#include "ports/clsIMScomm.h"

/// The platform's serial communications control: one line of the machine at a time, chosen by port number,
/// and the list of the machine's ports. Built by main, outlives the comm control that drives it. Events are
/// raised from the loop only, never from inside a call; every member may be called from a handler.
class clsISerialControl {
  public:
    clsISerialControl() = default;
    clsISerialControl(const clsISerialControl&) = delete;
    clsISerialControl& operator=(const clsISerialControl&) = delete;
    virtual ~clsISerialControl() = default;

    /// The number n of port COMn.
    [[nodiscard]] virtual int CommPort() const = 0;
    /// False when the number is refused (no such line); the former number stays. An open line stays the one
    /// that it is until it is closed.
    virtual bool SetCommPort(int number) = 0;
    [[nodiscard]] virtual bool PortOpen() const = 0;
    /// A line that cannot be opened stays closed; LastFailure then tells why. Opening raises
    /// DTR and RTS where the line has them and drops what an earlier opening left in the buffers.
    virtual void SetPortOpen(bool value) = 0;
    /// What kept the line from being opened last time, no obstacle when it opened.
    [[nodiscard]] virtual PortReason LastFailure() const = 0;
    /// "19200,N,8,1" at start. A text it rejects (rate 0, bad parity or bits) leaves the former one.
    [[nodiscard]] virtual std::string Settings() const = 0;
    virtual void SetSettings(const std::string& value) = 0;

    [[nodiscard]] virtual bool DTREnable() const = 0;
    virtual void SetDTREnable(bool value) = 0;
    [[nodiscard]] virtual bool RTSEnable() const = 0;
    virtual void SetRTSEnable(bool value) = 0;
    [[nodiscard]] virtual bool CDHolding() const = 0;
    [[nodiscard]] virtual bool CTSHolding() const = 0;
    [[nodiscard]] virtual bool DSRHolding() const = 0;
    [[nodiscard]] virtual std::int32_t CommID() const = 0;

    [[nodiscard]] virtual bool EOFEnable() const = 0;
    virtual void SetEOFEnable(bool value) = 0;
    [[nodiscard]] virtual int HandShaking() const = 0;
    virtual void SetHandShaking(int value) = 0;
    [[nodiscard]] virtual bool NullDiscard() const = 0;
    virtual void SetNullDiscard(bool value) = 0;
    [[nodiscard]] virtual int InputLen() const = 0;
    virtual void SetInputLen(int value) = 0;
    [[nodiscard]] virtual int InputMode() const = 0;
    virtual void SetInputMode(int value) = 0;
    [[nodiscard]] virtual int InBufferSize() const = 0;
    virtual void SetInBufferSize(int value) = 0;
    [[nodiscard]] virtual int OutBufferSize() const = 0;
    virtual void SetOutBufferSize(int value) = 0;

    /// Takes in what has arrived, also what the loop has not announced yet. Writing 0 drops it.
    [[nodiscard]] virtual int InBufferCount() = 0;
    virtual void SetInBufferCount(int value) = 0;
    [[nodiscard]] virtual int OutBufferCount() const = 0;
    virtual void SetOutBufferCount(int value) = 0;
    /// Takes `InputLen` waiting bytes, all of them when that is 0.
    virtual std::string Input() = 0;
    /// The bytes are handed to the system when it returns.
    virtual void Output(const std::string& bytes) = 0;
    /// The cause of the last OnComm: CommEventReceive or CommEventFrameError.
    [[nodiscard]] virtual int CommEvent() const = 0;

    /// Looks for the ports anew; EnumCommPort names those that were found.
    [[nodiscard]] virtual int NumberOfCommPorts() = 0;
    /// "COMn" of the port at the index, from 0; empty outside the range.
    [[nodiscard]] virtual std::string EnumCommPort(int index) = 0;

    /// Bytes have arrived, or the line reported an error.
    clsEvent<> OnComm;
    /// The open line is gone (end of file, I/O error). Raised once, after the control has stopped watching
    /// it; the port still reads as open until it is closed.
    clsEvent<> OnLost;
};

/// What a serial control only remembers, because a reader's line is always read as bytes, without flow
/// control and without an end. The base of the controls that are not the interface alone.
class clsSerialControlBase : public clsISerialControl {
  public:
    [[nodiscard]] bool EOFEnable() const override { return m_eofEnable; }
    void SetEOFEnable(bool value) override { m_eofEnable = value; }
    [[nodiscard]] int HandShaking() const override { return m_handShaking; }
    void SetHandShaking(int value) override { m_handShaking = value; }
    [[nodiscard]] bool NullDiscard() const override { return m_nullDiscard; }
    void SetNullDiscard(bool value) override { m_nullDiscard = value; }
    [[nodiscard]] int InputLen() const override { return m_inputLen; }
    void SetInputLen(int value) override { m_inputLen = value; }
    [[nodiscard]] int InputMode() const override { return m_inputMode; }
    void SetInputMode(int value) override { m_inputMode = value; }
    [[nodiscard]] int InBufferSize() const override { return m_inBufferSize; }
    void SetInBufferSize(int value) override { m_inBufferSize = value; }
    [[nodiscard]] int OutBufferSize() const override { return m_outBufferSize; }
    void SetOutBufferSize(int value) override { m_outBufferSize = value; }

  private:
    bool m_eofEnable = false;
    int m_handShaking = 0;
    bool m_nullDiscard = false;
    int m_inputLen = 0;
    int m_inputMode = CommInputText;
    int m_inBufferSize = 1024;
    int m_outBufferSize = 512;
};
