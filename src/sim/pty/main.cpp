// zarn74sim: a simulated reader behind a pseudo-terminal.

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/ControlNames.h"
#include "base/Recording.h"
#include "base/RunProgram.h"
#include "base/modText.h"
#include "sim/SimFault.h"
#include "sim/SimImage.h"
#include "sim/clsReplayReader.h"
#include "sim/clsSimReader.h"
#include "sim/pty/clsFrameLog.h"
#include "sim/pty/clsPtyLine.h"
#include "sim/pty/clsSimConsole.h"
#include "system/SameFile.h"
#include "system/StandardStreams.h"
#include "system/UtcNow.h"
#include "system/clsLineFile.h"
#include "system/clsPollHost.h"
#include "system/clsSystemFiles.h"

namespace {

enum ExitCode : int { ExitDone = 0, ExitFailed = 1, ExitUsage = 2 };

struct ProgramOptions {
    clsPtyLine::Options Line;
    std::string Image;
    std::string Log;
    std::string Firmware;
    std::string Record;
    std::string Replay;
    bool Fast = false;
    bool Example = false;
    std::vector<SimFaultRule> Faults;
};

// A pipe that nobody reads must not stop the reader: what it does not take is lost.
void WriteText(int fd, std::string text) {
    text += '\n';
    constexpr std::size_t pipeTakes = 4096;
    for (std::size_t at = 0; at < text.size(); at += pipeTakes) {
        pollfd ready{fd, POLLOUT, 0};
        if (poll(&ready, 1, 0) != 1) return;
        const std::size_t count = std::min(pipeTakes, text.size() - at);
        if (write(fd, text.data() + at, count) != static_cast<ssize_t>(count)) return;
    }
}
void Answer(const std::string& text) { WriteText(STDOUT_FILENO, text); }
void Complain(const std::string& text) { WriteText(STDERR_FILENO, "zarn74sim: " + text); }
int Fail(const std::string& text) {
    Complain(text);
    return ExitFailed;
}

/// Standard input, cut into lines. Ends with the input.
class clsLineInput {
  public:
    clsLineInput(clsPollHost& host, std::function<void(std::string_view)> line, std::function<void()> ended)
        : m_line(std::move(line)), m_ended(std::move(ended)) {
        m_onInput = host.WatchDescriptor(STDIN_FILENO, [this] { Read(); });
    }

  private:
    static constexpr std::size_t longestLine = 4096;

    void Read() {
        std::array<char, longestLine> buffer{};
        const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
        if (count < 0 && isatty(STDIN_FILENO) != 0 && tcgetpgrp(STDIN_FILENO) != getpgrp()) {
            m_onInput.Disconnect();  // in the background: the keyboard is not ours
            return;
        }
        for (ssize_t i = 0; i < count; ++i) Take(buffer[static_cast<std::size_t>(i)]);
        if (count > 0) return;
        m_onInput.Disconnect();
        if (!m_text.empty()) Take('\n');
        m_ended();
    }
    void Take(char byte) {
        if (byte != '\n') {
            if (m_text.size() <= longestLine) m_text += byte;
            return;
        }
        const std::string text = std::exchange(m_text, {});
        if (text.size() > longestLine) return Complain("a command of more than 4096 bytes is ignored");
        m_line(text);
    }

    std::function<void(std::string_view)> m_line;
    std::function<void()> m_ended;
    std::string m_text;
    clsConnection m_onInput;
};

/// Ends the loop at SIGINT, SIGTERM and SIGHUP, the last unless the program was started to survive it.
class clsSignals {
  public:
    explicit clsSignals(clsPollHost& host) {
        signal(SIGPIPE, SIG_IGN);
        signal(SIGTTIN, SIG_IGN);
        sigset_t set{};
        sigemptyset(&set);
        sigaddset(&set, SIGINT);
        sigaddset(&set, SIGTERM);
        struct sigaction former {};
        sigaction(SIGHUP, nullptr, &former);
        if (former.sa_handler != SIG_IGN) sigaddset(&set, SIGHUP);
        sigprocmask(SIG_BLOCK, &set, nullptr);
        m_fd = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
        m_onSignal = host.WatchDescriptor(m_fd, [this, &host] {
            m_onSignal.Disconnect();
            host.Quit();
        });
    }
    clsSignals(const clsSignals&) = delete;
    clsSignals& operator=(const clsSignals&) = delete;
    ~clsSignals() { close(m_fd); }

