#include "flows/clsSettingsFile.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <variant>

#include "base/modText.h"
#include "settings/SettingTable.h"
#include "settings/modByte.h"

namespace {

constexpr std::string_view lineEnd = "\r\n";
constexpr std::string_view sectionName = "GENERAL";
// Keys of what is no setting of the table, in upper case.
constexpr std::string_view filterStartKey = "FILTER_START";
constexpr std::string_view filterLengthKey = "FILTER_LENGTH";
constexpr std::string_view convertKey = "CONVERT";
constexpr std::string_view autoReadKey = "AUTOREAD";
constexpr std::size_t chunkSize = 65536;
constexpr std::size_t contentLimit = 1048576;  // bytes; a settings file has about 2000
constexpr std::string_view hexEnd = "HEX";
constexpr std::array<std::string_view, 2> unread{"FILEVERSION", "CONVERTCOUNT"};  // written, not read back
constexpr std::ptrdiff_t strayLimit = 100;    // lines without a setting that are told
constexpr std::size_t backupLimit = 1048576;  // bytes; a start-up file has about 2000

std::string FlagWord(Flag flag, FlagWords words) {
    const bool on = flag;
    if (words == FlagWords::OneZero) return on ? "1" : "0";
    return on ? "True" : "False";
}

std::string WithoutCR(std::string text) {
    std::erase(text, '\r');
    return text;
}

std::string_view MarkOf(std::string_view bytes) {
    if (bytes.starts_with("\xEF\xBB\xBF")) return "UTF-8";
    return bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF") ? "UTF-16" : "";
}

class clsTextMaker {
  public:
    void Line(std::string_view key, std::string_view value) {
        Text += key;
        Text += '=';
        Text += value;
        Text += lineEnd;
    }
    void Line(std::string_view key, std::int32_t value) { Line(key, std::to_string(value)); }
    void Line(std::string_view key, std::size_t index, std::string_view value) {
        Line(std::string(key) + "(" + std::to_string(index + 1) + ")", value);
    }
    void Setting(const SettingRow& row, const ZarnInfo& record) {
        if (const auto* const number = std::get_if<NumberField>(&row.Field)) {
            Line(row.Key, record.*number->Member);
        } else if (const auto* const flag = std::get_if<FlagField>(&row.Field)) {
            Line(row.Key, FlagWord(record.*flag->Member, flag->Words));
        } else if (const auto* const text = std::get_if<TextField>(&row.Field)) {
            // A line cannot carry CR, so the plain form lacks it; the other form has every byte.
            Line(row.Key, WithoutCR(record.*text->Member));
            Line(std::string(row.Key) + "Hex", modByte::StringToHexString(record.*text->Member, ""));
        }
    }
    std::string Text;
};

std::string RowLine(const ConvertRow& row, SettingsText& made) {
    std::string text = row.Text.substr(0, rowOutputAt);
    text.resize(rowOutputAt, ' ');
    text[rowSerialAt - 1] = ',';
    text[rowOutputAt - 1] = ',';
    const std::string output = row.Text.size() > rowOutputAt ? row.Text.substr(rowOutputAt) : std::string();
    made.LostCR = made.LostCR || output.find('\r') != std::string::npos;
    return (row.Checked ? "+" : "-") + text + WithoutCR(output);
}

// The check mark's sign is recognised and dropped, on purpose: an entry has no place for it.
bool ApplyConvertRow(std::string_view value, CardConvertEntry& entry) {
    const auto parts = modText::Split(value, ',', 3);
    if (parts.size() != 3) return false;
    std::string tag = modText::UCase(modText::Trim(parts[0]));
    if (tag.starts_with('+') || tag.starts_with('-')) tag.erase(0, 1);
    entry = {CardTypeOfTag(tag), parts[1], parts[2]};
    return true;
}

/// What became of a value: nothing when the line was passed over, else what is odd with it.
using Taken = std::optional<std::string>;

/// Puts one value where its key says. `Index` is the number in the key's parentheses, -1 without any.
struct ValueTaker {
    ZarnInfo& Record;
    std::optional<bool>& AutoRead;
    std::string_view Value;
    std::int32_t Index;

    [[nodiscard]] bool Flagged() const { return modText::ToFlag(Value).value_or(false); }

