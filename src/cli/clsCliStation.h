#pragma once

#include <optional>
#include <string>

#include "cli/CliOptions.h"
#include "cli/clsCliLog.h"
#include "cli/clsICliPlatform.h"
#include "cli/clsITextOutput.h"
#include "station/clsStation.h"

/// The command `station`: shows a station as a line a unit, and takes labels and answers from standard input.
/// Owned by clsCliRun while the command runs.
class clsCliStation final : public clsIStationView {
  public:
    /// `port` is the listed name of the fixed line, or empty.
    clsCliStation(const CliOptions& options, const std::string& port, clsICliPlatform& platform, ucCOMM& comm,
                  clsReaderFlows& flows, clsSettingsFile& files, clsISettingsStore& store,
                  clsIHistory* history, clsITextOutput& out, clsCliLog& log);
    clsCliStation(const clsCliStation&) = delete;
    clsCliStation& operator=(const clsCliStation&) = delete;

    /// The exit status.
    int Run();
    /// Behind the unit; a second time at once.
    void Stop();

    void ShowStation() override;
    void ShowUnit(const StationUnit& unit) override;
    void Beep(int) override {}

  private:
    bool CheckProfile();
    void TakeLine(const std::string& line, bool ended);
    void PrintUnit();

    const CliOptions& m_options;
    clsICliPlatform& m_platform;
    clsITextOutput& m_out;
    clsCliLog& m_log;
    StationOptions m_stationOptions;
    clsStation m_station;
    std::optional<StationUnit> m_unit;  // not printed yet: its label is still to come
    int m_printed = 0;                  // number of the last one that was
    std::string m_said;
    std::string m_notice;
    clsConnection m_input;
    bool m_inputEnded = false;
    bool m_declined = false;
    int m_stops = 0;
};
