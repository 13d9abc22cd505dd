// The commands that put back what the history holds, or that leave something to be put back.

#include <algorithm>

#include "base/clsWait.h"
#include "base/modText.h"
#include "cli/AskPatiently.h"
#include "cli/CliJson.h"
#include "cli/CliTime.h"
#include "cli/clsCliHistory.h"
#include "cli/clsCliRun.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t shortId = 8;

std::string Command(const std::string& id, bool before) {
    return "zarn74ctl restore " + id.substr(0, shortId) + (before ? " --before" : "");
}

std::string PlanText(const RestorePlan& plan) {
    std::string text = ChangeText(plan.Settings());
    for (const RegisterChange& change : plan.Registers())
        text += change.Name() + ": " + RegisterChange::Value(change.Before) + " -> " +
                RegisterChange::Value(change.Wanted) + "\n";
    if (plan.Whole) text += "all 512 registers are put back: a memory test has overwritten them\n";
    if (plan.LeftAlone > 0)
        text += std::to_string(plan.LeftAlone) + " of the registers without a setting " +
                (plan.LeftAlone == 1 ? "differs too and stays as it is" : "differ too and stay as they are") +
                "\n";
    return text;
}

Json PlanJson(const RestorePlan& plan) {
    Json changes = CliJson::Changes(plan.Settings());
    for (const RegisterChange& change : plan.Registers())
        changes.push_back({{"setting", registerSetting},
                           {"registers", change.Registers()},
                           {"before", RegisterChange::Value(change.Before)},
                           {"wanted", RegisterChange::Value(change.Wanted)},
                           {"after", change.Kept ? Json(RegisterChange::Value(change.After)) : Json()},
                           {"kept", change.Kept ? Json(*change.Kept) : Json()}});
    return {{"changes", changes}, {"all512", plan.Whole}, {"lost", plan.Lost}, {"questions", plan.Questions}};
}

}  // namespace

ReaderPlace clsCliRun::Place() { return {modText::ToUtf8(m_port), modText::ToUtf8(m_comm.Adapter().Serial)}; }

// What is to be said of a plan before it is written. False when a person has to agree first.
bool clsCliRun::Agreed(const RestorePlan& plan) {
    for (const std::string& lost : plan.Lost) m_log.Say("cannot come back: " + modText::FromUtf8(lost));
    for (const std::string& question : plan.Questions) m_log.Say(modText::FromUtf8(question));
    if (m_options.DryRun || m_options.Yes || plan.Questions.empty()) return true;
    m_log.Say("nothing was written; --yes restores it all the same");
    return false;
}

CliResult clsCliRun::Restore() {
    CliResult result;
    const auto event = clsCliHistory(m_options, m_platform, m_log).Event();
    m_flows.KeepHistory(m_history);  // the question took its notices
    if (!event) return result;
    const bool before = m_options.BeforeSide;
    if (const std::string refusal = RestorePlan::Refusal(*event, before); !refusal.empty()) {
        m_log.Say(refusal);
        return result;
    }
    result.Exit = Connect();
    if (result.Exit != ExitDone) return result;
    RestorePlan plan;
    clsIHistory& history = *m_platform.History(m_options.HistoryFile);  // it has just told of the event
    const bool tested = TestedSince(history, *event, before, Place());
    result.Exit = ExitOf(m_flows.PlanRestore(*event, before, tested, plan));
    if (result.Exit == ExitFailed) SayWhyNotRead(plan.Before);
    if (result.Exit != ExitDone) return result;
    result.Json = PlanJson(plan);
    m_writing = !m_options.DryRun;
    ShowNow(PlanText(plan));
    if (!Agreed(plan)) {
        m_flows.EndEvent(/*cancelled=*/true);
        result.Exit = ExitFailed;
        return result;
    }
    if (m_options.DryRun) {
        result.Text = "nothing was written\n";
        return result;
    }
    result.Exit = ExitOf(m_flows.WriteRestore(plan));
    if (!plan.NotWritten().empty()) m_log.Say(plan.NotWritten());
    if (result.Exit != ExitDone || m_options.NoVerify) return result;
    m_proving = true;
    ProveRestore(result, plan, ExitOf(m_flows.ProveRestore(plan)));
    result.Json = PlanJson(plan);
    return result;
}

// What is there decides. `exit` tells how the reading back ended.
void clsCliRun::ProveRestore(CliResult& result, const RestorePlan& plan, int exit) {
    result.Exit = exit;
    if (exit == ExitFailed) m_log.Say("written, not proven");
    if (exit != ExitDone) return;
    for (const std::string& line : plan.NotKept()) result.Text += line + "\n";
    if (!plan.NotKept().empty()) result.Exit = ExitDiffers;
    if (result.Exit == ExitDone) result.Text += "read back: all of it was kept\n";
}

