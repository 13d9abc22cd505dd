#pragma once

#include <QDockWidget>
#include <QTimer>

#include "settings/Differences.h"
#include "window/clsTrafficModel.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QTableView;
class QToolButton;

/// What goes over the line, frame by frame, with what it means. Made when it is first wanted: the ring keeps
/// more from then on. Owned by the window.
class clsTrafficDock : public QDockWidget {
    Q_OBJECT

  public:
    clsTrafficDock(clsWireRing& ring, QWidget* parent);

    void FocusList();

  signals:
    void GoTo(const SettingItem& item);

  protected:
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void MakeContents();
    void MakeList();
    void MakeMenu();
    [[nodiscard]] QLayout* MakeFilters();
    void TakeFilter();
    void ShowRows();
    void ShowCount();
    void Find(bool backwards);
    void Copy();
    void GoToSetting();

    clsWireRing& m_ring;
    clsTrafficModel* m_model;
    QTableView* m_list = nullptr;
    QComboBox* m_direction = nullptr;
    QComboBox* m_command = nullptr;
    QCheckBox* m_faults = nullptr;
    QLineEdit* m_text = nullptr;
    QLineEdit* m_find = nullptr;
    QToolButton* m_pause = nullptr;
    QLabel* m_count = nullptr;
    QTimer m_frame;  // until the next look at the ring
    QTimer m_quiet;  // while an answer may still fail to come
    clsConnection m_onChange;
};
