#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "hidlib/ByteQueue.h"
#include "hidlib/ReportLayout.h"
#include "hidlib/clsEventDescriptor.h"
#include "hidlib/clsIHidBackend.h"
#include "hidlib/orvhidio.h"

/// What the worker and every handle share.
struct HidShared {
    std::unique_ptr<clsIHidBackend> Backend;  ///< set before the worker starts
    clsEventDescriptor Wake;                  ///< makes the worker look at everything again

    /// Guards what follows and every handle; never held over a call to a device or the program.
    std::mutex Lock;
    std::condition_variable Changed;  ///< a request is done, a queue has run empty, a device has gone
    std::vector<HidDevice> Devices;   ///< all that are plugged in, accepted or not
};

/// One handle: its open device, queues, events and settings. The exports call the upper half from any thread,
/// the worker the lower one.
class clsHidSlot {
  public:
    using Clock = std::chrono::steady_clock;

    /// A device that this handle has open. What stands below the line belongs to the worker.
    struct Node {
        HidDevice Device;
        std::unique_ptr<clsIHidNode> Door;
        ReportLayout Layout;
        // ----
        std::vector<std::uint8_t> Held;  ///< the report that is being sent; empty when there is none
        HidChannel HeldChannel = HidChannel::Data;
        unsigned HeldEpoch = 0;
        Clock::time_point AskNext;  ///< when the next feature report is got
        Clock::time_point AskUntil;
    };
    using NodePtr = std::shared_ptr<Node>;

    clsHidSlot(orvhid_handle handle, std::shared_ptr<HidShared> shared);

    bool IsOpen();
    bool Open(std::string_view name);
    /// Why the last Open failed, as the system's error number; 0 when it did not.
    int OpenError();
    bool Close();

    int NumberOfDevice();
    std::string EnumDevice(int index);
    std::string EnumDeviceName(int index);
    /// By name, short name, or the open one for an empty name.
    std::optional<HidDevice> Find(std::string_view name);
    int Access(std::string_view name);
    bool AddNewUSBID(int vendor, int product);
    bool CheckDevicesIsChanged();

    /// All or nothing; with AsyncIO off it waits for the device.
    bool Write(HidChannel channel, std::span<const std::uint8_t> bytes);
    /// As much as fits; nothing when no device is open.
    std::optional<std::size_t> WritePart(HidChannel channel, std::span<const std::uint8_t> bytes);
    std::optional<std::size_t> Read(HidChannel channel, std::span<std::uint8_t> room);
    std::size_t BytesToRead(HidChannel channel);
    std::size_t BytesToWrite(HidChannel channel);
    bool DiscardRead(HidChannel channel);
    bool DiscardWrite(HidChannel channel);
    std::size_t ReadBufferSize();
    std::size_t WriteBufferSize();
    void SetReadBufferSize(std::size_t size);
    void SetWriteBufferSize(std::size_t size);

    enum class Raw { InputReport, GetFeature, SetFeature, OutputReport };
    /// True when the device did it within the request time-out; `report` is what a get brought.
    bool RawReport(Raw raw, std::vector<std::uint8_t>& report);

    void SetCallBack(orvhid_callback procedure, std::uint32_t user);
    int EventDescriptor() const { return m_eventDescriptor.Descriptor(); }
    int Dispatch();
    std::optional<std::pair<std::uint32_t, std::uint32_t>> TakeEvent();
    std::string ParamString(std::uint32_t param);

    /// Numbers and texts that are kept for the program.
    struct Settings {
        std::string Prefix = "HID";
        bool Break = false;
        bool AsyncIO = true;
        int ScanTiming = 10;        // ms
        int RequestTimeout = 1000;  // ms
        int InputBuffers = 64;      // reports
    };
    Settings GetSettings();
    bool ClearToSend();
    template <class Member, class Value>
    void Set(Member Settings::*member, Value value) {
        const std::lock_guard guard(m_shared->Lock);
        m_settings.*member = value;
    }
    /// The handle was given back: nothing is delivered any more.
    void Destroy();

    // ---- the worker's half ----

    NodePtr Current();
    /// Takes waiting reports in; `broken` is what poll said of the descriptor.
    void TakeReports(const NodePtr& node, bool broken);
    void DoRequests(const NodePtr& node);
    void SendReports(const NodePtr& node);
    /// Asks for the answer to a control command where the device has feature reports for it.
    void AskFeature(const NodePtr& node, Clock::time_point now);
    /// The set of devices has changed. The shared lock is held.
    void DeviceCame(const HidDevice& device);
    void DeviceWent(const HidDevice& device);

  private:
    using Guard = std::lock_guard<std::mutex>;

    struct Channel {
        explicit Channel(std::uint32_t firstEvent, std::size_t room)
            : FirstEvent(firstEvent), In(room), Out(room) {}
        std::uint32_t FirstEvent;  // of the four in a row, in the order of the data channel's
        ByteQueue In;
        ByteQueue Out;
        std::size_t InFlight = 0;  // bytes that have left Out and that the device has not taken yet
        unsigned Epoch = 0;        // counts discards: a report of an earlier epoch is not sent any more
        unsigned Refusals = 0;
    };
    struct Request {
        Raw What;
        std::vector<std::uint8_t> Report;
        NodeResult Result = NodeResult::Refused;
        bool Done = false;
    };

    Channel& Of(HidChannel channel) { return m_channels[channel == HidChannel::Data ? 0 : 1]; }

    // With the shared lock held:
    [[nodiscard]] bool Accepts(const HidDevice& device) const;
    [[nodiscard]] std::vector<const HidDevice*> Listed() const;
    int TryOpen(std::string_view name);  // without it
    const HidDevice* FindLocked(std::string_view name) const;
    void Raise(std::uint32_t code);
    void RaiseDevice(std::uint32_t code, const HidDevice& device);
    void Detach();
    std::size_t Queue(HidChannel which, std::span<const std::uint8_t> bytes);
    void Discard(HidChannel which);

    void Lost(const NodePtr& node);
    void Deliver(const NodePtr& node, HidChannel channel, std::span<const std::uint8_t> bytes);
    bool NextReport(const NodePtr& node);
    bool Finished(const NodePtr& node, NodeResult result);

    const orvhid_handle m_handle;
    const std::shared_ptr<HidShared> m_shared;
    const std::thread::id m_thread;
    clsEventDescriptor m_eventDescriptor;

    // Guarded by the shared lock:
    NodePtr m_node;
    int m_openError = 0;
    std::array<Channel, 2> m_channels;
    std::deque<std::pair<HidChannel, std::size_t>> m_order;  // queued bytes in the order they were written
    std::deque<std::shared_ptr<Request>> m_requests;
    Settings m_settings;
    bool m_clearToSend = false;
    std::vector<std::pair<int, int>> m_accepted;  // vendor and product, -1 for any
    std::string m_lostKey;                        // the device whose loss was seen before its removal
    bool m_devicesChanged = false;
    orvhid_callback m_callBack = nullptr;
    std::uint32_t m_user = 0;
    std::deque<std::pair<std::uint32_t, std::uint32_t>> m_events;
    std::deque<std::pair<std::uint32_t, std::string>> m_names;  // texts of event parameters
    std::uint32_t m_lastParam = 0;
};

/// Its name, as orvhidio.h describes names.
std::string DeviceName(const HidDevice& device);
