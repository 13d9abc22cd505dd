#include "frame/OrvNetFrame.h"

#include "base/modText.h"

namespace OrvNetFrame {

std::uint8_t CalcChkSum(std::string_view text, std::int32_t count) {
    if (count >= 1 && static_cast<std::size_t>(count) < text.size()) {
        text = text.substr(0, static_cast<std::size_t>(count));
    }
    unsigned sum = 0;
    for (const char c : text) sum = (sum + static_cast<unsigned char>(c)) & 0xFFU;
    return static_cast<std::uint8_t>(sum);
}

std::string BuildFrame(std::string_view command, bool txChkSum) {
    std::string frame(1, STX);
    frame += command;
    if (txChkSum) frame += modText::Hex(CalcChkSum(command), 2);
    frame += CR;
    return frame;
}

std::string CheckReply(std::string_view reply) {
    if (reply.size() < 3) return {};
    const auto text = reply.substr(0, reply.size() - 2);
    const auto expected = modText::HexValue(reply.substr(reply.size() - 2));
    return expected == CalcChkSum(text) ? std::string(text) : std::string();
}

std::string RegisterField(std::int32_t number) {
    return modText::Hex(static_cast<std::uint32_t>(number), number > 255 ? 4 : 2);
}

std::string ReadRegisterCommand(std::int32_t number) { return "B" + RegisterField(number); }

std::string WriteRegisterCommand(std::int32_t number, std::uint8_t value) {
    return "C" + RegisterField(number) + "," + modText::Hex(value, 2);
}

Reply ParseReply(std::string_view reply) {
    if (reply.starts_with('A')) return {ReplyKind::Accepted, std::string(reply.substr(1)), 0};
    if (reply.starts_with('N')) {
        return {ReplyKind::Refused, {}, static_cast<std::uint8_t>(modText::HexValue(reply.substr(1, 2)))};
    }
    return {};
}

std::string AcceptedText(std::string_view reply) {
    Reply parsed = ParseReply(reply);
    if (parsed.Data.starts_with(',')) parsed.Data.erase(0, 1);
    return parsed.Data;
}

}  // namespace OrvNetFrame
