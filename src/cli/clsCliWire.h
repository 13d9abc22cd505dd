#pragma once

#include <optional>
#include <string>

#include "base/Recording.h"
#include "cli/CliOptions.h"
#include "cli/clsCliFiles.h"
#include "cli/clsCliLog.h"
#include "cli/clsCliRun.h"
#include "cli/clsICliPlatform.h"

/// What is done with a recording without a reader: telling what its frames mean, and making one that may be
/// given away. Owned by clsCli while the command runs.
class clsCliWire {
  public:
    clsCliWire(const CliOptions& options, clsICliPlatform& platform, clsCliLog& log);

    CliResult Execute();

  private:
    CliResult ExplainAll(const Recording& recording) const;
    CliResult Mask(const Recording& recording);
    std::optional<Recording> Load();
    bool TakeInput();

    const CliOptions& m_options;
    clsICliPlatform& m_platform;
    clsCliLog& m_log;
    clsCliFiles m_files;
};
