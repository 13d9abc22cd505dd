#include "window/clsTrafficModel.h"

#include <QColor>
#include <QDateTime>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QPalette>
#include <algorithm>
#include <vector>

namespace {
constexpr qint64 usPerMs = 1000;
// us; longer than any answer is waited for but an image's, whose row does not change its place by that
constexpr std::int64_t settleTime = 3'000'000;
constexpr std::size_t longestText = 200;  // bytes that are shown of a row

// Readable on the view's own background.
QColor FaultColor() {
    const bool dark = QGuiApplication::palette().color(QPalette::Base).lightness() < 128;
    return dark ? QColor(0xFF, 0x8A, 0x80) : QColor(0xB0, 0x00, 0x20);
}
}  // namespace

clsTrafficModel::clsTrafficModel(clsWireRing& ring, QObject* parent)
    : QAbstractTableModel(parent),
      m_ring(ring),
      m_began(QDateTime::currentMSecsSinceEpoch() - ring.Now() / usPerMs) {}

int clsTrafficModel::RowOf(std::uint64_t number) const {
    return static_cast<int>(std::lower_bound(m_numbers.begin(), m_numbers.end(), number) - m_numbers.begin());
}

int clsTrafficModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_numbers.size());
}

int clsTrafficModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : columns; }

QVariant clsTrafficModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    const QString titles[columns] = {tr("Time"), tr("Way"), tr("Text"), tr("Bytes"), tr("Meaning")};
    return titles[section];
}

std::uint64_t clsTrafficModel::NumberOf(int row) const { return m_numbers.at(static_cast<std::size_t>(row)); }

WireMeaning clsTrafficModel::Explained(std::uint64_t number) const {
    const WireRow row = m_ring.Row(number);
    const bool paired = row.Partner >= m_ring.First() && row.Partner < m_ring.End();
    const WireRow partner = paired ? m_ring.Row(row.Partner) : WireRow();
    const bool answer = row.Start.Received && paired;
    const bool asks = answer || !row.Start.Received;
    return Explain(row, paired ? &partner : nullptr,
                   asks ? m_ring.TimedOutAt(answer ? row.Partner : number) : noTimeOut);
}

const clsTrafficModel::Texts& clsTrafficModel::TextsOf(std::uint64_t number) const {
    if (m_texts.Number == number) return m_texts;
    WireRow row = m_ring.Row(number);
    m_texts.Number = number;
    m_texts.Meaning = Explained(number);
    const bool cut = row.Bytes.size() > longestText;
    row.Bytes = row.Bytes.substr(0, longestText);
    const QString more = cut ? QStringLiteral("\u2026") : QString();
    m_texts.Columns[TimeColumn] =
        QDateTime::fromMSecsSinceEpoch(m_began + row.Start.Microseconds / usPerMs).toString("hh:mm:ss.zzz");
    m_texts.Columns[DirectionColumn] = row.Lost             ? QString()
                                       : row.Start.Received ? tr("received")
                                                            : tr("sent");
    m_texts.Columns[TextColumn] = QString::fromStdString(VisibleText(row)) + more;
    m_texts.Columns[BytesColumn] = QString::fromStdString(HexText(row.Bytes)) + more;
    m_texts.Columns[MeaningColumn] = QString::fromStdString(m_texts.Meaning.Text);
    return m_texts;
}

QVariant clsTrafficModel::data(const QModelIndex& index, int role) const {
    const std::uint64_t number = index.isValid() ? NumberOf(index.row()) : 0;
    if (!index.isValid() || number < m_ring.First()) return {};
    switch (role) {
        case Qt::DisplayRole:
        case Qt::AccessibleTextRole:
            return TextsOf(number).Columns.at(static_cast<std::size_t>(index.column()));
        case Qt::ToolTipRole: {
            const QString& text = TextsOf(number).Columns.at(static_cast<std::size_t>(index.column()));
            return text.size() > 30 ? QVariant(text) : QVariant();
        }
        case Qt::ForegroundRole: return TextsOf(number).Meaning.Fault ? QVariant(FaultColor()) : QVariant();
        case Qt::FontRole:
            if (index.column() == TextColumn || index.column() == BytesColumn)
                return QFontDatabase::systemFont(QFontDatabase::FixedFont);
            return {};
        default: return {};
    }
}

