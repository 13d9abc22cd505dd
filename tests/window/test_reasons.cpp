#include <QClipboard>
#include <QDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTimer>
#include <QTreeWidget>

#include "WindowFixture.h"

namespace {

struct clsReasonsTest : clsWindowTest {
    clsLogView& LogView() { return Find<clsLogView>("txtView"); }
    QWidget* Pane() { return window->findChild<QWidget*>("fraExplanation"); }
    std::string Explained() { return QtText::ToBytes(Find<QTextBrowser>("txtExplanation").toPlainText()); }
    /// Puts the cursor into the last line with that text, as the arrow keys do.
    void Choose(const char* text) {
        LogView().LogText();
        LogView().setFocus();
        for (QTextBlock line = LogView().document()->lastBlock(); line.isValid(); line = line.previous())
            if (line.text().contains(text)) return LogView().setTextCursor(QTextCursor(line));
        FAIL() << text;
    }
};

TEST_F(clsReasonsTest, AFailureIsExplainedBesideTheLogWhichStaysAsItIs) {
    StartOnReader();
    reader.AddFault({SimFault::RefuseCode, 'C'});
    Select("cboLanguage", "Japan");
    Click("cmdApply");
    ASSERT_EQ(LastLine(), "Write NG");
    EXPECT_EQ(Pane(), nullptr) << "made when it is first wanted";
    const QString log = LogView().LogText();
    Choose("Found a reader");
    EXPECT_EQ(Pane(), nullptr);
    Choose("SetRegister - Reg=");
    ASSERT_TRUE(Pane() != nullptr && Pane()->isVisible());
    EXPECT_NE(Explained().find("refused the write"), std::string::npos);
    Choose("Write NG");
    EXPECT_EQ(Shown("labExplanation").substr(11), "Write NG");
    EXPECT_EQ(Explained().find("The writing broke off"), 0U);
    Click("cmdHideExplanation");
    EXPECT_FALSE(Pane()->isVisible());

    LogView().setFocus();
    LogView().moveCursor(QTextCursor::Start);
    QTest::keyClick(&LogView(), Qt::Key_F1);
    EXPECT_TRUE(Pane()->isVisible()) << "the last failure";
    EXPECT_EQ(window->findChild<QDialog*>("dlgKeys"), nullptr);
    EXPECT_EQ(LogView().LogText(), log);
    Find<QWidget>("cmdAutoScan").setFocus();
    QTest::keyClick(window.get(), Qt::Key_F1);
    EXPECT_NE(window->findChild<QDialog*>("dlgKeys"), nullptr);
}

TEST_F(clsReasonsTest, TheCheckOfAccessShowsFindingsAndAsksPortsOnlyAfterAYes) {
    AccessReport report;
    report.Nodes.resize(2);
    for (AccessNode& node : report.Nodes) {
        node.Name = &node == &report.Nodes.front() ? "COM1" : "COM2";
        node.There = node.May = true;
    }
    int looks = 0;
    access = [&] {
        ++looks;
        return report;
    };
    Start();
    Do("actCheckAccess");
    auto& dialog = Find<QDialog>("dlgAccess");
    EXPECT_EQ(Shown("labAccess"), "Nothing is wrong.");
    EXPECT_EQ(Find<QTreeWidget>("lstAccess").topLevelItemCount(), 2);
    std::string shown;
    bool yes = false;
    window->QuestionDoor = [&](const QString& text) {
        EXPECT_TRUE(text.endsWith("Ask them now?"));
        shown = Shown("labAccess");
        return yes;
    };
    Click("cmdAccessAsk");
    EXPECT_EQ(shown, "Nothing is wrong.") << "nothing is being asked yet";
    EXPECT_EQ(Sent, "");
    EXPECT_EQ(looks, 1);
    yes = true;
    Click("cmdAccessAsk");
    EXPECT_NE(Sent, "");
    EXPECT_FALSE(comm.PortOpen());
    EXPECT_EQ(store.GetSetting("Zarn*", "LastCommPort", "none"), "none");
    EXPECT_TRUE(Enabled("cmdAccessAsk"));
    const auto nodes = std::exchange(report.Nodes, {});
    Click("cmdAccessAsk");
    EXPECT_EQ(Shown("labAccess"), "Nothing is wrong.") << "there was no port that could have answered";
    report.Nodes = nodes;
    report.Findings.push_back({AccessTrouble::NotInGroup, "COM2", "what", "why", "do", "a 'command'"});
    Click("cmdAccessAgain");
    EXPECT_EQ(looks, 4);
    Click("cmdCopy1");
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(), "a 'command'");
    Sent.clear();
    host.StartTimer(30, [&] { dialog.reject(); });  // ends the asking first
    Click("cmdAccessAsk");
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_FALSE(Shown("labAccess").empty());
    dialog.reject();
    EXPECT_FALSE(dialog.isVisible());
    Click("cmdAutoScan");
    Do("actCheckAccess");
    EXPECT_FALSE(
        window->findChildren<QDialog*>("dlgAccess").back()->findChild<QWidget*>("cmdAccessAsk")->isEnabled())
        << "a reader is in use";
}

TEST_F(clsReasonsTest, EnterIsNoYesToAQuestion) {
    Start();
    for (const bool yes : {true, false}) {
        QTimer::singleShot(0, [yes] {
            auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (yes) box->button(QMessageBox::Yes)->click();
            if (!yes) QTest::keyClick(box, Qt::Key_Return);
        });
        EXPECT_EQ(realQuestion("Ask them now?"), yes);
    }
}

}  // namespace
