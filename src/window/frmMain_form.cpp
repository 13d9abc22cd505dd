// The setting controls: filling them, reading them, and what they do to one another.

#include <QFontDatabase>
#include <QKeyEvent>
#include <QListWidgetItem>
#include <QShortcut>

#include "base/clsScopeGuard.h"
#include "qt/QtText.h"
#include "settings/Differences.h"
#include "ui_frmMain.h"
#include "widgets/clsWheelGuard.h"
#include "window/frmMain.h"

namespace {

constexpr int keyStringLength = 16;  // bytes of a key string
constexpr int characterNames = 33;   // codes 0 to 32, the blank
constexpr int serialLength = 14;
constexpr int outputLength = 16;
constexpr int tableWidth = 30;  // characters of a row that are always seen

void SetItems(QComboBox& box, std::span<const ListEntry> entries) {
    while (box.count() > static_cast<int>(entries.size())) box.removeItem(box.count() - 1);
    for (const ListEntry& entry : entries.subspan(static_cast<std::size_t>(box.count())))
        box.addItem(QtText::ToQString(entry.Text), entry.Value);
}

void SetText(QLineEdit& box, const std::string& text) {
    const QString shown = QtText::ToQString(text);
    if (box.text() != shown) box.setText(shown);
}

/// Caret and selection stay where they are, as far as the new text goes.
void SetText(TextBoxEx& box, const std::string& text) {
    if (box.Text() == text) return;
    const int anchor = box.textCursor().anchor();
    const int position = box.textCursor().position();
    box.SetText(text);
    QTextCursor cursor = box.textCursor();
    cursor.setPosition(std::min(anchor, box.TextLength()));
    cursor.setPosition(std::min(position, box.TextLength()), QTextCursor::KeepAnchor);
    box.setTextCursor(cursor);
}

/// Its tool tip says what enables it while it is not enabled. The usual tip is kept as its longer help.
void EnableByFirmware(QWidget& control, bool enabled, std::string_view needs) {
    if (control.whatsThis().isEmpty()) control.setWhatsThis(control.toolTip());
    control.setEnabled(enabled);
    control.setToolTip(enabled ? control.whatsThis() : QtText::ToQString(needs));
}

}  // namespace

// -- making them --------------------------------------------------------------------------------------------

void frmMain::MakeLists() {
    for (QComboBox* box : findChildren<QComboBox*>()) new clsWheelGuard(*box);
    for (const CardTypeEntry& type : cardTypes)
        m_ui->cboCardType->addItem(QtText::ToQString(type.Name), type.CardType);
    InitASCIIChars(*m_ui->cboPrefix, *m_ui->txtPrefix, *m_ui->labPrefixCount, Qt::ALT | Qt::Key_1);
    InitASCIIChars(*m_ui->cboPostfix, *m_ui->txtPostfix, *m_ui->labPostfixCount, Qt::ALT | Qt::Key_2);
    InitASCIIChars(*m_ui->cboOnRemove, *m_ui->txtOnRemove, *m_ui->labOnRemoveCount, Qt::ALT | Qt::Key_3);
    connect(m_ui->tabKeyStrings, &clsPage::FirstShown, this, [this] {
        const int empty = QComboBox().sizeHint().width();  // less would be hard to hit
        for (QComboBox* box : {m_ui->cboPrefix, m_ui->cboPostfix, m_ui->cboOnRemove, m_ui->cboDelimiter})
            box->setMinimumWidth(empty);
    });
    connect(m_ui->cboCardNumericSys, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!Suppressed() && index >= 0) m_ui->SSTab2->setCurrentIndex(index);
    });
}

/// The names of the characters that no key types; choosing one enters it at the caret.
void frmMain::InitASCIIChars(QComboBox& box, TextBoxEx& text, QLabel& count, const QKeySequence& key) {
    connect(new QShortcut(key, &box), &QShortcut::activated, &box, [&box] { box.setFocus(); });
    const auto show = [&text, &count] {
        count.setText(tr("%1 of %2").arg(text.LenX()).arg(keyStringLength));
    };
    text.SetMaxLength(keyStringLength);
    show();
    connect(&text, &QTextEdit::textChanged, &count, show);
    for (int code = 0; code < characterNames; ++code)
        box.addItem(QtText::ToQString(clsMessageLog::GetASCIIName(static_cast<std::uint8_t>(code))), code);
    box.setCurrentIndex(-1);
    box.installEventFilter(this);
    connect(&box, &QComboBox::activated, this, [&box, &text](int index) {
        text.InsertCharacter(static_cast<unsigned char>(box.itemData(index).toInt()));
        box.setCurrentIndex(-1);
        text.setFocus();
    });
}

