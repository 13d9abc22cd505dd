#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/clsEvent.h"
#include "base/clsHostTimer.h"
#include "base/clsIHost.h"
#include "base/clsISettingsStore.h"
#include "base/clsWait.h"
#include "comm/CommDevices.h"
#include "frame/OrvNetFrame.h"
#include "frame/clsDueReplies.h"
#include "frame/clsPacketCutter.h"
#include "hid/OrvHIDIO.h"
#include "hid/clsOrvHIDComm.h"
#include "ports/clsCommPorts.h"
#include "ports/clsIPortDirectory.h"
#include "ports/clsISerialControl.h"
#include "ports/clsMSComm.h"

/// The comm control: frames OrvNet commands, sends them through the port in use, cuts what arrives into
/// packets and waits for replies; on top of that the register and device commands, the search for a reader,
/// and the news of ports that come and go. Owned by the top object of a program; the parts given to the
/// constructor outlive it.
///
/// One thread. A command waits inside the host's WaitEvents, so every handler of the program may run before
/// it returns; a command started from such a handler nests (Busy tells). A handler of OnComm, OnChar,
/// OnPacket or OnMonitorData must not start one: nothing is read before it has returned. The control must not
/// be destroyed while Busy. Operations never throw: they return False or an empty text, and OnError says why.
class ucCOMM : private clsPacketCutter::clsISink {
  public:
    /// `application` is the program's name. A control that is not `live` (inside a design tool) answers every
    /// command with nothing.
    ucCOMM(clsIHost& host, clsISerialControl& serial, clsISettingsStore& store,
           const std::string& application, const CommDevices& devices = {}, bool live = true);
    ucCOMM(const ucCOMM&) = delete;
    ucCOMM& operator=(const ucCOMM&) = delete;

    // -- events, in their declared order --------------------------------------------------------------------
    clsEvent<> OnComm;                                  ///< raw mode: bytes were appended
    clsEvent<bool&, std::int32_t> OnDumpDifference;     ///< set the flag to go on; then the index
    clsEvent<std::int32_t> OnDumpWait;                  ///< ms waited for the dump so far
    clsEvent<const std::string&> OnError;               ///< a message
    clsEvent<const std::string&> OnScan;                ///< a message
    clsEvent<std::uint8_t> OnChar;                      ///< a byte outside any packet
    clsEvent<int, const std::string&> OnPacket;         ///< terminating byte or -1; the text
    clsEvent<std::string&, const std::string&> OnPort;  ///< message (the handler may change it); port name
    /// What OnPort tells, with the port's bare name; raised after it.
    clsEvent<PortChange, const std::string&> OnPortChange;
    clsEvent<const std::string&, bool> OnMonitorData;  ///< bytes; True for received, False for sent
    clsEvent<const std::string&, bool> OnAdapterData;  ///< the same of the USB adapter, in whole packets

    // -- the port -------------------------------------------------------------------------------------------
    /// Adds a transport: the adapter is given its control and the shared sink, then stands in the port set.
    void AttachCommObject(clsMSComm& port, clsISerialControl& control, bool inFront);
    void AttachCommObject(clsOrvHIDComm& port, OrvHIDIO& control, bool inFront);
    [[nodiscard]] std::string CommPort() const { return m_ports.CommPort(); }
    void SetCommPort(const std::string& name);
    [[nodiscard]] bool PortOpen() const { return m_ports.PortOpen(); }
    /// A port that cannot be opened stays closed. Closing forgets AutoScanReceive.
    void SetPortOpen(bool value);
    [[nodiscard]] std::string Settings() const { return m_ports.Settings(); }
    void SetSettings(const std::string& value);
    /// The first field of Settings, in bits per second; writing it keeps the other three.
    [[nodiscard]] std::int32_t BaudRate() const;
    void SetBaudRate(std::int32_t rate);
    /// True for every port that is not on USB HID; for one that is, what the HID control says.
    [[nodiscard]] bool CommPort_IsBaudrateSupported(const std::string& name) const;
    /// The bare names of all ports that are there, as OnPortChange tells them.
    [[nodiscard]] std::vector<std::string> PresentPorts();
    /// Whether the port is one of a reader on USB HID.
    [[nodiscard]] bool IsHidPort(const std::string& name) const;
    /// What a person is told of the port: "HID1" of a reader on USB HID that is there, else as PortPlace has
    /// it.
    [[nodiscard]] std::string ShortName(const std::string& name) const;
    /// The readers on USB HID, in the order of their aliases.
    [[nodiscard]] std::vector<PortEntry> HidPorts();
    /// The name of the USB adapter behind the open port, asked once when it opened; empty where there is
    /// none.
    [[nodiscard]] const std::string& AdapterName() const { return m_adapterName; }
    /// That adapter with its serial number, or the one of a serial port; as the system tells it, without a
    /// command.
    [[nodiscard]] PortAdapter Adapter();

