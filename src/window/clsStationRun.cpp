#include "window/clsStationRun.h"

#include <QBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QSplitter>
#include <QTreeView>

#include "qt/QtText.h"
#include "station/clsStation.h"
#include "widgets/Announcement.h"
#include "window/clsStationTile.h"

namespace {

constexpr int margin = 8;  // pixels
constexpr int barHeight = 8;
constexpr int labelWidth = 34;  // characters

QPushButton* Button(const QString& text, const char* name, const QString& tip) {
    auto* const button = new QPushButton(text);
    button->setObjectName(name);
    button->setToolTip(tip);
    return button;
}

QString ChangeText(const HistoryChange& change) {
    QString line = QString::fromStdString(ChangeLine(change));
    if (!change.Kept) return line;
    if (!*change.Kept) return clsStationRun::tr("not kept: %1").arg(line);
    return clsStationRun::tr("%1: %2, before %3")
        .arg(line.section(": ", 0, 0), QString::fromStdString(change.After),
             QString::fromStdString(change.Before));
}

}  // namespace

clsStationRun::clsStationRun(QWidget* parent) : QWidget(parent) {
    setObjectName("pagStationRun");
    m_head = new QLabel(this);
    m_head->setObjectName("labStationHead");
    m_head->setTextFormat(Qt::PlainText);
    m_tile = new clsStationTile(this);
    m_progress = new QProgressBar(this);
    m_progress->setObjectName("prgStation");
    m_progress->setAccessibleName(tr("Steps of the unit"));
    m_progress->setTextVisible(false);
    m_progress->setFixedHeight(barHeight);
    QSizePolicy keeps = m_progress->sizePolicy();
    keeps.setRetainSizeWhenHidden(true);  // the tile is not to jump
    m_progress->setSizePolicy(keeps);
    m_notice = new QLabel(this);
    m_notice->setObjectName("labStationNotice");
    m_notice->setTextFormat(Qt::PlainText);
    m_notice->setWordWrap(true);
    Announcement::Prepare(*m_notice);
    m_notice->setMinimumHeight(fontMetrics().height());  // nor by one line
    m_counters = new QLabel(this);
    m_counters->setObjectName("labStationCounters");
    QFont large = m_counters->font();
    large.setPointSizeF(large.pointSizeF() * 1.2);
    large.setBold(true);
    m_counters->setFont(large);

    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(margin, margin, margin, margin);
    column->addWidget(m_head);
    column->addWidget(m_tile, /*stretch=*/5);
    column->addWidget(m_progress);
    column->addWidget(MakeQuestion());
    column->addWidget(m_notice);
    column->addWidget(MakeCommands());
    column->addWidget(m_counters);
    column->addWidget(MakeLists(), /*stretch=*/4);
}

QWidget* clsStationRun::MakeQuestion() {
    m_question = new QFrame(this);
    m_question->setObjectName("fraStationQuestion");
    static_cast<QFrame*>(m_question)->setFrameShape(QFrame::StyledPanel);
    m_questionText = new QLabel(m_question);
    m_questionText->setObjectName("labStationQuestion");
    m_questionText->setTextFormat(Qt::PlainText);
    m_questionText->setWordWrap(true);
    QFont bold = m_questionText->font();
    bold.setBold(true);
    m_questionText->setFont(bold);
    m_yes = Button(tr("&Yes"), "cmdStationYes", {});
    m_no = Button(tr("&No"), "cmdStationNo", tr("What Enter and Esc answer"));
    auto* const row = new QHBoxLayout(m_question);
    row->addWidget(m_questionText, /*stretch=*/1);
    row->addWidget(m_yes);
    row->addWidget(m_no);
    for (QPushButton* button : {m_yes, m_no}) {
        button->installEventFilter(this);
        connect(button, &QPushButton::clicked, this, [this, yes = button == m_yes] { Answer(yes); });
    }
    m_question->hide();
    return m_question;
}

