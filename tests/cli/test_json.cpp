#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>

#include "CliFixture.h"

namespace {

using Json = nlohmann::json;

/// As much of JSON Schema as the program's schema uses; an unknown word fails.
class clsSchema {
  public:
    clsSchema() { m_root = Json::parse(std::ifstream(ZARN74_SCHEMA)); }
    [[nodiscard]] std::string Fault(const Json& value) const { return Fault(m_root, value); }
    [[nodiscard]] std::string Fault(const char* definition, const Json& value) const {
        return Fault(m_root.at("$defs").at(definition), value);
    }

  private:
    [[nodiscard]] static bool Is(const std::string& type, const Json& value) {
        return type == "object"    ? value.is_object()
               : type == "array"   ? value.is_array()
               : type == "string"  ? value.is_string()
               : type == "boolean" ? value.is_boolean()
               : type == "integer" ? value.is_number_integer()
               : type == "number"  ? value.is_number()
                                   : type == "null" && value.is_null();
    }
    [[nodiscard]] std::string Fault(const Json& schema, const Json& value) const {
        for (const auto& [word, rule] : schema.items()) {
            std::string fault;
            if (word == "$ref") {
                fault = Fault(m_root.at(Json::json_pointer(rule.get<std::string>().substr(1))), value);
            } else if (word == "type") {
                const Json types = rule.is_array() ? rule : Json::array({rule});
                if (std::none_of(types.begin(), types.end(),
                                 [&](const Json& type) { return Is(type, value); }))
                    fault = "type";
            } else if (word == "enum") {
                if (std::find(rule.begin(), rule.end(), value) == rule.end()) fault = "enum";
            } else if (word == "anyOf") {
                if (std::none_of(rule.begin(), rule.end(),
                                 [&](const Json& one) { return Fault(one, value).empty(); }))
                    fault = "anyOf";
            } else if (word == "required") {
                for (const auto& key : rule) {
                    if (!value.contains(key)) fault = "missing " + key.get<std::string>();
                }
            } else if (word == "properties") {
                for (const auto& [key, item] : value.items())
                    fault += rule.contains(key) ? Fault(rule.at(key), item) : " unknown " + key;
            } else if (word == "items") {
                for (const auto& item : value) fault += Fault(rule, item);
            } else if (word == "minimum" || word == "maximum") {
                if (word == "minimum" ? value < rule : value > rule) fault = word;
            } else if (word == "minItems" || word == "maxItems") {
                if (word == "minItems" ? value.size() < rule : value.size() > rule) fault = word;
            } else if (word == "pattern") {
                if (!std::regex_match(value.get<std::string>(), std::regex(rule.get<std::string>())))
                    fault = word;
            } else if (!word.starts_with("$") && word != "description" && word != "title" &&
                       word != "additionalProperties") {
                fault = "unknown word " + word;
            }
            if (!fault.empty()) return fault + " in " + value.dump().substr(0, 200) + "\n";
        }
        return {};
    }
    Json m_root;
};

TEST_F(clsCliTest, EveryRunPrintsOneObjectOfTheSchema) {
    const clsSchema schema;
    files.Contents["file"] = "[General]\r\nLanguage=3\r\n";
    const struct {
        const char* line;
        int exit;
        const char* command;
        const char* definition;  // of the result; null: none
        const char* fact;        // pointer into the object = value
    } rows[] = {
        {"ports", 0, "ports", "ports", R"(/result/0/description = "Caf\u00e9")"},
        {"scan", 0, "scan", "identity", R"(/result/firmwareSerial = "FWQ-K4436")"},
        {"--port com1 --baud 9600 info", 0, "info", "identity", "/baud = 9600"},
        {"read", 0, "read", "settings", R"(/result/OnRemove = "\u0007gone\u0003\r")"},
        {"--slow read", 0, "read", "settings", R"(/result/Convert/3/cardID = "047C330AD56190")"},
        {"dump", 0, "dump", "dump", "/result/registers/210 = 2"},
        {"get 0xD2", 0, "get", "register", "/result/value = 2"},
        {"set 5 0xE9", 0, "set", "register", "/result/value = 233"},
        {"write file", 0, "write", nullptr, R"(/port = "COM1")"},
        {"default none", 1, "default", nullptr,
         R"(/messages/0/text = "Open Zarn74 Default Info From File NG!")"},
        {"test-eeprom --yes", 0, "test-eeprom", "test", "/result/passed = true"},
        {"--port COM2 read", 3, "read", nullptr, R"(/messages/5/text = "Missing Device")"},
        {"--port COM3 monitor", 3, "monitor", nullptr, "/port = null"},
        {"get 999", 2, "get", nullptr, "/ok = false"},
        {"nonsense", 2, nullptr, nullptr, "/command = null"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Run(std::string("--json ") + row.line), row.exit) << row.line;
        ASSERT_EQ(Lines(out.Text).size(), 1u) << row.line;
        const Json json = Json::parse(out.Text);
        EXPECT_EQ(schema.Fault(json), "") << row.line;
        EXPECT_EQ(json["exit"], row.exit);
        EXPECT_EQ(json["ok"], row.exit == 0);
        EXPECT_EQ(json["command"], row.command != nullptr ? Json(row.command) : Json());
        if (row.definition != nullptr) {
            EXPECT_EQ(schema.Fault(row.definition, json["result"]), "") << row.line;
        } else {
            EXPECT_TRUE(json["result"].is_null()) << row.line;
        }
        const std::string fact = row.fact;
        const auto equals = fact.find(" = ");
        EXPECT_EQ(json.at(Json::json_pointer(fact.substr(0, equals))), Json::parse(fact.substr(equals + 3)))
            << row.line;
    }
}

TEST_F(clsCliTest, TracesAreOneFrameALine) {
    const clsSchema schema;
    EXPECT_EQ(Run("--port COM1 --baud 19200 --trace get 0x80"), 0);
    std::vector<std::string> frames;
    for (const std::string& line : Lines(err.Text)) {
        if (line.starts_with("{")) frames.push_back(line);
    }
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(Json::parse(frames[0])["hex"], "024238300D");
    EXPECT_EQ(Json::parse(frames[1])["text"],
              "\x02"
              "AFFCD\r");
    EXPECT_EQ(Json::parse(frames[1])["dir"], "rx");

    EXPECT_EQ(Run("--trace dump"), 0);  // raw images between the frames
    std::size_t bytes = 0;
    for (const std::string& line : Lines(err.Text)) {
        if (!line.starts_with("{")) continue;
        const Json frame = Json::parse(line);
        EXPECT_EQ(schema.Fault("frame", frame), "");
        if (frame["dir"] == "rx") bytes += frame["hex"].get<std::string>().size() / 2;
    }
    EXPECT_EQ(bytes, 12u + 2 * 512);  // the scan's answer, then the image twice
}

}  // namespace
