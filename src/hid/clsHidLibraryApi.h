#pragma once

#include <algorithm>
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

    Handle Create() override { return static_cast<Handle>(Call(&OrvHidTable::orvhidCreate)); }
    void Destroy(Handle handle) override { Call(&OrvHidTable::orvhidDestroy, handle); }
    int EventDescriptor(Handle handle) override {
        const auto entry = Entry(&OrvHidTable::orvhidGetEventDescriptor);
        return entry != nullptr ? entry(handle) : -1;
    }
    void Dispatch(Handle handle) override { Call(&OrvHidTable::orvhidDispatch, handle); }
    int NumberOfDevice(Handle handle) override { return Call(&OrvHidTable::orvhidNumberOfDevice, handle); }
    std::string EnumDevice(Handle handle, int index) override {
        return Text(&OrvHidTable::orvhidEnumDevice, handle, index);
    }
    std::string EnumDeviceName(Handle handle, int index) override {
        return Text(&OrvHidTable::orvhidEnumDeviceName, handle, index);
    }
    bool IsOpen(Handle handle) override { return Call(&OrvHidTable::orvhidIsOpen, handle) != 0; }
    bool Open(Handle handle, const std::string& name) override {
        return Call(&OrvHidTable::orvhidOpen, handle, name.c_str()) != 0;
    }
    int GetOpenError(Handle handle) override { return Call(&OrvHidTable::orvhidGetOpenError, handle); }
    void Close(Handle handle) override { Call(&OrvHidTable::orvhidClose, handle); }
    bool Write(Handle handle, const std::string& bytes) override {
        return Call(&OrvHidTable::orvhidWrite, handle, Data(bytes), Size(bytes)) != 0;
    }
    int BytesToWrite(Handle handle) override { return Call(&OrvHidTable::orvhidBytesToWrite, handle); }
    void DiscardWriteBuffer(Handle handle) override { Call(&OrvHidTable::orvhidDiscardWriteBuffer, handle); }
    void SetWriteBufferSize(Handle handle, int size) override {
        Call(&OrvHidTable::orvhidSetWriteBufferSize, handle, size);
    }
    std::string Read(Handle handle, int count) override {
        return Bytes(&OrvHidTable::orvhidRead, handle, count);
    }
    int BytesToRead(Handle handle) override { return Call(&OrvHidTable::orvhidBytesToRead, handle); }
    void DiscardReadBuffer(Handle handle) override { Call(&OrvHidTable::orvhidDiscardReadBuffer, handle); }
    void SetReadBufferSize(Handle handle, int size) override {
        Call(&OrvHidTable::orvhidSetReadBufferSize, handle, size);
    }
    bool WriteCtrl(Handle handle, const std::string& bytes) override {
        return Call(&OrvHidTable::orvhidWriteCtrl, handle, Data(bytes), Size(bytes)) != 0;
    }
    int BytesToWriteCtrl(Handle handle) override {
        return Call(&OrvHidTable::orvhidBytesToWriteCtrl, handle);
    }
    void DiscardWriteCtrlBuffer(Handle handle) override {
        Call(&OrvHidTable::orvhidDiscardWriteCtrlBuffer, handle);
    }
    std::string ReadCtrl(Handle handle, int count) override {
        return Bytes(&OrvHidTable::orvhidReadCtrl, handle, count);
    }
    int BytesToReadCtrl(Handle handle) override { return Call(&OrvHidTable::orvhidBytesToReadCtrl, handle); }
    void DiscardReadCtrlBuffer(Handle handle) override {
        Call(&OrvHidTable::orvhidDiscardReadCtrlBuffer, handle);
    }
    int GetScanTiming(Handle handle) override { return Call(&OrvHidTable::orvhidGetScanTiming, handle); }
    void SetScanTiming(Handle handle, int value) override {
        Call(&OrvHidTable::orvhidSetScanTiming, handle, value);
    }
    void SetCallBackProc(Handle handle, CallBackProc proc, std::uint32_t userData) override {
        Call(&OrvHidTable::orvhidSetCallBackProc, handle, proc, userData);
    }
    std::string GetParamString(Handle handle, std::uint32_t param) override {
        return Text(&OrvHidTable::orvhidGetParamString, handle, param);
    }
    std::string GetDevicePrefix(Handle handle) override {
        return Text(&OrvHidTable::orvhidGetDevicePrefix, handle);
    }
    void SetDevicePrefix(Handle handle, const std::string& value) override {
        Call(&OrvHidTable::orvhidSetDevicePrefix, handle, value.c_str());
    }
    bool GetBreak(Handle handle) override { return Call(&OrvHidTable::orvhidGetBreak, handle) != 0; }
    void SetBreak(Handle handle, bool value) override {
        Call(&OrvHidTable::orvhidSetBreak, handle, value ? 1 : 0);
    }
    bool GetCTSHolding(Handle handle) override {
        return Call(&OrvHidTable::orvhidGetCTSHolding, handle) != 0;
    }
    bool GetAsyncIO(Handle handle) override { return Call(&OrvHidTable::orvhidGetAsyncIO, handle) != 0; }
    void SetAsyncIO(Handle handle, bool value) override {
        Call(&OrvHidTable::orvhidSetAsyncIO, handle, value ? 1 : 0);
    }
    bool AddNewUSBID(Handle handle, int vendor, int product) override {
        return Call(&OrvHidTable::orvhidAddNewUSBID, handle, vendor, product) != 0;
    }
    bool DeviceIsUSBID(Handle handle, int vendor, int product) override {
        return Call(&OrvHidTable::orvhidDeviceIsUSBID, handle, vendor, product) != 0;
    }
    bool GetDeviceUSBID(Handle handle, int& vendor, int& product) override;
    std::string GetDeviceManufacturer(Handle handle, const std::string& name) override {
        return Text(&OrvHidTable::orvhidGetDeviceManufacturer, handle, name.c_str());
    }
    std::string GetDeviceProduct(Handle handle, const std::string& name) override {
        return Text(&OrvHidTable::orvhidGetDeviceProduct, handle, name.c_str());
    }
    std::string GetDeviceSerialNumber(Handle handle, const std::string& name) override {
        return Text(&OrvHidTable::orvhidGetDeviceSerialNumber, handle, name.c_str());
    }
    std::string GetDeviceFile(Handle handle, const std::string& name) override {
        return Text(&OrvHidTable::orvhidGetDeviceFile, handle, name.c_str());
    }
    int GetDeviceAccess(Handle handle, const std::string& name) override {
        return Call(&OrvHidTable::orvhidGetDeviceAccess, handle, name.c_str());
    }
    std::string GetIndexedString(Handle handle, int index) override {
        return Text(&OrvHidTable::orvhidGetIndexedString, handle, index);
    }
    bool GetInputReport(Handle handle, std::string& report) override {
        return Report(&OrvHidTable::orvhidGetInputReport, handle, report);
    }
    bool SetOutputReport(Handle handle, const std::string& report) override {
        return Call(&OrvHidTable::orvhidSetOutputReport, handle, Data(report), Size(report)) != 0;
    }
    bool GetFeature(Handle handle, std::string& report) override {
        return Report(&OrvHidTable::orvhidGetFeature, handle, report);
    }
    bool SetFeature(Handle handle, const std::string& report) override {
        return Call(&OrvHidTable::orvhidSetFeature, handle, Data(report), Size(report)) != 0;
    }
    bool GetInputReportPtr(Handle handle, void* data, std::int32_t& size) override {
        return Call(&OrvHidTable::orvhidGetInputReportPtr, handle, data, &size) != 0;
    }
    bool SetOutputReportPtr(Handle handle, const void* data, std::int32_t& size) override {
        return Call(&OrvHidTable::orvhidSetOutputReportPtr, handle, data, &size) != 0;
    }
    bool GetFeaturePtr(Handle handle, void* data, std::int32_t& size) override {
        return Call(&OrvHidTable::orvhidGetFeaturePtr, handle, data, &size) != 0;
    }
    bool SetFeaturePtr(Handle handle, const void* data, std::int32_t& size) override {
        return Call(&OrvHidTable::orvhidSetFeaturePtr, handle, data, &size) != 0;
    }
    int GetNumberInputBuffers(Handle handle) override {
        return Call(&OrvHidTable::orvhidGetNumberInputBuffers, handle);
    }
    void SetNumberInputBuffers(Handle handle, int value) override {
        Call(&OrvHidTable::orvhidSetNumberInputBuffers, handle, value);
    }
    bool FlushQueue(Handle handle) override { return Call(&OrvHidTable::orvhidFlushQueue, handle) != 0; }
    bool CheckDevicesIsChanged(Handle handle) override {
        return Call(&OrvHidTable::orvhidCheckDevicesIsChanged, handle) != 0;
    }
    bool IsHIDIOReady(Handle handle) override { return Call(&OrvHidTable::orvhidIsHIDIOReady, handle) != 0; }

  private:
    /// Whether there is a usable library; loads it where it is not loaded.
    bool Loaded();
    /// Null for an export that the library lacks, and without a library; what follows then gives nothing.
    template <class Export>
    Export Entry(Export OrvHidTable::*entry) {
        return Loaded() ? m_table.*entry : nullptr;
    }
    /// A text that an export gives back as snprintf does. It may grow between the two calls; then it is cut.
    template <class Export, class... Args>
    std::string Text(Export OrvHidTable::*of, Args... args) {
        const auto entry = Entry(of);
        const std::int32_t length = entry == nullptr ? 0 : entry(args..., nullptr, 0);
        if (length <= 0) return {};
        std::string text(static_cast<std::size_t>(length) + 1, '\0');
        const std::int32_t got = entry(args..., text.data(), Size(text));
        text.resize(static_cast<std::size_t>(std::clamp(got, 0, length)));
        return text;
    }
    /// A number that an export gives back, 0 by default.
    template <class Export, class... Args>
    std::int32_t Call(Export OrvHidTable::*of, Args... args) {
        const auto entry = Entry(of);
        return entry == nullptr ? 0 : static_cast<std::int32_t>(entry(args...));
    }
    /// Up to `count` bytes that an export moves.
    template <class Export>
    std::string Bytes(Export OrvHidTable::*of, Handle handle, int count) {
        const auto entry = Entry(of);
        if (entry == nullptr || count <= 0) return {};
        std::string bytes(static_cast<std::size_t>(count), '\0');
        const std::int32_t got = entry(handle, reinterpret_cast<std::uint8_t*>(bytes.data()), count);
        bytes.resize(static_cast<std::size_t>(std::clamp(got, 0, count)));
        return bytes;
    }
    /// A raw report: the id goes in, the bytes come back.
    template <class Export>
    bool Report(Export OrvHidTable::*of, Handle handle, std::string& report) {
        const auto entry = Entry(of);
        if (entry == nullptr) return false;
        const std::int32_t got = entry(handle, reinterpret_cast<std::uint8_t*>(report.data()), Size(report));
        if (got <= 0) return false;
        report.resize(static_cast<std::size_t>(std::min(got, Size(report))));
        return true;
    }
    static const std::uint8_t* Data(const std::string& bytes) {
        return reinterpret_cast<const std::uint8_t*>(bytes.data());
    }
    static std::int32_t Size(const std::string& bytes) { return static_cast<std::int32_t>(bytes.size()); }

    clsILibraryLoader& m_loader;
    std::string m_file;  // the one that was loaded
    OrvHidTable m_table;
    bool m_complete = false;
};