QWidget* clsStationRun::MakeCommands() {
    auto* const commands = new QWidget(this);
    auto* const row = new QHBoxLayout(commands);
    row->setContentsMargins(0, 0, 0, 0);
    m_labelRow = new QWidget(commands);
    auto* const labelRow = new QHBoxLayout(m_labelRow);
    labelRow->setContentsMargins(0, 0, 0, 0);
    auto* const caption = new QLabel(tr("&Label"), m_labelRow);
    m_label = new QLineEdit(m_labelRow);
    m_label->setObjectName("txtStationLabel");
    m_label->setMinimumWidth(fontMetrics().averageCharWidth() * labelWidth);
    m_label->setToolTip(tr("Enter takes it, Esc leaves it out"));
    caption->setBuddy(m_label);
    labelRow->addWidget(caption);
    labelRow->addWidget(m_label);
    row->addWidget(m_labelRow);
    row->addStretch();

    m_pause = Button(tr("&Pause"), "cmdStationPause",
                     tr("Leaves alone what is plugged in meanwhile, to try a card on a finished reader"));
    m_stop = Button(tr("&Stop"), "cmdStationStop", tr("Finishes the unit that is being worked on"));
    m_again = Button(tr("&Start again..."), "cmdStationAgain", tr("To what the station is to do"));
    m_export = Button(tr("Export &CSV..."), "cmdStationExport", tr("The list as comma-separated values"));
    m_sheet =
        Button(tr("Shee&t..."), "cmdStationSheet", tr("A page about the unit that is selected in the list"));
    m_back = Button(tr("&Back"), "cmdStationLeave", tr("Finishes the unit, and leads to the settings"));
    for (QPushButton* button : {m_pause, m_stop, m_again, m_export, m_sheet, m_back}) row->addWidget(button);
    connect(m_pause, &QPushButton::clicked, this, [this] {
        const StationShown& shown = m_station->Shown();
        if (shown.State == StationState::Paused || shown.PauseAsked) {
            m_station->Resume();
        } else {
            m_station->Pause();
        }
    });
    connect(m_stop, &QPushButton::clicked, this, [this] { m_station->Stop(); });
    connect(m_again, &QPushButton::clicked, this, &clsStationRun::AgainWanted);
    connect(m_export, &QPushButton::clicked, this, &clsStationRun::ExportWanted);
    connect(m_back, &QPushButton::clicked, this, &clsStationRun::BackWanted);
    connect(m_sheet, &QPushButton::clicked, this, [this] {
        if (m_list->currentIndex().isValid()) emit SheetWanted(m_model.UnitAt(m_list->currentIndex().row()));
    });
    connect(m_label, &QLineEdit::returnPressed, this, [this] {
        if (m_labelTyped) m_station->TakeLabel(m_label->text().toStdString());
    });
    return commands;
}

QWidget* clsStationRun::MakeLists() {
    m_list = new QTreeView(this);
    m_list->setObjectName("lstStation");
    m_list->setAccessibleName(tr("Units"));
    m_list->setModel(&m_model);
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setAllColumnsShowFocus(true);
    m_list->setAlternatingRowColors(true);
    const int letter = fontMetrics().averageCharWidth();
    const std::pair<int, int> widths[] = {
        {clsStationModel::TimeColumn, 10},    {clsStationModel::LabelColumn, 14},
        {clsStationModel::PortColumn, 8},     {clsStationModel::FirmwareColumn, 14},
        {clsStationModel::ChangesColumn, 10}, {clsStationModel::ResultColumn, 23}};
    for (const auto& [column, letters] : widths) m_list->header()->resizeSection(column, letter * letters);
    m_list->header()->setStretchLastSection(false);
    m_list->header()->setSectionResizeMode(clsStationModel::ResultColumn, QHeaderView::Stretch);

    auto* const side = new QWidget(this);
    auto* const column = new QVBoxLayout(side);
    column->setContentsMargins(0, 0, 0, 0);
    m_unit = new QLabel(side);
    m_unit->setObjectName("labStationUnit");
    m_unit->setTextFormat(Qt::PlainText);
    m_unit->setWordWrap(true);
    m_changes = new QListWidget(side);
    m_changes->setObjectName("lstStationChanges");
    m_changes->setAccessibleName(tr("Changes of the unit"));
    m_changes->setWordWrap(true);
    column->addWidget(m_unit);
    column->addWidget(m_changes, /*stretch=*/1);

    auto* const both = new QSplitter(this);
    both->setChildrenCollapsible(false);
    both->addWidget(m_list);
    both->addWidget(side);
    both->setStretchFactor(0, 3);
    both->setStretchFactor(1, 2);
    connect(m_list->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &clsStationRun::ShowChanges);
    return both;
}

