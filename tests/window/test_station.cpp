// The station in the window: what it shows is what the rows say, and all of it by keyboard.

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QPointer>
#include <QTreeView>

#include "WindowFixture.h"
#include "base/clsHostTimer.h"

namespace {

constexpr int lookTime = 23;      // ms between two looks at the window
constexpr int pressedTime = 150;  // ms

struct clsStationWindowTest : clsWindowTest {
    clsStationWindowTest() {
        disk.Contents["shop.txt"] =
            TextOf(RecordOf("Language=2;PrefixHex=49443D;CardSNConvert=1;Convert(1)=+[1K ],04A1B2C3,1234"));
    }
    void StartWindow() {
        Start();
        window->UseHistory(history, /*always=*/true);
        window->BeepDoor = [this] { ++beeps; };
    }
    void StartStation(const char* labels = "none") {
        store.SaveSetting("Station", "Labels", labels);
        StartWindow();
        window->StartStation("shop.txt", /*isOperator=*/false);
        host.Run(10);
    }
    /// Onto a cable of its own; the reader is as the example has it.
    void Plug(std::optional<SimFaultRule> fault = {}, bool paced = false) {
        LoadExampleConfiguration(reader);
        reader.ClearFaults();
        if (fault) reader.AddFault(*fault);
        clsSimSerialControl::Line line;
        line.Reader = &reader;
        line.Paced = paced;
        serial.AddLine(5, line);
        comm.OnPortChange.Raise(PortChange::Arrived, "COM5");
    }
    /// Does it while a unit is worked on, and comes back behind that.
    void InTheMiddle(const std::function<void()>& what) {
        bool done = false;
        clsHostTimer soon(host, 200, [&] {
            soon.SetEnabled(false);
            EXPECT_EQ(Word(), "WORKING");
            done = true;
            what();
        });
        Plug({}, /*paced=*/true);
        soon.SetEnabled(true);
        host.Run(9000);
        EXPECT_TRUE(done);
    }
    void Pull() {
        serial.Unplug(5);
        comm.OnPortChange.Raise(PortChange::Removed, "COM5");
        host.Run(50);
    }
    [[nodiscard]] QString Tile() const { return Find<QWidget>("staTile").property("text").toString(); }
    [[nodiscard]] std::string Word() const { return Tile().section('\n', 0, 0).toStdString(); }
    [[nodiscard]] std::string ToDo() const { return Tile().section('\n', -1).toStdString(); }
    /// Of the row, what stands in the column.
    [[nodiscard]] std::string Cell(int row, int column) const {
        const auto& model = *Find<QTreeView>("lstStation").model();
        return model.index(row, column).data().toString().toStdString();
    }
    [[nodiscard]] int Rows() const { return Find<QTreeView>("lstStation").model()->rowCount(); }
    [[nodiscard]] std::string FocusName() const {
        const QWidget* const focus = window->focusWidget();
        return focus == nullptr ? "" : focus->objectName().toStdString();
    }
    /// Into whatever has the focus, as a scanner types it.
    void Scan(const char* text) const {
        QTest::keyClicks(window->focusWidget(), text);
        QTest::keyClick(window->focusWidget(), Qt::Key_Return);
    }
    /// The letter that is underlined on a button, which shows itself pressed for a moment.
    void Alt(Qt::Key key) const {
        Key(key, Qt::AltModifier);
        QTest::qWait(pressedTime);
    }
    void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const {
        QTest::keyClick(window->focusWidget(), key, modifiers);
    }

