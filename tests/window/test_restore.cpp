// The memory test in the window, and the way back behind it.

#include <QDialog>
#include <QLabel>
#include <QToolButton>

#include "WindowFixture.h"
#include "base/clsHostTimer.h"
#include "settings/ZarnRegisterMap.h"
#include "window/clsHistoryWindow.h"

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
    /// It answers slowly from now on, and goes in so many ms.
    void PullIn(int ms) {
        host.StartTimer(ms, [this] { serial.Unplug(1); });
        reader.AddFault({SimFault::LateReply, 0, -1, 0, -1, /*Value=*/20});
    }
    [[nodiscard]] QToolButton* Offer() const {
        auto* const button = window->findChild<QToolButton*>("cmdRestoreSeen");
        return button != nullptr && button->isVisible() ? button : nullptr;
    }

    /// The dialog over the first event, as the history's window asks for it.
    void Restore() {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);  // the one before
        Do("actHistory");
        emit Find<clsHistoryWindow>("dlgHistory").RestoreWanted(history.Rows.front(), /*before=*/false);
    }
    [[nodiscard]] std::string Sentence() const { return Shown("labReview"); }
    /// Other bytes than were held in so many mapped registers that nothing else depends on.
    void Change(int count) {
        for (std::size_t number = 129; count > 0; ++number) {
            if (!ZarnRegisterMap::mapped.at(number)) continue;
            reader.SetRegister(static_cast<int>(number), static_cast<std::uint8_t>(held.at(number) ^ 0x41));
            --count;
        }
    }

    clsMemoryHistory history;
    std::array<std::uint8_t, registerCount> held{};
};

TEST_F(clsRestoreTest, TheDialogPutsAll512BackBehindATestAndNamesWhatIsLost) {
    StartOn(/*read=*/false);
    for (std::size_t i = 0; i < registerCount; ++i)
        if (!ZarnRegisterMap::mapped[i]) reader.Registers[i] = static_cast<std::uint8_t>(0x11 + i % 200);
    held = reader.Registers;
    Click("cmdShowZarn74");
    Click("cmdTest");
    std::size_t unmapped = 511;
    while (ZarnRegisterMap::mapped.at(unmapped)) --unmapped;
    for (const int lost : {-1, static_cast<int>(unmapped)}) {
        for (std::size_t i = 0; i < registerCount; ++i)
            reader.Registers[i] = ZarnRegisterMap::mapped[i] ? static_cast<std::uint8_t>(held[i] ^ 0x41) : 0;
        if (lost >= 0) reader.AddFault({SimFault::DroppedWrite, 'C', lost});
        Restore();
        Find<QDialog>("dlgReview").resize(360, 300);
        QCoreApplication::processEvents();
        const auto& label = Find<QLabel>("labReview");
        EXPECT_GE(label.height(), label.heightForWidth(label.width())) << "nothing of it is cut off";
        EXPECT_EQ(
            Sentence(),
            "512 registers differ from what the event holds. Write puts all of them back, byte for byte: "
            "none can be left out. All 512 count: a memory test has overwritten them.");
        Click("cmdReviewWrite");
        auto left = held;
        if (lost >= 0) left.at(unmapped) = 0;
        EXPECT_EQ(reader.Registers, left);
        EXPECT_EQ(Sentence(), lost < 0 ? "All 512 registers are as they were: written back and read."
                                       : "The reader did not keep: Register " + std::to_string(lost));
        EXPECT_EQ(history.Rows.back().Outcome, lost < 0 ? HistoryOutcome::Done : HistoryOutcome::Differs);
        Click("cmdReviewCancel");
        history.Rows.erase(history.Rows.begin() + 2, history.Rows.end());  // the test is the last again
    }
}