  private:
    int m_fd = -1;
    clsConnection m_onSignal;
};

/// Keeps a recording of what goes between a reader and whoever asks it, as that one sees it.
class clsRecording {
  public:
    clsRecording() = default;
    clsRecording(const clsRecording&) = delete;
    clsRecording& operator=(const clsRecording&) = delete;
    ~clsRecording() {
        RecordingEntry entry;
        entry.What = RecordingEntry::Kind::End;
        entry.Microseconds = Now();
        Write(entry);
    }
    /// What is wrong with the file, empty when nothing is.
    std::string Begin(const std::string& name, clsSimReader& reader, const std::string& port) {
        std::string error;
        m_file = clsLineFile::Open(name, error);
        if (m_file == nullptr) return error;
        Write(RecordingHead{"zarn74sim", ZARN74_VERSION, port, reader.LineSpeed(), UtcNow()});
        m_onFrame = reader.OnFrame.Connect([this](const std::string& bytes, bool received) {
            RecordingEntry entry;
            entry.Microseconds = Now();
            entry.Received = !received;
            entry.Bytes = bytes;
            Write(entry);
        });
        return {};
    }

  private:
    [[nodiscard]] std::int64_t Now() const {
        constexpr std::int64_t nsPerMicrosecond = 1000;
        return (clsPollHost::Now() - m_start) / nsPerMicrosecond;
    }
    template <class Line>
    void Write(const Line& line) {
        if (m_file == nullptr || m_file->Append(RecordingLine(line))) return;
        Complain("cannot write the recording: " + m_file->LastError());
        m_file.reset();  // what came later would look as if nothing was missing
    }

