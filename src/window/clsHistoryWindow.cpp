#include "window/clsHistoryWindow.h"

#include <QAction>
#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QEvent>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QShortcut>
#include <QShowEvent>
#include <QSplitter>
#include <QStyledItemDelegate>
#include <QTableView>
#include <algorithm>
#include <utility>

#include "widgets/Announcement.h"
#include "window/CheckBoxColors.h"
#include "window/clsEventView.h"

namespace {

constexpr int againTime = 200;    // ms
constexpr int typingTime = 80;    // ms
constexpr int usualWidth = 1180;  // pixels
constexpr int usualHeight = 700;
constexpr int daysBack = 30;  // that the filter begins with
// Columns are as wide as these; the label takes what is left.
constexpr const char* samples[] = {"0000-00-00 00:00:00", "restore",   "interrupted", "Label",
                                   "HID at 1-2:1.0",      "V1.02R007", "Changes"};
static_assert(std::size(samples) == clsHistoryModel::ColumnCount);
constexpr int cellMargin = 22;  // pixels, with the mark of the order
constexpr int leastWidth = 60;

template <class Kind>
QComboBox* MakeKinds(const char* name, const QString& any, Kind last, QWidget* parent) {
    auto* const box = new QComboBox(parent);
    box->setObjectName(name);
    box->addItem(any);
    for (int kind = 0; kind <= static_cast<int>(last); ++kind)
        box->addItem(WordOf(static_cast<Kind>(kind)), kind);
    return box;
}

template <class Kind>
std::optional<Kind> ChosenKind(const QComboBox& box) {
    const QVariant kind = box.currentData();
    return kind.isValid() ? std::optional(static_cast<Kind>(kind.toInt())) : std::nullopt;
}

QDateEdit* MakeDay(const char* name, const QDate& day, QWidget* parent) {
    auto* const box = new QDateEdit(day, parent);
    box->setObjectName(name);
    box->setDisplayFormat("yyyy-MM-dd");
    box->setCalendarPopup(true);
    box->setEnabled(false);
    return box;
}

/// Tells while a label is being typed.
class clsLabelDelegate final : public QStyledItemDelegate {
  public:
    clsLabelDelegate(std::function<void(bool typed)> typing, QObject* parent)
        : QStyledItemDelegate(parent), m_typing(std::move(typing)) {}
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override {
        m_typing(/*typed=*/true);
        QWidget* const editor = QStyledItemDelegate::createEditor(parent, option, index);
        editor->setAccessibleName(clsHistoryWindow::tr("Label"));
        return editor;
    }
    void destroyEditor(QWidget* editor, const QModelIndex& index) const override {
        QStyledItemDelegate::destroyEditor(editor, index);
        m_typing(/*typed=*/false);
    }

  private:
    const std::function<void(bool typed)> m_typing;
};

}  // namespace

clsHistoryWindow::clsHistoryWindow(Parts parts, QWidget* parent)
    : QDialog(parent, Qt::Window), m_parts(std::move(parts)), m_model(m_parts.History) {
    setObjectName("dlgHistory");
    setWindowTitle(tr("History"));
    auto* const column = new QVBoxLayout(this);
    MakeFilters(*column);
    m_state = new QLabel(this);
    m_state->setObjectName("labHistoryState");
    m_state->setTextFormat(Qt::PlainText);
    m_state->setWordWrap(true);
    column->addWidget(m_state);
    MakeTable();
    m_view = new clsEventView(this);
    auto* const splitter = new QSplitter(this);
    splitter->setChildrenCollapsible(false);
    splitter->addWidget(m_table);
    splitter->addWidget(m_view);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 2);
    column->addWidget(splitter, /*stretch=*/1);
    MakeButtons(*column);
    MakeKeys();
    resize(QSize(usualWidth, usualHeight).boundedTo(screen()->availableSize() * 9 / 10));

    m_typing.setSingleShot(true);
    m_typing.setInterval(typingTime);
    connect(&m_typing, &QTimer::timeout, this, &clsHistoryWindow::Search);
    m_chosenSoon.setSingleShot(true);
    m_chosenSoon.setInterval(0);
    connect(&m_chosenSoon, &QTimer::timeout, this, &clsHistoryWindow::ShowChosen);
    if (m_parts.History != nullptr)
        m_parts.History->Changed = [this] {
            if (isVisible()) m_model.RefreshSoon();
        };
}

clsHistoryWindow::~clsHistoryWindow() {
    if (m_parts.History != nullptr) m_parts.History->Changed = {};
}

