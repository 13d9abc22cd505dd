#pragma once

#include <QStackedWidget>
#include <functional>
#include <memory>
#include <string>

#include "base/clsIFiles.h"
#include "station/clsStation.h"

class clsStationRun;
class clsStationSetup;

/// The station in the window: what it is to do, and then how it runs. Owns the station, which works on the
/// window's own comm control and flows; the window hands it their progress. Made when it is first wanted. The
/// station runs inside handlers of the loop: all slots here may run meanwhile, and nothing here waits.
class clsStationPages : public QStackedWidget, public clsIStationView {
    Q_OBJECT

  public:
    struct Parts {
        clsIHost& Host;
        ucCOMM& Comm;
        clsReaderFlows& Flows;
        clsSettingsFile& Settings;
        clsIFiles& Files;
        clsISettingsStore& Store;
        std::function<clsIHistory*()> History;  ///< that units are recorded in; null: none is wanted
        std::function<bool(const std::string& port)> IsReadersOwn;  ///< as clsStation has it
        std::function<QString(const QString& suggested, bool save, const QString& filter)> ChooseFile;
        std::function<void()> Beep;  ///< once
    };

    clsStationPages(Parts parts, QWidget* parent);
    clsStationPages(const clsStationPages&) = delete;
    clsStationPages& operator=(const clsStationPages&) = delete;
    ~clsStationPages() override;

    /// The choice of what it is to do, with that profile; empty: the one of last time.
    void ShowSetup(const std::string& profile);
    /// Starts as it was set up last, with that profile. Where there is something to be known before, it is
    /// shown, and Enter starts.
    void StartNow(const std::string& profile);
    /// From now on nothing can be set up, and nothing leads back.
    void Lock();
    /// Takes the profile over; not while it runs.
    void SetProfile(const std::string& name);
    [[nodiscard]] bool Running() const;
    /// Whether the window may close now. Else a person is asked, once, or it is stopped, and CloseWanted
    /// comes when it may. `atOnce` asks nobody.
    [[nodiscard]] bool MayClose(bool atOnce);
    void SayNotice(const QString& text);
    void Progress(int number, int count);
    void ImageProgress(int received, int count);

    // clsIStationView
    void ShowStation() override;
    void ShowUnit(const StationUnit& unit) override;
    void Beep(int times) override;

  signals:
    void Started();
    /// Back to the settings.
    void Left();
    void CloseWanted();

  private:
    clsStationRun& Run();
    void Start();
    void Leave();
    void Export();
    void SaveSheet(const StationUnit& unit);
    void Save(const QString& file, const std::string& content);
    void TrySound();
    void Sound(int times, int delay);
    [[nodiscard]] QString Head(const StationOptions& options) const;

    enum class After { Stay, Leave, Close };  // what follows on its end

    const Parts m_parts;
    std::unique_ptr<clsStation> m_station;
    clsStationSetup* m_setup = nullptr;
    clsStationRun* m_run = nullptr;  // once it is wanted
    After m_after = After::Stay;
    bool m_asked = false;
    bool m_locked = false;
};
