#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

#include "base/clsMemoryStore.h"
#include "protocol/ucCOMM.h"
#include "support/clsScriptedSerial.h"
#include "support/clsVirtualHost.h"

/// The comm control with the members opened that have no public setter.
struct clsOpenComm final : ucCOMM {
    using ucCOMM::m_byteDelay;
    using ucCOMM::m_commandCheckSwitch;
    using ucCOMM::m_commandGap;
    using ucCOMM::ucCOMM;
};

/// A comm control over a scripted line, COM1 open, not in raw mode. Answers holds one reply a frame, in
/// order; when it is empty the line stays silent.
struct CommFixture : testing::Test {
    explicit CommFixture(std::uint32_t startTick = 1000) : host(startTick) {
        comm.SetMSCommMode(false);
        comm.SetPortOpen(true);
        serial.OnOutput = [this](const std::string&) {
            if (Answers.empty()) return;
            const std::string answer = Answers.front();
            Answers.pop_front();
            if (!answer.empty()) serial.Arrive(answer, AnswerDelay);
        };
        connections[0] = comm.OnError.Connect([this](const std::string& text) { Errors.push_back(text); });
        connections[1] = comm.OnPacket.Connect([this](int terminator, const std::string& text) {
            Heard.push_back(std::to_string(terminator) + ":" + text);
        });
        connections[2] = comm.OnChar.Connect(
            [this](std::uint8_t byte) { Heard.emplace_back(1, static_cast<char>(byte)); });
        connections[3] = comm.OnScan.Connect([this](const std::string& text) { Scans.push_back(text); });
    }

    /// STX, text, CR.
    static std::string Reply(const std::string& text) { return "\x02" + text + "\r"; }
    static std::string Checked(const std::string& text) {
        unsigned sum = 0;
        for (const char c : text) sum += static_cast<unsigned char>(c);
        return Reply(text + "0123456789ABCDEF"[(sum >> 4U) & 15U] + "0123456789ABCDEF"[sum & 15U]);
    }

    clsVirtualHost host;
    clsScriptedSerial serial{host};
    clsMemoryStore store;
    clsOpenComm comm{host, serial, store, "zarn74"};
    std::deque<std::string> Answers;
    int AnswerDelay = 5;
    std::vector<std::string> Errors;
    std::vector<std::string> Heard;
    std::vector<std::string> Scans;
    clsConnection connections[4];
};

using Texts = std::vector<std::string>;
