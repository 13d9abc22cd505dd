#include "cli/clsCliHistory.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "base/ControlNames.h"
#include "base/clsWait.h"
#include "base/modText.h"
#include "cli/AskPatiently.h"
#include "cli/CliJson.h"
#include "cli/CliTime.h"
#include "cli/EventText.h"
#include "flows/FileDifferences.h"
#include "flows/clsSettingsFile.h"
#include "settings/ZarnRegisterMap.h"
#include "settings/modByte.h"

namespace {

using ControlNames::VisibleUtf8;
using EventText::ShortId;
using Json = nlohmann::ordered_json;

// Names that no file of the system has.
constexpr const char* firstText = "\n1";
constexpr const char* secondText = "\n2";

std::string CountText(int count) { return std::to_string(count) + (count == 1 ? " event" : " events"); }

std::string LineOf(const char* name, const std::string& value) {
    return value.empty() ? std::string() : VisibleUtf8(name + std::string(": ") + value) + "\n";
}

std::string SideText(const HistorySide& side) {
    if (side.Empty()) return "not read";
    return std::string(side.Settings.empty() ? "" : "settings") +
           (side.Settings.empty() || side.Image.empty() ? "" : ", ") + (side.Image.empty() ? "" : "image");
}

Json SideJson(const HistorySide& side) {
    return {{"settings", side.Settings.empty() ? Json() : CliJson::Text(side.Settings)},
            {"image", side.Image.empty() ? Json() : Json(modByte::StringToHexString(side.Image, ""))}};
}

// How the reader was left, or what was last known of it.
const std::string& LastSettings(const HistoryEvent& event) {
    return event.After.Settings.empty() ? event.Before.Settings : event.After.Settings;
}

}  // namespace

clsCliHistory::clsCliHistory(const CliOptions& options, clsICliPlatform& platform, clsCliLog& log)
    : m_options(options),
      m_platform(platform),
      m_log(log),
      m_files(platform.Files()),
      m_history(platform.History(options.HistoryFile)) {
    if (m_history != nullptr) m_history->ShowNotice = [&log](const std::string& text) { log.Say(text); };
}

clsCliHistory::~clsCliHistory() {
    if (m_history != nullptr) m_history->ShowNotice = {};
}

// What is still locked then failed.
template <class Ask>
auto clsCliHistory::Patiently(Ask ask) -> decltype(ask()) {
    return AskPatiently::Ask(m_platform.Host(), m_log, ask);
}

// The history was there to be asked; said when not.
bool clsCliHistory::There() {
    if (m_history == nullptr) m_log.Say("a simulated reader has no history unless --history names a file");
    return m_history != nullptr;
}

std::optional<HistoryEvent> clsCliHistory::Event() { return There() ? Find(m_options.Id) : std::nullopt; }

CliResult clsCliHistory::Execute() {
    if (!There()) return {};
    if (m_options.Verb == HistoryVerb::List) return List();
    if (m_options.Verb == HistoryVerb::Prune) return Prune();
    if (m_options.Verb == HistoryVerb::Export) return Export();
    if (m_options.Verb == HistoryVerb::Import) return Import();
    const auto event = Find(m_options.Id);
    if (!event) return {};
    switch (m_options.Verb) {
        case HistoryVerb::Show: return Show(*event);
        case HistoryVerb::Settings: return Settings(*event);
        case HistoryVerb::Image: return Image(*event);
        case HistoryVerb::Diff: return Diff(*event);
        case HistoryVerb::Label: return Label(*event);
        case HistoryVerb::List:
        case HistoryVerb::Prune:
        case HistoryVerb::Export:
        case HistoryVerb::Import: break;
    }
    return {};
}

std::optional<HistoryEvent> clsCliHistory::Find(const std::string& idBegins) {
    const auto found = Patiently([&] { return m_history->Find(idBegins); });
    if (found.Result != clsIHistory::Events::State::Done) return std::nullopt;
    if (found.Value.size() == 1) return found.Value.front();
    std::string text = idBegins + (found.Value.empty() ? ": there is no such event" : " may be any of");
    for (const HistoryEvent& event : found.Value) text += " " + event.Id;
    m_log.Say(text);
    return std::nullopt;
}

