#include "hidlib/clsHidLibrary.h"

#include <poll.h>
#include <pthread.h>

#include <algorithm>
#include <csignal>
#include <future>
#include <limits>

namespace {

using Clock = clsHidSlot::Clock;

// How often the devices are listed where nobody tells of changes: as often as serial ports.
constexpr std::chrono::milliseconds listPeriod{1000};

int PollTimeout(Clock::time_point next) {
    if (next == Clock::time_point::max()) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()).count();
    return static_cast<int>(std::clamp<long>(left, 0, std::numeric_limits<int>::max()));
}

bool Lists(const std::vector<HidDevice>& devices, const std::string& key) {
    return std::ranges::find(devices, key, &HidDevice::Key) != devices.end();
}

}  // namespace

clsHidLibrary& clsHidLibrary::Instance() {
    static clsHidLibrary& library = *new clsHidLibrary;
    return library;
}

orvhid_handle clsHidLibrary::Create() {
    const std::lock_guard life(m_life);
    if (!m_worker.joinable()) StartWorker();
    const std::lock_guard guard(m_lock);
    do ++m_lastHandle;
    while (m_lastHandle == 0 || m_slots.count(m_lastHandle) > 0);
    m_slots.emplace(m_lastHandle, std::make_shared<clsHidSlot>(m_lastHandle, m_shared));
    return m_lastHandle;
}

bool clsHidLibrary::Destroy(orvhid_handle handle) {
    const std::lock_guard life(m_life);
    SlotPtr slot;
    {
        const std::lock_guard guard(m_lock);
        const auto found = m_slots.find(handle);
        if (found == m_slots.end()) return false;
        slot = std::move(found->second);
        m_slots.erase(found);
        m_stop = m_slots.empty();
    }
    slot->Destroy();
    if (m_stop) {
        m_shared->Wake.Signal();
        m_worker.join();
        m_shared.reset();
    }
    return true;
}

clsHidLibrary::SlotPtr clsHidLibrary::Find(orvhid_handle handle) {
    const std::lock_guard guard(m_lock);
    const auto found = m_slots.find(handle);
    return found == m_slots.end() ? nullptr : found->second;
}

std::vector<clsHidLibrary::SlotPtr> clsHidLibrary::Slots() {
    const std::lock_guard guard(m_lock);
    std::vector<SlotPtr> slots;
    for (const auto& [handle, slot] : m_slots) slots.push_back(slot);
    return slots;
}

void clsHidLibrary::StartWorker() {
    m_shared = std::make_shared<HidShared>();
    m_shared->Backend = MakeHidBackend();
    m_stop = false;
    std::promise<void> listed;
    const auto ready = listed.get_future();
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);  // signals are the program's
    const auto restore = [&] { pthread_sigmask(SIG_SETMASK, &before, nullptr); };
    try {
        m_worker = std::thread([this, &listed] {
            try {
                ListDevices(/*announce=*/false);
            } catch (...) {  // memory has run out; the list stays empty until something changes
            }
            listed.set_value();
            Work();
        });
    } catch (...) {
        restore();
        throw;
    }
    restore();
    ready.wait();
}

void clsHidLibrary::ListDevices(bool announce) {
    auto now = m_shared->Backend->List();
    const auto slots = Slots();
    const std::lock_guard guard(m_shared->Lock);
    auto before = std::exchange(m_shared->Devices, std::move(now));
    if (!announce) return;
    for (const HidDevice& device : before)
        if (!Lists(m_shared->Devices, device.Key))
            for (const auto& slot : slots) slot->DeviceWent(device);
    for (const HidDevice& device : m_shared->Devices)
        if (!Lists(before, device.Key))
            for (const auto& slot : slots) slot->DeviceCame(device);
}

void clsHidLibrary::Work() {
    Watched watched;
    if (m_shared->Backend->MustPoll()) watched.NextList = Clock::now() + listPeriod;
    for (;;) {
        try {
            if (!Turn(watched)) return;
        } catch (...) {  // memory has run out: nothing is lost but time
            constexpr int pauseMs = 10;
            poll(nullptr, 0, pauseMs);
        }
    }
}

// Looks at everything once, then waits. False when the worker is to end.
bool clsHidLibrary::Turn(Watched& watched) {
    HidShared& shared = *m_shared;
    clsIHidBackend& backend = *shared.Backend;
    // First the wake is taken back, then everything is looked at: what is asked for later wakes again.
    shared.Wake.Drain();
    {
        const std::lock_guard guard(m_lock);
        if (m_stop) return false;
    }
    auto& polled = watched.Descriptors;
    const bool noticed = !polled.empty() && (polled[1].revents & POLLIN) != 0;
    if (noticed) backend.TakeNotices();
    if (noticed || Clock::now() >= watched.NextList) {
        ListDevices(/*announce=*/true);
        if (backend.MustPoll()) watched.NextList = Clock::now() + listPeriod;
    }

    std::vector<pollfd> next{{shared.Wake.Descriptor(), POLLIN, 0}, {backend.NoticeDescriptor(), POLLIN, 0}};
    std::vector<clsHidSlot::NodePtr> open;
    auto wakeAt = watched.NextList;
    for (const auto& slot : Slots()) {
        const auto node = slot->Current();
        if (node == nullptr) continue;
        const auto before = std::ranges::find(watched.Nodes, node);
        const auto place = 2 + static_cast<std::size_t>(before - watched.Nodes.begin());
        const short happened = before == watched.Nodes.end() ? short{0} : polled[place].revents;
        if (happened != 0) slot->TakeReports(node, (happened & (POLLERR | POLLHUP | POLLNVAL)) != 0);
        slot->DoRequests(node);
        slot->SendReports(node);
        slot->AskFeature(node, Clock::now());
        if (slot->Current() != node) {  // closed, or gone
            if (backend.MustPoll()) wakeAt = watched.NextList = Clock::now();
            continue;
        }
        if (Clock::now() < node->AskUntil) wakeAt = std::min(wakeAt, node->AskNext);
        const int events = node->Held.empty() ? POLLIN : POLLIN | POLLOUT;
        next.push_back({node->Door->Descriptor(), static_cast<short>(events), 0});
        open.push_back(node);
    }
    watched.Nodes = std::move(open);
    polled = std::move(next);
    poll(polled.data(), polled.size(), PollTimeout(wakeAt));
    return true;
}
