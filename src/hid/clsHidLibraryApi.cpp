#include "hid/clsHidLibraryApi.h"

#include <algorithm>

#include "hid/HidLibraryFile.h"

namespace {

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

// A number that an export gives back; 0 where the library lacks it.
template <class Export, class... Args>
std::int32_t Call(Export entry, Args... args) {
    return entry == nullptr ? 0 : static_cast<std::int32_t>(entry(args...));
}

// Up to `count` bytes that an export moves.
template <class Export>
std::string Bytes(Export entry, std::uint32_t handle, int count) {
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
    const std::int32_t got = entry(handle, reinterpret_cast<std::uint8_t*>(report.data()), Size(report));
    if (got <= 0) return false;
    report.resize(static_cast<std::size_t>(std::min(got, Size(report))));
    return true;
}

}  // namespace

OrvHidTable* clsHidLibraryApi::Table() {
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
    return m_complete ? &m_table : nullptr;
}

clsIHidApi::Handle clsHidLibraryApi::Create() {
    OrvHidTable* table = Table();
    return table != nullptr ? table->orvhidCreate() : 0;
}

void clsHidLibraryApi::Destroy(Handle handle) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidDestroy, handle);
}

int clsHidLibraryApi::EventDescriptor(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr && table->orvhidGetEventDescriptor != nullptr
               ? table->orvhidGetEventDescriptor(handle)
               : -1;
}

void clsHidLibraryApi::Dispatch(Handle handle) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidDispatch, handle);
}

int clsHidLibraryApi::NumberOfDevice(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr ? Call(table->orvhidNumberOfDevice, handle) : 0;
}

std::string clsHidLibraryApi::EnumDevice(Handle handle, int index) {
    OrvHidTable* table = Table();
    return table != nullptr ? Text(table->orvhidEnumDevice, handle, index) : std::string();
}

std::string clsHidLibraryApi::EnumDeviceName(Handle handle, int index) {
    OrvHidTable* table = Table();
    return table != nullptr ? Text(table->orvhidEnumDeviceName, handle, index) : std::string();
}

bool clsHidLibraryApi::IsOpen(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr && Call(table->orvhidIsOpen, handle) != 0;
}

bool clsHidLibraryApi::Open(Handle handle, const std::string& name) {
    OrvHidTable* table = Table();
    return table != nullptr && Call(table->orvhidOpen, handle, name.c_str()) != 0;
}

void clsHidLibraryApi::Close(Handle handle) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidClose, handle);
}

bool clsHidLibraryApi::Write(Handle handle, const std::string& bytes) {
    OrvHidTable* table = Table();
    return table != nullptr && table->orvhidWrite(handle, Data(bytes), Size(bytes)) != 0;
}

int clsHidLibraryApi::BytesToWrite(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr ? Call(table->orvhidBytesToWrite, handle) : 0;
}

void clsHidLibraryApi::DiscardWriteBuffer(Handle handle) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidDiscardWriteBuffer, handle);
}

void clsHidLibraryApi::SetWriteBufferSize(Handle handle, int size) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidSetWriteBufferSize, handle, size);
}

int clsHidLibraryApi::GetWriteBufferSize(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr ? Call(table->orvhidGetWriteBufferSize, handle) : 0;
}

std::string clsHidLibraryApi::Read(Handle handle, int count) {
    OrvHidTable* table = Table();
    return table != nullptr ? Bytes(table->orvhidRead, handle, count) : std::string();
}

int clsHidLibraryApi::BytesToRead(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr ? Call(table->orvhidBytesToRead, handle) : 0;
}

void clsHidLibraryApi::DiscardReadBuffer(Handle handle) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidDiscardReadBuffer, handle);
}

void clsHidLibraryApi::SetReadBufferSize(Handle handle, int size) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidSetReadBufferSize, handle, size);
}

int clsHidLibraryApi::GetReadBufferSize(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr ? Call(table->orvhidGetReadBufferSize, handle) : 0;
}

bool clsHidLibraryApi::WriteCtrl(Handle handle, const std::string& bytes) {
    OrvHidTable* table = Table();
    return table != nullptr && table->orvhidWriteCtrl(handle, Data(bytes), Size(bytes)) != 0;
}

int clsHidLibraryApi::BytesToWriteCtrl(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr ? Call(table->orvhidBytesToWriteCtrl, handle) : 0;
}

void clsHidLibraryApi::DiscardWriteCtrlBuffer(Handle handle) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidDiscardWriteCtrlBuffer, handle);
}

std::string clsHidLibraryApi::ReadCtrl(Handle handle, int count) {
    OrvHidTable* table = Table();
    return table != nullptr ? Bytes(table->orvhidReadCtrl, handle, count) : std::string();
}

int clsHidLibraryApi::BytesToReadCtrl(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr ? Call(table->orvhidBytesToReadCtrl, handle) : 0;
}

void clsHidLibraryApi::DiscardReadCtrlBuffer(Handle handle) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidDiscardReadCtrlBuffer, handle);
}

int clsHidLibraryApi::GetScanTiming(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr ? Call(table->orvhidGetScanTiming, handle) : 0;
}

void clsHidLibraryApi::SetScanTiming(Handle handle, int value) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidSetScanTiming, handle, value);
}

int clsHidLibraryApi::GetRequestTimeout(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr ? Call(table->orvhidGetRequestTimeout, handle) : 0;
}

void clsHidLibraryApi::SetRequestTimeout(Handle handle, int value) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidSetRequestTimeout, handle, value);
}

