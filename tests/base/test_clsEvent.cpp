#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/clsEvent.h"
#include "base/clsHostTimer.h"
#include "support/clsVirtualHost.h"

TEST(clsEvent, AHandlerMayDisconnectItselfAndOthersAndConnectMore) {
    clsEvent<int> event;
    std::string seen;
    clsConnection first;
    clsConnection second;
    clsConnection late;
    first = event.Connect([&](int) {
        seen += 'a';
        first.Disconnect();
        second.Disconnect();
        late = event.Connect([&](int) { seen += 'c'; });
    });
    second = event.Connect([&](int) { seen += 'b'; });
    event.Raise(1);
    EXPECT_EQ(seen, "a");
    event.Raise(2);
    EXPECT_EQ(seen, "ac");
}

TEST(clsEvent, AHandlerMayRaiseAgainOrDestroyTheOwner) {
    auto owner = std::make_unique<clsEvent<int&>>();
    int depth = 0;
    const auto again = owner->Connect([&](int& left) {
        ++depth;
        if (left-- > 0) owner->Raise(left);
    });
    int left = 3;
    owner->Raise(left);
    EXPECT_EQ(depth, 4);

    const auto destroy = owner->Connect([&](int&) { owner.reset(); });
    int after = 0;
    const auto behind = owner->Connect([&](int&) { ++after; });
    left = 0;
    owner->Raise(left);
    EXPECT_EQ(owner, nullptr);
    EXPECT_EQ(after, 1);
}

TEST(clsHostTimer, TicksEveryIntervalUntilDisabledOrDestroyed) {
    clsVirtualHost host(0xFFFFFF00U);
    int ticks = 0;
    clsHostTimer timer(host, 100, [&] { ++ticks; });
    host.Run(500);
    EXPECT_EQ(ticks, 0);
    timer.SetEnabled(true);
    host.Run(60);
    timer.SetEnabled(true);  // enabling again changes nothing
    host.Run(45);
    EXPECT_EQ(ticks, 1);
    timer.Restart();
    host.Run(99);
    EXPECT_EQ(ticks, 1);
    host.Run(201);
    EXPECT_EQ(ticks, 4);
    timer.SetEnabled(false);
    host.Run(500);
    EXPECT_EQ(ticks, 4);

    std::unique_ptr<clsHostTimer> brief;
    brief = std::make_unique<clsHostTimer>(host, 10, [&] {
        ++ticks;
        brief.reset();  // a tick may destroy its timer
    });
    brief->SetEnabled(true);
    host.Run(100);
    EXPECT_EQ(ticks, 5);
}

TEST(clsVirtualHost, RefusesALoopThatNeverLetsTimePass) {
    clsVirtualHost host;
    EXPECT_THROW(while (true) host.DoEvents(), std::logic_error);
}