    // -- the command engine ---------------------------------------------------------------------------------
    static std::uint8_t CalcChkSum(const std::string& text, std::int32_t count) {
        return OrvNetFrame::CalcChkSum(text, count);
    }
    /// One exchange. `lngCMDTimeout` in ms: -1 is OrvNetTimeout, 0 sends without waiting. Each chunk that
    /// arrives gives the reply another 500 ms. The reply text, or nothing when there was none, it was
    /// incomplete, or it was to be checked (`bRxChkSum`) and failed; Timeout tells the first two from the
    /// last. While replies to earlier commands are due, for up to 2 s after their frames, the reply is the
    /// packet behind them; where they do not come it is the last one, 2 s after its own frame. The wait ends
    /// with a cancel, and when the port is closed or lost.
    std::string SendOrvNetCMD(const std::string& szCMD, bool bTxChkSum, bool bRxChkSum,
                              std::int32_t lngCMDTimeout = -1);
    /// Ends the wait in progress at once, and with it the whole operation (retries, runs, dumps, scans) that
    /// it belongs to. From any handler; without an operation it does nothing lasting.
    void CancelCommand();
    /// Counts the calls of CancelCommand: an operation of several commands compares it with the count at its
    /// start, since a command knows only of cancels that came after its own.
    [[nodiscard]] std::uint32_t CancelGeneration() const { return m_waits.Cancels(); }
    /// Something waits for the reader, or for its USB adapter.
    [[nodiscard]] bool Busy() const { return m_waits.Depth() != 0; }
    /// Whether the last wait ended without a complete packet.
    [[nodiscard]] bool Timeout() const { return m_timeout; }
    [[nodiscard]] bool IsTimeout() const { return m_timeout; }
    /// ms, 500 at start. Values up to 150 are ignored.
    [[nodiscard]] std::int32_t OrvNetTimeout() const { return m_orvNetTimeout; }
    void SetOrvNetTimeout(std::int32_t value);
    /// True at start: nothing is cut, received bytes gather in PacketText and OnComm is raised.
    [[nodiscard]] bool MSCommMode() const { return m_msCommMode; }
    void SetMSCommMode(bool value) { m_msCommMode = value; }
    [[nodiscard]] const std::string& PacketText() const { return m_cutter.Text(); }
    /// Checks and strips the packet in the buffer as the last command sent without waiting asked for.
    void OnCommand();

