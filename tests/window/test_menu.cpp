#include <QDialog>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QTableWidget>
#include <QTextBrowser>
#include <QTimer>
#include <set>

#include "WindowFixture.h"
#include "base/clsScopeGuard.h"

namespace {

using clsMenuTest = clsWindowTest;

QChar Mnemonic(const QString& text) {
    const auto at = QString(text).replace("&&", "  ").indexOf('&');
    return at < 0 ? QChar() : text[at + 1].toUpper();
}

TEST_F(clsMenuTest, NoTwoThingsThatCanBeSeenTogetherHaveOneMnemonic) {
    for (const bool bench : {false, true}) {
        StartOnReader(bench);
        const auto expectOnce = [](std::set<QChar>& taken, const QString& text) {
            const QChar letter = Mnemonic(text);
            EXPECT_TRUE(letter.isNull() || taken.insert(letter).second) << text.toStdString();
        };
        std::set<QChar> bar;
        for (const QAction* menu : window->menuBar()->actions()) {
            expectOnce(bar, menu->text());
            std::set<QChar> inside;
            for (const QAction* action : menu->menu()->actions())
                if (action->isVisible()) expectOnce(inside, action->text());
        }
        auto& tabs = Find<QTabWidget>("SSTab1");
        for (int page = 0; page < tabs.count(); ++page) {
            tabs.setCurrentIndex(page);
            std::set<QChar> taken = bar;
            for (int tab = 0; tab < tabs.count(); ++tab) expectOnce(taken, tabs.tabText(tab));
            for (const QWidget* widget : window->findChildren<QWidget*>()) {
                const auto* const label = qobject_cast<const QLabel*>(widget);
                const auto* const button = qobject_cast<const QAbstractButton*>(widget);
                if (!widget->isVisible() || (label == nullptr && button == nullptr)) continue;
                if (label != nullptr && label->buddy() == nullptr) continue;
                expectOnce(taken, label != nullptr ? label->text() : button->text());
            }
        }
        EXPECT_EQ(Mnemonic(Find<QAbstractButton>("cmdInitialize").text()), QChar()) << "it destroys";
    }
}

TEST_F(clsMenuTest, ACommandIsAsItsButtonIs) {
    Start();
    const std::pair<const char*, const char*> rows[] = {
        {"actOpen", "cmdOpen"},        {"actSave", "cmdSave"},          {"actRead", "cmdShowZarn74"},
        {"actWrite", "cmdApply"},      {"actDefault", "cmdInitialize"}, {"actReadCard", "cmdReadCardInfo"},
        {"actCancel", "cmdCancel"},    {"actAddRow", "cmdAddOutput"},   {"actModifyRow", "cmdEditOutput"},
        {"actAutoScan", "cmdAutoScan"}};
    const auto expectAlike = [&](const char* when) {
        for (const auto& [action, button] : rows)
            EXPECT_EQ(Find<QAction>(action).isEnabled(), Enabled(button)) << action << when;
    };
    expectAlike(", no reader");
    host.StartTimer(30, [&] { expectAlike(", in a flow"); });
    Do("actAutoScan");
    EXPECT_EQ(LastLine(), "Get Device Information OK");
    expectAlike(", on a reader");
    Sent.clear();
    QTest::keyClick(window.get(), Qt::Key_F9);
    EXPECT_EQ(Sent, "") << "the key of Default in former days";
}

TEST_F(clsMenuTest, TheKeysShownAreTheKeysThatThereAre) {
    const clsScopeGuard restored([was = QLocale()] { QLocale::setDefault(was); });
    QLocale::setDefault(QLocale::c());  // knows no numbers in names
    Start();
    QTest::keyClick(window.get(), Qt::Key_F1);
    const auto& table = Find<QTableWidget>("tblKeys");
    std::map<QString, QString> keys;
    for (int row = 0; row < table.rowCount(); ++row)
        keys[table.item(row, 1)->text()] = table.item(row, 0)->text();
    EXPECT_EQ(keys["Read"], "F5");
    EXPECT_EQ(table.item(3, 0)->text(), "F2") << "before F10";
    QTest::keyClick(window.get(), Qt::Key_F10);
    EXPECT_EQ(window->menuBar()->activeAction(), window->menuBar()->actions().front());
    EXPECT_EQ(keys["Open"], "F3 or Ctrl+O");
    EXPECT_EQ(keys["Review and write"], "Shift+F8");
    QTest::keyClick(window.get(), Qt::Key_F1);
    EXPECT_EQ(window->findChildren<QDialog*>("dlgKeys").size(), 1);
    Do("actGuide");
    EXPECT_TRUE(Find<QTextBrowser>("txtGuide").toPlainText().startsWith("For the technician"));
    Do("actAbout");
    EXPECT_TRUE(Find<QLabel>("labAbout").text().contains(window->windowTitle()));
}

TEST_F(clsMenuTest, TheFilesUsedLastAreKeptTheNewestFirst) {
    Start();
    for (const char* name : {"/a", "/b", "/c\n%1", "/a"}) {
        disk.Contents[name] = "[General]\r\nLanguage=2\r\n";
        window->OpenFile(name);
    }
    chosenFile = "/d&e";
    Do("actSave");
    window->OpenFile("/missing");
    window->close();
    Start();
    QStringList names;
    for (const QAction* action : Find<QMenu>("mnuRecent").actions()) names += action->text();
    EXPECT_EQ(names.join(' '), "&1 /d&&e &2 /a &3 /c %1 &4 /b");
    Select("cboLanguage", "Japan");
    Find<QMenu>("mnuRecent").actions().at(1)->trigger();
    EXPECT_EQ(Shown("cboLanguage"), "Germany");
    for (const char name : std::string("efghijkl"))
        window->OpenFile(disk.Contents.insert_or_assign({name}, disk.Contents["/b"]).first->first);
    EXPECT_EQ(Find<QMenu>("mnuRecent").actions().size(), 9);
    window->close();
    store.SaveSetting("Window", "RecentFiles",
                      QByteArray(99, 'x').replace('x', QByteArray("x\0", 2)).toBase64().toStdString());
    Start();
    EXPECT_EQ(Find<QMenu>("mnuRecent").actions().size(), 9);
}

TEST_F(clsMenuTest, DefaultRestoresWhatWasSavedAsMine) {
    userDefaults.clear();
    Start();
    EXPECT_FALSE(Find<QAction>("actSaveDefault").isEnabled()) << "in the demo";
    userDefaults = "mine.ini";
    disk.Contents["Default.ini"] = "[General]\r\nLanguage=1\r\n";
    StartOnReader();
    Select("cboLanguage", "Germany");
    Do("actSaveDefault");
    EXPECT_NE(disk.Contents["mine.ini"].find("Language=2\r\n"), std::string::npos);
    Do("actRead");
    Select("cboLanguage", "Japan");
    Do("actDefault");
    EXPECT_EQ(Shown("cboLanguage"), "Germany");
    const auto kept = disk.Contents[userDefaults];
    EXPECT_EQ(boxes, "") << "there was none";
    Do("actSaveDefault");
    EXPECT_TRUE(boxes.starts_with("Replace ")) << boxes;
    EXPECT_EQ(disk.Contents[userDefaults], kept) << "nobody said yes";
}

TEST_F(clsMenuTest, FullScreenIsTickedWhoeverMadeItSo) {
    Start();
    const auto& full = Find<QAction>("actFullScreen");
    window->setWindowState(Qt::WindowFullScreen);  // as the desktop does
    EXPECT_TRUE(full.isChecked());
    window->close();
    Start();
    EXPECT_EQ(Find<QAction>("actFullScreen").isChecked(), window->isFullScreen()) << "as it was left";
    Do("actFullScreen");
    EXPECT_FALSE(window->isFullScreen());
}

TEST_F(clsMenuTest, ASignalEndsADialogAboveADialogToo) {
    Start();
    QDialog outer(window.get());
    QDialog inner(&outer);
    QTimer::singleShot(0, &outer, [&] { inner.exec(); });
    QTimer::singleShot(50, &outer, [&] { window->CloseSoon(); });
    QTimer::singleShot(3000, &outer, [&] { outer.accept(); });
    EXPECT_EQ(outer.exec(), QDialog::Rejected);
    EXPECT_FALSE(window->isVisible());
}

}  // namespace