/// A key that would choose in the closed list, and so enter a character unseen, opens it instead.
bool frmMain::OpensKeyNames(QObject* watched, const QKeyEvent& key) {
    auto* const box = qobject_cast<QComboBox*>(watched);
    if (box == nullptr || (key.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) != 0)
        return false;
    const bool moves = key.key() == Qt::Key_Up || key.key() == Qt::Key_Down || key.key() == Qt::Key_PageUp ||
                       key.key() == Qt::Key_PageDown || key.key() == Qt::Key_Home || key.key() == Qt::Key_End;
    if (!moves && (key.text().isEmpty() || !key.text().front().isPrint())) return false;
    box->showPopup();
    return true;
}

void frmMain::MakeDigitBoxes() {
    for (const char* page : {"Hex", "Dec"}) m_ui->SSTab2->addTab(page);
    m_ui->SSTab2->setExpanding(false);
    m_ui->SSTab2->updateGeometry();  // not done by tabs that are added before it is shown
    m_ui->SSTab2->setCurrentIndex(0);
    connect(m_ui->SSTab2, &QTabBar::currentChanged, this, [this] {
        if (!Suppressed()) ShowDigitBoxes();
    });
    for (int box = 0; box < ZarnForm::boxCount; ++box) {
        ucTextScroll& digits = DigitBox(box);
        connect(m_ui->tabCardID, &clsPage::FirstShown, &digits,
                [&digits] { digits.setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont)); });
        connect(&digits, &ucTextScroll::Change, this, [this, box, &digits] {
            if (Suppressed()) return;
            const int index = ZarnForm::FilterIndex(m_ui->SSTab2->currentIndex(), box);
            m_filters.at(static_cast<std::size_t>(index)) = {digits.SelStart(), digits.SelLength()};
            ShowRun(box);
        });
    }
}

void frmMain::MakeTable() {
    QListWidget& list = *m_ui->lstTable;
    connect(m_ui->tabOutputTable, &clsPage::FirstShown, this, &frmMain::AlignTableHeader);
    m_fmtOutputID.SetFMTType(FMTTypes::Hexadecimal);
    m_fmtOutputID.SetByteLen(serialLength);
    m_fmtOutputID.SetFMTTextBox(m_ui->txtOutputID);
    m_fmtOutputString.SetFMTType(FMTTypes::Text);
    m_fmtOutputString.SetByteLen(outputLength);
    m_fmtOutputString.SetFMTTextBox(m_ui->txtOutputString);

    connect(m_ui->cboCardType, &QComboBox::currentIndexChanged, this, [this] {
        if (!Suppressed()) EditTable([](clsConvertTable&) {});
    });
    for (const QLineEdit* box : {m_ui->txtOutputID, m_ui->txtOutputString})
        connect(box, &QLineEdit::textChanged, this, &frmMain::UpdateTableButtons);
    connect(&list, &QListWidget::itemSelectionChanged, this, [this] {
        if (!Suppressed()) EditTable([](clsConvertTable& table) { table.SelectRow(table.SelectedRow); });
    });
    connect(&list, &QListWidget::itemChanged, this, [this](const QListWidgetItem* item) {
        if (!Suppressed() && item->isSelected())
            m_ui->chkEnabled->setChecked(item->checkState() == Qt::Checked);
    });
    const auto edits = [this](const QPushButton* button, void (clsConvertTable::*edit)()) {
        connect(button, &QPushButton::clicked, this,
                [this, edit] { EditTable([edit](clsConvertTable& table) { (table.*edit)(); }); });
    };
    edits(m_ui->cmdAddOutput, &clsConvertTable::Add);
    connect(m_ui->cmdAddOutput, &QPushButton::clicked, this, [this] {  // for the next card
        m_ui->txtOutputID->setFocus();
        m_ui->txtOutputID->selectAll();
    });
    edits(m_ui->cmdEditOutput, &clsConvertTable::Modify);
    edits(m_ui->cmdRemove, &clsConvertTable::Remove);
}

