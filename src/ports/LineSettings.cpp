#include "ports/LineSettings.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "base/modText.h"

std::optional<LineSettings> ParseLineSettings(const std::string& text) {
    static constexpr std::array<std::string_view, 3> stops{"1", "1.5", "2"};
    const std::vector<std::string> fields = modText::Split(modText::UCase(text), ',');
    if (fields.size() != 4 || fields[1].size() != 1 || fields[2].size() != 1) return {};
    LineSettings line;
    line.Rate = modText::ValInteger(fields[0]);
    line.Parity = fields[1][0];
    line.DataBits = fields[2][0] - '0';
    const auto stop = std::find(stops.begin(), stops.end(), fields[3]);
    line.HalfStopBits = 2 + static_cast<int>(stop - stops.begin());
    const bool parity = std::string_view("NEOMS").find(line.Parity) != std::string_view::npos;
    if (line.Rate < 1 || !parity || line.DataBits < 5 || line.DataBits > 8 || stop == stops.end()) return {};
    line.Text = std::to_string(line.Rate) + "," + fields[1] + "," + fields[2] + "," + fields[3];
    return line;
}
