#pragma once

#include <QObject>
#include <array>
#include <vector>

#include "window/clsComparison.h"

class QListWidget;
class QTabBar;
class clsMark;

/// The controls that the settings stand in, of the window and as long as it.
struct SettingControls {
    std::array<QWidget*, settingCount> Settings{};          ///< by setting
    std::array<QWidget*, ZarnForm::boxCount> DigitBoxes{};  ///< of the page shown
    QTabBar* DigitPages = nullptr;                          ///< Hex and Dec
    QListWidget* Table = nullptr;                           ///< a row each
};

/// Marks every control that differs from what the reader was last seen to hold, the rows of the table too.
/// Rows that only the reader has are the mark of the table's caption. Owned by the window.
class clsMarks : public QObject {
    Q_OBJECT

  public:
    /// A control's caption is the label in `window` that is its buddy; a check box is its own.
    clsMarks(const clsComparison& comparison, const SettingControls& controls, QWidget& window);

  private:
    void ShowAll();
    void ShowBoxes();
    void ShowRows();

    const clsComparison& m_comparison;
    const SettingControls m_controls;
    std::array<clsMark*, settingCount> m_settings{};
    std::array<clsMark*, ZarnForm::boxCount> m_boxes{};
    clsMark* m_table = nullptr;
};