// -- making the window --------------------------------------------------------------------------------------

void clsHistoryWindow::MakeFilters(QBoxLayout& column) {
    m_search = new QLineEdit(this);
    m_search->setObjectName("txtHistorySearch");
    m_search->setAccessibleName(tr("Search"));
    m_search->setPlaceholderText(tr("Search label, reason, port, adapter, firmware, file, machine"));
    m_search->setClearButtonEnabled(true);
    m_action = MakeKinds("cboHistoryAction", tr("Any action"), lastAction, this);
    m_action->setAccessibleName(tr("Action"));
    m_action->setAccessibleDescription(tr("Action"));  // a list's name is its entry on some systems
    m_outcome = MakeKinds("cboHistoryOutcome", tr("Any outcome"), lastOutcome, this);
    m_outcome->setAccessibleName(tr("Outcome"));
    m_outcome->setAccessibleDescription(tr("Outcome"));
    m_since = new QCheckBox(tr("Si&nce"), this);
    m_since->setObjectName("chkHistorySince");
    m_sinceDay = MakeDay("datHistorySince", QDate::currentDate().addDays(-daysBack), this);
    m_sinceDay->setAccessibleName(tr("Since this day"));
    m_until = new QCheckBox(tr("&Until"), this);
    m_until->setObjectName("chkHistoryUntil");
    m_untilDay = MakeDay("datHistoryUntil", QDate::currentDate(), this);
    m_untilDay->setAccessibleName(tr("Until this day"));

    auto* const row = new QHBoxLayout;
    row->addWidget(m_search, /*stretch=*/1);
    for (QWidget* widget :
         std::initializer_list<QWidget*>{m_action, m_outcome, m_since, m_sinceDay, m_until, m_untilDay})
        row->addWidget(widget);
    column.addLayout(row);

    connect(m_search, &QLineEdit::textChanged, &m_typing, qOverload<>(&QTimer::start));
    for (QComboBox* box : {m_action, m_outcome})
        connect(box, &QComboBox::currentIndexChanged, this, &clsHistoryWindow::Search);
    for (const auto& [box, day] : {std::pair{m_since, m_sinceDay}, std::pair{m_until, m_untilDay}}) {
        connect(box, &QCheckBox::toggled, day, &QWidget::setEnabled);
        connect(box, &QCheckBox::toggled, this, &clsHistoryWindow::Search);
        connect(day, &QDateEdit::dateChanged, this, &clsHistoryWindow::Search);
    }
}

void clsHistoryWindow::MakeTable() {
    m_table = new QTableView(this);
    m_table->setObjectName("tblHistory");
    m_table->setAccessibleName(tr("Events"));
    m_table->setModel(&m_model);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setItemDelegateForColumn(
        clsHistoryModel::LabelColumn,
        new clsLabelDelegate([this](bool typed) { m_model.Hold(typed); }, this));
    m_table->setEditTriggers(QAbstractItemView::DoubleClicked);
    m_table->setShowGrid(false);
    m_table->setAlternatingRowColors(true);
    m_table->setTabKeyNavigation(false);
    m_table->setWordWrap(false);
    m_table->setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(fontMetrics().height() * 3 / 2);
    m_table->horizontalHeader()->setHighlightSections(false);
    m_table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    for (int column = 0; column < clsHistoryModel::ColumnCount; ++column)
        m_table->setColumnWidth(column, fontMetrics().horizontalAdvance(samples[column]) + cellMargin);
    m_table->horizontalHeader()->setMinimumSectionSize(leastWidth);
    m_table->horizontalHeader()->setSectionResizeMode(clsHistoryModel::LabelColumn, QHeaderView::Stretch);
    // The order first, so that nothing is asked before there is a window to show it.
    m_table->horizontalHeader()->setSortIndicator(clsHistoryModel::TimeColumn, Qt::DescendingOrder);
    connect(m_table->horizontalHeader(), &QHeaderView::sortIndicatorChanged, &m_model,
            &clsHistoryModel::sort);
    m_table->horizontalHeader()->setSectionsClickable(true);
    m_table->horizontalHeader()->setSortIndicatorShown(true);

    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, &m_chosenSoon,
            qOverload<>(&QTimer::start));
    connect(&m_model, &QAbstractItemModel::dataChanged, &m_chosenSoon, qOverload<>(&QTimer::start));
    connect(&m_model, &QAbstractItemModel::modelAboutToBeReset, this, [this] { m_kept = ChosenIds(); });
    connect(&m_model, &QAbstractItemModel::modelReset, this, &clsHistoryWindow::KeepChoice);
    connect(&m_model, &clsHistoryModel::Asked, this, &clsHistoryWindow::ShowState);
    connect(&m_model, &clsHistoryModel::NotLabelled, this,
            [this](const QString& why) { Say(tr("The label could not be kept: %1").arg(why)); });
    // What somebody looks at stays where it is.
    connect(&m_model, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex&, int first, int last) {
                QScrollBar& bar = *m_table->verticalScrollBar();
                if (first == 0 && bar.value() > 0) bar.setValue(bar.value() + last + 1);
            });
}

