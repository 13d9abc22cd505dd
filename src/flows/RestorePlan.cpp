#include "flows/RestorePlan.h"

#include <algorithm>
#include <array>

#include "base/modText.h"
#include "flows/FirmwareRules.h"
#include "flows/clsSettingsFile.h"
#include "settings/modByte.h"

namespace {

constexpr std::size_t shortId = 8;
constexpr int lineLength = 16;  // registers; no run goes over the end of a line of the memory
constexpr std::array<std::uint8_t, 2> testPatterns{0x00, 0xFF};

std::size_t At(int number) { return static_cast<std::size_t>(number); }

std::array<bool, registerCount> RegistersOf(const std::vector<SettingItem>& items) {
    std::array<bool, registerCount> all{};
    for (const SettingItem& item : items) {
        for (const auto& [first, count] : item.Runs()) std::fill_n(all.begin() + first, count, true);
    }
    return all;
}

std::string Byte(std::uint8_t value) { return std::string(1, static_cast<char>(value)); }

}  // namespace

std::string RegisterChange::Registers() const {
    return RegisterRange(First, static_cast<int>(Wanted.size()));
}

std::string RegisterChange::Name() const {
    return (Wanted.size() == 1 ? "Register " : "Registers ") + Registers();
}

std::string RegisterChange::Value(const std::string& bytes) { return modByte::StringToHexString(bytes, " "); }

bool RestorePlan::InScope(int number) const { return Whole || ZarnRegisterMap::mapped[At(number)]; }

std::vector<int> RestorePlan::ToWrite() const {
    std::vector<int> registers;
    for (int number = 0; Raw && number < registerCount; ++number) {
        const bool same = Held && (*Held)[At(number)] == WantedImage[At(number)];
        if (InScope(number) && !same) registers.push_back(number);
    }
    std::vector<SettingItem> line;
    for (std::size_t place = 0; place < itemCount; ++place)
        if (TakesEffectAtNextStart(SettingItem(place))) line.emplace_back(place);
    const auto last = RegistersOf(line);
    std::stable_partition(registers.begin(), registers.end(), [&](int number) { return !last[At(number)]; });
    return registers;
}

std::vector<SettingChange> RestorePlan::Settings() const {
    return Changes(Before, Wanted, After ? &*After : nullptr);
}

// A byte that was not kept counts by itself where its setting reads as it should.
std::vector<RegisterChange> RestorePlan::Registers() const {
    if (!Raw) return {};
    std::vector<SettingItem> told;
    std::vector<SettingItem> lost;
    for (const SettingChange& change : Settings())
        (change.Kept == false ? lost : told).push_back(change.Item);
    const auto inTold = RegistersOf(told);
    const auto inLost = RegistersOf(lost);
    std::vector<RegisterChange> changes;
    for (int number = 0; number < registerCount; ++number) {
        const std::uint8_t wanted = WantedImage[At(number)];
        const bool kept = !Found || (*Found)[At(number)] == wanted;
        const bool same = (!Held || (*Held)[At(number)] == wanted) && kept;
        if (!InScope(number) || same || inLost[At(number)] || (inTold[At(number)] && kept)) continue;
        RegisterChange next{number, Held ? Byte((*Held)[At(number)]) : "", Byte(wanted), "", std::nullopt};
        if (Found) {
            next.After = Byte((*Found)[At(number)]);
            next.Kept = kept;
        }
        RegisterChange* const last = changes.empty() ? nullptr : &changes.back();
        if (number % lineLength != 0 && last != nullptr &&
            last->First + static_cast<int>(last->Wanted.size()) == number && last->Kept == next.Kept) {
            last->Before += next.Before;
            last->Wanted += next.Wanted;
            last->After += next.After;
        } else {
            changes.push_back(std::move(next));
        }
    }
    return changes;
}

std::vector<std::string> RestorePlan::NotKept() const {
    std::vector<std::string> lines;
    const auto add = [&](const std::string& name, const std::string& wanted, const std::string& after) {
        lines.push_back(name + " was not kept: written " + wanted + ", there is " + after);
    };
    for (const SettingChange& change : Settings())
        if (change.Kept == false) add(change.Item.Name(), change.Wanted, change.After);
    for (const RegisterChange& change : Registers())
        if (change.Kept == false)
            add(change.Name(), RegisterChange::Value(change.Wanted), RegisterChange::Value(change.After));
    return lines;
}

std::string RestorePlan::NotWritten() const {
    std::string names;
    for (const int number : Failed) names += (names.empty() ? "" : ", ") + std::to_string(number);
    std::string text;
    if (!names.empty()) text = (Failed.size() == 1 ? "register " : "registers ") + names + " not written";
    if (NotReached > 0)
        text += (text.empty() ? "" : "; ") + std::to_string(NotReached) + " of " +
                std::to_string(ToWrite().size()) + " registers not tried";
    return text;
}

