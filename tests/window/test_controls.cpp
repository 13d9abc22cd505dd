// What the window's controls hold, and what a user's hands do to them.

#include <QAbstractItemView>
#include <QAccessible>
#include <QCheckBox>
#include <QMimeData>
#include <QWheelEvent>
#include <set>

#include "RecordText.h"
#include "WindowFixture.h"
#include "widgets/Input.h"

namespace {

using clsControlsTest = clsWindowTest;

constexpr int generalPage = 0;
constexpr int keyPage = 1;
constexpr int cardPage = 2;
constexpr int tablePage = 3;

TEST_F(clsControlsTest, TheListsStartWithTheirEntriesValuesAndSelections) {
    Start();
    const struct {
        const char *name, *entries, *selected;
    } rows[] = {
        {"cboBaudRate", "2400:2400,4800:4800,9600:9600,14400:14400,19200:19200", "19200"},
        {"cboLanguage", "Japan:0,France:1,Germany:2,English(UK):3,Spanish:4,USA:255", "USA"},
        {"cboTagFrequency", "LF (125KHz):1,HF (13.56 MHz):2,LF + HF:3", "LF + HF"},
        {"cboUsbInterface", "CDC:0,HID:255", "HID"},
        {"cboDelimiter", "CR+LF:255,CR:0,LF:1,TAB:2", "CR+LF"},
        {"cboCardNumericSys", "Hex:255,Dec:0", "Hex"},
        {"cboCardIDSequence", "MSB First(Default):255,LSB First:0", "MSB First(Default)"},
        {"cboEMCardIDSequence", "MSB First(Default):255,LSB First:0", "MSB First(Default)"},
        {"cboCardType", "Mifare 1K:1,Mifare 4K:2,UltraLight:3,DESFire:4,EM125K:5", "Mifare 1K"},
    };
    for (const auto& row : rows) {
        QStringList entries;
        const auto& box = Find<QComboBox>(row.name);
        for (int i = 0; i < box.count(); ++i)
            entries += box.itemText(i) + ':' + QString::number(box.itemData(i).toInt());
        EXPECT_EQ(entries.join(',').toStdString(), row.entries);
        EXPECT_EQ(box.currentText(), row.selected) << row.name;
    }
    EXPECT_EQ(Find<QComboBox>("cboPrefix").itemText(13) + Find<QComboBox>("cboPrefix").itemText(32),
              "CR(SP)");
    EXPECT_EQ(window->windowTitle(), "Zarn74 Configuration - V1.0R0");
    EXPECT_EQ(
        Shown("labProduct") + Shown("labPort") + Find<clsLogView>("txtView").toPlainText().toStdString(), "");
    for (const char* button : {"cmdExit", "cmdOpen", "cmdSave", "cmdAutoScan"}) EXPECT_TRUE(Enabled(button));
    for (const char* button : {"cmdShowZarn74", "cmdApply", "cmdInitialize", "cmdReadCardInfo"})
        EXPECT_FALSE(Enabled(button)) << button;
    EXPECT_TRUE(Find<QCheckBox>("chkQuickMode").isHidden() && Find<QPushButton>("cmdTest").isHidden());
}

TEST_F(clsControlsTest, OneClickFindsTheReaderAndFillsEveryControl) {
    Start();
    Click("cmdAutoScan");
    ZarnInfo shown;
    EXPECT_TRUE(Form().SaveZarn74(shown));
    EXPECT_EQ(TextOf(shown), TextOf(window->Flows().Record()));
    EXPECT_EQ(Shown("txtPostfix"), "\t\x1B\r\n");
    EXPECT_EQ(Shown("cboLanguage") + Shown("cboDelimiter"), "GermanyCR");
    EXPECT_EQ(Find<QListWidget>("lstTable").item(3)->text(), "[DSF] 047C330AD56190 Canteen account");
    EXPECT_EQ(Find<ucTextScroll>("oCardSNLen3").SelStart(), 5);
    EXPECT_EQ(Shown("labROMVersion") + Shown("labROMSN") + Shown("labPort"), "V1.02R007FWQ-K4436COM1");
    EXPECT_EQ(LastLine(), "Get Device Information OK");
    EXPECT_TRUE(Enabled("cmdApply") && Enabled("cmdReadCardInfo"));
    EXPECT_TRUE(Find<clsLogView>("txtView").hasFocus());
}

TEST_F(clsControlsTest, WhatTheUserEntersReachesTheReaderAndNothingElseDoes) {
    StartOnReader();
    const auto before = reader.Registers;
    const struct {
        const char* what;
        int page;
        std::function<void()> enter;
        std::vector<std::pair<std::size_t, int>> registers;
    } rows[] = {
        {"a list", generalPage, [this] { Select("cboLanguage", "France"); }, {{210, 1}}},
        {"a check box", generalPage, [this] { Click("chkBuzzerEnabled"); }, {{128, 0}}},
        {"keys",
         keyPage,
         [this] {
             auto& box = Find<TextBoxEx>("txtPrefix");
             box.selectAll();
             QTest::keyClicks(&box, "A");
             QTest::keyClick(&box, Qt::Key_M, Qt::ControlModifier);
         },
         {{160, 'A'}, {161, 13}, {162, 0xFF}}},
        {"a key by its name", keyPage, [this] { Select("cboOnRemove", "NAK"); }, {}},
        {"a run of digits",
         cardPage,
         [this] { QTest::keyClick(&Find<ucTextScroll>("oCardSNLen0"), Qt::Key_Right); },
         {{224, 2}, {225, 7}}},
        {"a page of digits that was turned to",
         cardPage,
         [this] {
             Find<QTabBar>("SSTab2").setCurrentIndex(1);
             QTest::keyClick(&Find<ucTextScroll>("oCardSNLen4"), Qt::Key_Left, Qt::ShiftModifier);
         },
         {{153, 9}}},
    };
    auto expected = before;
    for (const auto& row : rows) {
        TurnTo(row.page);
        row.enter();
        Click("cmdApply");
        EXPECT_EQ(LastLine(), "Write OK") << row.what;
        for (const auto& [number, value] : row.registers)
            expected.at(number) = static_cast<std::uint8_t>(value);
        if (row.registers.empty()) {
            EXPECT_NE(reader.Registers, expected) << row.what;
            expected = reader.Registers;
        }
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_EQ(reader.Registers.at(i), expected.at(i)) << row.what << ", register " << i;
    }
}

TEST_F(clsControlsTest, TheDigitBoxesShowThePageOfTheNumberSystemAndNeverLoseAPair) {
    StartOnReader();
    const auto before = Form().Filters;
    TurnTo(cardPage);
    Select("cboCardNumericSys", "Dec");
    EXPECT_EQ(Find<QTabBar>("SSTab2").currentIndex(), 1);
    EXPECT_EQ(Find<ucTextScroll>("oCardSNLen2").Text(), "123456789012345678");
    EXPECT_EQ(Shown("labCardSNRun2"), "digits 9 to 18 of 18");
    for (const int page : {0, 1, 0}) Find<QTabBar>("SSTab2").setCurrentIndex(page);
    EXPECT_EQ(Form().Filters, before);

    ZarnForm odd = Form();  // what no marker could mark
    odd.Filters[0] = {0, 99};
    window->ShowForm(odd);
    for (const int page : {1, 0}) Find<QTabBar>("SSTab2").setCurrentIndex(page);
    EXPECT_EQ(Form().Filters, odd.Filters);
}

TEST_F(clsControlsTest, FirmwareDecidesWhatIsEnabledAndTheTipSaysWhatItTakes) {
    const struct {
        const char* version;
        bool zeros, frequency, usb, buzzer;
        int delimiters;
    } rows[] = {
        {"V1.01R003,FWQ-K3861", false, false, false, false, 4},
        {"V1.01R005,FWQ-K3861", true, false, false, false, 5},
        {"V1.02R002,FWQ-K1111", true, true, false, false, 5},
        {"V1.00R001,FWQ-K4407", false, true, true, true, 4},
    };
    Start();
    EXPECT_TRUE(Enabled("chkWithoutLeadingZeros") && Enabled("cboUsbInterface"));
    for (const auto& row : rows) {
        reader.Version = row.version;
        Click("cmdAutoScan");
        EXPECT_EQ(Enabled("chkWithoutLeadingZeros"), row.zeros) << row.version;
        EXPECT_EQ(Enabled("cboTagFrequency"), row.frequency) << row.version;
        EXPECT_EQ(Enabled("cboUsbInterface"), row.usb) << row.version;
        EXPECT_EQ(!Find<QWidget>("chkBuzzerEnabled").isHidden(), row.buzzer) << row.version;
        EXPECT_EQ(Find<QComboBox>("cboDelimiter").count(), row.delimiters) << row.version;
        EXPECT_EQ(Find<QWidget>("cboUsbInterface").toolTip().startsWith("Needs"), !row.usb) << row.version;
    }
}

TEST_F(clsControlsTest, TheTableIsEditedWithItsButtons) {
    StartOnReader();
    TurnTo(tablePage);
    auto& list = Find<QListWidget>("lstTable");
    auto& serialBox = Find<QLineEdit>("txtOutputID");
    auto& text = Find<QLineEdit>("txtOutputString");
    const auto click = [&](int row) {
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualItemRect(list.item(row)).center());
    };
    click(2);
    EXPECT_EQ(Shown("cboCardType") + Shown("txtOutputID") + Shown("txtOutputString"),
              "UltraLight04526AF13B2C80Visitor 0017");
    EXPECT_TRUE(Enabled("cmdEditOutput") && Enabled("cmdRemove") && !Enabled("cmdAddOutput"));

