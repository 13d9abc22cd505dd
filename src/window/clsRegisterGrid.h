#pragma once

#include <QTableView>

class clsRegisterModel;

/// The registers as cells, each setting's in a colour and a pattern of their own. A cell that differs from
/// the other side has a filled corner and bold digits, one that is not known to hold any more slanted ones.
/// Digits that are typed ask for the register of that number.
class clsRegisterGrid : public QTableView {
    Q_OBJECT

  public:
    clsRegisterGrid(clsRegisterModel& model, QWidget* parent);

    [[nodiscard]] int Current() const;
    void SetCurrent(int number);
    [[nodiscard]] QSize sizeHint() const override;

  signals:
    void NumberTyped(const QString& digit);
    void Moved(int number);

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

  private:
    void SizeCells();

    clsRegisterModel& m_model;
};