void clsHidLibraryApi::SetCallBackProc(Handle handle, CallBackProc proc, std::uint32_t userData) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidSetCallBackProc, handle, proc, userData);
}

std::string clsHidLibraryApi::GetParamString(Handle handle, std::uint32_t param) {
    OrvHidTable* table = Table();
    return table != nullptr ? Text(table->orvhidGetParamString, handle, param) : std::string();
}

std::string clsHidLibraryApi::GetDevicePrefix(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr ? Text(table->orvhidGetDevicePrefix, handle) : std::string();
}

void clsHidLibraryApi::SetDevicePrefix(Handle handle, const std::string& value) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidSetDevicePrefix, handle, value.c_str());
}

bool clsHidLibraryApi::GetBreak(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr && Call(table->orvhidGetBreak, handle) != 0;
}

void clsHidLibraryApi::SetBreak(Handle handle, bool value) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidSetBreak, handle, value ? 1 : 0);
}

bool clsHidLibraryApi::GetCTSHolding(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr && Call(table->orvhidGetCTSHolding, handle) != 0;
}

bool clsHidLibraryApi::GetAsyncIO(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr && Call(table->orvhidGetAsyncIO, handle) != 0;
}

void clsHidLibraryApi::SetAsyncIO(Handle handle, bool value) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidSetAsyncIO, handle, value ? 1 : 0);
}

bool clsHidLibraryApi::AddNewUSBID(Handle handle, int vendor, int product) {
    OrvHidTable* table = Table();
    return table != nullptr && Call(table->orvhidAddNewUSBID, handle, vendor, product) != 0;
}

bool clsHidLibraryApi::DeviceIsUSBID(Handle handle, int vendor, int product) {
    OrvHidTable* table = Table();
    return table != nullptr && Call(table->orvhidDeviceIsUSBID, handle, vendor, product) != 0;
}

bool clsHidLibraryApi::GetDeviceUSBID(Handle handle, int& vendor, int& product) {
    OrvHidTable* table = Table();
    std::int32_t foundVendor = 0;
    std::int32_t foundProduct = 0;
    if (table == nullptr || Call(table->orvhidGetDeviceUSBID, handle, &foundVendor, &foundProduct) == 0)
        return false;
    vendor = foundVendor;
    product = foundProduct;
    return true;
}

std::string clsHidLibraryApi::GetDeviceManufacturer(Handle handle, const std::string& name) {
    OrvHidTable* table = Table();
    return table != nullptr ? Text(table->orvhidGetDeviceManufacturer, handle, name.c_str()) : std::string();
}

std::string clsHidLibraryApi::GetDeviceProduct(Handle handle, const std::string& name) {
    OrvHidTable* table = Table();
    return table != nullptr ? Text(table->orvhidGetDeviceProduct, handle, name.c_str()) : std::string();
}

std::string clsHidLibraryApi::GetDeviceSerialNumber(Handle handle, const std::string& name) {
    OrvHidTable* table = Table();
    return table != nullptr ? Text(table->orvhidGetDeviceSerialNumber, handle, name.c_str()) : std::string();
}

std::string clsHidLibraryApi::GetDeviceFile(Handle handle, const std::string& name) {
    OrvHidTable* table = Table();
    return table != nullptr ? Text(table->orvhidGetDeviceFile, handle, name.c_str()) : std::string();
}

int clsHidLibraryApi::GetDeviceAccess(Handle handle, const std::string& name) {
    OrvHidTable* table = Table();
    return table != nullptr ? Call(table->orvhidGetDeviceAccess, handle, name.c_str()) : 0;
}

std::string clsHidLibraryApi::GetIndexedString(Handle handle, int index) {
    OrvHidTable* table = Table();
    return table != nullptr ? Text(table->orvhidGetIndexedString, handle, index) : std::string();
}

bool clsHidLibraryApi::GetInputReport(Handle handle, std::string& report) {
    OrvHidTable* table = Table();
    return table != nullptr && Report(table->orvhidGetInputReport, handle, report);
}

bool clsHidLibraryApi::SetOutputReport(Handle handle, const std::string& report) {
    OrvHidTable* table = Table();
    return table != nullptr && table->orvhidSetOutputReport(handle, Data(report), Size(report)) != 0;
}

bool clsHidLibraryApi::GetFeature(Handle handle, std::string& report) {
    OrvHidTable* table = Table();
    return table != nullptr && Report(table->orvhidGetFeature, handle, report);
}

bool clsHidLibraryApi::SetFeature(Handle handle, const std::string& report) {
    OrvHidTable* table = Table();
    return table != nullptr && table->orvhidSetFeature(handle, Data(report), Size(report)) != 0;
}

int clsHidLibraryApi::GetNumberInputBuffers(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr ? Call(table->orvhidGetNumberInputBuffers, handle) : 0;
}

void clsHidLibraryApi::SetNumberInputBuffers(Handle handle, int value) {
    OrvHidTable* table = Table();
    if (table != nullptr) Call(table->orvhidSetNumberInputBuffers, handle, value);
}

bool clsHidLibraryApi::FlushQueue(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr && Call(table->orvhidFlushQueue, handle) != 0;
}

bool clsHidLibraryApi::CheckDevicesIsChanged(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr && Call(table->orvhidCheckDevicesIsChanged, handle) != 0;
}

bool clsHidLibraryApi::IsHIDIOReady(Handle handle) {
    OrvHidTable* table = Table();
    return table != nullptr && Call(table->orvhidIsHIDIOReady, handle) != 0;
}