TEST_F(clsRestoreTest, TheDialogAsksWhereTheReaderIsAnother) {
    const struct {
        const char *product, *version, *question;
    } rows[] = {{"Zarn99", nullptr, "it was read from a Zarn99, and this is a "},
                {nullptr, "V1.01R003,FWQ-K3861", "Needs firmware V1.02R002 or later"}};
    for (const auto& row : rows) {
        for (const bool yes : {false, true}) {
            SCOPED_TRACE(std::string(row.question) + (yes ? " yes" : " no"));
            StartOn(/*read=*/false);
            window->QuestionDoor = [&](const QString& text) {
                boxes = text.toStdString();
                return yes;
            };
            reader.SetRegister(218, 1);  // the tag frequency, which not every firmware has
            held = reader.Registers;
            Click("cmdShowZarn74");
            reader.SetRegister(218, 3);
            Change(3);
            const auto changed = reader.Registers;
            if (row.product != nullptr) history.Rows.front().Product = row.product;
            const std::string version = reader.Version;
            if (row.version != nullptr) reader.Version = row.version;
            Restore();
            Click("cmdReviewWrite");
            EXPECT_NE(boxes.find(row.question), std::string::npos) << boxes;
            EXPECT_EQ(reader.Registers, yes ? held : changed);
            EXPECT_EQ(Enabled("cmdReviewWrite"), !yes) << "who says no may still choose";
            Click("cmdReviewCancel");
            reader.Version = version;
        }
    }
}

TEST_F(clsRestoreTest, AReaderPulledOutUnderTheDialogIsNeverCalledRestored) {
    enum Phase { Reading, Choosing, Asking, ReadingAgain, Writing, ReadingBack };
    constexpr auto gone = "The reader has gone: nothing was written.";
    constexpr auto notRead = "The reader was not read to its end: nothing was written.";
    const struct {
        Phase phase;
        const char *during, *behind;
    } rows[] = {
        {Reading, "The reader is being read.", notRead},
        {Choosing, "20 registers differ", gone},
        {Asking, "20 registers differ", gone},
        {ReadingAgain, "The reader is being read.", notRead},
        {Writing, "The registers are being written.", "It was not restored: register "},
        {ReadingBack, "The registers were written and are being read back.",
         "All was written. The reading back broke off: nothing is proven."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.phase);
        StartOn(/*read=*/false);
        Click("cmdShowZarn74");
        Change(20);
        const auto changed = reader.Registers;
        if (row.phase == Asking) history.Rows.front().Product = "Zarn99";
        bool pulled = false;
        const auto pull = [&] {
            EXPECT_EQ(Sentence().find(row.during), 0U) << Sentence();
            pulled = true;
            serial.Unplug(1);
        };
        window->QuestionDoor = [&](const QString&) {
            if (row.phase == Asking) pull();
            host.Run(5);
            return true;
        };
        reader.AddFault({SimFault::LateReply, 0, -1, 0, -1, /*Value=*/20});
        // When the phase before it has ended: looked for every few ms.
        clsHostTimer look(host, 7, [&] {
            const bool reads = row.phase != Reading || window->Flows().FlowRunning();
            const auto* const label = window->findChild<QLabel*>("labReview");
            if (pulled || label == nullptr || !reads || !label->text().startsWith(row.during)) return;
            pull();
        });
        look.SetEnabled(row.phase == Reading || row.phase == Writing || row.phase == ReadingBack);
        Restore();
        if (row.phase == Choosing) pull();
        look.SetEnabled(row.phase > Asking);
        if (row.phase > Choosing) Click("cmdReviewWrite");
        host.Run(1000);
        EXPECT_TRUE(pulled);
        EXPECT_EQ(Sentence().find(row.behind), 0U) << Sentence();
        EXPECT_EQ(reader.Registers == changed, row.phase < Writing);
        for (const HistoryEvent& event : history.Rows)
            EXPECT_FALSE(event.Action == HistoryAction::Restore && event.Outcome == HistoryOutcome::Done);
        Click("cmdReviewCancel");
    }
}

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

