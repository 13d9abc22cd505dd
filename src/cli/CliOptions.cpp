#include "cli/CliOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <optional>

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
constexpr std::array<CommandRow, 11> commands{{
    {CliCommand::Ports, "ports", "List the ports: name, device file, description"},
    {CliCommand::Scan, "scan", "Find the reader, the port where it was last first, and say what was found"},
    {CliCommand::Info, "info", "Product, firmware version, firmware serial number, port"},
    {CliCommand::Read, "read", "Read all settings and print them as a settings file, or save them"},
    {CliCommand::Write, "write", "Lay a settings file over the reader's own settings and write what changed"},
    {CliCommand::Default, "default", "The same with the file of defaults, Default.ini unless FILE is given"},
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

void AddCommands(CLI::App& app, CliOptions& options) {
    for (const CommandRow& row : commands) {
        CLI::App* command = app.add_subcommand(row.Name, row.Help);
        command->fallthrough();
        command->callback([&options, &row] { options.Command = row.Command; });
        const auto file = [&](const char* name, const char* help) {
            return command->add_option(name, options.File, help)->type_name("FILE")->check(NotEmpty);
        };
        switch (row.Command) {
            case CliCommand::Read: file("-o", "Save to FILE instead of printing"); break;
            case CliCommand::Dump: file("-o", "Save the bytes to FILE instead of printing"); break;
            case CliCommand::Write: file("FILE", "The settings file"); break;
            case CliCommand::Default: file("FILE", "The settings file with the defaults"); break;
            case CliCommand::Get:
                AddNumber(*command, "REG", options.Register, 0, highestRegister, "0 to 511");
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
        if (row.Command == CliCommand::Write || row.Command == CliCommand::Default)
            command->add_flag("--all", options.All, "Write everything, without comparing first");
    }
    app.require_subcommand(1);
}

}  // namespace

const char* CommandName(CliCommand command) {
    const auto* row = std::find_if(commands.begin(), commands.end(),
                                   [&](const CommandRow& entry) { return entry.Command == command; });
    return row == commands.end() ? "" : row->Name;
}

CliParsing ParseArguments(const std::vector<std::string>& arguments, CliOptions& options) {
    CLI::App app("Configures a Zarn74 card reader.", "zarn74ctl");
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
    bool quick = false;
    auto* quickFlag =
        app.add_flag("--quick", quick, "Read the memory in one piece where that works (default)");
    app.add_flag("--slow", options.Slow, "Read register by register")->excludes(quickFlag);
    app.add_flag("--json", options.Json, "Print one JSON object, also on failure");
    app.add_flag("--trace", options.Trace, "Print every frame to standard error, one JSON object a line");
    AddCommands(app, options);
    CLI::App* demo = app.add_subcommand("demo", "Run the command that follows on a simulated reader");
    demo->fallthrough();
    demo->add_option("--image", options.Image, "Its memory: a file of 512 bytes")
        ->type_name("FILE")
        ->check(NotEmpty);
    demo->add_flag("--hid", options.Hid, "The reader hangs on USB HID, behind an adapter");
    AddCommands(*demo, options);
    app.footer(
        "Exit status: 0 done, 1 failed, 2 wrong usage, 3 no reader, 130 interrupted.\n"
        "Results go to standard output, the message log to standard error.");

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
        for (CLI::App* at = &app; at != nullptr;) {
            const auto inner = at->get_subcommands();
            if (inner.empty()) parsing.Text = at->help();
            at = inner.empty() ? nullptr : inner.front();
        }
    } catch (const CLI::Success& success) {
        parsing.Text = std::string(success.what()) + "\n";
    } catch (const CLI::ParseError& error) {
        parsing.Exit = ExitUsage;
        parsing.Text = error.what();
        std::replace(parsing.Text.begin(), parsing.Text.end(), '\n', ' ');
    }
    if (parsing.Run || parsing.Exit == ExitDone) return parsing;
    // How a failure is said depends on all that was typed, wherever the reading of it ended.
    const auto typed = [&](const char* word) {
        return std::find(arguments.begin(), arguments.end(), word) != arguments.end();
    };
    options.Json = typed("--json");
    const auto* command = std::find_if(commands.begin(), commands.end(),
                                       [&](const CommandRow& row) { return typed(row.Name); });
    if (command != commands.end()) {
        options.Command = command->Command;
    } else if (!app.remaining().empty()) {
        parsing.Text = "'" + app.remaining().front() + "' is not known";
    }
    return parsing;
}