void clsStationRun::Begin(clsStation& station, const QString& head, bool labelsAsked) {
    m_station = &station;
    m_labelsAsked = labelsAsked;
    m_head->setText(head);
    m_model.Clear();
    m_said.clear();
    m_leaveText.clear();
    m_leaveAnswered = nullptr;
    m_asking = false;
    m_labelTyped = false;
    m_label->clear();
    m_labelRow->setVisible(labelsAsked);
    ShowChanges();
    FocusNext();
}

void clsStationRun::Lock() {
    m_locked = true;
    m_back->hide();
}

// -- what is shown ------------------------------------------------------------------------------------------

void clsStationRun::ShowState() {
    const StationShown& shown = m_station->Shown();
    if (shown.State == StationState::Working && shown.StepCount > 0) {
        m_progress->setMaximum(shown.StepCount);
        m_progress->setValue(shown.Step);
        m_progress->show();
    } else {
        m_progress->hide();
    }
    QStringList notices;
    for (const StationPlace& place : shown.Queue)
        notices += tr("%1: number %2 in line").arg(QString::fromStdString(place.Port)).arg(place.Place);
    QStringList lines;
    if (!notices.isEmpty()) lines += notices.join("   ");
    if (!shown.Notice.empty()) lines += QString::fromStdString(shown.Notice);
    if (!m_said.isEmpty()) lines += m_said;
    if (const QString notice = lines.join('\n'); notice != m_notice->text()) {
        m_notice->setText(notice);
        Announcement::Say(*m_notice, notice);
    }
    ShowCounters();
    ShowQuestion();
    ShowLabel();
    ShowCommands();
    QString toDo;
    if (shown.StopAsked && shown.State == StationState::Working) toDo = tr("Stops behind this unit");
    if (shown.PauseAsked && shown.State == StationState::Working) toDo = tr("Pauses behind this unit");
    m_tile->Show(shown, toDo);
    if (m_label->accessibleDescription() != m_tile->accessibleName())
        m_label->setAccessibleDescription(m_tile->accessibleName());
}

void clsStationRun::ShowCounters() {
    const StationCounters& counters = m_station->Shown().Counters;
    QStringList parts{tr("Units %1").arg(counters.Units), tr("Passed %1").arg(counters.Passed),
                      tr("Failed %1").arg(counters.Failed),
                      tr("Second attempts %1").arg(counters.SecondAttempts)};
    if (counters.PerHour > 0) parts += tr("%1 per hour").arg(counters.PerHour);
    m_counters->setText(parts.join("     "));
}

// The one that is asked by whoever wants to leave comes first.
void clsStationRun::ShowQuestion() {
    const StationShown& shown = m_station->Shown();
    QString text = m_leaveText;
    if (text.isEmpty() && shown.Question != StationQuestion::None)
        text = QString::fromStdString(shown.QuestionText);
    const bool asking = !text.isEmpty();
    if (text == (m_asking ? m_questionText->text() : QString())) return;
    m_asking = asking;
    m_questionText->setText(text);
    m_no->setAccessibleDescription(text);
    m_question->setVisible(asking);
    if (asking) {
        m_no->setFocus(Qt::OtherFocusReason);
    } else {
        if (m_labelTyped) m_label->clear();
        FocusNext();
    }
}

