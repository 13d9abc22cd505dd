#include "window/clsRegistersDock.h"

#include <QAction>
#include <QApplication>
#include <QBoxLayout>
#include <QClipboard>
#include <QDateTime>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>

#include "base/modText.h"
#include "flows/clsSettingsFile.h"
#include "ports/PortPlace.h"
#include "window/clsRegisterGrid.h"
#include "window/clsRegisterModel.h"

namespace {

constexpr int margin = 6;           // pixels
constexpr int detailLines = 5;      // as many as Told has at most
constexpr int numberWidth = 12;     // characters
constexpr int listedEvents = 15;    // in the menu
constexpr int lookedAtEvents = 60;  // the newest; not all of them read something

QString TimeText(TimeOfDayRecord time) {
    return QString("%1:%2").arg(time.Hour, 2, 10, QChar('0')).arg(time.Minute, 2, 10, QChar('0'));
}

/// What the event read last; the image, where there is one.
const std::string& ReadBy(const HistoryEvent& event) {
    const HistorySide& side = event.After.Empty() ? event.Before : event.After;
    return side.Image.empty() ? side.Settings : side.Image;
}

/// Lays a settings file over the record. False when it is none.
bool LaySettings(const std::string& content, ZarnInfo& record) {
    clsSettingsParser parser(record);
    parser.Feed(content);
    parser.End();
    return parser.Content().KnownKey;
}

// Whole, so that it can say which side ReadBy takes.
QString EventText(const HistoryEvent& event) {
    const QDateTime begun = QDateTime::fromMSecsSinceEpoch(event.Begun);
    QString text = begun.toString("yyyy-MM-dd hh:mm ") + WordOf(event.Action);
    const std::string what = event.Label.empty() ? PortPlace(event.Port) : event.Label;
    if (!what.empty()) text += ", " + QString::fromStdString(what);
    return event.After.Empty() ? clsRegistersDock::tr("%1, before it").arg(text) : text;
}

}  // namespace

clsRegistersDock::clsRegistersDock(const clsReaderPicture& picture, QWidget* parent)
    : QDockWidget(tr("Registers"), parent), m_picture(picture) {
    setObjectName("dockRegisters");
    m_model = new clsRegisterModel(this);
    MakeContents();
    MakeCopy();
    connect(m_grid, &clsRegisterGrid::Moved, this, &clsRegistersDock::ShowDetail);
    connect(m_grid, &QTableView::activated, this, [this](const QModelIndex& index) {
        const RegisterRole role = RegisterMeaning::RoleOf(clsRegisterModel::NumberOf(index));
        if (role.Item) emit GoTo(*role.Item);
    });
    connect(m_grid, &clsRegisterGrid::NumberTyped, this, [this](const QString& digit) {
        m_number->setText(digit);
        m_number->setFocus(Qt::ShortcutFocusReason);
        m_number->deselect();
    });
    connect(m_number, &QLineEdit::returnPressed, this, &clsRegistersDock::Jump);
    connect(m_menu, &QMenu::aboutToShow, this, &clsRegistersDock::FillMenu);
    connect(m_dump, &QPushButton::clicked, this, &clsRegistersDock::DumpWanted);
    SetDumping(false);
}

QPushButton* clsRegistersDock::MakeButton(const QString& text, const char* name, const QString& tip) {
    auto* const button = new QPushButton(text, this);
    button->setObjectName(name);
    button->setToolTip(tip);
    button->setAutoDefault(false);
    return button;
}

