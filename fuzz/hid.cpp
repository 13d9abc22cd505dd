// The HID library's answers as the control takes them, and reports as the library joins and cuts them.

#include "FuzzInput.h"
#include "base/clsPropertyBag.h"
#include "hid/OrvHIDIO.h"
#include "hidlib/ReportLayout.h"
#include "support/clsVirtualHost.h"

namespace {

struct Loader final : clsILibraryLoader {
    [[nodiscard]] std::string ApplicationPath() const override { return "/"; }
    [[nodiscard]] std::string ModuleFileName() const override { return "/p"; }
    [[nodiscard]] std::string LibraryFile(const std::string&, const std::string& name) const override {
        return name;
    }
    Handle LoadLibrary(const std::string&) override { return 1; }
    [[nodiscard]] Handle GetModuleHandle(const std::string&) const override { return 1; }
    [[nodiscard]] void* GetProcAddress(Handle, const std::string&) const override { return nullptr; }
    void FreeLibrary(Handle) override {}
};

/// One device. What is written to it is answered by what the fuzzer made up, on either channel.
struct Library final : clsIHidApi {
    Library(clsIHost& host, FuzzInput& input) : m_host(host), m_input(input) {}
    Handle Create() override { return 1; }
    int NumberOfDevice(Handle) override { return 1; }
    std::string EnumDeviceName(Handle, int) override { return "path"; }
    std::string EnumDevice(Handle, int) override { return "/dev/hidraw0"; }
    bool IsOpen(Handle) override { return m_open; }
    bool Open(Handle, const std::string&) override { return m_open = true; }
    void Close(Handle) override { m_open = false; }
    bool Write(Handle, const std::string&) override { return Answer(m_data); }
    bool WriteCtrl(Handle, const std::string&) override { return Answer(m_control); }
    std::string Read(Handle, int count) override { return Take(m_data, count); }
    std::string ReadCtrl(Handle, int count) override { return Take(m_control, count); }
    int BytesToRead(Handle) override { return static_cast<int>(m_data.size()); }
    int BytesToReadCtrl(Handle) override { return static_cast<int>(m_control.size()); }
    std::string GetDeviceProduct(Handle, const std::string&) override { return "Tarka USB"; }
    std::string Last;  // what was taken since the last writing

  private:
    bool Answer(std::string& to) {
        Last.clear();
        for (int pieces = m_input.Byte() % 4; pieces > 0; --pieces) {
            const int ms = m_input.Byte();
            m_host.StartTimer(ms, [&to, piece = m_input.Piece()] { to += piece; });
        }
        return true;
    }
    std::string Take(std::string& from, int count) {
        std::string taken = from.substr(0, static_cast<std::size_t>(count));
        from.erase(0, taken.size());
        Last += taken;
        return taken;
    }
    clsIHost& m_host;
    FuzzInput& m_input;
    bool m_open = false;
    std::string m_data;
    std::string m_control;
};

void CheckControl(FuzzInput input) {
    clsVirtualHost host;
    Loader loader;
    Library library(host, input);
    OrvHIDIO hid(host, loader, library, /*userMode=*/true);
    hid.ReadProperties(clsPropertyBag());
    hid.SetCommPort("path");
    hid.SetPortOpen(true);
    std::string answer;
    if (hid.SendHIDCMD(1, "x", answer)) {
        Require(library.Last.size() >= 2 && library.Last[0] == 6, "acknowledged");
        Require(answer.size() <= static_cast<unsigned char>(library.Last[1]), "as long as it says");
    }
    if (hid.SendHIDOrvNetCmd("B05", /*addChecksum=*/false, answer, /*checkChecksum=*/true)) {
        Require(library.Last.find('\x02') < library.Last.find_last_of('\r'), "a whole frame");
        Require(answer.find_first_of("\x02\r") == std::string::npos, "the text alone");
    }
    std::array<std::uint8_t, 24> image{};
    if (hid.SendHIDOrvNetDumpCmd(image)) Require(library.Last.size() >= image.size(), "a whole image");
    Require(!hid.IsBusy(), "nothing is left busy");
    Require(host.Now() < 60'000, "it ends");
}

void CheckReports(FuzzInput input) {
    ReportLayout layout;
    const bool ids = input.Byte() % 2 != 0;
    layout.DataIn = layout.DataOut = {static_cast<std::uint8_t>(ids ? 1 : 0), input.Byte()};
    layout.ControlIn = layout.ControlOut = {static_cast<std::uint8_t>(ids ? 2 : 0), input.Byte()};
    const std::string bytes = input.Piece();
    const std::vector<std::uint8_t> arrived(bytes.begin(), bytes.end());
    std::size_t sum = 0;
    if (const auto opened = OpenReport(layout, arrived)) {
        for (const std::uint8_t byte : opened->Payload) sum += byte;
    }
    for (const std::uint8_t byte : OpenFeature(layout.ControlIn, arrived)) sum += byte;
    Require(sum <= std::size_t{510} * arrived.size(), "no byte that has not arrived");
    // A stream that is cut into reports and joined again is the same stream.
    std::vector<std::uint8_t> joined;
    const std::size_t room = layout.DataOut.Capacity();
    for (std::size_t at = 0; room > 0 && at < arrived.size(); at += room) {
        const auto piece = std::span(arrived).subspan(at, std::min(room, arrived.size() - at));
        auto report = BuildReport(layout.DataOut, piece);
        Require(report.size() == 1 + layout.DataOut.Size, "a whole report");
        if (!ids) report.erase(report.begin());  // as the kernel gives it back
        const auto opened = OpenReport(layout, report);
        Require(opened && opened->Channel == HidChannel::Data, "on its channel");
        joined.insert(joined.end(), opened->Payload.begin(), opened->Payload.end());
    }
    Require(room == 0 || joined == arrived, "the same stream");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzInput input(data, size);
    CheckControl(input);
    CheckReports(input);
    return 0;
}
