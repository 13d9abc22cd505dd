// The HID control's commands: adapter packets and OrvNet frames, one at a time.

#include <algorithm>

#include "base/clsScopeGuard.h"
#include "frame/OrvNetFrame.h"
#include "hid/OrvHIDIO.h"

namespace {

constexpr char ack = 0x06;
constexpr char nak = 0x15;
constexpr char codeNotSupported = 4;
constexpr std::size_t headerSize = 2;  // status or code, then the number of bytes that follow
constexpr std::size_t mostData = 255;
// These three are given with the adapter.
constexpr std::int32_t firstByteTime = 1000;  // ms
constexpr std::int32_t pieceTime = 150;       // ms between the pieces of an answer
constexpr std::int32_t dumpPieceTime = 250;   // ms; an image comes in many pieces
// A device that never stops and never ends a reply would be waited for without end.
constexpr std::int32_t longestReply = 5000;  // ms
constexpr std::int32_t longestDump = 15000;  // ms, at any line speed of an adapter
constexpr std::size_t largestReply = 65536;
constexpr int lookTime = 1;  // ms; a library that makes its call-backs itself does not wake the loop

}  // namespace

int OrvHIDIO::Waiting(Channel channel) {
    return channel == Channel::Control ? m_api.BytesToReadCtrl(m_handle) : m_api.BytesToRead(m_handle);
}

std::string OrvHIDIO::TakeAll(Channel channel) {
    const int count = Waiting(channel);
    if (count <= 0) return {};
    return channel == Channel::Control ? m_api.ReadCtrl(m_handle, count) : m_api.Read(m_handle, count);
}

bool OrvHIDIO::Put(Channel channel, const std::string& bytes) {
    return channel == Channel::Control ? m_api.WriteCtrl(m_handle, bytes) : m_api.Write(m_handle, bytes);
}

void OrvHIDIO::Discard(Channel channel) {
    if (channel == Channel::Control) {
        m_api.DiscardReadCtrlBuffer(m_handle);
    } else {
        m_api.DiscardReadBuffer(m_handle);
    }
}

bool OrvHIDIO::MayStart() { return !m_busy && PortOpen(); }

// After a cancel nothing more is asked of an adapter that has said nothing since it was opened.
bool OrvHIDIO::MayAskAdapter() {
    if (!m_tarkaCmdSetEnabled || !MayStart()) return false;
    m_adapterAnswered = m_adapterAnswered || Waiting(Channel::Control) > 0;
    return m_adapterAnswered || m_waits.Cancels() == m_openGeneration;
}

// Hands every piece that arrives to `take` until that says True, the time is over, a cancel comes or the port
// is closed or lost. What is found only then is not taken any more.
template <class Take>
void OrvHIDIO::Receive(Channel channel, std::int32_t pieceTimeout, std::int32_t longest, Take take) {
    if (!m_timer) m_timer.emplace(m_host);
    m_timer->SetTimeout(firstByteTime);
    const std::uint32_t session = m_session;
    clsWait wait(m_host, m_waits, longest, m_waits.Cancels());
    wait.SetLongestTurn(lookTime);
    bool over = false;
    wait.Until(
        [&] {
            over = wait.Over() || m_timer->IsTimeout() || !InSession(session);
            const std::string piece = over ? std::string() : TakeAll(channel);
            if (piece.empty()) return false;
            if (channel == Channel::Control) m_adapterAnswered = true;
            m_timer->SetTimeout(pieceTimeout);
            return take(piece);
        },
        [&] { return over; });
}

// Sends a packet and collects the answer. True when it was complete and acknowledged; `answerLength` is what
// the answer's own length announces, header included.
bool OrvHIDIO::AdapterExchange(const std::string& packet, std::string& received, std::size_t& answerLength) {
    m_busy = true;
    const clsScopeGuard idle([this] { m_busy = false; });
    m_notSupported = false;
    m_nak = false;
    received.clear();
    answerLength = 0;
    Discard(Channel::Control);
    OnAdapterData.Raise(packet, /*received=*/false);
    if (!Put(Channel::Control, packet)) return false;
    bool complete = false;
    Receive(Channel::Control, pieceTime, longestReply, [&](const std::string& piece) {
        received += piece;
        if (received.size() < headerSize) return false;
        answerLength = headerSize + static_cast<unsigned char>(received[1]);
        complete = received.size() >= answerLength;
        return complete;
    });
    if (!received.empty()) OnAdapterData.Raise(received, /*received=*/true);
    if (!complete) return false;
    m_nak = received[0] == nak;
    m_notSupported = m_nak && answerLength > headerSize && received[headerSize] == codeNotSupported;
    return received[0] == ack;
}

bool OrvHIDIO::SendHIDCMD(std::uint8_t code, const std::string& data, std::string& answer) {
    ++m_nesting;
    const clsScopeGuard leave([this] { --m_nesting; });
    if (data.size() > mostData || !MayAskAdapter()) return false;
    std::string received;
    std::size_t length = 0;
    const bool result = AdapterExchange(
        std::string{static_cast<char>(code), static_cast<char>(data.size())} + data, received, length);
    answer = received.size() > headerSize ? received.substr(headerSize, length - headerSize) : std::string();
    return result;
}

bool OrvHIDIO::SendHIDRawCmd(const std::string& bytes, std::string& answer) {
    ++m_nesting;
    const clsScopeGuard leave([this] { --m_nesting; });
    if (!MayAskAdapter()) return false;
    std::size_t length = 0;
    return AdapterExchange(bytes, answer, length);
}

bool OrvHIDIO::SendHIDOrvNetCmd(const std::string& command, bool addChecksum, std::string& answer,
                                bool checkChecksum) {
    ++m_nesting;
    const clsScopeGuard leave([this] { --m_nesting; });
    if (!MayStart()) return false;
    m_busy = true;
    m_orvNetActive = !m_controlMode;
    m_nak = false;
    const clsScopeGuard idle([this] {
        m_orvNetActive = false;
        m_busy = false;
    });
    const Channel channel = CommandChannel();
    Discard(channel);
    if (!Put(channel, OrvNetFrame::BuildFrame(command, addChecksum))) return false;
    std::string reply;
    bool begun = false;
    bool complete = false;
    Receive(channel, pieceTime, longestReply, [&](const std::string& piece) {
        for (const char byte : piece) {
            if (byte == OrvNetFrame::STX) {
                reply.clear();
                begun = true;
            } else if (byte == OrvNetFrame::CR) {
                complete = begun;
                if (complete) break;
            } else {
                reply += byte;
            }
        }
        return complete || reply.size() > largestReply;
    });
    if (!begun) reply.clear();
    answer = reply;
    if (!complete) return false;
    return !checkChecksum || reply.size() <= 2 || !OrvNetFrame::CheckReply(reply).empty();
}

bool OrvHIDIO::SendHIDOrvNetDumpCmd(std::span<std::uint8_t> image) {
    if (!MayStart()) return false;
    m_busy = true;
    m_orvNetActive = !m_controlMode;
    const clsScopeGuard idle([this] {
        m_orvNetActive = false;
        m_busy = false;
    });
    const Channel channel = CommandChannel();
    Discard(channel);
    if (!Put(channel, {OrvNetFrame::STX, 'Y', OrvNetFrame::CR})) return false;
    std::string received;
    Receive(channel, dumpPieceTime, longestDump, [&](const std::string& piece) {
        received += piece;
        return received.size() >= image.size();
    });
    if (received.size() < image.size()) return false;
    std::copy_n(received.begin(), image.size(), image.begin());
    return true;
}
