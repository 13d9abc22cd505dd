#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Recording.h"
#include "cli/CliOptions.h"
#include "cli/clsCliFiles.h"
#include "cli/clsCliLog.h"
#include "cli/clsCliRun.h"
#include "cli/clsICliPlatform.h"
#include "cli/clsITextOutput.h"
#include "wire/Meaning.h"
#include "wire/RecordingRows.h"

/// What is done with a recording without a reader: telling what its frames mean, and making one that may be
/// given away. Owned by clsCli while the command runs.
class clsCliWire {
  public:
    clsCliWire(const CliOptions& options, clsICliPlatform& platform, clsITextOutput& out, clsCliLog& log);

    CliResult Execute();

  private:
    CliResult ExplainAll(const Recording& recording);
    static std::string Line(const RecordingEntry& entry, const std::vector<RecordedRow>& rows,
                            std::size_t number);
    static nlohmann::ordered_json Explained(const Recording& recording, const std::vector<RecordedRow>& rows);
    static WireMeaning MeaningOf(const std::vector<RecordedRow>& rows, std::size_t number);
    CliResult Mask(const Recording& recording);
    std::optional<Recording> Load();
    bool TakeInput();

    const CliOptions& m_options;
    clsICliPlatform& m_platform;
    clsITextOutput& m_out;
    clsCliLog& m_log;
    clsCliFiles m_files;
};
