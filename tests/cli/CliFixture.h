#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "base/clsMemoryStore.h"
#include "cli/clsCli.h"
#include "cli/clsICliPlatform.h"
#include "sim/clsSimReader.h"
#include "sim/clsSimSerialControl.h"
#include "support/clsMemoryFiles.h"
#include "support/clsMemoryHistory.h"
#include "support/clsVirtualHost.h"

using Texts = std::vector<std::string>;

struct clsMemoryOutput final : clsITextOutput {
    void Write(std::string_view bytes) override {
        if (Now == State::Open && Text.size() + bytes.size() > Limit) Now = State::Closed;
        if (Now == State::Open) Text += bytes;
    }
    [[nodiscard]] State CurrentState() const override { return Now; }
    [[nodiscard]] bool Terminal() const override { return OnTerminal; }
    [[nodiscard]] bool Colored() const override { return InColor; }
    std::string Text;
    std::size_t Limit = 1U << 20;  ///< its reader goes away when more comes
    State Now = State::Open;
    bool OnTerminal = false;
    bool InColor = false;
};

/// Lines in a text that outlives them.
class clsMemoryLines final : public clsILineFile {
  public:
    clsMemoryLines(std::string& text, std::size_t room) : m_text(text), m_room(room) { m_text.clear(); }
    bool Append(const std::string& line) override {
        m_last = m_text.size();
        return Lengthen(line);
    }
    bool Lengthen(const std::string& line) override {
        if (m_last + line.size() >= m_room) return false;
        m_text.replace(m_last, std::string::npos, line + "\n");
        return true;
    }
    [[nodiscard]] std::string LastError() const override { return "Full"; }

  private:
    std::string& m_text;
    const std::size_t m_room;
    std::size_t m_last = 0;
};

/// The program with files in memory, on a machine with a reader on COM1, an empty COM2 and a
/// COM3 that does not open.
template <class HostType>
struct clsCliWorld : testing::Test, clsICliPlatform {
    clsCliWorld() {
        LoadExampleConfiguration(reader);
        clsSimSerialControl::Line line;
        line.Description = "Caf\xE9";
        line.Reader = &reader;
        serial.AddLine(1, line);
        line.Reader = nullptr;
        serial.AddLine(2, line);
        line.Opens = false;
        serial.AddLine(3, line);
        onFrame = reader.OnFrame.Connect([this](const std::string& frame, bool received) {
            if (received) sent += frame.at(1);
        });
    }
    /// The exit status of a command line; its words are separated by single blanks.
    int Run(const std::string& line) {
        out.Text.clear();
        err.Text.clear();
        sent.clear();
        inputTaken = 0;
        std::vector<std::string> words;
        std::istringstream stream(line);
        for (std::string word; std::getline(stream, word, ' ');) words.push_back(word);
        const int exit = cli.Run(words);
        EXPECT_FALSE(serial.PortOpen()) << line;
        return exit;
    }
    /// What it printed, or said at last, behind its exit status.
    std::string Printed(const std::string& line) { return std::to_string(Run(line)) + " " + out.Text; }
    std::string Ended(const std::string& line) {
        const std::string exit = std::to_string(Run(line));
        return exit + " " + Said();
    }

    clsIHost& Host() override { return host; }
    clsISerialControl& Serial() override { return serial; }
    clsIPortDirectory& Ports() override { return serial; }
    CommDevices Devices(bool) override { return {}; }
    clsISettingsStore& Store() override { return store; }
    clsIFiles& Files() override { return files; }
    std::unique_ptr<clsILineFile> LineFile(const std::string& name, std::string& error) override {
        if (files.Refuse) error = "Refused";
        return files.Refuse ? nullptr : std::make_unique<clsMemoryLines>(files.Contents[name], lineRoom);
    }
    std::string SetPortMap(const std::vector<std::string>& entries) override {
        return entries.empty() ? "" : "no map here";
    }
    std::string AddDevice(const std::string& path) override { return path == "/dev/reader" ? "COM1" : ""; }
    std::optional<std::string> ReadInput(std::size_t limit, std::string& error) override {
        if (inputTaken++ > 0) return "";
        if (input.size() > limit) error = "there is no end to it";
        return error.empty() ? std::optional(input) : std::nullopt;
    }
    AccessReport Access(const std::vector<PortEntry>& ports) override {
        if (!access.Nodes.empty()) return access;
        AccessReport report;
        for (const PortEntry& port : ports) {
            AccessNode& node = report.Nodes.emplace_back();
            node.Name = port.Name;
            node.Device = "/dev/of/" + port.Name;
            node.There = node.May = true;
        }
        return report;
    }
    std::optional<bool> Confirm(const std::string& question) override {
        asked = question;
        return answer;
    }
    [[nodiscard]] clsConnection WatchInput(
        std::function<void(const std::string& line, bool ended)> take) override {
        for (const std::string& line : typed) host.Post([take, line] { take(line, /*ended=*/false); });
        return clsConnection(std::make_shared<bool>(true));
    }
    clsIHistory* History(const std::string& file) override { return file == "none" ? nullptr : &history; }
    std::int64_t PluggedIn(const std::string&) override { return pluggedIn; }
    std::string DefaultFile() override { return "Default.ini"; }

    std::size_t lineRoom = 1U << 20;  ///< bytes that a recording may have
    [[nodiscard]] long Sent(char command) const { return std::count(sent.begin(), sent.end(), command); }
    /// What the run said, without time or program name.
    [[nodiscard]] Texts Messages() const {
        Texts messages;
        for (const std::string& line : Lines(err.Text))
            messages.push_back(line.substr(line.find(line.starts_with("zarn74ctl: ") ? ": " : "- ") + 2));
        return messages;
    }
    /// The last of it.
    [[nodiscard]] std::string Said() const { return err.Text.empty() ? "" : Messages().back(); }
    static std::vector<std::string> Lines(const std::string& text) {
        std::vector<std::string> lines;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) lines.push_back(line);
        return lines;
    }

    HostType host;
    clsSimReader reader{host};
    clsSimSerialControl serial{host};
    clsMemoryStore store;
    clsMemoryFiles files;
    clsMemoryHistory history;
    clsMemoryOutput out;
    clsMemoryOutput err;
    clsCli cli{*this, out, err};
    AccessReport access;  ///< what the machine would tell of these ports; empty: all is well
    std::string asked;    ///< the last question at the terminal
    std::optional<bool> answer;
    std::string input;  ///< standard input, there once in a run
    int inputTaken = 0;
    std::int64_t pluggedIn = 0;
    Texts typed;       ///< standard input, line by line
    std::string sent;  ///< command letters that the reader received
    clsConnection onFrame;
};
using clsCliTest = clsCliWorld<clsVirtualHost>;
