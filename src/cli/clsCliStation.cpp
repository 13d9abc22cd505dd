#include "cli/clsCliStation.h"

#include <utility>

#include <nlohmann/json.hpp>

#include "base/ControlNames.h"
#include "base/clsWait.h"
#include "base/modText.h"
#include "cli/CliJson.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint32_t msPerTenth = 100;

StationOptions OptionsOf(const CliOptions& options, const std::string& port) {
    StationOptions station;
    station.Profile = options.File;
    station.Port = port;
    station.CheckOnly = options.CheckOnly;
    station.LabelForm = options.LabelForm;
    station.Count = options.Count;
    station.StartWithPlugged = options.StartWithPlugged;
    if (options.Labels == "ask") {
        station.Labels = StationLabels::Asked;
    } else if (options.Labels == "serial") {
        station.Labels = StationLabels::Serial;
    } else if (!options.Labels.empty()) {
        station.Labels = StationLabels::Running;
        station.LabelPattern = options.Labels;
    }
    return station;
}

std::string Seconds(std::uint32_t ms) {
    const std::uint32_t tenths = (ms + msPerTenth / 2) / msPerTenth;
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10);
}

bool IsReadersOwn(clsICliPlatform& platform, const std::string& port) {
    for (const PortEntry& entry : platform.Ports().Ports())
        if (entry.Name == port) return entry.OfReaders;
    return false;
}

// What is wrong, setting by setting; empty where all is as it is to be.
std::string Details(const StationUnit& unit) {
    std::string text;
    for (const HistoryChange& change : unit.Changes)
        if (unit.Result != StationResult::Pass && change.Kept != true)
            text += (text.empty() ? "" : "; ") + ChangeLine(change);
    return text;
}

std::string LineOf(const StationUnit& unit) {
    std::string line = std::to_string(unit.Number) + "  " + WordOf(unit.Result);
    if (!unit.Recorded) line += " (not recorded)";
    if (!unit.Label.empty()) line += "  " + ControlNames::VisibleUtf8(unit.Label);
    line += "  " + unit.ShortPort;
    if (!unit.Firmware.empty()) line += "  " + unit.Firmware;
    line += "  " + std::to_string(unit.Changes.size()) + (unit.Changes.size() == 1 ? " change" : " changes");
    line += "  " + Seconds(unit.Milliseconds) + " s";
    if (!unit.Reason.empty()) line += "  " + unit.Reason;
    const std::string details = Details(unit);
    return line + (details.empty() ? "" : (unit.Reason.empty() ? "  " : "; ") + details) + "\n";
}

const char* JsonWord(StationResult result) {
    if (result == StationResult::Pass) return "pass";
    return result == StationResult::NotProven ? "not proven" : "fail";
}

Json JsonOf(const StationUnit& unit) {
    Json json = {{"unit", unit.Number},       {"result", JsonWord(unit.Result)},
                 {"recorded", unit.Recorded}, {"id", unit.Id},
                 {"label", unit.Label},       {"port", unit.Port},
                 {"firmware", unit.Firmware}, {"secondAttempt", unit.SecondAttempt},
                 {"reason", unit.Reason},     {"milliseconds", unit.Milliseconds}};
    json["changes"] = CliJson::Changes(unit.Changes);
    return json;
}

}  // namespace

clsCliStation::clsCliStation(const CliOptions& options, const std::string& port, clsICliPlatform& platform,
                             ucCOMM& comm, clsReaderFlows& flows, clsSettingsFile& files,
                             clsISettingsStore& store, clsIHistory* history, clsITextOutput& out,
                             clsCliLog& log)
    : m_options(options),
      m_platform(platform),
      m_out(out),
      m_log(log),
      m_stationOptions(OptionsOf(options, port)),
      m_station({platform.Host(), comm, flows, files, store, history, *this,
                 [&platform](const std::string& name) { return IsReadersOwn(platform, name); }}) {}

// The whole file is said to be wrong now, not at the first unit that it does not suit.
bool clsCliStation::CheckProfile() {
    const clsStationProfile profile = m_station.CheckProfile(m_options.File);
    const auto say = [&](const std::vector<std::string>& lines) {
        for (const std::string& line : lines) m_log.Say(modText::FromUtf8(m_options.File) + ": " + line);
    };
    say(profile.Errors());
    say(profile.Warnings());
    return profile.Errors().empty();
}

int clsCliStation::Run() {
    if (!CheckProfile()) return ExitFailed;
    if (!m_station.Start(m_stationOptions)) return ExitFailed;
    clsWait(m_platform.Host()).Until([this] { return m_station.Shown().State == StationState::Stopped; });
    m_input = {};
    if (m_stops > 1) return ExitInterrupted;
    if (m_declined) return ExitFailed;
    return m_station.Shown().Counters.Failed == 0 ? ExitDone : ExitDiffers;
}

void clsCliStation::Stop() {
    if (++m_stops == 1) {
        m_station.Stop();
    } else {
        m_station.Abort();
    }
}

// -- what it shows ------------------------------------------------------------------------------------------

void clsCliStation::ShowStation() {
    const StationShown& shown = m_station.Shown();
    if (!shown.LabelAsked) PrintUnit();
    const bool asked = (shown.LabelAsked && !shown.LabelWaits) || shown.Question != StationQuestion::None;
    std::string toDo = shown.ToDo();
    if (shown.Question != StationQuestion::None) toDo += " [y/N]";
    if (shown.State == StationState::Working) toDo = "working on " + shown.Port;
    if (shown.State == StationState::Working && shown.StopAsked) toDo += ", the last";
    if (shown.Notice != m_notice && !shown.Notice.empty()) m_log.Say(modText::FromUtf8(shown.Notice));
    m_notice = shown.Notice;
    if (toDo != m_said && !toDo.empty()) m_log.Say(modText::FromUtf8(toDo));
    m_said = toDo;
    if (!asked) return;
    if (m_inputEnded) {
        m_platform.Host().Post([this] { TakeLine({}, /*ended=*/true); });
    } else if (!m_input.Connected()) {
        m_input =
            m_platform.WatchInput([this](const std::string& line, bool ended) { TakeLine(line, ended); });
    }
}

void clsCliStation::ShowUnit(const StationUnit& unit) {
    if (unit.Number <= m_printed) return;  // its label came late: a line a unit
    m_unit = unit;
    m_log.ForgetMessages();
}

void clsCliStation::PrintUnit() {
    if (!m_unit) return;
    const StationUnit unit = *std::exchange(m_unit, std::nullopt);
    m_printed = unit.Number;
    m_out.Write(m_options.Json
                    ? JsonOf(unit).dump(-1, ' ', /*ensure_ascii=*/false, Json::error_handler_t::replace) +
                          "\n"
                    : LineOf(unit));
    if (m_out.CurrentState() != clsITextOutput::State::Open) Stop();
}

// A line of standard input is the label, or the answer; where there is no more, there is none.
void clsCliStation::TakeLine(const std::string& line, bool ended) {
    m_inputEnded = m_inputEnded || ended;
    if (ended) m_input.Disconnect();
    const StationShown& shown = m_station.Shown();
    if (shown.Question != StationQuestion::None) {
        const std::string answer = modText::UCase(modText::Trim(line));
        const bool yes = answer == "Y" || answer == "YES";
        m_declined = shown.Question == StationQuestion::NotRecorded && !yes;
        m_said.clear();
        m_station.Answer(yes);
    } else if (shown.LabelAsked) {
        m_station.TakeLabel(line);
    }
}
