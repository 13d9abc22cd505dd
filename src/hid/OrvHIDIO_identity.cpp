// Which devices the HID control talks to, and what they say of themselves.

#include <array>

#include "base/modText.h"
#include "hid/OrvHIDIO.h"

namespace {

// The last four digits.
std::string HexID(std::int32_t id) { return modText::Hex(static_cast<std::uint32_t>(id), 4); }

// "0x15", "&H15" and "15" are all hexadecimal here.
std::int32_t ParseHexID(const std::string& text) {
    std::string digits = modText::UCase(text);
    if (digits.starts_with("0X") || digits.starts_with("&H")) digits.erase(0, 2);
    return modText::ValInteger("&H" + digits);
}

}  // namespace

// True when the value must stay as it is; then it has been said.
bool OrvHIDIO::RefuseChange(const char* message) {
    if (m_handle == 0 && !m_userMode) return false;
    if (m_messageBox) m_messageBox(message);
    return true;
}

void OrvHIDIO::SetDefaultVendorID(std::int32_t value) {
    if (!RefuseChange("The DefaultVederID property can't chagne at runtime!")) m_vendorID = value;
}

void OrvHIDIO::SetDefaultProductID(std::int32_t value) {
    if (!RefuseChange("The ProductID property can't chagne at runtime!")) m_productID = value;
}

std::string OrvHIDIO::DefaultHexVendorID() const { return HexID(m_vendorID); }
void OrvHIDIO::SetDefaultHexVendorID(const std::string& text) { SetDefaultVendorID(ParseHexID(text)); }

std::string OrvHIDIO::DefaultHexProductID() const {
    return m_productID == -1 ? "(Any PID)" : HexID(m_productID);
}

void OrvHIDIO::SetDefaultHexProductID(const std::string& text) {
    if (modText::UCase(text) == "(ANY PID)") SetDefaultProductID(-1);
    SetDefaultProductID(ParseHexID(text));  // kept on purpose: it follows the assignment of -1
}

bool OrvHIDIO::AddNewUSBID(int vendor, int product) {
    return m_optional.AddNewUSBID && Create() && m_api.AddNewUSBID(m_handle, vendor, product);
}

bool OrvHIDIO::DeviceIsUSBID(int vendor, int product) {
    return Create() && m_api.DeviceIsUSBID(m_handle, vendor, product);
}

bool OrvHIDIO::GetDeviceUSBID(int& vendor, int& product) {
    return m_optional.GetDeviceUSBID && Create() && m_api.GetDeviceUSBID(m_handle, vendor, product);
}

std::string OrvHIDIO::GetDeviceManufacturer(const std::string& name) {
    return Create() ? m_api.GetDeviceManufacturer(m_handle, name) : std::string();
}
std::string OrvHIDIO::GetDeviceProduct(const std::string& name) {
    return Create() ? m_api.GetDeviceProduct(m_handle, name) : std::string();
}
std::string OrvHIDIO::GetDeviceSerialNumber(const std::string& name) {
    return Create() ? m_api.GetDeviceSerialNumber(m_handle, name) : std::string();
}
std::string OrvHIDIO::GetDeviceFile(const std::string& name) {
    return Create() ? m_api.GetDeviceFile(m_handle, name) : std::string();
}
int OrvHIDIO::GetDeviceAccess(const std::string& name) {
    return Create() ? m_api.GetDeviceAccess(m_handle, name) : 0;
}
std::string OrvHIDIO::GetIndexedString(int index) {
    return Create() ? m_api.GetIndexedString(m_handle, index) : std::string();
}

bool OrvHIDIO::IsMyCommPort(const std::string& name) {
    if (m_handle == 0) return false;
    const std::string upper = modText::UCase(name);
    const std::string prefix = modText::UCase(DevicePrefix());
    if (upper.starts_with(prefix)) {
        const std::string rest = upper.substr(prefix.size());
        const double number = modText::Val(rest);
        return modText::IsNumeric(rest) && number >= 1 && number <= 256;
    }
    std::size_t from = 0;
    for (const std::string& part :
         std::array<std::string, 5>{"\\HID", "VID", HexID(HidReaderVendor), "PID", HexID(HidReaderProduct)}) {
        const auto at = upper.find(part, from);
        if (at == std::string::npos) return false;
        from = at + 1;
    }
    return true;
}
