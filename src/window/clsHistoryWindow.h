#pragma once

#include <QDialog>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/clsIFiles.h"
#include "window/clsHistoryModel.h"

class QAction;
class QBoxLayout;
class QCheckBox;
class QComboBox;
class QDateEdit;
class QLabel;
class QLineEdit;
class QPushButton;
class QTableView;
class clsEventView;

/// The history beside the main window: what was done with readers, found by search and filters, one event in
/// full or the difference of two, and what can be made of them. Made when it is first wanted, and kept by the
/// main window. It runs no flow: restoring it asks for by RestoreWanted.
class clsHistoryWindow : public QDialog {
    Q_OBJECT

  public:
    struct Parts {
        clsIHistory* History;  ///< null: there is none, and WhyNone says why; outlives the window
        QString WhyNone;
        clsIFiles& Files;
        /// A file's name, empty for none, and a folder's.
        std::function<QString(const QString& suggested, bool save, const QString& filter)> ChooseFile;
        std::function<QString()> ChooseFolder;
    };

    clsHistoryWindow(Parts parts, QWidget* parent);
    clsHistoryWindow(const clsHistoryWindow&) = delete;
    clsHistoryWindow& operator=(const clsHistoryWindow&) = delete;
    ~clsHistoryWindow() override;

    /// While a flow runs nothing is restored.
    void SetIdle(bool idle);
    /// What new events become of, when that is not to be kept; empty when it is.
    void SetWarning(const QString& warning);

  signals:
    /// The reader is to be made as it was behind the event, or before it. That side holds something.
    void RestoreWanted(const HistoryEvent& event, bool before);

  protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void MakeFilters(QBoxLayout& column);
    void MakeTable();
    void MakeButtons(QBoxLayout& column);
    void MakeKeys();
    void KeepChoice();
    void Search();
    void ShowState();
    void ShowChosen();
    void EnableActions();
    void Say(const QString& text);
    [[nodiscard]] std::vector<std::string> ChosenIds() const;
    [[nodiscard]] std::optional<HistoryEvent> Whole(const std::string& id);
    [[nodiscard]] QDate FilterDay(const QCheckBox& box, const QDateEdit& day) const;

    void AskForRestore(bool before);
    void EditLabel();
    void SaveSide(bool before, bool image);
    void SaveSheets();
    void Export(const std::vector<std::string>& ids);
    void Import();
    struct Importing;
    void ImportPart(const std::shared_ptr<Importing>& import);
    bool Save(const QString& file, const std::string& content);

    const Parts m_parts;
    clsHistoryModel m_model;
    QTimer m_typing;  // a search waits for the next letter
    QTimer m_chosenSoon;
    std::vector<std::string> m_kept;      // chosen before the rows were asked for anew
    std::optional<HistoryEvent> m_event;  // the one that is shown
    QString m_warning;
    bool m_idle = true;
    bool m_importing = false;
    bool m_askAgain = false;  // for the event that is chosen

    QLineEdit* m_search = nullptr;
    QComboBox* m_action = nullptr;
    QComboBox* m_outcome = nullptr;
    QCheckBox* m_since = nullptr;
    QDateEdit* m_sinceDay = nullptr;
    QCheckBox* m_until = nullptr;
    QDateEdit* m_untilDay = nullptr;
    QLabel* m_state = nullptr;
    QTableView* m_table = nullptr;
    clsEventView* m_view = nullptr;
    QLabel* m_said = nullptr;
    QPushButton* m_restore = nullptr;
    QPushButton* m_save = nullptr;
    QPushButton* m_label = nullptr;
    QPushButton* m_sheet = nullptr;
    QPushButton* m_exchange = nullptr;
    QAction* m_restoreBehind = nullptr;
    QAction* m_restoreBefore = nullptr;
    QAction* m_saves[2][2] = {};  // settings and image, behind and before
    QAction* m_exportChosen = nullptr;
};
