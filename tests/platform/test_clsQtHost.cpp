#include <signal.h>
#include <unistd.h>

#include <QEventLoop>
#include <QTimer>
#include <array>
#include <string>

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
    host.StartTimer(30, Note('4'));
    host.StartTimer(10, Note('3'));
    host.StopTimer(host.StartTimer(10, Note('x')));
    host.Post(Note('1'));
    host.Post([this] {
        ran += '2';
        host.Post(Note('b'));  // the next turn's
    });
    const std::uint32_t start = host.TickCount();
    while (ran.size() < 5) host.WaitEvents(1000);
    EXPECT_EQ(ran, "12b34");
    EXPECT_GE(host.TickCount() - start, 25u);
    EXPECT_LT(host.TickCount() - start, 500u);
}

TEST_F(clsQtHostTest, AHandlerThatPostsItselfDoesNotLockTheLoop) {
    int turns = 0;
    std::function<void()> again = [&] {
        ++turns;
        host.Post(again);
    };
    host.Post(again);
    host.DoEvents();
    EXPECT_LE(turns, 2);
    host.WaitEvents(10);
    EXPECT_GE(turns, 2);
    EXPECT_LE(turns, 4);
}

TEST_F(clsQtHostTest, AWaitEndsWithTheFirstEventAndSleepRunsNothing) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    char byte = 0;
    clsConnection watch;
    watch = host.WatchDescriptor(ends[0], [&] {
        ran += 'd';
        ASSERT_EQ(read(ends[0], &byte, 1), 1);
        if (byte == 'q') watch.Disconnect();
    });
    const std::uint32_t start = host.TickCount();
    ASSERT_EQ(write(ends[1], "xq", 2), 2);
    host.Post(Note('p'));
    host.Sleep(20);
    EXPECT_EQ(ran, "");
    EXPECT_GE(host.TickCount() - start, 20u);
    while (ran.size() < 3) host.WaitEvents(5000);
    EXPECT_EQ(ran, "pdd");
    EXPECT_LT(host.TickCount() - start, 1000u);
    ASSERT_EQ(write(ends[1], "z", 1), 1);
    for (int i = 0; i < 5; ++i) host.WaitEvents(5);
    EXPECT_EQ(ran, "pdd");  // nobody watches any more
    close(ends[0]);
    close(ends[1]);
}

TEST_F(clsQtHostTest, WaitingBurnsNoProcessorTime) {
    (new QObject(&app))->deleteLater();  // waits for an outer loop that never comes
    host.StartTimer(60'000, Note('x'));
    const std::uint32_t start = host.TickCount();
    const double used = ProcessorTime([&] {
        while (host.TickCount() - start < 300)
            host.WaitEvents(static_cast<int>(300 - (host.TickCount() - start)));
    });
    EXPECT_LT(used, 15.0);
    EXPECT_LT(host.TickCount() - start, 400u);
}

TEST_F(clsQtHostTest, WorksInsideTheProgramsOwnLoopAndInLoopsWithinWaits) {
    QTimer::singleShot(0, [&] {
        host.Post([&] {
            ran += '1';
            // A dialog that a handler opens inside a wait: the host still serves its loop.
            host.Post([&] {
                QEventLoop dialog;
                host.Post(Note('3'));
                host.StartTimer(5, [&] {
                    ran += '4';
                    dialog.quit();
                });
                dialog.exec();
                ran += '5';
            });
            ran += '2';
            while (ran.find('5') == std::string::npos) host.WaitEvents(1000);
            host.Post([&] {
                ran += '6';
                host.StartTimer(5, [&] { QCoreApplication::quit(); });
            });
        });
    });
    QTimer::singleShot(5000, &app, [] { QCoreApplication::exit(1); });
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_EQ(ran, "123456");
}

TEST_F(clsQtHostTest, TheFirstStopSignalIsAnEvent) {
    {
        const clsStopSignals stop(host, Note('s'));
        raise(SIGTERM);
        EXPECT_EQ(ran, "");
        ASSERT_TRUE(Until([&] { return !ran.empty(); }));
        EXPECT_EQ(ran, "s");
        EXPECT_EQ(raise(SIGPIPE), 0);
    }
    struct sigaction action {};
    sigaction(SIGINT, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}

TEST_F(clsQtHostTest, TheSecondStopSignalEndsTheProcessAtOnce) {
    EXPECT_EXIT(
        {
            const clsStopSignals stop(host, [] {});
            raise(SIGINT);
            host.DoEvents();
            raise(SIGINT);
        },
        testing::ExitedWithCode(130), "");
}

}  // namespace
