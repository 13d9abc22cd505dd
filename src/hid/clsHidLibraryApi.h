#pragma once

#include <string>

#include "hid/clsIHidApi.h"
#include "hid/clsILibraryLoader.h"
#include "hidlib/OrvHidTable.h"

/// Where the HID library lies: in the program's folder, nowhere else.
namespace HidLibraryFile {

/// In the folder of the running program's own file.
std::string Computed(const clsILibraryLoader& loader);
/// In the folder that the host tells; where it cannot, the computed one.
std::string Default(const clsILibraryLoader& loader);

}  // namespace HidLibraryFile

/// The HID library's operations in the shared library beside the program, bound by their names on the first
/// call. The library is loaded by its full file name, and again when all its references were given back
/// meanwhile. A library that lacks a required export is not used. Built by main, outlives the control.
class clsHidLibraryApi : public clsIHidApi {
  public:
    explicit clsHidLibraryApi(clsILibraryLoader& loader) : m_loader(loader) {}

    Handle Create() override;
    void Destroy(Handle handle) override;
    int EventDescriptor(Handle handle) override;
    void Dispatch(Handle handle) override;
    int NumberOfDevice(Handle handle) override;
    std::string EnumDevice(Handle handle, int index) override;
    std::string EnumDeviceName(Handle handle, int index) override;
    bool IsOpen(Handle handle) override;
    bool Open(Handle handle, const std::string& name) override;
    int GetOpenError(Handle handle) override;
    void Close(Handle handle) override;
    bool Write(Handle handle, const std::string& bytes) override;
    int BytesToWrite(Handle handle) override;
    void DiscardWriteBuffer(Handle handle) override;
    void SetWriteBufferSize(Handle handle, int size) override;
    std::string Read(Handle handle, int count) override;
    int BytesToRead(Handle handle) override;
    void DiscardReadBuffer(Handle handle) override;
    void SetReadBufferSize(Handle handle, int size) override;
    bool WriteCtrl(Handle handle, const std::string& bytes) override;
    int BytesToWriteCtrl(Handle handle) override;
    void DiscardWriteCtrlBuffer(Handle handle) override;
    std::string ReadCtrl(Handle handle, int count) override;
    int BytesToReadCtrl(Handle handle) override;
    void DiscardReadCtrlBuffer(Handle handle) override;
    int GetScanTiming(Handle handle) override;
    void SetScanTiming(Handle handle, int value) override;
    void SetCallBackProc(Handle handle, CallBackProc proc, std::uint32_t userData) override;
    std::string GetParamString(Handle handle, std::uint32_t param) override;
    std::string GetDevicePrefix(Handle handle) override;
    void SetDevicePrefix(Handle handle, const std::string& value) override;
    bool GetBreak(Handle handle) override;
    void SetBreak(Handle handle, bool value) override;
    bool GetCTSHolding(Handle handle) override;
    bool GetAsyncIO(Handle handle) override;
    void SetAsyncIO(Handle handle, bool value) override;
    bool AddNewUSBID(Handle handle, int vendor, int product) override;
    bool DeviceIsUSBID(Handle handle, int vendor, int product) override;
    bool GetDeviceUSBID(Handle handle, int& vendor, int& product) override;
    std::string GetDeviceManufacturer(Handle handle, const std::string& name) override;
    std::string GetDeviceProduct(Handle handle, const std::string& name) override;
    std::string GetDeviceSerialNumber(Handle handle, const std::string& name) override;
    std::string GetDeviceFile(Handle handle, const std::string& name) override;
    int GetDeviceAccess(Handle handle, const std::string& name) override;
    std::string GetIndexedString(Handle handle, int index) override;
    bool GetInputReport(Handle handle, std::string& report) override;
    bool SetOutputReport(Handle handle, const std::string& report) override;
    bool GetFeature(Handle handle, std::string& report) override;
    bool SetFeature(Handle handle, const std::string& report) override;
    bool GetInputReportPtr(Handle handle, void* data, std::int32_t& size) override;
    bool SetOutputReportPtr(Handle handle, const void* data, std::int32_t& size) override;
    bool GetFeaturePtr(Handle handle, void* data, std::int32_t& size) override;
    bool SetFeaturePtr(Handle handle, const void* data, std::int32_t& size) override;
    int GetNumberInputBuffers(Handle handle) override;
    void SetNumberInputBuffers(Handle handle, int value) override;
    bool FlushQueue(Handle handle) override;
    bool CheckDevicesIsChanged(Handle handle) override;
    bool IsHIDIOReady(Handle handle) override;

  private:
    bool Loaded();
    template <class Export>
    Export Entry(Export OrvHidTable::*entry);

    clsILibraryLoader& m_loader;
    std::string m_file;  // the one that was loaded
    OrvHidTable m_table;
    bool m_complete = false;
};
