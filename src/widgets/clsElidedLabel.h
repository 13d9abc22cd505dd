#pragma once

#include <QLabel>

/// A label of one line that may be narrower than its text: what does not fit is left out in the middle, and
/// the tool tip then has it whole.
class clsElidedLabel : public QLabel {
    Q_OBJECT

  public:
    explicit clsElidedLabel(QWidget* parent = nullptr);

    [[nodiscard]] QSize minimumSizeHint() const override;

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    [[nodiscard]] bool Fits() const;
};
