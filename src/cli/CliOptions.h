#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "history/clsIHistory.h"

/// Exit codes of the program.
enum ExitCode : int {
    ExitDone = 0,
    ExitFailed = 1,  ///< the operation failed
    ExitUsage = 2,
    ExitNoReader = 3,  ///< a scan found nothing, or the named port cannot be opened
    ExitDiffers = 4,   ///< settings differ, or a reader did not keep what was written
    ExitInterrupted = 130
};

enum class CliCommand {
    None,
    Ports,
    Scan,
    Info,
    Read,
    Write,
    Default,
    Check,
    Diff,
    Dump,
    Get,
    Set,
    TestEeprom,
    Restore,
    Monitor,
    History,
    Explain,
    Mask,
    Doctor,
    Station
};

/// What is asked of the history.
enum class HistoryVerb { List, Show, Settings, Image, Diff, Label, Prune, Export, Import };

/// Whether the command may talk to a reader.
bool UsesLine(CliCommand command);
/// The command's name as it is typed.
const char* CommandName(CliCommand command);

/// What was typed, checked.
struct CliOptions {
    CliCommand Command = CliCommand::None;
    std::string Port;
    int Baud = 0;  ///< bits per second; 0: not given
    std::vector<std::string> PortMap;
    bool Slow = false;
    bool Json = false;
    bool Trace = false;
    bool Quiet = false;     ///< of the message log only failures are shown
    bool NoHints = false;   ///< not what to do about a failure either
    bool Demo = false;      ///< on a simulated reader inside the process
    bool Hid = false;       ///< that reader hangs on USB HID
    std::string Image;      ///< the simulated reader's memory; empty: the example configuration
    std::string File;       ///< to read or to write; empty: none given
    std::string Other;      ///< a second file to compare with; empty: the reader
    std::string Output;     ///< where the result of a file goes; empty: it is printed
    std::string Record;     ///< file of a recording; empty: none
    bool All = false;       ///< write without comparing
    bool Explain = false;   ///< say of each register what it means
    bool DryRun = false;    ///< show what would be written, and write nothing
    bool NoVerify = false;  ///< do not read back what was written
    bool Poll = false;      ///< free ports are asked for a reader
    bool Yes = false;       ///< destroying the settings is allowed, or restoring what may not fit
    bool Restore = false;   ///< what the memory test overwrites is written back
    int Register = 0;       ///< 0..511
    int Value = 0;          ///< 0..255

    bool CheckOnly = false;         ///< the station writes nothing
    std::string Labels;             ///< a pattern, "ask" or "serial"; empty: none
    std::string LabelForm;          ///< what a label looks like
    int Count = 0;                  ///< units of the station; 0: no end
    bool StartWithPlugged = false;  ///< what is plugged in already is done as well
    int DemoUnits = 10;             ///< simulated readers of a station
    int DemoBad = 0;                ///< of these

    bool NoHistory = false;   ///< nothing is kept
    std::string HistoryFile;  ///< empty: the user's own
    HistoryVerb Verb = HistoryVerb::List;
    HistoryFilter Filter;
    bool Csv = false;
    std::string Id;           ///< the beginning of an event's id, in lower case
    bool BeforeSide = false;  ///< what the reader held before, not behind
    std::string Label;
    std::int64_t PruneTime = 0;  ///< ms since 1970, UTC
};

/// The outcome of reading the arguments: run the command, or say `Text` and end with `Exit`.
struct CliParsing {
    bool Run = false;
    int Exit = ExitDone;
    std::string Text;  ///< help and version (Exit 0), or one line that says what is wrong
};
/// `arguments` without the program's name. With a failure, `options` tells what was understood so far.
CliParsing ParseArguments(const std::vector<std::string>& arguments, CliOptions& options);
