#include "station/clsStationProfile.h"

#include <algorithm>

#include "base/modText.h"
#include "flows/FirmwareRules.h"
#include "settings/Differences.h"

namespace {

constexpr const char* unreadable = "the file cannot be read";
constexpr const char* nothingKnown = "no settings found in this file; lines must end in CR LF";
constexpr const char* emptiesTable = "the file has no conversion table: the table of every reader is emptied";

// Lays a settings file's text over the record. The reader gives serial numbers without padding.
void Lay(const std::string& text, ZarnInfo& record) {
    clsSettingsParser parser(record);
    parser.Feed(text);
    parser.End();
    for (CardConvertEntry& entry : record.Convert) entry.CardID = modText::Trim(entry.CardID);
}

bool HasRows(const ZarnInfo& record) {
    return std::any_of(record.Convert.begin(), record.Convert.end(),
                       [](const auto& entry) { return entry.CardType != cardTypeEmpty; });
}

StationResult ResultOf(HistoryOutcome outcome, bool holds) {
    if (outcome == HistoryOutcome::Done && holds) return StationResult::Pass;
    return outcome == HistoryOutcome::NotProven ? StationResult::NotProven : StationResult::Fail;
}

}  // namespace

clsStationProfile::clsStationProfile(clsSettingsFile& files, const std::string& name) : m_name(name) {
    const auto content = files.Content(name);
    const auto read = content ? files.OpenInfoFile(name, m_record) : std::nullopt;
    if (!read) {
        m_errors.emplace_back(unreadable);
        return;
    }
    m_content = *content;
    m_record = {};
    Lay(m_content, m_record);
    m_hasTable = HasRows(m_record);
    if (!read->KnownKey) m_errors.emplace_back(nothingKnown);
    for (const SettingsFinding& finding : SettingsCheck::Check(m_record, read->Findings)) {
        const bool error = finding.Kind == SettingsFinding::Severity::Error;
        (error ? m_errors : m_warnings).push_back(SettingsCheck::Line(finding));
    }
    if (m_errors.empty() && !m_hasTable) m_warnings.emplace_back(emptiesTable);
}

ZarnInfo clsStationProfile::LaidOver(const ZarnInfo& held) const {
    ZarnInfo wanted = held;
    Lay(m_content, wanted);
    return wanted;
}

std::string clsStationProfile::Lacks(const ZarnInfo& held) const {
    const FirmwareRules rules = FirmwareRules::For(held.Version, held.FirmwareSN);
    const ZarnInfo wanted = LaidOver(held);
    std::string text;
    for (const SettingDifference& difference : Differences(held, wanted)) {
        const std::string_view needs = rules.Lacks(difference.Item, wanted);
        if (needs.empty()) continue;
        text += (text.empty() ? "" : "; ") + difference.Item.Name() + " = " + difference.B + ": " +
                std::string(needs);
    }
    return text.empty() ? text : text + "; it has " + modText::ToUtf8(held.Version);
}

bool clsStationProfile::Holds(const HistoryEvent& row) const {
    const bool kept = std::all_of(row.Changes.begin(), row.Changes.end(),
                                  [](const HistoryChange& change) { return change.Kept == true; });
    if (!kept || row.After.Settings.empty()) return false;
    ZarnInfo held;
    Lay(row.After.Settings, held);
    return Differences(held, LaidOver(held)).empty();
}

StationUnit clsStationProfile::Judge(const HistoryEvent& row) const {
    StationUnit unit;
    unit.Id = row.Id;
    unit.Label = row.Label;
    unit.Port = row.Port;
    unit.Firmware = row.Firmware;
    unit.Reason = row.Reason;
    unit.SecondAttempt = row.Reason.starts_with("second attempt");
    unit.Changes = row.Changes;
    unit.Result = ResultOf(row.Outcome, Holds(row));
    if (unit.Result == StationResult::Fail && unit.Reason.empty())
        unit.Reason = row.Outcome == HistoryOutcome::Differs ? "it differs from the profile"
                                                             : "its record does not show what is wanted";
    return unit;
}
