#pragma once

#include <QWidget>
#include <functional>

#include "window/clsStationModel.h"

class QLabel;
class QLineEdit;
class QListWidget;
class QModelIndex;
class QProgressBar;
class QPushButton;
class QTreeView;
class clsStation;
class clsStationTile;

/// A running station: the tile, what is asked, the label's box, the counters, the list of units and what was
/// changed in one. Shows what the station holds and tells it what a person wants. All questions are asked
/// here, in place, so that the station goes on meanwhile.
class clsStationRun : public QWidget {
    Q_OBJECT

  public:
    explicit clsStationRun(QWidget* parent);

    /// A station that is about to start, and outlives what is shown of it. `head` names what it does.
    void Begin(clsStation& station, const QString& head, bool labelsAsked);
    /// Nothing leads out of here any more.
    void Lock();
    /// The station has something new to show.
    void ShowState();
    void TakeUnit(const StationUnit& unit);
    /// Something to know that is not the station's.
    void SayNotice(const QString& text);
    /// Asks whether to leave although a unit is not done. `answered` comes with yes or no.
    void AskToLeave(const QString& text, const std::function<void(bool yes)>& answered);
    [[nodiscard]] const clsStationModel& Units() const { return m_model; }

  signals:
    void AgainWanted();  ///< behind its end
    void BackWanted();
    void ExportWanted();
    void SheetWanted(const StationUnit& unit);

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QWidget* MakeQuestion();
    QWidget* MakeCommands();
    QWidget* MakeLists();
    void ShowQuestion();
    void ShowLabel();
    void ShowCounters();
    void ShowChanges();
    void ShowCommands();
    void FocusNext();
    void Answer(bool yes);
    void Follow(const QModelIndex& before);

    clsStation* m_station = nullptr;
    clsStationModel m_model;
    bool m_locked = false;
    bool m_labelsAsked = false;
    bool m_asking = false;      // a question is shown
    bool m_labelTyped = false;  // a label is asked for
    QString m_said;             // from elsewhere
    QString m_leaveText;
    std::function<void(bool)> m_leaveAnswered;

    QLabel* m_head = nullptr;
    clsStationTile* m_tile = nullptr;
    QProgressBar* m_progress = nullptr;
    QLabel* m_notice = nullptr;
    QWidget* m_question = nullptr;
    QLabel* m_questionText = nullptr;
    QPushButton* m_yes = nullptr;
    QPushButton* m_no = nullptr;
    QWidget* m_labelRow = nullptr;
    QLineEdit* m_label = nullptr;
    QPushButton* m_pause = nullptr;
    QPushButton* m_stop = nullptr;
    QPushButton* m_again = nullptr;
    QPushButton* m_back = nullptr;
    QPushButton* m_export = nullptr;
    QPushButton* m_sheet = nullptr;
    QLabel* m_counters = nullptr;
    QTreeView* m_list = nullptr;
    QLabel* m_unit = nullptr;
    QListWidget* m_changes = nullptr;
};
