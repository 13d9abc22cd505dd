#include <asm/termbits.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "PlatformFixture.h"
#include "base/clsMemoryStore.h"
#include "platform/clsQtSerialControl.h"

namespace {

/// The far end of a line.
struct clsFarEnd {
    clsFarEnd() : fd(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        grantpt(fd);
        unlockpt(fd);
        device = ptsname(fd);
    }
    ~clsFarEnd() { HangUp(); }
    void HangUp() {
        if (fd >= 0) close(fd);
        fd = -1;
    }
    void Send(const std::string& bytes) const {
        ASSERT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        usleep(20'000);  // the kernel hands them over in its own time
    }
    [[nodiscard]] std::string Receive() const {
        char bytes[256];
        const ssize_t count = read(fd, bytes, sizeof bytes);
        return {bytes, static_cast<std::size_t>(count < 0 ? 0 : count)};
    }
    [[nodiscard]] termios2 Line() const {
        termios2 line{};
        ioctl(fd, TCGETS2, &line);
        return line;
    }
    int fd;
    std::string device;
};

struct clsQtSerialControlTest : clsPlatformTest {
    clsQtSerialControlTest() {
        Map({{1, far.device}, {2, "/nowhere/tty"}, {3, "/dev/null"}});
        onComm = control.OnComm.Connect([this] {
            ++events;
            if (closeOnEvent) control.SetPortOpen(false);
            received += control.Input();
        });
        onLost = control.OnLost.Connect([this] { ++losses; });
    }
    void Map(const std::map<int, std::string>& lines) {
        PortMap map;
        map.Lines = lines;
        ports.SetMap(map);
    }
    clsFarEnd far;
    clsMemoryStore store;
    clsPortList ports{store};
    clsQtSerialControl control{host, ports};
    clsConnection onComm;
    clsConnection onLost;
    std::string received;
    int events = 0;
    int losses = 0;
    bool closeOnEvent = false;
};

TEST_F(clsQtSerialControlTest, EveryRateIsReallySetAndTheLineIsRaw) {
    control.SetSettings("14400,N,8,1");
    control.SetPortOpen(true);
    ASSERT_TRUE(control.PortOpen()) << control.LastError();
    for (const unsigned rate : {14400u, 2400u, 4800u, 9600u, 19200u, 14400u, 12345u}) {
        control.SetSettings(std::to_string(rate) + ",N,8,1");
        const termios2 line = far.Line();
        EXPECT_EQ(line.c_ospeed, rate);
        EXPECT_EQ(line.c_lflag & (ICANON | ECHO | ISIG), 0u);
        EXPECT_EQ(line.c_oflag & OPOST, 0u);
        EXPECT_EQ(line.c_iflag & (IXON | IXOFF | ICRNL | ISTRIP), 0u);
        EXPECT_EQ(line.c_cflag & (CSIZE | CRTSCTS), static_cast<unsigned>(CS8));
    }
}

TEST_F(clsQtSerialControlTest, RejectedSettingsLeaveTheFormerOnes) {
    for (const bool open : {false, true}) {
        control.SetSettings("9600,n,8,2");
        control.SetPortOpen(open);
        for (const char* bad : {"0,N,8,1", "-1,N,8,1", "x,N,8,1", "9600,Q,8,1", "9600,N,9,1", "9600,N,4,1",
                                "9600,N,8,3", "9600,N,8", "", "9600,N,8,1,1"}) {
            control.SetSettings(bad);
            EXPECT_EQ(control.Settings(), "9600,N,8,2") << bad;
        }
    }
    control.SetSettings("2400,E,8,1");  // a pseudo-terminal has no parity
    EXPECT_EQ(control.Settings(), "9600,N,8,2");
    EXPECT_EQ(far.Line().c_ospeed, 9600u);
}

TEST_F(clsQtSerialControlTest, BytesGoOutAtOnceAndComeInThroughTheLoop) {
    control.SetPortOpen(true);
    const std::string all("\x02\x00\x11\x13\r\n\x04\xFF", 8);
    control.Output(all);
    EXPECT_EQ(far.Receive(), all);
    far.Send(all);
    EXPECT_EQ(events, 0);
    ASSERT_TRUE(Until([&] { return events > 0; }));
    EXPECT_EQ(received, all);
    EXPECT_EQ(control.CommEvent(), CommEventReceive);

    control.SetNullDiscard(true);
    control.SetInputLen(2);
    far.Send(std::string("\0abc", 4));
    ASSERT_TRUE(Until([&] { return events > 1; }));
    EXPECT_EQ(received, all + "ab");
    EXPECT_EQ(control.InBufferCount(), 1);
}

TEST_F(clsQtSerialControlTest, WhatTheKernelHoldsCountsAndIsDroppedWithTheRest) {
    control.SetPortOpen(true);
    far.Send("early");
    EXPECT_EQ(control.InBufferCount(), 5);
    far.Send("late");
    control.SetInBufferCount(0);
    EXPECT_EQ(control.InBufferCount(), 0);
    far.Send("now");
    EXPECT_EQ(control.InBufferCount(), 3);
    ASSERT_TRUE(Until([&] { return events > 0; }));  // also what was pulled in is announced
    EXPECT_EQ(received, "now");

    far.Send("stale");
    control.SetPortOpen(false);
    EXPECT_EQ(control.InBufferCount(), 0);
    control.SetPortOpen(true);
    EXPECT_EQ(control.InBufferCount(), 0);
}

TEST_F(clsQtSerialControlTest, AHandlerMayCloseTheLine) {
    control.SetPortOpen(true);
    closeOnEvent = true;
    far.Send("x");
    ASSERT_TRUE(Until([&] { return events > 0; }));
    EXPECT_FALSE(control.PortOpen());
    EXPECT_EQ(received, "");
    control.Output("nobody hears this");
    EXPECT_EQ(control.CommID(), -1);
}

TEST_F(clsQtSerialControlTest, ALineThatHangsUpIsLostOnceAndBurnsNothing) {
    control.SetPortOpen(true);
    far.HangUp();
    const double used = ProcessorTime([&] {
        EXPECT_TRUE(Until([&] { return losses > 0; }));
        for (int i = 0; i < 10; ++i) host.WaitEvents(20);
        control.Output("x");
        EXPECT_EQ(control.InBufferCount(), 0);
        for (int i = 0; i < 5; ++i) host.WaitEvents(20);
    });
    EXPECT_LT(used, 20.0);
    EXPECT_EQ(losses, 1);
    EXPECT_TRUE(control.PortOpen());
    control.SetPortOpen(false);

    const clsFarEnd next;
    Map({{1, next.device}});
    control.SetPortOpen(true);
    EXPECT_TRUE(control.PortOpen()) << control.LastError();
    next.Send("again");
    ASSERT_TRUE(Until([&] { return !received.empty(); }));
    EXPECT_EQ(losses, 1);
}

TEST_F(clsQtSerialControlTest, ALineThatCannotBeOpenedSaysWhy) {
    clsQtSerialControl second(host, ports);
    second.SetPortOpen(true);
    ASSERT_TRUE(second.PortOpen());
    const struct {
        int number;
        int error;
    } rows[] = {{1, EBUSY}, {2, ENOENT}, {3, ENOTTY}};
    for (const auto& row : rows) {
        EXPECT_TRUE(control.SetCommPort(row.number));
        control.SetPortOpen(true);
        EXPECT_FALSE(control.PortOpen());
        EXPECT_EQ(control.LastError(), std::strerror(row.error)) << row.number;
    }
    EXPECT_FALSE(control.SetCommPort(0));
    EXPECT_FALSE(control.SetCommPort(9));
    EXPECT_EQ(control.CommPort(), 3);

    second.SetPortOpen(false);
    control.SetCommPort(1);
    control.SetPortOpen(true);
    EXPECT_TRUE(control.PortOpen());
    EXPECT_EQ(control.LastError(), "");
    EXPECT_TRUE(control.SetCommPort(2));  // the open line stays what it is
    control.Output("x");
    EXPECT_EQ(far.Receive(), "x");
    EXPECT_EQ(control.NumberOfCommPorts(), 3);
    EXPECT_EQ(control.EnumCommPort(0) + control.EnumCommPort(2) + control.EnumCommPort(3), "COM1COM3");
}

}  // namespace
