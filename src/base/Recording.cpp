#include "base/Recording.h"

#include <algorithm>
#include <map>

#include "base/TraceLine.h"
#include "base/modText.h"

namespace {

constexpr std::int64_t second = 1'000'000;  // us
constexpr std::size_t fractionDigits = 6;

std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        const auto code = static_cast<std::uint8_t>(c);
        const bool plain = code >= ' ' && code <= '~';
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += plain ? std::string(1, c) : "\\u00" + modText::Hex(code, 2);
    }
    return quoted + "\"";
}

std::string PortMembers(const std::string& port, int baud) {
    return R"("port":)" + (port.empty() ? "null" : Quoted(port)) + R"(,"baud":)" +
           (baud == 0 ? "null" : std::to_string(baud));
}

std::string Seconds(std::int64_t microseconds) {
    return std::to_string(microseconds / second) + "." +
           std::to_string(second + microseconds % second).substr(1);
}
std::string TimeMember(std::int64_t microseconds) { return R"({"t":)" + Seconds(microseconds); }

/// A JSON object without objects or lists in it. Numbers and words stay as they are written.
class clsFlatObject {
  public:
    explicit clsFlatObject(std::string_view line) : m_rest(line) { m_sound = Parse(); }

    [[nodiscard]] bool Sound() const { return m_sound; }
    [[nodiscard]] bool Has(const std::string& key) const { return m_members.count(key) != 0; }
    /// Empty when there is none.
    [[nodiscard]] std::string Text(const std::string& key) const {
        const auto at = m_members.find(key);
        return at == m_members.end() || at->second == "null" ? std::string() : at->second;
    }

  private:
    void SkipBlanks() { m_rest.remove_prefix(std::min(m_rest.find_first_not_of(" \t\r"), m_rest.size())); }
    bool Take(char c) {
        SkipBlanks();
        if (m_rest.empty() || m_rest.front() != c) return false;
        m_rest.remove_prefix(1);
        return true;
    }
    bool Parse() {
        if (!Take('{')) return false;
        if (Take('}')) return Ended();
        do {
            std::string key;
            std::string value;
            if (!Take('"') || !String(key) || !Take(':') || !Value(value)) return false;
            m_members[key] = value;
        } while (Take(','));
        return Take('}') && Ended();
    }
    bool Ended() {
        SkipBlanks();
        return m_rest.empty();
    }
    bool Value(std::string& value) {
        if (Take('"')) return String(value);
        const std::size_t length = std::min(m_rest.find_first_of(",} "), m_rest.size());
        value = m_rest.substr(0, length);
        m_rest.remove_prefix(length);
        return !value.empty() && value.find_first_of("[{\"") == std::string::npos;
    }
    bool String(std::string& text) {
        while (!m_rest.empty() && m_rest.front() != '"') {
            char c = m_rest.front();
            m_rest.remove_prefix(1);
            if (c == '\\' && !Escape(c)) return false;
            text += c;
        }
        return Take('"');
    }
    // Of characters above 255 there are none in what this program writes.
    bool Escape(char& c) {
        if (m_rest.empty()) return false;
        c = m_rest.front();
        m_rest.remove_prefix(1);
        constexpr std::size_t digits = 4;
        if (c != 'u') return true;
        if (m_rest.size() < digits) return false;
        c = static_cast<char>(modText::HexValue(m_rest.substr(0, digits)));
        m_rest.remove_prefix(digits);
        return true;
    }

    std::string_view m_rest;
    std::map<std::string, std::string> m_members;
    bool m_sound = false;
};

std::optional<std::int64_t> Microseconds(std::string text) {
    const std::size_t point = std::min(text.find('.'), text.size());
    std::string fraction = point < text.size() ? text.substr(point + 1) : std::string();
    fraction.resize(fractionDigits, '0');
    text = text.substr(0, point) + fraction;
    constexpr std::size_t longest = 17;  // what 64 bits hold for sure
    if (text.size() == fractionDigits || text.size() > longest ||
        text.find_first_not_of("0123456789") != std::string::npos)
        return std::nullopt;
    std::int64_t value = 0;
    for (const char digit : text) value = value * 10 + (digit - '0');
    return value;
}

std::optional<std::string> Bytes(const std::string& hex) {
    if (hex.empty() || hex.size() % 2 != 0 ||
        hex.find_first_not_of("0123456789ABCDEFabcdef") != std::string::npos)
        return std::nullopt;
    std::string bytes;
    for (std::size_t at = 0; at < hex.size(); at += 2)
        bytes += static_cast<char>(modText::HexValue(std::string_view(hex).substr(at, 2)));
    return bytes;
}

