#include <asm/termbits.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <QEventLoop>
#include <cerrno>
#include <thread>
#include <utility>

#include "PlatformFixture.h"
#include "base/clsMemoryStore.h"
#include "qt/clsQtSerialControl.h"
#include "system/PortAccess.h"

namespace {

/// The far end of a line.
struct clsFarEnd {
    clsFarEnd() : fd(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) { unlockpt(fd); }
    ~clsFarEnd() { HangUp(); }
    void HangUp() { close(std::exchange(fd, -1)); }
    void Send(const std::string& bytes) const {
        ASSERT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    [[nodiscard]] std::string Receive() const {
        char bytes[256];
        return {bytes, static_cast<std::size_t>(std::max<ssize_t>(read(fd, bytes, sizeof bytes), 0))};
    }
    [[nodiscard]] termios2 Line() const {
        termios2 line{};
        ioctl(fd, TCGETS2, &line);
        return line;
    }
    int fd;
};

struct clsQtSerialControlTest : clsPlatformTest {
    clsQtSerialControlTest() {
        PortMap map;
        map.Lines = {{1, line}, {2, "/nowhere/tty"}};
        ports.SetMap(map);
        onComm = control.OnComm.Connect([this] {
            ++events;
            if (closeOnEvent) control.SetPortOpen(false);
            received += control.Input();
        });
        onLost = control.OnLost.Connect([this] { ++losses; });
        control.SetPortOpen(true);
    }
    /// The far end sends; the kernel has handed it over when this returns.
    void Send(const std::string& bytes) {
        far.Send(bytes);
        int waiting = 0;
        const std::uint32_t start = host.TickCount();
        while (ioctl(control.CommID(), FIONREAD, &waiting) == 0 && waiting < static_cast<int>(bytes.size()) &&
               host.TickCount() - start < 10'000)
            host.Sleep(1);
    }
    clsFarEnd far;
    std::string line = ptsname(far.fd);
    clsMemoryStore store;
    clsPortList ports{store};
    clsQtSerialControl control{host, ports, folder};
    clsConnection onComm, onLost;
    std::string received;
    int events = 0, losses = 0;
    bool closeOnEvent = false;
};

TEST_F(clsQtSerialControlTest, EveryRateIsReallySetAndRejectedSettingsLeaveTheFormerOnes) {
    ASSERT_TRUE(control.PortOpen()) << control.LastFailure().Text();
    for (const unsigned rate : {2400u, 14400u, 12345u}) {
        control.SetSettings(std::to_string(rate) + ",n,8,2");
        EXPECT_EQ(far.Line().c_ospeed, rate) << rate;
    }
    // The last one is good, but a pseudo-terminal has no parity.
    for (const char* bad : {"0,N,8,1", "9600,Q,8,1", "9600,N,9,1", "9600,N,8", "2400,E,8,1"}) {
        control.SetSettings(bad);
        EXPECT_EQ(control.Settings(), "12345,N,8,2") << bad;
        EXPECT_EQ(far.Line().c_ospeed, 12345u) << bad;
    }
    control.SetPortOpen(false);
    EXPECT_EQ(far.Line().c_ospeed, 38400u) << "as it was found";
    EXPECT_NE(far.Line().c_lflag & ICANON, 0u);
    control.SetPortOpen(true);
    EXPECT_EQ(far.Line().c_ospeed, 12345u);
    EXPECT_EQ(far.Line().c_cflag & (CSIZE | CRTSCTS), static_cast<unsigned>(CS8));
}

TEST_F(clsQtSerialControlTest, BytesGoOutAtOnceAndComeInThroughTheLoop) {
    const std::string all("\x02\x00\x11\x13\r\n\x04\xFF", 8);
    control.Output(all);
    EXPECT_EQ(far.Receive(), all);
    Send("late");
    control.SetInBufferCount(0);
    Send(all);
    EXPECT_EQ(control.InBufferCount(), 8) << "what the kernel holds counts, and went with the rest";
    EXPECT_EQ(events, 0);
    ASSERT_TRUE(Until([&] { return events > 0; }));
    EXPECT_EQ(received, all);
    EXPECT_EQ(control.CommEvent(), CommEventReceive);

    control.SetNullDiscard(true);
    control.SetInputLen(2);
    Send(std::string("\0abc", 4));
    ASSERT_TRUE(Until([&] { return events > 1; }));
    EXPECT_EQ(received, all + "ab");
    closeOnEvent = true;
    Send("x");
    ASSERT_TRUE(Until([&] { return !control.PortOpen(); }));
    EXPECT_EQ(received, all + "ab");
    EXPECT_EQ(control.CommID(), -1);
}

TEST_F(clsQtSerialControlTest, AFloodInAnyRhythmArrivesWholeAndIsNoLoss) {
    std::string sent(1'000'000, '\0');
    for (std::size_t i = 0; i < sent.size(); ++i) sent[i] = static_cast<char>(i * 2'654'435'761U >> 24);
    QEventLoop loop;
    onComm = control.OnComm.Connect([&] {
        while (control.InBufferCount() > 0) received += control.Input();
        usleep(300);  // what a window does with them
        if (received.size() >= sent.size()) loop.quit();
    });
    onLost = control.OnLost.Connect([&] {
        ++losses;
        loop.quit();
    });
    const struct {
        std::size_t atOnce, piece;
        bool window;  // the loop of a window, or a wait
    } rows[] = {{52'000, 52'000, true}, {2'700, 16, true}, {52'000, 52'000, false}, {2'700, 16, false}};
    for (const auto& row : rows) {
        received.clear();
        std::thread sender([&, fd = far.fd] {
            for (std::size_t at = 0; at < sent.size();) {
                const std::size_t end = std::min(sent.size(), at + row.atOnce);
                while (at < end) {
                    const ssize_t taken = write(fd, sent.data() + at, std::min(end - at, row.piece));
                    if (taken <= 0) return;
                    at += static_cast<std::size_t>(taken);
                }
                usleep(200);
            }
        });
        if (row.window) {
            const auto timer = host.StartTimer(10'000, [&] { loop.quit(); });
            loop.exec();
            host.StopTimer(timer);
        } else {
            Until([&] { return received.size() >= sent.size() || losses > 0; });
        }
        if (received.size() < sent.size()) far.HangUp();  // the sender would wait for ever
        sender.join();
        ASSERT_EQ(losses, 0) << received.size() << " bytes, then lost; piece " << row.piece;
        EXPECT_TRUE(received == sent) << received.size() << " bytes; piece " << row.piece;
    }
}

TEST_F(clsQtSerialControlTest, WhatALineDoesNotTakeAtOnceFollowsInItsOrder) {
    std::string sent;
    for (int i = 0; sent.size() < 300'000; ++i) sent += std::to_string(i) + ",";
    control.Output(sent);
    const int waiting = control.OutBufferCount();
    EXPECT_GT(waiting, 200'000) << "the line took all: nothing is tried here";
    control.Output("end");
    fcntl(far.fd, F_SETFL, O_NONBLOCK);
    std::string read;
    EXPECT_TRUE(Until([&] {
        for (std::string piece = far.Receive(); !piece.empty(); piece = far.Receive()) read += piece;
        return read.ends_with("end");
    }));
    EXPECT_TRUE(read == sent + "end") << read.size() << " bytes";
    control.Output(sent);
    control.SetOutBufferCount(0);
    EXPECT_EQ(control.OutBufferCount(), 0);
    EXPECT_EQ(losses, 0);
}

TEST_F(clsQtSerialControlTest, ALineThatHangsUpIsLostOnceAndBurnsNothing) {
    far.HangUp();
    EXPECT_TRUE(Until([&] { return losses > 0; }));
    control.Output("x");
    EXPECT_EQ(control.InBufferCount(), 0);
    EXPECT_LT(Idle(200), 15.0);
    EXPECT_TRUE(control.PortOpen());
    EXPECT_EQ(losses, 1);
}

TEST_F(clsQtSerialControlTest, ALineThatCannotBeOpenedSaysWhyUnderEachOfItsNames) {
    const std::string self = "test_qt (process " + std::to_string(getpid()) + ")";
    const std::string lock = folder + "/LCK..pts_" + line.substr(line.rfind('/') + 1);
    std::ofstream(folder + "/regular");
    fs::create_symlink(line, folder + "/link");
    PortMap map;
    map.Lines = {{1, line},
                 {2, "/nowhere/tty"},
                 {3, "/dev/null"},
                 {4, folder + "/link"},
                 {5, "/dev/pts/../pts" + line.substr(8)},
                 {6, folder + "/regular"}};
    ports.SetMap(map);
    clsQtSerialControl second(host, ports, folder);
    const struct {
        int number;
        std::string said;
    } rows[] = {
        {1, "in use by another program: " + self + "; close that program"},
        {2, "/nowhere/tty is not there; plug it in"},
        {3, "/dev/null cannot be opened: Inappropriate ioctl for device"},
        {4, "in use by another program: " + self + "; close that program"},
        {5, "in use by another program: " + self + "; close that program"},
        {6, folder + "/regular cannot be opened: Inappropriate ioctl for device"},
    };
    for (const auto& row : rows) {
        EXPECT_TRUE(second.SetCommPort(row.number));
        second.SetPortOpen(true);
        EXPECT_FALSE(second.PortOpen()) << row.number;
        EXPECT_EQ(second.LastFailure().Text(), row.said) << row.number;
    }
    EXPECT_FALSE(second.SetCommPort(9));
    EXPECT_TRUE(control.SetCommPort(2));  // the open line stays what it is
    control.Output("x");
    EXPECT_EQ(far.Receive(), "x");
    int exclusive = 0;  // root alone could open it even so
    EXPECT_EQ(ioctl(control.CommID(), TIOCGEXCL, &exclusive), 0);
    EXPECT_EQ(exclusive, 1);

    // Without a lock file the lock on the node keeps others off; with one, its program.
    fs::remove(lock);
    second.SetCommPort(4);
    second.SetPortOpen(true);
    EXPECT_EQ(second.LastFailure().Obstacle, PortObstacle::InUse);
    control.SetPortOpen(false);
    const std::string me = std::to_string(getpid());
    const struct {
        std::string file;
        bool opens;
        std::string said;
    } locks[] = {
        {"      1\n", false,
         "refused by the lock file " + lock + ": " + PortAccess::ProgramName(1) +
             " (process 1) made it; close that program"},
        {"2147483647\nx\nelsewhere\n", false,
         "refused by the lock file " + lock + ": x (process 2147483647) made it; close that program"},
        {"", false, "refused by the lock file " + lock + "; close that program"},
        {"2147483647\n", true, ""},
        {me + "\nanother\n", true, ""},  // its number has been given away since
    };
    for (const auto& row : locks) {
        std::ofstream(lock) << row.file;
        second.SetPortOpen(true);
        EXPECT_EQ(second.PortOpen(), row.opens) << row.file;
        EXPECT_EQ(second.LastFailure().Text(), row.said);
        second.SetPortOpen(false);
        EXPECT_EQ(fs::exists(lock), !row.opens) << row.file;
    }
}

}  // namespace
