#include "history/HistoryEnd.h"

#include <cstddef>

#include "base/clsWait.h"

namespace {
constexpr int longest = 30'000;  // ms
constexpr int silent = 1000;     // ms
}  // namespace

void HistoryEnd::Await(clsIHost& host, clsIHistory& history, bool atOnce, const std::function<bool()>& ended,
                       const std::function<void(const std::string& text)>& say) {
    const auto settled = [&history] { return history.Settled(); };
    if (settled()) return;
    clsWait wait(host, longest);
    const auto shortly = [&] { return ended() || wait.Waited() >= silent; };
    wait.SetLongestTurn(silent);
    if (!atOnce && wait.Until(settled, shortly)) return;
    if (!ended()) say("the history is locked by another program: waiting up to 30 s, Ctrl-C ends that");
    if (wait.Until(settled, ended)) return;
    const std::size_t lost = history.GiveUp();
    if (lost > 0)
        say("lost for the history, which another program keeps locked: " + std::to_string(lost) +
            (lost == 1 ? " event" : " events"));
}