/// The header stands over the rows' text, behind their marks.
void frmMain::AlignTableHeader() {
    const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    QListWidget& list = *m_ui->lstTable;
    list.setFont(fixed);
    m_ui->labTable->setFont(fixed);
    QStyleOptionViewItem row;
    row.initFrom(&list);
    row.widget = &list;
    row.features = QStyleOptionViewItem::HasCheckIndicator | QStyleOptionViewItem::HasDisplay;
    row.displayAlignment = Qt::AlignLeft | Qt::AlignVCenter;
    row.decorationPosition = QStyleOptionViewItem::Left;
    row.font = list.font();
    row.text = m_ui->labTable->text();
    const int text = style()->subElementRect(QStyle::SE_ItemViewItemText, &row, &list).left() +
                     style()->pixelMetric(QStyle::PM_FocusFrameHMargin, &row, &list) + 1 + list.frameWidth();
    m_ui->labTable->setIndent(text);
    const int blank = list.fontMetrics().horizontalAdvance(' ');
    list.setMinimumWidth(text + tableWidth * blank + style()->pixelMetric(QStyle::PM_ScrollBarExtent));
}

// -- all of them --------------------------------------------------------------------------------------------

/// Of the kind that its setting asks for: a list for a number, a check box for a switch, a text box for key
/// strings.
QWidget& frmMain::Control(Setting setting) const {
    switch (setting) {
        case Setting::Prefix: return *m_ui->txtPrefix;
        case Setting::Postfix: return *m_ui->txtPostfix;
        case Setting::OnRemove: return *m_ui->txtOnRemove;
        case Setting::Baudrate: return *m_ui->cboBaudRate;
        case Setting::Language: return *m_ui->cboLanguage;
        case Setting::TagFrequency: return *m_ui->cboTagFrequency;
        case Setting::UsbInterface: return *m_ui->cboUsbInterface;
        case Setting::KeyboardOutput: return *m_ui->chkKeyboardOutput;
        case Setting::BuzzerEnabled: return *m_ui->chkBuzzerEnabled;
        case Setting::Delimiter: return *m_ui->cboDelimiter;
        case Setting::DisplayCardType: return *m_ui->chkCardType;
        case Setting::CardSNConvert: return *m_ui->chkOutputByTable;
        case Setting::UseRightKeypad: return *m_ui->chkUseRightKeypad;
        case Setting::CardIDNumericSystem: return *m_ui->cboCardNumericSys;
        case Setting::CardIDNumericSequence: return *m_ui->cboCardIDSequence;
        case Setting::EMCardIDNumericSequence: return *m_ui->cboEMCardIDSequence;
        case Setting::IDWithoutLeadingZeros: break;
    }
    return *m_ui->chkWithoutLeadingZeros;
}

/// The table's, for each of its entries.
QWidget& frmMain::Control(const SettingItem& item) const {
    switch (item.Kind()) {
        case ItemKind::Setting: return Control(item.Id());
        case ItemKind::Filter: return DigitBox(item.Index() % ZarnForm::boxCount);
        case ItemKind::Entry: break;
    }
    return *m_ui->lstTable;
}

/// Turns to the page of the first one, unless one of them stands on the page that is seen.
void frmMain::BringInSight(const std::vector<SettingItem>& items) {
    QTabWidget& tabs = *m_ui->SSTab1;
    const auto stands = [this](const QWidget& page) {
        return [this, &page](const SettingItem& item) { return page.isAncestorOf(&Control(item)); };
    };
    if (std::none_of(items.begin(), items.end(), stands(*tabs.currentWidget()))) {
        // Not into a box of the other page: in one for key strings the next Ctrl+Z would be a character.
        if (tabs.currentWidget()->isAncestorOf(focusWidget())) tabs.tabBar()->setFocus();
        for (int page = 0; page < tabs.count(); ++page)
            if (stands(*tabs.widget(page))(items.front())) tabs.setCurrentIndex(page);
    }
    auto* const text = qobject_cast<TextBoxEx*>(&Control(items.front()));
    if (text != nullptr && items.size() == 1) text->moveCursor(QTextCursor::End);
}