    Select("cboCardType", "Mifare 1K");  // the text that is there stays, and is too long now
    EXPECT_EQ(Shown("txtOutputID"), "04526AF13B2C80");
    EXPECT_FALSE(Enabled("cmdAddOutput") || Enabled("cmdEditOutput"));
    serialBox.clear();
    QTest::keyClicks(&serialBox, "00g00aa115");  // filtered, upper case, the ninth digit refused
    EXPECT_EQ(Shown("txtOutputID"), "0000AA11");
    text.clear();
    EXPECT_FALSE(Enabled("cmdAddOutput"));
    Input::Paste(text, QString::fromUtf8("a\u20ac, b"));
    EXPECT_EQ(Shown("txtOutputString"), "a, b");
    Click("chkEnabled");
    Click("cmdAddOutput");
    EXPECT_EQ(list.item(5)->text(), "[1K ] 0000AA11       a, b");
    EXPECT_EQ(list.item(5)->checkState(), Qt::Unchecked);
    EXPECT_FALSE(Enabled("cmdAddOutput")) << "the same card again";

    click(0);
    text.setText("Gate");
    Click("cmdEditOutput");
    EXPECT_EQ(list.item(0)->text(), "[1K ] 04A1B2C3       Gate");
    EXPECT_EQ(list.item(0)->checkState(), Qt::Checked);
    click(1);
    Click("cmdRemove");
    EXPECT_EQ(list.count(), 5);
    EXPECT_FALSE(Enabled("cmdEditOutput") || Enabled("cmdRemove"));
    for (char digit = '0'; list.count() < 16; ++digit) {
        serialBox.setText(QString("1234567") + QChar(digit < ':' ? digit : digit + 7));
        Click("cmdAddOutput");
    }
    serialBox.setText("ABCDEF01");
    EXPECT_FALSE(Enabled("cmdAddOutput")) << "a 17th row";
}

