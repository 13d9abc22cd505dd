#include "window/clsDifferenceList.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QKeyEvent>
#include <QTextDocument>
#include <algorithm>

#include "window/clsMark.h"

namespace {
constexpr int fewestCharacters = 6;  // of a column
constexpr int usualCharacters = 64;  // of all columns
constexpr int usualRows = 14;
}  // namespace

QString DifferenceRow::Name() const {
    return Registers.isEmpty() ? QString::fromStdString(Item.Name()) : Registers;
}

// -- the rows -----------------------------------------------------------------------------------------------

void clsDifferenceModel::SetTitles(const QStringList& titles) {
    if (titles == m_titles) return;
    beginResetModel();
    m_titles = titles;
    endResetModel();
}

void clsDifferenceModel::SetRows(std::vector<DifferenceRow> rows) {
    const bool same = std::equal(rows.begin(), rows.end(), m_rows.begin(), m_rows.end(),
                                 [](const DifferenceRow& a, const DifferenceRow& b) { return a.IsOf(b); });
    if (same) {
        rows.swap(m_rows);
        for (int row = 0; row < rowCount(); ++row) {
            const auto at = static_cast<std::size_t>(row);
            if (m_rows[at] != rows[at]) emit dataChanged(index(row, 0), index(row, columnCount() - 1));
        }
        return;
    }
    beginResetModel();
    m_rows = std::move(rows);
    endResetModel();
}

int clsDifferenceModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int clsDifferenceModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_titles.size());
}

QString clsDifferenceModel::Text(const DifferenceRow& row, int column) const {
    switch (column) {
        case SettingColumn: return row.Name();
        case ReaderColumn: return row.InReader;
        case WantedColumn: return row.Wanted;
        default: return row.Note;
    }
}

QVariant clsDifferenceModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const DifferenceRow& row = RowAt(index);
    const bool first = index.column() == SettingColumn;
    switch (role) {
        case Qt::DisplayRole: return Text(row, index.column());
        case Qt::ToolTipRole: return Qt::convertFromPlainText(Text(row, index.column()));
        case Qt::AccessibleDescriptionRole: return first ? row.Told : QString();
        case clsMarkDelegate::SightRole: return first ? QVariant(static_cast<int>(row.Stands)) : QVariant();
        case Qt::CheckStateRole:
            return first && row.HasTick ? QVariant(row.Ticked ? Qt::Checked : Qt::Unchecked) : QVariant();
        default: return {};
    }
}

QVariant clsDifferenceModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    return m_titles.value(section);
}

Qt::ItemFlags clsDifferenceModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractTableModel::flags(index) | Qt::ItemNeverHasChildren;
    if (index.isValid() && RowAt(index).HasTick && index.column() == SettingColumn)
        flags |= Qt::ItemIsUserCheckable;
    return flags;
}

bool clsDifferenceModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::CheckStateRole || !index.isValid()) return false;
    m_rows.at(static_cast<std::size_t>(index.row())).Ticked = value.toInt() == Qt::Checked;
    emit dataChanged(index, index, {role});
    emit Ticked();
    return true;
}

// -- the view -----------------------------------------------------------------------------------------------

clsDifferenceList::clsDifferenceList(QWidget* parent) : QTreeView(parent) {
    setModel(&m_model);
    setRootIsDecorated(false);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setAlternatingRowColors(true);
    setTabKeyNavigation(false);
    header()->setSectionsMovable(false);
    header()->setMinimumSectionSize(fontMetrics().averageCharWidth() * fewestCharacters);
}

std::vector<DifferenceRow> clsDifferenceList::SelectedRows() const {
    QModelIndexList selected = selectionModel()->selectedRows();
    std::sort(selected.begin(), selected.end());
    std::vector<DifferenceRow> rows;
    for (const QModelIndex& index : selected) rows.push_back(m_model.RowAt(index));
    return rows;
}

void clsDifferenceList::SetRows(std::vector<DifferenceRow> rows) {
    const bool hadCurrent = currentIndex().isValid();
    const DifferenceRow current = hadCurrent ? m_model.RowAt(currentIndex()) : DifferenceRow{SettingItem(0)};
    const std::vector<DifferenceRow> selected = SelectedRows();
    m_model.SetRows(std::move(rows));
    executeDelayedItemsLayout();           // else it is painted before, and again behind each step of that
    if (currentIndex().isValid()) return;  // they are where they were
    for (int at = 0; at < m_model.rowCount(); ++at) {
        const QModelIndex index = m_model.index(at, 0);
        const DifferenceRow& row = m_model.RowAt(index);
        const bool had = std::any_of(selected.begin(), selected.end(),
                                     [&](const DifferenceRow& before) { return before.IsOf(row); });
        const auto whole = QItemSelectionModel::Select | QItemSelectionModel::Rows;
        if (had) selectionModel()->select(index, whole);
        if (hadCurrent && row.IsOf(current))
            selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    }
}

QSize clsDifferenceList::sizeHint() const {
    return {fontMetrics().averageCharWidth() * usualCharacters, fontMetrics().height() * usualRows};
}

void clsDifferenceList::Copy() const {
    std::vector<DifferenceRow> rows = SelectedRows();
    if (rows.empty()) rows = m_model.Rows();
    QString text;
    for (const DifferenceRow& row : rows) {
        QStringList cells{row.Name(), row.InReader, row.Wanted};
        if (m_model.columnCount() > clsDifferenceModel::NoteColumn) cells += row.Note;
        text += cells.join('\t') + '\n';
    }
    QApplication::clipboard()->setText(text);
}

void clsDifferenceList::keyPressEvent(QKeyEvent* event) {
    const QModelIndex setting = currentIndex().siblingAtColumn(clsDifferenceModel::SettingColumn);
    if (event->matches(QKeySequence::Copy)) {
        Copy();
    } else if (event->key() == Qt::Key_Space && setting.isValid() && m_model.RowAt(setting).HasTick) {
        const auto ticked = m_model.RowAt(setting).Ticked ? Qt::Unchecked : Qt::Checked;
        m_model.setData(setting, ticked, Qt::CheckStateRole);
    } else {
        QTreeView::keyPressEvent(event);
    }
}
