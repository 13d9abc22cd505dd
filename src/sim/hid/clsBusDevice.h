#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/clsEvent.h"
#include "base/clsIHost.h"
#include "hidlib/ReportLayout.h"
#include "hidlib/clsIHidBackend.h"
#include "hidlib/orvhidio.h"
#include "sim/clsSimAdapter.h"
#include "sim/clsSimReader.h"

/// What a simulated device is and does wrong; the words are explained in orvbus.h.
struct BusOptions {
    bool Adapter = true;
    bool Example = false;
    int Vendor = HidReaderVendor;
    int Product = HidReaderProduct;
    std::string ProductText = "Tarka USB Adapter";
    std::string Maker = "Simulated";
    std::string Serial = "0001";
    bool OnUsb = true;
    bool SpareKeyboard = false;
    bool Ids = true;
    int In = 63;
    int Out = 63;
    int Feature = 0;
    std::string Descriptor;  // empty: made from the sizes
    bool Keyboard = false;
    int Direction = 0;
    int Access = 0;
    enum class Shape { Padded, Short, Long } InShape = Shape::Padded;
    int Length = -1;
    int Slow = 0;
    int Interval = 0;
    int Flood = 0;
    int Vanish = 0;
    bool RefusesReports = false;
    std::map<int, clsSimAdapter::Manner> Manners;
    int Announced = -1;

    /// False when a word is not understood; everything is then as before.
    bool Read(std::string_view text);
    /// The report descriptor that the sizes make, or the one that was given.
    [[nodiscard]] std::vector<std::uint8_t> ReportDescriptorBytes() const;
};

/// What the library's threads count and look at without asking the bus's thread.
struct BusLink {
    std::atomic<int> CallsLeft = 0;  ///< of the library, until the device is pulled out; 0 and below is never
    std::atomic<bool> RefusesReports = false;
};

/// A simulated HID device: a reader, perhaps an adapter before it, and the reports to the host. A report goes
/// over one sequenced-packet socket per opening as over a real node: one per call, hung up when the device
/// goes. Lives on the bus's thread.
class clsBusDevice {
  public:
    clsBusDevice(clsIHost& host, int number);
    clsBusDevice(const clsBusDevice&) = delete;
    clsBusDevice& operator=(const clsBusDevice&) = delete;

    clsSimReader Reader;
    clsSimAdapter Adapter;

    bool Set(std::string_view text);
    void Plug();
    void Unplug();
    [[nodiscard]] bool Plugged() const { return m_plugged; }
    [[nodiscard]] HidDevice Describe() const;
    [[nodiscard]] const BusOptions& Options() const { return m_options; }

    /// The host's end of a new opening, -1 when descriptors have run out.
    int Open();
    /// Held by one opening at a time; null while another one keeps it.
    std::shared_ptr<void> Lock();
    NodeResult Request(clsIHidNode::Ask ask, std::vector<std::uint8_t>& report);
    void SendReport(const std::vector<std::uint8_t>& report);
    [[nodiscard]] const std::vector<std::uint8_t>& LastReport() const { return m_lastReport; }
    [[nodiscard]] int ReportsReceived() const { return m_reports; }

    const std::shared_ptr<BusLink> Link = std::make_shared<BusLink>();

  private:
    struct Opened {
        int Socket = -1;
        int Writable = -1;  // an epoll descriptor that is readable when Socket is writable
        std::deque<std::vector<std::uint8_t>> Queue;
        clsConnection OnReport;
        clsConnection OnWritable;
        clsIHost::TimerId NextIn = 0;   // runs while the interval to the next input report does
        clsIHost::TimerId NextOut = 0;  // runs while a slow device is busy
        ~Opened();
    };

    void Apply();
    void Listen(Opened& opened);
    void TakeReport(Opened& opened);
    void Received(HidChannel channel, std::string_view bytes);
    void SendBytes(HidChannel channel, std::string_view bytes);
    void Flush(Opened& opened);
    void Drop(Opened& opened);

    clsIHost& m_host;
    const int m_number;
    int m_plugging = 0;
    BusOptions m_options;
    ReportLayout m_layout;
    bool m_plugged = false;
    std::list<Opened> m_opened;
    std::weak_ptr<void> m_lock;
    std::string m_featureAnswer;  // control bytes that wait to be got
    std::vector<std::uint8_t> m_lastReport;
    std::vector<std::uint8_t> m_lastSent;
    int m_reports = 0;
    bool m_answersByControl = false;  // of a reader without adapter
    clsConnection m_fromReader;
    clsConnection m_fromControl;
    clsConnection m_fromData;
};
