// The life of the HID control: library, handle, open, close, events.

#include "hid/OrvHIDIO.h"

#include <utility>

#include "base/clsScopeGuard.h"
#include "base/modText.h"
#include "hid/clsHidLibraryApi.h"
#include "hid/modOrvHID.h"
#include "ports/clsIMScomm.h"

namespace {

// The figures of opening and closing are given with the adapter.
constexpr int plainReaderProduct = 0x15;  // a reader without an adapter's command set, whatever its name says
constexpr int settleTime = 150;           // ms an adapter needs after it was opened
constexpr int attemptPause = 50;          // ms before each attempt, and after closing
constexpr int attempts = 3;

}  // namespace

OrvHIDIO::OrvHIDIO(clsIHost& host, clsWaitAccount& waits, clsILibraryLoader& loader, clsIHidApi& api,
                   bool userMode, std::function<void(const std::string&)> messageBox)
    : m_host(host),
      m_waits(waits),
      m_loader(loader),
      m_api(api),
      m_userMode(userMode),
      m_messageBox(std::move(messageBox)),
      m_id(modOrvHID::Register(*this)) {}

// Whoever hosts it may be half gone by now: no command that would run the loop.
OrvHIDIO::~OrvHIDIO() {
    m_watch.Disconnect();
    if (m_handle != 0) {
        m_api.Close(m_handle);
        m_api.Destroy(m_handle);
    }
    modOrvHID::Unregister(m_id);
}

void OrvHIDIO::ReadProperties(const clsIPropertyBag& bag) {
    const auto number = [&bag](const char* key, std::int32_t value) {
        return modText::ValInteger(bag.ReadProperty(key, std::to_string(value)));
    };
    m_vendorID = number("DefaultVendorID", HidReaderVendor);
    m_productID = number("DefaultProductID", HidReaderProduct);
    m_optional = {};
    if (m_userMode) Probe();
}

void OrvHIDIO::WriteProperties(clsIPropertyBag& bag) const {
    bag.WriteProperty("DefaultVendorID", std::to_string(m_vendorID), std::to_string(HidReaderVendor));
    bag.WriteProperty("DefaultProductID", std::to_string(m_productID), std::to_string(HidReaderProduct));
}

// The reference taken here is only for the look-ups; the operations load the library by its name themselves.
void OrvHIDIO::Probe() {
    auto library = m_loader.LoadLibrary(HidLibraryFile::Default(m_loader));
    if (library == 0) library = m_loader.LoadLibrary(HidLibraryFile::Computed(m_loader));
    if (library == 0) return;
    const clsScopeGuard free([&] { m_loader.FreeLibrary(library); });
    const auto exported = [&](const char* name) { return m_loader.GetProcAddress(library, name) != nullptr; };
    m_library = true;
    m_optional.AddNewUSBID = exported("orvhidAddNewUSBID");
    m_optional.GetDeviceUSBID = exported("orvhidGetDeviceUSBID");
    m_optional.FlushQueue = exported("orvhidFlushQueue");
    m_optional.CheckDevicesIsChanged = exported("orvhidCheckDevicesIsChanged");
    Create();
}

bool OrvHIDIO::IsFunctionSupported(const std::string& name) {
    if (!m_userMode) return false;
    const std::string file = HidLibraryFile::Default(m_loader);
    auto library = m_loader.GetModuleHandle(file);
    if (library == 0) library = m_loader.LoadLibrary(file);
    if (library == 0) return false;
    const bool supported = m_loader.GetProcAddress(library, name) != nullptr;
    m_loader.FreeLibrary(library);  // kept on purpose, also where GetModuleHandle took nothing
    return supported;
}

// Whether there is a handle; makes it where the library allows.
bool OrvHIDIO::Create() {
    if (m_handle != 0) return true;
    if (!m_userMode || !m_library) return false;
    m_handle = m_api.Create();
    if (m_handle == 0) return false;
    m_api.SetCallBackProc(m_handle, &modOrvHID::CallBack, m_id);
    // A library that makes its call-backs itself has no such descriptor.
    if (const int events = m_api.EventDescriptor(m_handle); events >= 0)
        m_watch = m_host.WatchDescriptor(events, [this] { m_api.Dispatch(m_handle); });
    return true;
}

bool OrvHIDIO::PortOpen() { return Create() && m_api.IsOpen(m_handle); }

void OrvHIDIO::SetPortOpen(bool value) {
    if (value) {
        OpenPort();
    } else {
        ClosePort();
    }
}

