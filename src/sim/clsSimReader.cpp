#include "sim/clsSimReader.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "base/clsScopeGuard.h"

namespace {

constexpr char startOfFrame = '\x02';
constexpr char endOfFrame = '\r';
constexpr std::size_t longestText = 32;     // bytes between STX and CR; the longest command has 10
constexpr std::size_t longestQueue = 4096;  // pieces; a host that floods a slow reader loses answers
constexpr std::string_view garbage = "\x7f\xa5?\xff\x10";
constexpr std::size_t speedRegister = 209;

enum Refusal : int {
    RefuseNothing = 0,
    RefuseCommand = 1,
    RefuseRegister = 2,
    RefuseParameter = 3,
    RefuseAsBusy = 7
};

std::string TwoDigits(int value) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    return {digits[static_cast<std::size_t>(value >> 4 & 15)], digits[static_cast<std::size_t>(value & 15)]};
}

std::string Checksum(std::string_view text) {
    return TwoDigits(std::accumulate(text.begin(), text.end(), 0,
                                     [](int sum, char c) { return sum + static_cast<std::uint8_t>(c); }) &
                     255);
}

// Upper-case digits only, all of them; -1 for anything else.
int ReadHex(std::string_view text) {
    int value = text.empty() ? -1 : 0;
    for (const char c : text) {
        if (c >= '0' && c <= '9') {
            value = value * 16 + (c - '0');
        } else if (c >= 'A' && c <= 'F') {
            value = value * 16 + (c - 'A' + 10);
        } else {
            return -1;
        }
    }
    return value;
}

// Two digits up to register 255, four above; -1 for any other width or number.
int ReadRegisterField(std::string_view field) {
    const int number = field.size() == 2 || field.size() == 4 ? ReadHex(field) : -1;
    const bool wide = field.size() == 4;
    return number < static_cast<int>(clsSimReader::registerCount) && wide == (number > 255) ? number : -1;
}

}  // namespace

struct clsSimReader::Request {
    bool Broken = false;  // not answered
    char Command = 0;
    int Register = -1;
    std::uint8_t Value = 0;
    int Refused = RefuseNothing;
};

clsSimReader::clsSimReader(clsIHost& host) : m_host(host) { Registers.fill(0xFF); }

clsSimReader::~clsSimReader() { m_host.StopTimer(m_timer); }

void clsSimReader::SetRegister(int number, std::uint8_t value) {
    if (std::exchange(Registers.at(static_cast<std::size_t>(number)), value) != value) OnRegister.Raise();
}

void clsSimReader::PowerUp() {
    m_inFrame = false;
    m_frame.clear();
    m_pieces.clear();
    m_host.StopTimer(std::exchange(m_timer, 0));
    switch (Registers[speedRegister]) {
        case 4: m_lineSpeed = 2400; break;
        case 5: m_lineSpeed = 4800; break;
        case 6: m_lineSpeed = 9600; break;
        case 7: m_lineSpeed = 14400; break;
        default: m_lineSpeed = 19200; break;
    }
}

int clsSimReader::FramesReceived(char command) const {
    if (command != 0) return m_received[static_cast<std::uint8_t>(command)];
    return std::accumulate(m_received.begin(), m_received.end(), 0);
}

void clsSimReader::Receive(std::string_view bytes) {
    for (const char byte : bytes) {
        if (byte == startOfFrame) {
            if (m_inFrame) ++m_rejected;
            m_inFrame = true;
            m_frame.clear();
        } else if (!m_inFrame) {
            continue;  // means nothing outside a frame
        } else if (byte == endOfFrame) {
            m_inFrame = false;
            HandleFrame(std::exchange(m_frame, {}));
        } else if (m_frame.size() == longestText) {
            m_inFrame = false;
            ++m_rejected;
        } else {
            m_frame += byte;
        }
    }
}

clsSimReader::Request clsSimReader::ReadRequest(std::string_view text) {
    Request request;
    if (text.empty()) {
        request.Broken = true;
        return request;
    }
    request.Command = text.front();
    std::string_view parameters = text.substr(1);
    switch (request.Command) {
        case 'V':
        case 'J':
        case 'X':
        case 'Y':
            if (!parameters.empty()) request.Refused = RefuseParameter;
            break;
        case 'D':  // with or without the address of the reader that is meant: on this cable there is one
            if (!parameters.empty() && (parameters.size() != 2 || ReadHex(parameters) < 0)) {
                request.Refused = RefuseParameter;
            }
            break;
        case 'B':
            request.Register = ReadRegisterField(parameters);
            if (request.Register < 0) request.Refused = RefuseRegister;
            break;
        case 'C': {
            const std::size_t length = text.size() < 3 ? 0 : text.size() - 2;
            if (length == 0 || text.substr(length) != Checksum(text.substr(0, length))) {
                request.Broken = true;
                break;
            }
            parameters = text.substr(1, length - 1);
            const std::size_t comma = std::min(parameters.find(','), parameters.size());
            request.Register = ReadRegisterField(parameters.substr(0, comma));
            const std::string_view digits = parameters.substr(std::min(comma + 1, parameters.size()));
            const int value = digits.size() == 2 ? ReadHex(digits) : -1;
            if (request.Register < 0) {
                request.Refused = RefuseRegister;
            } else if (value < 0) {
                request.Refused = RefuseParameter;
            } else {
                request.Value = static_cast<std::uint8_t>(value);
            }
            break;
        }
        default: request.Refused = RefuseCommand; break;
    }
    return request;
}

