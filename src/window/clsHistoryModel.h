#pragma once

#include <QAbstractTableModel>
#include <QTimer>
#include <optional>
#include <vector>

#include "history/clsIHistory.h"

/// The history's events for a view, fetched page by page as it looks at them, in the order and with the
/// filter that was set. Owned by the window of the history. Where another program has the history for itself,
/// it is asked again by a timer.
class clsHistoryModel : public QAbstractTableModel {
    Q_OBJECT

  public:
    enum Column {
        TimeColumn,
        ActionColumn,
        OutcomeColumn,
        LabelColumn,
        PortColumn,
        FirmwareColumn,
        ChangesColumn,
        ColumnCount
    };
    static constexpr int pageSize = 200;  ///< rows that are asked for at once

    /// Without a history there is no row. It outlives the model.
    explicit clsHistoryModel(clsIHistory* history, QObject* parent = nullptr);

    /// Order, Offset and Limit of it are the model's own.
    void SetFilter(const HistoryFilter& filter);
    [[nodiscard]] bool Filtered() const;
    /// What has changed in the history is shown; rows that stay keep their indexes as far as that goes.
    void Refresh();
    /// The same, once from the loop.
    void RefreshSoon() { m_soon.start(); }

    /// While it holds, no row moves or changes but by setData; what came meanwhile is shown behind it.
    void Hold(bool hold);

    [[nodiscard]] const HistoryEvent& EventAt(int row) const {
        return m_events.at(static_cast<std::size_t>(row));
    }
    [[nodiscard]] std::optional<int> RowOf(const std::string& id) const;
    /// Why there may be rows that are not shown, in UTF-8; empty when there are none.
    [[nodiscard]] const std::string& Error() const { return m_error; }

    /// How a time is shown.
    static QString TimeText(std::int64_t time);
    /// What is said of the event in that column.
    static QString Text(const HistoryEvent& event, int column);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;
    /// Gives the event another label.
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    [[nodiscard]] bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;
    void sort(int column, Qt::SortOrder order) override;

  signals:
    /// There are more rows or fewer, or another error.
    void Asked();
    /// A label could not be given.
    void NotLabelled(const QString& why);

  private:
    [[nodiscard]] static QVariant ToolTip(const HistoryEvent& event, int column);
    bool Ask(int offset, int count, std::vector<HistoryEvent>& events);
    void Restart();
    bool ShowNewer(std::vector<HistoryEvent>& events, bool last);

    clsIHistory* m_history;
    HistoryFilter m_filter;
    std::vector<HistoryEvent> m_events;
    bool m_held = false;
    bool m_all = false;  // there are no more rows
    std::string m_error;
    QTimer m_again;
    QTimer m_soon;
};