TEST_F(clsControlsTest, EveryControlThatTakesTheFocusHasANameOfItsOwn) {
    StartOnReader(/*bench=*/true);
    const auto nameless = [this] {
        std::set<std::string> result;
        for (QWidget* control : window->findChildren<QWidget*>()) {
            if (!control->isVisible() || control->focusPolicy() == Qt::NoFocus) continue;
            if (control->focusProxy() != nullptr) continue;
            EXPECT_GE(std::min(control->width(), control->height()), 12)
                << control->objectName().toStdString();
            QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(control);
            const bool labelled = !spoken->relations(QAccessible::Label).isEmpty();
            const bool named =
                qobject_cast<QComboBox*>(control) == nullptr && !spoken->text(QAccessible::Name).isEmpty();
            if (!labelled && !named) result.insert(control->objectName().toStdString());
        }
        return result;
    };
    const auto spokenNames = [this] {
        QStringList result;
        for (QWidget* control : window->findChildren<QWidget*>()) {
            if (!control->isVisible() || qobject_cast<QComboBox*>(control) != nullptr) continue;
            if (control->focusPolicy() != Qt::NoFocus)
                result += QAccessible::queryAccessibleInterface(control)->text(QAccessible::Name);
        }
        return result;
    };
    for (int page = 0; page < 5; ++page) {
        TurnTo(page);
        EXPECT_EQ(nameless(), std::set<std::string>()) << "page " << page;
        const QStringList before = spokenNames();
        window->ShowForm(ZarnForm());
        EXPECT_EQ(spokenNames(), before) << "page " << page;
        Click("cmdShowZarn74");
    }
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&Find<QWidget>("oCardSNLen1"))->text(QAccessible::Value),
              "digits 3 to 8 of 8");
}

