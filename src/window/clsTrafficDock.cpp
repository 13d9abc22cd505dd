#include "window/clsTrafficDock.h"

#include <QAction>
#include <QBoxLayout>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QTableView>
#include <QToolButton>
#include <algorithm>

#include "settings/RegisterMeaning.h"

namespace {
constexpr int margin = 6;                         // pixels
constexpr int frameTime = 100;                    // ms between two looks at what is new
constexpr int quietTime = 500;                    // ms between two looks for answers that do not come
constexpr std::int64_t longestWait = 11'000'000;  // us, after which none is waited for any more
}  // namespace

clsTrafficDock::clsTrafficDock(clsWireRing& ring, QWidget* parent)
    : QDockWidget(tr("Traffic"), parent), m_ring(ring) {
    m_ring.Widen();
    m_model = new clsTrafficModel(ring, this);
    setObjectName("dockTraffic");
    MakeContents();
    MakeMenu();
    m_frame.setSingleShot(true);
    m_frame.setInterval(frameTime);
    m_quiet.setInterval(quietTime);
    connect(&m_frame, &QTimer::timeout, this, &clsTrafficDock::ShowRows);
    connect(&m_quiet, &QTimer::timeout, this, &clsTrafficDock::ShowRows);
    m_onChange = m_ring.OnChange.Connect([this] {
        if (isVisible() && !m_frame.isActive()) m_frame.start();
    });
}

void clsTrafficDock::MakeList() {
    m_list = new QTableView(this);
    m_list->setObjectName("lstTraffic");
    m_list->setAccessibleName(tr("Traffic"));
    m_list->setModel(m_model);
    m_list->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_list->setWordWrap(false);
    m_list->setShowGrid(false);
    m_list->setTabKeyNavigation(false);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    m_list->verticalHeader()->hide();
    m_list->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_list->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 4);
    const int character = fontMetrics().averageCharWidth();
    const std::pair<int, int> widths[] = {{clsTrafficModel::TimeColumn, 15},
                                          {clsTrafficModel::DirectionColumn, 10},
                                          {clsTrafficModel::TextColumn, 30},
                                          {clsTrafficModel::BytesColumn, 34}};
    for (const auto& [column, width] : widths) m_list->setColumnWidth(column, character * width);
    m_list->horizontalHeader()->setStretchLastSection(true);
    m_list->horizontalHeader()->setHighlightSections(false);
    m_list->installEventFilter(this);
    connect(m_list, &QTableView::doubleClicked, this, &clsTrafficDock::GoToSetting);
}

QLayout* clsTrafficDock::MakeFilters() {
    auto* const row = new QHBoxLayout;
    m_direction = new QComboBox(this);
    m_direction->setObjectName("cboTrafficDirection");
    m_direction->setAccessibleName(tr("Direction"));
    m_direction->setAccessibleDescription(tr("Direction"));  // a list's name is its entry on some systems
    m_direction->addItems({tr("Both ways"), tr("Sent"), tr("Received")});
    m_command = new QComboBox(this);
    m_command->setObjectName("cboTrafficCommand");
    m_command->setAccessibleName(tr("Command"));
    m_command->setAccessibleDescription(tr("Command"));
    const std::pair<QString, char> commands[] = {{tr("All commands"), '\0'},
                                                 {tr("Read a register"), 'B'},
                                                 {tr("Write a register"), 'C'},
                                                 {tr("Memory image"), 'Y'},
                                                 {tr("Firmware"), 'V'},
                                                 {tr("Who is there"), 'D'},
                                                 {tr("Card"), 'J'},
                                                 {tr("Firmware loader"), 'X'},
                                                 {tr("USB adapter"), 'H'},
                                                 {tr("Nothing was asked"), '-'}};
    for (const auto& [text, letter] : commands) m_command->addItem(text, QChar(letter));
    m_faults = new QCheckBox(tr("Faults only"), this);
    m_faults->setObjectName("chkTrafficFaults");
    m_text = new QLineEdit(this);
    m_text->setObjectName("txtTrafficFilter");
    m_text->setPlaceholderText(tr("Only rows with this text"));
    m_text->setAccessibleName(tr("Filter"));
    m_text->setClearButtonEnabled(true);
    m_find = new QLineEdit(this);
    m_find->setObjectName("txtTrafficFind");
    m_find->setPlaceholderText(tr("Find"));
    m_find->setAccessibleName(tr("Find"));
    m_find->setToolTip(tr("Enter goes to the next row with this text, Shift+Enter to the one before"));
    m_find->installEventFilter(this);
    m_pause = new QToolButton(this);
    m_pause->setObjectName("cmdTrafficPause");
    m_pause->setText(tr("Pause"));
    m_pause->setToolTip(tr("Show nothing new for now; it is kept"));
    m_pause->setCheckable(true);
    auto* const clear = new QToolButton(this);
    clear->setObjectName("cmdTrafficClear");
    clear->setText(tr("Clear"));
    clear->setToolTip(tr("Forget what was on the line so far"));
    for (QWidget* widget :
         std::initializer_list<QWidget*>{m_direction, m_command, m_faults, m_text, m_find, m_pause, clear})
        row->addWidget(widget);
    row->setStretchFactor(m_text, 2);
    row->setStretchFactor(m_find, 1);
    for (QComboBox* box : {m_direction, m_command})
        connect(box, &QComboBox::currentIndexChanged, this, &clsTrafficDock::TakeFilter);
    connect(m_faults, &QCheckBox::toggled, this, &clsTrafficDock::TakeFilter);
    connect(m_text, &QLineEdit::textChanged, this, &clsTrafficDock::TakeFilter);
    connect(m_pause, &QToolButton::toggled, this, &clsTrafficDock::ShowRows);
    connect(clear, &QToolButton::clicked, this, [this] {
        m_ring.Clear();
        ShowRows();
    });
    return row;
}

