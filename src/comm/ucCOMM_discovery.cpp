// The comm control's search for a reader.

#include "base/clsScopeGuard.h"
#include "base/modText.h"
#include "comm/ucCOMM.h"

namespace {

constexpr std::int32_t scanTimeout =
    500;  // ms for each poll, whatever the time-out of commands; given with the protocol

// The remembered rate first, then the list's others. Kept on purpose: the remembered rate is cut out of the
// list as text, wherever an entry begins with it.
std::vector<std::int32_t> BaudOrder(const std::string& list, std::int32_t lastBaud) {
    const std::string last = std::to_string(lastBaud);
    const std::string cut = "," + last;
    std::string order = "," + modText::Trim(list);
    for (auto at = order.find(cut); at != std::string::npos; at = order.find(cut, at))
        order.erase(at, cut.size());
    order = order.starts_with(',') ? last + order : last;
    std::vector<std::int32_t> rates;
    for (const std::string& entry : modText::Split(order, ',')) rates.push_back(modText::ValInteger(entry));
    return rates;
}

}  // namespace

bool ucCOMM::CommPort_IsBaudrateSupported(const std::string& name) const {
    return !m_hid || !m_hid->Port.IsMyCommPort(name) || m_hid->Control.IsBaudrateSupported();
}

ucCOMM::ScanPlan ucCOMM::MakeScanPlan(const std::string& pattern, bool noAddress,
                                      const std::string& baudRates) const {
    ScanPlan plan;
    plan.Section = pattern;
    plan.Pattern = modText::UCase(pattern);
    plan.NoAddress = noAddress;
    plan.Rates =
        BaudOrder(baudRates, modText::ValInteger(m_store.GetSetting(pattern, "LastBaudRate", "19200")));
    plan.Generation = m_waits.Cancels();
    return plan;
}

// Taken before any port is touched: choosing a port changes which adapter the set enumerates.
std::vector<std::string> ucCOMM::PortNames() {
    std::vector<clsIMScomm*> adapters{&m_ports.PortInUse()};
    for (std::size_t i = 0; i < m_ports.AttachCount(); ++i) {
        if (&m_ports.AttachedPort(i) != adapters.front()) adapters.push_back(&m_ports.AttachedPort(i));
    }
    std::vector<std::string> names;
    for (clsIMScomm* adapter : adapters) {
        for (int i = 0; i < adapter->NumberOfCommPorts(); ++i) names.push_back(adapter->EnumCommPort(i));
    }
    return names;
}

PortReason ucCOMM::Told(PortReason reason, const std::string& name) {
    reason.Port = name;
    for (const PortEntry& port : HidPorts())
        if (port.Name == name) reason.Port = port.Alias;
    return reason;
}

PortReason ucCOMM::WhyNotOpen(const std::string& name) {
    PortReason reason = PortReasons::NotThere({});
    if (m_ports.CommPort() == name) {
        const bool onHid = m_hid && &m_ports.PortInUse() == &m_hid->Port;
        if (!onHid) reason = m_serial.LastFailure();
        for (const PortEntry& port : HidPorts())
            if (onHid && port.Name == name) reason = port.Reason;
        if (reason.Obstacle == PortObstacle::None) reason = PortReasons::Failed(name, {});
    }
    return Told(reason, name);
}

bool ucCOMM::AutoScan(const std::string& pattern, bool noAddress, const std::string& baudRates) {
    const std::string lastPort = m_store.GetSetting(pattern, "LastCommPort", "COM1");
    std::vector<std::string> names = PortNames();
    // A port that never had a reader and is not there is nothing to tell of.
    const bool known =
        std::erase(names, lastPort) > 0 || !m_store.GetSetting(pattern, "LastCommPort", "").empty();
    names.insert(names.begin(), lastPort);
    ScanPlan plan = MakeScanPlan(pattern, noAddress, baudRates);
    plan.Ports = static_cast<int>(names.size());
    m_searchReasons.clear();
    for (int i = 0; i < plan.Ports; ++i) {
        switch (ScanPort(plan, names[static_cast<std::size_t>(i)], /*portsBefore=*/i)) {
            case ScanResult::Found: return true;
            case ScanResult::Cancelled: return false;
            case ScanResult::NotFound: break;
        }
        if (i == 0 && !known) m_searchReasons.clear();
    }
    return false;
}

bool ucCOMM::AutoScanPort(const std::string& pattern, bool noAddress, const std::string& baudRates,
                          const std::string& name, bool remember) {
    m_searchReasons.clear();
    ScanPlan plan = MakeScanPlan(pattern, noAddress, baudRates);
    plan.Remember = remember;
    return ScanPort(plan, name, /*portsBefore=*/0) == ScanResult::Found;
}

ucCOMM::ScanResult ucCOMM::ScanPort(const ScanPlan& plan, const std::string& name, int portsBefore) {
    if (!m_live || name.empty() || !m_ports.IsServed(name)) return ScanResult::NotFound;
    SetCommPort(name);
    if (m_ports.CommPort() == name) SetPortOpen(true);
    const auto missed = [&] {
        return Cancelled(plan.Generation) ? ScanResult::Cancelled : ScanResult::NotFound;
    };
    if (!PortOpen()) {
        m_searchReasons.push_back(WhyNotOpen(name));
        return missed();
    }

    const clsScopeGuard restore([this, former = m_orvNetTimeout] { m_orvNetTimeout = former; });
    m_orvNetTimeout = scanTimeout;
    const bool bauds = CommPort_IsBaudrateSupported(name);
    const int rates = static_cast<int>(plan.Rates.size());
    int polls = portsBefore * rates;
    for (const std::int32_t rate : plan.Rates) {
        if (Cancelled(plan.Generation) || !PortOpen()) break;
        if (ShowScanStep) ShowScanStep(++polls, plan.Ports * rates);
        SetBaudRate(rate);
        OnScan.Raise("Scan " + name + (bauds ? ", BaudRate=" + std::to_string(rate) : ""));
        if (Cancelled(plan.Generation)) break;  // the poll would know nothing of it
        const std::string reply = modText::UCase(Polling(/*address=*/0, plan.NoAddress));
        if (!reply.empty() &&
            (reply.find(plan.Pattern) != std::string::npos || modText::Like(reply, plan.Pattern))) {
            if (plan.Remember) {
                m_store.SaveSetting(plan.Section, "LastCommPort", name);
                m_store.SaveSetting(plan.Section, "LastBaudRate", std::to_string(BaudRate()));
            }
            OnScan.Raise("Found a reader");
            return ScanResult::Found;
        }
        if (!bauds) break;
    }
    m_searchReasons.push_back(
        Told(PortOpen() ? PortReasons::Silent(bauds) : PortReasons::NotThere({}), name));
    SetPortOpen(false);
    return missed();
}
