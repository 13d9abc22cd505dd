// The window of the history, over a real one in a file.

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QScrollBar>
#include <QSpinBox>
#include <QTableView>
#include <QTimer>
#include <QTreeWidget>
#include <set>

#include "WindowFixture.h"
#include "ports/PortPlace.h"
#include "qt/clsSqlHistory.h"
#include "support/TempFolder.h"
#include "window/HistorySheet.h"
#include "window/clsDifferenceList.h"

namespace {

struct clsHistoryTest : clsWindowTest {
    ~clsHistoryTest() override { window.reset(); }  // before its history
    /// The window on a reader, with so many events in its history.
    void StartWith(int count) {
        StartOnReader();
        window->UseHistory(kept, /*always=*/false);
        for (int i = 0; i < count; ++i) {
            HistoryEvent event = kept.NewEvent(i % 2 == 0 ? HistoryAction::Read : HistoryAction::Write);
            event.Begun = std::int64_t{1000} * (i + 1);
            event.Outcome = HistoryOutcome::Done;
            event.Label = "Unit " + std::to_string(i);
            event.After.Settings = i % 3 == 0 ? "[General]\r\nLanguage=3\r\n" : "[General]\r\nLanguage=4\r\n";
            kept.Keep(event);
        }
        Do("actHistory");
        Settle();
    }
    static void Settle() {
        QTest::qWait(120);  // until it is searched for what was typed
        for (int turn = 0; turn < 5; ++turn) QCoreApplication::processEvents();  // on a busy machine too
    }
    [[nodiscard]] QTableView& Table() const { return Find<QTableView>("tblHistory"); }
    [[nodiscard]] std::string Cell(int row, int column) const {
        return Table().model()->index(row, column).data().toString().toStdString();
    }
    [[nodiscard]] int Rows() const { return Table().model()->rowCount(); }
    void Type(const char* text) const {
        Find<QLineEdit>("txtHistorySearch").setText(text);
        Settle();
    }
    void Choose(std::initializer_list<int> rows) const {
        Table().clearSelection();
        for (const int row : rows)
            Table().selectionModel()->select(Table().model()->index(row, 0),
                                             QItemSelectionModel::Select | QItemSelectionModel::Rows);
        Settle();
    }
    /// Answers the next dialog that stands still in `does`.
    template <class Answer>
    void Answering(const char* does, Answer answer) const {
        QTimer::singleShot(0, [&] { answer(*QApplication::activeModalWidget()); });
        Do(does);
    }

