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
    virtual Handle Create() { return 0; }
    virtual void Destroy(Handle /*handle*/) {}
    /// Readable when call-backs wait to be delivered; -1 when there is none.
    virtual int EventDescriptor(Handle /*handle*/) { return -1; }
    /// Delivers the call-backs that wait.
    virtual void Dispatch(Handle /*handle*/) {}

    // enumeration, from index 0
    virtual int NumberOfDevice(Handle /*handle*/) { return 0; }
    virtual std::string EnumDevice(Handle /*handle*/, int /*index*/) { return {}; }
    virtual std::string EnumDeviceName(Handle /*handle*/, int /*index*/) { return {}; }

    // open state
    virtual bool IsOpen(Handle /*handle*/) { return false; }
    virtual bool Open(Handle /*handle*/, const std::string& /*name*/) { return false; }
    /// The system's error number of the last Open, 0 when it succeeded.
    virtual int GetOpenError(Handle /*handle*/) { return 0; }
    virtual void Close(Handle /*handle*/) {}

    // data channel
    virtual bool Write(Handle /*handle*/, const std::string& /*bytes*/) { return false; }
    virtual int BytesToWrite(Handle /*handle*/) { return 0; }
    virtual void DiscardWriteBuffer(Handle /*handle*/) {}
    virtual void SetWriteBufferSize(Handle /*handle*/, int /*size*/) {}
    virtual int GetWriteBufferSize(Handle /*handle*/) { return 0; }
    /// Takes at most `count` waiting bytes.
    virtual std::string Read(Handle /*handle*/, int /*count*/) { return {}; }
    virtual int BytesToRead(Handle /*handle*/) { return 0; }
    virtual void DiscardReadBuffer(Handle /*handle*/) {}
    virtual void SetReadBufferSize(Handle /*handle*/, int /*size*/) {}
    virtual int GetReadBufferSize(Handle /*handle*/) { return 0; }

    // control channel
    virtual bool WriteCtrl(Handle /*handle*/, const std::string& /*bytes*/) { return false; }
    virtual int BytesToWriteCtrl(Handle /*handle*/) { return 0; }
    virtual void DiscardWriteCtrlBuffer(Handle /*handle*/) {}
    virtual std::string ReadCtrl(Handle /*handle*/, int /*count*/) { return {}; }
    virtual int BytesToReadCtrl(Handle /*handle*/) { return 0; }
    virtual void DiscardReadCtrlBuffer(Handle /*handle*/) {}

    // timing, in milliseconds
    virtual int GetScanTiming(Handle /*handle*/) { return 0; }
    virtual void SetScanTiming(Handle /*handle*/, int /*value*/) {}
    virtual int GetRequestTimeout(Handle /*handle*/) { return 0; }
    virtual void SetRequestTimeout(Handle /*handle*/, int /*value*/) {}

    // events
    virtual void SetCallBackProc(Handle /*handle*/, CallBackProc /*proc*/, std::uint32_t /*userData*/) {}
    virtual std::string GetParamString(Handle /*handle*/, std::uint32_t /*param*/) { return {}; }

    // serial-port shape
    virtual std::string GetDevicePrefix(Handle /*handle*/) { return {}; }
    virtual void SetDevicePrefix(Handle /*handle*/, const std::string& /*value*/) {}
    virtual bool GetBreak(Handle /*handle*/) { return false; }
    virtual void SetBreak(Handle /*handle*/, bool /*value*/) {}
    virtual bool GetCTSHolding(Handle /*handle*/) { return false; }
    virtual bool GetAsyncIO(Handle /*handle*/) { return false; }
    virtual void SetAsyncIO(Handle /*handle*/, bool /*value*/) {}

    // identity; an empty device name is the open device
    virtual bool AddNewUSBID(Handle /*handle*/, int /*vendor*/, int /*product*/) { return false; }
    virtual bool DeviceIsUSBID(Handle /*handle*/, int /*vendor*/, int /*product*/) { return false; }
    virtual bool GetDeviceUSBID(Handle /*handle*/, int& /*vendor*/, int& /*product*/) { return false; }
    virtual std::string GetDeviceManufacturer(Handle /*handle*/, const std::string& /*name*/) { return {}; }
    virtual std::string GetDeviceProduct(Handle /*handle*/, const std::string& /*name*/) { return {}; }
    virtual std::string GetDeviceSerialNumber(Handle /*handle*/, const std::string& /*name*/) { return {}; }
    virtual std::string GetIndexedString(Handle /*handle*/, int /*index*/) { return {}; }
    virtual std::string GetDeviceFile(Handle /*handle*/, const std::string& /*name*/) { return {}; }
    /// 0 when this process may open the device, else the system's error number.
    virtual int GetDeviceAccess(Handle /*handle*/, const std::string& /*name*/) { return 0; }

    // raw reports, report id first
    virtual bool GetInputReport(Handle /*handle*/, std::string& /*report*/) { return false; }
    virtual bool SetOutputReport(Handle /*handle*/, const std::string& /*report*/) { return false; }
    virtual bool GetFeature(Handle /*handle*/, std::string& /*report*/) { return false; }
    virtual bool SetFeature(Handle /*handle*/, const std::string& /*report*/) { return false; }
    // `size` is the room or the length, and becomes the number of bytes moved.
    virtual bool GetInputReportPtr(Handle /*handle*/, void* /*data*/, std::int32_t& /*size*/) {
        return false;
    }
    virtual bool SetOutputReportPtr(Handle /*handle*/, const void* /*data*/, std::int32_t& /*size*/) {
        return false;
    }
    virtual bool GetFeaturePtr(Handle /*handle*/, void* /*data*/, std::int32_t& /*size*/) { return false; }
    virtual bool SetFeaturePtr(Handle /*handle*/, const void* /*data*/, std::int32_t& /*size*/) {
        return false;
    }
    virtual int GetNumberInputBuffers(Handle /*handle*/) { return 0; }
    virtual void SetNumberInputBuffers(Handle /*handle*/, int /*value*/) {}

    // housekeeping
    virtual bool FlushQueue(Handle /*handle*/) { return false; }
    virtual bool CheckDevicesIsChanged(Handle /*handle*/) { return false; }
    virtual bool IsHIDIOReady(Handle /*handle*/) { return false; }
};