TEST_F(clsControlsTest, TheWindowWorksFromTheKeyboard) {
    StartOnReader();
    TurnTo(keyPage);
    auto& prefix = Find<TextBoxEx>("txtPrefix");
    prefix.setFocus();
    chosenFile = "saved";
    QTest::keyClick(&prefix, Qt::Key_S, Qt::ControlModifier);  // the box's own
    EXPECT_EQ(disk.Contents.count("saved"), 0U);
    EXPECT_NE(prefix.Text().find('\x13'), std::string::npos);
    QTest::keyClick(&prefix, Qt::Key_F4);
    EXPECT_EQ(disk.Contents.count("saved"), 1U);
    for (const auto key : {Qt::Key_F5, Qt::Key_F2}) {
        sent.clear();
        QTest::keyClick(&prefix, key);
        EXPECT_NE(sent.find('Y'), std::string::npos) << key;
    }
    auto& insert = Find<QComboBox>("cboPrefix");  // a key opens the list and enters nothing unseen
    const std::string text = prefix.Text();
    for (const auto key : {Qt::Key_Down, Qt::Key_C}) {
        QTest::keyClick(&insert, key);
        EXPECT_TRUE(insert.view()->isVisible());
        insert.hidePopup();
    }
    EXPECT_EQ(prefix.Text(), text);

    auto& read = Find<QPushButton>("cmdShowZarn74");
    read.setFocus();
    QTest::keyClick(&read, Qt::Key_Space);
    EXPECT_TRUE(read.hasFocus()) << "and not a box that would take what is typed next";

    std::set<QWidget*> reached;  // Tab comes round and is never caught
    QWidget* at = &read;
    while (reached.insert(at).second) {
        at->setFocus();
        QTest::keyClick(at, at == &Find<QWidget>("txtView") ? Qt::Key_F6 : Qt::Key_Tab);
        at = window->focusWidget();
    }
    EXPECT_EQ(at, &read);
    EXPECT_TRUE(reached.contains(&prefix) && reached.contains(&Find<QWidget>("txtView")));
}

TEST_F(clsControlsTest, AClosedListLeavesTheWheelAlone) {
    Start();
    for (auto* box : window->findChildren<QComboBox*>()) {
        if (box->currentIndex() == 0) box->setCurrentIndex(1);  // there is something above it
        const int before = box->currentIndex();
        QWheelEvent wheel(QPointF(5, 5), box->mapToGlobal(QPointF(5, 5)), {}, QPoint(0, 120), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, /*inverted=*/false);
        QCoreApplication::sendEvent(box, &wheel);
        EXPECT_EQ(box->currentIndex(), before) << box->objectName().toStdString();
    }
}

TEST_F(clsControlsTest, WhatTheReaderTypesAndWhatIsTypedStandsInTheLog) {
    StartOnReader();
    reader.TypeText("12AB\r");
    host.Run(50);
    EXPECT_EQ(LastLine(), "12AB<CR>");
    host.Run(100);
    auto& log = Find<clsLogView>("txtView");
    QTest::keyClick(&log, Qt::Key_7);
    QTest::keyClick(&log, Qt::Key_7, Qt::KeypadModifier);
    QTest::keyClick(&log, Qt::Key_Tab);
    QTest::keyClick(&log, Qt::Key_Return);
    QTest::keyClick(&log, Qt::Key_X, Qt::AltModifier);
    EXPECT_EQ(LastLine(), "7{KeyPad7}<TAB><CR>");
    EXPECT_TRUE(log.hasFocus());

    TurnTo(tablePage);
    reader.PlaceCard({2, "5E11907D"});
    Click("chkAutoRead");
    reader.TypeText("5E11907D\t");
    host.Run(300);
    EXPECT_EQ(Shown("cboCardType") + Shown("txtOutputID") + Shown("txtOutputString"),
              "Mifare 4K5E11907DWorkshop 2");
    EXPECT_EQ(Find<QListWidget>("lstTable").currentRow(), 1);
}

}  // namespace