int Rate(const clsFlatObject& object) {
    constexpr int highest = 4'000'000;
    return modText::WholeNumber(object.Text("baud"), highest).value_or(0);
}

std::optional<RecordingEntry> ReadEntry(std::string_view line) {
    const clsFlatObject object(line);
    const auto time = Microseconds(object.Text("t"));
    if (!object.Sound() || !time) return std::nullopt;
    RecordingEntry entry;
    entry.Microseconds = *time;
    if (object.Has("lost")) {
        entry.What = RecordingEntry::Kind::Lost;
        entry.Port = object.Text("lost");
        return entry;
    }
    if (object.Text("end") == "true") {
        entry.What = RecordingEntry::Kind::End;
        return entry;
    }
    if (object.Has("port")) {
        entry.What = RecordingEntry::Kind::Port;
        entry.Port = object.Text("port");
        entry.Baud = Rate(object);
        return entry;
    }
    const auto bytes = Bytes(object.Text("hex"));
    const std::string direction = object.Text("dir");
    if (!bytes || (direction != "rx" && direction != "tx")) return std::nullopt;
    if (object.Text("adapter") == "true") entry.What = RecordingEntry::Kind::Adapter;
    entry.Received = direction == "rx";
    entry.Last = std::max(Microseconds(object.Text("last")).value_or(0), std::int64_t{0});
    if (entry.Last <= entry.Microseconds) entry.Last = 0;
    entry.Bytes = *bytes;
    return entry;
}

bool ReadHead(std::string_view line, RecordingHead& head) {
    const clsFlatObject object(line);
    if (!object.Sound() || !object.Has("program") || !object.Has("time")) return false;
    head = {object.Text("program"), object.Text("version"), object.Text("port"), Rate(object),
            object.Text("time")};
    return true;
}

}  // namespace

std::string RecordingLine(const RecordingHead& head) {
    return R"({"program":)" + Quoted(head.Program) + R"(,"version":)" + Quoted(head.Version) + "," +
           PortMembers(head.Port, head.Baud) + R"(,"time":)" + Quoted(head.Time) + "}";
}

std::string RecordingLine(const RecordingEntry& entry) {
    switch (entry.What) {
        case RecordingEntry::Kind::Frame:
        case RecordingEntry::Kind::Adapter: break;
        case RecordingEntry::Kind::Port:
            return TimeMember(entry.Microseconds) + "," + PortMembers(entry.Port, entry.Baud) + "}";
        case RecordingEntry::Kind::Lost:
            return TimeMember(entry.Microseconds) + R"(,"lost":)" + Quoted(entry.Port) + "}";
        case RecordingEntry::Kind::End: return TimeMember(entry.Microseconds) + R"(,"end":true})";
    }
    std::string line = TraceLine(entry.Microseconds, entry.Received, entry.Bytes);
    line.pop_back();
    if (entry.Last != 0) line += R"(,"last":)" + Seconds(entry.Last);
    if (entry.What == RecordingEntry::Kind::Adapter) line += R"(,"adapter":true)";
    return line + "}";
}

std::string RecordingText(const Recording& recording) {
    std::string text = RecordingLine(recording.Head) + "\n";
    for (const RecordingEntry& entry : recording.Entries) text += RecordingLine(entry) + "\n";
    if (recording.CutOff) text.pop_back();
    return text;
}

bool BeginsRecording(std::string_view text) {
    RecordingHead head;
    return ReadHead(text.substr(0, text.find('\n')), head);
}

std::optional<Recording> ReadRecording(std::string_view text, std::string& error) {
    Recording recording;
    std::size_t number = 0;
    std::int64_t latest = 0;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const bool whole = end != std::string_view::npos;
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(whole ? end + 1 : text.size());
        ++number;
        recording.CutOff = !whole;
        if (number == 1) {
            if (!ReadHead(line, recording.Head)) break;
            continue;
        }
        auto entry = ReadEntry(line);
        const bool ended = recording.Ended();
        if (entry && !ended && entry->Microseconds >= latest) {
            latest = entry->Microseconds;
            recording.Entries.push_back(std::move(*entry));
        } else if (whole) {
            error = "line " + std::to_string(number) +
                    (!entry  ? " is none of a recording"
                     : ended ? " stands behind the end"
                             : " is older than the one before it");
            return std::nullopt;
        }
    }
    if (!recording.Head.Program.empty()) return recording;
    error = "no recording: its first line does not say what wrote it";
    return std::nullopt;
}
