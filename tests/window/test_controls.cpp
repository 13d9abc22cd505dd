// What the window's controls hold, and what a user's hands do to them.

#include <QAbstractItemView>
#include <QAccessible>
#include <QCheckBox>
#include <QLabel>
#include <QWheelEvent>
#include <map>
#include <set>

#include "WindowFixture.h"
#include "base/clsScopeGuard.h"
namespace {

using clsControlsTest = clsWindowTest;

TEST_F(clsControlsTest, TheListsStartWithTheirEntriesAndValues) {
    Start();
    const std::pair<const char*, const char*> rows[] = {
        {"cboBaudRate", "2400:2400,4800:4800,9600:9600,14400:14400,19200:19200,"},
        {"cboLanguage", "Japan:0,France:1,Germany:2,English(UK):3,Spanish:4,USA:255,"},
        {"cboTagFrequency", "LF (125KHz):1,HF (13.56 MHz):2,LF + HF:3,"},
        {"cboUsbInterface", "CDC:0,HID:255,"},
        {"cboDelimiter", "CR+LF:255,CR:0,LF:1,TAB:2,"},
        {"cboCardNumericSys", "Hex:255,Dec:0,"},
        {"cboCardIDSequence", "MSB First(Default):255,LSB First:0,"},
        {"cboEMCardIDSequence", "MSB First(Default):255,LSB First:0,"},
        {"cboCardType", "Mifare 1K:1,Mifare 4K:2,UltraLight:3,DESFire:4,EM125K:5,"},
    };
    for (const auto& [name, expected] : rows) {
        QString entries;
        const auto& box = Find<QComboBox>(name);
        for (int i = 0; i < box.count(); ++i)
            entries += box.itemText(i) + ':' + box.itemData(i).toString() + ',';
        EXPECT_EQ(entries.toStdString(), expected) << name;
    }
    EXPECT_EQ(Find<QComboBox>("cboPrefix").itemText(32), "(SP)");
    EXPECT_EQ(window->windowTitle(), "Zarn74 Configuration - V1.0R0");
    EXPECT_EQ(Shown("cboLanguage cboCardType cboPrefix labPort"), "USA Mifare 1K  ");
    EXPECT_TRUE(Enabled("cmdOpen") && !Enabled("cmdInitialize") && !Enabled("cmdReadCardInfo"));
    EXPECT_TRUE(Find<QWidget>("chkQuickMode").isHidden() && Find<QWidget>("cmdTest").isHidden());
}

TEST_F(clsControlsTest, EachNamedControlIsOfItsKind) {
    Start();
    const std::pair<const char*, const char*> rows[] = {
        {"QComboBox",
         "cboBaudRate cboLanguage cboTagFrequency cboUsbInterface cboDelimiter cboCardNumericSys "
         "cboCardIDSequence cboEMCardIDSequence cboCardType cboPrefix cboPostfix cboOnRemove"},
        {"QCheckBox",
         "chkKeyboardOutput chkBuzzerEnabled chkCardType chkOutputByTable chkUseRightKeypad "
         "chkWithoutLeadingZeros chkAutoRead chkEnabled chkQuickMode"},
        {"TextBoxEx", "txtPrefix txtPostfix txtOnRemove"},
        {"QLineEdit", "txtOutputID txtOutputString"},
        {"QPushButton",
         "cmdShowZarn74 cmdApply cmdAutoScan cmdInitialize cmdOpen cmdSave cmdExit cmdTest cmdAddOutput "
         "cmdEditOutput cmdRemove cmdReadCardInfo"},
        {"ucTextScroll", "oCardSNLen0 oCardSNLen1 oCardSNLen2 oCardSNLen3 oCardSNLen4"},
    };
    for (const auto& [kind, names] : rows) {
        for (const QString& name : QString(names).split(' '))
            EXPECT_TRUE(Find<QWidget>(name.toLatin1()).inherits(kind)) << name.toStdString();
    }
}

TEST_F(clsControlsTest, OneClickFillsEveryControlAndWhatTheUserEntersReachesTheReaderAndNothingElseDoes) {
    StartOnReader();
    ZarnInfo shown;
    EXPECT_TRUE(Form().SaveZarn74(shown));
    EXPECT_EQ(TextOf(shown), TextOf(window->Flows().Record()));
    EXPECT_EQ(Shown("txtPostfix cboLanguage cboDelimiter"), "\t\x1B\r\n Germany CR");
    EXPECT_EQ(Shown("labROMVersion labROMSN labPort"), "V1.02R007 FWQ-K4436 COM1");

    auto expected = reader.Registers;
    Select("cboLanguage", "France");
    expected[210] = 1;
    Click("chkBuzzerEnabled");
    expected[128] = 0;
    TurnTo(KeyPage);
    auto& prefix = Find<TextBoxEx>("txtPrefix");
    prefix.selectAll();
    QTest::keyClicks(&prefix, "A");
    Find<QComboBox>("cboPrefix").setFocus();
    Select("cboPrefix", "NAK");
    EXPECT_EQ(Shown("cboPrefix labPrefixCount"), " 2 of 16") << "to be chosen again";
    EXPECT_TRUE(prefix.hasFocus()) << "what is typed next stands behind it";
    const std::uint8_t typed[] = {'A', 21, 0xFF};
    std::copy(std::begin(typed), std::end(typed), expected.begin() + 160);
    TurnTo(CardPage);
    QTest::keyClick(&Find<ucTextScroll>("oCardSNLen0"), Qt::Key_Right);
    EXPECT_EQ(Shown("labCardSNRun0"), "digits 2 to 8 of 8");
    expected[224] = 2;
    expected[225] = 7;
    Find<QTabBar>("SSTab2").setCurrentIndex(1);
    QTest::keyClick(&Find<ucTextScroll>("oCardSNLen4"), Qt::Key_Left, Qt::ShiftModifier);
    expected[153] = 9;
    Click("cmdApply");
    EXPECT_EQ(LastLine(), "Write OK");
    for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(reader.Registers[i], expected[i]) << i;
}

TEST_F(clsControlsTest, TheDigitBoxesShowThePageOfTheNumberSystemAndNeverLoseAPair) {
    StartOnReader();
    ZarnForm odd = Form();
    odd.Record.CardFilter[0] = {0, 99};  // what no marker could mark
    window->ShowForm(odd);
    TurnTo(CardPage);
    Select("cboCardNumericSys", "Dec");
    EXPECT_EQ(Find<QTabBar>("SSTab2").currentIndex(), 1);
    EXPECT_EQ(Find<ucTextScroll>("oCardSNLen2").Text(), "123456789012345678");
    EXPECT_EQ(Shown("labCardSNRun2"), "digits 9 to 18 of 18");
    for (const int page : {0, 1, 0}) Find<QTabBar>("SSTab2").setCurrentIndex(page);
    EXPECT_EQ(Form().Record.CardFilter, odd.Record.CardFilter);
}

TEST_F(clsControlsTest, FirmwareDecidesWhatIsEnabledAndTheTipSaysWhatItTakes) {
    Start();
    EXPECT_TRUE(Enabled("chkWithoutLeadingZeros") && Enabled("cboUsbInterface"));
    const struct {
        const char* version;
        bool zeros, frequency, model, none;
    } rows[] = {
        {"V1.01R003,FWQ-K3861", false, false, false, false},
        {"V1.01R004,FWQ-K3861", true, false, false, false},
        {"V1.01R005,FWQ-K3861", true, false, false, true},
        {"V1.02R001,FWQ-K1", true, false, false, true},
        {"V1.02R002,FWQ-K1", true, true, false, true},
        {"V1.00R000,FWQ-K4436", false, true, true, false},
        {"1.5R9,FWQ-K4407", false, true, true, false},
    };
    for (const auto& row : rows) {
        reader.Version = row.version;
        Click("cmdAutoScan");
        EXPECT_EQ(Enabled("chkWithoutLeadingZeros"), row.zeros) << row.version;
        EXPECT_EQ(Enabled("cboTagFrequency"), row.frequency) << row.version;
        EXPECT_EQ(Enabled("cboUsbInterface"), row.model) << row.version;
        EXPECT_EQ(!Find<QWidget>("chkBuzzerEnabled").isHidden(), row.model) << row.version;
        EXPECT_EQ(Find<QComboBox>("cboDelimiter").count(), row.none ? 5 : 4) << row.version;
        EXPECT_EQ(Find<QWidget>("cboUsbInterface").toolTip().startsWith("Needs"), !row.model) << row.version;
    }
}

TEST_F(clsControlsTest, TheTableIsEditedWithItsButtons) {
    StartOnReader();
    TurnTo(TablePage);
    auto& list = Find<QListWidget>("lstTable");
    auto& serialBox = Find<QLineEdit>("txtOutputID");
    auto& text = Find<QLineEdit>("txtOutputString");
    const auto click = [&](int row) {
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualItemRect(list.item(row)).center());
    };
    click(2);
    EXPECT_EQ(Shown("cboCardType txtOutputID txtOutputString"), "UltraLight 04526AF13B2C80 Visitor 0017");
    EXPECT_TRUE(Enabled("cmdEditOutput") && Enabled("cmdRemove") && !Enabled("cmdAddOutput"));

