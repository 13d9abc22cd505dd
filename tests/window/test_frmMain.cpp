// Files, closing, and everything that can come in between while the window waits for the reader.

#include <QCheckBox>
#include <QGroupBox>
#include <QProgressBar>
#include <QScreen>
#include <QSplitter>

#include "WindowFixture.h"

namespace {

using clsMainTest = clsWindowTest;

TEST_F(clsMainTest, WhatIsShownComesBackAtTheNextStart) {
    Start();
    Select("cboLanguage", "Spanish");
    Click("chkAutoRead");
    window->resize(900, 720);
    auto& splitter = Find<QSplitter>("splMain");
    splitter.setSizes({splitter.height() - 150, 150});
    const QByteArray divided = splitter.saveState();
    EXPECT_TRUE(window->close());
    Start();
    EXPECT_EQ(Shown("cboLanguage"), "Spanish");
    EXPECT_TRUE(Find<QCheckBox>("chkAutoRead").isChecked());
    EXPECT_EQ(window->size(), QSize(900, 720));
    EXPECT_EQ(Find<QSplitter>("splMain").saveState(), divided);
    EXPECT_TRUE(Shown("labStatusFile").ends_with("/start")) << "with its folder";
}

TEST_F(clsMainTest, AStartUpFileThatCannotBeShownIsKept) {
    for (const std::string odd : {"[General]\r\nLanguage=77\r\n", "[General]\nLanguage=1\n"}) {
        disk.Contents = {{"start", odd}};
        Start();
        EXPECT_EQ(Shown("cboLanguage"), "USA");
        EXPECT_EQ(LastLine(), "");
        EXPECT_TRUE(window->close());
        EXPECT_EQ(disk.Contents["start.bak"], odd);
    }
    disk.BreakAt = 5;
    Start();
    EXPECT_FALSE(window->close()) << "what cannot be read cannot be kept, so it stays";
}

TEST_F(clsMainTest, AStartUpFileThatCannotBeWrittenHoldsTheWindowOnce) {
    Start();
    disk.Refuse = true;
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(Shown("labNotice").starts_with("The settings shown could not be saved to start."));
    EXPECT_TRUE(Find<QWidget>("fraNotice").isVisible());
    serial.Unplug(1);
    serial.AddLine(2, {});
    Click("cmdAutoScan");  // the work goes on
    EXPECT_EQ(boxes, "Missing Device");
    EXPECT_EQ(Shown("labNotice"), "COM2: no reader answered at any speed; check cable and power");
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(window->close());
    EXPECT_FALSE(window->LeftUnsaved()) << "it was the user's choice";
    Start();
    window->CloseSoon();
    EXPECT_TRUE(window->LeftUnsaved());
}

TEST_F(clsMainTest, FilesAreSavedOpenedAndDropped) {
    StartOnReader();
    chosenFile = "mine.txt";
    Click("cmdSave");
    EXPECT_EQ(LastLine(), "Save Device Info To File OK!");
    EXPECT_EQ(filters, "Text (*.txt)");
    Select("cboLanguage", "Japan");
    Click("cmdOpen");
    EXPECT_EQ(LastLine(), "Open Device Info From File OK!");
    EXPECT_EQ(Shown("cboLanguage"), "Germany");
    EXPECT_TRUE(Shown("labStatusFile").ends_with("/mine.txt")) << "and no more the start-up file";
    chosenFile = "none.txt";
    Click("cmdOpen");
    EXPECT_TRUE(suggested.endsWith("/mine.txt"));
    EXPECT_EQ(LastLine(), "Open Device Info From File NG!");
    const Texts lines = Log();
    chosenFile.clear();
    Click("cmdOpen");
    Click("cmdSave");
    EXPECT_EQ(Log(), lines) << "a cancelled dialog says nothing";

    const QString dropped = QCoreApplication::applicationFilePath();  // a file that is there
    disk.Contents[dropped.toStdString()] = "nonsense\r\n";
    QMimeData what;
    what.setUrls({QUrl::fromLocalFile(dropped)});
    Input::Drop(*Find<TextBoxEx>("txtPrefix").viewport(), what);
    QCoreApplication::processEvents();
    EXPECT_EQ(Shown("labNotice"),
              "No settings found in this file; lines must end in CR LF\n"
              "The file has no conversion table: the table shown is empty now");
    EXPECT_EQ(Find<QListWidget>("lstTable").count(), 0);
    EXPECT_EQ(Shown("txtPrefix"), "\x02ID=");

    disk.Contents[dropped.toStdString()] = "[General]\r\nLanguage=999\r\n";
    for (char key = 'a'; key < 'p'; ++key)
        disk.Contents[dropped.toStdString()] += std::string(1, key) + "=1\r\n";
    window->OpenFile(dropped.toStdString());
    const Texts told = modText::Split(Shown("labNotice"), '\n');
    EXPECT_EQ(told.front(), "Language=999: not a number from 0 to 255");
    EXPECT_EQ(told.size(), 13U);
    EXPECT_EQ(told.back(), "and 4 more");
    EXPECT_EQ(LastLine(), "Language not found!");

    chosenFile = "log.txt";
    emit Find<clsLogView>("txtView").SaveRequested();
    EXPECT_NE(disk.Contents["log.txt"].find(" - Save Device Info To File OK!\n"), std::string::npos);
}

TEST_F(clsMainTest, ThePagesTakeNoInputWhileAFlowRunsAndTheUserStaysWhereHeWas) {
    disk.Contents["Default.ini"] =
        "[General]\r\nPrefixHex=4142430D44\r\nConvert(1)=[1K ],04A1B2C3,Front door\r\n";
    enum Moves { Stays, ToLog, ByTab };
    const struct {
        Qt::Key key;  // of the flow; none is a click on its button, Menu is Default in the menu
        int at;       // ms from its start
        Moves moves;
        const char* focus;  // at its end
    } rows[] = {
        {Qt::Key_F5, 30, Stays, "txtPrefix"},   {Qt::Key_unknown, 30, Stays, "txtPrefix"},
        {Qt::Key_Menu, 30, Stays, "txtPrefix"}, {Qt::Key_F5, 30, ToLog, "txtView"},
        {Qt::Key_Menu, 30, ByTab, "cboPrefix"}, {Qt::Key_F8, 30, Stays, "txtView"},
        {Qt::Key_F2, 75, Stays, "txtView"},
    };
    const auto entered = [this] {
        ZarnInfo record;
        EXPECT_TRUE(Form().SaveZarn74(record));
        return TextOf(record);
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string("ended in ") + row.focus);
        LoadExampleConfiguration(reader);
        StartOnReader();
        TurnTo(KeyPage);
        auto& prefix = Find<TextBoxEx>("txtPrefix");
        auto& log = Find<clsLogView>("txtView");
        auto& tabs = Find<QTabWidget>("SSTab1");
        prefix.setFocus();
        prefix.SetText("\x02IDE");
        prefix.SetSelStart(2);
        prefix.SetSelLength(4);
        Find<QListWidget>("lstTable").setCurrentRow(0);
        reader.AddFault({SimFault::LateReply, 0, -1, 0, -1, /*Value=*/20});
        host.StartTimer(row.at, [&] {
            const std::string before = entered();
            Input::Press(prefix, "x Ctrl+M Backspace Shift+Ins");
            Input::Compose(prefix, "x");
            QMimeData text;
            text.setText("x");
            Input::Drop(*prefix.viewport(), text);
            if (row.key != Qt::Key_unknown)  // or that would be how the focus came back
                QTest::mouseClick(prefix.viewport(), Qt::LeftButton, {}, QPoint(1, 5));
            QTest::keyClick(&Find<QWidget>("cboDelimiter"), Qt::Key_Down);
            QTest::keyClick(&Find<QWidget>("chkKeyboardOutput"), Qt::Key_Space);
            QTest::keyClick(&Find<QWidget>("oCardSNLen0"), Qt::Key_Right);
            EXPECT_EQ(entered(), before);
            EXPECT_EQ(prefix.SelLength(), 4);
            Input::Press(log, "k");
            if (row.moves == ToLog) Input::Press(prefix, "F6");
            if (row.moves == ByTab) Input::Press(prefix, "Tab");
            QTest::keyClick(tabs.tabBar(), Qt::Key_Left);
            EXPECT_EQ(tabs.currentIndex(), KeyPage - 1);
            Input::Press(*tabs.tabBar(), "Alt+y");  // of "Keyboard Output" there
            EXPECT_EQ(entered(), before);
            tabs.setCurrentIndex(KeyPage);
            QCoreApplication::postEvent(&prefix, new QKeyEvent(QEvent::KeyPress, Qt::Key_Z, {}, "z"));
            QTimer::singleShot(0, window->findChild<QAction*>("actUndo"), &QAction::trigger);
        });
        const auto& read = Find<QWidget>("cmdShowZarn74");
        if (row.key == Qt::Key_unknown)
            QTest::mouseClick(window->windowHandle(), Qt::LeftButton, {},
                              read.mapTo(window.get(), QPoint(5, 5)));
        if (row.key == Qt::Key_Menu) window->findChild<QAction*>("actDefault")->trigger();
        if (row.key != Qt::Key_unknown && row.key != Qt::Key_Menu) QTest::keyClick(&prefix, row.key);
        reader.ClearFaults();
        QCoreApplication::processEvents();
        EXPECT_TRUE(LastLine().ends_with(" OK")) << LastLine();
        const Texts lines = Log();
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](auto& line) { return line == "k"; }));
        EXPECT_EQ(window->focusWidget()->objectName(), row.focus);
        EXPECT_EQ(entered(), TextOf(window->Flows().Record())) << "nothing came later";
        EXPECT_TRUE(Find<QListWidget>("lstTable").item(0)->isSelected());
        EXPECT_TRUE(row.moves != Stays || (prefix.SelStart() == 2 && prefix.SelLength() == 4));
        Input::Press(prefix, "Q");
        EXPECT_NE(prefix.Text().find('Q'), std::string::npos) << "a page is a page again";
    }
}

