#include "station/StationTypes.h"

#include "settings/Differences.h"

const char* WordOf(StationResult result) {
    switch (result) {
        case StationResult::None: break;
        case StationResult::Pass: return "PASS";
        case StationResult::Fail: return "FAIL";
        case StationResult::NotProven: return "NOT PROVEN";
    }
    return "";
}

std::string ChangeLine(const HistoryChange& change) {
    std::string name = change.Setting;
    for (std::size_t place = 0; place < itemCount; ++place)
        if (SettingItem(place).Key() == change.Setting) name = SettingItem(place).Name();
    const std::string wanted = name + ": wanted " + change.Wanted;
    if (change.Kept) return wanted + ", found " + change.After;
    return wanted + ", it was " + change.Before;
}

std::string StationShown::Word() const {
    if (State == StationState::Stopped) return "STOPPED";
    if (State == StationState::Paused) return "PAUSED";
    if (State == StationState::Working) return "WORKING";
    if (Last.Result != StationResult::None) return WordOf(Last.Result);
    return State == StationState::RemoveFirst ? "REMOVE" : "READY";
}

std::string StationShown::Doing() const {
    const auto counted = [&](const std::string& what) {
        return StepCount == 0 ? what : what + " " + std::to_string(Step) + " of " + std::to_string(StepCount);
    };
    switch (Phase) {
        case StationPhase::None: return State == StationState::Looking ? "looking what is plugged in" : "";
        case StationPhase::Finding: return "looking for the reader";
        case StationPhase::Reading: return counted("reading");
        case StationPhase::Comparing: return "comparing";
        case StationPhase::Writing: return counted("writing");
        case StationPhase::ReadingBack: return counted("reading back");
        case StationPhase::Recording: return "recording";
    }
    return "";
}

std::string StationShown::ToDo() const {
    if (Question != StationQuestion::None) return QuestionText;
    if (LabelWaits || (StopAsked && LateLabels > 0))
        return "Wait: another program has the history for itself";
    if (LabelAsked) return "Type or scan the label";
    if (StopAsked && State != StationState::Working) return "";
    switch (State) {
        case StationState::Stopped: break;
        case StationState::Looking: return "Wait a moment";
        case StationState::RemoveFirst: return "Remove the reader that is plugged in";
        case StationState::Waiting: return "Plug in a reader";
        case StationState::Working: return "Leave it plugged in";
        case StationState::Unplug: return "Unplug it";
        case StationState::Paused: return "Go on when ready";
    }
    return "";
}