    Select("cboCardType", "Mifare 1K");  // the text that is there stays, and is too long now
    EXPECT_EQ(Shown("txtOutputID"), "04526AF13B2C80");
    EXPECT_FALSE(Enabled("cmdEditOutput"));
    serialBox.clear();
    QTest::keyClicks(&serialBox, "00g00aa115");  // filtered, upper case, the ninth digit refused
    text.clear();
    EXPECT_FALSE(Enabled("cmdAddOutput") || Enabled("cmdEditOutput"));
    Input::Paste(text, QString::fromUtf8("a\u20ac, b"));
    Click("chkEnabled");
    Click("cmdAddOutput");
    EXPECT_EQ(list.item(5)->text(), "[1K ] 0000AA11       a, b");
    EXPECT_TRUE(serialBox.hasFocus()) << "for the next card";
    EXPECT_EQ(Shown("labTableHint"), "already in the table");
    EXPECT_EQ(list.item(5)->checkState(), Qt::Unchecked);
    EXPECT_FALSE(Enabled("cmdAddOutput")) << "the same card again";

    click(0);
    text.setText("Gate");
    Click("cmdEditOutput");
    EXPECT_EQ(list.item(0)->text(), "[1K ] 04A1B2C3       Gate");
    EXPECT_EQ(list.item(0)->checkState(), Qt::Checked);
    click(1);
    list.item(3)->setCheckState(Qt::Unchecked);
    EXPECT_TRUE(Find<QCheckBox>("chkEnabled").isChecked()) << "another row's mark";
    Click("cmdRemove");
    EXPECT_EQ(list.count(), 5);
    EXPECT_FALSE(Enabled("cmdEditOutput") || Enabled("cmdRemove"));
    EXPECT_EQ(window->focusWidget(), &list) << "and not a button that would do something else";
}