    // -- register and device commands -----------------------------------------------------------------------
    std::string GetVersion();
    bool GetRegister(std::int32_t iRegister, std::uint8_t& value);
    bool SetRegister(std::int32_t iRegister, std::uint8_t value);
    /// A run into `values` from `first` on; `count` -1 is the whole array. With `stopAtEnd` nothing is read
    /// after a 00 or FF, the rest is 0. A range that leaves the array is False without a command.
    bool GetRegisterEx(std::int32_t iRegister, std::span<std::uint8_t> values, std::int32_t count,
                       std::int32_t first, bool stopAtEnd);
    /// A run out of `values`; with `stopAtEnd` it ends behind the first 00 or FF.
    bool SetRegisterEx(std::int32_t iRegister, std::span<const std::uint8_t> values, std::int32_t count,
                       std::int32_t first, bool stopAtEnd);
    std::string Polling(std::uint8_t address, bool noAddress);
    /// Polls a line of which nobody knows what is on it, for `timeout` ms, 151 at least. What was polled
    /// before may answer it as well.
    std::string PollLine(std::int32_t timeout);
    /// Waits until nothing has come for `quiet` ms, 4 s at most; then nothing is due any more. A cancel and
    /// the closing of the port end it.
    void AwaitQuiet(std::int32_t quiet);
    /// The last answer to Polling, emptied when the port closes.
    [[nodiscard]] const std::string& AutoScanReceive() const { return m_autoScanReceive; }
    /// Sends the reader into its firmware loader. True only for an answer that is a true value.
    bool GotoISP();
    /// The memory image, read twice and compared. False, and nothing sent, inside another Dump.
    bool Dump(std::span<std::uint8_t> image);
    /// Waits for what the reader still sends of an image that was broken off, as every command does by
    /// itself: closing the port forgets it. A cancel ends the wait.
    void AwaitRestOfImage() { WaitUntilNotDue(Now(), &clsDueReplies::ImageRest); }
    /// Waits for all that the reader still owes, until nothing has come for half a second: before the port is
    /// closed for the next program, which would take it for its own. A cancel ends the wait.
    void AwaitReplies();

    // -- discovery ------------------------------------------------------------------------------------------
    /// Tries every port at every rate of the comma-separated list, the remembered ones first, until the
    /// answer to a poll matches the pattern; the pattern also names the store's section. On success the port
    /// is open.
    bool AutoScan(const std::string& pattern, bool noAddress, const std::string& baudRates);
    /// The same for one port, at the remembered rate and then the list's. Without `remember` a reader that
    /// answers is not remembered.
    bool AutoScanPort(const std::string& pattern, bool noAddress, const std::string& baudRates,
                      const std::string& name, bool remember = true);
    /// Why each port that the last of these searches tried did not give the reader, in the order of trying.
    [[nodiscard]] const std::vector<PortReason>& SearchReasons() const { return m_searchReasons; }
    /// Why the port of that name could not be opened just now.
    [[nodiscard]] PortReason WhyNotOpen(const std::string& name);
    /// Before each poll of a scan: poll `number` of at most `count`, for a progress display. May be empty.
    std::function<void(int number, int count)> ShowScanStep;
    /// Bytes `received` of the `count` of a Dump's two readings, as they arrive, for a progress display; must
    /// not run the event loop. May be empty.
    std::function<void(int received, int count)> ShowImageProgress;

  protected:
    // No public setter; a build or a test that needs one derives.
    std::int32_t m_commandGap = 0;      // ms, quiet time between two commands; 0 is off
    std::int32_t m_byteDelay = 0;       // ms between two bytes of a frame; 0 sends it in one write
    bool m_commandCheckSwitch = false;  // the cutter calls OnCommand at the CR of a reply

  private:
    struct DumpCollector {
        std::string Bytes;
        std::size_t Wanted = 0;
        bool Active = false;
        std::uint32_t LastByte = 0;  // when it came; at first, when the image was asked for
        [[nodiscard]] bool Done() const { return Bytes.size() >= Wanted; }
        /// How many of the bytes that came are its own.
        std::size_t Take(std::string_view bytes, std::uint32_t now);
    };
    struct ScanPlan {
        std::string Section;
        std::string Pattern;  // upper case
        bool NoAddress = false;
        bool Remember = true;
        std::vector<std::int32_t> Rates;
        int Ports = 1;
        std::uint32_t Generation = 0;
    };
    enum class ScanResult { NotFound, Found, Cancelled };
    /// The HID transport: the control and the port that presents it.
    struct HidTransport {
        HidTransport(clsIHost& host, clsWaitAccount& waits, clsILibraryLoader& loader, clsIHidApi& api,
                     bool live)
            : Control(host, waits, loader, api, live), Port(host) {}
        OrvHIDIO Control;
        clsOrvHIDComm Port;
    };

