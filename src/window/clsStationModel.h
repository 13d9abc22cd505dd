#pragma once

#include <QAbstractTableModel>
#include <deque>

#include "station/StationTypes.h"

/// The units of a station as rows, the oldest first, not more than the station itself remembers.
class clsStationModel : public QAbstractTableModel {
    Q_OBJECT

  public:
    enum Column {
        TimeColumn,
        LabelColumn,
        PortColumn,
        FirmwareColumn,
        ChangesColumn,
        ResultColumn,
        SecondsColumn,
        ColumnCount
    };

    using QAbstractTableModel::QAbstractTableModel;

    void Clear();
    /// A unit more, or one that is there as it is now.
    void Take(const StationUnit& unit);
    [[nodiscard]] const StationUnit& UnitAt(int row) const {
        return m_units.at(static_cast<std::size_t>(row));
    }
    /// All of them as comma-separated values in UTF-8.
    [[nodiscard]] std::string Csv() const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  private:
    std::deque<StationUnit> m_units;
};
