#pragma once

#include <QAbstractTableModel>
#include <array>
#include <deque>
#include <optional>

#include "wire/Meaning.h"

/// Which rows are shown. A value.
struct TrafficFilter {
    enum class Way { Both, Sent, Received };
    Way Direction = Way::Both;
    char Command = 0;  ///< the letter of the command that is sent or answered; 0: any, '-': none
    bool FaultsOnly = false;
    QString Text;  ///< in the bytes as text or in the meaning, letter case ignored
    bool operator==(const TrafficFilter&) const = default;

    [[nodiscard]] bool ShowsAll() const { return *this == TrafficFilter(); }
};

/// The rows of a ring for a view; what they mean is found out for those that are looked at, or that a filter
/// asks for. Takes notice of new rows when it is told to.
class clsTrafficModel : public QAbstractTableModel {
    Q_OBJECT

  public:
    enum Column { TimeColumn, DirectionColumn, TextColumn, BytesColumn, MeaningColumn, columns };

    clsTrafficModel(clsWireRing& ring, QObject* parent);

    void SetFilter(const TrafficFilter& filter);
    /// Paused, no row is shown that was not on the line by then, whatever the filter.
    void SetPaused(bool paused);
    /// Shows what has come since, and forgets what has fallen out of the ring: so many rows, from the top.
    int Update();
    /// The row's number in the ring.
    [[nodiscard]] std::uint64_t NumberOf(int row) const;
    /// The first row that is this one or newer; their count when there is none.
    [[nodiscard]] int RowOf(std::uint64_t number) const;
    /// What the row means.
    [[nodiscard]] WireMeaning MeaningOf(int row) const;
    /// A line for each row, with tabs between the columns.
    [[nodiscard]] QString Line(int row) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  private:
    struct Texts {
        std::uint64_t Number = clsPairing::none;
        std::array<QString, columns> Columns;
        WireMeaning Meaning;
    };
    [[nodiscard]] WireMeaning Explained(std::uint64_t number) const;
    [[nodiscard]] const Texts& TextsOf(std::uint64_t number) const;
    [[nodiscard]] bool Shows(std::uint64_t number) const;
    int DropOldest();
    void ShowNewest();

    clsWireRing& m_ring;
    const qint64 m_began;  // ms since 1970 at the ring's 0
    TrafficFilter m_filter;
    std::deque<std::uint64_t> m_numbers;      // of the rows shown
    std::optional<std::uint64_t> m_pausedAt;  // the ring's end when it was paused
    std::uint64_t m_settled = 0;              // from here on a row's meaning may still change
    mutable Texts m_texts;                    // of the row looked at last
};
