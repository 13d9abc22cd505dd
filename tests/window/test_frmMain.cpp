// Files, closing, and everything that can come in between while the window waits for the reader.

#include <QCheckBox>
#include <QCloseEvent>
#include <QMimeData>
#include <QSplitter>

#include "WindowFixture.h"
#include "widgets/Input.h"

namespace {

using clsMainTest = clsWindowTest;

TEST_F(clsMainTest, WhatIsShownComesBackAtTheNextStart) {
    Start();
    Select("cboLanguage", "Spanish");
    Click("chkAutoRead");
    window->resize(900, 720);
    Find<QSplitter>("splMain").setSizes({300, 320});
    const auto sizes = Find<QSplitter>("splMain").sizes();
    EXPECT_TRUE(window->close());
    EXPECT_NE(disk.Contents["start"].find("Language=4\r\n"), std::string::npos);
    Start();
    EXPECT_EQ(Shown("cboLanguage"), "Spanish");
    EXPECT_TRUE(Find<QCheckBox>("chkAutoRead").isChecked());
    EXPECT_EQ(window->size(), QSize(900, 720));
    EXPECT_EQ(Find<QSplitter>("splMain").sizes(), sizes);
    EXPECT_EQ(LastLine(), "");
}

TEST_F(clsMainTest, AStartUpFileThatCannotBeShownIsKept) {
    for (const std::string odd :
         {"[General]\r\nLanguage=77\r\nPrefix=abc\r\n", "[General]\nLanguage=1\nPrefix=other line ends\n"}) {
        disk.Contents = {{"start", odd}};
        Start();
        EXPECT_EQ(Shown("cboLanguage"), "USA");
        EXPECT_TRUE(window->close());
        EXPECT_EQ(disk.Contents["start.bak"], odd);
    }
}

TEST_F(clsMainTest, AStartUpFileThatCannotBeWrittenHoldsTheWindowOnce) {
    Start();
    disk.Refuse = true;
    EXPECT_FALSE(window->close());
    EXPECT_NE(Shown("labNotice").find("could not be saved to start"), std::string::npos);
    EXPECT_TRUE(Find<QWidget>("fraNotice").isVisible());
    Click("cmdOpen");  // the work goes on
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(window->close());
}

TEST_F(clsMainTest, FilesAreSavedOpenedAndDropped) {
    StartOnReader();
    chosenFile = "mine.txt";
    Click("cmdSave");
    EXPECT_EQ(LastLine(), "Save Device Info To File OK!");
    EXPECT_EQ(filters.back(), "Text (*.txt)");
    Select("cboLanguage", "Japan");
    Click("cmdOpen");
    EXPECT_EQ(Shown("cboLanguage"), "Germany");
    EXPECT_EQ(LastLine(), "Open Device Info From File OK!");
    chosenFile = "none.txt";
    Click("cmdOpen");
    EXPECT_EQ(LastLine(), "Open Device Info From File NG!");
    const auto lines = Log().size();
    chosenFile.clear();
    Click("cmdOpen");
    Click("cmdSave");
    EXPECT_EQ(Log().size(), lines) << "a cancelled dialog says nothing";

    const QTemporaryDir folder;  // only a file that is there can be dropped
    const QString dropped = folder.filePath("dropped.txt");
    QFile file(dropped);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    disk.Contents[dropped.toStdString()] = "nonsense\r\n";
    QMimeData what;
    what.setUrls({QUrl::fromLocalFile(dropped)});
    Input::Drop(*Find<TextBoxEx>("txtPrefix").viewport(), what);
    QCoreApplication::processEvents();
    EXPECT_EQ(LastLine(), "Open Device Info From File OK!");
    EXPECT_EQ(Shown("labNotice"),
              "no settings found in this file; lines must end in CR LF\n"
              "the file has no conversion table: the table shown is empty now");
    EXPECT_EQ(Find<QListWidget>("lstTable").count(), 0);
    EXPECT_EQ(Shown("txtPrefix"), "\x02ID=");

    chosenFile = "log.txt";
    emit Find<clsLogView>("txtView").SaveRequested();
    EXPECT_NE(disk.Contents["log.txt"].find(" - Save Device Info To File OK!\n"), std::string::npos);
}

TEST_F(clsMainTest, DefaultsGoToControlsAndReader) {
    StartOnReader();
    Click("cmdInitialize");
    EXPECT_EQ(LastLine(), "Open Zarn74 Default Info From File NG!");
    EXPECT_EQ(sent, "");
    disk.Contents["Default.ini"] = "[General]\r\nLanguage=4\r\n";
    Click("cmdInitialize");
    EXPECT_EQ(LastLine(), "Write Default Info OK");
    EXPECT_EQ(Shown("cboLanguage"), "Spanish");
    EXPECT_EQ(Logged("Open Default Info From File OK!"), 1);
    EXPECT_EQ(reader.Registers[210], 4);
    EXPECT_EQ(reader.Registers[161], 'I') << "what the file does not name stays";
    EXPECT_EQ(reader.Registers[0], 0xFF);
    reader.AddFault({SimFault::RefuseCode, 'C', -1, 0, -1, 3});
    Click("cmdInitialize");
    EXPECT_EQ(LastLine(), "Write Default Info NG");
}

TEST_F(clsMainTest, AScanWithoutAReaderSaysSoInABox) {
    Start();
    serial.Unplug(1);
    int inside = 0;
    inBox = [&] { inside = window->close() ? 2 : 1; };
    Click("cmdAutoScan");
    EXPECT_EQ(boxes, std::vector<QString>{"Missing Device"});
    EXPECT_EQ(inside, 1) << "the window does not close under its own box";
    EXPECT_TRUE(Enabled("cmdAutoScan") && Enabled("cmdExit") && !Enabled("cmdReadCardInfo"));
}

/// What is done in the middle of every flow, and what the flow's last line is then.
TEST_F(clsMainTest, WhateverComesInTheMiddleOfAFlowItEndsAsItShould) {
    enum What { Nothing, ClickAll, Close, Cancel, Pull };
    const struct {
        const char* button;
        int page;
        int at;  // ms from the click
        const char *passed, *failed;
    } flows[] = {
        {"cmdAutoScan", 0, 75, "Get Device Information OK", "Get Device Information NG"},
        {"cmdShowZarn74", 0, 30, "Get Device Information OK", "Get Device Information NG"},
        {"cmdApply", 0, 30, "Write OK", "Write NG"},
        {"cmdInitialize", 0, 30, "Write Default Info OK", "Write Default Info NG"},
        {"cmdReadCardInfo", 3, 30, "Empty", "Can't Get Card Info!"},
        {"cmdTest", 4, 30, "Test EEPROM OK", "Test EEPROM NG"},
    };
    disk.Contents["Default.ini"] = "[General]\r\nLanguage=4\r\nBaudrate=4800\r\n";
    for (const auto& flow : flows) {
        for (const What what : {Nothing, ClickAll, Close, Cancel, Pull}) {
            SCOPED_TRACE(std::string(flow.button) + " " + std::to_string(what));
            LoadExampleConfiguration(reader);
            serial.Replug(1);
            StartOnReader(/*bench=*/true);
            TurnTo(flow.page);
            Select("cboLanguage", "France");
            reader.AddFault({SimFault::LateReply, 0, -1, 0, -1, /*Value=*/20});
            bool closed = false;
            int flowsInside = 0;
            host.StartTimer(flow.at, [&] {
                for (const char* button : {"cmdAutoScan", "cmdShowZarn74", "cmdApply", "cmdInitialize",
                                           "cmdOpen", "cmdSave", "cmdExit", "cmdReadCardInfo"}) {
                    EXPECT_FALSE(Enabled(button)) << button;
                    if (what == ClickAll) Find<QPushButton>(button).click();
                }
                if (what == ClickAll) emit Find<clsLogView>("txtView").SaveRequested();
                EXPECT_TRUE(filters.empty()) << "no dialog inside a flow";
                flowsInside += window->Flows().FlowRunning();
                if (what == Close) closed = window->close();
                if (what == Cancel) Click("cmdCancel");
                if (what == Pull) serial.Unplug(1);
            });
            Click(flow.button);
            EXPECT_EQ(flowsInside, 1);
            EXPECT_FALSE(closed);
            reader.ClearFaults();
            host.Run(1000);
            // a test that is to make way for a closing window says OK
            const bool passes = what < Close || (what == Close && flow.button == std::string("cmdTest"));
            const char* const end = passes ? flow.passed : flow.failed;
            EXPECT_EQ(LastLine(), end);
            EXPECT_LE(Logged(end), flow.button == std::string("cmdAutoScan") ? 1 : 2);
            EXPECT_EQ(Enabled("cmdShowZarn74"), what != Pull);
            EXPECT_EQ(Shown("labStatusPort") == "no port open", what == Pull);
            EXPECT_TRUE(Enabled("cmdAutoScan") && Find<QPushButton>("cmdCancel").isHidden());
            EXPECT_EQ(boxes.size(), 0U);
            const bool test = flow.button == std::string("cmdTest");
            EXPECT_EQ(Shown("labTest"), !test ? "not tested" : what < Close ? "OK" : "NG");
            EXPECT_TRUE(window->close());
            comm.SetPortOpen(false);
        }
    }
}

TEST_F(clsMainTest, TheTestsButtonEndsItsTest) {
    StartOnReader(/*bench=*/true);
    TurnTo(4);
    host.StartTimer(1, [this] {
        EXPECT_EQ(Find<QPushButton>("cmdTest").text(), "Cancel");
        Click("cmdTest");
    });
    reader.AddFault({SimFault::LateReply, 0, -1, 0, -1, /*Value=*/20});
    Click("cmdTest");
    EXPECT_EQ(LastLine(), "Test EEPROM NG");
    EXPECT_EQ(Find<QPushButton>("cmdTest").text(), "Test EEPROM");
}

TEST_F(clsMainTest, AStopFromOutsideEndsTheFlowAndThenTheWindow) {
    StartOnReader();
    reader.AddFault({SimFault::LateReply, 0, -1, 0, -1, /*Value=*/20});
    host.StartTimer(30, [this] { window->CloseSoon(); });
    Click("cmdShowZarn74");
    EXPECT_EQ(LastLine(), "Get Device Information NG");
    QCoreApplication::processEvents();
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(disk.Contents.count("start"), 1U);
}

}  // namespace
