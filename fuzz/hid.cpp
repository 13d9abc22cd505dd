// The HID library's answers, in any pieces and at any time, as the control takes them.

#include "FuzzInput.h"
#include "base/clsPropertyBag.h"
#include "hid/FakeHid.h"
#include "support/clsVirtualHost.h"

void TestOneInput(FuzzInput input) {
    clsVirtualHost host;
    clsFakeLoader loader;
    clsFakeLibrary library(host);
    library.AnswerWrite = [&](bool control, const std::string&) {
        for (int pieces = input.Byte() % 4; pieces > 0; --pieces) {
            const int ms = input.Byte();
            library.Arrive(control, input.Piece(), ms);
        }
    };
    clsWaitAccount waits;
    OrvHIDIO hid(host, waits, loader, library, /*userMode=*/true);
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