    Taken operator()(const NumberField& field) const {
        Record.*field.Member = modText::ValInteger(Value);
        return SettingsCheck::OfNumber(Value, field.Entries);
    }
    Taken operator()(const FlagField& field) const {
        Record.*field.Member = Flagged();
        return SettingsCheck::OfFlag(Value);
    }
    Taken operator()(const TextField& field) const {
        Record.*field.Member = Value;
        return SettingsCheck::OfText(Value);
    }
    [[nodiscard]] Taken Hex(const TextField& field) const {
        Record.*field.Member = modByte::HexStringToString(Value);
        return SettingsCheck::OfHex(Value);
    }
    [[nodiscard]] Taken Filter(std::int32_t CardFilterRange::*part) const {
        if (Index < 1 || Index > cardFilterCount) return {};
        Record.CardFilter.at(static_cast<std::size_t>(Index - 1)).*part = modText::ValInteger(Value);
        return SettingsCheck::OfNumber(Value, /*entries=*/{});
    }
    [[nodiscard]] Taken Row() const {
        if (Index < 1 || Index > convertCount) return {};
        CardConvertEntry& entry = Record.Convert.at(static_cast<std::size_t>(Index - 1));
        if (!ApplyConvertRow(Value, entry)) return {};
        return SettingsCheck::OfEntry(entry);
    }
    [[nodiscard]] Taken Auto() const {
        AutoRead = Flagged();
        return SettingsCheck::OfFlag(Value);
    }

    /// What became of it; nothing when `name`, in upper case, is no key at all.
    [[nodiscard]] std::optional<Taken> Take(std::string_view name) const {
        if (name == filterStartKey) return Filter(&CardFilterRange::Start);
        if (name == filterLengthKey) return Filter(&CardFilterRange::Length);
        if (name == convertKey) return Row();
        if (name == autoReadKey) return Auto();
        for (const SettingRow& row : settingTable) {
            const std::string key = modText::UCase(row.Key);
            if (name == key) return std::visit(*this, row.Field);
            const auto* const text = std::get_if<TextField>(&row.Field);
            if (text != nullptr && name == key + std::string(hexEnd)) return Hex(*text);
        }
        return std::nullopt;
    }
};

// The setting that a key is of. Both forms of a key string are of one.
std::string AboutOf(std::string name, std::int32_t index) {
    if (name.ends_with(hexEnd)) name.erase(name.size() - hexEnd.size());
    const bool many = name == "CONVERT" || name.starts_with("FILTER_");
    return many ? name + "(" + std::to_string(index) + ")" : name;
}

}  // namespace

// -- reading ------------------------------------------------------------------------------------------------

clsSettingsParser::clsSettingsParser(ZarnInfo& record) : m_record(record) {
    // Serial number and text of an emptied entry are left as they are.
    for (CardConvertEntry& entry : record.Convert) entry.CardType = cardTypeEmpty;
}

void clsSettingsParser::Feed(std::string_view bytes) {
    while (!bytes.empty() && !Finished()) {
        if (m_afterCR && bytes.front() == '\n') bytes.remove_prefix(1);
        m_afterCR = false;
        const auto end = bytes.find('\r');
        const std::string_view piece = bytes.substr(0, end);
        m_line.append(piece.substr(0, lineLimit - m_line.size()));
        if (end == std::string_view::npos) return;
        bytes.remove_prefix(end + 1);
        m_afterCR = true;
        if (!m_line.empty()) End();
    }
}

void clsSettingsParser::End() {
    std::string_view line = m_line;
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    if (!Finished()) ApplyLine(line);
    m_line.clear();
}

void clsSettingsParser::ApplyLine(std::string_view line) {
    if (line.starts_with('[')) {
        ApplyHeader(line);
    } else if (m_section == Section::Inside) {
        ApplyKey(line);
    }
}

// Any header ends the section, a second one of the same name too.
void clsSettingsParser::ApplyHeader(std::string_view line) {
    const auto close = line.find(']');
    if (close == std::string_view::npos || close < 2) return;
    if (m_section == Section::Inside) {
        m_section = Section::Behind;
    } else if (modText::UCase(modText::Trim(line.substr(1, close - 1))) == sectionName) {
        m_section = Section::Inside;
    }
}

