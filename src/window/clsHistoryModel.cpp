#include "window/clsHistoryModel.h"

#include <QDateTime>
#include <algorithm>
#include <cstddef>

#include "ports/PortPlace.h"

namespace {

constexpr int againTime = 200;       // ms between two tries while another program has the history for itself
constexpr int mostRefreshed = 2000;  // rows; beyond these the rest is fetched anew

constexpr HistoryOrder orders[] = {HistoryOrder::Begun,  HistoryOrder::Action, HistoryOrder::Outcome,
                                   HistoryOrder::Label,  HistoryOrder::Port,   HistoryOrder::Firmware,
                                   HistoryOrder::Changes};
static_assert(std::size(orders) == clsHistoryModel::ColumnCount);

using Place = std::vector<HistoryEvent>::iterator;

bool SameEvents(Place from, Place to, Place others) {
    return std::equal(from, to, others,
                      [](const HistoryEvent& a, const HistoryEvent& b) { return a.Id == b.Id; });
}

}  // namespace

clsHistoryModel::clsHistoryModel(clsIHistory* history, QObject* parent)
    : QAbstractTableModel(parent), m_history(history), m_all(history == nullptr) {
    m_again.setSingleShot(true);
    m_again.setInterval(againTime);
    m_soon.setSingleShot(true);
    m_soon.setInterval(0);
    for (QTimer* timer : {&m_again, &m_soon})
        connect(timer, &QTimer::timeout, this, &clsHistoryModel::Refresh);
}

void clsHistoryModel::SetFilter(const HistoryFilter& filter) {
    const HistoryFilter before = m_filter;
    m_filter = filter;
    m_filter.Order = before.Order;
    m_filter.Rising = before.Rising;
    Restart();
}

bool clsHistoryModel::Filtered() const {
    return m_filter.Since || m_filter.Until || m_filter.Action || m_filter.Outcome ||
           !m_filter.Search.empty();
}

void clsHistoryModel::sort(int column, Qt::SortOrder order) {
    m_filter.Order = orders[column];
    m_filter.Rising = order == Qt::AscendingOrder;
    Restart();
}

// False when there was no answer.
bool clsHistoryModel::Ask(int offset, int count, std::vector<HistoryEvent>& events) {
    if (m_history == nullptr) return true;
    m_filter.Offset = offset;
    m_filter.Limit = count;
    auto answer = m_history->List(m_filter);
    const bool busy = answer.Result == clsIHistory::Events::State::Busy;
    m_error = busy ? "another program keeps it locked; it is asked again" : answer.Error;
    if (busy) m_again.start();
    events = std::move(answer.Value);
    return answer.Result == clsIHistory::Events::State::Done;
}

void clsHistoryModel::Restart() {
    beginResetModel();
    m_events.clear();
    m_all = !Ask(0, pageSize, m_events) || m_events.size() < std::size_t{pageSize};
    endResetModel();
    emit Asked();
}

bool clsHistoryModel::canFetchMore(const QModelIndex& parent) const { return !parent.isValid() && !m_all; }

void clsHistoryModel::fetchMore(const QModelIndex& parent) {
    if (parent.isValid()) return;
    std::vector<HistoryEvent> more;
    m_all = !Ask(rowCount(), pageSize, more) || more.size() < std::size_t{pageSize};
    // What came in meanwhile has moved some of them on, which are here already.
    std::erase_if(more, [this](const HistoryEvent& event) { return RowOf(event.Id).has_value(); });
    if (!more.empty()) {
        beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(more.size()) - 1);
        m_events.insert(m_events.end(), std::make_move_iterator(more.begin()),
                        std::make_move_iterator(more.end()));
        endInsertRows();
    }
    emit Asked();
}

void clsHistoryModel::Hold(bool hold) {
    m_held = hold;
    if (!hold) RefreshSoon();
}

void clsHistoryModel::Refresh() {
    if (m_held) return;
    std::vector<HistoryEvent> events;
    const int count = std::clamp(rowCount() + pageSize / 2, int{pageSize}, mostRefreshed);
    if (!Ask(0, count, events)) {
        m_all = true;  // until it is known better
        emit Asked();
        return;
    }
    const bool last = events.size() < static_cast<std::size_t>(count);
    if (!ShowNewer(events, last)) {
        beginResetModel();
        m_events = std::move(events);
        m_all = last;
        endResetModel();
    }
    emit Asked();
}

