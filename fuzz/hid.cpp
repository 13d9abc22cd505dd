// The HID library's answers as the control takes them, and reports as the library joins and cuts them.

#include "FuzzInput.h"
#include "base/clsPropertyBag.h"
#include "hid/FakeHid.h"
#include "hidlib/ReportLayout.h"
#include "support/clsVirtualHost.h"

namespace {

void CheckControl(FuzzInput input) {
    clsVirtualHost host;
    clsFakeLoader loader;
    clsFakeLibrary library(host);
    library.OnWrite = [&](bool control, const std::string&) {
        for (int pieces = input.Byte() % 4; pieces > 0; --pieces) {
            const int ms = input.Byte();
            library.Arrive(control, input.Piece(), ms);
        }
    };
    OrvHIDIO hid(host, loader, library, /*userMode=*/true);
    hid.ReadProperties(clsPropertyBag());
    hid.SetCommPort("path");
    hid.SetPortOpen(true);
    std::string answer;
    if (hid.SendHIDCMD(1, "x", answer)) {
        Require(library.Taken.size() >= 2 && library.Taken[0] == 6, "acknowledged");
        Require(answer.size() <= static_cast<unsigned char>(library.Taken[1]), "as long as it says");
    }
    if (hid.SendHIDOrvNetCmd("B05", /*addChecksum=*/false, answer, /*checkChecksum=*/true)) {
        Require(library.Taken.find('\x02') < library.Taken.find_last_of('\r'), "a whole frame");
        Require(answer.find_first_of("\x02\r") == std::string::npos, "the text alone");
    }
    std::array<std::uint8_t, 24> image{};
    if (hid.SendHIDOrvNetDumpCmd(image)) Require(library.Taken.size() >= image.size(), "a whole image");
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
    const auto inside = [&arrived](std::span<const std::uint8_t> payload) {
        return payload.empty() || &payload.back() <= &arrived.back();
    };
    const auto opened = OpenReport(layout, arrived);
    Require(!opened || inside(opened->Payload), "no byte that has not arrived");
    Require(inside(OpenFeature(layout.ControlIn, arrived)), "nor in a feature report");
    // A stream that is cut into reports and joined again is the same stream.
    std::vector<std::uint8_t> joined;
    const std::size_t room = layout.DataOut.Capacity();
    for (std::size_t at = 0; room > 0 && at < arrived.size(); at += room) {
        const auto piece = std::span(arrived).subspan(at, std::min(room, arrived.size() - at));
        auto report = BuildReport(layout.DataOut, piece);
        Require(report.size() == 1 + layout.DataOut.Size, "a whole report");
        if (!ids) report.erase(report.begin());  // as the kernel gives it back
        const auto back = OpenReport(layout, report);
        Require(back && back->Channel == HidChannel::Data, "on its channel");
        joined.insert(joined.end(), back->Payload.begin(), back->Payload.end());
    }
    Require(room == 0 || joined == arrived, "the same stream");
}

}  // namespace

void TestOneInput(FuzzInput input) {
    CheckControl(input);
    CheckReports(input);
}