// Each control tells of an edit; what fills them tells once.
void frmMain::ConnectEdits() {
    const auto edited = [this] {
        if (!Suppressed()) emit FormChanged();
    };
    for (const SettingRow& row : settingTable) {
        QWidget& control = Control(row.Id);
        if (auto* const text = qobject_cast<TextBoxEx*>(&control)) {
            connect(text, &QTextEdit::textChanged, this, edited);
        } else if (auto* const flag = qobject_cast<QCheckBox*>(&control)) {
            connect(flag, &QCheckBox::toggled, this, edited);
        } else {
            connect(static_cast<QComboBox*>(&control), &QComboBox::currentIndexChanged, this, edited);
        }
    }
    for (int box = 0; box < ZarnForm::boxCount; ++box)
        connect(&DigitBox(box), &ucTextScroll::Change, this, edited);
    connect(m_ui->lstTable, &QListWidget::itemChanged, this, edited);
}

bool frmMain::ReadForm(ZarnForm& form) {
    for (const SettingRow& row : settingTable) {
        QWidget& control = Control(row.Id);
        if (const auto* const text = std::get_if<TextField>(&row.Field)) {
            form.Record.*text->Member = static_cast<TextBoxEx&>(control).Text();
        } else if (const auto* const flag = std::get_if<FlagField>(&row.Field)) {
            form.Record.*flag->Member = static_cast<QCheckBox&>(control).isChecked();
        } else {
            form.SelectEntry(row.Id, static_cast<QComboBox&>(control).currentIndex());
        }
    }
    form.AutoRead = m_ui->chkAutoRead->isChecked();
    form.Record.CardFilter = m_filters;
    form.Page = m_ui->SSTab2->currentIndex();
    form.Table = ReadTable();
    form.Firmware = m_firmware;
    return true;
}

void frmMain::ShowForm(const ZarnForm& form) {
    {
        ++m_suppress;
        const clsScopeGuard suppressed([this] { --m_suppress; });
        for (const SettingRow& row : settingTable) ShowSetting(row, form);
        m_ui->chkAutoRead->setChecked(form.AutoRead);
        ShowTable(form.Table);
        ShowFirmware(form.Firmware);
        ShowFilters(form.Record.CardFilter, form.Page);
    }
    UpdateTableButtons();
    emit FormChanged();
}

void frmMain::ShowPicture(const clsReaderPicture&) { emit PictureChanged(); }

void frmMain::ShowSetting(const SettingRow& row, const ZarnForm& form) {
    QWidget& control = Control(row.Id);
    if (const auto* const text = std::get_if<TextField>(&row.Field)) {
        SetText(static_cast<TextBoxEx&>(control), form.Record.*text->Member);
    } else if (const auto* const flag = std::get_if<FlagField>(&row.Field)) {
        static_cast<QCheckBox&>(control).setChecked(form.Record.*flag->Member);
    } else {
        auto& list = static_cast<QComboBox&>(control);
        SetItems(list, form.Entries(row.Id));
        list.setCurrentIndex(form.SelectedEntry(row.Id));
    }
}

void frmMain::ShowFirmware(const FirmwareRules& rules) {
    m_firmware = rules;
    EnableByFirmware(*m_ui->chkWithoutLeadingZeros, rules.WithoutLeadingZeros,
                     FirmwareRules::withoutLeadingZerosNeeds);
    EnableByFirmware(*m_ui->cboTagFrequency, rules.TagFrequency, FirmwareRules::tagFrequencyNeeds);
    EnableByFirmware(*m_ui->cboUsbInterface, rules.UsbInterface, FirmwareRules::usbInterfaceNeeds);
    m_ui->chkBuzzerEnabled->setVisible(rules.Buzzer);
    m_ui->labBuzzerEnabledHint->setVisible(rules.Buzzer);
}

// -- the digit boxes ----------------------------------------------------------------------------------------

ucTextScroll& frmMain::DigitBox(int box) const {
    const std::array boxes{m_ui->oCardSNLen0, m_ui->oCardSNLen1, m_ui->oCardSNLen2, m_ui->oCardSNLen3,
                           m_ui->oCardSNLen4};
    return *boxes.at(static_cast<std::size_t>(box));
}

void frmMain::ShowFilters(const Filters& filters, int page) {
    m_filters = filters;
    m_ui->SSTab2->setCurrentIndex(page);
    ShowDigitBoxes();
}

