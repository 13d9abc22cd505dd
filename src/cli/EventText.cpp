#include "cli/EventText.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "base/ControlNames.h"
#include "cli/CliTime.h"
#include "ports/PortPlace.h"

namespace {

using ControlNames::VisibleUtf8;
using Json = nlohmann::ordered_json;

constexpr std::size_t shortLength = 8;

// As wide as it shows, for what is not written in wide characters.
std::size_t Width(std::string_view utf8) {
    return static_cast<std::size_t>(
        std::count_if(utf8.begin(), utf8.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string ChangeCountText(const HistoryEvent& event) {
    return std::to_string(event.ChangeCount) + (event.ChangeCount == 1 ? " change" : " changes");
}

Json TextOrNull(const std::string& utf8) { return utf8.empty() ? Json() : Json(utf8); }

/// What is known of an event in one line; the keys of JSON, and the columns of a table.
struct SummaryItem {
    const char* Key;
    Json (*Of)(const HistoryEvent& event);
};
using Of = const HistoryEvent&;
constexpr SummaryItem summary[] = {
    {"id", [](Of event) { return Json(event.Id); }},
    {"revision", [](Of event) { return Json(event.Revision); }},
    {"begun", [](Of event) { return Json(CliTime::Utc(event.Begun)); }},
    {"ended", [](Of event) { return event.Ended == 0 ? Json() : Json(CliTime::Utc(event.Ended)); }},
    {"action", [](Of event) { return Json(WordOf(event.Action)); }},
    {"outcome", [](Of event) { return Json(WordOf(event.Outcome)); }},
    {"reason", [](Of event) { return TextOrNull(event.Reason); }},
    {"label", [](Of event) { return TextOrNull(event.Label); }},
    {"port", [](Of event) { return TextOrNull(event.Port); }},
    {"adapter", [](Of event) { return TextOrNull(event.Adapter); }},
    {"adapterSerial", [](Of event) { return TextOrNull(event.AdapterSerial); }},
    {"baud", [](Of event) { return event.Baud == 0 ? Json() : Json(event.Baud); }},
    {"product", [](Of event) { return TextOrNull(event.Product); }},
    {"version", [](Of event) { return TextOrNull(event.Firmware); }},
    {"firmwareSerial", [](Of event) { return TextOrNull(event.FirmwareSerial); }},
    {"profile", [](Of event) { return TextOrNull(event.Profile); }},
    {"profileSha256", [](Of event) { return TextOrNull(event.ProfileDigest); }},
    {"changeCount", [](Of event) { return Json(event.ChangeCount); }},
    {"host", [](Of event) { return Json(event.Host); }},
    {"user", [](Of event) { return Json(event.User); }},
    {"program", [](Of event) { return Json(event.Program); }},
    {"programVersion", [](Of event) { return Json(event.Version); }}};

// As RFC 4180 has it.
std::string CsvField(const std::string& text) {
    if (text.find_first_of("\",\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

}  // namespace

namespace EventText {

std::string ShortId(const HistoryEvent& event) { return event.Id.substr(0, shortLength); }

Json Summary(const HistoryEvent& event) {
    Json json;
    for (const SummaryItem& item : summary) json[item.Key] = item.Of(event);
    return json;
}

std::string CsvHead() {
    std::string line;
    for (const SummaryItem& item : summary) line += (line.empty() ? "" : ",") + std::string(item.Key);
    return line + "\r\n";
}

std::string CsvLine(const HistoryEvent& event) {
    std::string line;
    const char* between = "";
    for (const SummaryItem& item : summary) {
        const Json value = item.Of(event);
        line += std::exchange(between, ",");
        if (value.is_string()) {
            line += CsvField(value.get_ref<const std::string&>());
        } else if (!value.is_null()) {
            line += value.dump();
        }
    }
    return line + "\r\n";
}

}  // namespace EventText

void clsEventTable::Add(const HistoryEvent& event) {
    const std::array<std::string, columns> cells{
        EventText::ShortId(event),   CliTime::Local(event.Begun), WordOf(event.Action),
        WordOf(event.Outcome),       VisibleUtf8(event.Label),    VisibleUtf8(PortPlace(event.Port)),
        VisibleUtf8(event.Firmware), ChangeCountText(event)};
    for (std::size_t i = 0; i < columns; ++i) {
        m_widths.at(i) = std::max(m_widths.at(i), Width(cells.at(i)));
        m_cells.append(cells.at(i)).append("\n");
    }
}

std::string clsEventTable::Text() const {
    std::string text;
    std::size_t column = 0;
    std::size_t gap = 0;
    for (std::size_t at = 0; at < m_cells.size();) {
        const std::size_t end = m_cells.find('\n', at);
        const std::string_view cell(m_cells.data() + at, end - at);
        if (!cell.empty()) text.append(std::exchange(gap, 0), ' ').append(cell);
        gap += m_widths.at(column) - Width(cell) + 2;
        at = end + 1;
        if (++column < columns) continue;
        text += '\n';
        column = gap = 0;
    }
    return text;
}
