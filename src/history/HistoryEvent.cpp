#include "history/HistoryEvent.h"

#include <array>
#include <cstddef>

namespace {

constexpr std::array<const char*, 8> actionWords{"read", "write",   "set",   "default",
                                                 "test", "restore", "check", "station"};
constexpr std::array<const char*, 8> outcomeWords{"begun",  "done",      "differs",     "not proven",
                                                  "failed", "cancelled", "interrupted", "begun there"};
static_assert(actionWords.size() == static_cast<std::size_t>(lastAction) + 1);
static_assert(outcomeWords.size() == static_cast<std::size_t>(lastOutcome) + 1);

template <class Kind, class Words>
std::optional<Kind> Find(const Words& words, std::string_view typed) {
    std::string word(typed);
    for (char& c : word) c = c == '-' ? ' ' : c;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (word == words[i]) return static_cast<Kind>(i);
    }
    return std::nullopt;
}

}  // namespace

const char* WordOf(HistoryAction action) { return actionWords.at(static_cast<std::size_t>(action)); }
const char* WordOf(HistoryOutcome outcome) { return outcomeWords.at(static_cast<std::size_t>(outcome)); }
std::optional<HistoryAction> ActionOf(std::string_view word) {
    return Find<HistoryAction>(actionWords, word);
}
std::optional<HistoryOutcome> OutcomeOf(std::string_view word) {
    return Find<HistoryOutcome>(outcomeWords, word);
}

std::string CutLabel(std::string label) {
    std::size_t characters = 0;
    for (std::size_t at = 0; at < label.size(); ++at) {
        const bool begins = (label[at] & 0xC0) != 0x80;
        if (begins && ++characters > labelLimit) label.resize(at);
    }
    return label;
}
