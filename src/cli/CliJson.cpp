#include "cli/CliJson.h"

#include <array>
#include <nlohmann/json.hpp>

#include "cli/CliText.h"
#include "settings/modByte.h"
#include "window/logic/clsConvertTable.h"

namespace CliJson {

using Json = nlohmann::ordered_json;

Json Text(const std::string& text) { return CliText::ToUtf8(text); }

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

Json Settings(const ZarnInfo& record) {
    Json json;
    const auto number = [&](const char* key, std::int32_t value) { json[key] = value; };
    const auto flag = [&](const char* key, bool value) { json[key] = value; };
    const auto keys = [&](const std::string& key, const std::string& value) {
        json[key] = Text(value);
        json[key + "Hex"] = modByte::StringToHexString(value, "");
    };
    number("Baudrate", record.Baudrate);
    number("Language", record.Language);
    number("TagFrequency", record.TagFrequency);
    number("UsbInterface", record.UsbInterface);
    flag("KeyboardOutput", record.KeyboardOutput);
    flag("BuzzerEnabled", record.BuzzerEnabled);
    number("CardIDNumericSystem", record.CardIDNumericSystem);
    number("CardIDNumericSequence", record.CardIDNumericSequence);
    number("EMCardIDNumericSequence", record.EMCardIDNumericSequence);
    for (const CardFilterRange& filter : record.CardFilter)
        json["Filter"].push_back({{"start", filter.Start}, {"length", filter.Length}});
    keys("Prefix", record.Prefix);
    keys("Postfix", record.Postfix);
    keys("OnRemove", record.OnRemove);
    number("Delimiter", record.Delimiter);
    flag("DisplayCardType", record.DisplayCardType);
    flag("CardSNConvert", record.CardSNConvert);
    flag("UseRightKeypad", record.UseRightKeypad);
    json["Convert"] = Json::array();
    for (const CardConvertEntry& entry : record.Convert) {
        if (entry.CardType == cardTypeEmpty) continue;
        json["Convert"].push_back({{"type", entry.CardType},
                                   {"cardID", Text(entry.CardID)},
                                   {"outputText", Text(entry.OutputText)},
                                   {"checked", RowOfEntry(entry).Checked}});
    }
    flag("AutoRead", false);  // a setting of the window, which is not here
    flag("IDWithoutLeadingZeros", record.IDWithoutLeadingZeros);
    return json;
}

}  // namespace CliJson
