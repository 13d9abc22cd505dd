// The comm control's register and device commands.

#include "base/clsScopeGuard.h"
#include "base/modText.h"
#include "comm/ucCOMM.h"

namespace {

// Given with the protocol, all three.
constexpr int attempts = 3;
constexpr int retryPause = 50;           // ms between two attempts
constexpr std::uint8_t codeRetried = 7;  // the one refusal that is worth a second try

// The elements from `first` on, `count` of them; a count of -1 is the whole array. Nothing when they leave
// it.
template <class Element>
std::span<Element> Run(std::span<Element> values, std::int32_t count, std::int32_t first) {
    const std::int64_t size = static_cast<std::int64_t>(values.size());
    const std::int64_t wanted = count == -1 ? size : count;
    if (first < 0 || wanted < 0 || first + wanted > size) return {};
    return values.subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(wanted));
}

}  // namespace

std::string ucCOMM::GetVersion() {
    return OrvNetFrame::AcceptedText(SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false));
}

// Kept on purpose: the read goes out without a checksum and demands one on its reply; the write goes out with
// one and takes its reply unchecked.
bool ucCOMM::GetRegister(std::int32_t iRegister, std::uint8_t& value) {
    const std::uint32_t generation = m_waits.Cancels();
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        const std::string text =
            SendOrvNetCMD(OrvNetFrame::ReadRegisterCommand(iRegister), /*bTxChkSum=*/false,
                          /*bRxChkSum=*/true);
        const auto reply = OrvNetFrame::ParseReply(text);
        if (reply.Kind == OrvNetFrame::ReplyKind::Accepted) {
            value = static_cast<std::uint8_t>(modText::HexValue(reply.Data));
            return true;
        }
        OnError.Raise("GetRegister - Reg=" + std::to_string(iRegister) + ", Err=" + text);
        if (reply.Kind == OrvNetFrame::ReplyKind::Refused || Cancelled(generation)) return false;
        if (attempt < attempts) m_host.Sleep(retryPause);
    }
    return false;
}

bool ucCOMM::SetRegister(std::int32_t iRegister, std::uint8_t value) {
    const std::uint32_t generation = m_waits.Cancels();
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        const std::string text = SendOrvNetCMD(OrvNetFrame::WriteRegisterCommand(iRegister, value),
                                               /*bTxChkSum=*/true, /*bRxChkSum=*/false);
        if (text == "A") return true;
        const auto reply = OrvNetFrame::ParseReply(text);
        const bool refused = reply.Kind == OrvNetFrame::ReplyKind::Refused;
        OnError.Raise("SetRegister - Reg=" + std::to_string(iRegister) +
                      ", Err=" + (refused ? text : "Timeout"));
        if (refused && !(attempt == 1 && reply.Code == codeRetried)) return false;
        if (Cancelled(generation)) return false;
        if (attempt < attempts) m_host.Sleep(retryPause);
    }
    return false;
}

bool ucCOMM::GetRegisterEx(std::int32_t iRegister, std::span<std::uint8_t> values, std::int32_t count,
                           std::int32_t first, bool stopAtEnd) {
    const auto run = Run(values, count, first);
    const std::uint32_t generation = m_waits.Cancels();
    bool result = false;
    bool stopped = false;
    for (std::int32_t i = 0; i < static_cast<std::int32_t>(run.size()); ++i) {
        std::uint8_t& value = run[static_cast<std::size_t>(i)];
        if (stopped) {
            value = 0;
            continue;
        }
        result = GetRegister(iRegister + i, value);
        if (!result || Cancelled(generation)) return false;
        stopped = stopAtEnd && OrvNetFrame::EndsRun(value);
    }
    return result;
}

bool ucCOMM::SetRegisterEx(std::int32_t iRegister, std::span<const std::uint8_t> values, std::int32_t count,
                           std::int32_t first, bool stopAtEnd) {
    const auto run = Run(values, count, first);
    const std::uint32_t generation = m_waits.Cancels();
    bool result = false;
    for (std::int32_t i = 0; i < static_cast<std::int32_t>(run.size()); ++i) {
        const std::uint8_t value = run[static_cast<std::size_t>(i)];
        result = SetRegister(iRegister + i, value);
        if (!result || Cancelled(generation)) return false;
        if (stopAtEnd && OrvNetFrame::EndsRun(value)) break;
    }
    return result;
}

std::string ucCOMM::Polling(std::uint8_t address, bool noAddress) {
    const std::string command = noAddress ? "D" : "D" + modText::Hex(address, 2);
    const std::string text = SendOrvNetCMD(command, /*bTxChkSum=*/false, /*bRxChkSum=*/false);
    if (OrvNetFrame::ParseReply(text).Kind != OrvNetFrame::ReplyKind::Accepted) return {};
    m_autoScanReceive = OrvNetFrame::AcceptedText(text);
    return m_autoScanReceive;
}

std::string ucCOMM::PollLine(std::int32_t timeout) {
    m_due.Clear();
    const clsScopeGuard restore([this, former = m_orvNetTimeout] { m_orvNetTimeout = former; });
    SetOrvNetTimeout(timeout);
    return Polling(/*address=*/0, /*noAddress=*/true);
}

bool ucCOMM::GotoISP() {
    return modText::ToFlag(SendOrvNetCMD("X", /*bTxChkSum=*/false, /*bRxChkSum=*/false)).value_or(false);
}
