// The C face of the library: checks arguments, finds the handle, lets no exception out.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "hidlib/clsHidLibrary.h"
#include "hidlib/orvhidio.h"

namespace {

constexpr int32_t largestBuffer = 16 * 1024 * 1024;
constexpr std::size_t longestPrefix = 32;
constexpr int32_t largestId = 0xFFFF;

template <class Result, class Function>
Result Guarded(Result failed, Function function) noexcept {
    try {
        return function();
    } catch (...) {
        return failed;
    }
}

// Calls `function` with the handle's slot; `failed` for an unknown handle.
template <class Function>
int32_t With(orvhid_handle handle, int32_t failed, Function function) noexcept {
    return Guarded(failed, [&]() -> int32_t {
        const auto slot = clsHidLibrary::Instance().Find(handle);
        return slot == nullptr ? failed : static_cast<int32_t>(function(*slot));
    });
}

int32_t GiveText(char* text, int32_t size, std::string_view value) noexcept {
    if (text != nullptr && size > 0) {
        const auto count = std::min(value.size(), static_cast<std::size_t>(size) - 1);
        text[value.copy(text, count)] = 0;
    }
    return static_cast<int32_t>(value.size());
}

// Gives back the text that `function` makes of the slot, an empty one where that fails.
template <class Function>
int32_t WithText(orvhid_handle handle, char* text, int32_t size, Function function) noexcept {
    GiveText(text, size, {});
    return With(handle, 0, [&](clsHidSlot& slot) { return GiveText(text, size, function(slot)); });
}

int32_t DeviceText(orvhid_handle handle, const char* name, char* text, int32_t size,
                   std::string HidDevice::*member) noexcept {
    return WithText(handle, text, size, [&](clsHidSlot& slot) {
        const auto device = slot.Find(name == nullptr ? "" : name);
        return device ? (*device).*member : std::string();
    });
}

template <class Byte>
std::span<Byte> Span(Byte* data, int32_t count) {
    return {data, static_cast<std::size_t>(count)};
}

int32_t Write(orvhid_handle handle, HidChannel channel, const uint8_t* data, int32_t count) noexcept {
    if (data == nullptr || count < 0) return 0;
    return With(handle, 0, [&](clsHidSlot& slot) { return slot.Write(channel, Span(data, count)); });
}

int32_t WritePart(orvhid_handle handle, HidChannel channel, const void* data, int32_t* count) noexcept {
    if (data == nullptr || count == nullptr || *count < 0) return 0;
    return With(handle, 0, [&](clsHidSlot& slot) {
        const auto taken = slot.WritePart(channel, Span(static_cast<const uint8_t*>(data), *count));
        *count = static_cast<int32_t>(taken.value_or(0));
        return taken.has_value();
    });
}

int32_t Read(orvhid_handle handle, HidChannel channel, uint8_t* data, int32_t size) noexcept {
    if (data == nullptr || size < 0) return 0;
    return With(handle, 0,
                [&](clsHidSlot& slot) { return slot.Read(channel, Span(data, size)).value_or(0); });
}

int32_t ReadPart(orvhid_handle handle, HidChannel channel, void* data, int32_t* count) noexcept {
    if (data == nullptr || count == nullptr || *count < 0) return 0;
    return With(handle, 0, [&](clsHidSlot& slot) {
        const auto moved = slot.Read(channel, Span(static_cast<uint8_t*>(data), *count));
        *count = static_cast<int32_t>(moved.value_or(0));
        return moved.has_value();
    });
}

// The bytes got, 0 when the device did not do it.
int32_t GetReport(orvhid_handle handle, clsHidSlot::Raw raw, uint8_t* data, int32_t size) noexcept {
    if (data == nullptr || size < 1) return 0;
    return With(handle, 0, [&](clsHidSlot& slot) -> int32_t {
        std::vector<uint8_t> report(std::min(static_cast<std::size_t>(size), longestReport));
        report[0] = data[0];
        if (!slot.RawReport(raw, report)) return 0;
        const auto count = std::min(report.size(), static_cast<std::size_t>(size));
        std::copy_n(report.begin(), count, data);
        return static_cast<int32_t>(count);
    });
}

int32_t GetReportPart(orvhid_handle handle, clsHidSlot::Raw raw, void* data, int32_t* size) noexcept {
    if (size == nullptr) return 0;
    const int32_t count = GetReport(handle, raw, static_cast<uint8_t*>(data), *size);
    *size = count;
    return count > 0;
}

int32_t SetReport(orvhid_handle handle, clsHidSlot::Raw raw, const uint8_t* data, int32_t size) noexcept {
    if (data == nullptr || size < 1 || static_cast<std::size_t>(size) > longestReport) return 0;
    return With(handle, 0, [&](clsHidSlot& slot) {
        std::vector<uint8_t> report(data, data + size);
        return slot.RawReport(raw, report);
    });
}

int32_t SetReportPart(orvhid_handle handle, clsHidSlot::Raw raw, const void* data, int32_t* size) noexcept {
    if (size == nullptr) return 0;
    const int32_t done = SetReport(handle, raw, static_cast<const uint8_t*>(data), *size);
    if (done == 0) *size = 0;
    return done;
}

template <class Member, class Value>
int32_t Set(orvhid_handle handle, Member clsHidSlot::Settings::*member, Value value) noexcept {
    return With(handle, 0, [&](clsHidSlot& slot) {
        slot.Set(member, static_cast<Member>(value));
        return 1;
    });
}

int32_t SetInRange(orvhid_handle handle, int clsHidSlot::Settings::*member, int32_t value, int32_t least,
                   int32_t most) noexcept {
    return value < least || value > most ? 0 : Set(handle, member, value);
}

template <class Member>
int32_t Get(orvhid_handle handle, Member clsHidSlot::Settings::*member) noexcept {
    return With(handle, 0, [&](clsHidSlot& slot) { return slot.GetSettings().*member; });
}

}  // namespace

