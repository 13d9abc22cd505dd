// The memory test in the window, and the way back behind it.

#include <QLabel>
#include <QToolButton>

#include "WindowFixture.h"

namespace {

struct clsRestoreTest : clsWindowTest {
    /// Over an emptied history; `read` tells whether the reader is looked at first.
    void StartOn(bool read) {
        if (!serial.Plugged(1)) serial.Replug(1);
        reader.ClearFaults();
        LoadExampleConfiguration(reader);
        Start(/*bench=*/true);
        history.Rows.clear();
        if (read) window->UseHistory(history, /*always=*/true);
        Click("cmdAutoScan");
        window->UseHistory(history, /*always=*/true);
        held = reader.Registers;
    }
    [[nodiscard]] std::string Notice() const { return Find<QLabel>("labNotice").text().toStdString(); }
    [[nodiscard]] QToolButton* Offer() const {
        auto* const button = window->findChild<QToolButton*>("cmdRestoreSeen");
        return button != nullptr && button->isVisible() ? button : nullptr;
    }

    clsMemoryHistory history;
    std::array<std::uint8_t, registerCount> held{};
};

TEST_F(clsRestoreTest, BehindTheTestWhatWasReadIsOfferedAndComesBackWhole) {
    StartOn(/*read=*/true);
    Select("cboLanguage", "France");
    Click("cmdTest");
    EXPECT_EQ(Notice().find("The memory test overwrites what was in the reader. It was read 20"), 0U)
        << Notice();
    ASSERT_NE(Offer(), nullptr);
    EXPECT_NE(reader.Registers, held);
    Offer()->click();
    EXPECT_EQ(Notice(), "All 512 registers are as they were: written back and read.");
    EXPECT_EQ(Offer(), nullptr);
    EXPECT_EQ(reader.Registers, held);
    EXPECT_EQ(Shown("cboLanguage"), "France") << "the pages stay";
    EXPECT_EQ(LastLine(), "Write OK");

    Click("cmdTest");
    reader.AddFault({SimFault::DroppedWrite, 'C', 210});
    Offer()->click();
    EXPECT_EQ(Notice(), "Language was not kept: written Germany, there is USA");
    Click("cmdTest");
    reader.ClearFaults();
    reader.AddFault({SimFault::LateReply, 'C', -1, 0, -1, /*Value=*/20});
    host.StartTimer(500, [this] { window->Flows().Cancel(); });
    Offer()->click();
    EXPECT_NE(Notice().find("It was not restored: register"), std::string::npos) << Notice();
}

TEST_F(clsRestoreTest, WithoutAReadNothingIsOffered) {
    StartOn(/*read=*/false);
    Click("cmdTest");
    EXPECT_EQ(
        Notice(),
        "The memory test overwrites what was in the reader. The history has no read of this reader since it "
        "was plugged in.");
    EXPECT_EQ(Offer(), nullptr);
    StartOn(/*read=*/true);
    host.StartTimer(200, [this] { serial.Unplug(1); });
    reader.AddFault({SimFault::LateReply, 0, -1, 0, -1, /*Value=*/20});
    Click("cmdTest");
    EXPECT_NE(Notice().find("It is gone; the history has what was in it, the event of 20"),
              std::string::npos);
    EXPECT_EQ(Offer(), nullptr);
}

TEST_F(clsRestoreTest, TestAndRestoreLeavesTheReaderAsItWasOrSaysWhatItDid) {
    StartOn(/*read=*/true);
    Do("actTestAndRestore");
    EXPECT_EQ(Notice(),
              "The memory has passed the test. All 512 registers are as they were: written back and read.");
    EXPECT_EQ(reader.Registers, held);
    reader.AddFault({SimFault::LateReply, 0, -1, 0, -1, /*Value=*/20});
    host.StartTimer(500, [this] {
        EXPECT_EQ(Shown("cmdTest"), "Cancel");
        Click("cmdTest");
    });
    Do("actTestAndRestore");
    EXPECT_EQ(Notice(),
              "The memory test did not pass. All 512 registers are as they were: written back and read.");
    EXPECT_EQ(reader.Registers, held);
    host.StartTimer(500, [this] { serial.Unplug(1); });
    Do("actTestAndRestore");
    EXPECT_NE(Notice().find("It is gone; the history has what was in it, the event of 20"), std::string::npos)
        << Notice();
    EXPECT_FALSE(Find<QAction>("actTestAndRestore").isEnabled());
}

}  // namespace