CliResult clsCliHistory::List() {
    CliResult result{ExitDone, {}, {}};
    HistoryFilter filter = m_options.Filter;
    filter.Brief = !m_options.Csv && !m_options.Json;
    clsEventTable table;
    Json events;
    const auto add = [&](const HistoryEvent& event) {
        if (m_options.Csv) {
            result.Text += EventText::CsvLine(event);
        } else if (m_options.Json) {
            events.push_back(EventText::Summary(event));
        } else {
            table.Add(event);
        }
    };
    const auto done = Patiently([&] {
        result.Text = m_options.Csv ? EventText::CsvHead() : std::string();
        events = Json::array();
        table = {};
        return m_history->Each(filter, add);
    });
    if (done.Result != clsIHistory::Count::State::Done) return {};
    if (m_options.Json) result.Json["events"] = std::move(events);
    if (filter.Brief) result.Text = table.Text();
    return result;
}

CliResult clsCliHistory::Show(const HistoryEvent& event) const {
    CliResult result{ExitDone, {}, {{"event", EventText::Summary(event)}}};
    Json& json = result.Json["event"];
    json["before"] = SideJson(event.Before);
    json["after"] = SideJson(event.After);
    json["changes"] = CliJson::Changes(event.Changes);
    json["lines"] = modText::Split(event.Lines, '\n');
    const std::string program =
        event.Program + " " + event.Version + " of " + event.User + " on " + event.Host;
    std::string port = event.Port + (event.Baud == 0 ? "" : ", " + std::to_string(event.Baud) + " baud");
    if (!event.Adapter.empty()) port += " with " + event.Adapter + " " + event.AdapterSerial;
    result.Text = LineOf("Event", event.Id) + LineOf("Begun", CliTime::Local(event.Begun)) +
                  LineOf("Ended", event.Ended == 0 ? "" : CliTime::Local(event.Ended)) +
                  LineOf("Action", WordOf(event.Action)) + LineOf("Outcome", WordOf(event.Outcome)) +
                  LineOf("Reason", event.Reason) + LineOf("Label", event.Label) + LineOf("Port", port) +
                  LineOf("Product Name", event.Product) + LineOf("Firmware Version", event.Firmware) +
                  LineOf("Firmware Serial Number", event.FirmwareSerial) + LineOf("File", event.Profile) +
                  LineOf("SHA-256 of the file", event.ProfileDigest) + LineOf("By", program) +
                  LineOf("Before", SideText(event.Before)) + LineOf("After", SideText(event.After));
    for (const HistoryChange& change : event.Changes) {
        std::string text = change.Before + " -> " + change.Wanted;
        if (change.Kept == false) text += ", there was " + change.After;
        result.Text += LineOf((change.Setting + " (" + change.Registers + ")").c_str(), text);
    }
    for (const std::string& line : modText::Split(event.Lines, '\n')) result.Text += VisibleUtf8(line) + "\n";
    return result;
}

// Where what there was before the event stands in for what it left.
void clsCliHistory::SaySide(const HistoryEvent& event) {
    if (event.After.Settings.empty() && !event.Before.Settings.empty())
        m_log.Say("what event " + ShortId(event) +
                  " left was not read: what there was before it is compared");
}

// When the part was not read.
bool clsCliHistory::Refused(const std::string& part, const HistoryEvent& event, const char* what) {
    if (!part.empty()) return false;
    m_log.Say("event " + ShortId(event) + " holds no " + what +
              (m_options.BeforeSide ? " from before it" : " from behind it"));
    return true;
}

// To the file, or else to standard output.
bool clsCliHistory::Save(CliResult& result, const std::string& content) {
    if (m_options.File.empty() || m_options.File == clsCliFiles::standard) {
        result.Text = content;
    } else if (!m_files.ReplaceFile(m_options.File, content)) {
        m_log.Say(modText::FromUtf8(m_options.File + ": " + m_files.LastError()));
        return false;
    }
    result.Exit = ExitDone;
    return true;
}

CliResult clsCliHistory::Settings(const HistoryEvent& event) {
    CliResult result;
    const std::string& text = (m_options.BeforeSide ? event.Before : event.After).Settings;
    if (Refused(text, event, "settings") || !Save(result, text)) return result;
    ZarnInfo record;
    clsSettingsParser parser(record);
    parser.Feed(text);
    parser.End();
    result.Json = CliJson::Settings(record);
    return result;
}

CliResult clsCliHistory::Image(const HistoryEvent& event) {
    CliResult result;
    const std::string& image = (m_options.BeforeSide ? event.Before : event.After).Image;
    if (Refused(image, event, "image") || !Save(result, image)) return result;
    const std::vector<std::uint8_t> registers(image.begin(), image.end());
    result.Json = {{"registers", registers}};
    return result;
}

