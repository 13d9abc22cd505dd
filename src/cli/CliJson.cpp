#include "cli/CliJson.h"

#include <nlohmann/json.hpp>

#include "base/modText.h"
#include "flows/clsConvertTable.h"
#include "settings/RegisterMeaning.h"
#include "settings/SettingTable.h"
#include "settings/modByte.h"

namespace CliJson {

using Json = nlohmann::ordered_json;

Json Text(const std::string& text) { return modText::ToUtf8(text); }

Json Reason(const PortReason& reason) {
    if (reason.Obstacle == PortObstacle::None) return {};
    return {{"port", Text(reason.Port)},
            {"obstacle", reason.Word()},
            {"what", Text(reason.What)},
            {"why", Text(reason.Why)},
            {"toDo", Text(reason.ToDo)}};
}

Json Port(const PortEntry& port) {
    // A file's name is the system's bytes, mostly UTF-8 already.
    return {{"name", Text(port.Name)},   {"alias", port.Alias.empty() ? Json() : Text(port.Alias)},
            {"device", port.Device},     {"description", Text(port.Description)},
            {"maker", Text(port.Maker)}, {"serial", Text(port.Serial)},
            {"access", port.Access},     {"reason", Reason(port.Reason)}};
}

Json Access(const AccessReport& report) {
    const auto orNull = [](const std::string& text) { return text.empty() ? Json() : Text(text); };
    Json ports = Json::array();
    for (const AccessNode& node : report.Nodes)
        ports.push_back({{"name", Text(node.Name)},
                         {"device", node.Device},
                         {"there", node.There},
                         {"owner", orNull(node.Owner)},
                         {"group", orNull(node.Group)},
                         {"mode", orNull(node.Mode)},
                         {"acl", orNull(node.Acl)},
                         {"listed", node.Listed},
                         {"member", node.Member},
                         {"access", node.May},
                         {"lockFile", orNull(node.LockFile)},
                         {"lockedBy", orNull(node.LockedBy)},
                         {"programs", orNull(node.Programs)}});
    Json findings = Json::array();
    for (const AccessFinding& found : report.Findings)
        findings.push_back({{"trouble", found.Word()},
                            {"port", orNull(found.Port)},
                            {"what", Text(found.What)},
                            {"why", Text(found.Why)},
                            {"toDo", Text(found.ToDo)},
                            {"command", Text(found.Command)}});
    return {{"ports", ports}, {"findings", findings}};
}

static Json Filters(const ZarnInfo& record) {
    Json filters = Json::array();
    for (const CardFilterRange& filter : record.CardFilter)
        filters.push_back({{"start", filter.Start}, {"length", filter.Length}});
    return filters;
}

static Json Entries(const ZarnInfo& record) {
    Json entries = Json::array();
    for (const CardConvertEntry& entry : record.Convert) {
        if (entry.CardType == cardTypeEmpty) continue;
        entries.push_back({{"type", entry.CardType},
                           {"cardID", Text(entry.CardID)},
                           {"outputText", Text(entry.OutputText)},
                           {"checked", RowOfEntry(entry).Checked}});
    }
    return entries;
}

static void AddSetting(Json& json, const SettingRow& row, const ZarnInfo& record) {
    const std::string key(row.Key);
    if (const auto* const number = std::get_if<NumberField>(&row.Field)) {
        json[key] = record.*number->Member;
    } else if (const auto* const flag = std::get_if<FlagField>(&row.Field)) {
        json[key] = static_cast<bool>(record.*flag->Member);
    } else if (const auto* const text = std::get_if<TextField>(&row.Field)) {
        json[key] = Text(record.*text->Member);
        json[key + "Hex"] = modByte::StringToHexString(record.*text->Member, "");
    }
}

Json Settings(const ZarnInfo& record) {
    Json json;
    for (const FileItem& item : fileOrder) {
        switch (item.Group) {
            case FileGroup::Setting: AddSetting(json, RowOf(item.Id), record); break;
            case FileGroup::Filters: json["Filter"] = Filters(record); break;
            case FileGroup::Convert: json["Convert"] = Entries(record); break;
            case FileGroup::AutoRead:
                json["AutoRead"] = false;
                break;  // a setting of the window, which is not here
        }
    }
    return json;
}

Json Explained(const RegisterImage& image) {
    Json json = Json::array();
    for (int number = 0; number < registerCount; ++number) {
        const RegisterRole role = RegisterMeaning::RoleOf(number);
        json.push_back({{"register", number},
                        {"value", image.at(static_cast<std::size_t>(number))},
                        {"setting", role.Item ? Json(role.Item->Key()) : Json()},
                        {"place", role.Item ? Json(RegisterMeaning::Place(role)) : Json()},
                        {"meaning", role.Item ? Json(RegisterMeaning::Meaning(number, image)) : Json()}});
    }
    return json;
}

Json Changes(const std::vector<SettingChange>& changes) {
    Json json = Json::array();
    for (const SettingChange& change : changes) {
        json.push_back({{"setting", change.Item.Key()},
                        {"registers", change.Item.Registers()},
                        {"before", change.Before},
                        {"wanted", change.Wanted},
                        {"after", change.Kept ? Json(change.After) : Json()},
                        {"kept", change.Kept ? Json(*change.Kept) : Json()}});
    }
    return json;
}

Json Changes(const std::vector<HistoryChange>& changes) {
    Json json = Json::array();
    for (const HistoryChange& change : changes)
        json.push_back({{"setting", change.Setting},
                        {"registers", change.Registers},
                        {"before", change.Before},
                        {"wanted", change.Wanted},
                        {"after", change.Kept ? Json(change.After) : Json()},
                        {"kept", change.Kept ? Json(*change.Kept) : Json()}});
    return json;
}

}  // namespace CliJson