void clsSimReader::HandleFrame(const std::string& text) {
    OnFrame.Raise(startOfFrame + text + endOfFrame, /*received=*/true);
    const Request request = ReadRequest(text);
    if (request.Broken) {
        ++m_rejected;
        return;
    }
    ++m_received[static_cast<std::uint8_t>(request.Command)];
    const SimFaultRule* fault = FaultFor(request);
    std::string reply = MakeReply(request, fault);
    int delay = 0;
    int gap = 0;
    if (fault != nullptr) {
        switch (fault->Fault) {
            case SimFault::NoAnswer: return;
            case SimFault::TruncatedReply: reply.pop_back(); break;
            case SimFault::TrickledReply: gap = fault->Value; break;
            case SimFault::GarbageBeforeStx: reply.insert(0, garbage); break;
            case SimFault::LateReply: delay = fault->Value; break;
            case SimFault::RefuseBusy:
            case SimFault::RefuseCode:
            case SimFault::WrongChecksum:
            case SimFault::ShortDump:
            case SimFault::DifferentDumps:
            case SimFault::DroppedWrite: break;  // in the reply already
        }
    }
    Send(reply, delay, gap);
}

SimFaultRule* clsSimReader::FaultFor(const Request& request) {
    SimFaultRule* due = nullptr;
    for (SimFaultRule& rule : m_faults) {
        if (!SimFaultMeets(rule.Fault, request.Command)) continue;
        if (rule.Command != 0 && rule.Command != request.Command) continue;
        if (rule.Register >= 0 && rule.Register != request.Register) continue;
        const int passed = rule.Seen - rule.Skip;
        const bool exhausted = rule.Count >= 0 && rule.Fired >= rule.Count;
        if (passed < 0 || exhausted) {
            ++rule.Seen;
        } else if (due == nullptr) {
            ++rule.Seen;
            if (rule.Fault == SimFault::DifferentDumps && passed % 2 != 0) continue;
            ++rule.Fired;
            due = &rule;
        }
    }
    return due;
}

std::string clsSimReader::MakeReply(const Request& request, const SimFaultRule* fault) {
    const auto has = [fault](SimFault kind) { return fault != nullptr && fault->Fault == kind; };
    int refused = request.Refused;
    if (has(SimFault::RefuseBusy)) refused = RefuseAsBusy;
    const bool refuse = refused != RefuseNothing || has(SimFault::RefuseCode);
    if (has(SimFault::RefuseCode)) refused = fault->Value;

    if (request.Command == 'Y' && !refuse) {
        std::string image = Image();
        if (has(SimFault::ShortDump))
            image.resize(
                std::min<std::size_t>(image.size(), static_cast<std::size_t>(std::max(fault->Value, 0))));
        if (has(SimFault::DifferentDumps)) {
            char& byte = image.at(static_cast<std::size_t>(fault->Value) % registerCount);
            byte = static_cast<char>(byte ^ 1);
        }
        return image;
    }
    if (request.Command == 'C' && !refuse && !has(SimFault::DroppedWrite)) {
        SetRegister(request.Register, request.Value);
    }
    std::string text = refuse ? "N" + TwoDigits(refused) : AcceptedText(request);
    if (request.Command == 'B') {
        std::string digits = Checksum(text);
        if (has(SimFault::WrongChecksum)) digits = TwoDigits(ReadHex(digits) ^ 0x55);
        text += digits;
    }
    return startOfFrame + text + endOfFrame;
}

std::string clsSimReader::AcceptedText(const Request& request) const {
    switch (request.Command) {
        case 'V': return "A" + Version;
        case 'D': return "A" + Product;
        case 'X': return LoaderAnswer;
        case 'J': return m_card ? "A" + TwoDigits(m_card->Type) + "," + m_card->Serial : "AFF";
        case 'B': return "A" + TwoDigits(Registers[static_cast<std::size_t>(request.Register)]);
        default: return "A";
    }
}

std::string clsSimReader::Image() const { return {Registers.begin(), Registers.end()}; }

void clsSimReader::TypeText(const std::string& bytes) { Send(bytes, /*delay=*/0, /*gap=*/0); }

void clsSimReader::Send(const std::string& bytes, int delay, int gap) {
    const std::size_t step = gap > 0 ? 1 : std::max<std::size_t>(bytes.size(), 1);
    if (m_pieces.size() + bytes.size() / step > longestQueue) return;
    for (std::size_t at = 0; at < bytes.size(); at += step) {
        m_pieces.push_back({bytes.substr(at, step), at == 0 ? delay : gap, at == 0 ? bytes : ""});
    }
    SendPieces();
}

void clsSimReader::SendPieces() {
    if (m_sending || m_timer != 0) return;
    m_sending = true;
    const clsScopeGuard leave([this] { m_sending = false; });
    while (!m_pieces.empty()) {
        if (m_pieces.front().Delay > 0) {
            m_timer = m_host.StartTimer(std::exchange(m_pieces.front().Delay, 0), [this] {
                m_timer = 0;
                SendPieces();
            });
            return;
        }
        const Piece piece = std::move(m_pieces.front());
        m_pieces.pop_front();
        if (!piece.Frame.empty()) OnFrame.Raise(piece.Frame, /*received=*/false);
        OnSend.Raise(piece.Bytes);
    }
}
