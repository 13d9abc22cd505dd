#include "app/WindowOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "base/modText.h"

namespace {

constexpr auto testWord = "BENCHRUN";
constexpr int longest = 16384;  // pixels of a window's side

bool HoldsTestWord(const std::string& argument) {
    return modText::UCase(argument).find(testWord) != std::string::npos;
}

/// "/benchrun" and the like: neither a file nor an option of ours, nor the value of one.
bool IsTestWordOnly(const std::string& argument) {
    const std::string word =
        modText::UCase(argument.substr(std::min(argument.find_first_not_of("-/"), argument.size())));
    return word == testWord || (argument.starts_with('-') && word.starts_with(testWord));
}

std::string NotEmpty(const std::string& text) { return text.empty() ? "must not be empty" : ""; }

/// What needs more than a member of WindowOptions.
struct Arguments {
    std::string Demo;
    std::pair<int, int> Size;
};

// What the window works on.
void AddReaders(CLI::App& app, Arguments& given, WindowOptions& options) {
    app.add_flag("--demo{serial}", given.Demo,
                 "Work on a simulated reader, on a serial line or with =hid on USB")
        ->check(CLI::IsMember({"serial", "hid"}));
    app.add_option("--image", options.Image, "The simulated reader's 512 bytes of memory")
        ->type_name("FILE")
        ->check(NotEmpty);
    app.add_option("--port-map", options.PortMap,
                   "Use only the ports named like this; may be given more than once")
        ->type_name("COMn=PATH")
        ->allow_extra_args(false);
}

// How it shows itself.
void AddPictures(CLI::App& app, Arguments& given, WindowOptions& options) {
    app.add_option("--screenshot", options.Screenshot,
                   "Scan and read a simulated reader, save the window as a PNG picture, and end")
        ->type_name("FILE")
        ->check(NotEmpty);
    app.add_flag("--describe", options.Describe,
                 "Scan and read a simulated reader, print what every control holds, and end");
    app.add_option("--page", options.Page,
                   "Turn to the page with this caption, or open what View has under it")
        ->type_name("NAME");
    app.add_option("--size", given.Size, "The window's width and height in pixels")
        ->delimiter('x')
        ->type_name("WxH");
    app.add_flag("--dark", options.Dark, "Dark colours");
}

// What is kept, and the station.
void AddRecords(CLI::App& app, WindowOptions& options) {
    app.add_option("--record", options.Record, "Record what goes over the line")
        ->type_name("FILE")
        ->check(NotEmpty);
    auto* const none = app.add_flag("--no-history", options.NoHistory, "Keep nothing in the history");
    app.add_option("--history", options.HistoryFile, "Use this history; else the user's, and none for a demo")
        ->type_name("FILE")
        ->check(NotEmpty)
        ->excludes(none);
    auto* const station = app.add_option("--station", options.Station,
                                         "Start as a station: every reader that comes is given this file");
    station->type_name("FILE")->check(NotEmpty);
    app.add_flag("--operator", options.Operator, "With --station: lock set-up, Back and menus")
        ->needs(station);
}

/// Why these do not go together or cannot be; empty when all is well.
std::string Contradiction(const Arguments& given, const WindowOptions& options) {
    if (!options.Station.empty() && (given.Demo == "hid" || !options.Image.empty()))
        return "--station: its simulated readers are fresh ones on a serial line\n";
    if (!options.Station.empty() && (options.Batch() || !options.File.empty()))
        return "--station: it goes with no picture, no description and no other file\n";
    const auto impossible = [](int length) { return length < 0 || length > longest; };
    if (impossible(given.Size.first) || impossible(given.Size.second))
        return "--size: no window is as large as that\n";
    return {};
}

}  // namespace

WindowParsing ParseArguments(std::vector<std::string> arguments, WindowOptions& options) {
    options = {};
    options.Bench = std::any_of(arguments.begin(), arguments.end(), HoldsTestWord);
    std::erase_if(arguments, IsTestWordOnly);

    CLI::App app("Configures a Zarn74 card reader in a window.", "zarn74");
    app.set_version_flag("--version", "zarn74 " ZARN74_VERSION, "Print the version and exit");
    Arguments given;
    AddReaders(app, given, options);
    AddPictures(app, given, options);
    AddRecords(app, options);
    app.add_option("FILE", options.File, "A settings file to open")->type_name("");

    std::reverse(arguments.begin(), arguments.end());
    try {
        app.parse(arguments);
    } catch (const CLI::CallForHelp&) {
        return {/*Run=*/false, /*Exit=*/0, app.help()};
    } catch (const CLI::CallForVersion& version) {
        return {/*Run=*/false, /*Exit=*/0, std::string(version.what()) + "\n"};
    } catch (const CLI::ParseError& error) {
        return {/*Run=*/false, /*Exit=*/2, std::string(error.what()) + "\n"};
    }
    if (const std::string wrong = Contradiction(given, options); !wrong.empty())
        return {/*Run=*/false, /*Exit=*/2, wrong};
    std::tie(options.Width, options.Height) = given.Size;
    std::string& demo = given.Demo;
    if (demo.empty() && (options.Batch() || !options.Image.empty())) demo = "serial";
    if (!demo.empty())
        options.Demo = demo == "hid" ? WindowOptions::DemoKind::Hid : WindowOptions::DemoKind::Serial;
    return {/*Run=*/true, /*Exit=*/0, {}};
}
