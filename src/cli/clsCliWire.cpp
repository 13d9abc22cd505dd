#include "cli/clsCliWire.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <random>

#include "base/ControlNames.h"
#include "base/modText.h"
#include "cli/CliJson.h"
#include "wire/RecordingMask.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t largest = 256U << 20U;  // bytes of a recording
constexpr std::size_t piece = 1U << 20U;
constexpr std::size_t portion = 1U << 16U;  // bytes that are printed at once
constexpr std::size_t textColumn = 30;      // characters; what is longer stands there all the same, up to
constexpr std::size_t textLongest = 60;     // so many

// As wide as it shows, or cut to what may be.
std::string Column(std::string utf8) {
    const auto continues = [](char c) { return (c & 0xC0) == 0x80; };
    std::size_t width = 0;
    for (std::size_t at = 0; at < utf8.size(); ++at) {
        if (!continues(utf8[at]) && ++width > textLongest) {
            utf8.resize(at);
            return utf8 + "...";
        }
    }
    return utf8 + std::string(width < textColumn ? textColumn - width : 0, ' ');
}

std::string Seconds(std::int64_t microseconds) {
    constexpr std::int64_t usPerMs = 1000;
    constexpr std::size_t width = 11;
    const std::int64_t ms = microseconds / usPerMs;
    const std::string text =
        std::to_string(ms / usPerMs) + "." + std::to_string(usPerMs + ms % usPerMs).substr(1);
    return std::string(text.size() < width ? width - text.size() : 0, ' ') + text;
}

std::string PortText(const std::string& port, int baud) {
    std::string text = port.empty() ? "no port" : modText::ToUtf8(ControlNames::Visible(port));
    if (baud != 0) text += " at " + std::to_string(baud) + " baud";
    return text;
}

Json PortJson(const std::string& port, int baud) {
    return {{"port", port.empty() ? Json() : CliJson::Text(port)}, {"baud", baud == 0 ? Json() : Json(baud)}};
}

}  // namespace

clsCliWire::clsCliWire(const CliOptions& options, clsICliPlatform& platform, clsITextOutput& out,
                       clsCliLog& log)
    : m_options(options), m_platform(platform), m_out(out), m_log(log), m_files(platform.Files()) {}

bool clsCliWire::TakeInput() {
    std::string error;
    const auto input = m_platform.ReadInput(largest, error);
    if (input) m_files.SetInput(*input);
    if (!error.empty()) m_log.Say("standard input: " + modText::FromUtf8(error));
    return input.has_value();
}

std::optional<Recording> clsCliWire::Load() {
    const std::string& name = m_options.File;
    const auto complain = [&](const std::string& why) {
        m_log.Say(modText::FromUtf8(name) + ": " + modText::FromUtf8(why));
        return std::nullopt;
    };
    if (name == clsCliFiles::standard && !TakeInput()) return std::nullopt;
    const auto file = m_files.OpenFile(name);
    if (file == nullptr) return complain(m_files.LastError());
    std::string text;
    while (true) {
        const auto more = file->ReadUpTo(piece);
        if (!more) return complain(m_files.LastError());
        if (more->empty()) break;
        text += *more;
        if (text.size() > largest) return complain("there is no end to it");
    }
    std::string error;
    auto recording = ReadRecording(text, error);
    if (!recording) return complain(error);
    if (recording->CutOff) complain("it breaks off; its last line has no end");
    return recording;
}

CliResult clsCliWire::Execute() {
    const auto recording = Load();
    if (!recording) return {};
    return m_options.Command == CliCommand::Explain ? ExplainAll(*recording) : Mask(*recording);
}

WireMeaning clsCliWire::MeaningOf(const std::vector<RecordedRow>& rows, std::size_t number) {
    const WireRow& row = rows[number].Row;
    const bool paired = row.Partner != clsPairing::none;
    const std::size_t asked = row.Start.Received && paired ? row.Partner : number;
    WireMeaning meaning =
        Explain(row, paired ? &rows.at(row.Partner).Row : nullptr, rows.at(asked).TimedOutAt);
    if (rows[number].Open) meaning.Text += ": no answer is recorded";
    return meaning;
}

