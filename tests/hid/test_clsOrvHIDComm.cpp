#include "HidFixture.h"
#include "hid/clsOrvHIDComm.h"

namespace {

struct Adapter : HidFixture {
    Adapter() {
        hid.ReadProperties(bag);
        port.Attach(hid, sink);
        modOrvHID::SetDisplayNameFormat(" ({Name})");
    }
    ~Adapter() override { modOrvHID::SetDisplayNameFormat(""); }
    clsMSCommEvent sink;
    clsOrvHIDComm port{host};
};

TEST_F(Adapter, NamesAreShownWithTheirProductAndReadBackBare) {
    EXPECT_EQ(port.EnumCommPort(0), R"(\\?\hid#vid_2e91&pid_0005#1 (Tarka USB))");
    port.SetCommPort(port.EnumCommPort(0));
    EXPECT_EQ(hid.CommPort(), R"(\\?\hid#vid_2e91&pid_0005#1)");
    EXPECT_EQ(port.CommPort(), port.EnumCommPort(0));
    EXPECT_TRUE(port.IsMyCommPort(port.CommPort()));
    library.Product = "  ";
    EXPECT_EQ(port.CommPort(), hid.CommPort());
    modOrvHID::SetDisplayNameFormat("");
    EXPECT_EQ(port.EnumCommPort(0), hid.EnumCommPort(0));
    const struct {
        const char *name, *bare;
    } rows[] = {{"a b(c)", "a"}, {"a(c) b", "a(c)"}, {"a[b](c)", "a[b]"}, {"a[b]", "a"}, {"", ""}};
    for (const auto& row : rows) EXPECT_EQ(modOrvHID::BareName(row.name), row.bare) << row.name;
    EXPECT_FALSE(port.IsPS2Port());
}

TEST_F(Adapter, OpeningTurnsTheAdaptersOutputHereAndClosingRestoresIt) {
    const struct {
        const char* what;
        char answer;  // to the question for the default direction
        std::string opened, restored;
    } rows[] = {{"no keyboard", 0x07, "\x03\x01\x05", "\x03\x01\x07"},
                {"a keyboard", 0x13, "\x03\x01\x01", "\x03\x01\x03"}};
    for (const auto& row : rows) {
        library.SentCtrl.clear();
        library.Answers = {"\x06\0"s, "\x06\0"s, "\x06\0"s, "\x06\x01"s + row.answer};
        port.SetCommPort("path");
        port.SetPortOpen(true);
        EXPECT_EQ(library.SentCtrl.back(), row.opened) << row.what;
        EXPECT_EQ(library.SentCtrl.size(), 4U + 3U) << row.what;
        library.SentCtrl.clear();
        port.SetPortOpen(false);
        EXPECT_EQ(library.SentCtrl, (Texts{row.restored, row.restored}))
            << row.what;  // the line, then the port
    }
}

TEST_F(Adapter, ADirectionThatCannotBeRestoredIsTriedOnceMore) {
    port.SetCommPort("path");
    port.SetPortOpen(true);
    library.SentCtrl.clear();
    library.Always = "\x15\0"s;
    const auto start = host.Now();
    port.SetRTSEnable(false);
    EXPECT_EQ(library.SentCtrl.size(), 2U);
    EXPECT_GE(host.Now() - start, 50);
}

}  // namespace
