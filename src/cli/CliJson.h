#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "history/HistoryEvent.h"
#include "ports/AccessReport.h"
#include "ports/clsIPortDirectory.h"
#include "settings/Differences.h"
#include "settings/RegisterImage.h"

/// The program's results as JSON. A byte of a text is the code point of the same number.
namespace CliJson {

nlohmann::ordered_json Text(const std::string& text);
/// null without an obstacle.
nlohmann::ordered_json Reason(const PortReason& reason);
nlohmann::ordered_json Port(const PortEntry& port);
/// What the look at the ports found.
nlohmann::ordered_json Access(const AccessReport& report);
/// The settings under their names in the settings file.
nlohmann::ordered_json Settings(const ZarnInfo& record);
/// Each register with its setting, its place in it and what its byte means; null for one that is not used.
nlohmann::ordered_json Explained(const RegisterImage& image);
/// What differs, or was written; what was not read back is null.
nlohmann::ordered_json Changes(const std::vector<SettingChange>& changes);
/// The same as an event holds it.
nlohmann::ordered_json Changes(const std::vector<HistoryChange>& changes);

}  // namespace CliJson