std::string RestorePlan::Refusal(const HistoryEvent& event, bool before) {
    const HistorySide& side = before ? event.Before : event.After;
    const bool image = side.Image.size() == registerCount;
    if (image || !side.Settings.empty()) return {};
    return "event " + event.Id.substr(0, shortId) + " holds nothing to restore from " +
           (before ? "before" : "behind") + " it";
}

bool RestorePlan::Lay(const HistoryEvent& event, bool before, bool tested) {
    const HistorySide& side = before ? event.Before : event.After;
    Raw = side.Image.size() == registerCount;
    if (Raw) {
        std::transform(side.Image.begin(), side.Image.end(), WantedImage.begin(),
                       [](char c) { return static_cast<std::uint8_t>(c); });
        Whole = tested && LooksTested(Part::WithoutSetting);
        for (int number = 0; Held && number < registerCount; ++number)
            LeftAlone += !InScope(number) && (*Held)[At(number)] != WantedImage[At(number)] ? 1 : 0;
    } else {
        Wanted = Before;
        clsSettingsParser parser(Wanted);
        parser.Feed(side.Settings);
        parser.End();
        if (!parser.Content().KnownKey) return false;
    }
    return true;
}

// The test leaves its patterns, or what it did not come to: anything else there is another reader's own.
bool RestorePlan::LooksTested(Part part) const {
    for (int number = 0; Held && number < registerCount; ++number) {
        const std::uint8_t held = (*Held)[At(number)];
        const bool pattern = std::find(testPatterns.begin(), testPatterns.end(), held) != testPatterns.end();
        const bool counts = part == Part::All || !ZarnRegisterMap::mapped[At(number)];
        if (counts && !pattern && held != WantedImage[At(number)]) return false;
    }
    return Held.has_value();
}

void RestorePlan::Ask(const HistoryEvent& event, bool before) {
    const std::string product = modText::ToUtf8(Before.ProductName);
    if (!event.Product.empty() && event.Product != product)
        Questions.push_back("it was read from a " + event.Product + ", and this is a " + product);
    if (event.Action == HistoryAction::Test && !before)
        Questions.emplace_back("a memory test left this behind: there are no settings in it");
    else if (event.Product.empty())
        Questions.push_back("the event does not tell what it was read from; this is a " + product);
    const FirmwareRules firmware = FirmwareRules::For(Before.Version, Before.FirmwareSN);
    for (const SettingChange& change : Settings()) {
        const std::string_view lacks = firmware.Lacks(change.Item, Wanted);
        if (!lacks.empty()) Questions.push_back(change.Item.Name() + ": " + std::string(lacks));
    }
    for (int i = 0; !Raw && i < convertCount; ++i) {
        if (Wanted.Convert.at(At(i)).CardType == cardTypeOther)
            Lost.push_back(SettingItem::Entry(i).Name() + ": the card ID of an unchecked row");
    }
}

bool TestedSince(clsIHistory& history, const HistoryEvent& event, bool before, const ReaderPlace& now) {
    const ReaderPlace then{event.Port, event.AdapterSerial};
    // What a test found itself is of the reader that it has overwritten, wherever that is plugged in by now.
    const bool own = before && event.Action == HistoryAction::Test;
    if (event.Host != history.Machine() || (!own && then != now)) return false;
    // -1 where there is none, nothing where the history cannot be asked.
    const auto newest = [&](HistoryAction action, std::optional<HistoryOutcome> outcome,
                            const ReaderPlace& other) -> std::optional<std::int64_t> {
        HistoryFilter filter;
        filter.Since = event.Begun;
        filter.Action = action;
        filter.Outcome = outcome;
        const auto answer = history.List(filter);
        if (answer.Result != clsIHistory::Events::State::Done) return std::nullopt;
        for (const HistoryEvent& found : answer.Value) {
            const bool behind = found.Id != event.Id || before;  // behind a test stands what it left itself
            const ReaderPlace place{found.Port, found.AdapterSerial};
            const bool there = found.Host == event.Host && (place == then || place == other);
            // Kept as begun, before the first byte, and then as ended.
            const bool wrote = action != HistoryAction::Test || found.Revision > 1 ||
                               found.Outcome == HistoryOutcome::Begun ||
                               found.Outcome == HistoryOutcome::Interrupted;
            if (behind && there && wrote) return found.Begun;
        }
        return -1;
    };
    const auto test = newest(HistoryAction::Test, std::nullopt, then);
    const auto restore = newest(HistoryAction::Restore, HistoryOutcome::Done, now);
    return test && restore && *test >= 0 && *test > *restore;
}
