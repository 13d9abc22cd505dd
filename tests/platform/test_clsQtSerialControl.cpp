#include <asm/termbits.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "PlatformFixture.h"
#include "base/clsMemoryStore.h"
#include "platform/clsQtSerialControl.h"

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
        map.Lines = {{1, ptsname(far.fd)}, {2, "/nowhere/tty"}, {3, "/dev/null"}};
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
    clsMemoryStore store;
    clsPortList ports{store};
    clsQtSerialControl control{host, ports};
    clsConnection onComm, onLost;
    std::string received;
    int events = 0, losses = 0;
    bool closeOnEvent = false;
};

TEST_F(clsQtSerialControlTest, EveryRateIsReallySetAndRejectedSettingsLeaveTheFormerOnes) {
    ASSERT_TRUE(control.PortOpen()) << control.LastError();
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

TEST_F(clsQtSerialControlTest, ALineThatHangsUpIsLostOnceAndBurnsNothing) {
    far.HangUp();
    EXPECT_TRUE(Until([&] { return losses > 0; }));
    control.Output("x");
    EXPECT_EQ(control.InBufferCount(), 0);
    EXPECT_LT(Idle(200), 15.0);
    EXPECT_TRUE(control.PortOpen());
    EXPECT_EQ(losses, 1);
}

TEST_F(clsQtSerialControlTest, ALineThatCannotBeOpenedSaysWhy) {
    clsQtSerialControl second(host, ports);
    for (const auto& [number, error] : {std::pair(1, EBUSY), {2, ENOENT}, {3, ENOTTY}}) {
        EXPECT_TRUE(second.SetCommPort(number));
        second.SetPortOpen(true);
        EXPECT_FALSE(second.PortOpen()) << number;
        EXPECT_EQ(second.LastError(), std::strerror(error)) << number;
    }
    EXPECT_FALSE(second.SetCommPort(9));
    EXPECT_TRUE(control.SetCommPort(2));  // the open line stays what it is
    control.Output("x");
    EXPECT_EQ(far.Receive(), "x");
}

}  // namespace