orvhid_handle orvhidCreate() {
    return Guarded(orvhid_handle{0}, [] { return clsHidLibrary::Instance().Create(); });
}

int32_t orvhidDestroy(orvhid_handle handle) {
    return Guarded(0, [&]() -> int32_t { return clsHidLibrary::Instance().Destroy(handle); });
}

int32_t orvhidNumberOfDevice(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.NumberOfDevice(); });
}

int32_t orvhidEnumDevice(orvhid_handle handle, int32_t index, char* text, int32_t size) {
    return WithText(handle, text, size, [&](clsHidSlot& slot) { return slot.EnumDevice(index); });
}

int32_t orvhidEnumDeviceName(orvhid_handle handle, int32_t index, char* text, int32_t size) {
    return WithText(handle, text, size, [&](clsHidSlot& slot) { return slot.EnumDeviceName(index); });
}

int32_t orvhidIsOpen(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.IsOpen(); });
}

int32_t orvhidOpen(orvhid_handle handle, const char* name) {
    if (name == nullptr) return 0;
    return With(handle, 0, [&](clsHidSlot& slot) { return slot.Open(name); });
}

int32_t orvhidClose(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.Close(); });
}

int32_t orvhidWrite(orvhid_handle handle, const uint8_t* data, int32_t count) {
    return Write(handle, HidChannel::Data, data, count);
}

int32_t orvhidWritePtr(orvhid_handle handle, const void* data, int32_t* count) {
    return WritePart(handle, HidChannel::Data, data, count);
}

int32_t orvhidBytesToWrite(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.BytesToWrite(HidChannel::Data); });
}

int32_t orvhidDiscardWriteBuffer(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.DiscardWrite(HidChannel::Data); });
}

int32_t orvhidSetWriteBufferSize(orvhid_handle handle, int32_t size) {
    if (size < 1 || size > largestBuffer) return 0;
    return With(handle, 0, [&](clsHidSlot& slot) {
        slot.SetWriteBufferSize(static_cast<std::size_t>(size));
        return 1;
    });
}

int32_t orvhidGetWriteBufferSize(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.WriteBufferSize(); });
}

int32_t orvhidRead(orvhid_handle handle, uint8_t* data, int32_t size) {
    return Read(handle, HidChannel::Data, data, size);
}

int32_t orvhidReadPtr(orvhid_handle handle, void* data, int32_t* count) {
    return ReadPart(handle, HidChannel::Data, data, count);
}

int32_t orvhidBytesToRead(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.BytesToRead(HidChannel::Data); });
}

int32_t orvhidDiscardReadBuffer(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.DiscardRead(HidChannel::Data); });
}

int32_t orvhidSetReadBufferSize(orvhid_handle handle, int32_t size) {
    if (size < 1 || size > largestBuffer) return 0;
    return With(handle, 0, [&](clsHidSlot& slot) {
        slot.SetReadBufferSize(static_cast<std::size_t>(size));
        return 1;
    });
}

int32_t orvhidGetReadBufferSize(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.ReadBufferSize(); });
}

int32_t orvhidWriteCtrl(orvhid_handle handle, const uint8_t* data, int32_t count) {
    return Write(handle, HidChannel::Control, data, count);
}

