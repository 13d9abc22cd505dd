#pragma once

#include <string>
#include <vector>

#include "cli/clsICliPlatform.h"
#include "cli/clsITextOutput.h"

class clsCliLog;
class clsCliRun;
struct CliOptions;
struct CliOutcome;

/// The program zarn74ctl: takes its arguments, runs one command and says how it ended. Built by main, or by a
/// test, over a machine and two outputs that outlive it.
class clsCli {
  public:
    clsCli(clsICliPlatform& platform, clsITextOutput& out, clsITextOutput& err)
        : m_platform(platform), m_out(out), m_err(err) {}
    clsCli(const clsCli&) = delete;
    clsCli& operator=(const clsCli&) = delete;

    /// `arguments` without the program's name. The program's exit status.
    int Run(const std::vector<std::string>& arguments);
    /// Ctrl-C: the wait in progress ends, and the command with it. From a handler of the host.
    void Stop();
    /// Nobody reads the output any more: stops the command, but not one that has begun to write into a
    /// reader.
    void OutputClosed();

  private:
    CliOutcome On(clsICliPlatform& platform, const CliOptions& options, clsCliLog& log);
    CliOutcome OnDemo(CliOptions& options, clsCliLog& log);
    int WhetherWritten(int exit);

    clsICliPlatform& m_platform;
    clsITextOutput& m_out;
    clsITextOutput& m_err;
    clsCliRun* m_run = nullptr;
};