void clsTrafficDock::MakeContents() {
    auto* const contents = new QWidget(this);
    auto* const column = new QVBoxLayout(contents);
    column->setContentsMargins(margin, margin, margin, margin);
    column->addLayout(MakeFilters());
    MakeList();
    column->addWidget(m_list, /*stretch=*/1);
    m_count = new QLabel(contents);
    m_count->setObjectName("labTraffic");
    m_count->setForegroundRole(QPalette::PlaceholderText);
    column->addWidget(m_count);
    setWidget(contents);
}

void clsTrafficDock::MakeMenu() {
    m_list->setContextMenuPolicy(Qt::ActionsContextMenu);
    const auto add = [this](const QString& text, const auto& handler) {
        auto* const action = new QAction(text, m_list);
        connect(action, &QAction::triggered, this, handler);
        m_list->addAction(action);
    };
    add(tr("Go to the setting"), [this] { GoToSetting(); });
    add(tr("Copy"), [this] { Copy(); });
}

void clsTrafficDock::FocusList() { m_list->setFocus(Qt::ShortcutFocusReason); }

void clsTrafficDock::showEvent(QShowEvent* event) {
    ShowRows();
    QDockWidget::showEvent(event);
    // When it has got its size.
    if (!m_list->currentIndex().isValid()) QTimer::singleShot(0, m_list, &QTableView::scrollToBottom);
}

bool clsTrafficDock::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        auto* const key = static_cast<QKeyEvent*>(event);
        const bool enter = key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
        if (enter && watched == m_find) {
            Find(/*backwards=*/key->modifiers().testFlag(Qt::ShiftModifier));
            return true;
        }
        if (watched == m_list && (enter || key->matches(QKeySequence::Copy))) {
            if (enter) {
                GoToSetting();
            } else {
                Copy();
            }
            return true;
        }
    }
    return QDockWidget::eventFilter(watched, event);
}

void clsTrafficDock::TakeFilter() {
    TrafficFilter filter;
    filter.Direction = static_cast<TrafficFilter::Way>(m_direction->currentIndex());
    filter.Command = m_command->currentData().toChar().toLatin1();
    filter.FaultsOnly = m_faults->isChecked();
    filter.Text = m_text->text();
    QScrollBar& bar = *m_list->verticalScrollBar();
    const bool atEnd = bar.value() >= bar.maximum();
    const int top = bar.value();
    const std::uint64_t seen = top < m_model->rowCount() ? m_model->NumberOf(top) : m_ring.First();
    m_model->SetFilter(filter);
    m_list->scrollToBottom();
    if (!atEnd) bar.setValue(m_model->RowOf(seen));
    ShowCount();
}

// Neither new rows nor those that fall out move what somebody looks at: only a list that shows its end goes
// on showing it.
void clsTrafficDock::ShowRows() {
    QScrollBar& bar = *m_list->verticalScrollBar();
    const bool atEnd = bar.value() >= bar.maximum();
    const int top = bar.value();
    m_model->SetPaused(m_pause->isChecked());
    const int dropped = m_model->Update();
    if (atEnd && !m_pause->isChecked()) {
        m_list->scrollToBottom();
    } else if (dropped > 0) {
        bar.setValue(std::max(top - dropped, 0));
    }
    ShowCount();
    const bool any = m_ring.End() > m_ring.First();
    const bool waits = any && m_ring.Now() - m_ring.Row(m_ring.End() - 1).Start.Microseconds < longestWait;
    if (waits && isVisible() && !m_quiet.isActive()) m_quiet.start();
    if (!waits || !isVisible()) m_quiet.stop();
}

void clsTrafficDock::ShowCount() {
    constexpr double mebi = 1024.0 * 1024.0;
    const auto kept = static_cast<qulonglong>(m_ring.End() - m_ring.First());
    m_count->setText(tr("%1 of %2 rows shown. The last %3 are kept, in %4 MiB of memory.")
                         .arg(m_model->rowCount())
                         .arg(kept)
                         .arg(static_cast<qulonglong>(clsWireRing::wideRows))
                         .arg(static_cast<double>(m_ring.Memory()) / mebi, 0, 'f', 1));
}

void clsTrafficDock::Find(bool backwards) {
    const QString text = m_find->text();
    const int count = m_model->rowCount();
    if (text.isEmpty() || count == 0) return;
    const int step = backwards ? count - 1 : 1;
    int row = m_list->currentIndex().isValid() ? m_list->currentIndex().row() : (backwards ? 0 : count - 1);
    for (int tried = 0; tried < count; ++tried) {
        row = (row + step) % count;
        if (!m_model->Line(row).contains(text, Qt::CaseInsensitive)) continue;
        m_list->selectRow(row);
        m_list->scrollTo(m_model->index(row, 0));
        return;
    }
}

void clsTrafficDock::Copy() {
    QStringList lines;
    QModelIndexList rows = m_list->selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end());
    for (const QModelIndex& index : rows) lines += m_model->Line(index.row());
    if (!lines.isEmpty()) QGuiApplication::clipboard()->setText(lines.join('\n') + '\n');
}

void clsTrafficDock::GoToSetting() {
    if (!m_list->currentIndex().isValid()) return;
    const auto role = RegisterMeaning::RoleOf(m_model->MeaningOf(m_list->currentIndex().row()).Register);
    if (role.Item) emit GoTo(*role.Item);
}