void clsHistoryWindow::MakeButtons(QBoxLayout& column) {
    m_said = new QLabel(this);
    m_said->setObjectName("labHistorySaid");
    m_said->setTextFormat(Qt::PlainText);
    m_said->setWordWrap(true);
    Announcement::Prepare(*m_said);
    m_said->hide();
    column.addWidget(m_said);
    auto* const row = new QHBoxLayout;
    const auto button = [&](const char* name, const QString& text) {
        auto* const made = new QPushButton(text, this);
        made->setObjectName(name);
        made->setAutoDefault(false);
        row->addWidget(made);
        return made;
    };
    const auto entry = [this](QPushButton& of, const char* name, const QString& text, auto handler) {
        if (of.menu() == nullptr) of.setMenu(new QMenu(&of));
        QAction* const action = of.menu()->addAction(text);
        action->setObjectName(name);
        connect(action, &QAction::triggered, this, handler);
        return action;
    };
    m_restore = button("cmdHistoryRestore", tr("&Restore"));
    m_restoreBehind = entry(*m_restore, "actRestoreBehind", tr("What the reader held &behind it..."),
                            [this] { AskForRestore(/*before=*/false); });
    m_restoreBefore = entry(*m_restore, "actRestoreBefore", tr("What it held be&fore..."),
                            [this] { AskForRestore(/*before=*/true); });
    m_save = button("cmdHistorySave", tr("&Save as"));
    const QString texts[2][2] = {{
                                     tr("&Settings behind it..."),
                                     tr("Se&ttings before..."),
                                 },
                                 {tr("&Memory image behind it..."), tr("Memory &image before...")}};
    const char* const names[2][2] = {{"actSettingsBehind", "actSettingsBefore"},
                                     {"actImageBehind", "actImageBefore"}};
    for (const int image : {0, 1}) {
        for (const int before : {0, 1})
            m_saves[image][before] = entry(*m_save, names[image][before], texts[image][before],
                                           [this, image, before] { SaveSide(before != 0, image != 0); });
    }
    m_label = button("cmdHistoryLabel", tr("&Label"));
    m_label->setToolTip(tr("Give the unit of the event a name (F2)"));
    connect(m_label, &QPushButton::clicked, this, &clsHistoryWindow::EditLabel);
    m_sheet = button("cmdHistorySheet", tr("S&heet as PDF..."));
    m_sheet->setToolTip(tr("Write a page on each chosen event for the folder of its unit"));
    connect(m_sheet, &QPushButton::clicked, this, &clsHistoryWindow::SaveSheets);
    m_exchange = button("cmdHistoryExport", tr("&Export"));
    m_exportChosen =
        entry(*m_exchange, "actExportChosen", tr("&Chosen events..."), [this] { Export(ChosenIds()); });
    entry(*m_exchange, "actExportAll", tr("&All events..."), [this] { Export({}); });
    entry(*m_exchange, "actImport", tr("&Import from another machine..."), [this] { Import(); });
    row->addStretch();
    connect(button("cmdHistoryClose", tr("Close")), &QPushButton::clicked, this, &QDialog::reject);
    column.addLayout(row);
}

void clsHistoryWindow::MakeKeys() {
    const auto key = [this](const QKeySequence& keys, auto handler) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, handler);
    };
    key(QKeySequence::Find, [this] {
        m_search->setFocus(Qt::ShortcutFocusReason);
        m_search->selectAll();
    });
    key(QKeySequence(Qt::Key_F5), [this] { m_model.Refresh(); });
    key(QKeySequence(Qt::Key_F2), [this] { EditLabel(); });
}

// -- the list -----------------------------------------------------------------------------------------------

void clsHistoryWindow::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (event->spontaneous()) return;
    ColorCheckBoxes(*this);
    m_model.Refresh();
    m_search->setFocus();
    EnableActions();
    m_chosenSoon.start();
}

// Other programs may have kept something while the window was behind theirs.
void clsHistoryWindow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::ActivationChange && isActiveWindow() && isVisible()) m_model.RefreshSoon();
    QDialog::changeEvent(event);
}

