#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The OrvNet wire format: pure functions on bytes.
namespace OrvNetFrame {

constexpr char STX = 0x02;
constexpr char CR = 0x0D;
constexpr char TAB = 0x09;
constexpr char LF = 0x0A;

/// Whether a byte ends the text that a run of registers holds: what is behind it need not be read or written.
constexpr bool EndsRun(std::uint8_t value) { return value == 0x00 || value == 0xFF; }

/// The byte sum of the first `count` characters; all of them when count is below 1 or above the length.
std::uint8_t CalcChkSum(std::string_view text, std::int32_t count = 0);
/// STX, command text, two upper-case checksum digits if asked for, CR.
std::string BuildFrame(std::string_view command, bool txChkSum);
/// The reply without its two checksum digits; empty when it is shorter than 3 characters or they are wrong.
std::string CheckReply(std::string_view reply);
/// Two digits up to 255, four above.
std::string RegisterField(std::int32_t number);

std::string ReadRegisterCommand(std::int32_t number);
std::string WriteRegisterCommand(std::int32_t number, std::uint8_t value);

enum class ReplyKind { Nothing, Accepted, Refused };
/// A reply text, read once.
struct Reply {
    ReplyKind Kind = ReplyKind::Nothing;
    std::string Data;       ///< accepted: what follows the "A"
    std::uint8_t Code = 0;  ///< refused: the error code
};
Reply ParseReply(std::string_view reply);
/// The data of an accepted reply, one leading "," dropped; empty for any other reply.
std::string AcceptedText(std::string_view reply);

}  // namespace OrvNetFrame
