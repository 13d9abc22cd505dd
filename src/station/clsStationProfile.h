#pragma once

#include <string>
#include <vector>

#include "flows/clsSettingsFile.h"
#include "history/HistoryEvent.h"
#include "station/StationTypes.h"

/// The settings file that all units are to hold, read once and checked whole. A value.
class clsStationProfile {
  public:
    clsStationProfile() = default;
    clsStationProfile(clsSettingsFile& files, const std::string& name);

    [[nodiscard]] const std::string& Name() const { return m_name; }
    [[nodiscard]] const std::string& Content() const { return m_content; }
    /// Why it cannot be used, a line each; none when it can.
    [[nodiscard]] const std::vector<std::string>& Errors() const { return m_errors; }
    /// What is odd with it: unknown keys, values that no list has, a table that would be emptied.
    [[nodiscard]] const std::vector<std::string>& Warnings() const { return m_warnings; }
    /// Without rows of its own every reader's table is emptied.
    [[nodiscard]] bool HasTable() const { return m_hasTable; }
    /// Over a new record.
    [[nodiscard]] const ZarnInfo& Record() const { return m_record; }
    /// What a reader that holds `held` is to hold.
    [[nodiscard]] ZarnInfo LaidOver(const ZarnInfo& held) const;
    /// What the firmware of `held` lacks of what would change, for people; empty when it fits.
    [[nodiscard]] std::string Lacks(const ZarnInfo& held) const;
    /// A unit's verdict, out of its row and nothing else: PASS only where the row tells that the reader was
    /// seen to hold all that the profile wants.
    [[nodiscard]] StationUnit Judge(const HistoryEvent& row) const;

  private:
    [[nodiscard]] bool Holds(const HistoryEvent& row) const;

    std::string m_name;
    std::string m_content;
    ZarnInfo m_record;
    std::vector<std::string> m_errors;
    std::vector<std::string> m_warnings;
    bool m_hasTable = false;
};
