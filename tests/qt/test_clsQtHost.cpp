#include <QEventLoop>
#include <QTimer>

#include "PlatformFixture.h"

namespace {

struct clsQtHostTest : clsPlatformTest {
    std::string ran;
    std::function<void()> Note(char c) {
        return [this, c] { ran += c; };
    }
};

TEST_F(clsQtHostTest, RunsWhatIsPostedAndDueInItsOrderAndWaitsWithoutWork) {
    std::function<void()> again = [&] { host.Post(again); };  // must not lock the loop
    const std::uint32_t start = host.TickCount();
    host.StartTimer(30, Note('4'));
    host.StartTimer(10, Note('3'));
    host.StopTimer(host.StartTimer(10, Note('x')));
    host.Post(again);
    host.Post(Note('1'));
    host.Post(Note('2'));
    host.Sleep(20);
    EXPECT_GE(host.TickCount() - start, 20u);
    EXPECT_EQ(ran, "") << "sleep runs nothing";
    host.DoEvents();
    EXPECT_EQ(ran.substr(0, 2), "12");
    EXPECT_TRUE(Until([&] { return ran.size() == 4; }));
    EXPECT_EQ(ran, "1234");
    EXPECT_GE(host.TickCount() - start, 25u);

    again = [] {};
    (new QObject(&app))->deleteLater();  // waits for an outer loop that never comes
    host.StartTimer(60'000, Note('x'));
    EXPECT_LT(Idle(300), 15.0);
}

TEST_F(clsQtHostTest, ServesTheLoopOfADialogThatAHandlerOpensInsideAWait) {
    host.Post([&] {
        host.Post([&] {
            QEventLoop dialog;
            host.Post(Note('2'));
            host.StartTimer(5, [&] { dialog.quit(); });
            dialog.exec();
            ran += '3';
        });
        ran += '1';
        while (ran.size() < 3) host.WaitEvents(1000);
        QCoreApplication::quit();
    });
    QTimer::singleShot(5000, [] { QCoreApplication::exit(1); });
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_EQ(ran, "123");
}

}  // namespace
