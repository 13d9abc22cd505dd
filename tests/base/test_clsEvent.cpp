#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/clsEvent.h"
#include "base/clsHostTimer.h"
#include "support/clsVirtualHost.h"

TEST(clsEvent, AHandlerMayDisconnectItselfAndOthersConnectMoreAndRaiseAgain) {
    clsEvent<> event;
    std::string seen;
    clsConnection second;
    clsConnection late;
    clsConnection first = event.Connect([&] {
        seen += 'a';
        first.Disconnect();
        second.Disconnect();
        late = event.Connect([&] { seen += 'c'; });
        if (seen == "a") event.Raise();
        seen += 'd';
    });
    second = event.Connect([&] { seen += 'b'; });
    event.Raise();
    EXPECT_EQ(seen, "acd");
    event.Raise();
    EXPECT_EQ(seen, "acdc");
}

TEST(clsEvent, AHandlerMayDestroyTheOwner) {
    auto owner = std::make_unique<clsEvent<>>();
    bool after = false;
    const auto destroy = owner->Connect([&] { owner.reset(); });
    const auto behind = owner->Connect([&] { after = true; });
    owner->Raise();
    EXPECT_TRUE(after);
}

TEST(clsHostTimer, TicksEveryIntervalUntilDisabledOrDestroyed) {
    clsVirtualHost host;
    int ticks = 0;
    bool destroy = false;
    std::unique_ptr<clsHostTimer> timer;
    timer = std::make_unique<clsHostTimer>(host, 100, [&] {
        ++ticks;
        if (destroy) timer.reset();
    });
    host.Run(500);
    EXPECT_EQ(ticks, 0);
    timer->SetEnabled(true);
    host.Run(60);
    timer->SetEnabled(true);  // enabling again changes nothing
    host.Run(45);
    EXPECT_EQ(ticks, 1);
    timer->Restart();
    host.Run(299);
    EXPECT_EQ(ticks, 3);
    timer->SetEnabled(false);
    host.Run(500);
    EXPECT_EQ(ticks, 3);
    destroy = true;
    timer->SetEnabled(true);
    host.Run(500);
    EXPECT_EQ(ticks, 4);
}

TEST(clsVirtualHost, RefusesALoopThatNeverLetsTimePass) {
    clsVirtualHost host;
    EXPECT_THROW(while (true) host.DoEvents(), std::logic_error);
}
