#include <signal.h>
#include <unistd.h>

#include <QEventLoop>
#include <array>

#include "PlatformFixture.h"
#include "platform/clsStopSignals.h"

namespace {

struct clsQtHostTest : clsPlatformTest {
    std::string ran;
    std::function<void()> Note(char c) {
        return [this, c] { ran += c; };
    }
};

TEST_F(clsQtHostTest, RunsWhatIsPostedAndDueInItsOrder) {
    std::function<void()> again = [&] { host.Post(again); };  // must not lock the loop
    host.StartTimer(30, Note('4'));
    host.StartTimer(10, Note('3'));
    host.StopTimer(host.StartTimer(10, Note('x')));
    host.Post(again);
    host.Post(Note('1'));
    host.Post(Note('2'));
    host.DoEvents();
    EXPECT_EQ(ran, "12");
    const std::uint32_t start = host.TickCount();
    EXPECT_TRUE(Until([&] { return ran.size() == 4; }));
    EXPECT_EQ(ran, "1234");
    EXPECT_GE(host.TickCount() - start, 25u);
}

TEST_F(clsQtHostTest, AWaitEndsWithTheFirstEventAndSleepRunsNothing) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    clsConnection watch;
    watch = host.WatchDescriptor(ends[0], [&] {
        ran += 'd';
        char byte = 0;
        ASSERT_EQ(read(ends[0], &byte, 1), 1);
        if (byte == 'q') watch.Disconnect();
    });
    const std::uint32_t start = host.TickCount();
    ASSERT_EQ(write(ends[1], "xqz", 3), 3);
    host.Post(Note('p'));
    host.Sleep(20);
    EXPECT_EQ(ran, "");
    EXPECT_GE(host.TickCount() - start, 20u);
    while (ran.size() < 3) host.WaitEvents(5000);
    EXPECT_LT(host.TickCount() - start, 1000u);
    Idle(20);
    EXPECT_EQ(ran, "pdd");  // nobody watches any more
    close(ends[0]);
    close(ends[1]);
}

TEST_F(clsQtHostTest, WaitingBurnsNoProcessorTime) {
    (new QObject(&app))->deleteLater();  // waits for an outer loop that never comes
    host.StartTimer(60'000, Note('x'));
    EXPECT_LT(Idle(300), 15.0);
}

TEST_F(clsQtHostTest, WorksInsideTheProgramsOwnLoopAndInLoopsWithinWaits) {
    host.Post([&] {
        host.Post([&] {  // a dialog that a handler opens inside a wait: the host still serves its loop
            QEventLoop dialog;
            host.Post(Note('2'));
            host.StartTimer(5, [&] { dialog.quit(); });
            dialog.exec();
            ran += '3';
        });
        ran += '1';
        while (ran.size() < 3) host.WaitEvents(1000);
        host.Post(Note('4'));
        host.StartTimer(5, [] { QCoreApplication::quit(); });
    });
    host.StartTimer(5000, [] { QCoreApplication::exit(1); });
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_EQ(ran, "1234");
}

TEST_F(clsQtHostTest, AStopSignalIsAnEvent) {
    {
        const clsStopSignals stop(host, Note('s'));
        raise(SIGTERM);
        raise(SIGPIPE);
        EXPECT_TRUE(Until([&] { return !ran.empty(); }));
    }
    struct sigaction action {};
    sigaction(SIGINT, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
    EXPECT_EQ(ran, "s");
}

}  // namespace