/// What the page's filters are. A box keeps what it is given, so one that nobody moves gives just that back.
void frmMain::ShowDigitBoxes() {
    ++m_suppress;
    const clsScopeGuard suppressed([this] { --m_suppress; });
    for (int box = 0; box < ZarnForm::boxCount; ++box) {
        const int index = ZarnForm::FilterIndex(m_ui->SSTab2->currentIndex(), box);
        const CardFilterRange& filter = m_filters.at(static_cast<std::size_t>(index));
        ucTextScroll& digits = DigitBox(box);
        if (const std::string text = ZarnForm::FilterBoxText(index); digits.Text() != text)
            digits.SetText(text);
        if (digits.SelStart() != filter.Start) digits.SetSelStart(filter.Start);
        if (digits.SelLength() != filter.Length) digits.SetSelLength(filter.Length);
        ShowRun(box);
    }
}

void frmMain::ShowRun(int box) {
    const std::array labels{m_ui->labCardSNRun0, m_ui->labCardSNRun1, m_ui->labCardSNRun2,
                            m_ui->labCardSNRun3, m_ui->labCardSNRun4};
    labels.at(static_cast<std::size_t>(box))->setText(DigitBox(box).Spoken());
}

// -- the conversion table -----------------------------------------------------------------------------------

clsConvertTable frmMain::ReadTable() const {
    clsConvertTable table;
    const QListWidget& list = *m_ui->lstTable;
    for (int row = 0; row < list.count(); ++row) {
        const QListWidgetItem& item = *list.item(row);
        table.Rows.push_back({QtText::ToBytes(item.text()), item.checkState() == Qt::Checked});
        if (item.isSelected()) table.SelectedRow = row;
    }
    table.CardType = m_ui->cboCardType->currentIndex();
    table.OutputID = QtText::ToBytes(m_ui->txtOutputID->text());
    table.OutputString = QtText::ToBytes(m_ui->txtOutputString->text());
    table.Enabled = m_ui->chkEnabled->isChecked();
    return table;
}

void frmMain::ShowTable(const clsConvertTable& table) {
    QListWidget& list = *m_ui->lstTable;
    const int count = static_cast<int>(table.Rows.size());
    while (list.count() > count) delete list.takeItem(list.count() - 1);
    for (int row = 0; row < count; ++row) {
        const ConvertRow& shown = table.Rows[static_cast<std::size_t>(row)];
        if (row == list.count()) list.addItem(QString());
        QListWidgetItem& item = *list.item(row);
        item.setText(QtText::ToQString(shown.Text));
        item.setCheckState(shown.Checked ? Qt::Checked : Qt::Unchecked);
    }
    list.clearSelection();
    list.setCurrentRow(table.SelectedRow);
    // The type comes first: it says how long the serial number may be. The formatter would eat leading zeros.
    m_ui->cboCardType->setCurrentIndex(table.CardType);
    if (table.SerialDigits() != 0) m_fmtOutputID.SetByteLen(static_cast<int>(table.SerialDigits()));
    SetText(*m_ui->txtOutputID, table.OutputID);
    SetText(*m_ui->txtOutputString, table.OutputString);
    m_ui->chkEnabled->setChecked(table.Enabled);
}

void frmMain::EditTable(const std::function<void(clsConvertTable&)>& edit) {
    clsConvertTable table = ReadTable();
    edit(table);
    {
        ++m_suppress;
        const clsScopeGuard suppressed([this] { --m_suppress; });
        ShowTable(table);
    }
    UpdateTableButtons();
    emit FormChanged();
}

void frmMain::UpdateTableButtons() {
    if (Suppressed() || m_pagesClosed) return;
    const clsConvertTable table = ReadTable();
    m_ui->labTableHint->setText(QtText::ToQString(table.WhyNot()));
    const std::pair<QPushButton*, bool> buttons[] = {{m_ui->cmdAddOutput, table.CheckCanAdd()},
                                                     {m_ui->cmdEditOutput, table.CheckCanModify()},
                                                     {m_ui->cmdRemove, table.CheckCanRemove()}};
    for (const auto& [button, enabled] : buttons) {
        if (!enabled && button->hasFocus()) m_ui->lstTable->setFocus();  // or the next control would have it
        button->setEnabled(enabled);
    }
}