// What is printed goes out as it comes: a recording may be larger than what there is room for twice.
CliResult clsCliWire::ExplainAll(const Recording& recording) {
    const RecordingHead& head = recording.Head;
    const std::vector<RecordedRow> rows = RowsOf(recording);
    CliResult result{ExitDone, {}, {}};
    if (m_options.Json) {
        result.Json = Explained(recording, rows);
        return result;
    }
    std::string& text = result.Text;
    text = modText::ToUtf8(ControlNames::Visible(head.Program + " " + head.Version + ", ")) +
           PortText(head.Port, head.Baud) + ", " + modText::ToUtf8(ControlNames::Visible(head.Time)) + "\n";
    for (std::size_t i = 0; i < rows.size(); ++i) {
        text += Line(recording.Entries[i], rows, i) + "\n";
        if (text.size() < portion) continue;
        m_out.Write(text);
        text.clear();
        if (m_out.CurrentState() != clsITextOutput::State::Open) return result;
    }
    if (!recording.Ended()) text += "nothing more is recorded; the end of the recording is not told\n";
    return result;
}

std::string clsCliWire::Line(const RecordingEntry& entry, const std::vector<RecordedRow>& rows,
                             std::size_t number) {
    const std::string time = Seconds(entry.Microseconds);
    if (entry.What == RecordingEntry::Kind::Port) return time + "     on " + PortText(entry.Port, entry.Baud);
    if (entry.What == RecordingEntry::Kind::End) return time + "     the recording ends";
    const WireRow& row = rows[number].Row;
    const WireMeaning meaning = MeaningOf(rows, number);
    const char* direction = row.Lost ? "  " : entry.Received ? "rx" : "tx";
    return time + " " + direction + (meaning.Fault ? " ! " : "   ") + Column(VisibleText(row)) + " " +
           meaning.Text;
}

Json clsCliWire::Explained(const Recording& recording, const std::vector<RecordedRow>& rows) {
    const RecordingHead& head = recording.Head;
    Json json{{"program", CliJson::Text(head.Program)}, {"version", CliJson::Text(head.Version)}};
    json.update(PortJson(head.Port, head.Baud));
    json["time"] = CliJson::Text(head.Time);
    json["ended"] = recording.Ended();
    Json& frames = json["frames"] = Json::array();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const WireRow& row = rows[i].Row;
        if (row.Bytes.empty()) continue;
        const WireMeaning meaning = MeaningOf(rows, i);
        Json frame = Json::parse(RecordingLine(recording.Entries[i]));
        frame["adapter"] = row.Start.Adapter;
        frame["meaning"] = meaning.Text;
        frame["fault"] = meaning.Fault;
        frames.push_back(std::move(frame));
    }
    return json;
}

CliResult clsCliWire::Mask(const Recording& recording) {
    // The processor's own source takes 40 us a number on some machines; a mask wants 70,000 of them.
    std::random_device device("/dev/urandom");
    const Draw draw = [&device](std::uint32_t bound) {
        return std::uniform_int_distribution<std::uint32_t>(0, bound - 1)(device);
    };
    const std::string text = RecordingText(Masked(recording, draw));
    CliResult result{ExitDone, {}, {{"lines", recording.Entries.size() + 1}, {"recording", Json()}}};
    if (m_options.Output.empty() || m_options.Output == clsCliFiles::standard) {
        result.Text = text;
        result.Json["recording"] = text;
        return result;
    }
    if (m_files.ReplaceFile(m_options.Output, text)) return result;
    m_log.Say(modText::FromUtf8(m_options.Output) + ": " + modText::FromUtf8(m_files.LastError()));
    result.Exit = ExitFailed;
    return result;
}
