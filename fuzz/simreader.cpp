// The simulated reader's own frame reading: bytes in any pieces, faults of any kind, and only a frame that is
// a write changes its memory.

#include "FuzzInput.h"
#include "sim/clsSimReader.h"
#include "support/clsVirtualHost.h"

namespace {

struct Bench {
    clsVirtualHost Host;
    clsSimReader Reader{Host};
    std::string Sent;
    clsConnection OnSend = Reader.OnSend.Connect([this](const std::string& bytes) { Sent += bytes; });
};

}  // namespace

void TestOneInput(FuzzInput input) {
    Bench whole;
    Bench pieces;
    std::string error;
    if (const auto fault = ParseSimFault(input.Piece(), error)) {
        Require(ParseSimFault(SimFaultText(*fault), error).has_value(), "a rule is read as it is listed");
        whole.Reader.AddFault(*fault);
        pieces.Reader.AddFault(*fault);
    } else {
        Require(!error.empty(), "what is wrong is said");
    }
    std::string all;
    while (!input.Empty()) {
        const std::string piece = input.Piece();
        pieces.Reader.Receive(piece);
        all += piece;
    }
    whole.Reader.Receive(all);
    for (Bench* bench : {&whole, &pieces}) bench->Host.Run(700'000);
    Require(whole.Sent == pieces.Sent, "in pieces too");
    Require(whole.Reader.Registers == pieces.Reader.Registers, "with the same memory");
    if (whole.Reader.FramesReceived('C') == 0) {
        for (const auto value : whole.Reader.Registers) Require(value == 0xFF, "only a write writes");
    }
}
