// The worker's half of a handle: reports in and out, and what is announced.
#include <algorithm>

#include "hidlib/clsHidSlot.h"

namespace {

constexpr std::size_t mostDeviceEvents = 64;
constexpr std::size_t mostNames = 128;
constexpr int reportsATurn = 64;

}  // namespace

clsHidSlot::NodePtr clsHidSlot::Current() {
    const Guard guard(m_shared->Lock);
    return m_node;
}

void clsHidSlot::Raise(std::uint32_t code) {
    const std::pair event{code, std::uint32_t{0}};
    if (std::ranges::find(m_events, event) != m_events.end()) return;
    m_events.push_back(event);
    m_eventDescriptor.Signal();
}

void clsHidSlot::RaiseDevice(std::uint32_t code, const HidDevice& device) {
    const auto waiting = std::ranges::count_if(m_events, [](const auto& event) { return event.second != 0; });
    if (static_cast<std::size_t>(waiting) >= mostDeviceEvents) return;
    if (++m_lastParam == 0) ++m_lastParam;  // 0 marks the events that are not about a device
    m_names.emplace_back(m_lastParam, DeviceName(device));
    if (m_names.size() > mostNames) m_names.pop_front();
    m_events.emplace_back(code, m_lastParam);
    m_eventDescriptor.Signal();
}

void clsHidSlot::DeviceCame(const HidDevice& device) {
    if (!Accepts(device)) return;
    m_devicesChanged = true;
    RaiseDevice(HidEventArrival, device);
}

void clsHidSlot::DeviceWent(const HidDevice& device) {
    if (m_node != nullptr && m_node->Device.Key == device.Key) {
        Detach();
        m_devicesChanged = true;
        RaiseDevice(HidEventRemovalOfOpen, device);
        return;
    }
    if (!Accepts(device)) return;
    m_devicesChanged = true;
    if (m_lostKey == device.Key)
        m_lostKey.clear();
    else
        RaiseDevice(HidEventRemoval, device);
}

void clsHidSlot::Lost(const NodePtr& node) {
    const Guard guard(m_shared->Lock);
    if (m_node != node) return;
    Detach();
    m_lostKey = node->Device.Key;
    RaiseDevice(HidEventRemovalOfOpen, node->Device);
}

void clsHidSlot::TakeReports(const NodePtr& node, bool broken) {
    const int turns = GetSettings().InputBuffers;
    std::vector<std::uint8_t> report;
    for (int turn = 0; turn < turns; ++turn) {
        report.resize(longestReport);
        const NodeResult result = node->Door->Read(report);
        if (result == NodeResult::Again && !broken) return;
        if (result != NodeResult::Done) return Lost(node);
        const auto came = OpenReport(node->Layout, report);
        if (came && !came->Payload.empty()) Deliver(node, came->Channel, came->Payload);
    }
}

void clsHidSlot::Deliver(const NodePtr& node, HidChannel which, std::span<const std::uint8_t> bytes) {
    const Guard guard(m_shared->Lock);
    if (m_node != node) return;
    Channel& channel = Of(which);
    const std::size_t taken = channel.In.Put(bytes);
    if (taken > 0) Raise(channel.FirstEvent + HidEventData);
    if (taken < bytes.size()) Raise(channel.FirstEvent + HidEventOverflow);
}

void clsHidSlot::DoRequests(const NodePtr& node) {
    for (;;) {
        std::shared_ptr<Request> request;
        std::vector<std::uint8_t> report;
        {
            const Guard guard(m_shared->Lock);
            if (m_node != node || m_requests.empty()) return;
            request = m_requests.front();
            m_requests.pop_front();
            report = request->Report;
        }
        NodeResult result = NodeResult::Refused;
        switch (request->What) {
            case Raw::InputReport: result = node->Door->Request(clsIHidNode::Ask::InputReport, report); break;
            case Raw::GetFeature: result = node->Door->Request(clsIHidNode::Ask::GetFeature, report); break;
            case Raw::SetFeature: result = node->Door->Request(clsIHidNode::Ask::SetFeature, report); break;
            case Raw::OutputReport: result = node->Door->Write(report); break;
        }
        if (result == NodeResult::Gone) return Lost(node);
        const Guard guard(m_shared->Lock);
        request->Report = std::move(report);
        request->Result = result;
        request->Done = true;
        m_shared->Changed.notify_all();
    }
}

