#include <QCheckBox>
#include <QClipboard>
#include <QLineEdit>
#include <QScrollBar>
#include <QTableView>

#include "WindowFixture.h"
#include "window/clsTrafficDock.h"

namespace {

struct clsTrafficTest : clsWindowTest {
    void Open() {
        Do("actTraffic");
        list = &Find<QTableView>("lstTraffic");
    }
    [[nodiscard]] QString Cell(int row, int column) const {
        return list->model()->index(row, column).data().toString();
    }
    [[nodiscard]] QString Meaning(int row) const { return Cell(row, clsTrafficModel::MeaningColumn); }
    [[nodiscard]] int Count() const { return list->model()->rowCount(); }
    QTableView* list = nullptr;
};

// Opened after a failure it shows what led there.
TEST_F(clsTrafficTest, ShowsWhatWasOnTheLineBeforeItWasOpened) {
    StartOnReader();
    EXPECT_EQ(window->findChild<QTableView*>("lstTraffic"), nullptr);
    Open();
    ASSERT_GT(Count(), 5);
    EXPECT_EQ(Meaning(0), "ask who is there");
    EXPECT_EQ(Cell(0, clsTrafficModel::TextColumn), "<STX>D<CR>");
    EXPECT_EQ(Cell(0, clsTrafficModel::BytesColumn), "02 44 0D");
    EXPECT_TRUE(Shown("labTraffic").starts_with(std::to_string(Count()) + " of " + std::to_string(Count())));
}

TEST_F(clsTrafficTest, ShowsWhatItsFiltersLetThrough) {
    StartOnReader();
    Open();
    std::uint8_t value = 0;
    comm.GetRegister(210, value);
    Fault("refuse-code value=5 once command=C");
    comm.SetRegister(210, 3);
    QTest::qWait(200);
    const int all = Count();
    Select("cboTrafficCommand", "Write a register");
    ASSERT_EQ(Count(), 2);
    EXPECT_TRUE(Meaning(1).contains("refused: N05")) << Meaning(1).toStdString();
    Select("cboTrafficCommand", "All commands");
    EXPECT_EQ(Count(), all);
    Find<QCheckBox>("chkTrafficFaults").setChecked(true);
    ASSERT_EQ(Count(), 1);
    Find<QCheckBox>("chkTrafficFaults").setChecked(false);
    Select("cboTrafficDirection", "Received");
    Find<QLineEdit>("txtTrafficFilter").setText("register 210");
    ASSERT_EQ(Count(), 2);
    EXPECT_TRUE(Meaning(0).startsWith("read register 210 Language"));
    list->selectRow(0);
    QTest::keyClick(list, Qt::Key_C, Qt::ControlModifier);
    EXPECT_TRUE(QGuiApplication::clipboard()->text().endsWith("checksum good\n"));
    QTest::keyClick(list, Qt::Key_Return);  // goes to the setting
    EXPECT_EQ(window->focusWidget(), &Find<QWidget>("cboLanguage"));
    Find<QLineEdit>("txtTrafficFilter").clear();
    Select("cboTrafficDirection", "Both ways");
    Click("cmdTrafficPause");
    comm.GetRegister(211, value);
    QTest::qWait(200);
    EXPECT_EQ(Count(), all);
    Click("cmdTrafficPause");
    EXPECT_EQ(Count(), all + 2);
    auto& find = Find<QLineEdit>("txtTrafficFind");
    find.setText("N05");
    QTest::keyClick(&find, Qt::Key_Return);
    EXPECT_TRUE(Meaning(list->currentIndex().row()).contains("N05"));
    Click("cmdTrafficClear");
    EXPECT_EQ(Count(), 0);
}

// Paused, nothing new is shown, whatever is chosen meanwhile; and where rows fall out, what is looked at
// stays.
TEST_F(clsTrafficTest, HoldsStillWhatIsLookedAt) {
    StartOnReader();
    Open();
    auto arrives = [this, number = 0](int count) mutable {
        for (; count > 0; --count)
            comm.OnMonitorData.Raise("\x02" + std::to_string(++number) + "\r", /*received=*/true);
        QTest::qWait(250);
    };
    auto& bar = *list->verticalScrollBar();
    const auto seen = [&] { return Cell(list->rowAt(0), clsTrafficModel::TextColumn); };
    arrives(static_cast<int>(clsWireRing::wideRows));
    EXPECT_EQ(bar.value(), bar.maximum());
    bar.setValue(50'000);
    const QString looked = seen();
    arrives(700);
    EXPECT_EQ(seen(), looked);
    Click("cmdTrafficPause");
    const QString last = Cell(Count() - 1, clsTrafficModel::TextColumn);
    arrives(300);
    EXPECT_EQ(seen(), looked);
    Select("cboTrafficDirection", "Received");
    EXPECT_EQ(Cell(Count() - 1, clsTrafficModel::TextColumn), last);
    EXPECT_EQ(seen(), looked);
    Click("cmdTrafficPause");
    EXPECT_EQ(Cell(Count() - 1, clsTrafficModel::TextColumn), "<STX>101000<CR>");
    EXPECT_EQ(seen(), looked);
}

TEST_F(clsTrafficTest, CannotRecordWhereThereIsNoFile) {
    Start();
    chosenFile = "line.jsonl";
    Do("actRecord");
    EXPECT_FALSE(Find<QAction>("actRecord").isChecked());
}

}  // namespace