TEST_F(clsControlsTest, TheRowsOfTheTableStandUnderTheHeaderAndTheirBoxesAreSeenOnDark) {
    const QPalette before = QApplication::palette();
    const clsScopeGuard restore([before] { QApplication::setPalette(before); });
    for (const bool dark : {false, true}) {
        QApplication::setPalette(dark ? QPalette(QColor(0x3A, 0x3A, 0x3A), QColor(0x2B, 0x2B, 0x2B))
                                      : before);
        Start();
        TurnTo(TablePage);
        auto& list = Find<QListWidget>("lstTable");
        list.addItem("Type");
        list.item(0)->setCheckState(Qt::Unchecked);
        list.setFocusPolicy(Qt::NoFocus);
        QCoreApplication::processEvents();
        const QRect row = list.visualItemRect(list.item(0));
        const QImage picture = window->grab().toImage();
        // The columns with something in them, of a strip of the window.
        const auto ink = [&](const QWidget& in, const QRect& strip) {
            const QRect at(in.mapTo(window.get(), strip.topLeft()), strip.size());
            const int paper = picture.pixelColor(at.left(), at.center().y()).lightness();
            std::vector<int> columns;
            for (int x = at.left(); x < at.right(); ++x)
                for (int y = at.top(); y < at.bottom(); ++y)
                    if (std::abs(picture.pixelColor(x, y).lightness() - paper) > 60) {
                        columns.push_back(x);
                        break;
                    }
            return columns;
        };
        const auto& header = Find<QLabel>("labTable");
        const auto text = ink(header, QRect(2, 0, 90, header.height()));
        const auto shown = ink(*list.viewport(), row.intersected(QRect(0, 0, 90, 40)));
        ASSERT_TRUE(!text.empty() && !shown.empty());
        EXPECT_TRUE(std::binary_search(shown.begin(), shown.end(), text.front()));
        EXPECT_FALSE(std::binary_search(shown.begin(), shown.end(), text.front() - 1));
        EXPECT_LT(shown.front() + 8, text.front()) << "its box, dark " << dark;
        Do("actTraffic");
        Do("actChanges");
        for (const QCheckBox* box : window->findChildren<QCheckBox*>())
            EXPECT_GT(box->palette().color(QPalette::Window).lightness(), 128)
                << "its edge, " << box->objectName().toStdString() << " dark " << dark;
    }
}