void clsRegistersDock::MakeContents() {
    auto* const contents = new QWidget(this);
    const auto label = [&](const char* name) {
        auto* const made = new QLabel(contents);
        made->setObjectName(name);
        made->setTextFormat(Qt::PlainText);
        made->setWordWrap(true);
        return made;
    };
    m_sentence = label("labRegisters");
    m_sentence->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    m_detail = label("labRegister");
    m_detail->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::MinimumExpanding);
    m_detail->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_detail->setAlignment(Qt::AlignTop);
    m_detail->setMinimumHeight(fontMetrics().lineSpacing() * detailLines);
    m_grid = new clsRegisterGrid(*m_model, contents);
    m_grid->setObjectName("grdRegisters");
    m_grid->setAccessibleName(tr("Registers"));
    auto* const caption = new QLabel(tr("Go to register"), contents);
    m_number = new QLineEdit(contents);
    m_number->setObjectName("txtRegister");
    m_number->setToolTip(tr("0 to 511, or 0x000 to 0x1FF; Enter goes there"));
    m_number->setMaximumWidth(fontMetrics().averageCharWidth() * numberWidth);
    caption->setBuddy(m_number);
    auto* const compare = MakeButton(tr("Compare with"), "cmdCompareRegisters",
                                     tr("Mark what differs from a file, an event or the reading before"));
    m_menu = new QMenu(compare);
    m_menu->setObjectName("mnuCompareRegisters");
    compare->setMenu(m_menu);
    m_dump = MakeButton(tr("Dump now"), "cmdDump",
                        tr("Read all registers in one piece; the pages stay as they are"));
    auto* const save =
        MakeButton(tr("Save as text..."), "cmdSaveRegisters",
                   tr("All registers with what they mean into a file; Ctrl+C copies the same"));
    connect(save, &QPushButton::clicked, this, &clsRegistersDock::SaveWanted);

    auto* const column = new QVBoxLayout(contents);
    column->setContentsMargins(margin, margin, margin, margin);
    column->addWidget(m_sentence);
    auto* const above = new QHBoxLayout;
    above->addWidget(caption);
    above->addWidget(m_number);
    above->addStretch();
    above->addWidget(compare);
    column->addLayout(above);
    column->addWidget(m_grid, /*stretch=*/1);
    column->addWidget(m_detail);
    auto* const below = new QHBoxLayout;
    below->addWidget(m_dump);
    below->addStretch();
    below->addWidget(save);
    column->addLayout(below);
    setWidget(contents);
}

void clsRegistersDock::MakeCopy() {
    m_grid->setContextMenuPolicy(Qt::ActionsContextMenu);
    auto* const goTo = new QAction(tr("Go to the setting"), m_grid);
    connect(goTo, &QAction::triggered, this, [this] { emit m_grid->activated(m_grid->currentIndex()); });
    auto* const copy = new QAction(tr("Copy all as text"), m_grid);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, this, [this] { QApplication::clipboard()->setText(Text()); });
    m_grid->addActions({goTo, copy});
}

void clsRegistersDock::showEvent(QShowEvent* event) {
    ShowAll();
    QDockWidget::showEvent(event);
}

void clsRegistersDock::FocusGrid() { m_grid->setFocus(Qt::ShortcutFocusReason); }

void clsRegistersDock::SetDumping(bool possible) { m_dump->setEnabled(possible); }

void clsRegistersDock::Update() {
    if (isVisible()) ShowAll();
}

// -- what is shown ------------------------------------------------------------------------------------------

void clsRegistersDock::ShowAll() {
    m_model->Show(m_picture);
    const auto& before = m_picture.ImageBefore();
    const QString name = m_other == Other::Before && before ? TimeText(before->Time) : m_name;
    m_model->Compare(name, OtherImage());
    m_sentence->setText(Sentence());
    ShowDetail(m_grid->Current());
}

void clsRegistersDock::ShowDetail(int number) { m_detail->setText(m_model->Told(number).join('\n')); }

std::optional<RegisterImage> clsRegistersDock::OtherImage() const {
    const auto& image = m_picture.Image();
    if (!image) return std::nullopt;
    if (m_other == Other::Nothing) return std::nullopt;
    if (m_other == Other::Before) {
        const auto& before = m_picture.ImageBefore();
        return before ? std::optional(before->Bytes) : std::nullopt;
    }
    ZarnInfo wanted = RecordOf(image->Bytes);
    if (LaySettings(m_content, wanted)) return LaidOver(image->Bytes, wanted);
    return ImageOf(m_content);
}