// Ends the command that waits on the port as it was until now.
std::uint32_t OrvHIDIO::BeginSession() {
    m_busy = false;
    m_orvNetActive = false;
    return ++m_session;
}

bool OrvHIDIO::InSession(std::uint32_t session) {
    return m_session == session && m_handle != 0 && m_api.IsOpen(m_handle);
}

void OrvHIDIO::OpenPort() {
    if (!Create()) return;
    const bool opened = m_api.Open(m_handle, m_commPort);
    m_openErrors[m_commPort] = opened ? 0 : m_api.GetOpenError(m_handle);
    if (!opened) return;
    BeginSession();
    m_controlMode = false;
    m_adapterAnswered = false;
    m_openGeneration = m_waits.Cancels();
    if (DeviceIsUSBID(HidReaderVendor, plainReaderProduct)) {
        m_tarkaCmdSetEnabled = false;
    } else {
        const std::string product = GetDeviceProduct(m_commPort);
        m_tarkaCmdSetEnabled =
            product.find("Tarka") != std::string::npos || product.find("Merro9") != std::string::npos;
    }
    SetBreak(false);
    m_api.SetCallBackProc(m_handle, &modOrvHID::CallBack, m_id);
    SetInBufferSize(m_inBufferSize);
    SetOutBufferSize(m_outBufferSize);
    m_direction = {};
    m_keyboardExists = false;
    if (m_tarkaCmdSetEnabled) ReadAdapter();
}

// Waits and clears the adapter before an attempt; False when the open was cancelled or the port closed
// meanwhile.
bool OrvHIDIO::BeginAttempt(std::uint32_t session) {
    const auto goesOn = [&] { return InSession(session) && m_waits.Cancels() == m_openGeneration; };
    if (!goesOn()) return false;
    m_host.Sleep(attemptPause);
    TarkaDiscardBuffer();
    return goesOn();
}

void OrvHIDIO::ReadAdapter() {
    const std::uint32_t session = m_session;
    m_host.Sleep(settleTime);
    for (int i = 0; i < attempts && BeginAttempt(session); ++i) {
        if (SetHIDBaudrate(m_baudRate) || m_nak) break;
    }
    for (int i = 0; i < attempts && BeginAttempt(session); ++i) {
        TarkaIODirection direction;
        if (GetTarkaDefaultIODirect(direction)) {
            m_direction = direction;
            return;
        }
        if (m_nak) return;
    }
}

// A command that waits meanwhile is given up first, so that the adapter hears what puts it back.
void OrvHIDIO::ClosePort() {
    const std::uint32_t session = BeginSession();
    if (InSession(session)) {
        if (m_tarkaCmdSetEnabled && !SetTarkaIODirect(m_direction) && !m_nak && InSession(session)) {
            m_host.Sleep(attemptPause);
            TarkaDiscardBuffer();
            SetTarkaIODirect(m_direction);
        }
        if (m_session != session) return;  // a handler has closed it, and perhaps opened another
        m_api.Close(m_handle);
        m_host.Sleep(attemptPause);
    }
    m_tarkaCmdSetEnabled = false;
}

int OrvHIDIO::OpenError(const std::string& name) const {
    const auto known = m_openErrors.find(name);
    return known == m_openErrors.end() ? 0 : known->second;
}

void OrvHIDIO::RaiseComm(int event) {
    m_commEvent = event;
    OnComm.Raise();
}

std::uint32_t OrvHIDIO::OrvHIDIOProc(std::uint32_t handle, std::uint32_t event, std::uint32_t param) {
    // While a command runs, what happens on the control channel belongs to it.
    const bool commandsOwn = m_busy && event >= HidEventControlData && event <= HidEventControlLast;
    if (!commandsOwn) OnOrvHIDProc.Raise(event, param);
    switch (event) {
        case HidEventData:
            if (!m_orvNetActive) RaiseComm(CommEventReceive);
            break;
        case HidEventOverflow: RaiseComm(CommEventReceiveOverflow); break;
        case HidEventSent: RaiseComm(CommEventSend); break;
        case HidEventOutputFull: RaiseComm(CommEventOutputFull); break;
        case HidEventControlData:
            if (m_timer) m_timer->Reset();
            if (!m_busy) RaiseComm(CommEventReceive);
            break;
        case HidEventArrival: m_newDevice = true; [[fallthrough]];
        case HidEventDeviceFirst:
        case HidEventDeviceSecond:
        case HidEventRemoval:
        case HidEventRemovalOfOpen: OnDevice.Raise(event, m_api.GetParamString(handle, param)); break;
        case HidEventCTS: RaiseComm(CommEventCTS); break;
        default: break;
    }
    return 0;
}