/// The first rows, when they are those that there are with none, or new ones, before them.
bool clsHistoryModel::ShowNewer(std::vector<HistoryEvent>& events, bool last) {
    if (m_events.empty()) return false;
    const auto old = std::find_if(events.begin(), events.end(),
                                  [&](const HistoryEvent& event) { return event.Id == m_events.front().Id; });
    const auto both = std::min(events.end() - old, static_cast<std::ptrdiff_t>(m_events.size()));
    const bool whole = static_cast<std::size_t>(both) == m_events.size();
    if (!(whole || (both > 0 && !last)) || !SameEvents(old, old + both, m_events.begin())) return false;
    const auto added = static_cast<int>(old - events.begin());
    const bool behind = old + both != events.end();
    if (added > 0) beginInsertRows({}, 0, added - 1);
    m_events.erase(m_events.begin(), m_events.begin() + both);
    m_events.insert(m_events.begin(), std::make_move_iterator(events.begin()),
                    std::make_move_iterator(old + both));
    if (whole) m_all = last && !behind;
    if (added > 0) endInsertRows();
    emit dataChanged(index(0, 0), index(added + static_cast<int>(both) - 1, ColumnCount - 1));
    // Older ones that have come in: a view asks for more when it is scrolled, and a short list is not.
    if (whole && behind && both < pageSize) {
        beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(events.end() - (old + both)) - 1);
        m_events.insert(m_events.end(), std::make_move_iterator(old + both),
                        std::make_move_iterator(events.end()));
        m_all = last;
        endInsertRows();
    }
    return true;
}

std::optional<int> clsHistoryModel::RowOf(const std::string& id) const {
    const auto found = std::find_if(m_events.begin(), m_events.end(),
                                    [&](const HistoryEvent& event) { return event.Id == id; });
    if (found == m_events.end()) return std::nullopt;
    return static_cast<int>(found - m_events.begin());
}

// -- what a view asks ---------------------------------------------------------------------------------------

QString clsHistoryModel::TimeText(std::int64_t time) {
    return QDateTime::fromMSecsSinceEpoch(time).toString("yyyy-MM-dd HH:mm:ss");
}

QString clsHistoryModel::Text(const HistoryEvent& event, int column) {
    switch (column) {
        case TimeColumn: return TimeText(event.Begun);
        case ActionColumn: return WordOf(event.Action);
        case OutcomeColumn: return WordOf(event.Outcome);
        case LabelColumn: return QString::fromStdString(event.Label);
        case PortColumn: return QString::fromStdString(PortPlace(event.Port));
        case FirmwareColumn: return QString::fromStdString(event.Firmware);
        case ChangesColumn: return event.ChangeCount == 0 ? QString() : QString::number(event.ChangeCount);
        default: return {};
    }
}

/// What the cell has no room for.
QVariant clsHistoryModel::ToolTip(const HistoryEvent& event, int column) {
    std::string text;
    if (column == OutcomeColumn) text = event.Reason;
    if (column == PortColumn && PortPlace(event.Port) != event.Port) text = event.Port;
    return text.empty() ? QVariant() : QString::fromStdString(text).toHtmlEscaped();
}

int clsHistoryModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_events.size());
}

int clsHistoryModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant clsHistoryModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const HistoryEvent& event = EventAt(index.row());
    switch (role) {
        case Qt::DisplayRole: {
            QString text = Text(event, index.column());
            return text.replace('\n', ' ');
        }
        case Qt::EditRole: return Text(event, index.column());
        case Qt::ToolTipRole: return ToolTip(event, index.column());
        case Qt::TextAlignmentRole:
            return index.column() == ChangesColumn ? QVariant(Qt::AlignRight | Qt::AlignVCenter) : QVariant();
        default: return {};
    }
}

QVariant clsHistoryModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    return QStringList{tr("Time"), tr("Action"),   tr("Outcome"), tr("Label"),
                       tr("Port"), tr("Firmware"), tr("Changes")}
        .value(section);
}

Qt::ItemFlags clsHistoryModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractTableModel::flags(index) | Qt::ItemNeverHasChildren;
    if (index.column() == LabelColumn) flags |= Qt::ItemIsEditable;
    return flags;
}

bool clsHistoryModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole || !index.isValid() || index.column() != LabelColumn) return false;
    HistoryEvent& event = m_events.at(static_cast<std::size_t>(index.row()));
    const std::string label = CutLabel(value.toString().toStdString());
    if (label == event.Label) return true;
    const auto answer = m_history->SetLabel(event.Id, label);
    if (answer.Result != clsIHistory::Count::State::Done || answer.Value == 0) {
        const bool busy = answer.Result == clsIHistory::Count::State::Busy;
        const bool gone = answer.Result == clsIHistory::Count::State::Done;
        emit NotLabelled(busy   ? tr("another program keeps the history locked")
                         : gone ? tr("the event is not in the history any more")
                                : QString::fromStdString(answer.Error));
        return false;
    }
    event.Label = label;
    emit dataChanged(index, index, {Qt::DisplayRole, Qt::EditRole});
    return true;
}
