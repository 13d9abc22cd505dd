#include "hid/clsHidLibraryApi.h"

#include <algorithm>

namespace {

const std::string libraryName = "OrvHIDIO";

// The helpers below take a null entry for an export that the library lacks.

// A text that an export gives back as snprintf does. It may grow between the two calls; then it is cut.
template <class Export, class... Args>
std::string Text(Export entry, Args... args) {
    if (entry == nullptr) return {};
    const std::int32_t length = entry(args..., nullptr, 0);
    if (length <= 0) return {};
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    const std::int32_t got = entry(args..., text.data(), static_cast<std::int32_t>(text.size()));
    text.resize(static_cast<std::size_t>(std::clamp(got, 0, length)));
    return text;
}

// A number that an export gives back, 0 by default.
template <class Export, class... Args>
std::int32_t Call(Export entry, Args... args) {
    return entry == nullptr ? 0 : static_cast<std::int32_t>(entry(args...));
}

// Up to `count` bytes that an export moves.
template <class Export>
std::string Bytes(Export entry, std::uint32_t handle, int count) {
    if (entry == nullptr) return {};
    std::string bytes(static_cast<std::size_t>(std::max(count, 0)), '\0');
    const std::int32_t got = entry(handle, reinterpret_cast<std::uint8_t*>(bytes.data()), std::max(count, 0));
    bytes.resize(static_cast<std::size_t>(std::clamp(got, 0, std::max(count, 0))));
    return bytes;
}

const std::uint8_t* Data(const std::string& bytes) {
    return reinterpret_cast<const std::uint8_t*>(bytes.data());
}
std::int32_t Size(const std::string& bytes) { return static_cast<std::int32_t>(bytes.size()); }

// A raw report: the id goes in, the bytes come back.
template <class Export>
bool Report(Export entry, std::uint32_t handle, std::string& report) {
    if (entry == nullptr) return false;
    const std::int32_t got = entry(handle, reinterpret_cast<std::uint8_t*>(report.data()), Size(report));
    if (got <= 0) return false;
    report.resize(static_cast<std::size_t>(std::min(got, Size(report))));
    return true;
}

}  // namespace

// Whether there is a usable library; loads it where it is not loaded.
bool clsHidLibraryApi::Loaded() {
    if (m_file.empty() || m_loader.GetModuleHandle(m_file) == 0) {
        m_complete = false;
        for (const std::string& file :
             {HidLibraryFile::Default(m_loader), HidLibraryFile::Computed(m_loader)}) {
            const auto library = m_loader.LoadLibrary(file);
            if (library == 0) continue;
            m_file = file;
            m_complete =
                m_table.Resolve([&](const char* name) { return m_loader.GetProcAddress(library, name); });
            break;
        }
    }
    return m_complete;
}

// Null for an export that the library lacks, and without a library.
template <class Export>
Export clsHidLibraryApi::Entry(Export OrvHidTable::*entry) {
    return Loaded() ? m_table.*entry : nullptr;
}

clsIHidApi::Handle clsHidLibraryApi::Create() {
    return static_cast<Handle>(Call(Entry(&OrvHidTable::orvhidCreate)));
}

void clsHidLibraryApi::Destroy(Handle handle) { Call(Entry(&OrvHidTable::orvhidDestroy), handle); }

int clsHidLibraryApi::EventDescriptor(Handle handle) {
    const auto entry = Entry(&OrvHidTable::orvhidGetEventDescriptor);
    return entry != nullptr ? entry(handle) : -1;
}

void clsHidLibraryApi::Dispatch(Handle handle) { Call(Entry(&OrvHidTable::orvhidDispatch), handle); }

int clsHidLibraryApi::NumberOfDevice(Handle handle) {
    return Call(Entry(&OrvHidTable::orvhidNumberOfDevice), handle);
}

std::string clsHidLibraryApi::EnumDevice(Handle handle, int index) {
    return Text(Entry(&OrvHidTable::orvhidEnumDevice), handle, index);
}

std::string clsHidLibraryApi::EnumDeviceName(Handle handle, int index) {
    return Text(Entry(&OrvHidTable::orvhidEnumDeviceName), handle, index);
}

bool clsHidLibraryApi::IsOpen(Handle handle) { return Call(Entry(&OrvHidTable::orvhidIsOpen), handle) != 0; }

bool clsHidLibraryApi::Open(Handle handle, const std::string& name) {
    return Call(Entry(&OrvHidTable::orvhidOpen), handle, name.c_str()) != 0;
}

int clsHidLibraryApi::GetOpenError(Handle handle) {
    return Call(Entry(&OrvHidTable::orvhidGetOpenError), handle);
}

void clsHidLibraryApi::Close(Handle handle) { Call(Entry(&OrvHidTable::orvhidClose), handle); }