WireMeaning clsTrafficModel::MeaningOf(int row) const { return TextsOf(NumberOf(row)).Meaning; }

QString clsTrafficModel::Line(int row) const {
    QStringList columnTexts;
    for (const QString& text : TextsOf(NumberOf(row)).Columns) columnTexts += text;
    return columnTexts.join('\t');
}

bool clsTrafficModel::Shows(std::uint64_t number) const {
    if (m_filter.ShowsAll()) return true;
    const WireRow row = m_ring.Row(number);
    using Way = TrafficFilter::Way;
    if (m_filter.Direction != Way::Both && (m_filter.Direction == Way::Received) != row.Start.Received)
        return false;
    if (m_filter.Command == 0 && !m_filter.FaultsOnly && m_filter.Text.isEmpty()) return true;
    const WireMeaning meaning = Explained(number);
    if (m_filter.FaultsOnly && !meaning.Fault) return false;
    const char command = meaning.Command == 0 ? '-' : meaning.Command;
    if (m_filter.Command != 0 && m_filter.Command != command) return false;
    return m_filter.Text.isEmpty() ||
           QString::fromStdString(meaning.Text).contains(m_filter.Text, Qt::CaseInsensitive) ||
           QString::fromStdString(VisibleText(row)).contains(m_filter.Text, Qt::CaseInsensitive);
}

void clsTrafficModel::SetFilter(const TrafficFilter& filter) {
    if (filter == m_filter) return;
    beginResetModel();
    m_filter = filter;
    m_numbers.clear();
    m_settled = m_ring.First();
    m_texts = {};
    endResetModel();
    ShowNewest();
}

void clsTrafficModel::SetPaused(bool paused) {
    if (paused != m_pausedAt.has_value()) m_pausedAt = paused ? std::optional(m_ring.End()) : std::nullopt;
}

int clsTrafficModel::Update() {
    m_texts = {};
    const int dropped = DropOldest();
    if (!m_pausedAt) ShowNewest();
    m_ring.Told();
    return dropped;
}

int clsTrafficModel::DropOldest() {
    const auto kept = std::lower_bound(m_numbers.begin(), m_numbers.end(), m_ring.First());
    const auto dropped = static_cast<int>(kept - m_numbers.begin());
    if (dropped == 0) return 0;
    beginRemoveRows({}, 0, dropped - 1);
    m_numbers.erase(m_numbers.begin(), kept);
    endRemoveRows();
    return dropped;
}

// Of the newest rows what they mean may change until their answers have come: only where that changes which
// of them are shown do rows move.
void clsTrafficModel::ShowNewest() {
    m_settled = std::max(m_settled, m_ring.First());
    std::vector<std::uint64_t> newest;
    const std::uint64_t end = m_pausedAt.value_or(m_ring.End());
    for (std::uint64_t number = m_settled; number < end; ++number)
        if (Shows(number)) newest.push_back(number);
    auto shown = std::lower_bound(m_numbers.begin(), m_numbers.end(), m_settled);
    auto next = newest.begin();
    while (shown != m_numbers.end() && next != newest.end() && *shown == *next) {
        ++shown;
        ++next;
    }
    const int same = static_cast<int>(shown - m_numbers.begin());
    const int before = static_cast<int>(m_numbers.size());
    if (before > same) {
        beginRemoveRows({}, same, before - 1);
        m_numbers.erase(shown, m_numbers.end());
        endRemoveRows();
    }
    if (next != newest.end()) {
        beginInsertRows({}, same, same + static_cast<int>(newest.end() - next) - 1);
        m_numbers.insert(m_numbers.end(), next, newest.end());
        endInsertRows();
    }
    const std::int64_t old = m_ring.Now() - settleTime;
    const auto first =
        static_cast<int>(std::lower_bound(m_numbers.begin(), m_numbers.end(), m_settled) - m_numbers.begin());
    if (first < same) emit dataChanged(index(first, 0), index(same - 1, columns - 1));
    while (m_settled < end && m_ring.Row(m_settled).Start.Microseconds < old) ++m_settled;
}
