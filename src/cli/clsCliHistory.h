#pragma once

#include <string>
#include <vector>

#include "cli/CliOptions.h"
#include "cli/clsCliFiles.h"
#include "cli/clsCliLog.h"
#include "cli/clsCliRun.h"
#include "cli/clsICliPlatform.h"

/// One question to the history, or one change to it; no reader is asked. Owned by clsCli while the command
/// runs. Waits in the host's loop while another program has the history for itself.
class clsCliHistory {
  public:
    clsCliHistory(const CliOptions& options, clsICliPlatform& platform, clsCliLog& log);
    clsCliHistory(const clsCliHistory&) = delete;
    clsCliHistory& operator=(const clsCliHistory&) = delete;
    ~clsCliHistory();

    CliResult Execute();
    /// The event that was named, with all that is kept of it; nothing, and said why, when there is none.
    std::optional<HistoryEvent> Event();

  private:
    CliResult List();
    CliResult Show(const HistoryEvent& event) const;
    CliResult Settings(const HistoryEvent& event);
    CliResult Image(const HistoryEvent& event);
    CliResult Diff(const HistoryEvent& event);
    CliResult Label(const HistoryEvent& event);
    CliResult Prune();
    CliResult Export();
    CliResult Import();

    template <class Ask>
    auto Patiently(Ask ask) -> decltype(ask());
    std::optional<HistoryEvent> Find(const std::string& idBegins);
    bool There();
    void SaySide(const HistoryEvent& event);
    bool Refused(const std::string& part, const HistoryEvent& event, const char* what);
    bool Save(CliResult& result, const std::string& content);

    const CliOptions& m_options;
    clsICliPlatform& m_platform;
    clsCliLog& m_log;
    clsCliFiles m_files;
    clsIHistory* m_history;
};