CliResult clsCliHistory::Diff(const HistoryEvent& event) {
    std::string first = LastSettings(event);
    std::string second = event.After.Settings;
    clsSettingsFile settings(m_files);
    const bool file = !m_options.Other.empty() && m_platform.Files().OpenFile(m_options.Other) != nullptr;
    if (file) {
        ZarnInfo looked;
        const auto content = settings.OpenInfoFile(m_options.Other, looked);
        if (!content || !content->KnownKey) {
            m_log.Say(modText::FromUtf8(m_options.Other) + ": no settings found in this file");
            return {};
        }
    } else if (!m_options.Other.empty()) {
        const auto other = Find(m_options.Other);
        if (!other) return {};
        second = LastSettings(*other);
        if (Refused(second, *other, "settings")) return {};
        SaySide(*other);
    } else {
        first = event.Before.Settings;
    }
    if (Refused(first, event, "settings") || (!file && Refused(second, event, "settings"))) return {};
    if (!m_options.Other.empty()) SaySide(event);
    m_files.SetText(firstText, first);
    m_files.SetText(secondText, second);
    std::vector<SettingChange> changes;
    for (SettingDifference& found :
         FileDifferences(settings, firstText, file ? m_options.Other : std::string(secondText)))
        changes.push_back({found.Item, std::move(found.A), std::move(found.B), {}, {}});
    CliResult result{changes.empty() ? ExitDone : ExitDiffers, ChangeText(changes), {}};
    result.Json = {{"changes", CliJson::Changes(changes)}};
    return result;
}

CliResult clsCliHistory::Label(const HistoryEvent& event) {
    const auto count = Patiently([&] { return m_history->SetLabel(event.Id, m_options.Label); });
    CliResult result{count.Value == 1 ? ExitDone : ExitFailed, {}, {{"changed", count.Value}}};
    return result;
}

CliResult clsCliHistory::Prune() {
    const auto count = Patiently([&] { return m_history->Prune(m_options.PruneTime); });
    if (count.Result != clsIHistory::Count::State::Done) return {};
    return {ExitDone, CountText(count.Value) + " deleted\n", {{"changed", count.Value}}};
}

CliResult clsCliHistory::Export() {
    const auto content = Patiently([&] { return m_history->Export({}); });
    CliResult result;
    if (content.Result != HistoryAnswer<std::string>::State::Done) return result;
    if (content.Value.empty()) {
        m_log.Say("the history is empty: nothing was exported");
        return result;
    }
    if (!Save(result, content.Value)) return result;
    constexpr int otherLines = 2;  // the first and the last
    const auto lines = std::count(content.Value.begin(), content.Value.end(), '\n');
    const int count = static_cast<int>(lines) - otherLines;
    if (result.Text.empty()) result.Text = CountText(count) + " exported\n";
    result.Json = {{"changed", count}};
    return result;
}

CliResult clsCliHistory::Import() {
    const auto content = m_files.WholeFile(m_options.File);
    if (!content) {
        m_log.Say(modText::FromUtf8(m_options.File + ": " + m_files.LastError()));
        return {};
    }
    HistoryImport in;
    while (!in.Whole && in.Refused.empty()) {
        const auto part = Patiently([&] { return m_history->Import(*content, in); });
        if (part.Result != HistoryAnswer<HistoryImport>::State::Done) {
            if (in.New + in.Newer > 0)
                m_log.Say(CountText(in.New + in.Newer) + " imported before that: import the file again");
            return {};
        }
        in = part.Value;
        if (in.New + in.Newer > 0)
            clsWait(m_platform.Host(), HistoryImport::pause).Until([] { return false; });
    }
    if (!in.Refused.empty()) {
        m_log.Say(modText::FromUtf8(m_options.File + ": " + in.Refused) + "; nothing was imported");
        return {};
    }
    CliResult result{ExitDone, {}, {}};
    result.Text = CountText(in.New + in.Newer + in.There) + ": " + std::to_string(in.New) + " new, " +
                  std::to_string(in.Newer) + " newer, " + std::to_string(in.There) + " already there\n";
    if (in.Back > 0) result.Text += CountText(in.Back) + " deleted here before brought back\n";
    if (in.Old > 0)
        result.Text += CountText(in.Old) + " too old to stay: deleted when something new is kept\n";
    result.Json["import"] = {{"new", in.New},
                             {"newer", in.Newer},
                             {"there", in.There},
                             {"broughtBack", in.Back},
                             {"tooOld", in.Old}};
    return result;
}