void clsSettingsParser::ApplyKey(std::string_view line) {
    const auto equals = line.find('=');
    if (equals == std::string_view::npos || equals == 0) return;
    std::string name = modText::UCase(line.substr(0, equals));
    std::int32_t index = -1;
    const auto open = name.find('(');
    if (open != std::string::npos && open > 0) {
        index = modText::ValInteger(std::string_view(name).substr(open + 1));
        name.erase(open);
    }
    SettingsFinding finding;
    finding.Key = line.substr(0, equals);
    finding.Value = line.substr(equals + 1);
    const auto taken = ValueTaker{m_record, m_content.AutoRead, line.substr(equals + 1), index}.Take(name);
    if (!taken) {
        finding.Text = SettingsCheck::OfPassedOver(/*knownKey=*/false);
        if (std::find(unread.begin(), unread.end(), name) == unread.end()) Find(finding);
        return;
    }
    m_content.KnownKey = true;
    finding.Text = taken->value_or(SettingsCheck::OfPassedOver(/*knownKey=*/true));
    if (*taken) finding.About = AboutOf(name, index);
    Find(finding);
}

void clsSettingsParser::Find(const SettingsFinding& finding) {
    auto& findings = m_content.Findings;
    if (!finding.About.empty())
        std::erase_if(findings, [&](const auto& former) { return former.About == finding.About; });
    const auto strays = std::count_if(findings.begin(), findings.end(),
                                      [](const auto& former) { return former.About.empty(); });
    const bool full = finding.About.empty() && strays >= strayLimit;
    if (!finding.Text.empty() && !full) findings.push_back(finding);
}

std::optional<SettingsContent> clsSettingsFile::OpenInfoFile(const std::string& name, ZarnInfo& record) {
    m_mark.clear();
    const auto reader = m_files.OpenFile(name);
    if (!reader) return std::nullopt;
    ZarnInfo read = record;
    clsSettingsParser parser(read);
    std::string chunk(chunkSize, '\0');
    for (bool first = true; !parser.Finished(); first = false) {
        const auto count = reader->Read(chunk.data(), chunk.size());
        if (!count) return std::nullopt;
        if (*count == 0) break;
        const auto bytes = std::string_view(chunk).substr(0, *count);
        if (first) m_mark = MarkOf(bytes);
        parser.Feed(bytes);
    }
    parser.End();
    record = read;
    return parser.Content();
}

std::optional<std::string> clsSettingsFile::Content(const std::string& name) {
    const auto reader = m_files.OpenFile(name);
    return reader ? reader->ReadUpTo(contentLimit) : std::nullopt;
}

// -- writing ------------------------------------------------------------------------------------------------

SettingsText clsSettingsFile::MakeText(const ZarnInfo& record, const std::vector<ConvertRow>& rows,
                                       bool autoRead) {
    clsTextMaker out;
    SettingsText made;
    out.Text = "[General]";
    out.Text += lineEnd;
    out.Line("FileVersion", "1.1");
    for (const FileItem& item : fileOrder) {
        switch (item.Group) {
            case FileGroup::Setting: out.Setting(RowOf(item.Id), record); break;
            case FileGroup::Filters:
                for (std::size_t i = 0; i < record.CardFilter.size(); ++i) {
                    out.Line("Filter_Start", i, std::to_string(record.CardFilter[i].Start));
                    out.Line("Filter_Length", i, std::to_string(record.CardFilter[i].Length));
                }
                break;
            case FileGroup::Convert:
                out.Line("ConvertCount", static_cast<std::int32_t>(rows.size()));
                for (std::size_t i = 0; i < rows.size(); ++i) out.Line("Convert", i, RowLine(rows[i], made));
                break;
            case FileGroup::AutoRead: out.Line("AutoRead", FlagWord(autoRead, FlagWords::OneZero)); break;
        }
    }
    made.Text = std::move(out.Text);
    return made;
}

bool clsSettingsFile::KeepBackup(const std::string& name) {
    const auto reader = m_files.OpenFile(name);
    if (!reader) return true;
    const auto content = reader->ReadUpTo(backupLimit + 1);
    if (!content || content->size() > backupLimit) return false;
    return m_files.ReplaceFile(name + ".bak", *content);
}
