// The program itself, over a real pseudo-terminal: what only the kernel can show.

#include <asm/termbits.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "sim/WireText.h"

namespace {

namespace fs = std::filesystem;
constexpr int patience = 5000;  // ms; nothing here takes that long on a healthy machine

/// What arrives at the descriptor until it ends with `end` or nothing more comes for `ms`.
std::string ReadUntil(int fd, std::string_view end, std::size_t most = 1U << 20, int ms = patience) {
    std::string text;
    std::array<char, 4096> buffer{};
    while (text.size() < most && (end.empty() || !text.ends_with(end))) {
        pollfd ready{fd, POLLIN, 0};
        if (poll(&ready, 1, ms) != 1) break;
        const ssize_t count = read(fd, buffer.data(), end == "\n" ? 1 : std::min(buffer.size(), most));
        if (count <= 0) break;
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return text;
}

/// A run of zarn74sim with pipes on its standard streams. Killed when destroyed.
class clsRun {
  public:
    explicit clsRun(std::vector<std::string> arguments, const std::function<void()>& prepare = {}) {
        std::array<int, 2> in{}, out{}, error{};
        if (pipe(in.data()) != 0 || pipe(out.data()) != 0 || pipe(error.data()) != 0) abort();
        arguments.insert(arguments.begin(), ZARN74SIM);
        std::vector<char*> pointers;
        pointers.reserve(arguments.size() + 1);
        for (std::string& argument : arguments) pointers.push_back(argument.data());
        pointers.push_back(nullptr);
        m_pid = fork();
        if (m_pid == 0) {
            dup2(in[0], 0);
            dup2(out[1], 1);
            dup2(error[1], 2);
            for (const int fd : {in[0], in[1], out[0], out[1], error[0], error[1]}) close(fd);
            if (prepare) prepare();
            execv(pointers[0], pointers.data());
            _exit(127);
        }
        for (const int fd : {in[0], out[1], error[1]}) close(fd);
        m_in = in[1];
        Out = out[0];
        Error = error[0];
    }
    clsRun(const clsRun&) = delete;
    clsRun& operator=(const clsRun&) = delete;
    ~clsRun() {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
        CloseInput();
        close(Out);
        close(Error);
    }

    std::string Line() const {
        std::string line = ReadUntil(Out, "\n");
        if (!line.empty()) line.pop_back();
        return line;
    }
    /// The first line of the answer to a command.
    std::string Command(const std::string& text) const {
        const std::string line = text + "\n";
        EXPECT_EQ(write(m_in, line.data(), line.size()), static_cast<ssize_t>(line.size()));
        return Line();
    }
    void CloseInput() { close(std::exchange(m_in, -1)); }
    void Signal(int number) const { kill(m_pid, number); }
    /// The exit code; -1 when it had to be killed or died of a signal.
    int Wait() {
        int status = -1;
        for (int ms = 0; ms < patience; ++ms) {
            if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
                m_pid = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            }
            usleep(1000);
        }
        return -1;
    }
    /// ms of processor time so far.
    long CpuTime() const {
        std::ifstream stat("/proc/" + std::to_string(m_pid) + "/stat");
        std::vector<std::string> fields(std::istream_iterator<std::string>(stat), {});
        return (std::stol(fields.at(13)) + std::stol(fields.at(14))) * 1000 / sysconf(_SC_CLK_TCK);
    }

    int Out = -1;
    int Error = -1;

  private:
    pid_t m_pid = -1;
    int m_in = -1;
};

/// A program that has the terminal open.
class clsClient {
  public:
    explicit clsClient(const std::string& path) : m_fd(open(path.c_str(), O_RDWR | O_NOCTTY)) {
        EXPECT_GE(m_fd, 0) << path;
    }
    clsClient(const clsClient&) = delete;
    clsClient& operator=(const clsClient&) = delete;
    ~clsClient() { close(m_fd); }

