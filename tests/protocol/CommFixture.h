#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/clsMemoryStore.h"
#include "protocol/ucCOMM.h"
#include "support/clsScriptedSerial.h"
#include "support/clsVirtualHost.h"

using Texts = std::vector<std::string>;

/// The comm control with the members opened that have no public setter.
struct clsOpenComm final : ucCOMM {
    using ucCOMM::m_byteDelay;
    using ucCOMM::m_commandCheckSwitch;
    using ucCOMM::m_commandGap;
    using ucCOMM::ucCOMM;
};

/// A comm control over a scripted line, COM1 open, not in raw mode. The host's counter wraps soon.
struct CommFixture : testing::Test {
    CommFixture() {
        comm.SetMSCommMode(false);
        comm.SetPortOpen(true);
        serial.OnOutput = [this](const std::string& frame) {
            if (Answers.empty()) return;
            const std::string answer = Answers.front();
            Answers.erase(Answers.begin());
            if (answer.empty()) return;
            serial.Arrive(frame == "\2Y\r" ? answer : "\2" + answer + "\r", AnswerDelay);
        };
    }
    void Reply(const std::string& text, int ms) { serial.Arrive("\2" + text + "\r", ms); }
    void CancelAfter(int ms) {
        host.StartTimer(ms, [this] { comm.CancelCommand(); });
    }
    /// One exchange: the reply, whether it timed out, and how many ms it took.
    std::string Send(std::int32_t timeout = -1) {
        Took();
        const std::string text = comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false, timeout);
        return text + (comm.Timeout() ? "Timeout " : " ") + std::to_string(Took());
    }
    /// The register's value, -1 for none.
    int Read(int number) {
        std::uint8_t value = 0;
        return comm.GetRegister(number, value) ? value : -1;
    }
    /// ms since it was asked last.
    std::int64_t Took() { return host.Now() - std::exchange(m_asked, host.Now()); }
    /// What the control told since it was asked last: messages, ports, packets with their terminator,
    /// characters.
    std::string Told() { return std::exchange(m_told, {}); }

    clsVirtualHost host{0xFFFFFF00U};
    clsScriptedSerial serial{host};
    clsMemoryStore store;
    clsIDeviceNotices notices;
    clsOpenComm comm{host, serial, store, "zarn74", {nullptr, nullptr, &notices}};
    Texts Answers;  ///< a reply's text or an image for each frame, in order; silence where empty, and then
    int AnswerDelay = 5;

  private:
    void Tell(const std::string& text) { m_told += text + "|"; }

    std::int64_t m_asked = 0;
    std::string m_told;
    clsConnection m_connections[5] = {
        comm.OnError.Connect([this](const std::string& text) { Tell(text); }),
        comm.OnScan.Connect([this](const std::string& text) { Tell(text); }),
        comm.OnPort.Connect([this](std::string& text, const std::string& name) { Tell(text + ":" + name); }),
        comm.OnPacket.Connect(
            [this](int end, const std::string& text) { Tell(std::to_string(end) + ":" + text); }),
        comm.OnChar.Connect([this](std::uint8_t byte) { Tell({static_cast<char>(byte)}); })};
};