    // receiving
    void HandleComm();
    void Receive();
    void ClosePort();
    // clsPacketCutter::clsISink
    void CutChar(std::uint8_t byte) override { OnChar.Raise(byte); }
    void CutPacket(int terminator, const std::string& text) override;
    void PacketGrew() override { m_timerOnPacket.Restart(); }
    void PacketComplete() override;
    [[nodiscard]] bool CommandWaiting() const override { return m_waiting; }

    // ports that come and go
    void HandleArrival(int type, const std::string& name);
    void HandleRemoval(int type, const std::string& name);
    void HandleLost();
    void HandleHidDevice(std::uint32_t event, const std::string& device);
    void RaiseOnPort(const std::string& name, PortChange change);

    // engine
    /// What a wait began with: a cancel, or the closing of the port, since then ends it.
    struct Beginning {
        std::uint32_t Cancels = 0;
        std::uint32_t Closings = 0;
    };
    [[nodiscard]] Beginning Now() const { return {m_waits.Cancels(), m_closings}; }
    [[nodiscard]] bool Ended(const Beginning& since) const {
        return Cancelled(since.Cancels) || m_closings != since.Closings;
    }
    bool MakeReady(const Beginning& since);
    void WaitForGap();
    template <class Done, class Turn>
    bool WaitFor(std::int32_t timeout, const Beginning& since, Done done, Turn turn);
    bool WaitUntilNotDue(const Beginning& since, std::int32_t (clsDueReplies::*rest)(std::uint32_t));
    [[nodiscard]] bool Cancelled(std::uint32_t since) const { return m_waits.Cancels() != since; }
    std::optional<std::string> DumpOnce(std::size_t count, const Beginning& since);

    // discovery
    ScanPlan MakeScanPlan(const std::string& pattern, bool noAddress, const std::string& baudRates) const;
    std::vector<std::string> PortNames();
    ScanResult ScanPort(const ScanPlan& plan, const std::string& name, int portsBefore);
    [[nodiscard]] PortReason Told(PortReason reason, const std::string& name);

    clsIHost& m_host;
    clsISerialControl& m_serial;
    clsISettingsStore& m_store;
    std::function<std::string(const std::string& device)> m_programsUsing;
    std::function<PortAdapter(const std::string& port)> m_usbAdapter;
    const bool m_live;
    clsWaitAccount m_waits;
    clsCommPorts m_ports;
    clsMSComm m_msComm;
    std::unique_ptr<HidTransport> m_hid;  // null where the program has none

    clsPacketCutter m_cutter;
    clsHostTimer m_timerOnPacket;
    clsHostTimer m_timerReadOn;  // goes on with an input that was too much for one turn of the loop
    DumpCollector m_dump;
    std::size_t m_imageRead = 0;  // bytes of the Dump's readings before this one
    bool m_dumping = false;
    bool m_msCommMode = true;
    bool m_receiving = false;
    bool m_receiveAgain = false;

    std::int32_t m_orvNetTimeout = 500;
    bool m_waiting = false;
    bool m_dataArrived = false;
    bool m_timeout = false;
    bool m_checkReply = false;  // of the last command sent without waiting
    clsDueReplies m_due;        // the command that waits included
    bool m_earlier = false;  // the packet in the buffer may answer an earlier command than the one that waits
    std::uint32_t m_endTime = 0;
    std::uint32_t m_closings = 0;  // of the port
    std::string m_autoScanReceive;
    std::string m_adapterName;
    std::vector<PortReason> m_searchReasons;
    std::string m_lostPort;      // reported by the open line itself; its removal notice is still to come
    std::uint32_t m_lostAt = 0;  // when

    clsConnection m_onComm;
    clsConnection m_onLost;
    clsConnection m_onDevice;
    clsConnection m_onAdapterData;
    clsConnection m_onArrival;
    clsConnection m_onRemoval;
};
