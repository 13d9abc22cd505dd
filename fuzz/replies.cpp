// What a reader answers, from the wire up to a value: a value is only what the frame's own checks allow.

#include "FuzzInput.h"
#include "base/clsMemoryStore.h"
#include "base/modText.h"
#include "comm/ucCOMM.h"
#include "frame/OrvNetFrame.h"
#include "frame/ReaderAnswers.h"
#include "support/clsScriptedSerial.h"
#include "support/clsVirtualHost.h"

namespace {

void CheckTexts(const std::string& reply) {
    const std::string checked = OrvNetFrame::CheckReply(reply);
    if (!checked.empty()) {
        Require(reply.size() == checked.size() + 2 && reply.starts_with(checked), "two digits go");
        unsigned sum = 0;
        for (const char c : checked) sum += static_cast<unsigned char>(c);
        Require(modText::HexValue(reply.substr(checked.size())) == sum % 256, "and they are the sum");
    }
    const std::string frame = OrvNetFrame::BuildFrame(reply, /*txChkSum=*/true);
    Require(OrvNetFrame::CheckReply(frame.substr(1, frame.size() - 2)) == reply, "its own sum is right");
    const auto parsed = OrvNetFrame::ParseReply(reply);
    Require((parsed.Kind == OrvNetFrame::ReplyKind::Accepted) == reply.starts_with('A'), "A accepts");
    Require(OrvNetFrame::AcceptedText(reply).size() <= parsed.Data.size(), "nothing is added");
    if (const auto firmware = SplitFirmwareAnswer(reply)) {
        Require(firmware->Version + "," + firmware->FirmwareSN == reply, "two parts and a comma");
    }
    if (const auto product = SplitProductAnswer(reply)) Require(reply.starts_with(*product + ","), "first");
}

// Answers to one register read, each after a while; a value needs a frame on the wire that says it.
void CheckRegister(FuzzInput input) {
    clsVirtualHost host;
    clsScriptedSerial serial(host);
    clsMemoryStore store;
    ucCOMM comm(host, serial, store, "fuzz");
    comm.SetMSCommMode(false);
    comm.SetPortOpen(true);
    std::string wire;
    serial.AnswerOutput = [&](const std::string&) {
        for (int pieces = input.Byte() % 4; pieces > 0; --pieces) {
            const int ms = input.Byte() * 4;
            const std::string piece = input.Piece();
            wire += piece + '|';
            serial.Arrive(piece, ms);
        }
    };
    std::uint8_t value = 0;
    if (comm.GetRegister(5, value)) {
        Require(wire.find('A') != std::string::npos, "a value comes from an answer");
    }
    std::vector<std::uint8_t> image(8);
    if (comm.Dump(image)) Require(wire.size() >= 2 * image.size(), "two whole images");
    Require(host.Now() < 60'000, "it ends");
}

}  // namespace

void TestOneInput(FuzzInput input) {
    CheckTexts(FuzzInput(input).Rest());
    CheckRegister(input);
}
