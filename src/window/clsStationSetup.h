#pragma once

#include <QWidget>
#include <functional>
#include <string>
#include <vector>

#include "base/clsISettingsStore.h"
#include "flows/clsSettingsFile.h"
#include "station/StationTypes.h"

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;

/// What a station is to do, chosen before it starts: profile, line, labels and ways. Says at once what is
/// wrong with the profile. What was chosen is remembered by the user's store, except that something is to
/// be done with what is plugged in already. Enter starts, Esc leads back.
class clsStationSetup : public QWidget {
    Q_OBJECT

  public:
    struct Parts {
        clsSettingsFile& Files;
        clsISettingsStore& Store;
        /// A settings file's name; empty for none.
        std::function<QString()> ChooseProfile;
        /// The serial ports that there are, bare names.
        std::function<std::vector<std::string>()> Lines;
        std::function<void()> TrySound;
    };

    clsStationSetup(Parts parts, QWidget* parent);

    /// As it was chosen last, with that profile. The lines are looked for anew.
    void Begin(const std::string& profile);
    /// Nothing can be chosen any more but to start.
    void Lock();
    void SetProfile(const std::string& name);
    [[nodiscard]] StationOptions Options() const;
    /// Whether the options can be used.
    [[nodiscard]] bool Usable() const;
    /// Whether there is something that a person has to know before it starts.
    [[nodiscard]] bool Doubtful() const { return m_doubtful; }
    void Remember() const;

  signals:
    void StartWanted();
    void BackWanted();

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void MakeProfile(QFormLayout& form);
    void MakeLabels(QFormLayout& form);
    void MakeWays(QFormLayout& form);
    QWidget* WithButton(QWidget* control, QPushButton*& button, const QString& text, const char* name);
    void ShowLines();
    void CheckProfile();
    void Update();

    const Parts m_parts;
    bool m_profileGood = false;
    bool m_doubtful = false;
    QWidget* m_choices = nullptr;
    QLineEdit* m_profile = nullptr;
    QPushButton* m_browse = nullptr;
    QLabel* m_findings = nullptr;
    QComboBox* m_line = nullptr;
    QComboBox* m_labels = nullptr;
    QLineEdit* m_pattern = nullptr;
    QLineEdit* m_form = nullptr;
    QLabel* m_labelHint = nullptr;
    QCheckBox* m_checkOnly = nullptr;
    QCheckBox* m_plugged = nullptr;
    QCheckBox* m_sound = nullptr;
    QPushButton* m_try = nullptr;
    QPushButton* m_start = nullptr;
    QPushButton* m_back = nullptr;
};

/// What the user's store says of the station.
namespace StationSettings {

bool Sound(clsISettingsStore& store);
void SetSound(clsISettingsStore& store, bool on);

}  // namespace StationSettings
