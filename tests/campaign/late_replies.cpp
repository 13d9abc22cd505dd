// Readers whose replies come late or not at all: slow reads in which two replies in a row are late, and as
// many reads of single registers as are asked for. In virtual time; prints one table and ends with 1 when a
// value was another register's, or when a reader that is in time was waited for. A reader that loses replies
// and sends others late is only counted: which of them is missing nobody can tell.

#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <random>

#include "flows/FlowWorld.h"
#include "flows/RecordText.h"
#include "frame/OrvNetFrame.h"
#include "support/clsScriptedSerial.h"

namespace {

constexpr int instant = 5;         // ms after its frame that a reply comes when it is in time
constexpr unsigned latest = 1500;  // ms more

std::uint8_t ValueOf(int number) { return static_cast<std::uint8_t>(number * 7 + 13); }

/// Out of a hundred: how many replies are late, how many are lost, and how many reads are cancelled.
struct Row {
    const char* Name;
    unsigned Late, Lost, Cancelled;
};
constexpr Row rows[] = {{"in time", 0, 0, 0},
                        {"1 % lost", 0, 1, 0},
                        {"30 % up to 1500 ms late", 30, 0, 0},
                        {"the same, 10 % cancelled", 30, 0, 10},
                        {"late, and 1 % lost", 30, 1, 0}};

struct Outcome {
    int Wrong = 0, Failed = 0, Frames = 0;
    double Added = 0;  // ms a read
};

/// Reads registers one after the other from a reader that answers in the order in which it was asked.
Outcome Read(const Row& row, int reads) {
    clsVirtualHost host;
    clsScriptedSerial serial(host);
    clsMemoryStore store;
    ucCOMM comm(host, serial, store, "zarn74");
    comm.SetMSCommMode(false);
    comm.SetPortOpen(true);
    std::mt19937 random(1);
    const auto outOfHundred = [&random](unsigned share) { return random() % 100 < share; };
    Outcome outcome;
    std::int64_t last = 0;  // when the last reply comes
    serial.AnswerOutput = [&](const std::string& frame) {
        ++outcome.Frames;
        serial.Sent.clear();
        if (outOfHundred(row.Lost)) return;
        const unsigned late = outOfHundred(row.Late) ? static_cast<unsigned>(random()) % (latest + 1) : 0;
        last = std::max(last, host.Now() + instant + static_cast<int>(late));
        const int number = std::stoi(frame.substr(2, frame.size() - 3), nullptr, 16);
        const std::string text = "A" + modText::Hex(ValueOf(number), 2);
        serial.Arrive(OrvNetFrame::BuildFrame(text, /*txChkSum=*/true), static_cast<int>(last - host.Now()));
    };
    for (int i = 0; i < reads; ++i) {
        const int number = i % 512;
        std::uint8_t value = 0;
        clsIHost::TimerId cancel = 0;
        if (outOfHundred(row.Cancelled))
            cancel = host.StartTimer(static_cast<int>(random() % 700), [&comm] { comm.CancelCommand(); });
        if (!comm.GetRegister(number, value)) {
            ++outcome.Failed;
        } else if (value != ValueOf(number)) {
            ++outcome.Wrong;
        }
        host.StopTimer(cancel);
    }
    outcome.Added = static_cast<double>(host.Now()) / reads - instant;
    return outcome;
}

/// The record of a slow read over a line of 19200 baud on which two replies in a row may be late by so many
/// ms; nothing when the read failed.
std::string SlowRead(int exchange, int first, int second) {
    FlowWorld world;
    world.Pace();
    world.flows.SetQuickRead(false);
    world.reader.AddFault({SimFault::LateReply, 'B', -1, exchange, 1, first});
    world.reader.AddFault({SimFault::LateReply, 'B', -1, exchange + 1, 1, second});
    return world.flows.Read() == FlowResult::Done ? TextOf(world.flows.Record()) : "";
}

}  // namespace

int main(int argc, char** argv) {
    const int reads = argc > 1 ? std::max(1, std::atoi(argv[1])) : 20'000;
    const std::string clean = SlowRead(/*exchange=*/1, /*first=*/0, /*second=*/0);
    int pairs = 0;
    int wrong = 0;
    for (int exchange = 0; exchange < 200; exchange += 10) {
        for (int first = 510; first < 1100; first += 100) {
            for (int second = 300; second < 1500; second += 200) {
                ++pairs;
                wrong += SlowRead(exchange, first, second) == clean ? 0 : 1;
            }
        }
    }
    std::cout << pairs << " slow reads with two late replies, " << wrong << " not read well\n";

    std::cout << std::left << std::setw(28) << "reads" << std::right;
    for (const char* column : {"wrong", "failed", "frames", "ms added"}) std::cout << std::setw(12) << column;
    std::cout << std::fixed << std::setprecision(2) << '\n';
    for (const Row& row : rows) {
        const Outcome outcome = Read(row, reads);
        std::cout << std::left << std::setw(28) << row.Name << std::right << std::setw(12) << outcome.Wrong
                  << std::setw(12) << outcome.Failed << std::setw(12) << outcome.Frames << std::setw(12)
                  << outcome.Added << '\n';
        if (row.Late == 0 || row.Lost == 0) wrong += outcome.Wrong;
        if (row.Late + row.Lost == 0 && (outcome.Added != 0 || outcome.Frames != reads)) ++wrong;
    }
    return wrong == 0 ? 0 : 1;
}
