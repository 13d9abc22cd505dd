#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What was done with a reader.
enum class HistoryAction { Read, Write, Set, Default, Test, Restore, Check, Station };

/// How it came out.
enum class HistoryOutcome {
    Begun,    ///< under way
    Done,     ///< as far as the reader said, and as far as it was looked at
    Differs,  ///< the reader is not as it was to be: it differs from a file, or did not keep what was written
    NotProven,  ///< written, and not read back though that was begun
    Failed,
    Cancelled,
    Interrupted,  ///< never completed, and the program that began it is gone
    BegunThere    ///< never completed, on another machine
};

constexpr HistoryAction lastAction = HistoryAction::Station;
constexpr HistoryOutcome lastOutcome = HistoryOutcome::BegunThere;

/// "read", "write", "set", "default", "test", "restore", "check", "station".
const char* WordOf(HistoryAction action);
/// "begun", "done", "differs", "not proven", "failed", "cancelled", "interrupted", "begun there".
const char* WordOf(HistoryOutcome outcome);
/// Of a word, also with "-" for its blanks; nothing when it is none of them.
std::optional<HistoryAction> ActionOf(std::string_view word);
std::optional<HistoryOutcome> OutcomeOf(std::string_view word);

constexpr std::size_t labelLimit = 200;  ///< characters
/// A label, in UTF-8, without what is beyond the limit.
std::string CutLabel(std::string label);

/// What stands for the setting's key where the change is of registers by their numbers.
constexpr const char* registerSetting = "Register";

/// What became of one setting, or of registers by their numbers.
struct HistoryChange {
    std::string Setting;    ///< the key of the settings file, or registerSetting
    std::string Registers;  ///< "210", "160..175"
    std::string Before;     ///< values for people; empty where it was not read
    std::string Wanted;
    std::string After;
    std::optional<bool> Kept;  ///< nothing when nothing was read back
    bool operator==(const HistoryChange&) const = default;
};

/// What a reader was seen to hold at one time; each part is empty where it was not read.
struct HistorySide {
    std::string Settings;  ///< the text of a settings file
    std::string Image;     ///< its 512 registers
    [[nodiscard]] bool Empty() const { return Settings.empty() && Image.empty(); }
    bool operator==(const HistorySide&) const = default;
};

/// One look at a reader, or one change to it. A value. Texts are UTF-8; the two sides are bytes, one
/// character per byte.
struct HistoryEvent {
    std::string Id;           ///< a UUID, in lower case
    int Revision = 1;         ///< counts what was changed in the event since it began
    std::int64_t Edited = 0;  ///< when it got its label, or was first kept, and on which machine
    std::string Editor;
    std::int64_t Begun = 0;  ///< ms since 1970, UTC
    std::int64_t Ended = 0;  ///< the same; 0 while it is under way
    std::string Host;
    std::string User;
    std::string Program;
    std::string Version;
    HistoryAction Action = HistoryAction::Read;
    HistoryOutcome Outcome = HistoryOutcome::Begun;
    std::string Reason;  ///< the last failing line, or what was not kept
    std::string Label;   ///< what a person calls the unit
    std::string Port;
    std::string Adapter;
    std::string AdapterSerial;
    int Baud = 0;  ///< bits per second; 0 for a port without a rate
    std::string Product;
    std::string Firmware;
    std::string FirmwareSerial;  ///< not one unit's alone
    std::string Profile;         ///< the settings file's name, without its folder
    std::string ProfileDigest;   ///< SHA-256 of what it held, 64 hexadecimal digits
    int ChangeCount = 0;         ///< also where Changes are not loaded

    HistorySide Before;  ///< before the first byte that changed the reader
    HistorySide After;   ///< behind the last; what was seen, where nothing was written
    std::vector<HistoryChange> Changes;
    std::string Lines;  ///< of the message log, each "hh:nn:ss - text" and a line feed
    bool operator==(const HistoryEvent&) const = default;
};
