#include "sim/clsSimAdapter.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr std::uint8_t statusAck = 0x06;
constexpr std::uint8_t statusNak = 0x15;
constexpr char errorBadData = 2;
constexpr char errorUnknown = 4;
constexpr std::uint8_t serialBit = 1;
constexpr std::uint8_t directionBits = 7;
constexpr std::uint8_t directionToPs2 = 6;  // what a default without the serial bit stands for
constexpr std::uint8_t keyboardBit = 0x10;
constexpr int powerUpSpeed = 19200;
constexpr std::size_t mostRegisters = 8;  // of one command
constexpr char frameStart = 0x02;
constexpr char frameEnd = 0x0D;

enum Code {
    setBaudRate = 1,
    setKeyCode = 2,
    setDirection = 3,
    getVersion = 4,
    getDirection = 5,
    getRegister = 9,
    setRegister = 10,
    eraseFlash = 11,
    discardBuffer = 203,
};
constexpr std::size_t keyCodeLength = 3;

std::uint8_t At(std::string_view text, std::size_t index) { return static_cast<std::uint8_t>(text[index]); }

}  // namespace

clsSimAdapter::clsSimAdapter(clsSimReader& reader)
    : m_reader(reader), m_fromReader(reader.OnSend.Connect([this](const std::string& bytes) {
          if (!ReaderHears()) return;
          if (m_answersByControl)
              OnControl.Raise(bytes);
          else if ((m_direction & serialBit) != 0)
              OnData.Raise(bytes);
      })) {}

void clsSimAdapter::PowerUp() {
    m_command.clear();
    m_answersByControl = false;
    m_lineSpeed = powerUpSpeed;
    m_direction = (DefaultDirection & serialBit) != 0 ? DefaultDirection & directionBits : directionToPs2;
    m_reader.PowerUp();
}

int clsSimAdapter::CommandsReceived(int code) const {
    if (code >= 0) return m_received[static_cast<std::uint8_t>(code)];
    return std::accumulate(m_received.begin(), m_received.end(), 0);
}

void clsSimAdapter::ReceiveData(std::string_view bytes) {
    m_answersByControl = false;
    if (ReaderHears()) m_reader.Receive(bytes);
}

// A frame for the reader may come here too. It begins like a key code command, whose count is always 3.
void clsSimAdapter::ReceiveControl(std::string_view bytes) {
    m_command += bytes;
    while (m_command.size() >= 2) {
        if (m_command[0] == frameStart && At(m_command, 1) != keyCodeLength) {
            const auto end = m_command.find(frameEnd);
            if (end == std::string::npos) return;
            const std::string frame = m_command.substr(0, end + 1);
            m_command.erase(0, end + 1);
            m_answersByControl = true;
            if (ReaderHears()) m_reader.Receive(frame);
            continue;
        }
        const std::size_t length = 2U + At(m_command, 1);
        if (m_command.size() < length) return;
        const std::string command = m_command.substr(0, length);
        m_command.erase(0, length);
        const int code = At(command, 0);
        ++m_received[At(command, 0)];
        auto manner = Manners.find(code);
        if (manner == Manners.end()) manner = Manners.find(-1);
        switch (manner == Manners.end() ? Manner::Obeys : manner->second) {
            case Manner::Obeys: Obey(code, std::string_view(command).substr(2)); break;
            case Manner::Refuses: Answer(statusNak, std::string(1, errorBadData)); break;
            case Manner::Unknown: Answer(statusNak, std::string(1, errorUnknown)); break;
            case Manner::Silent: break;
        }
    }
}

void clsSimAdapter::Obey(int code, std::string_view data) {
    const auto refuse = [&] { Answer(statusNak, std::string(1, errorBadData)); };
    const std::size_t address = data.size() < 3 ? 0 : At(data, 0) + 256U * At(data, 1);
    const std::size_t count = data.size() < 3 ? 0 : At(data, 2);
    const bool inside = count <= mostRegisters && address + count <= m_registers.size();
    switch (code) {
        case setBaudRate:
            if (data.size() != 4) return refuse();
            m_lineSpeed = 0;
            for (std::size_t i = 0; i < data.size(); ++i) m_lineSpeed = m_lineSpeed << 8 | At(data, i);
            return Answer(statusAck);
        case setKeyCode:
            if (data.size() != keyCodeLength) return refuse();
            return Answer(statusAck);
        case setDirection:
            if (data.size() != 1) return refuse();
            m_direction = At(data, 0) & directionBits;
            return Answer(statusAck);
        case getVersion: return Answer(statusAck, Version + '\0');
        case getDirection: {
            const int told = DefaultDirection | (Keyboard ? keyboardBit : 0);
            return Answer(statusAck, std::string(1, static_cast<char>(told)));
        }
        case getRegister:
            if (data.size() != 3 || !inside) return refuse();
            return Answer(statusAck,
                          std::string(m_registers.begin() + static_cast<std::ptrdiff_t>(address),
                                      m_registers.begin() + static_cast<std::ptrdiff_t>(address + count)));
        case setRegister:
            if (data.size() != 3 + count || !inside) return refuse();
            for (std::size_t i = 0; i < count; ++i) m_registers[address + i] = At(data, 3 + i);
            return Answer(statusAck);
        case eraseFlash: std::ranges::fill(m_registers, std::uint8_t{0xFF}); return Answer(statusAck);
        case discardBuffer: return Answer(statusAck);
        default: Answer(statusNak, std::string(1, errorUnknown));
    }
}

void clsSimAdapter::Answer(std::uint8_t status, std::string_view data) {
    const int announced = Announced >= 0 ? Announced : static_cast<int>(data.size());
    OnControl.Raise(std::string{static_cast<char>(status), static_cast<char>(announced)} + std::string(data));
}