    void Send(std::string_view frames) const {
        const std::string bytes = Wire(frames);
        EXPECT_EQ(write(m_fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    std::string Ask(std::string_view frames, int ms = patience) const {
        Send(frames);
        return Unwire(ReadUntil(m_fd, "\r", 1U << 20, ms));
    }
    void SetSpeed(unsigned speed) const {
        termios2 settings{};
        ioctl(m_fd, TCGETS2, &settings);
        settings.c_cflag = (settings.c_cflag & ~static_cast<tcflag_t>(CBAUD)) | BOTHER;
        settings.c_ispeed = settings.c_ospeed = speed;
        EXPECT_EQ(ioctl(m_fd, TCSETS2, &settings), 0);
    }
    [[nodiscard]] int Descriptor() const { return m_fd; }

  private:
    int m_fd;
};

/// A folder of its own for each test, gone with it.
class Zarn74sim : public testing::Test {
  public:
    Zarn74sim() {
        std::string pattern = (fs::temp_directory_path() / "zarn74sim.XXXXXX").string();
        Folder = mkdtemp(pattern.data());
    }
    ~Zarn74sim() override { fs::remove_all(Folder); }

  protected:
    std::string File(const char* name) const { return (Folder / name).string(); }
    static std::string Text(const std::string& name) {
        std::ifstream file(name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    fs::path Folder;
};

TEST_F(Zarn74sim, AnswersOverItsTerminalAndSavesEachWriteBeforeItAnswers) {
    const std::string image = File("image"), log = File("log");
    clsRun run({"--image", image, "--log", log, "--fault", "no-answer command=D once"});
    const std::string path = run.Line();
    EXPECT_EQ(Text(image), std::string(512, '\xff'));
    const clsClient client(path);
    EXPECT_EQ(client.Ask("[V]"), "[AV1.02R007,FWQ-K4436]");
    EXPECT_EQ(client.Ask("[C05,0135]"), "[A]");
    EXPECT_EQ(Text(image)[5], '\x01');
    client.Send("[Y]");
    EXPECT_EQ(ReadUntil(client.Descriptor(), "", 512), Text(image));
    EXPECT_EQ(run.Command("set 0x1FF 7"), "511 (0x1FF) = 7 (0x07)");
    EXPECT_EQ(Text(image)[511], '\x07');
    EXPECT_EQ(run.Command("card ultralight 04526af13b2c80"), "card 3 04526AF13B2C80");
    EXPECT_EQ(client.Ask("[J]"), "[A03,04526AF13B2C80]");
    EXPECT_EQ(run.Command("type 04A1\\x7E\\r"), "typed 6 bytes");
    EXPECT_EQ(ReadUntil(client.Descriptor(), "\r"), "04A1~\r");
    EXPECT_EQ(client.Ask("[C05][D][J]"), "[A03,04526AF13B2C80]");
    EXPECT_EQ(run.Command("faults"), "fault no-answer command=D count=1 fired=1");
    EXPECT_EQ(run.Command("quit"), "quit");
    EXPECT_EQ(run.Wait(), 0);
    EXPECT_EQ(ReadUntil(run.Error, ""), "");

    std::ifstream lines(log);
    std::string seen;
    double last = 0;
    for (std::string line; std::getline(lines, line);) {
        const auto entry = nlohmann::json::parse(line);
        ASSERT_EQ(entry.size(), 4U) << line;
        EXPECT_GE(entry.at("t").get<double>(), last);
        last = entry.at("t").get<double>();
        EXPECT_EQ(entry.at("hex").get<std::string>().size() % 2, 0U);
        const std::string text = Unwire(entry.at("text").get<std::string>());
        seen += entry.at("dir").get<std::string>() + (text.size() < 100 ? text : "(image)");
    }
    EXPECT_EQ(seen,
              "rx[V]tx[AV1.02R007,FWQ-K4436]rx[C05,0135]tx[A]rx[Y]tx(image)rx[J]tx[A03,04526AF13B2C80]"
              "tx04A1~]rx[C05]rx[D]rx[J]tx[A03,04526AF13B2C80]");
    EXPECT_LT(last, 60);
}

TEST_F(Zarn74sim, HangsUpWhenUnpluggedAndComesBackOnANewTerminal) {
    const std::string link = File("reader");
    fs::create_symlink("/dev/pts/99999", link);
    clsRun run({"--link", link});
    run.Line();
    const clsClient former(link);
    EXPECT_EQ(former.Ask("[J]"), "[AFF]");
    EXPECT_EQ(run.Command("unplug"), "unplugged");
    EXPECT_EQ(ReadUntil(former.Descriptor(), "x"), "") << "hung up";
    EXPECT_FALSE(fs::is_symlink(link));
    run.Command("set 209 7");
    const std::string path = run.Command("replug");
    EXPECT_EQ(fs::read_symlink(link), path);
    {
        const clsClient client(link);
        EXPECT_EQ(client.Ask("[J]", 200), "") << "the new line speed counts from now on";
        client.SetSpeed(14400);
        EXPECT_EQ(client.Ask("[J]"), "[AFF]");
        client.Send("[V");  // half a frame, and an answer that nobody takes
        client.Send("[D]");
        pollfd answered{client.Descriptor(), POLLIN, 0};
        EXPECT_EQ(poll(&answered, 1, patience), 1);
    }
    run.Command("type nobody listens");
    const clsClient next(link);
    EXPECT_EQ(next.Ask("[J]"), "[AFF]");
    run.CloseInput();
    EXPECT_EQ(next.Ask("[J]"), "[AFF]") << "the end of its input does not end it";
    run.Signal(SIGTERM);
    EXPECT_EQ(run.Wait(), 0);
    EXPECT_FALSE(fs::is_symlink(link));
}

// The quickest of many exchanges: a busy machine disturbs some of them, hardly all.
TEST_F(Zarn74sim, KeepsThePaceOfTheLineWithoutBurningTheProcessor) {
    clsRun run({"--pace", "19200", "--only-baud", "14400"});
    const clsClient client(run.Line());
    client.SetSpeed(14401);
    EXPECT_EQ(client.Ask("[J]", 200), "");
    client.SetSpeed(14400);
    using Seconds = std::chrono::duration<double>;
    constexpr double wire = 120 / 19200.0;
    double best = 1;
    const long before = run.CpuTime();
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 400 && (i < 50 || best > wire * 1.05); ++i) {
        const auto start = std::chrono::steady_clock::now();
        ASSERT_EQ(client.Ask("[B05]"), "[AFFCD]");
        best = std::min(best, Seconds(std::chrono::steady_clock::now() - start).count());
    }
    EXPECT_GT(best, wire * 0.95);
    EXPECT_LT(best, wire * 1.1);
    const Seconds all = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(static_cast<double>(run.CpuTime() - before), 300 * all.count() + 20);
}

TEST_F(Zarn74sim, StaysCalmUnderAFloodAndWithoutListeners) {
    clsRun run({"--pace", "4000000"});
    const std::string path = run.Line();
    {
        const clsClient client(path);
        fcntl(client.Descriptor(), F_SETFL, O_NONBLOCK);
        const std::string flood(4096, '\x02');
        for (int i = 0; i < 200; ++i) {
            if (write(client.Descriptor(), flood.data(), flood.size()) < 0) usleep(1000);
        }
        EXPECT_EQ(run.Command("get 5"), "5 (0x5) = 255 (0xFF)");
    }
    // a program that has it as its controlling terminal, and ends
    if (const pid_t leader = fork(); leader == 0) {
        setsid();
        const int fd = open(path.c_str(), O_RDWR);
        _exit(fd >= 0 && ioctl(fd, TIOCSCTTY, 0) == 0 ? 0 : 1);
    } else {
        int status = -1;
        waitpid(leader, &status, 0);
        EXPECT_EQ(status, 0);
    }
    usleep(300'000);
    const long before = run.CpuTime();
    usleep(1'000'000);
    EXPECT_LE(run.CpuTime() - before, 10);
    const clsClient client(path);
    EXPECT_EQ(client.Ask("[J]"), "[AFF]");
}

TEST_F(Zarn74sim, LeavesTheImageWholeWhenItCannotBeSaved) {
    const std::string image = File("image");
    clsRun run({"--image", image, "--example"}, [] {
        const rlimit limit{100, 100};
        signal(SIGXFSZ, SIG_DFL);
        setrlimit(RLIMIT_FSIZE, &limit);
    });
    EXPECT_EQ(run.Wait(), 1);
    EXPECT_EQ(ReadUntil(run.Error, "\n"), "zarn74sim: cannot write the memory image " + image + "\n");
    EXPECT_TRUE(fs::is_empty(Folder)) << "nothing is left beside it";

    const std::string whole(512, '\xff');
    std::ofstream(image) << whole;
    clsRun full({"--image", image}, [] {
        const rlimit limit{100, 100};
        setrlimit(RLIMIT_FSIZE, &limit);
    });
    const clsClient client(full.Line());
    EXPECT_EQ(client.Ask("[B80]"), "[AFFCD]");
    EXPECT_EQ(client.Ask("[C80,0037]"), "[A]");
    EXPECT_EQ(Text(image), whole);
    full.Signal(SIGINT);
    EXPECT_EQ(full.Wait(), 1);
    EXPECT_EQ(std::distance(fs::directory_iterator(Folder), {}), 1);
}

TEST_F(Zarn74sim, SaysInOneLineWhatIsWrong) {
    std::ofstream(File("short")) << "x";
    const struct {
        std::vector<std::string> Arguments;
        int Exit;
        const char* Text;
    } rows[] = {
        {{"--pace", "0"}, 2, "--pace: "},
        {{"--pace", "fast"}, 2, "--pace"},
        {{"--bogus"}, 2, "--bogus"},
        {{"extra"}, 2, "extra"},
        {{"--fault", "no-anser"}, 2, "unknown fault \"no-anser\""},
        {{"--image", File("short")}, 1, "a memory image has 512 bytes"},
        {{"--link", File("short")}, 1, "exists and is no link to a terminal"},
        {{"--log", Folder.string()}, 1, "cannot write the log"},
    };
    for (const auto& row : rows) {
        clsRun run(row.Arguments);
        EXPECT_EQ(run.Wait(), row.Exit) << row.Arguments[0];
        const std::string error = ReadUntil(run.Error, "");
        EXPECT_NE(error.find(row.Text), std::string::npos) << error;
        EXPECT_EQ(std::count(error.begin(), error.end(), '\n'), 1) << error;
        EXPECT_EQ(ReadUntil(run.Out, ""), "");
    }
    EXPECT_EQ(Text(File("short")), "x");

    clsRun run({});
    run.Line();
    for (const std::string line : {"frobnicate", "get 512", "set 5", "set 5 256", "card 1", "card 9x 00",
                                   "card 1 0G", "type", "type \\q", "type \\x4", "fault", "fault no-anser"}) {
        EXPECT_EQ(run.Command(line + "\nget 0"), "0 (0x0) = 255 (0xFF)") << line;
        EXPECT_TRUE(ReadUntil(run.Error, "\n").starts_with("zarn74sim: ")) << line;
    }
    EXPECT_TRUE(run.Command("help").starts_with("  card TYPE SERIAL"));
}

}  // namespace
