// Each recording beside its log is a test: the command that the log begins with, run on the recorded reader,
// has to say the same again. ZARN74_WRITE_LOGS=1 writes the logs of those that have none.

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "CliFixture.h"
#include "base/ControlNames.h"
#include "base/Recording.h"
#include "sim/clsReplayReader.h"
#include "wire/RecordingMask.h"

namespace {

std::string Content(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::string> Names() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(ZARN74_RECORDINGS))
        if (entry.path().extension() == ".jsonl") names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

/// The program before a recorded reader on COM1.
struct clsReplayTest : clsCliTest, testing::WithParamInterface<std::string> {
    static std::filesystem::path File(const char* extension) {
        return std::filesystem::path(ZARN74_RECORDINGS) / (GetParam() + extension);
    }
    static Recording Load() {
        std::string error;
        auto recording = ReadRecording(Content(File(".jsonl")), error);
        EXPECT_TRUE(recording) << error;
        return recording.value_or(Recording());
    }
    /// What the command says and prints, and how it ends.
    std::string Play(const Recording& recording, const std::string& command) {
        clsReplayReader recorded(host, recording, clsReplayReader::Pace::Recorded);
        clsSimSerialControl::Line line;
        line.Reader = &recorded;
        serial.AddLine(1, line);
        Texts unknown;
        const auto onUnknown = recorded.OnUnknown.Connect(
            [&](const std::string& frame) { unknown.push_back(ControlNames::Visible(frame)); });
        const auto onLost = recorded.OnLost.Connect([&] { host.Post([&] { serial.Unplug(1); }); });
        const int exit = Run("--port COM1 --no-history " + command);
        std::string told = err.Text + out.Text;
        std::erase(told, '\r');
        for (const std::string& frame : unknown) told += "the recording does not hold " + frame + "\n";
        return "$ " + command + "\n" + told + "exit " + std::to_string(exit) + "\n";
    }
};

TEST_P(clsReplayTest, SaysTheSameAgain) {
    const std::string expected = Content(File(".log"));
    const std::string command = expected.substr(2, expected.find('\n') - 2);
    const std::string told = Play(Load(), command);
    if (std::getenv("ZARN74_WRITE_LOGS") != nullptr) std::ofstream(File(".log"), std::ios::binary) << told;
    EXPECT_EQ(told, expected);
}

// Masked, the same is asked and answered: the log is the same but for what is typed.
TEST_P(clsReplayTest, GoesTheSameWayMasked) {
    const std::string expected = Content(File(".log"));
    const std::string command = expected.substr(2, expected.find('\n') - 2);
    std::uint32_t state = 1;
    const Recording masked = Masked(Load(), [&state](std::uint32_t bound) {
        state = state * 1664525U + 1013904223U;
        return (state >> 8U) % bound;
    });
    const auto went = [](const std::string& text) {
        Texts lines = Lines(text);
        std::erase_if(lines, [](const std::string& line) {
            return !line.starts_with("14:") && !line.starts_with("exit ") &&
                   !line.starts_with("the recording");
        });
        return lines;
    };
    EXPECT_GT(went(expected).size(), 3U);
    EXPECT_EQ(went(Play(masked, command)), went(expected));
}

std::string NameOfTest(const testing::TestParamInfo<std::string>& recorded) {
    std::string name = recorded.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}
INSTANTIATE_TEST_SUITE_P(Recordings, clsReplayTest, testing::ValuesIn(Names()), NameOfTest);

}  // namespace
