#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "base/clsISettingsStore.h"
#include "cli/CliOptions.h"
#include "cli/clsCliFiles.h"
#include "cli/clsCliLog.h"
#include "cli/clsCliStation.h"
#include "cli/clsICliPlatform.h"
#include "cli/clsITextOutput.h"
#include "comm/ucCOMM.h"
#include "flows/clsReaderFlows.h"
#include "flows/clsSettingsFile.h"
#include "settings/modZarn74.h"
#include "wire/clsFrameTrace.h"
#include "wire/clsWireRecorder.h"

/// How a command ended, and what it has to show.
struct CliResult {
    int Exit = ExitFailed;
    std::string Text;  ///< for standard output, as bytes
    nlohmann::ordered_json Json;
};

/// A line for each change, and one that counts them.
std::string ChangeText(const std::vector<SettingChange>& changes);
/// The 512 registers, sixteen a line.
std::string HexTable(const modZarn74::Image& image);

/// One run of one command: the comm control and the flows on a machine's parts. Owned by clsCli while the
/// command runs. Stop may be called from any handler inside it.
class clsCliRun {
  public:
    clsCliRun(const CliOptions& options, clsICliPlatform& platform, clsITextOutput& out, clsITextOutput& err,
              clsCliLog& log);
    clsCliRun(const clsCliRun&) = delete;
    clsCliRun& operator=(const clsCliRun&) = delete;
    ~clsCliRun();

    CliResult Execute();
    void Stop();
    /// False from the first byte that is about to change a reader, and when the command has ended.
    [[nodiscard]] bool NeedsOutput() const { return !m_writing && !m_shown; }
    /// The port that was opened and its rate; empty and 0 when none was. A port without a rate has 0.
    [[nodiscard]] const std::string& Port() const { return m_port; }
    [[nodiscard]] int Baud() const { return m_baud; }
    /// Why no port could be used, as it was said.
    [[nodiscard]] const std::vector<PortReason>& Reasons() const { return m_reasons; }

  private:
    /// The user's store, which a search does not write to once it is on a port whose name is for this run.
    struct SearchStore final : clsISettingsStore {
        explicit SearchStore(clsISettingsStore& store) : Store(store) {}
        [[nodiscard]] std::string GetSetting(const std::string& section, const std::string& key,
                                             const std::string& defaultValue) override {
            return Store.GetSetting(section, key, defaultValue);
        }
        void SaveSetting(const std::string& section, const std::string& key,
                         const std::string& value) override {
            if (Remembers) Store.SaveSetting(section, key, value);
        }
        clsISettingsStore& Store;
        bool Remembers = true;
    };

    CliResult ExecuteCommand();
    void AwaitLossNews();
    void AwaitHistory();
    CliResult Ports();
    CliResult Identify();
    CliResult Read();
    CliResult Write();
    CliResult Check();
    CliResult Prove(const LaidFile& laid);
    CliResult Dump();
    CliResult Get();
    CliResult Set();
    CliResult TestEeprom();
    CliResult TestAndRestore();
    CliResult Restore();
    CliResult Monitor();
    CliResult Doctor();
    bool AskPorts(AccessReport& report);
    CliResult Station();

    bool BeginRecording();
    int Connect();
    int Reach();
    void KeepHistory();
    bool Agreed(const RestorePlan& plan);
    void ProveRestore(CliResult& result, const RestorePlan& plan, int exit);
    ReaderPlace Place();
    std::int64_t PluggedIn();
    std::optional<clsLastSeen> LastSeen(std::int64_t since);
    void SayHowToRestore(std::int64_t pluggedIn);
    bool SaysKept(const std::string& id);
    std::vector<PortEntry> AllPorts();
    bool TakeInput();
    int CheckFile(const std::string& file, FileRole role);
    int LayFile(const std::string& file, FileRole role, LaidFile& laid);
    void ShowNow(const std::string& text);
    void SayWhyNotFile(const std::string& name);
    void SayWhyNotTold(const std::string& product);
    void SayWhyNotRead(const ZarnInfo& record);
    [[nodiscard]] std::string OutputFile() const;
    bool OpenAtRate(const std::string& name);
    std::string PortName();
    void SayWhyNotOpen(const std::string& name);
    [[nodiscard]] int ExitOf(FlowResult result) const;
    [[nodiscard]] int ExitOf(bool done) const;
    bool Logged(const char* operation, bool done);
    CliResult RegisterResult(int value) const;
    void ShowRecord(const FrameRecord& record);

    const CliOptions& m_options;
    clsICliPlatform& m_platform;
    clsITextOutput& m_out;
    clsITextOutput& m_err;
    clsCliLog& m_log;
    bool m_stopped = false;
    std::string m_port;
    int m_baud = 0;
    std::vector<PortReason> m_reasons;
    bool m_lossTold = false;
    bool m_wrote = false;  // into the reader
    bool m_writing =
        false;  // what is shown by now is not all, but the reader is not left half-written for that
    bool m_shown = false;     // all that there is to show
    bool m_restored = false;  // all that a test overwrote
    bool m_proving = false;   // all was written, and is being read back

    SearchStore m_store;
    clsCliFiles m_files;
    clsIHistory* m_history = nullptr;
    ucCOMM m_comm;
    modZarn74 m_settings;
    clsMessageLog m_messages;
    clsSettingsFile m_settingsFile;
    clsReaderFlows m_flows;
    std::optional<clsCliStation> m_station;
    std::optional<clsFrameTrace> m_trace;
    std::optional<clsFrameTrace> m_monitor;
    std::optional<clsWireRecorder> m_recorder;
    bool m_recordingBroke = false;
    clsConnection m_onPort;
    clsConnection m_onSent;
};
