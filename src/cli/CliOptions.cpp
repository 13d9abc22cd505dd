#include "cli/CliOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <functional>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

#include "base/modText.h"
#include "cli/CliTime.h"
#include "history/HistoryEvent.h"
#include "station/StationLabel.h"

namespace {

constexpr int highestRegister = 511;
constexpr int highestValue = 255;
constexpr int highestRate = 4'000'000;
constexpr int highestLimit = 1'000'000'000;
constexpr int mostDemoUnits = 1000;

struct CommandRow {
    CliCommand Command;
    const char* Name;
    const char* Help;
};
constexpr std::array<CommandRow, 19> commands{{
    {CliCommand::Ports, "ports", "List the ports: name, device file, description"},
    {CliCommand::Scan, "scan", "Find the reader, the port where it was last first, and say what was found"},
    {CliCommand::Info, "info", "Product, firmware version, firmware serial number, port"},
    {CliCommand::Read, "read", "Read all settings and print them as a settings file, or save them"},
    {CliCommand::Write, "write",
     "Lay a settings file over the reader's settings, write what changed, prove it"},
    {CliCommand::Default, "default", "The same with the file of defaults, Default.ini unless FILE is given"},
    {CliCommand::Check, "check", "Say in what the reader differs from a settings file; writes nothing"},
    {CliCommand::Diff, "diff", "Say in what two settings files differ; with one file the same as check"},
    {CliCommand::Dump, "dump", "The 512 registers as a table, or as bytes into a file"},
    {CliCommand::Get, "get", "Read one register"},
    {CliCommand::Set, "set", "Write one register and read it back"},
    {CliCommand::TestEeprom, "test-eeprom", "Test the reader's memory; destroys all settings"},
    {CliCommand::Restore, "restore", "Put back what an event of the history holds, and prove it"},
    {CliCommand::Monitor, "monitor", "Show what the reader types and every frame until interrupted"},
    {CliCommand::History, "history",
     "List what was done with readers, the newest first, and what is kept of it"},
    {CliCommand::Explain, "explain", "Say what the frames of a recording mean"},
    {CliCommand::Mask, "mask",
     "Make a recording that may be given away: card IDs and key strings are hidden"},
    {CliCommand::Doctor, "doctor",
     "Say what stands between you and a reader, and what to do; changes nothing"},
    {CliCommand::Station, "station", "Write and prove a settings file on one reader after the other"},
}};

// An empty text (of a shell variable that is not set) is not the same as none.
std::string NotEmpty(const std::string& text) { return text.empty() ? "must not be empty" : ""; }

std::string LabelFits(const std::string& text) {
    return CutLabel(text) == text ? "" : "a label has at most " + std::to_string(labelLimit) + " characters";
}

// An event's id, as far as it was typed.
std::string IdOf(const std::string& text) {
    std::string id = text;
    for (char& c : id) c = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    if (id.empty() || id.find_first_not_of("0123456789abcdef-") != std::string::npos)
        throw CLI::ValidationError("ID", "'" + text + "' is no event's id");
    return id;
}

// The option or argument takes a number from 0 to `highest`.
void AddNumber(CLI::App& app, const std::string& name, int& value, int lowest, int highest,
               const char* help) {
    app.add_option_function<std::string>(
           name,
           [name, lowest, highest, &value](const std::string& text) {
               const auto number = modText::WholeNumber(text, highest);
               if (!number || *number < lowest) {
                   throw CLI::ValidationError(name, "'" + text + "' is not a number from " +
                                                        std::to_string(lowest) + " to " +
                                                        std::to_string(highest));
               }
               value = *number;
           },
           help)
        ->type_name(name.starts_with('-') ? "N" : "");
}

void AddGlobalOptions(CLI::App& app, CliOptions& options) {
    app.set_version_flag("--version", "zarn74ctl " ZARN74_VERSION, "Print the version and exit");
    app.add_option(
           "--port", options.Port,
           "Port of the reader: a name that the command ports lists, or a device\nfile; else it is searched")
        ->type_name("NAME")
        ->check(NotEmpty);
    AddNumber(app, "--baud", options.Baud, 1, highestRate, "Open the port at this rate, without a search");
    app.add_option("--port-map", options.PortMap,
                   "Give a device file a COM name; then only such ports exist. May be given\n"
                   "several times; else the environment's ZARN74_PORT_MAP counts")
        ->type_name("COMn=PATH")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    auto* const quick = app.add_flag_callback(
        "--quick", [] {}, "Read the memory in one piece where that works (default)");
    app.add_flag("--slow", options.Slow, "Read register by register")->excludes(quick);
    app.add_flag("--json", options.Json, "Print one JSON object, also on failure");
    app.add_flag("--quiet", options.Quiet, "Show only failures of the message log");
    app.add_flag("--no-hints", options.NoHints, "On a terminal, do not say what to do about a failure");
    app.add_flag("--trace", options.Trace, "Print every frame to standard error, one JSON object a line");
    app.add_option("--record", options.Record, "Record what goes over the line, for explain and replay")
        ->type_name("FILE")
        ->check(NotEmpty);
    auto* const none = app.add_flag("--no-history", options.NoHistory, "Keep nothing in the history");
    app.add_option("--history", options.HistoryFile, "Use this history; else the user's, and none for demo")
        ->type_name("FILE")
        ->check(NotEmpty)
        ->excludes(none);
    app.footer(
        "Exit status: 0 done, 1 failed, 2 wrong usage, 3 no reader,\n"
        "4 settings differ or were not kept, or doctor found something, 130 interrupted.\n"
        "Results go to standard output, the message log to standard error.");
}

void AddWriteFlags(CLI::App& command, CliOptions& options) {
    auto* const dry =
        command.add_flag("--dry-run", options.DryRun, "Show what would be written; write nothing");
    command.add_flag("--no-verify", options.NoVerify, "Do not read back what was written")->excludes(dry);
}

// The option takes a local date, or a date and a time; `take` is given the span that this names.
void AddTime(CLI::App& app, const char* name, std::function<void(const TimeSpan&)> take, const char* help) {
    app.add_option_function<std::string>(
           name,
           [name, take = std::move(take)](const std::string& text) {
               const auto span = CliTime::SpanOf(text);
               if (!span)
                   throw CLI::ValidationError(name,
                                              "'" + text + "' is no date as 2026-03-31 or 2026-03-31T14:05");
               take(*span);
           },
           help)
        ->type_name("DATE");
}

// The option takes one of the words that `find` knows.
template <class Kind>
void AddWord(CLI::App& app, const char* name, std::optional<Kind>& value,
             std::optional<Kind> (*find)(std::string_view), const char* help) {
    app.add_option_function<std::string>(
           name,
           [name, find, &value](const std::string& text) {
               value = find(text);
               if (!value) throw CLI::ValidationError(name, "'" + text + "' is not known");
           },
           help)
        ->type_name("WORD");
}

struct VerbRow {
    HistoryVerb Verb;
    const char* Name;
    const char* Help;
};
constexpr std::array<VerbRow, 8> verbs{{
    {HistoryVerb::Show, "show", "All that is kept of one event but the settings"},
    {HistoryVerb::Settings, "settings", "What the reader held, as a settings file"},
    {HistoryVerb::Image, "image", "The 512 bytes of the reader's memory"},
    {HistoryVerb::Diff, "diff", "In what two events differ, or an event and a file; with one, its two sides"},
    {HistoryVerb::Label, "label", "Give the event's unit a name"},
    {HistoryVerb::Prune, "prune", "Delete what is older"},
    {HistoryVerb::Export, "export", "Put all events into a file, for another machine"},
    {HistoryVerb::Import, "import", "Take in the events of such a file"},
}};

void AddId(CLI::App& app, CliOptions& options) {
    app.add_option_function<std::string>(
           "ID", [&options](const std::string& text) { options.Id = IdOf(text); },
           "The event's id, or what it begins with")
        ->required()
        ->type_name("");
}

void AddBefore(CLI::App& app, CliOptions& options) {
    app.add_flag("--before", options.BeforeSide, "What it held before, not behind");
}

void AddHistory(CLI::App& app, CliOptions& options) {
    HistoryFilter& filter = options.Filter;
    AddTime(
        app, "--since", [&filter](const TimeSpan& span) { filter.Since = span.Begin; },
        "Begun then or later");
    AddTime(
        app, "--until", [&filter](const TimeSpan& span) { filter.Until = span.End; }, "Begun then or before");
    app.add_option("--label", filter.Label, "The label has this in it")->type_name("TEXT")->check(NotEmpty);
    AddWord<HistoryAction>(app, "--action", filter.Action, ActionOf,
                           "read, write, set, default, test, restore, check or station");
    AddWord<HistoryOutcome>(
        app, "--outcome", filter.Outcome, OutcomeOf,
        "done, differs, not-proven, failed, cancelled, interrupted, begun or\nbegun-there");
    AddNumber(app, "--limit", filter.Limit, 1, highestLimit, "No more than this many");
    app.add_flag("--csv", options.Csv, "As comma-separated values");
    app.require_subcommand(0, 1);
    for (const VerbRow& row : verbs) {
        CLI::App* verb = app.add_subcommand(row.Name, row.Help);
        verb->fallthrough();
        verb->callback([&options, &row] { options.Verb = row.Verb; });
        if (row.Verb == HistoryVerb::Prune) {
            AddTime(
                *verb, "--before", [&options](const TimeSpan& span) { options.PruneTime = span.Begin; },
                "What began before");
            verb->get_option("--before")->required();
            verb->add_flag("--yes", options.Yes, "Yes, delete it");
            continue;
        }
        if (row.Verb == HistoryVerb::Export || row.Verb == HistoryVerb::Import) {
            const bool to = row.Verb == HistoryVerb::Export;
            verb->add_option("FILE", options.File, to ? "The file; - prints" : "The file")
                ->required()
                ->type_name("")
                ->check(NotEmpty);
            continue;
        }
        AddId(*verb, options);
        if (row.Verb == HistoryVerb::Settings || row.Verb == HistoryVerb::Image) {
            AddBefore(*verb, options);
            auto* const file = verb->add_option("-o", options.File, "Save to FILE; - prints");
            file->type_name("FILE")->check(NotEmpty);
            if (row.Verb == HistoryVerb::Image) file->required();
        }
        if (row.Verb == HistoryVerb::Diff)
            verb->add_option("OTHER", options.Other, "A settings file, or the id of another event")
                ->type_name("")
                ->check(NotEmpty);
        if (row.Verb == HistoryVerb::Label)
            verb->add_option("TEXT", options.Label, "The name; empty takes it away")
                ->required()
                ->type_name("")
                ->check(LabelFits);
    }
}

CLI::Option* AddFile(CLI::App& command, const char* name, std::string& value, const char* help) {
    return command.add_option(name, value, help)->type_name("FILE")->check(NotEmpty);
}

void AddStation(CLI::App& app, CliOptions& options) {
    AddFile(app, "FILE", options.File, "The settings file for all of them")->required();
    app.add_flag("--check", options.CheckOnly, "Compare only; write nothing");
    app.add_option("--label", options.Labels,
                   "A running label as A-{0001}, ask for one on standard input, or\n"
                   "serial for the number of a reader on USB HID")
        ->type_name("PATTERN|ask|serial")
        ->check([](const std::string& text) {
            const bool known = text == "ask" || text == "serial" || clsRunningLabel::Of(text);
            return known ? LabelFits(text) : "'" + text + "' has no first number in braces, as A-{0001}";
        });
    app.add_option("--label-form", options.LabelForm,
                   "What a label looks like: * any text, ? a character, # a digit,\n"
                   "[A-F] one of these; others are asked about")
        ->type_name("FORM")
        ->check(NotEmpty);
    AddNumber(app, "--count", options.Count, 1, highestLimit, "End behind so many units");
    app.add_flag("--start-with-plugged", options.StartWithPlugged, "Do what is plugged in already, too");
}

void AddRegister(CLI::App& command, CliOptions& options) {
    AddNumber(command, "REG", options.Register, 0, highestRegister, "0 to 511, decimal or 0x..");
    command.get_option("REG")->required();
}

// Of the commands that take settings or a recording out of a file.
void AddFileOptions(CLI::App& command, CliCommand which, CliOptions& options) {
    switch (which) {
        case CliCommand::Write:
        case CliCommand::Default:
            if (which == CliCommand::Write)
                AddFile(command, "FILE", options.File, "The settings file; - is standard input")->required();
            else
                AddFile(command, "FILE", options.File, "The file with the defaults; - is standard input");
            command.add_flag("--all", options.All, "Write everything, without comparing first");
            AddWriteFlags(command, options);
            break;
        case CliCommand::Check:
        case CliCommand::Diff:
            AddFile(command, "FILE", options.File, "The settings file; - is standard input")->required();
            if (which == CliCommand::Diff)
                AddFile(command, "OTHER", options.Other, "The file to compare it with; none: the reader");
            break;
        case CliCommand::Explain:
        case CliCommand::Mask:
            AddFile(command, "FILE", options.File, "The recording; - is standard input")->required();
            if (which == CliCommand::Mask)
                AddFile(command, "-o", options.Output, "Save to FILE instead of printing; - prints");
            break;
        default: break;
    }
}

void AddOptions(CLI::App& command, CliCommand which, CliOptions& options) {
    switch (which) {
        case CliCommand::Read:
            AddFile(command, "-o", options.File, "Save to FILE instead of printing; - prints");
            break;
        case CliCommand::Dump:
            AddFile(command, "-o", options.File, "Save the bytes to FILE; - prints them");
            command.add_flag("--explain", options.Explain,
                             "A line for each register: its setting and what its byte means");
            break;
        case CliCommand::Get: AddRegister(command, options); break;
        case CliCommand::Set:
            AddRegister(command, options);
            AddNumber(command, "VALUE", options.Value, 0, highestValue, "0 to 255, decimal or 0x..");
            command.get_option("VALUE")->required();
            break;
        case CliCommand::TestEeprom:
            command.add_flag("--yes", options.Yes, "Yes, destroy all settings of the reader");
            command.add_flag("--restore", options.Restore, "Read first, and write all 512 registers back");
            break;
        case CliCommand::Restore:
            AddId(command, options);
            AddBefore(command, options);
            command.add_flag("--yes", options.Yes,
                             "Also to another product, or where the firmware lacks a setting");
            AddWriteFlags(command, options);
            break;
        case CliCommand::Doctor:
            command.add_option("PORT", options.Port, "Only this port; without it all are looked at")
                ->type_name("")
                ->check(NotEmpty);
            command.add_flag("--poll", options.Poll, "Ask each free port for a reader, at every speed");
            break;
        case CliCommand::Station: AddStation(command, options); break;
        case CliCommand::History: AddHistory(command, options); break;
        default: AddFileOptions(command, which, options); break;
    }
}

std::vector<std::string>::const_iterator Typed(const std::vector<std::string>& arguments,
                                               const std::string& word) {
    return std::find(arguments.begin(), arguments.end(), word);
}

// What a command understands is only made where its name was typed: all of them take longer than all else.
void AddCommands(CLI::App& app, CliOptions& options, const std::vector<std::string>& arguments) {
    for (const CommandRow& row : commands) {
        CLI::App* command = app.add_subcommand(row.Name, row.Help);
        command->fallthrough();
        command->callback([&options, &row] { options.Command = row.Command; });
        if (Typed(arguments, row.Name) != arguments.end()) AddOptions(*command, row.Command, options);
    }
    app.require_subcommand(1);
}

// The help for what was typed: a command's with its whole name and the options of those that it belongs to.
std::string HelpText(const CLI::App& app) {
    std::string text = app.help();
    if (!app.get_subcommands().empty()) text.erase(text.find_last_not_of('\n') + 2);
    CLI::Formatter formatter;
    const CLI::App* at = &app;
    for (auto inner = at->get_subcommands(); !inner.empty(); inner = at->get_subcommands()) {
        const auto options = at->get_options([](const CLI::Option* option) {
            return !option->check_name("--help") && !option->check_name("--version");
        });
        text += formatter.make_group(at == &app ? "Options of every command" : "Options of " + at->get_name(),
                                     /*is_positional=*/false, options);
        at = inner.front();
    }
    return text;
}

bool IsCommand(const std::string& word) {
    return std::any_of(commands.begin(), commands.end(),
                       [&](const CommandRow& row) { return row.Name == word; });
}

// What is wrong with the arguments, with the word that it is about.
std::string UsageText(const CLI::ParseError& error, const CLI::App& app,
                      const std::vector<std::string>& arguments) {
    std::string text = error.what();
    std::replace(text.begin(), text.end(), '\n', ' ');
    const auto name = text.substr(0, text.find(':'));
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        const bool missing = text.find(" missing") != std::string::npos;
        return name + (missing ? ": there is nothing behind it" : ": it may be given once only");
    }
    if (app.get_subcommands().empty() || text.starts_with("A subcommand")) {
        // An option may have taken the command for its value.
        for (auto word = arguments.begin(); word != arguments.end(); ++word) {
            if (word != arguments.begin() && IsCommand(*word))
                return "'" + *word + "' was taken for the value of " + *std::prev(word) +
                       "; a command has to follow";
        }
    }
    const auto strays = app.remaining(/*recurse=*/true);
    const auto stray = std::find_if(arguments.begin(), arguments.end(), [&](const std::string& word) {
        return std::find(strays.begin(), strays.end(), word) != strays.end();
    });
    if (stray != arguments.end()) {
        const bool extra = !stray->starts_with('-') && std::any_of(arguments.begin(), stray, IsCommand);
        return "'" + *stray + (extra ? "' is not expected here" : "' is not known");
    }
    return text;
}

}  // namespace

