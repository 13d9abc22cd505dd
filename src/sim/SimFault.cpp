#include "sim/SimFault.h"

#include <algorithm>
#include <array>

#include "base/modText.h"

namespace {

struct FaultRow {
    SimFault Fault;
    std::string_view Name;
    std::string_view Help;
    std::string_view Commands;   // letters it can meet; empty is all
    std::string_view ValueName;  // empty: the fault takes no value
    int DefaultValue;
    int MaxValue;
};

constexpr std::array<FaultRow, 11> faultRows{{
    {SimFault::NoAnswer, "no-answer", "the frame is heard and not answered", "", "", 0, 0},
    {SimFault::RefuseBusy, "refuse-busy", "answers N07", "", "", 0, 0},
    {SimFault::RefuseCode, "refuse-code", "answers N and another code", "", "code", 5, 255},
    {SimFault::WrongChecksum, "wrong-checksum", "wrong checksum digits in the reply to a read", "B", "", 0,
     0},
    {SimFault::TruncatedReply, "truncated-reply", "the reply stops before its end", "", "", 0, 0},
    {SimFault::TrickledReply, "trickled-reply", "the reply's bytes come one by one", "", "ms", 50, 60000},
    {SimFault::GarbageBeforeStx, "garbage-before-stx", "stray bytes before the reply", "", "", 0, 0},
    {SimFault::LateReply, "late-reply", "the reply comes late", "", "ms", 700, 600000},
    {SimFault::ShortDump, "short-dump", "the memory image stops early", "Y", "bytes", 256, 511},
    {SimFault::DifferentDumps, "different-dumps", "a register differs in every other dump", "Y", "register",
     0, 511},
    {SimFault::DroppedWrite, "dropped-write", "a write is accepted and changes nothing", "C", "", 0, 0},
}};

const FaultRow& Row(SimFault fault) { return faultRows.at(static_cast<std::size_t>(fault)); }
constexpr bool RowsStandInOrder() {
    for (std::size_t i = 0; i < faultRows.size(); ++i) {
        if (static_cast<std::size_t>(faultRows[i].Fault) != i) return false;
    }
    return true;
}
static_assert(RowsStandInOrder());

std::string Lower(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
}

std::vector<std::string> Words(std::string_view text) {
    std::vector<std::string> words;
    bool inWord = false;
    for (const char c : text) {
        const bool separator = c == ' ' || c == '\t' || c == ',';
        if (!separator && !inWord) words.emplace_back();
        if (!separator) words.back() += c;
        inWord = !separator;
    }
    return words;
}

constexpr int mostFrames = 1'000'000'000;

std::string AllNames() {
    std::string names;
    for (const FaultRow& row : faultRows) names += (names.empty() ? "" : ", ") + std::string(row.Name);
    return names;
}

// One word behind the fault's name; what is wrong with it, or nothing.
std::string ReadWord(const std::string& word, const FaultRow& row, SimFaultRule& rule) {
    if (word == "once" || word == "always") {
        rule.Count = word == "once" ? 1 : -1;
        return {};
    }
    const std::size_t equals = word.find('=');
    const std::string key = word.substr(0, equals);
    const std::string text = equals == std::string::npos ? "" : word.substr(equals + 1);
    if (key == "command") {
        const std::string letter = modText::UCase(text);
        if (letter.size() != 1 || letter[0] < 'A' || letter[0] > 'Z') {
            return "command must be one letter, not \"" + text + "\"";
        }
        rule.Command = letter[0];
        if (SimFaultMeets(row.Fault, rule.Command)) return {};
        return std::string(row.Name) + " meets the command " + std::string(row.Commands) + " alone";
    }
    struct NumberKey {
        std::string_view Key;
        int* Target;
        int Highest;
    };
    const std::array<NumberKey, 4> keys{{{"register", &rule.Register, 511},
                                         {"skip", &rule.Skip, mostFrames},
                                         {"count", &rule.Count, mostFrames},
                                         {"value", &rule.Value, row.MaxValue}}};
    const auto at =
        std::find_if(keys.begin(), keys.end(), [&](const auto& entry) { return entry.Key == key; });
    if (at == keys.end()) {
        return "unknown word \"" + word +
               "\"; known are once, always, command=, register=, skip=, count=, value=";
    }
    if (key == "value" && row.ValueName.empty()) return std::string(row.Name) + " takes no value";
    const std::optional<int> number = modText::WholeNumber(text, at->Highest);
    if (!number) {
        const std::string unit = key == "value" ? " (" + std::string(row.ValueName) + ")" : "";
        return key + unit + " must be a number from 0 to " + std::to_string(at->Highest) + ", not \"" + text +
               "\"";
    }
    *at->Target = *number;
    return {};
}

}  // namespace

std::string_view SimFaultName(SimFault fault) { return Row(fault).Name; }
std::string SimFaultHelp(SimFault fault) {
    const FaultRow& row = Row(fault);
    std::string text(row.Help);
    if (row.ValueName.empty()) return text;
    return text + "; value: " + std::string(row.ValueName) + ", " + std::to_string(row.DefaultValue) +
           " if not given";
}

const std::vector<SimFault>& AllSimFaults() {
    static const std::vector<SimFault> all = [] {
        std::vector<SimFault> faults;
        faults.reserve(faultRows.size());
        for (const FaultRow& row : faultRows) faults.push_back(row.Fault);
        return faults;
    }();
    return all;
}

bool SimFaultMeets(SimFault fault, char command) {
    const std::string_view commands = Row(fault).Commands;
    return commands.empty() || commands.find(command) != std::string_view::npos;
}

std::optional<SimFaultRule> ParseSimFault(std::string_view text, std::string& error) {
    const std::vector<std::string> words = Words(Lower(text));
    if (words.empty()) {
        error = "a fault's name is missing; known are " + AllNames();
        return {};
    }
    const auto row = std::find_if(faultRows.begin(), faultRows.end(),
                                  [&](const FaultRow& candidate) { return candidate.Name == words.front(); });
    if (row == faultRows.end()) {
        error = "unknown fault \"" + words.front() + "\"; known are " + AllNames();
        return {};
    }
    SimFaultRule rule;
    rule.Fault = row->Fault;
    rule.Value = row->DefaultValue;
    for (std::size_t i = 1; i < words.size(); ++i) {
        error = ReadWord(words[i], *row, rule);
        if (!error.empty()) return {};
    }
    if (rule.Register >= 0 &&
        (rule.Command == 0 ? row->Commands == "Y" : rule.Command != 'B' && rule.Command != 'C')) {
        error = "register= is for reads (B) and writes (C) alone";
        return {};
    }
    return rule;
}

std::string SimFaultText(const SimFaultRule& rule) {
    const FaultRow& row = Row(rule.Fault);
    std::string text(row.Name);
    if (rule.Command != 0) text += std::string(" command=") + rule.Command;
    if (rule.Register >= 0) text += " register=" + std::to_string(rule.Register);
    if (rule.Skip != 0) text += " skip=" + std::to_string(rule.Skip);
    text += rule.Count < 0 ? " always" : " count=" + std::to_string(rule.Count);
    if (!row.ValueName.empty()) text += " value=" + std::to_string(rule.Value);
    return text;
}