QDate clsHistoryWindow::FilterDay(const QCheckBox& box, const QDateEdit& day) const {
    return box.isChecked() ? day.date() : QDate();
}

void clsHistoryWindow::Search() {
    HistoryFilter filter;
    filter.Search = m_search->text().trimmed().toStdString();
    filter.Action = ChosenKind<HistoryAction>(*m_action);
    filter.Outcome = ChosenKind<HistoryOutcome>(*m_outcome);
    const QDate since = FilterDay(*m_since, *m_sinceDay);
    const QDate until = FilterDay(*m_until, *m_untilDay);
    if (since.isValid()) filter.Since = since.startOfDay().toMSecsSinceEpoch();
    if (until.isValid()) filter.Until = until.addDays(1).startOfDay().toMSecsSinceEpoch();
    m_model.SetFilter(filter);
}

void clsHistoryWindow::KeepChoice() {
    QItemSelection selection;
    for (const std::string& id : m_kept) {
        if (const auto row = m_model.RowOf(id))
            selection.select(m_model.index(*row, 0), m_model.index(*row, clsHistoryModel::ColumnCount - 1));
    }
    if (selection.isEmpty() && m_model.rowCount() > 0)
        selection.select(m_model.index(0, 0), m_model.index(0, clsHistoryModel::ColumnCount - 1));
    if (!selection.isEmpty())
        m_table->selectionModel()->setCurrentIndex(selection.indexes().front(),
                                                   QItemSelectionModel::NoUpdate);
    m_table->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    m_chosenSoon.start();
}

void clsHistoryWindow::SetWarning(const QString& warning) {
    m_warning = warning;
    ShowState();
}

void clsHistoryWindow::ShowState() {
    QStringList sentences;
    if (!m_warning.isEmpty()) sentences += m_warning;
    if (m_parts.History == nullptr) {
        sentences += m_parts.WhyNone;
    } else if (!m_model.Error().empty()) {
        sentences += tr("The history cannot be shown: %1.").arg(QString::fromStdString(m_model.Error()));
    } else if (m_model.rowCount() == 0) {
        sentences += m_model.Filtered()
                         ? tr("No event is like that.")
                         : tr("Nothing is kept yet: what is done with a reader will stand here.");
    }
    m_state->setText(sentences.join('\n'));
    m_state->setVisible(!sentences.isEmpty());
}

std::vector<std::string> clsHistoryWindow::ChosenIds() const {
    std::vector<int> rows;
    for (const QModelIndex& index : m_table->selectionModel()->selectedRows()) rows.push_back(index.row());
    std::sort(rows.begin(), rows.end());
    std::vector<std::string> ids;
    ids.reserve(rows.size());
    for (const int row : rows) ids.push_back(m_model.EventAt(row).Id);
    return ids;
}

std::optional<HistoryEvent> clsHistoryWindow::Whole(const std::string& id) {
    auto found = m_parts.History->Find(id);
    if (found.Result == clsIHistory::Events::State::Done && found.Value.size() == 1) {
        if (std::exchange(m_askAgain, false)) Say({});
        return std::move(found.Value.front());
    }
    m_askAgain = found.Result == clsIHistory::Events::State::Busy;
    if (m_askAgain) QTimer::singleShot(againTime, &m_chosenSoon, qOverload<>(&QTimer::start));
    Say(m_askAgain ? tr("Another program keeps the history locked; it is asked again.")
                   : QString::fromStdString(found.Error));
    return std::nullopt;
}

void clsHistoryWindow::ShowChosen() {
    const std::vector<std::string> ids = ChosenIds();
    std::optional<HistoryEvent> event;
    if (ids.size() == 1) event = Whole(ids.front());
    const bool same = event && event == m_event;  // then a page that was scrolled stays so
    m_event = std::move(event);
    if (same) {
        EnableActions();
        return;
    }
    if (m_event) {
        m_view->ShowEvent(*m_event);
    } else if (ids.size() == 2) {
        // The earlier one on the left, in whatever order the rows stand.
        auto first = Whole(ids[1]);
        auto second = Whole(ids[0]);
        if (first && second && second->Begun < first->Begun) std::swap(first, second);
        if (first && second) m_view->ShowDifference(*first, *second);
    } else if (ids.size() > 2) {
        m_view->ShowNothing(tr("%1 events are chosen. Two are compared with each other.").arg(ids.size()));
    } else {
        m_view->ShowNothing({});
    }
    EnableActions();
}
