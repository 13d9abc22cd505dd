#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>

#include "base/clsEvent.h"
#include "base/clsIHost.h"
#include "base/clsIPropertyBag.h"
#include "base/clsWait.h"
#include "frame/clsTimeout.h"
#include "hid/clsIHidApi.h"
#include "hid/clsILibraryLoader.h"
#include "hidlib/orvhidio.h"

/// Where the adapter sends what the reader says: one bit each, 0 or 1.
struct TarkaIODirection {
    int SerialTo = 0;
    int PS2To = 1;
    int HIDExTo = 1;
    bool operator==(const TarkaIODirection&) const = default;
};

/// One USB HID reader as if it were a serial port, over the HID library: the port's properties, the command
/// channel, the Tarka adapter's commands and the device's identity. Hosted by the comm control; host,
/// account, loader and library outlive it. Outside user mode, without the library or without a device every
/// member answers with its empty value and says nothing.
///
/// One thread: the library's events are delivered from the host's loop. A command waits inside the host's
/// WaitEvents, so they, and any handler of the program, may run before it returns; a second command meanwhile
/// is refused (IsBusy). Must not be destroyed while busy. Destroying it closes the port without a word to
/// the adapter; whoever wants that put back closes the port before.
class OrvHIDIO {
  public:
    /// Its commands count in `waits`. `messageBox` shows a critical error; it may be empty.
    OrvHIDIO(clsIHost& host, clsWaitAccount& waits, clsILibraryLoader& loader, clsIHidApi& api, bool userMode,
             std::function<void(const std::string&)> messageBox = {});
    OrvHIDIO(const OrvHIDIO&) = delete;
    OrvHIDIO& operator=(const OrvHIDIO&) = delete;
    ~OrvHIDIO();

    clsEvent<std::uint32_t, const std::string&> OnDevice;  ///< event code, device name
    clsEvent<std::uint32_t, std::uint32_t> OnOrvHIDProc;   ///< every library event: code, parameter
    clsEvent<> OnComm;                                     ///< CommEvent says what
    /// A command to the adapter as it goes out, and what came of its answer (True) when its wait is over.
    /// Nobody may start a command from in here.
    clsEvent<const std::string&, bool> OnAdapterData;

    // -- life -----------------------------------------------------------------------------------------------
    /// Reads the persistent properties and, in user mode, looks for the library and its optional exports.
    void ReadProperties(const clsIPropertyBag& bag);
    void WriteProperties(clsIPropertyBag& bag) const;
    /// Whether the library exports `name`. Kept on purpose: each call that finds the library gives back one
    /// reference, also one that it did not take.
    bool IsFunctionSupported(const std::string& name);
    /// The library's call-back arrives here, through modOrvHID.
    std::uint32_t OrvHIDIOProc(std::uint32_t handle, std::uint32_t event, std::uint32_t param);