TEST_F(clsRestoreTest, AReaderThatMayBeAnotherGetsWhatWasReadOnlyWhenAPersonSaysSo) {
    StartOn(/*read=*/true);
    Click("cmdTest");
    auto other = held;
    other[160] = 'Q';
    reader.Registers = other;
    boxes.clear();
    Offer()->click();
    EXPECT_EQ(
        boxes,
        "Restore it all the same?\nThe reader holds something else than a memory test leaves: it may be "
        "another one.");
    EXPECT_EQ(reader.Registers, other);
    EXPECT_EQ(history.Rows.back().Outcome, HistoryOutcome::Cancelled);
}

TEST_F(clsRestoreTest, NothingIsOfferedWhereNothingWasReadOrTheReaderIsGone) {
    const std::string test = "The memory test overwrites what was in the reader. ";
    const std::string failed = "The memory test did not pass. ";
    const std::string kept = "It is gone; the history has what was in it, the event of 20";
    const std::string lost = "It is gone, and the history does not have what was in it.";
    using State = clsIHistory::Events::State;
    const struct {
        bool Read, Restores;
        std::function<void()> Do;
        std::string Said;  ///< to its end or, without a stop, so far
    } rows[] = {
        {false, false, [] {}, test + "The history has no read of this reader since it was plugged in."},
        {true, false, [this] { PullIn(200); }, test + kept},
        {true, false, [this] { PullIn(200), history.Rows.clear(); }, test + lost},
        {true, false, [this] { PullIn(200), history.Rows.clear(), history.Instead.Result = State::Busy; },
         test + "It is gone; whether the history has what was in it cannot be seen at this moment."},
        {true, true, [this] { PullIn(500); }, failed + kept},
        {true, true, [this] { PullIn(500), history.Broken = "read-only"; }, failed + lost}};
    for (const auto& row : rows) {
        history.Instead = {};
        StartOn(row.Read);
        row.Do();
        row.Restores ? Do("actTestAndRestore") : Click("cmdTest");
        EXPECT_EQ(row.Said.ends_with('.') ? Notice() : Notice().substr(0, row.Said.size()), row.Said);
        EXPECT_EQ(Offer(), nullptr);
        EXPECT_EQ(Find<QAction>("actTestAndRestore").isEnabled(), !row.Read);
    }
}

TEST_F(clsRestoreTest, TestAndRestoreLeavesTheReaderAsItWasOrSaysWhatItDid) {
    const std::string restored = "All 512 registers are as they were: written back and read.";
    StartOn(/*read=*/true);
    Do("actTestAndRestore");
    EXPECT_EQ(Notice(), "The memory has passed the test. " + restored);
    EXPECT_EQ(reader.Registers, held);
    reader.AddFault({SimFault::LateReply, 0, -1, 0, -1, /*Value=*/20});
    host.StartTimer(500, [this] {
        EXPECT_EQ(Shown("cmdTest"), "Cancel");
        Click("cmdTest");
    });
    Do("actTestAndRestore");
    EXPECT_EQ(Notice(), "The memory test did not pass. " + restored);
    EXPECT_EQ(reader.Registers, held);
    StartOn(/*read=*/true);
    reader.AddFault({SimFault::NoAnswer, 'C', 100, 0, 3});
    auto other = held;
    other[129] = 0x17;
    bool tested = false;
    const auto changed = reader.OnFrame.Connect([&](const std::string& frame, bool received) {
        tested = tested || frame.at(1) == 'C';
        if (tested && received && frame.at(1) == 'Y') reader.Registers = other;
    });
    Do("actTestAndRestore");
    const std::string said =
        "The memory test did not pass. It was not restored: what answers now may be another reader. The "
        "history has what was in it, the event of 20";
    EXPECT_EQ(Notice().substr(0, said.size()), said);
    EXPECT_EQ(Offer(), nullptr);
    EXPECT_EQ(reader.Registers, other);
}

}  // namespace
