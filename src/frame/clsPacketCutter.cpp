#include "frame/clsPacketCutter.h"

#include <utility>

#include "frame/OrvNetFrame.h"

void clsPacketCutter::Feed(std::string_view bytes, clsISink& sink) {
    for (const char byte : bytes) FeedByte(byte, sink);
}

void clsPacketCutter::FeedByte(char byte, clsISink& sink) {
    const auto code = static_cast<std::uint8_t>(byte);
    const bool inside = m_inPacket && !m_complete;
    switch (byte) {
        case OrvNetFrame::STX:
            CutByTime(sink);
            m_inPacket = true;
            m_complete = false;
            m_buffer.clear();
            if (!sink.CommandWaiting()) sink.CutChar(code);
            break;
        case OrvNetFrame::CR:
            m_complete = true;
            if (inside) sink.PacketComplete();
            if (!m_inPacket || !sink.CommandWaiting()) Deliver(OrvNetFrame::CR, sink);
            break;
        case OrvNetFrame::TAB:
        case OrvNetFrame::LF:
            if (inside) {
                Deliver(code, sink);
            } else {
                sink.CutChar(code);
            }
            break;
        default:
            if (inside) {
                AppendRaw({&byte, 1});
                if (!sink.CommandWaiting()) sink.PacketGrew();
            } else {
                sink.CutChar(code);
            }
    }
}

void clsPacketCutter::AppendRaw(std::string_view bytes) {
    m_buffer += bytes;
    if (m_buffer.size() > bufferLimit) m_buffer.erase(0, m_buffer.size() - bufferLimit);
}

void clsPacketCutter::CutByTime(clsISink& sink) {
    if (!m_buffer.empty()) Deliver(unfinished, sink);
}

void clsPacketCutter::ClearState() {
    m_inPacket = false;
    m_complete = false;
}

void clsPacketCutter::Deliver(int terminator, clsISink& sink) {
    const std::string text = std::exchange(m_buffer, {});
    sink.CutPacket(terminator, text);
}