    clsMemoryHistory history;
    int beeps = 0;
};

TEST_F(clsStationWindowTest, NothingOfItIsMadeBeforeItIsWanted) {
    StartWindow();
    EXPECT_EQ(window->findChild<QWidget*>("stkStation"), nullptr);
}

TEST_F(clsStationWindowTest, TheVerdictIsTheRowsAndStaysUntilTheNextUnitBegins) {
    struct Case {
        std::optional<SimFaultRule> Fault;
        const char* Word;
        const char* Line;
        int Beeps;
    };
    const Case cases[] = {
        {{}, "PASS", "changed, read back and right", 1},
        {SimFaultRule{SimFault::DroppedWrite, 'C', -1, 0, 1}, "PASS", "second attempt", 1},
        {SimFaultRule{SimFault::DroppedWrite}, "FAIL", "Prefix: wanted ID=, found <STX>ID=", 2},
        {SimFaultRule{SimFault::RefuseBusy, 'C'}, "FAIL", "", 2},
        {SimFaultRule{SimFault::NoAnswer, 'C', -1, 1}, "FAIL", "", 2},
    };
    StartStation();
    int looks = 0;
    clsHostTimer look(host, lookTime, [&] {
        const std::string word = Word();
        if (word == "WORKING") ++looks;
        if ((word != "PASS" && word != "FAIL" && word != "NOT PROVEN") || Rows() == 0) return;
        EXPECT_TRUE(Cell(Rows() - 1, 5).starts_with(word)) << word;
        EXPECT_TRUE(Find<QWidget>("staTile").accessibleName().startsWith(word.c_str()));
    });
    look.SetEnabled(true);
    EXPECT_EQ(ToDo(), "Plug in a reader");
    int row = 0;
    for (const Case& one : cases) {
        SCOPED_TRACE(row);
        beeps = 0;
        looks = 0;
        Plug(one.Fault, /*paced=*/true);
        host.Run(12'000);
        EXPECT_TRUE(QTest::qWaitFor([&] { return beeps >= one.Beeps; }));
        ASSERT_EQ(Rows(), row + 1);
        EXPECT_EQ(Word(), one.Word) << Tile().toStdString();
        EXPECT_TRUE(Tile().contains(one.Line)) << Tile().toStdString();
        EXPECT_GT(looks, 10) << "it was seen working";
        EXPECT_EQ(beeps, one.Beeps);
        const HistoryEvent& event = history.Rows.back();
        EXPECT_EQ(event.Outcome == HistoryOutcome::Done, Word() == "PASS");
        EXPECT_EQ(ToDo(), "Unplug it");
        Pull();
        EXPECT_EQ(Word(), one.Word);
        EXPECT_EQ(ToDo(), "Plug in a reader");
        ++row;
    }
    EXPECT_EQ(Shown("labStationCounters").substr(0, 60),
              "Units 5     Passed 2     Failed 3     Second attempts 2     ");
    auto& list = Find<QTreeView>("lstStation");
    EXPECT_EQ(list.currentIndex().row(), 4) << "the newest";
    list.setCurrentIndex(list.model()->index(2, 0));
    EXPECT_TRUE(Find<QListWidget>("lstStationChanges").item(0)->text().startsWith("not kept: Delimiter"));
    Plug();
    host.Run(5000);
    EXPECT_EQ(list.currentIndex().row(), 2) << "somebody looks at it";

    chosenFile = "/list.csv";
    Click("cmdStationExport");
    const Texts lines = modText::Split(disk.Contents["/list.csv"], '\n');
    ASSERT_EQ(lines.size(), 8U) << "a heading, six units, and what is behind the last line end";
    EXPECT_NE(lines[3].find(",COM5,V1.02R007,16,FAIL,yes,yes,"), std::string::npos) << lines[3];
}

TEST_F(clsStationWindowTest, ALabelIsTypedWhereTheFocusIsAndOddOnesAreAskedAbout) {
    StartStation("ask");
    EXPECT_EQ(FocusName(), "txtStationLabel");
    Scan("early");  // perhaps a reader that types
    EXPECT_EQ(Shown("txtStationLabel"), "");
    struct Case {
        const char* Typed;
        const char* Question;  // empty: none
        bool Yes;
        const char* Label;
    };
    const Case cases[] = {{"U-1", "", false, "U-1"},
                          {"U-1", "used today", false, ""},
                          {"U-1", "used today", true, "U-1"},
                          {"04A1B2C3", "the ID of a card", false, ""},
                          {"04A1B2C3", "the ID of a card", true, "04A1B2C3"}};
    int row = 0;
    for (const Case& one : cases) {
        SCOPED_TRACE(row);
        Plug();
        host.Run(3000);
        ASSERT_EQ(Rows(), row + 1);
        EXPECT_EQ(ToDo(), "Type or scan the label");
        Scan(one.Typed);
        const bool asks = *one.Question != '\0';
        EXPECT_EQ(Find<QWidget>("fraStationQuestion").isVisible(), asks);
        if (asks) {
            EXPECT_NE(Shown("labStationQuestion").find(one.Question), std::string::npos);
            ASSERT_EQ(FocusName(), "cmdStationNo");
            if (one.Yes) Key(Qt::Key_Backtab, Qt::ShiftModifier);
            Scan("7");  // answers with what has the focus
            EXPECT_EQ(FocusName(), "txtStationLabel");
            EXPECT_EQ(Shown("txtStationLabel"), "");
            if (!one.Yes) Key(Qt::Key_Escape);
        }
        EXPECT_EQ(Cell(row, 1), one.Label);
        EXPECT_EQ(history.Rows.back().Label, one.Label);
        EXPECT_EQ(ToDo(), "Unplug it");
        Pull();
        ++row;
    }
}

TEST_F(clsStationWindowTest, ALabelThatWaitsForTheHistoryIsNotLostByWhatIsPressedMeanwhile) {
    StartStation("ask");
    Plug();
    host.Run(3000);
    Pull();
    history.SetLocked(true);
    Scan("U-1");
    EXPECT_EQ(ToDo(), "Wait: another program has the history for itself");
    EXPECT_EQ(Cell(0, 1), "") << "the history does not have it yet";
    Scan("U-2");
    EXPECT_EQ(Shown("txtStationLabel"), "");
    Alt(Qt::Key_S);
    host.Run(1000);
    EXPECT_EQ(Word(), "PASS");
    EXPECT_FALSE(Find<QWidget>("cmdStationAgain").isVisible());
    EXPECT_FALSE(window->close());
    EXPECT_NE(Shown("labStationQuestion").find("is lost then"), std::string::npos);
    Key(Qt::Key_Return);
    history.SetLocked(false);
    host.Run(200);
    EXPECT_EQ(Word(), "STOPPED");
    EXPECT_EQ(Cell(0, 1), "U-1");
    EXPECT_EQ(history.Rows.back().Label, "U-1");
    Click("cmdStationAgain");
    Click("cmdStationStart");
    host.Run(10);
    EXPECT_EQ(Word(), "READY");
}

TEST_F(clsStationWindowTest, ALabelThatCameLateStandsAtItsOwnUnit) {
    StartStation("ask");
    for (const char* label : {"U-1", "U-2"}) {
        Plug();
        host.Run(3000);
        Pull();
        history.SetLocked(true);
        Scan(label);
        host.Run(2500);
    }
    EXPECT_EQ(Cell(0, 1) + Cell(1, 1), "");
    history.SetLocked(false);
    host.Run(200);
    ASSERT_EQ(Rows(), 2);
    EXPECT_EQ(Cell(0, 1) + Cell(1, 1), "U-1U-2");
}

TEST_F(clsStationWindowTest, ItIsRunByKeyboardAloneAndThePagesStayAsTheyWere) {
    StartWindow();
    Click("cmdAutoScan");
    Select("cboLanguage", "Spanish");
    QCoreApplication::processEvents();
    const std::string record = TextOf(window->Flows().Record());
    QTest::keyClick(window.get(), Qt::Key_F2, Qt::ShiftModifier);
    ASSERT_EQ(FocusName(), "txtStationProfile");
    EXPECT_FALSE(Enabled("cmdStationStart"));
    Key(Qt::Key_Return);
    Scan("shop.txt");
    host.Run(10);
    EXPECT_EQ(Word(), "READY");
    for (const char* action : {"actRead", "actWrite", "actDefault", "actOpen", "actUndo", "actStation",
                               "actReview", "actAddRow", "actOptions"})
        EXPECT_FALSE(Find<QAction>(action).isEnabled()) << action;
    EXPECT_TRUE(Find<QAction>("actFullScreen").isEnabled());
    InTheMiddle([this] {
        Alt(Qt::Key_P);
        EXPECT_EQ(ToDo(), "Pauses behind this unit");
    });
    EXPECT_EQ(Word(), "PAUSED");
    EXPECT_TRUE(Tile().contains("Unit 1: PASS")) << Tile().toStdString();
    Alt(Qt::Key_O);
    host.Run(100);
    EXPECT_EQ(ToDo(), "Unplug it");
    Pull();
    Alt(Qt::Key_B);
    QCoreApplication::processEvents();
    EXPECT_FALSE(Find<QWidget>("stkStation").isVisible());
    EXPECT_TRUE(Find<QWidget>("SSTab1").isVisible());
    EXPECT_TRUE(Find<QAction>("actUndo").isEnabled() && Find<QAction>("actStation").isEnabled());
    EXPECT_EQ(TextOf(window->Flows().Record()), record);
    EXPECT_EQ(Shown("cboLanguage"), "Spanish");
    Do("actUndo");
    EXPECT_NE(Shown("cboLanguage"), "Spanish") << "the edit from before the station";
    Click("cmdAutoScan");
    EXPECT_EQ(LastLine(), "Get Device Information OK");
    Do("actStation");
    Key(Qt::Key_Escape);
    EXPECT_TRUE(Find<QWidget>("SSTab1").isVisible());
}

TEST_F(clsStationWindowTest, ClosingInTheMiddleAsksOnce) {
    for (const bool yes : {false, true}) {
        StartStation();
        InTheMiddle([&] {
            window->close();
            EXPECT_TRUE(window->isVisible());
            EXPECT_TRUE(Find<QWidget>("fraStationQuestion").isVisible());
            if (yes) {
                window->close();
            } else {
                Key(Qt::Key_Return);
            }
        });
        QCoreApplication::processEvents();
        EXPECT_EQ(window->isVisible(), !yes);
        EXPECT_EQ(history.Rows.back().Outcome == HistoryOutcome::Done, !yes) << "it went on, or has failed";
        Pull();
        EXPECT_TRUE(yes || window->close()) << "between two units nobody is asked";
    }
}

TEST_F(clsStationWindowTest, AnOperatorReachesNothingButTheRun) {
    StartWindow();
    window->StartStation("shop.txt", /*isOperator=*/true);
    host.Run(10);
    EXPECT_EQ(Word(), "READY");
    EXPECT_FALSE(window->menuBar()->isVisible());
    EXPECT_FALSE(Find<QWidget>("cmdStationLeave").isVisible());
    const auto expectOnlyFullScreen = [this] {
        for (const QAction* action : window->findChildren<QAction*>(QRegularExpression("^act")))
            EXPECT_EQ(action->isEnabled(), action->objectName() == "actFullScreen")
                << action->objectName().toStdString();
    };
    expectOnlyFullScreen();
    Plug();
    host.Run(3000);
    EXPECT_EQ(Word(), "PASS");
    expectOnlyFullScreen();
    Key(Qt::Key_Escape);
    Alt(Qt::Key_S);
    EXPECT_EQ(Word(), "STOPPED");
    Alt(Qt::Key_S);
    host.Run(10);
    EXPECT_EQ(Word(), "READY");
}

TEST_F(clsStationWindowTest, WhatIsWrongWithAProfileIsSaidBeforeItStarts) {
    disk.Contents["bare.txt"] = "[General]\r\nLanguage=2\r\n";
    disk.Contents["odd.txt"] = "[General]\r\nLanguage=99\r\n";
    const std::pair<const char*, const char*> cases[] = {
        {"missing.txt", "cannot be used: the file cannot be read"},
        {"odd.txt", "Language"},
        {"bare.txt", "the table of every reader is emptied"}};
    for (const auto& [name, said] : cases) {
        StartWindow();
        window->StartStation(name, /*isOperator=*/false);
        EXPECT_TRUE(Find<QWidget>("pagStationSetup").isVisible()) << name;
        EXPECT_NE(Shown("labStationFindings").find(said), std::string::npos) << Shown("labStationFindings");
    }
    ASSERT_TRUE(Enabled("cmdStationStart"));
    Key(Qt::Key_Return);
    EXPECT_EQ(Word(), "READY") << "somebody has seen the warning";
}

}  // namespace
