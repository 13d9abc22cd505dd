#include "window/clsStationModel.h"

#include <QFont>
#include <QLocale>
#include <array>

namespace {

constexpr std::size_t mostUnits = 1000;
constexpr std::array<const char*, clsStationModel::ColumnCount> titles{
    "Time", "Label", "Port", "Firmware", "Changes", "Result", "Seconds"};
constexpr double msPerSecond = 1000;

QString ResultText(const StationUnit& unit) {
    QString text = WordOf(unit.Result);
    if (unit.SecondAttempt) text += clsStationModel::tr(", second attempt");
    if (!unit.Recorded) text += clsStationModel::tr(", not recorded");
    return text;
}

QString Text(const StationUnit& unit, int column) {
    switch (column) {
        case clsStationModel::TimeColumn:
            return QString("%1:%2:%3")
                .arg(unit.Time.Hour, 2, 10, QChar('0'))
                .arg(unit.Time.Minute, 2, 10, QChar('0'))
                .arg(unit.Time.Second, 2, 10, QChar('0'));
        case clsStationModel::LabelColumn: return QString::fromStdString(unit.Label);
        case clsStationModel::PortColumn: return QString::fromStdString(unit.ShortPort);
        case clsStationModel::FirmwareColumn: return QString::fromStdString(unit.Firmware);
        case clsStationModel::ChangesColumn: return QString::number(unit.Changes.size());
        case clsStationModel::ResultColumn: return ResultText(unit);
        default: return QLocale::c().toString(unit.Milliseconds / msPerSecond, 'f', 1);
    }
}

// As RFC 4180 has it.
std::string CsvField(const std::string& text) {
    if (text.find_first_of("\",\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

std::string ChangeLines(const StationUnit& unit) {
    std::string text;
    for (const HistoryChange& change : unit.Changes) text += (text.empty() ? "" : "; ") + ChangeLine(change);
    return text;
}

}  // namespace

void clsStationModel::Clear() {
    beginResetModel();
    m_units.clear();
    endResetModel();
}

void clsStationModel::Take(const StationUnit& unit) {
    const int at = m_units.empty() ? rowCount() : rowCount() - 1 - (m_units.back().Number - unit.Number);
    if (at < 0) return;  // it is not in the list any more
    if (at < rowCount()) {
        m_units.at(static_cast<std::size_t>(at)) = unit;
        emit dataChanged(index(at, 0), index(at, ColumnCount - 1));
        return;
    }
    if (m_units.size() == mostUnits) {
        beginRemoveRows({}, 0, 0);
        m_units.pop_front();
        endRemoveRows();
    }
    beginInsertRows({}, rowCount(), rowCount());
    m_units.push_back(unit);
    endInsertRows();
}

std::string clsStationModel::Csv() const {
    std::string text =
        "number,time,label,port,firmware,changes,result,second attempt,recorded,seconds,reason,"
        "settings,id\r\n";
    for (const StationUnit& unit : m_units) {
        const auto shown = [&](int column) { return Text(unit, column).toStdString(); };
        const std::array<std::string, 13> fields{std::to_string(unit.Number),
                                                 shown(TimeColumn),
                                                 unit.Label,
                                                 unit.Port,
                                                 unit.Firmware,
                                                 shown(ChangesColumn),
                                                 WordOf(unit.Result),
                                                 unit.SecondAttempt ? "yes" : "no",
                                                 unit.Recorded ? "yes" : "no",
                                                 shown(SecondsColumn),
                                                 unit.Reason,
                                                 ChangeLines(unit),
                                                 unit.Id};
        for (std::size_t i = 0; i < fields.size(); ++i) text += (i == 0 ? "" : ",") + CsvField(fields.at(i));
        text += "\r\n";
    }
    return text;
}

int clsStationModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_units.size());
}

int clsStationModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant clsStationModel::data(const QModelIndex& index, int role) const {
    const StationUnit& unit = UnitAt(index.row());
    const int column = index.column();
    switch (role) {
        case Qt::DisplayRole: return Text(unit, column);
        case Qt::FontRole: {
            if (unit.Result == StationResult::Pass || column != ResultColumn) return {};
            QFont bold;
            bold.setBold(true);
            return bold;
        }
        case Qt::TextAlignmentRole:
            return column == ChangesColumn || column == SecondsColumn
                       ? QVariant(Qt::AlignRight | Qt::AlignVCenter)
                       : QVariant();
        case Qt::ToolTipRole:
            if (column == ResultColumn && !unit.Reason.empty()) return QString::fromStdString(unit.Reason);
            return column == PortColumn && unit.ShortPort != unit.Port ? QString::fromStdString(unit.Port)
                                                                       : QVariant();
        default: return {};
    }
}

QVariant clsStationModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::DisplayRole) return tr(titles.at(static_cast<std::size_t>(section)));
    const bool number = section == ChangesColumn || section == SecondsColumn;
    if (role == Qt::TextAlignmentRole && number) return QVariant(Qt::AlignRight | Qt::AlignVCenter);
    return {};
}