bool UsesLine(CliCommand command) {
    switch (command) {
        case CliCommand::Ports:
        case CliCommand::History:
        case CliCommand::Explain:
        case CliCommand::Mask: return false;
        default: return true;
    }
}

const char* CommandName(CliCommand command) {
    const auto* row = std::find_if(commands.begin(), commands.end(),
                                   [&](const CommandRow& entry) { return entry.Command == command; });
    return row == commands.end() ? "" : row->Name;
}

CliParsing ParseArguments(const std::vector<std::string>& arguments, CliOptions& options) {
    CLI::App app("Configures a Zarn74 card reader.", "zarn74ctl");
    AddGlobalOptions(app, options);
    AddCommands(app, options, arguments);
    CLI::App* const demo = app.add_subcommand("demo", "Run the command that follows on a simulated reader");
    demo->fallthrough();
    demo->add_option("--image", options.Image, "Its memory: a file of 512 bytes")
        ->type_name("FILE")
        ->check(NotEmpty);
    demo->add_flag("--hid", options.Hid, "The reader hangs on USB HID, behind an adapter");
    AddNumber(*demo, "--units", options.DemoUnits, 1, mostDemoUnits, "station: so many readers come and go");
    AddNumber(*demo, "--bad", options.DemoBad, 0, mostDemoUnits, "station: so many of them are bad");
    AddCommands(*demo, options, arguments);

    CliParsing parsing;
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    try {
        app.parse(reversed);
        options.Demo = demo->parsed();
        if (options.Baud != 0 && options.Port.empty()) throw CLI::ValidationError("--baud", "needs --port");
        if (options.Command == CliCommand::TestEeprom && !options.Yes && !options.Restore)
            throw CLI::ValidationError("test-eeprom",
                                       "destroys all settings of the reader; --yes confirms that");
        if (options.Verb == HistoryVerb::Prune && !options.Yes)
            throw CLI::ValidationError("prune", "deletes for good; --yes confirms that");
        if (options.Command == CliCommand::Station && options.Baud != 0)
            throw CLI::ValidationError("--baud", "a station finds each reader's rate itself");
        if (options.Command == CliCommand::Station && options.Hid)
            throw CLI::ValidationError("--hid", "the readers of a simulated station come on a serial line");
        if (options.DemoBad > options.DemoUnits) throw CLI::ValidationError("--bad", "is more than --units");
        if ((options.Command == CliCommand::History || options.Command == CliCommand::Restore) &&
            options.NoHistory)
            throw CLI::ValidationError("--no-history", "leaves no history to ask");
        if (!options.Record.empty() && !UsesLine(options.Command))
            throw CLI::ValidationError("--record",
                                       std::string(CommandName(options.Command)) + " uses no line");
        parsing.Run = true;
    } catch (const CLI::CallForHelp&) {
        parsing.Text = HelpText(app);
    } catch (const CLI::Success& success) {
        parsing.Text = std::string(success.what()) + "\n";
    } catch (const CLI::ParseError& error) {
        parsing.Exit = ExitUsage;
        parsing.Text = UsageText(error, app, arguments);
    }
    if (parsing.Run || parsing.Exit == ExitDone) return parsing;
    // How a failure is said depends on all that was typed, wherever the reading of it ended.
    options.Json = Typed(arguments, "--json") != arguments.end();
    for (const CLI::App* at : {&app, demo}) {
        for (const CommandRow& row : commands) {
            if (at->got_subcommand(row.Name)) options.Command = row.Command;
        }
    }
    return parsing;
}
