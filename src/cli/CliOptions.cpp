#include "cli/CliOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <iterator>

#include "base/modText.h"

namespace {

constexpr int highestRegister = 511;
constexpr int highestValue = 255;
constexpr int highestRate = 4'000'000;

struct CommandRow {
    CliCommand Command;
    const char* Name;
    const char* Help;
};
constexpr std::array<CommandRow, 13> commands{{
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
    {CliCommand::Monitor, "monitor", "Show what the reader types and every frame until interrupted"},
}};

// An empty text (of a shell variable that is not set) is not the same as none.
std::string NotEmpty(const std::string& text) { return text.empty() ? "must not be empty" : ""; }

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
    app.add_flag("--trace", options.Trace, "Print every frame to standard error, one JSON object a line");
    app.footer(
        "Exit status: 0 done, 1 failed, 2 wrong usage, 3 no reader,\n"
        "4 settings differ or were not kept, 130 interrupted.\n"
        "Results go to standard output, the message log to standard error.");
}

void AddWriteFlags(CLI::App& command, CliOptions& options) {
    command.add_flag("--all", options.All, "Write everything, without comparing first");
    auto* const dry =
        command.add_flag("--dry-run", options.DryRun, "Show what would be written; write nothing");
    command.add_flag("--no-verify", options.NoVerify, "Do not read back what was written")->excludes(dry);
}

void AddCommands(CLI::App& app, CliOptions& options) {
    for (const CommandRow& row : commands) {
        CLI::App* command = app.add_subcommand(row.Name, row.Help);
        command->fallthrough();
        command->callback([&options, &row] { options.Command = row.Command; });
        const auto file = [&](const char* name, const char* help) {
            return command->add_option(name, options.File, help)->type_name("FILE")->check(NotEmpty);
        };
        switch (row.Command) {
            case CliCommand::Read: file("-o", "Save to FILE instead of printing; - prints"); break;
            case CliCommand::Dump: file("-o", "Save the bytes to FILE; - prints them"); break;
            case CliCommand::Write: file("FILE", "The settings file; - is standard input"); break;
            case CliCommand::Default: file("FILE", "The file with the defaults; - is standard input"); break;
            case CliCommand::Check:
            case CliCommand::Diff: file("FILE", "The settings file; - is standard input"); break;
            case CliCommand::Get:
                AddNumber(*command, "REG", options.Register, 0, highestRegister, "0 to 511, decimal or 0x..");
                break;
            case CliCommand::Set:
                AddNumber(*command, "REG", options.Register, 0, highestRegister, "0 to 511, decimal or 0x..");
                AddNumber(*command, "VALUE", options.Value, 0, highestValue, "0 to 255, decimal or 0x..");
                break;
            case CliCommand::TestEeprom:
                command->add_flag("--yes", options.Yes, "Yes, destroy all settings of the reader");
                break;
            default: break;
        }
        for (CLI::Option* option : command->get_options()) {
            if (option->get_positional() && row.Command != CliCommand::Default) option->required();
        }
        if (row.Command == CliCommand::Diff)
            command->add_option("OTHER", options.Other, "The file to compare it with; none: the reader")
                ->type_name("FILE")
                ->check(NotEmpty);
        if (row.Command == CliCommand::Write || row.Command == CliCommand::Default)
            AddWriteFlags(*command, options);
    }
    app.require_subcommand(1);
}

std::vector<std::string>::const_iterator Typed(const std::vector<std::string>& arguments,
                                               const std::string& word) {
    return std::find(arguments.begin(), arguments.end(), word);
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

const char* CommandName(CliCommand command) {
    const auto* row = std::find_if(commands.begin(), commands.end(),
                                   [&](const CommandRow& entry) { return entry.Command == command; });
    return row == commands.end() ? "" : row->Name;
}

CliParsing ParseArguments(const std::vector<std::string>& arguments, CliOptions& options) {
    CLI::App app("Configures a Zarn74 card reader.", "zarn74ctl");
    AddGlobalOptions(app, options);
    AddCommands(app, options);
    CLI::App* const demo = app.add_subcommand("demo", "Run the command that follows on a simulated reader");
    demo->fallthrough();
    demo->add_option("--image", options.Image, "Its memory: a file of 512 bytes")
        ->type_name("FILE")
        ->check(NotEmpty);
    demo->add_flag("--hid", options.Hid, "The reader hangs on USB HID, behind an adapter");
    AddCommands(*demo, options);

    CliParsing parsing;
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    try {
        app.parse(reversed);
        options.Demo = demo->parsed();
        if (options.Baud != 0 && options.Port.empty()) throw CLI::ValidationError("--baud", "needs --port");
        if (options.Command == CliCommand::TestEeprom && !options.Yes)
            throw CLI::ValidationError("test-eeprom",
                                       "destroys all settings of the reader; --yes confirms that");
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