TEST_F(clsControlsTest, EveryControlThatTakesTheFocusHasAConstantNameOfItsOwn) {
    StartOnReader(/*bench=*/true);
    // What is spoken for each control that can be reached; a combo box says what is chosen in it.
    const auto spokenNames = [this] {
        std::map<std::string, std::string> result;
        for (QWidget* control : window->findChildren<QWidget*>()) {
            if (!control->isVisible() || control->focusPolicy() == Qt::NoFocus) continue;
            if (control->focusProxy() != nullptr) continue;
            const std::string name = control->objectName().toStdString();
            QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(control);
            if (qobject_cast<QComboBox*>(control) == nullptr)
                result[name] = spoken->text(QAccessible::Name).toStdString();
            EXPECT_FALSE(result[name].empty() && spoken->relations(QAccessible::Label).isEmpty()) << name;
        }
        return result;
    };
    for (const int page : {GeneralPage, KeyPage, CardPage, TablePage, TestPage}) {
        TurnTo(page);
        const auto before = spokenNames();
        window->ShowForm(ZarnForm());
        EXPECT_EQ(spokenNames(), before) << "page " << page;
        Click("cmdShowZarn74");
    }
    const auto* const digits = QAccessible::queryAccessibleInterface(&Find<QWidget>("oCardSNLen1"));
    EXPECT_EQ(digits->text(QAccessible::Value), "digits 3 to 8 of 8");
}

TEST_F(clsControlsTest, WhatTakesTheFocusOutsideThePagesIsNamedToo) {
    StartOnReader();
    for (const char* opens : {"actTraffic", "actRegisters", "actHistory", "actStation"}) {
        Do(opens);
        int seen = 0;
        for (const QWidget* control : window->findChildren<QWidget*>()) {
            if (!control->isVisible() || control->focusPolicy() == Qt::NoFocus) continue;
            if (control->focusProxy() != nullptr || control->inherits("QTabWidget")) continue;
            if (control->inherits("QLabel")) continue;  // its text is its name
            auto* const spoken = QAccessible::queryAccessibleInterface(const_cast<QWidget*>(control));
            // A closed list's name is what is chosen in it.
            const bool list = control->inherits("QComboBox");
            EXPECT_FALSE(spoken->text(list ? QAccessible::Description : QAccessible::Name).isEmpty() &&
                         spoken->relations(QAccessible::Label).isEmpty())
                << opens << ' ' << control->objectName().toStdString() << control->metaObject()->className();
            ++seen;
        }
        EXPECT_GT(seen, 10);
    }
}

TEST_F(clsControlsTest, WhatIsShownAwayFromTheFocusIsANotification) {
    const auto told = [this](const char* name) {
        auto* const spoken = QAccessible::queryAccessibleInterface(&Find<QWidget>(name));
        EXPECT_EQ(spoken->role(), QAccessible::Notification) << name;
        return spoken->text(QAccessible::Name).toStdString();
    };
    StartOnReader();
    Click("cmdShowZarn74");
    EXPECT_EQ(told("labStatusState"), "Get Device Information OK. Ready");
    reader.AddFault({SimFault::LateReply, 0, -1, 0, -1, /*Value=*/20});
    host.StartTimer(10, [&] { EXPECT_EQ(told("labStatusState"), "Reading..."); });
    Click("cmdShowZarn74");
    reader.ClearFaults();
    chosenFile = "/log";
    Click("cmdSaveLog");
    EXPECT_EQ(told("fraNotice"), "The log was saved to /log.");
    Select("cboLanguage", "Japan");
    Do("actReview");
    EXPECT_EQ(told("labReview"), "1 of 43 settings will be written, 42 are already as they should be.");
    Click("cmdReviewWrite");
    EXPECT_EQ(told("labReview"), "The reader has kept the setting that was written.");
    Click("cmdReviewCancel");
    disk.Contents["shop.txt"] = TextOf(window->Flows().Record());
    window->StartStation("shop.txt", /*isOperator=*/false);
    host.Run(10);
    EXPECT_EQ(told("staTile"), "READY. Plug in a reader");
}