void clsHidSlot::SendReports(const NodePtr& node) {
    for (int turn = 0; turn < reportsATurn; ++turn) {
        if (!NextReport(node)) return;
        const bool feature = node->HeldChannel == HidChannel::Control && node->Layout.ControlByFeature;
        if (!Finished(node, feature ? node->Door->Request(clsIHidNode::Ask::SetFeature, node->Held)
                                    : node->Door->Write(node->Held)))
            return;
    }
    m_shared->Wake.Signal();  // there may be more
}

bool clsHidSlot::NextReport(const NodePtr& node) {
    const Guard guard(m_shared->Lock);
    if (m_node != node) return false;
    if (!node->Held.empty()) {
        if (node->HeldEpoch == Of(node->HeldChannel).Epoch) return true;
        node->Held.clear();
    }
    if (m_order.empty()) return false;
    auto& [which, waiting] = m_order.front();
    const ReportLane& lane = node->Layout.Out(which);
    std::vector<std::uint8_t> payload(std::min(lane.Capacity(), waiting));
    Of(which).Out.Take(payload);
    Of(which).InFlight = payload.size();
    node->Held = BuildReport(lane, payload);
    node->HeldChannel = which;
    node->HeldEpoch = Of(which).Epoch;
    waiting -= payload.size();
    if (waiting == 0) m_order.pop_front();
    return true;
}

// True when the next report may be tried.
bool clsHidSlot::Finished(const NodePtr& node, NodeResult result) {
    if (result == NodeResult::Gone) {
        Lost(node);
        return false;
    }
    const Guard guard(m_shared->Lock);
    if (m_node != node) return false;
    const bool clearToSend = result != NodeResult::Again;
    if (std::exchange(m_clearToSend, clearToSend) != clearToSend) Raise(HidEventCTS);
    if (!clearToSend) return false;

    Channel& channel = Of(node->HeldChannel);
    const bool current = node->HeldEpoch == channel.Epoch;
    node->Held.clear();
    if (!current) return true;
    channel.InFlight = 0;
    if (result == NodeResult::Refused) {  // what follows would arrive as half a command
        ++channel.Refusals;
        Discard(node->HeldChannel);
        Raise(channel.FirstEvent + HidEventOutputFull);
    } else if (channel.Out.Count() == 0) {
        Raise(channel.FirstEvent + HidEventSent);
    }
    if (node->HeldChannel == HidChannel::Control && node->Layout.ControlByFeature) {
        node->AskNext = Clock::now();
        node->AskUntil = node->AskNext + std::chrono::milliseconds(m_settings.RequestTimeout);
    }
    m_shared->Changed.notify_all();
    return true;
}

void clsHidSlot::AskFeature(const NodePtr& node, Clock::time_point now) {
    const ReportLane& lane = node->Layout.ControlIn;
    if (now < node->AskNext || now >= node->AskUntil || lane.Capacity() == 0) return;
    std::vector<std::uint8_t> report(1 + lane.Size);
    report[0] = lane.Id;
    const NodeResult result = node->Door->Request(clsIHidNode::Ask::GetFeature, report);
    if (result == NodeResult::Gone) return Lost(node);
    node->AskNext = Clock::now() + std::chrono::milliseconds(GetSettings().ScanTiming);
    if (result != NodeResult::Done) return;
    const auto answer = OpenFeature(lane, report);
    if (!answer.empty()) Deliver(node, HidChannel::Control, answer);
}