int32_t orvhidWriteCtrlPtr(orvhid_handle handle, const void* data, int32_t* count) {
    return WritePart(handle, HidChannel::Control, data, count);
}

int32_t orvhidBytesToWriteCtrl(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.BytesToWrite(HidChannel::Control); });
}

int32_t orvhidDiscardWriteCtrlBuffer(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.DiscardWrite(HidChannel::Control); });
}

int32_t orvhidReadCtrl(orvhid_handle handle, uint8_t* data, int32_t size) {
    return Read(handle, HidChannel::Control, data, size);
}

int32_t orvhidReadCtrlPtr(orvhid_handle handle, void* data, int32_t* count) {
    return ReadPart(handle, HidChannel::Control, data, count);
}

int32_t orvhidBytesToReadCtrl(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.BytesToRead(HidChannel::Control); });
}

int32_t orvhidDiscardReadCtrlBuffer(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.DiscardRead(HidChannel::Control); });
}

int32_t orvhidGetScanTiming(orvhid_handle handle) { return Get(handle, &clsHidSlot::Settings::ScanTiming); }

int32_t orvhidSetScanTiming(orvhid_handle handle, int32_t ms) {
    return SetInRange(handle, &clsHidSlot::Settings::ScanTiming, ms, /*least=*/1, /*most=*/1000);
}

int32_t orvhidGetRequestTimeout(orvhid_handle handle) {
    return Get(handle, &clsHidSlot::Settings::RequestTimeout);
}

int32_t orvhidSetRequestTimeout(orvhid_handle handle, int32_t ms) {
    return SetInRange(handle, &clsHidSlot::Settings::RequestTimeout, ms, /*least=*/1, /*most=*/60000);
}

int32_t orvhidSetCallBackWnd(orvhid_handle, uint32_t, uint32_t) { return 0; }

int32_t orvhidSetCallBackProc(orvhid_handle handle, orvhid_callback procedure, uint32_t user) {
    return With(handle, 0, [&](clsHidSlot& slot) {
        slot.SetCallBack(procedure, user);
        return 1;
    });
}

int32_t orvhidGetEvent(orvhid_handle handle, uint32_t* event, uint32_t* param) {
    if (event == nullptr || param == nullptr) return 0;
    return With(handle, 0, [&](clsHidSlot& slot) {
        const auto taken = slot.TakeEvent();
        if (taken) std::tie(*event, *param) = *taken;
        return taken.has_value();
    });
}

int32_t orvhidGetParamString(orvhid_handle handle, uint32_t param, char* text, int32_t size) {
    return WithText(handle, text, size, [&](clsHidSlot& slot) { return slot.ParamString(param); });
}

int32_t orvhidGetDevicePrefix(orvhid_handle handle, char* text, int32_t size) {
    return WithText(handle, text, size, [](clsHidSlot& slot) { return slot.GetSettings().Prefix; });
}

int32_t orvhidSetDevicePrefix(orvhid_handle handle, const char* prefix) {
    if (prefix == nullptr || std::strlen(prefix) > longestPrefix) return 0;
    return Guarded(0, [&] { return Set(handle, &clsHidSlot::Settings::Prefix, std::string(prefix)); });
}

int32_t orvhidGetBreak(orvhid_handle handle) { return Get(handle, &clsHidSlot::Settings::Break); }

int32_t orvhidSetBreak(orvhid_handle handle, int32_t value) {
    return Set(handle, &clsHidSlot::Settings::Break, value != 0);
}

int32_t orvhidGetCTSHolding(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.ClearToSend(); });
}

int32_t orvhidGetAsyncIO(orvhid_handle handle) { return Get(handle, &clsHidSlot::Settings::AsyncIO); }

int32_t orvhidSetAsyncIO(orvhid_handle handle, int32_t value) {
    return Set(handle, &clsHidSlot::Settings::AsyncIO, value != 0);
}

int32_t orvhidAddNewUSBID(orvhid_handle handle, int32_t vendor, int32_t product) {
    if (vendor < 0 || vendor > largestId || product < -1 || product > largestId) return 0;
    return With(handle, 0, [&](clsHidSlot& slot) { return slot.AddNewUSBID(vendor, product); });
}

int32_t orvhidDeviceIsUSBID(orvhid_handle handle, int32_t vendor, int32_t product) {
    return With(handle, 0, [&](clsHidSlot& slot) {
        const auto device = slot.Find({});
        return device && device->Vendor == vendor && device->Product == product;
    });
}