bool clsHidLibraryApi::Write(Handle handle, const std::string& bytes) {
    return Call(Entry(&OrvHidTable::orvhidWrite), handle, Data(bytes), Size(bytes)) != 0;
}

int clsHidLibraryApi::BytesToWrite(Handle handle) {
    return Call(Entry(&OrvHidTable::orvhidBytesToWrite), handle);
}

void clsHidLibraryApi::DiscardWriteBuffer(Handle handle) {
    Call(Entry(&OrvHidTable::orvhidDiscardWriteBuffer), handle);
}

void clsHidLibraryApi::SetWriteBufferSize(Handle handle, int size) {
    Call(Entry(&OrvHidTable::orvhidSetWriteBufferSize), handle, size);
}

std::string clsHidLibraryApi::Read(Handle handle, int count) {
    return Bytes(Entry(&OrvHidTable::orvhidRead), handle, count);
}

int clsHidLibraryApi::BytesToRead(Handle handle) {
    return Call(Entry(&OrvHidTable::orvhidBytesToRead), handle);
}

void clsHidLibraryApi::DiscardReadBuffer(Handle handle) {
    Call(Entry(&OrvHidTable::orvhidDiscardReadBuffer), handle);
}

void clsHidLibraryApi::SetReadBufferSize(Handle handle, int size) {
    Call(Entry(&OrvHidTable::orvhidSetReadBufferSize), handle, size);
}

bool clsHidLibraryApi::WriteCtrl(Handle handle, const std::string& bytes) {
    return Call(Entry(&OrvHidTable::orvhidWriteCtrl), handle, Data(bytes), Size(bytes)) != 0;
}

int clsHidLibraryApi::BytesToWriteCtrl(Handle handle) {
    return Call(Entry(&OrvHidTable::orvhidBytesToWriteCtrl), handle);
}

void clsHidLibraryApi::DiscardWriteCtrlBuffer(Handle handle) {
    Call(Entry(&OrvHidTable::orvhidDiscardWriteCtrlBuffer), handle);
}

std::string clsHidLibraryApi::ReadCtrl(Handle handle, int count) {
    return Bytes(Entry(&OrvHidTable::orvhidReadCtrl), handle, count);
}

int clsHidLibraryApi::BytesToReadCtrl(Handle handle) {
    return Call(Entry(&OrvHidTable::orvhidBytesToReadCtrl), handle);
}

void clsHidLibraryApi::DiscardReadCtrlBuffer(Handle handle) {
    Call(Entry(&OrvHidTable::orvhidDiscardReadCtrlBuffer), handle);
}

int clsHidLibraryApi::GetScanTiming(Handle handle) {
    return Call(Entry(&OrvHidTable::orvhidGetScanTiming), handle);
}

void clsHidLibraryApi::SetScanTiming(Handle handle, int value) {
    Call(Entry(&OrvHidTable::orvhidSetScanTiming), handle, value);
}

void clsHidLibraryApi::SetCallBackProc(Handle handle, CallBackProc proc, std::uint32_t userData) {
    Call(Entry(&OrvHidTable::orvhidSetCallBackProc), handle, proc, userData);
}

std::string clsHidLibraryApi::GetParamString(Handle handle, std::uint32_t param) {
    return Text(Entry(&OrvHidTable::orvhidGetParamString), handle, param);
}

std::string clsHidLibraryApi::GetDevicePrefix(Handle handle) {
    return Text(Entry(&OrvHidTable::orvhidGetDevicePrefix), handle);
}

void clsHidLibraryApi::SetDevicePrefix(Handle handle, const std::string& value) {
    Call(Entry(&OrvHidTable::orvhidSetDevicePrefix), handle, value.c_str());
}

bool clsHidLibraryApi::GetBreak(Handle handle) {
    return Call(Entry(&OrvHidTable::orvhidGetBreak), handle) != 0;
}

void clsHidLibraryApi::SetBreak(Handle handle, bool value) {
    Call(Entry(&OrvHidTable::orvhidSetBreak), handle, value ? 1 : 0);
}

bool clsHidLibraryApi::GetCTSHolding(Handle handle) {
    return Call(Entry(&OrvHidTable::orvhidGetCTSHolding), handle) != 0;
}

bool clsHidLibraryApi::GetAsyncIO(Handle handle) {
    return Call(Entry(&OrvHidTable::orvhidGetAsyncIO), handle) != 0;
}

void clsHidLibraryApi::SetAsyncIO(Handle handle, bool value) {
    Call(Entry(&OrvHidTable::orvhidSetAsyncIO), handle, value ? 1 : 0);
}

bool clsHidLibraryApi::AddNewUSBID(Handle handle, int vendor, int product) {
    return Call(Entry(&OrvHidTable::orvhidAddNewUSBID), handle, vendor, product) != 0;
}

bool clsHidLibraryApi::DeviceIsUSBID(Handle handle, int vendor, int product) {
    return Call(Entry(&OrvHidTable::orvhidDeviceIsUSBID), handle, vendor, product) != 0;
}