QString clsRegistersDock::Sentence() const {
    const auto& image = m_picture.Image();
    if (!image) return tr("No memory image of a reader was seen yet. A quick read takes one, or Dump now.");
    QString text = tr("Read at %1.").arg(TimeText(image->Time));
    int written = 0;
    int old = 0;
    for (int number = 0; number < registerCount; ++number) {
        written += m_picture.Of(number) == RegisterSight::Written ? 1 : 0;
        old += m_picture.Of(number) == RegisterSight::Old ? 1 : 0;
    }
    if (old == registerCount) {
        text = tr("Read at %1; what the reader holds now nobody knows.").arg(TimeText(image->Time));
    } else if (written + old > 0) {
        text += tr(" Written or read otherwise since: %1 of 512.").arg(written + old);
    }
    if (m_other == Other::Nothing) return text;
    QString other = m_name;
    if (m_other == Other::Before) {
        const auto& before = m_picture.ImageBefore();
        if (!before) return text + tr(" There was no reading before.");
        other = tr("what was read before, at %1").arg(TimeText(before->Time));
    }
    return text + tr(" Different from %1: %2 of 512.").arg(other).arg(m_model->Differences());
}

QString clsRegistersDock::Text() const { return Sentence() + "\n" + m_model->Text(); }

// -- where to, and what with --------------------------------------------------------------------------------

void clsRegistersDock::Jump() {
    const auto number = modText::WholeNumber(m_number->text().toStdString(), registerCount - 1);
    if (!number) {
        m_detail->setText(tr("There is no register %1: 0 to 511, or 0x000 to 0x1FF").arg(m_number->text()));
        m_number->selectAll();
        return;
    }
    m_grid->SetCurrent(*number);
    FocusGrid();
}

void clsRegistersDock::Compare(Other other) {
    m_other = other;
    ShowAll();
}

bool clsRegistersDock::CompareWith(const QString& name, const std::string& content) {
    ZarnInfo record;
    if (!LaySettings(content, record) && !ImageOf(content)) return false;
    m_name = name;
    m_content = content;
    Compare(Other::Content);
    return true;
}

void clsRegistersDock::FillMenu() {
    m_menu->clear();
    const auto add = [this](const QString& text, bool checked, const auto& handler) {
        QAction* const action = m_menu->addAction(text);
        action->setCheckable(true);
        action->setChecked(checked);
        connect(action, &QAction::triggered, this, handler);
        return action;
    };
    add(tr("&Nothing"), m_other == Other::Nothing, [this] { Compare(Other::Nothing); });
    const auto& before = m_picture.ImageBefore();
    const QString time = before ? tr(", %1").arg(TimeText(before->Time)) : QString();
    add(tr("&The reading before") + time, m_other == Other::Before, [this] {
        Compare(Other::Before);
    })->setEnabled(before.has_value());
    if (m_other == Other::Content)
        add(QString(m_name).replace('&', "&&"), /*checked=*/true, [this] { Compare(Other::Content); });
    connect(m_menu->addAction(tr("A settings file or an &image...")), &QAction::triggered, this,
            &clsRegistersDock::FileWanted);
    AddEvents();
}

// Each is asked for what it read: the list does not tell.
void clsRegistersDock::AddEvents() {
    clsIHistory* const history = History ? History() : nullptr;
    if (history == nullptr) return;
    m_menu->addSection(tr("Events of the history"));
    HistoryFilter newest;
    newest.Limit = lookedAtEvents;
    const clsIHistory::Events events = history->List(newest);
    int listed = 0;
    for (const HistoryEvent& event : events.Value) {
        const clsIHistory::Events found = history->Find(event.Id);
        if (found.Value.size() != 1 || ReadBy(found.Value.front()).empty()) continue;
        connect(m_menu->addAction(EventText(found.Value.front()).replace('&', "&&")), &QAction::triggered,
                this, [this, whole = found.Value.front()] { CompareWith(EventText(whole), ReadBy(whole)); });
        if (++listed == listedEvents) break;
    }
    if (listed > 0) return;
    const bool asked = events.Result == clsIHistory::Events::State::Done;
    m_menu->addAction(asked ? tr("None with settings") : tr("The history cannot be read now"))
        ->setEnabled(false);
}
