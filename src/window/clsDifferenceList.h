#pragma once

#include <QAbstractTableModel>
#include <QTreeView>
#include <vector>

#include "flows/clsReaderPicture.h"

/// A setting, or registers by their numbers, and the values on two sides, as texts.
struct DifferenceRow {
    SettingItem Item;
    Sight Stands = Sight::Same;  ///< its mark
    QString InReader = {};
    QString Wanted = {};
    QString Note = {};     ///< the fourth column
    QString Told = {};     ///< for screen readers, with the setting's name
    bool HasTick = false;  ///< may be ticked
    bool Ticked = false;
    QString Registers = {};  ///< named in place of the item, where the row is none

    [[nodiscard]] QString Name() const;
    /// Whether both are about the same.
    [[nodiscard]] bool IsOf(const DifferenceRow& other) const {
        return Item == other.Item && Registers == other.Registers;
    }
    bool operator==(const DifferenceRow&) const = default;
};

/// Those rows for a view. Where what they are about stays the same, so do selection and current row.
class clsDifferenceModel : public QAbstractTableModel {
    Q_OBJECT

  public:
    enum Column { SettingColumn, ReaderColumn, WantedColumn, NoteColumn };

    using QAbstractTableModel::QAbstractTableModel;

    /// As many columns as there are titles.
    void SetTitles(const QStringList& titles);
    void SetRows(std::vector<DifferenceRow> rows);
    [[nodiscard]] const std::vector<DifferenceRow>& Rows() const { return m_rows; }
    [[nodiscard]] const DifferenceRow& RowAt(const QModelIndex& index) const {
        return m_rows.at(static_cast<std::size_t>(index.row()));
    }

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

  signals:
    void Ticked();

  private:
    [[nodiscard]] QString Text(const DifferenceRow& row, int column) const;

    QStringList m_titles;
    std::vector<DifferenceRow> m_rows;
};

/// The view of them, a row at a time: the blank ticks one, Ctrl+C copies those selected, or all, with tabs
/// between the columns.
class clsDifferenceList : public QTreeView {
    Q_OBJECT

  public:
    explicit clsDifferenceList(QWidget* parent);

    [[nodiscard]] clsDifferenceModel& Model() { return m_model; }
    /// In the order of the rows.
    [[nodiscard]] std::vector<DifferenceRow> SelectedRows() const;
    void SetRows(std::vector<DifferenceRow> rows);
    void Copy() const;

    [[nodiscard]] QSize sizeHint() const override;

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    clsDifferenceModel m_model;
};