TEST_F(clsControlsTest, TheWindowWorksFromTheKeyboard) {
    StartOnReader();
    TurnTo(KeyPage);
    auto& prefix = Find<TextBoxEx>("txtPrefix");
    prefix.setFocus();
    chosenFile = "saved";
    Input::Press(prefix, "Ctrl+S");  // the box's own
    EXPECT_EQ(disk.Contents.count("saved"), 0U);
    Input::Press(prefix, "F4");
    EXPECT_EQ(disk.Contents.count("saved"), 1U);
    Input::Press(prefix, "F5 F2");
    EXPECT_EQ(Sent, "YYVDVYYV") << "read, then found and read";
    for (const auto key : {Qt::Key_F2, Qt::Key_F5, Qt::Key_F8})
        QTest::simulateEvent(&prefix, /*press=*/true, key, Qt::NoModifier, {}, /*repeat=*/true);
    EXPECT_EQ(Sent, "YYVDVYYV") << "a key that is held does it once";
    auto& names = Find<QComboBox>("cboPrefix");
    const std::string text = prefix.Text();
    for (const auto key : {Qt::Key_Down, Qt::Key_C}) {
        QTest::keyClick(&names, key);
        EXPECT_TRUE(names.view()->isVisible());
        names.hidePopup();
    }
    EXPECT_EQ(prefix.Text(), text) << "nothing is entered unseen";
    QCoreApplication::processEvents();  // the lists go, and the window has the focus again
    QApplication::setActiveWindow(window.get());
    auto& read = Find<QWidget>("cmdShowZarn74");
    read.setFocus();
    QTest::keyClick(&read, Qt::Key_Space);
    EXPECT_TRUE(read.hasFocus()) << "and not a box that would take what is typed next";

    auto& log = Find<clsLogView>("txtView");
    reader.AddFault({SimFault::LateReply, 0, -1, 0, -1, /*Value=*/20});
    host.StartTimer(30, [&log] { QTest::mouseClick(log.viewport(), Qt::LeftButton); });
    QTest::keyClick(&read, Qt::Key_Space);
    EXPECT_TRUE(log.hasFocus()) << "where the user clicked meanwhile";
    std::set<QWidget*> reached;  // Tab comes round and is never caught
    QWidget* at = &read;
    while (reached.insert(at).second) {
        at->setFocus();
        QTest::keyClick(at, at == &log ? Qt::Key_F6 : Qt::Key_Tab);
        at = window->focusWidget();
    }
    EXPECT_EQ(at, &read);
    EXPECT_TRUE(reached.contains(&prefix) && reached.contains(&log));
}

TEST_F(clsControlsTest, AClosedListLeavesTheWheelToWhatItStandsOn) {
    Start();
    for (auto* box : window->findChildren<QComboBox*>()) {
        if (box->currentIndex() == 0) box->setCurrentIndex(1);  // there is something above it
        const int before = box->currentIndex();
        QWheelEvent wheel(QPointF(5, 5), box->mapToGlobal(QPointF(5, 5)), {}, QPoint(0, 120), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, /*inverted=*/false);
        QCoreApplication::sendEvent(box, &wheel);
        EXPECT_FALSE(wheel.isAccepted());
        EXPECT_EQ(box->currentIndex(), before) << box->objectName().toStdString();
    }
}

TEST_F(clsControlsTest, WhatTheReaderTypesAndWhatIsTypedStandsInTheLog) {
    StartOnReader();
    reader.TypeText("12AB\r");
    host.Run(150);
    EXPECT_EQ(LastLine(), "12AB<CR>");
    auto& log = Find<clsLogView>("txtView");
    log.setFocus();
    Input::Press(log, "0 7 Num+7 a Esc Del Left Ctrl+B Alt+9 Meta+B Enter Tab");
    EXPECT_EQ(LastLine(), "07{KeyPad7}a<ESC><CR><TAB>");
    EXPECT_TRUE(log.hasFocus());
    Input::Press(log, "Shift+Backtab");
    EXPECT_FALSE(log.hasFocus());
    EXPECT_EQ(LastLine(), "07{KeyPad7}a<ESC><CR><TAB>");
}

}  // namespace
