#pragma once

#include <QDockWidget>
#include <optional>

#include "flows/clsReaderFlows.h"
#include "window/clsComparison.h"
#include "window/clsDifferenceList.h"

class QCheckBox;
class QLabel;
class QPushButton;

/// What differs between the controls and the reader, setting by setting; or, once a file was checked, between
/// the file and the reader as it was read for that. Owned by the window, which does what is asked for here.
class clsChangesDock : public QDockWidget {
    Q_OBJECT

  public:
    clsChangesDock(const clsComparison& comparison, QWidget* parent);

    /// Shows a file that was just laid over what the reader holds, until the way back is taken.
    void ShowFile(const QString& file, const LaidFile& laid);
    /// Whether the reader's values can be taken over at all now.
    void SetTaking(bool possible);
    void FocusList();

  signals:
    void GoTo(const SettingItem& item);
    void TakeReaders(const std::vector<SettingItem>& items);

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    struct CheckedFile {
        QString Name;
        QString ReadAt;
        LaidFile Laid;
    };

    void MakeContents();
    void MakeMenu();
    void ShowRows();
    [[nodiscard]] DifferenceRow RowOf(const SettingItem& item) const;
    [[nodiscard]] DifferenceRow FileRowOf(const SettingItem& item) const;
    [[nodiscard]] QString Sentence(std::size_t differences) const;
    [[nodiscard]] std::vector<SettingItem> ToTake() const;
    void UpdateTake();

    const clsComparison& m_comparison;
    std::optional<CheckedFile> m_file;
    bool m_taking = false;
    QLabel* m_sentence = nullptr;
    clsDifferenceList* m_list = nullptr;
    QCheckBox* m_all = nullptr;
    QPushButton* m_take = nullptr;
    QPushButton* m_back = nullptr;
    QAction* m_takeAction = nullptr;
};