    // -- the port's shape -----------------------------------------------------------------------------------
    [[nodiscard]] const std::string& CommPort() const { return m_commPort; }
    void SetCommPort(const std::string& name) { m_commPort = name; }
    bool PortOpen();
    /// Opening takes 350 ms and more behind an adapter; a cancel ends its attempts, and an adapter that has
    /// not said anything by then is asked nothing more until the port is opened again. Closing an open port
    /// ends the command that waits, restores the adapter and takes 50 ms.
    void SetPortOpen(bool value);
    /// The system's error number of the last try to open this device, 0 when it succeeded or there was none:
    /// EBUSY when another program has it open.
    [[nodiscard]] int OpenError(const std::string& name) const;
    bool Break();
    void SetBreak(bool value);
    bool CTSHolding();
    /// The library's event descriptor while the port is open, else -1.
    std::int32_t CommID();
    [[nodiscard]] bool DTREnable() const { return m_dtrEnable; }
    void SetDTREnable(bool value) { m_dtrEnable = value; }
    [[nodiscard]] bool RTSEnable() const { return m_rtsEnable; }
    void SetRTSEnable(bool value) { m_rtsEnable = value; }
    [[nodiscard]] bool EOFEnable() const { return m_eofEnable; }
    void SetEOFEnable(bool value) { m_eofEnable = value; }
    [[nodiscard]] int HandShaking() const { return m_handShaking; }
    void SetHandShaking(int value) { m_handShaking = value; }
    [[nodiscard]] bool NullDiscard() const { return m_nullDiscard; }
    void SetNullDiscard(bool value) { m_nullDiscard = value; }
    [[nodiscard]] const std::string& ParityReplace() const { return m_parityReplace; }
    void SetParityReplace(const std::string& value) { m_parityReplace = value; }
    [[nodiscard]] int RThreshold() const { return m_rThreshold; }
    void SetRThreshold(int value) { m_rThreshold = value; }
    [[nodiscard]] int SThreshold() const { return m_sThreshold; }
    void SetSThreshold(int value) { m_sThreshold = value; }
    [[nodiscard]] int InputLen() const { return m_inputLen; }
    void SetInputLen(int value) { m_inputLen = value; }
    [[nodiscard]] int InputMode() const { return m_inputMode; }
    void SetInputMode(int value) { m_inputMode = value; }
    [[nodiscard]] int InBufferSize() const { return m_inBufferSize; }
    void SetInBufferSize(int value);
    [[nodiscard]] int OutBufferSize() const { return m_outBufferSize; }
    void SetOutBufferSize(int value);
    // The channel of these four is the control channel in control mode, else the data channel.
    int InBufferCount();
    void SetInBufferCount(int value);
    int OutBufferCount();
    void SetOutBufferCount(int value);
    std::string CommInput();
    void CommOutput(const std::string& bytes);
    /// The data channel in either mode.
    void DataOutput(const std::string& bytes);
    /// "19200,N,8,1": the rate is the adapter's, the rest is fixed. On an open port the new rate is sent to
    /// the adapter, up to three times; the stored rate changes only when that succeeds.
    [[nodiscard]] std::string Settings() const;
    void SetSettings(const std::string& value);
    [[nodiscard]] int CommEvent() const { return m_commEvent; }
    int NumberOfCommPorts();
    std::string EnumCommPort(int index);
    std::string EnumCommPortEx(int index);
    /// Whether `name` is the prefix and a number 1..256, or the path of a device with the readers' ids.
    bool IsMyCommPort(const std::string& name);
    /// Whether the device's rate has to be found out: never. A reader on HID hears at every rate, and an
    /// adapter is told its reader's.
    [[nodiscard]] static bool IsBaudrateSupported() { return false; }
    [[nodiscard]] bool IsHIDControlMode() const { return m_controlMode; }
    /// Bytes that already wait on the channel chosen are announced anew.
    void SetIsHIDControlMode(bool value);
    int ScanTiming();
    void SetScanTiming(int value);
    std::string DevicePrefix();
    void SetDevicePrefix(const std::string& value);
    bool AsyncIO();
    void SetAsyncIO(bool value);
    bool FlushQueue();
    bool CheckDevicesIsChanged();
    /// True once after a device arrived.
    bool IsNewDevicePlugin();
    bool IsHIDIOReady();
    bool GetInputReport(std::string& report);
    bool SetOutputReport(const std::string& report);
    bool GetFeature(std::string& report);
    bool SetFeature(const std::string& report);
    // The same between the program's own memory and the device: `size` is the room or the length, and becomes
    // the number of bytes moved.
    bool GetInputReportPtr(void* data, std::int32_t& size);
    bool SetOutputReportPtr(const void* data, std::int32_t& size);
    bool GetFeaturePtr(void* data, std::int32_t& size);
    bool SetFeaturePtr(const void* data, std::int32_t& size);
    int GetNumberInputBuffers();
    void SetNumberInputBuffers(int value);

    // -- commands -------------------------------------------------------------------------------------------
    /// One adapter command: True when it was acknowledged. 1000 ms until the first byte, 150 ms between
    /// pieces. More than 255 data bytes are refused unsent.
    bool SendHIDCMD(std::uint8_t code, const std::string& data, std::string& answer);
    /// The bytes as they are on the control channel; the whole answer as it came.
    bool SendHIDRawCmd(const std::string& bytes, std::string& answer);
    /// One OrvNet command; the answer is the text between STX and CR, checksum digits included. What has not
    /// come to its end after 5 s or 64 KiB is no answer.
    bool SendHIDOrvNetCmd(const std::string& command, bool addChecksum, std::string& answer,
                          bool checkChecksum);
    /// The reader's memory image, 512 bytes; a partial one leaves `image` as it was.
    bool SendHIDOrvNetDumpCmd(std::span<std::uint8_t> image);
    [[nodiscard]] bool IsBusy() const { return m_busy; }
    /// Entries into the command members that have not returned: above 1 inside a command that was refused.
    [[nodiscard]] int NestingDepth() const { return m_nesting; }
    /// Ends the wait in progress, and the attempts of an open, at once; it is the cancel of all that `waits`
    /// counts.
    void CancelHIDCommand() { m_waits.Cancel(); }
    [[nodiscard]] bool IsSendHIDCmdNAK() const { return m_nak; }
    [[nodiscard]] bool IsCommandNotSupported() const { return m_notSupported; }

    // -- the adapter's commands -----------------------------------------------------------------------------
    bool SetHIDBaudrate(std::int32_t baud);
    bool SetTarkaKeyCode(std::uint8_t b1, std::uint8_t b2, std::uint8_t b3);
    bool SetTarkaIODirect(const TarkaIODirection& direction);
    std::string GetHIDVersion();
    bool GetTarkaDefaultIODirect(TarkaIODirection& direction);
    /// Kept on purpose: `data` is left as it is, the result alone reports the read. At most 8 bytes a call.
    bool TarkaGetRegister(std::uint16_t address, std::span<const std::uint8_t> data, int start, int count);
    bool TarkaSetRegister(std::uint16_t address, std::span<const std::uint8_t> data, int start, int count);
    bool TarkaEraseFlash();
    bool TarkaDiscardBuffer();
    [[nodiscard]] bool TarkaIsKeyboardExist() const { return m_keyboardExists; }
    [[nodiscard]] int TarkaDefaultSerialTo() const { return m_direction.SerialTo; }
    [[nodiscard]] int TarkaDefaultPS2To() const { return m_direction.PS2To; }
    [[nodiscard]] int TarkaDefaultHIDExTo() const { return m_direction.HIDExTo; }
    [[nodiscard]] bool TarkaCmdSetEnabled() const { return m_tarkaCmdSetEnabled; }
    void SetTarkaCmdSetEnabled(bool value) { m_tarkaCmdSetEnabled = value; }