/// What is done in the middle of every flow, and what the flow's last line is then.
TEST_F(clsMainTest, WhateverComesInTheMiddleOfAFlowItEndsAsItShould) {
    enum What { Nothing, ClickAll, Close, Stop, Cancel, Pull };
    const struct {
        std::string_view button;
        int page;
        int at;  // ms from the click
        const char *passed, *failed;
        const char* state = "";  // meanwhile
    } flows[] = {
        {"cmdAutoScan", 0, 75, "Get Device Information OK", "Get Device Information NG", "Reading..."},
        {"cmdShowZarn74", 0, 30, "Get Device Information OK", "Get Device Information NG", "Reading..."},
        {"cmdApply", 0, 30, "Write OK", "Write NG", "Writing..."},
        {"cmdInitialize", 0, 30, "Write Default Info OK", "Write Default Info NG", "Writing the defaults..."},
        {"cmdReadCardInfo", 3, 30, "Empty", "Can't Get Card Info!"},
        {"cmdTest", 4, 30, "Test EEPROM OK", "Test EEPROM NG"},
    };
    disk.Contents["Default.ini"] = "[General]\r\nLanguage=4\r\nBaudrate=4800\r\n";
    for (const auto& flow : flows) {
        for (const What what : {Nothing, ClickAll, Close, Stop, Cancel, Pull}) {
            SCOPED_TRACE(std::string(flow.button) + " " + std::to_string(what));
            const bool test = flow.button == "cmdTest";
            LoadExampleConfiguration(reader);
            serial.Replug(1);
            StartOnReader(/*bench=*/true);
            TurnTo(flow.page);
            Select("cboLanguage", "France");
            reader.AddFault({SimFault::LateReply, 0, -1, 0, -1, /*Value=*/20});
            int flowsInside = 0;
            host.StartTimer(flow.at, [&] {
                flowsInside += window->Flows().FlowRunning();
                for (const char* button : {"cmdAutoScan", "cmdShowZarn74", "cmdApply", "cmdInitialize",
                                           "cmdOpen", "cmdSave", "cmdExit", "cmdReadCardInfo"}) {
                    EXPECT_FALSE(Enabled(button)) << button;
                    if (what == ClickAll) Find<QAbstractButton>(button).click();
                }
                EXPECT_FALSE(window->findChild<QAction*>("actUndo")->isEnabled());
                if (what == ClickAll) emit Find<clsLogView>("txtView").SaveRequested();
                EXPECT_EQ(filters, "") << "no dialog inside a flow";
                EXPECT_TRUE(flow.page != 0 || Shown("labStatusState") == flow.state);
                EXPECT_EQ(Find<QAbstractButton>("cmdTest").text(), test ? "Cancel" : "Test EEPROM");
                if (what == ClickAll && test) Click("cmdTest");
                EXPECT_FALSE(what == Close && window->close());
                if (what == Stop) window->CloseSoon();
                if (what == Cancel) Click("cmdCancel");
                if (what == Pull) serial.Unplug(1);
            });
            Click(flow.button.data());
            EXPECT_EQ(flowsInside, 1);
            reader.ClearFaults();
            host.Run(1000);
            QCoreApplication::processEvents();
            // a test that is to make way for a closing window says OK
            const bool passes = what == Nothing || (test ? what == Close || what == Stop : what == ClickAll);
            EXPECT_EQ(LastLine(), passes ? flow.passed : flow.failed);
            EXPECT_EQ(Enabled("cmdShowZarn74"), what != Pull);
            EXPECT_EQ(Shown("labStatusPort") == "no port open", what == Pull);
            EXPECT_TRUE(Enabled("cmdAutoScan") && Find<QWidget>("cmdCancel").isHidden());
            EXPECT_EQ(boxes, "");
            const std::string state = Shown("labStatusState");
            EXPECT_EQ(state == "Ready", what != Pull && what != Close) << state;
            EXPECT_EQ(state.ends_with(" cancelled; close again to leave"), what == Close) << state;
            EXPECT_EQ(Find<QGroupBox>("grpReader").title() == "Reader: not connected", what == Pull);
            EXPECT_EQ(Enabled("labROMSN"), what != Pull);
            EXPECT_EQ(Shown("labPort"), "COM1");
            EXPECT_EQ(Shown("labTest"), !test ? "not tested" : what == Nothing ? "OK" : "NG");
            EXPECT_EQ(Find<QWidget>("shpTest").palette().color(QPalette::Window).name(), !test ? "#808080"
                                                                                         : what == Nothing
                                                                                             ? "#00ff00"
                                                                                             : "#ff0000");
            EXPECT_EQ(window->isVisible(), what != Stop);
            EXPECT_TRUE(window->close());
            comm.SetPortOpen(false);
        }
    }
}