int32_t orvhidGetDeviceUSBID(orvhid_handle handle, int32_t* vendor, int32_t* product) {
    if (vendor == nullptr || product == nullptr) return 0;
    return With(handle, 0, [&](clsHidSlot& slot) {
        const auto device = slot.Find({});
        if (device) {
            *vendor = device->Vendor;
            *product = device->Product;
        }
        return device.has_value();
    });
}

int32_t orvhidGetDeviceManufacturer(orvhid_handle handle, const char* name, char* text, int32_t size) {
    return DeviceText(handle, name, text, size, &HidDevice::Maker);
}

int32_t orvhidGetDeviceProduct(orvhid_handle handle, const char* name, char* text, int32_t size) {
    return DeviceText(handle, name, text, size, &HidDevice::ProductText);
}

int32_t orvhidGetDeviceSerialNumber(orvhid_handle handle, const char* name, char* text, int32_t size) {
    return DeviceText(handle, name, text, size, &HidDevice::Serial);
}

int32_t orvhidGetIndexedString(orvhid_handle handle, int32_t index, char* text, int32_t size) {
    return WithText(handle, text, size, [&](clsHidSlot& slot) {
        const auto device = slot.Find({});
        if (!device) return std::string();
        const auto found = device->Strings.find(index);
        return found == device->Strings.end() ? std::string() : found->second;
    });
}

int32_t orvhidGetInputReport(orvhid_handle handle, uint8_t* data, int32_t size) {
    return GetReport(handle, clsHidSlot::Raw::InputReport, data, size);
}

int32_t orvhidGetInputReportPtr(orvhid_handle handle, void* data, int32_t* size) {
    return GetReportPart(handle, clsHidSlot::Raw::InputReport, data, size);
}

int32_t orvhidSetOutputReport(orvhid_handle handle, const uint8_t* data, int32_t size) {
    return SetReport(handle, clsHidSlot::Raw::OutputReport, data, size);
}

int32_t orvhidSetOutputReportPtr(orvhid_handle handle, const void* data, int32_t* size) {
    return SetReportPart(handle, clsHidSlot::Raw::OutputReport, data, size);
}

int32_t orvhidGetFeature(orvhid_handle handle, uint8_t* data, int32_t size) {
    return GetReport(handle, clsHidSlot::Raw::GetFeature, data, size);
}

int32_t orvhidGetFeaturePtr(orvhid_handle handle, void* data, int32_t* size) {
    return GetReportPart(handle, clsHidSlot::Raw::GetFeature, data, size);
}

int32_t orvhidSetFeature(orvhid_handle handle, const uint8_t* data, int32_t size) {
    return SetReport(handle, clsHidSlot::Raw::SetFeature, data, size);
}

int32_t orvhidSetFeaturePtr(orvhid_handle handle, const void* data, int32_t* size) {
    return SetReportPart(handle, clsHidSlot::Raw::SetFeature, data, size);
}

int32_t orvhidGetNumberInputBuffers(orvhid_handle handle) {
    return Get(handle, &clsHidSlot::Settings::InputBuffers);
}

int32_t orvhidSetNumberInputBuffers(orvhid_handle handle, int32_t count) {
    return SetInRange(handle, &clsHidSlot::Settings::InputBuffers, count, /*least=*/2, /*most=*/512);
}

int32_t orvhidFlushQueue(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) {
        for (const HidChannel channel : {HidChannel::Data, HidChannel::Control}) {
            slot.DiscardRead(channel);
            slot.DiscardWrite(channel);
        }
        return slot.IsOpen();
    });
}

int32_t orvhidCheckDevicesIsChanged(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.CheckDevicesIsChanged(); });
}

int32_t orvhidIsHIDIOReady(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot&) { return 1; });  // the worker lives as long as there is a handle
}

int32_t orvhidGetEventDescriptor(orvhid_handle handle) {
    return With(handle, -1, [](clsHidSlot& slot) { return slot.EventDescriptor(); });
}

int32_t orvhidDispatch(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.Dispatch(); });
}

int32_t orvhidGetDeviceFile(orvhid_handle handle, const char* name, char* text, int32_t size) {
    return DeviceText(handle, name, text, size, &HidDevice::File);
}

int32_t orvhidGetOpenError(orvhid_handle handle) {
    return With(handle, 0, [](clsHidSlot& slot) { return slot.OpenError(); });
}

int32_t orvhidGetDeviceAccess(orvhid_handle handle, const char* name) {
    return With(handle, ENOENT, [&](clsHidSlot& slot) { return slot.Access(name == nullptr ? "" : name); });
}
