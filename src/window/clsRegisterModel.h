#pragma once

#include <QAbstractTableModel>
#include <array>
#include <optional>

#include "flows/clsReaderPicture.h"
#include "settings/RegisterMeaning.h"

/// The registers as they were last seen, 32 rows of 16, with what they are compared with. Owned by the dock,
/// which gives it both.
class clsRegisterModel : public QAbstractTableModel {
    Q_OBJECT

  public:
    static constexpr int rows = 32;
    static constexpr int columns = 16;
    static constexpr int kinds = 6;  ///< of colour and pattern

    enum Role {
        SightRole = Qt::UserRole + 1,  ///< a RegisterSight as a number
        DiffersRole,
        KindRole  ///< 0..kinds-1; -1 for a register that is not used
    };

    explicit clsRegisterModel(QObject* parent);

    void Show(const clsReaderPicture& picture);
    /// `name` stands before the other side's value: "14:03", "file.txt". Nothing: no comparison.
    void Compare(const QString& name, const std::optional<RegisterImage>& other);
    [[nodiscard]] bool Known() const { return m_image.has_value(); }
    [[nodiscard]] int Differences() const;

    static int NumberOf(const QModelIndex& index) { return index.row() * columns + index.column(); }
    [[nodiscard]] QModelIndex IndexOf(int number) const { return index(number / columns, number % columns); }
    [[nodiscard]] bool Differs(int number) const;
    /// What is to be said of a register, a line for each: number and byte; place and meaning; the other
    /// side's; whether it still holds.
    [[nodiscard]] QStringList Told(int number) const;
    /// A line for each register, as a dump is explained, with what Told adds to it.
    [[nodiscard]] QString Text() const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  private:
    [[nodiscard]] QString OtherText(int number) const;
    [[nodiscard]] QString SightText(int number) const;
    void ChangeAll();

    std::array<RegisterRole, registerCount> m_roles;
    std::array<int, registerCount> m_kinds{};
    std::optional<RegisterImage> m_image;
    std::array<RegisterSight, registerCount> m_sights{};
    std::optional<RegisterImage> m_other;
    QString m_otherName;
};