CliResult clsCliRun::TestEeprom() {
    CliResult result;
    result.Exit = Connect();
    if (result.Exit != ExitDone) return result;
    if (m_options.Restore) return TestAndRestore();
    const std::int64_t pluggedIn = PluggedIn();  // nobody can tell when it is pulled out meanwhile
    const FlowResult tested = m_flows.TestEeprom();
    result.Exit = ExitOf(tested);
    result.Json = {{"passed", tested == FlowResult::Done}};
    result.Text = tested == FlowResult::Done ? "passed\n" : "failed\n";
    if (m_wrote) SayHowToRestore(pluggedIn);
    return result;
}

CliResult clsCliRun::TestAndRestore() {
    CliResult result;
    TestedReader tested;
    const int exit = ExitOf(m_flows.TestAndRestore(tested));
    m_restored = tested.Restored();
    result.Exit = exit;
    if (!tested.Tested) return result;
    result.Text = tested.Passed ? "passed\n" : "failed\n";
    result.Json = {{"passed", tested.Passed}, {"restored", m_restored}};
    const RestorePlan& plan = tested.Restore;
    if (tested.Written == FlowResult::Refused) {
        m_log.Say("the reader is gone: what the test wrote is in it, as far as it came");
    } else if (tested.Written != FlowResult::Done) {
        m_log.Say("not restored: " + tested.WhyNotRestored());
    } else {
        ProveRestore(result, plan, ExitOf(tested.Proven));
        if (result.Exit == ExitDone) result.Exit = exit;
    }
    if (m_restored || SaysKept(tested.Event)) return result;
    result.Text += "what was in the reader:\n" + HexTable(plan.WantedImage);
    result.Json["registers"] = plan.WantedImage;
    return result;
}

// The history is asked: what was given to it may have been refused.
bool clsCliRun::SaysKept(const std::string& id) {
    if (id.empty()) {
        m_log.Say("what was in the reader is not kept: there is no history");
        return false;
    }
    clsWait(m_platform.Host(), AskPatiently::lockTime).Until([this] { return m_history->Settled(); });
    const auto found = AskPatiently::Ask(m_platform.Host(), m_log, [&] { return m_history->Find(id); });
    if (found.Result != clsIHistory::Events::State::Done) return false;
    const bool kept = found.Value.size() == 1 && !found.Value[0].Before.Empty();
    m_log.Say(kept ? "what was in the reader is kept: " + Command(id, /*before=*/true)
                   : "what was in the reader is not kept: the history has not taken it");
    return kept;
}

// 0 where the system does not tell.
std::int64_t clsCliRun::PluggedIn() {
    const auto ports = AllPorts();
    const auto port = std::find_if(ports.begin(), ports.end(),
                                   [this](const PortEntry& entry) { return entry.Name == m_port; });
    return port == ports.end() ? 0 : m_platform.PluggedIn(port->Device);
}

// By the events on this machine since then. Nothing, and said why, where the history cannot be asked.
std::optional<clsLastSeen> clsCliRun::LastSeen(std::int64_t since) {
    const ReaderPlace here = Place();
    HistoryFilter filter;
    filter.Since = since;
    const auto all = AskPatiently::Ask(m_platform.Host(), m_log, [&] { return m_history->List(filter); });
    if (all.Result != clsIHistory::Events::State::Done) return std::nullopt;
    std::vector<HistoryEvent> newestFirst;
    for (const HistoryEvent& event : all.Value) {
        if (event.Host != m_history->Machine() || ReaderPlace{event.Port, event.AdapterSerial} != here)
            continue;
        const auto found =
            AskPatiently::Ask(m_platform.Host(), m_log, [&] { return m_history->Find(event.Id); });
        if (found.Result != clsIHistory::Events::State::Done) return std::nullopt;
        if (found.Value.size() != 1) continue;  // deleted meanwhile
        newestFirst.push_back(found.Value[0]);
        if (!clsLastSeen::Side(newestFirst.back()).Empty()) break;
    }
    clsLastSeen seen;
    std::for_each(newestFirst.rbegin(), newestFirst.rend(),
                  [&](const HistoryEvent& event) { seen.Add(event); });
    return seen;
}

// Behind a test, which has left nothing in the reader.
void clsCliRun::SayHowToRestore(std::int64_t pluggedIn) {
    if (m_history == nullptr) return m_log.Say("no history is kept: there is nothing to restore from");
    if (!m_store.Remembers || pluggedIn == 0)
        return m_log.Say(
            "the history does not know the reader on this port again: zarn74ctl history lists what was read");
    const auto seen = LastSeen(pluggedIn);
    if (!seen) return;  // said why
    const auto& event = seen->Event();
    if (!event) return m_log.Say("the history has no read of this reader since it was plugged in");
    const bool before = clsLastSeen::IsBefore(*event);
    m_log.Say("what was in the reader " + CliTime::Local(event->Begun) +
              " can be restored: " + Command(event->Id, before));
    if (seen->ChangedSince() && !before) m_log.Say("what was written into it since then is not in that");
}