TEST_F(clsMainTest, NothingMovesWhenAPageIsFirstShownAndTheWindowFitsOnSmallScreens) {
    Start();
    const auto& pages = Find<QWidget>("pnlSettings");
    const QSize size = pages.size();
    const QList<int> divided = Find<QSplitter>("splMain").sizes();
    for (const int page : {KeyPage, CardPage, TablePage}) {
        TurnTo(page);
        QCoreApplication::processEvents();
        EXPECT_EQ(pages.size(), size) << page;
        EXPECT_EQ(Find<QSplitter>("splMain").sizes(), divided) << page;
    }
    EXPECT_LE(window->minimumSizeHint().height(), 440) << "1366x768 at 150 %, with a task bar";
    window->resize(900, 1400);  // as it was on a large screen
    EXPECT_TRUE(window->close());
    Start();
    QCoreApplication::processEvents();
    EXPECT_TRUE(window->screen()->availableGeometry().contains(window->frameGeometry()));
}

TEST_F(clsMainTest, TheBytesOfTheMemoryImageMoveTheProgress) {
    StartOnReader();
    Pace();
    comm.SetBaudRate(2400);  // 4.4 s
    std::vector<int> values;
    Texts texts;
    for (const int at : {1000, 2000, 3500}) {
        host.StartTimer(at, [&] {
            QTest::qWait(60);
            const auto& bar = Find<QProgressBar>("prgStatus");
            values.push_back(100 * bar.value() / bar.maximum());
            texts.push_back(bar.text().toStdString());
        });
    }
    Click("cmdShowZarn74");
    EXPECT_EQ(LastLine(), "Get Device Information OK");
    EXPECT_TRUE(values.size() == 3 && 5 < values[0] && values[0] < values[1] && values[1] + 10 < values[2]);
    EXPECT_TRUE(texts.back().ends_with(" of 1024 bytes")) << texts.back();
}

}  // namespace