// What is typed while no label is asked for goes nowhere: perhaps it is a reader that types.
void clsStationRun::ShowLabel() {
    const bool typed = m_station->Shown().LabelAsked && !m_station->Shown().LabelWaits;
    m_label->setReadOnly(!typed);
    m_label->setPlaceholderText(typed ? tr("Enter takes it, Esc leaves it out") : QString());
    if (typed == m_labelTyped) return;
    m_labelTyped = typed;
    m_label->clear();
    if (typed && !m_asking) m_label->setFocus(Qt::OtherFocusReason);
}

void clsStationRun::ShowCommands() {
    const StationShown& shown = m_station->Shown();
    const bool stopped = shown.State == StationState::Stopped;
    const bool pausing = shown.State == StationState::Paused || shown.PauseAsked;
    const bool hadFocus = m_pause->hasFocus() || m_stop->hasFocus();
    m_pause->setText(pausing ? tr("Go &on") : tr("&Pause"));
    m_pause->setVisible(!stopped);
    m_stop->setVisible(!stopped);
    m_pause->setEnabled(!shown.StopAsked);
    m_stop->setEnabled(!shown.StopAsked);
    m_again->setVisible(stopped);
    m_export->setEnabled(m_model.rowCount() > 0);
    if (hadFocus && stopped) m_again->setFocus(Qt::OtherFocusReason);
}

void clsStationRun::FocusNext() {
    if (m_asking) {
        m_no->setFocus(Qt::OtherFocusReason);
    } else if (m_labelsAsked) {
        m_label->setFocus(Qt::OtherFocusReason);
    } else {
        m_tile->setFocus(Qt::OtherFocusReason);
    }
}

void clsStationRun::SayNotice(const QString& text) {
    m_said = text;
    ShowState();
}

// -- the list -----------------------------------------------------------------------------------------------

/// Who looks at an older unit is left alone; else the newest is shown.
void clsStationRun::TakeUnit(const StationUnit& unit) {
    const int current = m_list->currentIndex().row();
    const bool follows = current < 0 || current == m_model.rowCount() - 1;
    m_model.Take(unit);
    if (follows) {
        m_list->setCurrentIndex(m_model.index(m_model.rowCount() - 1, 0));
        m_list->scrollToBottom();
    }
    ShowChanges();
    ShowState();
}

void clsStationRun::ShowChanges() {
    m_changes->clear();
    const QModelIndex current = m_list->currentIndex();
    m_sheet->setEnabled(current.isValid());
    if (!current.isValid()) return m_unit->setText(tr("No unit yet"));
    const StationUnit& unit = m_model.UnitAt(current.row());
    QString text = tr("Unit %1: %2").arg(unit.Number).arg(WordOf(unit.Result));
    if (!unit.Label.empty()) text += "   " + QString::fromStdString(unit.Label);
    if (!unit.Reason.empty()) text += '\n' + QString::fromStdString(unit.Reason);
    m_unit->setText(text);
    for (const HistoryChange& change : unit.Changes) m_changes->addItem(ChangeText(change));
    if (unit.Changes.empty()) m_changes->addItem(tr("Nothing was changed."));
}

// -- what a person says -------------------------------------------------------------------------------------

void clsStationRun::AskToLeave(const QString& text, const std::function<void(bool)>& answered) {
    m_leaveText = text;
    m_leaveAnswered = answered;
    ShowState();
}

void clsStationRun::Answer(bool yes) {
    if (m_leaveText.isEmpty()) return m_station->Answer(yes);
    m_leaveText.clear();
    const auto answered = std::exchange(m_leaveAnswered, nullptr);
    ShowState();
    if (answered) answered(yes);
}

void clsStationRun::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Escape) return QWidget::keyPressEvent(event);
    if (m_asking) {
        Answer(false);
    } else if (m_labelTyped && m_label->hasFocus()) {
        m_station->SkipLabel();
    } else {
        FocusNext();
    }
}

// Enter answers with the button that has the focus, No at first: a scanner ends with Enter too.
bool clsStationRun::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return QWidget::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key != Qt::Key_Return && key != Qt::Key_Enter) return QWidget::eventFilter(watched, event);
    static_cast<QPushButton*>(watched)->click();
    return true;
}
