#include <fstream>
#include <nlohmann/json.hpp>

#include "CliFixture.h"
#include "flows/RecordText.h"

namespace {

using Json = nlohmann::json;

/// As much of JSON Schema as the program's schema needs to tell right from wrong.
struct clsSchema {
    Json Root = Json::parse(std::ifstream(ZARN74_SCHEMA));

    [[nodiscard]] bool Fits(const Json& rule, const Json& value) const {
        const auto fits = [&](const Json& other) { return Fits(other, value); };
        const auto is = [&](const Json& type) {
            return type == value.type_name() || (type == "integer" && value.is_number_integer());
        };
        if (rule.contains("$ref"))
            return fits(Root.at(Json::json_pointer(rule["$ref"].get<std::string>().substr(1))));
        if (rule.contains("anyOf")) return std::any_of(rule["anyOf"].begin(), rule["anyOf"].end(), fits);
        if (rule.contains("enum"))
            return std::find(rule["enum"].begin(), rule["enum"].end(), value) != rule["enum"].end();
        const Json types = rule["type"].is_array() ? rule["type"] : Json::array({rule["type"]});
        if (std::none_of(types.begin(), types.end(), is)) return false;
        if (value.is_number() &&
            (value < rule.value("minimum", value) || value > rule.value("maximum", value)))
            return false;
        if (value.is_array()) {
            return value.size() >= rule.value("minItems", 0U) &&
                   value.size() <= rule.value("maxItems", 1000U) &&
                   std::all_of(value.begin(), value.end(),
                               [&](const Json& item) { return Fits(rule["items"], item); });
        }
        if (!value.is_object()) return true;
        for (const Json& key : rule["required"]) {
            if (!value.contains(key)) return false;
        }
        return std::all_of(value.items().begin(), value.items().end(), [&](const auto& item) {
            return rule["properties"].contains(item.key()) &&
                   Fits(rule["properties"][item.key()], item.value());
        });
    }
    [[nodiscard]] bool Fits(const char* definition, const Json& value) const {
        return Fits(Root["$defs"][definition], value);
    }
};

TEST_F(clsCliTest, AStationPrintsAUnitALine) {
    const clsSchema schema;
    files.Contents["file"] = "[General]\r\nLanguage=3\r\n";
    files.Contents["bad"] = "[General]\r\nLanguage=999\r\n";
    const std::string station = "--json station file --port COM1 --start-with-plugged --count 1";
    EXPECT_EQ(Run(station + " --check"), 4);
    EXPECT_EQ(Sent('C'), 0);
    EXPECT_EQ(Run(station + " --label A-{0007}"), 0);
    const Json unit = Json::parse(out.Text);
    EXPECT_TRUE(schema.Fits("unit", unit)) << out.Text;
    EXPECT_EQ(unit["label"], "A-0007");
    EXPECT_EQ(unit["changes"].size(), 6U);  // the rows of the table go, too
    typed = {"04A1B2C3", "n", "bench 9"};
    EXPECT_EQ(Run("station file --port COM1 --start-with-plugged --count 1 --label ask"), 0);
    EXPECT_TRUE(out.Text.starts_with("1  PASS  bench 9  COM1  V1.02R007  0 changes")) << out.Text;
    history.SetLocked(true);
    host.StartTimer(6000, [this] { history.SetLocked(false); });
    typed = {"bench 10", "impatient"};
    EXPECT_EQ(Run("station file --port COM1 --start-with-plugged --count 1 --label ask"), 0);
    EXPECT_TRUE(out.Text.starts_with("1  PASS (not recorded)  COM1")) << out.Text;
    EXPECT_EQ(Lines(out.Text).size(), 1U) << "its label came behind its line";
    EXPECT_EQ(history.Rows.back().Label, "bench 10");
    EXPECT_EQ(Said(), "The label \"bench 10\" is kept now");
    EXPECT_EQ(Run("station bad"), 1);
    EXPECT_EQ(Run("station file --port COM9"), 3);
    EXPECT_EQ(Run("station file --label A-1"), 2);
    EXPECT_EQ(Run("demo --json station file --units 6 --bad 3"), 4);
    EXPECT_EQ(std::count(out.Text.begin(), out.Text.end(), '\n'), 6);
    for (const char* reason : {"second attempt; not kept", "SetCardInfo NG", "pulled out while writing"})
        EXPECT_NE(out.Text.find(reason), std::string::npos) << reason << out.Text;
}

TEST_F(clsCliTest, EveryRunPrintsOneObjectOfTheSchema) {
    const clsSchema schema;
    EXPECT_FALSE(schema.Fits("register", Json::parse(R"({"register": 512, "value": 1})")));
    EXPECT_FALSE(schema.Fits("register", Json::parse(R"({"register": 5, "value": 1, "more": 1})")));
    files.Contents["file"] = "[General]\r\nLanguage=3\r\n";
    files.Contents["other"] = "[General]\r\nLanguage=4\r\n";
    const struct {
        const char* line;
        int exit;
        const char* command;
        const char* fact;  // pointer into the object = value
    } rows[] = {
        {"ports", 0, "ports", R"(/result/0/description = "Caf\u00e9")"},
        {"scan", 0, "scan", R"(/result/firmwareSerial = "FWQ-K4436")"},
        {"--port com1 --baud 9600 info", 0, "info", "/baud = 9600"},
        {"read", 0, "read", R"(/result/OnRemove = "\u0007gone\u0003\r")"},
        {"dump", 0, "dump", "/result/registers/210 = 2"},
        {"get 0xD2", 0, "get", "/result/value = 2"},
        {"check file", 4, "check", R"(/result/changes/0/before = "Germany")"},
        {"write file --dry-run", 0, "write", "/result/changes/0/kept = null"},
        {"write file --dry-run", 0, "write", "/result/emptiesTable = true"},
        {"write file --no-verify", 0, "write", "/result/changes/0/after = null"},
        {"write other --dry-run", 0, "write", "/result/emptiesTable = false"},
        {"write other", 0, "write", "/result/changes/0/kept = true"},
        {"diff file other", 4, "diff", R"(/result/changes/0/setting = "Language")"},
        {"default none", 1, "default", R"(/messages/0/text = "Open Zarn74 Default Info From File NG!")"},
        {"test-eeprom --yes", 0, "test-eeprom", "/result/passed = true"},
        {"--port COM2 read", 3, "read", R"(/reasons/0/obstacle = "silent")"},
        {"ports", 0, "ports", R"(/result/2/reason/what = "in use by another program")"},
        {"nonsense", 2, nullptr, "/command = null"},
        {"doctor COM2 --poll", 4, "doctor", R"(/result/findings/0/trouble = "silent")"},
        {"history", 0, "history", R"(/result/events/0/action = "test")"},
        {"history show 8", 0, "history", R"(/result/event/changes/0/wanted = "Spanish")"},
        {"history settings 8 --before", 0, "history", "/result/Language = 3"},
        {"history image 2 -o image", 0, "history", "/result/registers/210 = 2"},
        {"history diff 8", 4, "history", R"(/result/changes/0/setting = "Language")"},
        {"history label 8 Unit", 0, "history", "/result/changed = 1"},
        {"history prune --before 2026-01-01 --yes", 0, "history", "/result/changed = 0"},
        {"dump --explain", 0, "dump", R"(/result/explained/210/meaning = "USA")"},
        {"dump --explain", 0, "dump", "/result/explained/216/setting = null"},
        {"restore 2 --yes", 0, "restore", R"(/result/all512 = true)"},
        {"test-eeprom --restore", 0, "test-eeprom", "/result/restored = true"},
        {"--port COM1 --record line get 210", 0, "get", "/result/register = 210"},
        {"explain line", 0, "explain", "/result/frames/2/meaning = \"read register 210 Language\""},
        {"explain line", 0, "explain", "/result/ended = true"},
        {"mask line -o safe", 0, "mask", "/result/recording = null"},
        {"explain safe", 0, "explain", "/result/frames/2/hex = \"024244320D\""},
        {"explain file", 1, "explain", "/result = null"},
        {"--record line mask line", 2, "mask", "/result = null"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Run(std::string("--json ") + row.line), row.exit) << row.line;
        const Json json = Json::parse(out.Text);
        EXPECT_EQ(Lines(out.Text).size(), 1u) << row.line;
        EXPECT_TRUE(schema.Fits(schema.Root, json)) << out.Text;
        EXPECT_EQ(json["exit"], row.exit) << row.line;
        EXPECT_EQ(json["ok"], row.exit == 0) << row.line;
        EXPECT_EQ(json["command"], row.command != nullptr ? Json(row.command) : Json());
        const std::string fact = row.fact;
        const auto equals = fact.find(" = ");
        EXPECT_EQ(json.at(Json::json_pointer(fact.substr(0, equals))), Json::parse(fact.substr(equals + 3)))
            << row.line;
    }
    reader.AddFault({SimFault::RefuseCode, 'C', 210, 2, -1, 4});  // as it is written back
    EXPECT_EQ(Run("--json --no-history test-eeprom --restore"), 1);
    const Json lost = Json::parse(out.Text);
    EXPECT_TRUE(schema.Fits(schema.Root, lost)) << out.Text;
    EXPECT_EQ(lost["result"]["registers"].size(), 512U);
}

TEST_F(clsCliTest, WhateverHappensToTheWriteOfOneSettingTheProofTellsIt) {
    Run("read");
    ZarnInfo record;
    clsSettingsParser(record).Feed(out.Text);
    files.Contents["file"] = TextOf(AllOther(record));
    const auto registers = reader.Registers;
    Run("--json check file");
    const Json all = Json::parse(out.Text)["result"]["changes"];
    ASSERT_EQ(all.size(), 43U);
    for (const auto fault : {SimFault::DroppedWrite, SimFault::RefuseCode, SimFault::NoAnswer}) {
        for (const Json& change : all) {
            const std::string setting = change["setting"];
            SCOPED_TRACE(setting + " " + std::string(SimFaultName(fault)));
            reader.ClearFaults();
            reader.Registers = registers;
            reader.AddFault({fault, 'C', std::stoi(change["registers"].get<std::string>()), 0, -1, 3});
            if (fault == SimFault::NoAnswer) reader.AddFault({SimFault::NoAnswer, 'B'});
            const int exit = Run("--json write file");
            const Json changes = Json::parse(out.Text)["result"]["changes"];
            ASSERT_EQ(changes.size(), 43U);
            const bool dropped = fault == SimFault::DroppedWrite;
            EXPECT_EQ(exit, dropped ? 4 : 1);
            for (const Json& told : changes) {
                const bool it = told["setting"] == setting;
                EXPECT_EQ(told["kept"], dropped ? Json(!it) : Json()) << told["setting"];
                EXPECT_EQ(told["after"].is_null(), !dropped);
            }
        }
    }
}

TEST_F(clsCliTest, TracesAreOneFrameALine) {
    const clsSchema schema;
    EXPECT_EQ(Run("--port COM1 --baud 19200 --trace dump"), 0);
    std::size_t bytes = 0;
    for (const std::string& line : Lines(err.Text)) {
        if (!line.starts_with("{")) continue;
        const Json frame = Json::parse(line);
        EXPECT_TRUE(schema.Fits("frame", frame)) << line;
        if (frame["dir"] == "rx") bytes += frame["hex"].get<std::string>().size() / 2;
    }
    EXPECT_EQ(bytes, 2u * 512) << "raw images between the frames";
}

}  // namespace
