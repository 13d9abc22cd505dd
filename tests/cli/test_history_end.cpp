#include "CliFixture.h"
#include "cli/CliOptions.h"

namespace {

// Another program has the history for itself while a command ends.
TEST_F(clsCliTest, ACommandEndsWhenItsHistoryIsKeptOrSaysWhatIsLost) {
    const std::string waits =
        "the history is locked by another program: waiting up to 30 s, Ctrl-C ends that";
    const std::string lost = "lost for the history, which another program keeps locked: ";
    const std::string some = "interrupted; what was written so far is in the reader";
    constexpr int never = 99'000;
    const struct {
        std::size_t Waiting;
        int Free;   // ms of the wait; the lock
        int Stop;   // Ctrl-C; before the wait: 0
        int Lasts;  // the wait
        Texts Said;
    } rows[] = {{0, never, never, 0, {}},
                {1, 900, never, 900, {}},
                {1, 12'000, never, 12'000, {waits}},
                {1, never, never, 30'000, {waits, lost + "1 event"}},
                {3, never, never, 30'000, {waits, lost + "3 events"}},
                {1, never, 4000, 4000, {waits, lost + "1 event"}},
                {1, never, 300, 300, {lost + "1 event"}},
                {1, 500, 0, 500, {"SetRegister NG", some, waits}},
                {1, never, 0, 30'000, {"SetRegister NG", some, waits, lost + "1 event"}}};
    for (const auto& row : rows) {
        history.Unsettled = row.Waiting;
        std::uint32_t begun = 0;
        std::vector<clsIHost::TimerId> timers;
        history.AtEnd = [&] {
            begun = host.TickCount();
            timers.push_back(host.StartTimer(row.Free, [this] { history.Unsettled = 0; }));
            if (row.Stop > 0) timers.push_back(host.StartTimer(row.Stop, [this] { cli.Stop(); }));
        };
        reader.ClearFaults();
        if (row.Stop == 0) reader.AddFault({SimFault::NoAnswer, 'C'});
        if (row.Stop == 0) host.StartTimer(1, [this] { cli.Stop(); });
        EXPECT_EQ(Run("--quiet --port COM1 --baud 19200 set 5 7"),
                  row.Stop == 0 ? ExitInterrupted : ExitDone);
        EXPECT_EQ(host.TickCount() - begun, row.Lasts);
        EXPECT_EQ(Messages(), row.Said) << row.Lasts;
        for (const auto timer : timers) host.StopTimer(timer);
    }
    reader.ClearFaults();
    // Whoever reads what it prints has gone: nobody has asked for an end of that.
    history.Unsettled = 1;
    history.AtEnd = [this] {
        host.StartTimer(400, [this] { cli.OutputClosed(); });
        host.StartTimer(2000, [this] { history.Unsettled = 0; });
    };
    Run("--quiet --port COM1 --baud 19200 set 5 7");
    EXPECT_EQ(Messages(), Texts{waits});
}

}  // namespace
