#include "cli/clsCli.h"

#include <nlohmann/json.hpp>

#include "base/clsScopeGuard.h"
#include "base/modText.h"
#include "cli/CliJson.h"
#include "cli/CliOptions.h"
#include "cli/clsCliHistory.h"
#include "cli/clsCliLog.h"
#include "cli/clsCliRun.h"
#include "cli/clsCliWire.h"
#include "cli/clsDemoPlatform.h"

/// How a command ended, and where its reader was.
struct CliOutcome {
    CliResult Result;
    std::string Port;
    int Baud = 0;
    std::vector<PortReason> Reasons;
};

namespace {

using Json = nlohmann::ordered_json;

// What cannot be UTF-8 (a file's name) is shown as far as it can be.
std::string Dump(const Json& json) {
    return json.dump(-1, ' ', /*ensure_ascii=*/false, Json::error_handler_t::replace) + "\n";
}

Json Report(const CliOptions& options, const CliOutcome& outcome, const clsCliLog& log) {
    Json json;
    const std::string command = CommandName(options.Command);
    json["command"] = command.empty() ? Json() : Json(command);
    json["ok"] = outcome.Result.Exit == ExitDone;
    json["exit"] = outcome.Result.Exit;
    json["port"] = outcome.Port.empty() ? Json() : CliJson::Text(outcome.Port);
    json["baud"] = outcome.Baud == 0 ? Json() : Json(outcome.Baud);
    json["result"] = outcome.Result.Json;
    json["reasons"] = Json::array();
    for (const PortReason& reason : outcome.Reasons) json["reasons"].push_back(CliJson::Reason(reason));
    json["messages"] = Json::array();
    for (const CliMessage& message : log.Messages())
        json["messages"].push_back({{"time", message.Time}, {"text", CliJson::Text(message.Text)}});
    return json;
}

}  // namespace

void clsCli::Stop() {
    if (m_run != nullptr) m_run->Stop();
}

void clsCli::OutputClosed() {
    if (m_run != nullptr && m_run->NeedsOutput()) m_run->Stop();
}

int clsCli::Run(const std::vector<std::string>& arguments) {
    CliOptions options;
    CliParsing parsing = ParseArguments(arguments, options);
    if (!parsing.Run && parsing.Exit == ExitDone) {
        m_out.Write(parsing.Text);
        return WhetherWritten(ExitDone);
    }
    clsCliLog log(m_platform.Host(), m_err);
    if (options.Quiet) log.SetQuiet();
    if (m_err.Terminal() && !options.NoHints) log.SetHints();
    CliOutcome outcome;
    try {
        if (parsing.Run && !options.Demo) parsing.Text = m_platform.SetPortMap(options.PortMap);
        const std::string usage = modText::FromUtf8(parsing.Text);
        if (!usage.empty()) {
            log.Say(usage + " (zarn74ctl --help tells more)");
            outcome.Result.Exit = ExitUsage;
        } else if (options.Demo) {
            outcome = OnDemo(options, log);
        } else {
            outcome = On(m_platform, options, log);
        }
    } catch (const std::exception& error) {
        outcome = {};
        log.Say(error.what());
    }
    const CliResult& result = outcome.Result;

    // A monitor has shown all that it has to show, unless it never began.
    const bool streamed =
        (options.Command == CliCommand::Monitor && !outcome.Port.empty()) ||
        (options.Command == CliCommand::Station && result.Exit != ExitNoReader && parsing.Run);
    if (!options.Json) {
        m_out.Write(result.Text);
    } else if (!streamed) {
        m_out.Write(Dump(Report(options, outcome, log)));
    }
    // What became of the reader counts, whoever looked.
    const bool writes = options.Command == CliCommand::Write || options.Command == CliCommand::Default ||
                        options.Command == CliCommand::Restore;
    const bool closed = m_out.CurrentState() == clsITextOutput::State::Closed;
    return writes && closed ? result.Exit : WhetherWritten(result.Exit);
}

CliOutcome clsCli::On(clsICliPlatform& platform, const CliOptions& options, clsCliLog& log) {
    CliOutcome outcome;
    if (options.Command == CliCommand::History) {
        outcome.Result = clsCliHistory(options, platform, log).Execute();
        return outcome;
    }
    if (options.Command == CliCommand::Explain || options.Command == CliCommand::Mask) {
        outcome.Result = clsCliWire(options, platform, m_out, log).Execute();
        return outcome;
    }
    clsCliRun command(options, platform, m_out, m_err, log);
    m_run = &command;
    const clsScopeGuard leave([this] { m_run = nullptr; });
    outcome.Result = command.Execute();
    outcome.Port = command.Port();
    outcome.Baud = command.Baud();
    outcome.Reasons = command.Reasons();
    return outcome;
}

CliOutcome clsCli::OnDemo(CliOptions& options, clsCliLog& log) {
    clsDemoPlatform demo(m_platform, options.Hid);
    const std::string failure = demo.Begin(options.Image);
    if (options.Command == CliCommand::Station) {
        demo.UseBench(options.DemoUnits, options.DemoBad);
        if (options.Count == 0) options.Count = options.DemoUnits;
    }
    if (failure.empty()) return On(demo, options, log);
    log.Say(failure);
    return {};
}

// What was shown to nobody was not done.
int clsCli::WhetherWritten(int exit) {
    switch (m_out.CurrentState()) {
        case clsITextOutput::State::Open: break;
        case clsITextOutput::State::Closed: return ExitInterrupted;
        case clsITextOutput::State::Failed:
            m_err.Write("zarn74ctl: cannot write to standard output\n");
            return ExitFailed;
    }
    return exit;
}
