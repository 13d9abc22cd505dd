#include "sim/hid/clsDemoBus.h"

#include "hid/clsHidLibraryApi.h"

clsDemoBus::clsDemoBus(clsILibraryLoader& loader) : m_loader(loader) {
    m_library = loader.LoadLibrary(HidLibraryFile::Default(loader));
    if (m_library == 0) return;
    m_ready = true;
#define ORVBUS_EXPORT(result, name, parameters)                                         \
    (name) = reinterpret_cast<decltype(name)>(loader.GetProcAddress(m_library, #name)); \
    if ((name) == nullptr) m_ready = false;
#include "sim/hid/orvbus_exports.def"
#undef ORVBUS_EXPORT
}

clsDemoBus::~clsDemoBus() {
    if (m_library != 0) m_loader.FreeLibrary(m_library);
}

int clsDemoBus::Plug(const std::string& device) const { return m_ready ? orvbusPlug(device.c_str()) : 0; }

bool clsDemoBus::Unplug(int device) const { return m_ready && orvbusUnplug(device) != 0; }
bool clsDemoBus::Replug(int device) const { return m_ready && orvbusReplug(device) != 0; }
void clsDemoBus::Reset() const {
    if (m_ready) orvbusReset();
}

bool clsDemoBus::LayCard(int device, int type, const std::string& serial) const {
    return m_ready && type != 0 && orvbusCard(device, type, serial.c_str()) != 0;
}

bool clsDemoBus::RemoveCard(int device) const {
    return m_ready && orvbusCard(device, /*type=*/0, /*serial=*/"") != 0;
}

bool clsDemoBus::TypeText(int device, const std::string& text) const {
    return m_ready && orvbusType(device, text.c_str()) != 0;
}

bool clsDemoBus::AddFault(int device, const std::string& rule) const {
    return m_ready && !rule.empty() && orvbusFault(device, rule.c_str()) != 0;
}

bool clsDemoBus::ClearFaults(int device) const { return m_ready && orvbusFault(device, /*text=*/"") != 0; }

int clsDemoBus::Register(int device, int number) const {
    return m_ready ? orvbusGetRegister(device, number) : -1;
}

bool clsDemoBus::SetRegister(int device, int number, std::uint8_t value) const {
    return m_ready && orvbusSetRegister(device, number, value) != 0;
}

int clsDemoBus::Count(int device, const std::string& what) const {
    return m_ready ? orvbusCount(device, what.c_str()) : -1;
}