bool clsHidLibraryApi::GetDeviceUSBID(Handle handle, int& vendor, int& product) {
    std::int32_t foundVendor = 0;
    std::int32_t foundProduct = 0;
    if (Call(Entry(&OrvHidTable::orvhidGetDeviceUSBID), handle, &foundVendor, &foundProduct) == 0)
        return false;
    vendor = foundVendor;
    product = foundProduct;
    return true;
}

std::string clsHidLibraryApi::GetDeviceManufacturer(Handle handle, const std::string& name) {
    return Text(Entry(&OrvHidTable::orvhidGetDeviceManufacturer), handle, name.c_str());
}

std::string clsHidLibraryApi::GetDeviceProduct(Handle handle, const std::string& name) {
    return Text(Entry(&OrvHidTable::orvhidGetDeviceProduct), handle, name.c_str());
}

std::string clsHidLibraryApi::GetDeviceSerialNumber(Handle handle, const std::string& name) {
    return Text(Entry(&OrvHidTable::orvhidGetDeviceSerialNumber), handle, name.c_str());
}

std::string clsHidLibraryApi::GetDeviceFile(Handle handle, const std::string& name) {
    return Text(Entry(&OrvHidTable::orvhidGetDeviceFile), handle, name.c_str());
}

int clsHidLibraryApi::GetDeviceAccess(Handle handle, const std::string& name) {
    return Call(Entry(&OrvHidTable::orvhidGetDeviceAccess), handle, name.c_str());
}

std::string clsHidLibraryApi::GetIndexedString(Handle handle, int index) {
    return Text(Entry(&OrvHidTable::orvhidGetIndexedString), handle, index);
}

bool clsHidLibraryApi::GetInputReport(Handle handle, std::string& report) {
    return Report(Entry(&OrvHidTable::orvhidGetInputReport), handle, report);
}

bool clsHidLibraryApi::SetOutputReport(Handle handle, const std::string& report) {
    return Call(Entry(&OrvHidTable::orvhidSetOutputReport), handle, Data(report), Size(report)) != 0;
}

bool clsHidLibraryApi::GetFeature(Handle handle, std::string& report) {
    return Report(Entry(&OrvHidTable::orvhidGetFeature), handle, report);
}

bool clsHidLibraryApi::SetFeature(Handle handle, const std::string& report) {
    return Call(Entry(&OrvHidTable::orvhidSetFeature), handle, Data(report), Size(report)) != 0;
}

bool clsHidLibraryApi::GetInputReportPtr(Handle handle, void* data, std::int32_t& size) {
    return Call(Entry(&OrvHidTable::orvhidGetInputReportPtr), handle, data, &size) != 0;
}

bool clsHidLibraryApi::SetOutputReportPtr(Handle handle, const void* data, std::int32_t& size) {
    return Call(Entry(&OrvHidTable::orvhidSetOutputReportPtr), handle, data, &size) != 0;
}

bool clsHidLibraryApi::GetFeaturePtr(Handle handle, void* data, std::int32_t& size) {
    return Call(Entry(&OrvHidTable::orvhidGetFeaturePtr), handle, data, &size) != 0;
}

bool clsHidLibraryApi::SetFeaturePtr(Handle handle, const void* data, std::int32_t& size) {
    return Call(Entry(&OrvHidTable::orvhidSetFeaturePtr), handle, data, &size) != 0;
}

int clsHidLibraryApi::GetNumberInputBuffers(Handle handle) {
    return Call(Entry(&OrvHidTable::orvhidGetNumberInputBuffers), handle);
}

void clsHidLibraryApi::SetNumberInputBuffers(Handle handle, int value) {
    Call(Entry(&OrvHidTable::orvhidSetNumberInputBuffers), handle, value);
}

bool clsHidLibraryApi::FlushQueue(Handle handle) {
    return Call(Entry(&OrvHidTable::orvhidFlushQueue), handle) != 0;
}

bool clsHidLibraryApi::CheckDevicesIsChanged(Handle handle) {
    return Call(Entry(&OrvHidTable::orvhidCheckDevicesIsChanged), handle) != 0;
}

bool clsHidLibraryApi::IsHIDIOReady(Handle handle) {
    return Call(Entry(&OrvHidTable::orvhidIsHIDIOReady), handle) != 0;
}

namespace HidLibraryFile {

std::string Computed(const clsILibraryLoader& loader) {
    const std::string program = loader.ModuleFileName();
    const auto end = program.find_last_of("\\/");
    return loader.LibraryFile(end == std::string::npos ? std::string() : program.substr(0, end), libraryName);
}

std::string Default(const clsILibraryLoader& loader) {
    const std::string folder = loader.ApplicationPath();
    return folder.empty() ? Computed(loader) : loader.LibraryFile(folder, libraryName);
}

}  // namespace HidLibraryFile
