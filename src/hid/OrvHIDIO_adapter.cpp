// The commands of the Tarka USB adapter.

#include "hid/OrvHIDIO.h"

namespace {

enum AdapterCode : std::uint8_t {
    CodeBaudrate = 1,
    CodeKeyCode = 2,
    CodeIODirect = 3,
    CodeVersion = 4,
    CodeDefaultIODirect = 5,
    CodeGetRegister = 9,
    CodeSetRegister = 10,
    CodeEraseFlash = 11,
    CodeDiscardBuffer = 203,
};
constexpr int registersPerCall = 8;

std::string Bytes(std::initializer_list<unsigned> values) {
    std::string bytes;
    for (const unsigned value : values) bytes += static_cast<char>(value & 0xFFU);
    return bytes;
}

// The number of bytes a register call moves: cut where the array ends. Nothing when the call must not be
// sent.
std::optional<std::size_t> RegisterCount(std::size_t length, int start, int count) {
    const int elements = static_cast<int>(length);
    if (elements == 0 || start < 0) return std::nullopt;
    if (start > elements - count) count = elements - start;
    if (count < 0 || count > registersPerCall) return std::nullopt;
    return static_cast<std::size_t>(count);
}

}  // namespace

bool OrvHIDIO::SetHIDBaudrate(std::int32_t baud) {
    const auto rate = static_cast<std::uint32_t>(baud);
    std::string answer;
    if (!SendHIDCMD(CodeBaudrate, Bytes({rate >> 24U, rate >> 16U, rate >> 8U, rate}), answer)) return false;
    m_baudRate = baud;
    return true;
}

bool OrvHIDIO::SetTarkaKeyCode(std::uint8_t b1, std::uint8_t b2, std::uint8_t b3) {
    std::string answer;
    return SendHIDCMD(CodeKeyCode, Bytes({b1, b2, b3}), answer);
}

bool OrvHIDIO::SetTarkaIODirect(const TarkaIODirection& direction) {
    std::string answer;
    const auto bit = [](int value, unsigned weight) { return (static_cast<unsigned>(value) & 1U) * weight; };
    return SendHIDCMD(
        CodeIODirect,
        Bytes({bit(direction.SerialTo, 1) + bit(direction.PS2To, 2) + bit(direction.HIDExTo, 4)}), answer);
}

std::string OrvHIDIO::GetHIDVersion() {
    std::string answer;
    if (!SendHIDCMD(CodeVersion, {}, answer)) return {};
    return answer.substr(0, answer.find('\0'));
}

bool OrvHIDIO::GetTarkaDefaultIODirect(TarkaIODirection& direction) {
    std::string answer;
    if (!SendHIDCMD(CodeDefaultIODirect, {}, answer)) return false;
    const unsigned bits = answer.empty() ? 0U : static_cast<unsigned char>(answer[0]);
    m_keyboardExists = (bits & 0x10U) != 0;
    direction = {};
    if ((bits & 0x01U) != 0) {
        direction.SerialTo = 1;
        direction.PS2To = (bits & 0x02U) != 0 ? 1 : 0;
        direction.HIDExTo = (bits & 0x04U) != 0 ? 1 : 0;
    }
    return true;
}

bool OrvHIDIO::TarkaGetRegister(std::uint16_t address, std::span<const std::uint8_t> data, int start,
                                int count) {
    const auto wanted = RegisterCount(data.size(), start, count);
    if (!wanted) return false;
    std::string answer;
    return SendHIDCMD(CodeGetRegister,
                      Bytes({address, static_cast<unsigned>(address) >> 8U, static_cast<unsigned>(*wanted)}),
                      answer);
}

bool OrvHIDIO::TarkaSetRegister(std::uint16_t address, std::span<const std::uint8_t> data, int start,
                                int count) {
    const auto wanted = RegisterCount(data.size(), start, count);
    if (!wanted) return false;
    std::string packet =
        Bytes({address, static_cast<unsigned>(address) >> 8U, static_cast<unsigned>(*wanted)});
    const auto values = data.subspan(static_cast<std::size_t>(start), *wanted);
    packet.append(values.begin(), values.end());
    std::string answer;
    return SendHIDCMD(CodeSetRegister, packet, answer);
}

bool OrvHIDIO::TarkaEraseFlash() {
    std::string answer;
    return SendHIDCMD(CodeEraseFlash, {}, answer);
}

bool OrvHIDIO::TarkaDiscardBuffer() {
    std::string answer;
    return SendHIDCMD(CodeDiscardBuffer, {}, answer);
}
