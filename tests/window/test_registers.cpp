// The registers as the window shows them.

#include <QAccessible>
#include <QClipboard>
#include <QDockWidget>
#include <QLineEdit>
#include <QMenu>

#include "WindowFixture.h"
#include "window/clsRegisterGrid.h"
#include "window/clsRegisterModel.h"

namespace {

struct clsRegistersDockTest : clsWindowTest {
    void Open() {
        Do("actRegisters");
        QCoreApplication::processEvents();
    }
    [[nodiscard]] clsRegisterGrid& Grid() const { return Find<clsRegisterGrid>("grdRegisters"); }
    /// What stands under the cells once the cursor is there.
    Texts At(const char* typed) const {
        QTest::keyClick(&Grid(), typed[0]);
        auto& box = Find<QLineEdit>("txtRegister");
        QTest::keyClicks(&box, typed + 1);
        QTest::keyClick(&box, Qt::Key_Return);
        return modText::Split(Shown("labRegister"), '\n');
    }
    /// Chooses what to compare with by the beginning of its text, "&" left out.
    std::string Compare(const QString& what) const {
        auto& menu = Find<QMenu>("mnuCompareRegisters");
        emit menu.aboutToShow();
        std::string all;
        for (QAction* const action : menu.actions()) {
            const QString text = action->text().remove('&');
            all += text.toStdString() + "|";
            if (!text.startsWith(what)) continue;
            action->trigger();
            return Shown("labRegisters");
        }
        return all;
    }
};

TEST_F(clsRegistersDockTest, EachCellTellsItsSettingByteAndMeaningAndLeadsToTheControl) {
    Start();
    EXPECT_EQ(window->findChild<QDockWidget*>(), nullptr) << "costs nothing before it is wanted";
    Open();
    EXPECT_TRUE(Shown("labRegisters").starts_with("No memory image of a reader was seen yet."));
    EXPECT_EQ(Grid().model()->index(13, 2).data().toString(), "");
    EXPECT_FALSE(Enabled("cmdDump"));
    Click("cmdAutoScan");
    EXPECT_EQ(Shown("labRegisters"), "Read at 14:03.");
    Sent.clear();
    EXPECT_EQ(At("210"), (Texts{"Register 210 (0D2): 02", "Language: Germany"}));
    EXPECT_EQ(At("0xA0"),
              (Texts{"Register 160 (0A0): 02", "Prefix, byte 1 of 16: key <STX>", "Prefix = <STX>ID="}));
    QTest::keyClick(&Grid(), Qt::Key_End);
    EXPECT_EQ(Grid().Current(), 0xAF);
    QTest::keyClick(&Grid(), Qt::Key_Home);
    QTest::keyClick(&Grid(), Qt::Key_Down);
    EXPECT_EQ(Grid().Current(), 0xB0);
    EXPECT_EQ(At("512"), Texts{"There is no register 512: 0 to 511, or 0x000 to 0x1FF"});
    auto* const cells = QAccessible::queryAccessibleInterface(&Grid())->tableInterface();
    EXPECT_EQ(cells->cellAt(13, 8)->text(QAccessible::Name).toStdString(),
              "Register 216 (0D8): FF; not used");

    for (const auto& [number, control] :
         {std::pair("210", "cboLanguage"), {"0xC3", "txtOnRemove"}, {"256", "lstTable"}}) {
        At(number);
        QTest::keyClick(&Grid(), Qt::Key_Return);
        EXPECT_EQ(window->focusWidget(), &Find<QWidget>(control)) << control;
    }
    EXPECT_EQ(Sent, "");
    QTest::keyClick(&Grid(), Qt::Key_C, Qt::ControlModifier);
    const QString copied = QApplication::clipboard()->text();
    chosenFile = "registers";
    Click("cmdSaveRegisters");
    EXPECT_EQ(disk.Contents["registers"], copied.toStdString());
    EXPECT_TRUE(copied.startsWith("Read at 14:03.\n000 (0):   01  Table row 1, card type "));
    EXPECT_EQ(copied.count('\n'), 513);
    QTest::keyClick(window.get(), Qt::Key_F12, Qt::ShiftModifier);
    EXPECT_TRUE(Find<QDockWidget>("dockRegisters").isHidden());
}

TEST_F(clsRegistersDockTest, NoTwoSettingsSideBySideLookAlike) {
    const clsRegisterModel model(nullptr);
    for (int number = 0; number < registerCount; ++number) {
        for (const int step : {1, 15, 16, 17}) {
            const int other = number + step;
            const int columns = std::abs(number % 16 - other % 16);
            if (other >= registerCount || columns > 1) continue;
            const auto kind = [&](int at) { return model.IndexOf(at).data(clsRegisterModel::KindRole); };
            EXPECT_EQ(RegisterMeaning::RoleOf(number).Item == RegisterMeaning::RoleOf(other).Item,
                      kind(number) == kind(other))
                << number << " " << other;
        }
    }
}

TEST_F(clsRegistersDockTest, WhatDiffersFromAReadingAFileOrAnEventIsMarked) {
    StartOnReader();
    Open();
    Select("cboLanguage", "Spanish");
    Click("cmdApply");
    EXPECT_EQ(Shown("labRegisters"), "Read at 14:03. Written or read otherwise since: 2 of 512.");
    EXPECT_EQ(At("210").back(), "its setting was written since");
    EXPECT_EQ(At("217").back(), "its setting was written since") << "with every write, the same or not";
    Sent.clear();
    Click("cmdDump");
    EXPECT_EQ(Sent, "YY") << "an image is compared with a second one";
    EXPECT_EQ(Log().back(), "Dump OK");
    EXPECT_EQ(At("210"), (Texts{"Register 210 (0D2): 04", "Language: Spanish"}));
    EXPECT_EQ(Compare("The reading before, 14:03"),
              "Read at 14:03. Different from what was read before, at 14:03: 1 of 512.");
    EXPECT_EQ(At("210").back(), "14:03: 02, Germany");
    EXPECT_TRUE(Grid().currentIndex().data(clsRegisterModel::DiffersRole).toBool());
    EXPECT_EQ(At("209").back(), "14:03: the same");

    const auto withFile = [&](const std::string& content) {
        disk.Contents["file"] = content;
        chosenFile = "file";
        Compare("A settings file or an image...");
        return Shown("labRegisters").substr(15);
    };
    EXPECT_EQ(withFile(TextOf(window->Flows().Record()) + "PrefixHex=02\r\n"),
              "Different from file: 1 of 512.");
    EXPECT_EQ(At("161").back(), "file: FF, end of the text");
    const auto others = 512 - std::count(reader.Registers.begin(), reader.Registers.end(), 0xFF);
    EXPECT_EQ(withFile(std::string(512, '\xFF')),
              "Different from file: " + std::to_string(others) + " of 512.");
    withFile("nonsense");
    EXPECT_EQ(Shown("labNotice"), "file is neither a settings file nor an image of 512 bytes");

    clsMemoryHistory history;
    window->UseHistory(history, /*always=*/true);
    Click("cmdShowZarn74");
    window->Flows().KeepHistory(nullptr);
    reader.Registers[216] = 1;
    Click("cmdDump");
    EXPECT_TRUE(Compare("2026-").ends_with(" read, COM1: 1 of 512."));
    EXPECT_EQ(Compare("no such").find("None with"), std::string::npos);
    EXPECT_EQ(Compare("Nothing"), "Read at 14:03.");
    window.reset();  // before the history
}

}  // namespace
