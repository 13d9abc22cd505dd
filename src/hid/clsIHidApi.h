#pragma once

#include <cstdint>
#include <string>

/// The HID library's operations as an object, named as its exports without their prefix. The first argument
/// is the handle that Create gave. Every operation answers with its empty value (0, False, empty text) when
/// the library, the export or the handle is not there. Texts and reports are bytes. Nothing here runs the
/// event loop; call-backs come only from inside Dispatch. Built by main, outlives the control.
class clsIHidApi {
  public:
    using Handle = std::uint32_t;
    /// handle, user data, event code, parameter
    using CallBackProc = std::uint32_t (*)(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t);

    virtual ~clsIHidApi() = default;

    // instance
    virtual Handle Create() = 0;
    virtual void Destroy(Handle handle) = 0;
    /// Readable when call-backs wait to be delivered; -1 when there is none.
    virtual int EventDescriptor(Handle handle) = 0;
    /// Delivers the call-backs that wait.
    virtual void Dispatch(Handle handle) = 0;

    // enumeration, from index 0
    virtual int NumberOfDevice(Handle handle) = 0;
    virtual std::string EnumDevice(Handle handle, int index) = 0;
    virtual std::string EnumDeviceName(Handle handle, int index) = 0;

    // open state
    virtual bool IsOpen(Handle handle) = 0;
    virtual bool Open(Handle handle, const std::string& name) = 0;
    /// The system's error number of the last Open, 0 when it succeeded.
    virtual int GetOpenError(Handle handle) = 0;
    virtual void Close(Handle handle) = 0;

    // data channel
    virtual bool Write(Handle handle, const std::string& bytes) = 0;
    virtual int BytesToWrite(Handle handle) = 0;
    virtual void DiscardWriteBuffer(Handle handle) = 0;
    virtual void SetWriteBufferSize(Handle handle, int size) = 0;
    /// Takes at most `count` waiting bytes.
    virtual std::string Read(Handle handle, int count) = 0;
    virtual int BytesToRead(Handle handle) = 0;
    virtual void DiscardReadBuffer(Handle handle) = 0;
    virtual void SetReadBufferSize(Handle handle, int size) = 0;

    // control channel
    virtual bool WriteCtrl(Handle handle, const std::string& bytes) = 0;
    virtual int BytesToWriteCtrl(Handle handle) = 0;
    virtual void DiscardWriteCtrlBuffer(Handle handle) = 0;
    virtual std::string ReadCtrl(Handle handle, int count) = 0;
    virtual int BytesToReadCtrl(Handle handle) = 0;
    virtual void DiscardReadCtrlBuffer(Handle handle) = 0;

    // timing, in milliseconds
    virtual int GetScanTiming(Handle handle) = 0;
    virtual void SetScanTiming(Handle handle, int value) = 0;

    // events
    virtual void SetCallBackProc(Handle handle, CallBackProc proc, std::uint32_t userData) = 0;
    virtual std::string GetParamString(Handle handle, std::uint32_t param) = 0;

    // serial-port shape
    virtual std::string GetDevicePrefix(Handle handle) = 0;
    virtual void SetDevicePrefix(Handle handle, const std::string& value) = 0;
    virtual bool GetBreak(Handle handle) = 0;
    virtual void SetBreak(Handle handle, bool value) = 0;
    virtual bool GetCTSHolding(Handle handle) = 0;
    virtual bool GetAsyncIO(Handle handle) = 0;
    virtual void SetAsyncIO(Handle handle, bool value) = 0;

    // identity; an empty device name is the open device
    virtual bool AddNewUSBID(Handle handle, int vendor, int product) = 0;
    virtual bool DeviceIsUSBID(Handle handle, int vendor, int product) = 0;
    virtual bool GetDeviceUSBID(Handle handle, int& vendor, int& product) = 0;
    virtual std::string GetDeviceManufacturer(Handle handle, const std::string& name) = 0;
    virtual std::string GetDeviceProduct(Handle handle, const std::string& name) = 0;
    virtual std::string GetDeviceSerialNumber(Handle handle, const std::string& name) = 0;
    virtual std::string GetIndexedString(Handle handle, int index) = 0;
    virtual std::string GetDeviceFile(Handle handle, const std::string& name) = 0;
    /// 0 when this process may open the device, else the system's error number.
    virtual int GetDeviceAccess(Handle handle, const std::string& name) = 0;

    // raw reports, report id first
    virtual bool GetInputReport(Handle handle, std::string& report) = 0;
    virtual bool SetOutputReport(Handle handle, const std::string& report) = 0;
    virtual bool GetFeature(Handle handle, std::string& report) = 0;
    virtual bool SetFeature(Handle handle, const std::string& report) = 0;
    // `size` is the room or the length, and becomes the number of bytes moved.
    virtual bool GetInputReportPtr(Handle handle, void* data, std::int32_t& size) = 0;
    virtual bool SetOutputReportPtr(Handle handle, const void* data, std::int32_t& size) = 0;
    virtual bool GetFeaturePtr(Handle handle, void* data, std::int32_t& size) = 0;
    virtual bool SetFeaturePtr(Handle handle, const void* data, std::int32_t& size) = 0;
    virtual int GetNumberInputBuffers(Handle handle) = 0;
    virtual void SetNumberInputBuffers(Handle handle, int value) = 0;

    // housekeeping
    virtual bool FlushQueue(Handle handle) = 0;
    virtual bool CheckDevicesIsChanged(Handle handle) = 0;
    virtual bool IsHIDIOReady(Handle handle) = 0;
};
