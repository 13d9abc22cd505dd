// What was done to the settings is undone and redone, step by step.

#include <QMenu>
#include <random>

#include "WindowFixture.h"
#include "window/clsFormHistory.h"

namespace {

struct clsUndoTest : clsWindowTest {
    /// What Undo is called in the menu, in brackets when it is not to be had.
    [[nodiscard]] std::string Step() const {
        const QAction& undo = *window->findChild<QAction*>("actUndo");
        return (undo.isEnabled() ? undo.text() : '(' + undo.text() + ')').toStdString();
    }
    /// Every setting as it is on the pages: also what no reader can hold, and empty lists.
    [[nodiscard]] std::string Values() const {
        const ZarnForm form = Form();
        std::string values = clsSettingsFile::MakeText(form.Record, form.Table.Rows, false).Text;
        for (const bool none : form.NoSelection) values += none ? '-' : '+';
        return values;
    }
    /// Separated by ";": a button or an action; a list = its entry; a control : keys, or "focus".
    void Do(const QString& steps) const {
        for (const QString& step : steps.split(';')) {
            const QByteArray name = step.section(QRegularExpression("[=:]"), 0, 0).toLatin1();
            const QString what = step.mid(name.size() + 1);
            if (step == name)
                QMetaObject::invokeMethod(window->findChild<QObject*>(name),
                                          name[0] == 'a' ? "trigger" : "click");
            else if (what == "focus")
                Find<QWidget>(name).setFocus();
            else
                step.contains('=') ? Select(name, what.toLatin1()) : Input::Press(Find<QWidget>(name), what);
        }
    }
};

TEST_F(clsUndoTest, EachEditAndEachFlowIsANamedStepAndTypingInOneBoxIsOne) {
    StartOnReader();
    disk.Contents = {{"Default.ini", "[General]\r\nPrefix=d\r\n"}, {"a&b", "[General]\r\nPrefix=f\r\n"}};
    chosenFile = "a&b";
    TurnTo(KeyPage);
    QGuiApplication::clipboard()->setText("0123456789abcdefgh");
    const struct {
        const char *name, *edit;
        int steps;
    } rows[] = {
        {"Language", "cboLanguage=Japan;cboLanguage=Spanish", 2},
        {"Buzzer enabled", "chkBuzzerEnabled", 1},
        {"Prefix", "txtPrefix:focus;txtPrefix:a Ctrl+Z Left b Shift+Ins", 1},
        {"Prefix", "txtPrefix:Home Del;txtView:focus;txtPrefix:Del z", 2},
        {"On remove", "txtOnRemove:a;txtPrefix:Home Del;txtOnRemove:b c", 3},
        {"Hex digits of Mifare 1K", "oCardSNLen0:Right Right End Left", 1},
        {"Add row", "txtOutputID:0 0 0 0 0 0 0 1;txtOutputString:x;cmdAddOutput", 1},
        {"Modify row", "lstTable:Down;txtOutputString:y;cmdEditOutput", 1},
        {"Row mark", "lstTable:Space", 1},
        {"Remove row", "cmdRemove", 1},
        {"Default", "cmdInitialize", 1},
        {"Open a&&b", "cmdOpen", 1},
        {"Prefix", "cmdInitialize;cmdOpen;txtPrefix:a", 3},
        {"Read", "cmdShowZarn74;cmdShowZarn74;chkAutoRead;lstTable:Down;txtPrefix:a Backspace", 1},
    };
    for (const auto& [name, edit, steps] : rows) {
        const std::string before = Values();
        Do(edit);
        EXPECT_EQ(Step(), std::string("&Undo ") + name);
        for (int i = 0; i < steps; ++i) Do("actUndo");
        EXPECT_EQ(Values(), before) << name;
        for (int i = 0; i < steps; ++i) Do("actRedo");
    }
}

// To and fro as chance has it, between changes of every item and flows.
TEST_F(clsUndoTest, UndoAndRedoLeadToExactlyWhatWasThereAndTheReaderHearsNothing) {
    Start();
    disk.Contents = {{"Default.ini", "[General]\r\nPrefixHex=613C0100\r\nFilter_Start(2)=77\r\n"}};
    std::array others{RecordOf(unusual), ZarnInfo()};
    others[0].CardFilter.fill({-5, 99});
    std::vector<std::string> states{Values()};
    std::size_t at = 0;
    std::mt19937 random(74);
    for (std::size_t i = 0; i < 4 * itemCount; ++i) {
        const std::size_t edit = 37 * i % (4 * itemCount);  // each item to one value and the other, twice
        ZarnForm form = Form();
        const SettingItem item(edit % itemCount);
        item.Copy(others[edit % 2], form.Record);
        if (item.Kind() == ItemKind::Entry)
            form.Table.Rows.resize(std::size_t(item.Index() + 1), {"row", false});
        window->ShowForm(form);
        Do(Find<QWidget>("txtView").hasFocus() ? "cmdSave:focus" : "txtView:focus");  // ends the step
        for (const char* flow : {"chkEnabled", random() % 2 == 0 ? "cmdAutoScan" : "cmdInitialize"}) {
            if (random() % 6 == 0) Do(flow);
            if (Values() == states[at]) continue;
            states.resize(++at);
            states.push_back(Values());
        }
        Sent.clear();
        for (auto times = random() % 5; times > 0; --times) {
            const bool undo = random() % 3 > 0;
            Do(undo ? "actUndo" : "actRedo");
            at = undo ? at - (at > 0) : std::min(at + 1, states.size() - 1);
            ASSERT_EQ(Values(), states[at]);
        }
        EXPECT_EQ(Sent, "");
    }
}

TEST_F(clsUndoTest, KeysUndoWhereTheUserIsAndTurnToWhatChanges) {
    StartOnReader();
    TurnTo(KeyPage);
    const std::pair<const char*, const char*> rows[] = {
        {"cboLanguage=Japan;txtPrefix:focus;txtPrefix:Home a Ctrl+Z Ctrl+Shift+Z",
         "Japan a\x1A\x1A\x02ID=  1 txtPrefix"},
        {"txtPrefix:Alt+Backspace", "Japan \x02ID=  1 txtPrefix"},
        {"txtPrefix:Alt+Backspace", "Germany \x02ID=  0 qt_tabwidget_tabbar"},  // where Ctrl+Z goes on
        {"cboLanguage:focus;cboLanguage:Ctrl+Shift+Z", "Japan \x02ID=  0 cboLanguage"},
        {"cboLanguage:Ctrl+Shift+Z", "Japan a\x1A\x1A\x02ID=  1 qt_tabwidget_tabbar"},
        {"txtPrefix:Alt+Backspace z", "Japan \x02ID=z  1 qt_tabwidget_tabbar"},  // the caret is at the end
        {"txtOutputID:1 Alt+Backspace Alt+Backspace", "Japan \x02ID=z  1 qt_tabwidget_tabbar"},  // its own
        {"txtOutputID:Shift+Alt+Backspace", "Japan \x02ID=z 1 1 qt_tabwidget_tabbar"},
    };
    for (const auto& [keys, expected] : rows) {
        Do(keys);
        const std::string page = std::to_string(Find<QTabWidget>("SSTab1").currentIndex());
        EXPECT_EQ(Shown("cboLanguage txtPrefix txtOutputID") + " " + page + " " +
                      window->focusWidget()->objectName().toStdString(),
                  expected);
    }
    Do("oCardSNLen0:Right;cboCardNumericSys=Dec;actUndo;actUndo");
    EXPECT_EQ(Find<QTabBar>("SSTab2").currentIndex(), 0);
    Do("lstTable:Down;cmdRemove;lstTable:Down;actUndo");
    EXPECT_EQ(Find<QListWidget>("lstTable").currentRow(), 1) << "the same row";
    QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(), QPoint());
    QCoreApplication::sendEvent(&Find<QWidget>("txtPrefix"), &event);
    QWidget& menu = *QApplication::activePopupWidget();
    EXPECT_EQ(menu.actions()[0], window->findChild<QAction*>("actUndo"));
    EXPECT_EQ(menu.findChild<QAction*>("edit-undo"), nullptr);
    menu.close();
}

TEST_F(clsUndoTest, SoManyStepsAreKept) {
    Start();
    for (int i = 0; i <= clsFormHistory::stepLimit; ++i) Do("chkBuzzerEnabled");
    int undone = 0;
    for (; Step()[0] == '&'; ++undone) Do("actUndo");
    EXPECT_EQ(undone, clsFormHistory::stepLimit);
}

TEST_F(clsUndoTest, AnEntryThatIsNotOfferedAnyMoreIsNotShown) {
    StartOnReader();
    Do("cboDelimiter=None;cboDelimiter=LF");
    reader.Version = "V1.01R003,FWQ-K3861";
    Do("cmdAutoScan;actUndo;actUndo");
    EXPECT_EQ(Find<QComboBox>("cboDelimiter").currentIndex(), -1);
    Do("cboLanguage=Japan");
    EXPECT_EQ(Step(), "&Undo Language") << "and is no edit";
}

}  // namespace