    // -- identity -------------------------------------------------------------------------------------------
    /// Can be changed only outside user mode and without a device; else a message box says so.
    [[nodiscard]] std::int32_t DefaultVendorID() const { return m_vendorID; }
    void SetDefaultVendorID(std::int32_t value);
    /// -1 is any product.
    [[nodiscard]] std::int32_t DefaultProductID() const { return m_productID; }
    void SetDefaultProductID(std::int32_t value);
    [[nodiscard]] std::string DefaultHexVendorID() const;
    void SetDefaultHexVendorID(const std::string& text);
    [[nodiscard]] std::string DefaultHexProductID() const;
    /// Kept on purpose: "(Any PID)" ends at 0, not at -1.
    void SetDefaultHexProductID(const std::string& text);
    bool AddNewUSBID(int vendor, int product);
    bool DeviceIsUSBID(int vendor, int product);
    bool GetDeviceUSBID(int& vendor, int& product);
    std::string GetDeviceManufacturer(const std::string& name);
    std::string GetDeviceProduct(const std::string& name);
    std::string GetDeviceSerialNumber(const std::string& name);
    std::string GetDeviceFile(const std::string& name);
    /// 0 when this process may open the device, else the system's error number.
    int GetDeviceAccess(const std::string& name);
    std::string GetIndexedString(int index);

  private:
    /// The four exports that a library may lack.
    struct OptionalFunctions {
        bool AddNewUSBID = false;
        bool GetDeviceUSBID = false;
        bool FlushQueue = false;
        bool CheckDevicesIsChanged = false;
    };
    enum class Channel { Data, Control };

    void Probe();
    bool Create();
    void OpenPort();
    void ClosePort();
    void ReadAdapter();
    void RaiseComm(int event);
    bool BeginAttempt(std::uint32_t session);
    std::uint32_t BeginSession();
    [[nodiscard]] bool InSession(std::uint32_t session);

    // commands
    [[nodiscard]] bool MayStart();
    [[nodiscard]] bool MayAskAdapter();
    bool AdapterExchange(const std::string& packet, std::string& received, std::size_t& answerLength);
    template <class Take>
    void Receive(Channel channel, std::int32_t pieceTimeout, std::int32_t longest, Take take);
    [[nodiscard]] Channel CommandChannel() const { return m_controlMode ? Channel::Control : Channel::Data; }
    int Waiting(Channel channel);
    std::string TakeAll(Channel channel);
    bool Put(Channel channel, const std::string& bytes);
    void Discard(Channel channel);
    bool RefuseChange(const char* message);

    clsIHost& m_host;
    clsWaitAccount& m_waits;
    clsILibraryLoader& m_loader;
    clsIHidApi& m_api;
    const bool m_userMode;
    std::function<void(const std::string&)> m_messageBox;
    const std::uint32_t m_id;

    bool m_library = false;
    OptionalFunctions m_optional;
    clsIHidApi::Handle m_handle = 0;
    clsConnection m_watch;

    std::string m_commPort;
    std::int32_t m_baudRate = 19200;
    int m_inBufferSize = 2048;
    int m_outBufferSize = 2048;
    int m_rThreshold = 1;
    int m_sThreshold = 0;
    int m_inputLen = 0;
    int m_inputMode = 0;
    int m_handShaking = 0;
    bool m_dtrEnable = false;
    bool m_rtsEnable = false;
    bool m_eofEnable = false;
    bool m_nullDiscard = false;
    std::string m_parityReplace;
    std::int32_t m_vendorID = HidReaderVendor;
    std::int32_t m_productID = HidReaderProduct;
    int m_commEvent = 0;

    std::uint32_t m_session = 0;  // counts every opening and closing: what waited before waits no more
    std::map<std::string, int> m_openErrors;  // by device

    bool m_busy = false;
    std::uint32_t m_openGeneration = 0;  // the cancels as the port was opened
    std::int16_t m_nesting = 0;
    bool m_orvNetActive = false;
    bool m_nak = false;
    bool m_notSupported = false;
    bool m_tarkaCmdSetEnabled = true;
    bool m_adapterAnswered = false;  // anything, since the port was opened
    bool m_controlMode = false;
    bool m_newDevice = false;
    bool m_keyboardExists = false;
    TarkaIODirection m_direction;
    std::optional<clsTimeout> m_timer;  // created on first use
};