    std::unique_ptr<clsLineFile> m_file;  // null once it has failed
    const std::int64_t m_start = clsPollHost::Now();
    clsConnection m_onFrame;
};

// A recorded reader can be pulled out and plugged in again; all else it does is in the recording.
void ExecuteReplay(std::string_view text, clsPtyLine& line, clsPollHost& host) {
    const std::string command = modText::Trim(text);
    if (command == "quit") {
        host.Quit();
    } else if (command == "unplug" && line.Plugged()) {
        line.Unplug();
        Answer("unplugged");
    } else if (command == "replug") {
        line.Unplug();
        const std::string error = line.Plug();
        if (error.empty()) {
            Answer(line.Path());
        } else {
            Complain(error);
        }
    } else if (!command.empty()) {
        Complain("a recorded reader understands unplug, replug and quit");
    }
}

std::optional<Recording> LoadRecording(const std::string& name) {
    constexpr std::size_t largest = 256U << 20U;  // bytes
    constexpr std::size_t piece = 1U << 20U;
    clsSystemFiles files;
    const auto file = files.OpenFile(name);
    std::string error = file == nullptr ? files.LastError() : std::string();
    std::string text;
    while (error.empty()) {
        const auto more = file->ReadUpTo(piece);
        if (!more) error = files.LastError();
        if (!more || more->empty()) break;
        text += *more;
        if (text.size() > largest) error = "there is no end to it";
    }
    auto recording = error.empty() ? ReadRecording(text, error) : std::nullopt;
    if (!recording) Complain(name + ": " + error);
    if (recording && recording->CutOff) Complain(name + ": it breaks off; its last line has no end");
    return recording;
}

int RunReplay(const ProgramOptions& options) {
    const auto recording = LoadRecording(options.Replay);
    if (!recording) return ExitFailed;
    clsPollHost host;
    const clsSignals signals(host);
    clsReplayReader reader(host, *recording,
                           options.Fast ? clsReplayReader::Pace::Fast : clsReplayReader::Pace::Recorded);
    const clsConnection onUnknown = reader.OnUnknown.Connect([](const std::string& frame) {
        Complain("the recording does not hold " + ControlNames::Visible(frame));
    });
    clsPtyLine line(host, reader, options.Line);
    const clsConnection onPulled = reader.OnLost.Connect([&] {
        // From inside the line's own call: it goes when that is over.
        host.Post([&line] {
            if (!line.Plugged()) return;
            line.Unplug();
            Complain("pulled out, as it was recorded; replug plugs the reader in again");
        });
    });
    const clsConnection onLost =
        line.OnLost.Connect([] { Complain("the terminal is gone; replug plugs the reader into a new one"); });
    const std::string error = line.Plug();
    if (!error.empty()) return Fail(error);
    Answer(line.Path());
    const bool terminal = isatty(STDIN_FILENO) != 0;
    const clsLineInput input(
        host, [&](std::string_view text) { ExecuteReplay(text, line, host); },
        [&] {
            if (terminal) host.Quit();
        });
    host.Run();
    return ExitDone;
}

int Run(const ProgramOptions& options) {
    if (!options.Replay.empty()) return RunReplay(options);

    clsPollHost host;
    const clsSignals signals(host);
    clsSimReader reader(host);
    clsSystemFiles files(clsSystemFiles::Survives::Program);  // saved at every write

    if (options.Example) LoadExampleConfiguration(reader);
    if (!options.Firmware.empty()) reader.Version = options.Firmware;
    for (const SimFaultRule& fault : options.Faults) reader.AddFault(fault);

    const bool imageExists = !options.Image.empty() && access(options.Image.c_str(), F_OK) == 0;
    if (imageExists) {
        const std::string error = LoadSimImage(files, options.Image, reader);
        if (!error.empty()) return Fail(error);
    }
    bool saved = true;
    const auto save = [&] {
        if (options.Image.empty()) return;
        const bool former = std::exchange(saved, SaveSimImage(files, options.Image, reader));
        if (former && !saved) Complain("cannot write the memory image " + options.Image);
    };
    if (!imageExists) save();
    if (!saved) return ExitFailed;
    const clsConnection onRegister = reader.OnRegister.Connect(save);

    std::unique_ptr<clsFrameLog> log;
    clsConnection onLogFailure;
    if (!options.Log.empty()) {
        std::string error;
        log = clsFrameLog::Open(options.Log, reader, error);
        if (log == nullptr) return Fail("cannot write the log " + options.Log + ": " + error);
        onLogFailure = log->OnFailure.Connect([&] { Complain("cannot write the log " + options.Log); });
    }

    clsPtyLine line(host, reader, options.Line);
    const clsConnection onLost =
        line.OnLost.Connect([] { Complain("the terminal is gone; replug plugs the reader into a new one"); });
    const std::string error = line.Plug();
    if (!error.empty()) return Fail(error);
    clsRecording recording;
    if (!options.Record.empty()) {
        for (const std::string& other : {options.Image, options.Log, options.Line.Link})
            if (!other.empty() && SameFile(other, options.Record))
                return Fail("cannot write the recording " + options.Record +
                            ": it is named for something else");
        const std::string refused = recording.Begin(options.Record, reader, line.Path());
        if (!refused.empty()) return Fail("cannot write the recording " + options.Record + ": " + refused);
    }
    Answer(line.Path());
    const bool terminal = isatty(STDIN_FILENO) != 0;
    if (terminal && isatty(STDERR_FILENO) != 0) Complain("the reader is ready; help lists the commands");

    clsSimConsole console(reader, line, Answer, Complain, [&] { host.Quit(); });
    const clsLineInput input(
        host, [&](std::string_view text) { console.Execute(text); },
        [&] {
            if (terminal) host.Quit();
        });
    host.Run();
    line.Unplug();
    save();
    return saved ? ExitDone : ExitFailed;
}

void AddOptions(CLI::App& app, ProgramOptions& options, std::vector<std::string>& faults) {
    const auto rate = CLI::Range(1, 4'000'000).description("");
    app.add_option("--image", options.Image,
                   "Memory image of 512 bytes: loaded at the start, made when there is none,\n"
                   "saved at every change")
        ->type_name("FILE");
    app.add_flag("--example", options.Example,
                 "Start with the example configuration; without it, and without an image,\n"
                 "the reader is factory-fresh: all registers FF");
    app.add_option("--only-baud", options.Line.OnlyBaud,
                   "Hear nothing unless the terminal's speed is N. Without it every speed is\n"
                   "heard, until register 209 is changed and the reader replugged")
        ->type_name("N")
        ->check(rate);
    app.add_option("--pace", options.Line.Pace,
                   "Bytes take the time that they need on the wire at N baud, both ways")
        ->type_name("N")
        ->check(rate);
    app.add_option("--log", options.Log,
                   "Append every frame to FILE, one JSON object a line: t (seconds), dir (rx: the\n"
                   "reader has received it, tx: it sends it), hex, text")
        ->type_name("FILE");
    app.add_option("--firmware", options.Firmware,
                   "What it answers when it is asked for its firmware, as V1.02R007,FWQ-K4436")
        ->type_name("TEXT");
    app.add_option("--record", options.Record,
                   "Record every frame in FILE, as the program sees it that asks, for a replay")
        ->type_name("FILE");
    auto* const replay = app.add_option("--replay", options.Replay,
                                        "Be the reader of this recording: answer as it did, in order");
    replay->type_name("FILE");
    for (const char* other : {"--image", "--example", "--firmware", "--log", "--record"})
        replay->excludes(other);
    app.add_flag("--fast", options.Fast, "Without the recorded delays")->needs(replay);
    app.add_option("--link", options.Line.Link, "Make PATH a symbolic link to the terminal")
        ->type_name("PATH");
    app.add_option("--fault", faults, "Arm a fault, as the command fault does; may be given several times")
        ->type_name("RULE")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->excludes(replay);
    app.set_version_flag("--version", "zarn74sim " ZARN74_VERSION, "Print the version and exit");
    app.footer("Commands on standard input:\n" + clsSimConsole::Help() +
               "\nA fault meets every frame that it can, always, unless its rule says less. Examples:\n"
               "  zarn74sim --example --link reader\n"
               "  zarn74sim --fault \"no-answer command=B register=160 once\" --pace 19200\n");
}

int Main(int argc, char** argv) {
    ProgramOptions options;
    std::vector<std::string> faults;
    CLI::App app(
        "A simulated Zarn74 reader behind a pseudo-terminal. Prints the terminal's path, which a program "
        "opens\n"
        "like a serial port, and takes commands on standard input until quit, SIGINT or SIGTERM.",
        "zarn74sim");
    AddOptions(app, options, faults);
    try {
        app.parse(argc, argv);
        for (const std::string& text : faults) {
            std::string error;
            const auto rule = ParseSimFault(text, error);
            if (!rule) throw CLI::ValidationError("--fault", error);
            options.Faults.push_back(*rule);
        }
    } catch (const CLI::Success& success) {
        return app.exit(success);
    } catch (const CLI::ParseError& error) {
        Complain(std::string(error.what()) + " (zarn74sim --help tells more)");
        return ExitUsage;
    }
    FillStandardStreams();
    return Run(options);
}

}  // namespace

int main(int argc, char** argv) {
    return RunProgram("zarn74sim", [&] { return Main(argc, argv); });
}