    TempFolder temp;
    clsSqlHistory kept{host, {temp.folder + "/history.db"}, "tests"};
};

constexpr int labelColumn = 3;

TEST_F(clsHistoryTest, RowsComeAsTheyAreLookedAtAndAreFoundSortedAndLabelled) {
    StartWith(230);
    EXPECT_EQ(Rows(), 200);
    while (Table().model()->canFetchMore({})) Table().model()->fetchMore({});
    std::set<std::string> labels;
    for (int row = 0; row < Rows(); ++row) labels.insert(Cell(row, labelColumn));
    EXPECT_EQ(Rows(), 230);
    EXPECT_EQ(labels.size(), 230U);
    Type("uNIT 22");
    EXPECT_EQ(Rows(), 11);
    EXPECT_EQ(Cell(0, labelColumn), "Unit 229");
    Table().horizontalHeader()->setSortIndicator(labelColumn, Qt::AscendingOrder);
    EXPECT_EQ(Cell(0, labelColumn), "Unit 22");
    auto& actions = Find<QComboBox>("cboHistoryAction");
    actions.setCurrentIndex(actions.findText("write"));
    EXPECT_EQ(Rows(), 5);
    Find<QCheckBox>("chkHistorySince").click();
    EXPECT_EQ(Shown("labHistoryState"), "No event is like that.");
    Find<QCheckBox>("chkHistorySince").click();
    Choose({1});
    QTest::keyClick(&Table(), Qt::Key_F2);
    auto* const editor = Table().findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    editor->setText("Türe \U0001F600 'x'");
    QTest::keyClick(editor, Qt::Key_Return);
    Type("türe \U0001F600 'X'");
    EXPECT_EQ(Rows(), 1);
}

TEST_F(clsHistoryTest, WhatAFlowAddsIsThereAtOnceAndMovesNothing) {
    StartWith(210);
    QScrollBar& bar = *Table().verticalScrollBar();
    Choose({50});
    bar.setValue(40);
    const std::string first = Cell(bar.value(), labelColumn);
    Click("cmdShowZarn74");
    Settle();
    EXPECT_EQ(Rows(), 201);
    EXPECT_EQ(Cell(0, 1), "read");
    EXPECT_EQ(Cell(bar.value(), labelColumn), first);
    ASSERT_EQ(Table().selectionModel()->selectedRows().size(), 1);
    EXPECT_EQ(Table().selectionModel()->selectedRows().front().row(), 51);
    kept.Prune(std::int64_t{1000} * 200);
    Settle();
    EXPECT_EQ(Rows(), 12);
}

TEST_F(clsHistoryTest, ALabelThatIsBeingTypedIsLeftAloneByWhatComesMeanwhile) {
    StartWith(3);
    std::string label = "Unit 1";
    const auto row = [&] {
        int found = 0;
        while (Cell(found, labelColumn) != label && found < Rows()) ++found;
        return found;
    };
    const auto other = [this](int what) {  // as another program does it
        HistoryEvent event = kept.NewEvent(HistoryAction::Check);
        event.Begun = 9000;
        if (what == 0) kept.Keep(event);                                    // a row before it
        if (what == 1) kept.SetLabel(kept.List({}).Value.at(0).Id, "new");  // a row changes
        if (what == 2) kept.Prune(1500);                                    // one behind it goes
        if (what == 3) kept.Prune(9500);                                    // it goes itself
    };
    for (const int what : {0, 1, 2, 3}) {
        for (const bool taken : {true, false}) {
            SCOPED_TRACE(what * 10 + taken);
            Type("");
            Choose({row()});
            Find<QLineEdit>("txtHistorySearch").setText(label.substr(0, 2).c_str());
            QTest::keyClick(&Table(), Qt::Key_F2);  // before it is searched for
            const QPointer<QLineEdit> editor = Table().findChild<QLineEdit*>();
            ASSERT_NE(editor, nullptr);
            const std::string typed = "half a la" + std::to_string(what);
            editor->setText(typed.c_str());
            other(what);
            Settle();
            ASSERT_NE(editor, nullptr);
            EXPECT_EQ(editor->text().toStdString(), typed);
            QTest::keyClick(editor, taken ? Qt::Key_Return : Qt::Key_Escape);
            Settle();
            Type("");
            if (what == 3) {
                EXPECT_EQ(Rows(), 0);
                EXPECT_EQ(Shown("labHistorySaid"),
                          "The label could not be kept: the event is not in the history any more");
                return;
            }
            if (taken) label = typed;
            EXPECT_LT(row(), Rows()) << label;
        }
    }
}

TEST_F(clsHistoryTest, OneIsShownWholeAndTwoByTheirDifference) {
    const std::string place = R"(\\?\hid#vid_2e91&pid_0005#1-2:1.0)";
    for (const char* tail : {"", " (Zarn74)", "(x#y)", "[z]"})
        EXPECT_EQ(PortPlace(place + tail), "HID at 1-2:1.0") << tail;
    for (const char* other : {"COM5", "", "HID1", "hid#1"}) EXPECT_EQ(PortPlace(other), other);
    StartWith(4);
    Choose({0});
    EXPECT_NE(Shown("labEvent").find("Outcome: done"), std::string::npos);
    EXPECT_EQ(Find<QTreeWidget>("lstEventSettings").topLevelItem(0)->text(2), "English(UK)");
    Choose({0, 1});
    EXPECT_EQ(Shown("labEvent"), "1 of 43 settings differ, as the two events left the reader.");
    EXPECT_EQ(Find<QTreeWidget>("lstEventChanges").topLevelItem(0)->text(1), "Spanish") << "the earlier one";
    Choose({1, 2});
    EXPECT_EQ(Shown("labEvent"), "None of 43 settings differ between the two events.");
    HistoryEvent failed = kept.NewEvent(HistoryAction::Write);
    failed.Begun = 9000;
    failed.Outcome = HistoryOutcome::Failed;
    failed.Before.Settings = "[General]\r\nLanguage=3\r\n";
    kept.Keep(failed);
    Settle();
    Choose({0, 1});
    EXPECT_EQ(Shown("labEvent"),
              "None of 43 settings differ between the two events. What an event left was not read: what the "
              "reader held before it stands in for it.");
    Choose({0, 1, 2});
    EXPECT_FALSE(Enabled("cmdHistoryRestore"));
    EXPECT_TRUE(Enabled("cmdHistorySheet"));
}

TEST_F(clsHistoryTest, WhatIsChosenIsSavedExportedAndPutOnSheetsThatReplaceNothing) {
    StartWith(3);
    const auto content = [this](const char* name) { return disk.Contents[name]; };
    Choose({0});
    chosenFile = "one.txt";
    Do("actSettingsBehind");
    EXPECT_EQ(suggested, "Unit 2.txt");
    EXPECT_EQ(content("one.txt"), "[General]\r\nLanguage=4\r\n");
    chosenFile = "one.pdf";
    Click("cmdHistorySheet");
    EXPECT_TRUE(content("one.pdf").starts_with("%PDF"));
    chosenFile = "all.history";
    Do("actExportAll");
    kept.Prune(2500);
    Do("actImport");
    EXPECT_TRUE(Shown("labHistorySaid").starts_with("Importing: ")) << Shown("labHistorySaid");
    for (int i = 0; i < 20 && Shown("labHistorySaid").starts_with("Importing"); ++i) QTest::qWait(50);
    EXPECT_EQ(Shown("labHistorySaid"),
              "3 events: 2 new, 0 newer, 1 already there. 2 events deleted here before brought back.");
    Settle();
    EXPECT_EQ(Rows(), 3) << "older ones come behind what is shown";
    chosenFile = "one.txt";
    Do("actImport");
    EXPECT_EQ(Shown("labHistorySaid"), "Nothing was imported: this is no export of a history.");
    kept.SetLabel(kept.List({}).Value.at(1).Id, "Unit 2");
    Settle();
    disk.Contents["to/Unit 2.pdf"] = "mine";
    chosenFile = "to";
    Choose({0, 1});
    Click("cmdHistorySheet");
    EXPECT_EQ(content("to/Unit 2.pdf"), "mine");
    for (const char* name : {"to/Unit 2 (2).pdf", "to/Unit 2 (3).pdf"})
        EXPECT_TRUE(content(name).starts_with("%PDF")) << name;
    const std::pair<std::string, const char*> names[] = {{"a/b\\c:*?\"<>|\n", "a_b_c_______"},
                                                         {"..", "Event 1a2b3c4d"},
                                                         {"", "Event 1a2b3c4d"},
                                                         {". x .", "x"}};
    HistoryEvent event;
    event.Id = "1a2b3c4d-0000";
    for (const auto& [label, name] : names) {
        event.Label = label;
        EXPECT_EQ(HistorySheet::FileName(event), name);
    }
    for (int i = 0; i < 100; ++i) event.Label += "\U0001F600";
    EXPECT_LE(HistorySheet::FileName(event).toUtf8().size(), 180);
    EXPECT_FALSE(HistorySheet::FileName(event).back().isHighSurrogate());
}

TEST_F(clsHistoryTest, WhyThereIsNothingStandsInTheWindow) {
    Start();
    Do("actHistory");
    EXPECT_TRUE(Shown("labHistoryState").starts_with("No history is kept: ")) << Shown("labHistoryState");
    clsMemoryHistory other;
    using State = clsIHistory::Events::State;
    const struct {
        const char* Kept;
        clsIHistory::Events Answer;
        const char* Says;
    } rows[] = {
        {"1", {}, "Nothing is kept yet: what is done with a reader will stand here."},
        {"0",
         {},
         "The history is switched off (Edit, Options): nothing new is kept.\n"
         "Nothing is kept yet: what is done with a reader will stand here."},
        {"1",
         {State::Busy, {}, {}},
         "The history cannot be shown: another program keeps it locked; it is asked again."},
        {"1", {State::Failed, {}, "disk I/O error"}, "The history cannot be shown: disk I/O error."},
    };
    for (const auto& row : rows) {
        store.SaveSetting("History", "Keep", row.Kept);
        other.Instead = row.Answer;
        Start();
        window->UseHistory(other, /*always=*/false);
        Do("actHistory");
        EXPECT_EQ(Shown("labHistoryState"), row.Says);
        EXPECT_EQ(Enabled("cmdHistoryRestore"), false);
    }
    other.Instead = {State::Busy, {}, {}};
    Find<QLineEdit>("txtHistorySearch").setText("x");
    Settle();
    other.Instead = {};
    for (int i = 0; i < 20 && Shown("labHistoryState") != "No event is like that."; ++i) QTest::qWait(50);
    EXPECT_EQ(Shown("labHistoryState"), "No event is like that.");
    window.reset();
}

// What a notice offers is not taken away by it.
TEST_F(clsHistoryTest, WhatIsSaidOfTheHistoryStandsBesideTheNotice) {
    StartWith(0);
    kept.ShowNotice("History is not kept: disk full");
    EXPECT_EQ(Shown("labNotice"), "History is not kept: disk full");
    kept.ShowNotice("The history is kept again");
    EXPECT_EQ(Shown("labNotice"), "The history is kept again");
    window->ShowNotice("the reader did not keep: Language");
    kept.ShowNotice("History is not kept: locked");
    kept.ShowNotice("The history is kept again");
    EXPECT_EQ(Shown("labNotice"), "The reader did not keep: Language\nThe history is kept again");
}

TEST_F(clsHistoryTest, TheOptionsSayWhatIsKeptFromNowOn) {
    StartWith(0);
    Answering("actOptions", [](QWidget& dialog) {
        EXPECT_TRUE(dialog.findChild<QLabel*>("labHistoryPlace")->text().contains("history.db"));
        EXPECT_EQ(dialog.findChild<QSpinBox*>("spnHistoryDays")->value(), 1000);
        dialog.findChild<QSpinBox*>("spnHistoryDays")->setValue(0);
        dialog.findChild<QCheckBox*>("chkKeepHistory")->click();
        dynamic_cast<QDialog&>(dialog).accept();
    });
    Click("cmdShowZarn74");
    EXPECT_EQ(kept.List({}).Value.size(), 0U);
    EXPECT_TRUE(Shown("labHistoryState").starts_with("The history is switched off"));
    const auto toggle = [](QWidget& dialog) {
        EXPECT_EQ(dialog.findChild<QSpinBox*>("spnHistoryDays")->value(), 0);
        dialog.findChild<QCheckBox*>("chkKeepHistory")->click();
        dynamic_cast<QDialog&>(dialog).accept();
    };
    Answering("actOptions", toggle);
    Click("cmdShowZarn74");
    EXPECT_EQ(kept.List({}).Value.size(), 1U);
    Answering("actOptions", toggle);
    window.reset();
    EXPECT_FALSE(kept.ShowNotice) << "rows that still wait are told to nobody";
}

TEST_F(clsHistoryTest, RestoringGoesThroughReviewAndLeavesThePages) {
    StartWith(2);
    const std::string language = Shown("cboLanguage");
    Choose({0});
    reader.Registers[160] = 'Q';  // of a setting that the event does not tell
    Do("actRestoreBehind");
    // The language and, as of every file without any, five rows of the table.
    EXPECT_EQ(Shown("labReview").find("6 of 43 settings will be written, "), 0U) << Shown("labReview");
    Click("cmdReviewWrite");
    EXPECT_EQ(reader.Registers[210], 4);
    EXPECT_EQ(reader.Registers[160], 'Q');
    EXPECT_EQ(Shown("cboLanguage"), language);
    EXPECT_EQ(kept.List({}).Value.front().Action, HistoryAction::Restore);
}

TEST_F(clsHistoryTest, AnEventWithItsMemoryBringsBackEveryByteAndLeavesThePages) {
    reader.Registers[128] = 0x01;  // on, in a byte that nobody writes
    reader.Registers[40] = 0xF3;   // a foreign card type, with an ID
    reader.Registers[43] = 0x33;
    StartWith(0);
    Click("cmdShowZarn74");
    auto held = reader.Registers;
    Select("cboLanguage", "France");
    reader.Registers[40] = 0xF4;
    reader.Registers[43] = 0x44;
    reader.Registers[128] = 0xFF;
    reader.Registers[210] = 4;
    std::size_t unmapped = 511;
    while (ZarnRegisterMap::mapped[unmapped]) --unmapped;
    held[unmapped] = reader.Registers[unmapped] ^= 0x55;
    const auto changed = reader.Registers;
    const std::string offer =
        " registers differ from what the event holds. Write puts all of them back, byte for byte: none can "
        "be "
        "left out. 1 register without a setting differs too and stays as it is.";
    const auto look = [this] {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);  // the one before
        Settle();
        Choose({Rows() - 1});
        Do("actRestoreBehind");
    };
    const auto last = [this] {
        const HistoryEvent event = kept.List({}).Value.front();
        return std::string(WordOf(event.Action)) + ' ' + WordOf(event.Outcome);
    };
    look();
    EXPECT_EQ(Shown("labReview"), "4" + offer);
    const auto& rows = Find<clsDifferenceList>("lstReview").Model().Rows();
    ASSERT_EQ(rows.size(), 4U);
    EXPECT_EQ((rows[0].Name() + rows[3].Name() + rows[3].InReader + rows[3].Wanted).toStdString(),
              "LanguageRegister 128FF01");
    Click("cmdReviewCancel");
    EXPECT_EQ(reader.Registers, changed);
    EXPECT_EQ(last(), "check differs");

    look();
    reader.Registers[300] ^= 0x20;
    Click("cmdReviewWrite");
    EXPECT_EQ(Shown("labReview"),
              "The reader holds something else than was shown: nothing was written. 5" + offer);
    EXPECT_EQ(reader.Registers[40], 0xF4);
    EXPECT_EQ(last(), "restore cancelled");
    reader.AddFault({SimFault::DroppedWrite, 'C', 40});
    Click("cmdReviewWrite");
    EXPECT_EQ(Shown("labReview"), "The reader did not keep: Register 40");
    EXPECT_EQ(last(), "restore differs");
    Click("cmdReviewCancel");
    reader.ClearFaults();
    reader.Registers[128] = 0xFF;
    look();
    Click("cmdReviewWrite");
    EXPECT_EQ(Shown("labReview"), "All 2 registers are as they were: written back and read.");
    EXPECT_EQ(reader.Registers, held);
    EXPECT_EQ(last(), "restore done");
    EXPECT_EQ(Shown("cboLanguage"), "France") << "the pages stay";
}

}  // namespace
