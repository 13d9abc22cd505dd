#pragma once

#include <string>
#include <vector>

/// What was typed behind the window program's name.
struct WindowOptions {
    enum class DemoKind { None, Serial, Hid };

    DemoKind Demo = DemoKind::None;  ///< a simulated reader instead of the machine's ports
    std::string Image;               ///< the simulated reader's memory; empty: the example configuration
    std::vector<std::string> PortMap;
    std::string File;        ///< a settings file to open
    std::string Screenshot;  ///< the picture's file; empty: none
    std::string Page;        ///< caption of the page to turn to, without "&"
    int Width = 0;           ///< of the window, in pixels; 0: as it comes
    int Height = 0;
    std::string Station;      ///< the profile of the station that fills the window; empty: none does
    bool Operator = false;    ///< nothing but the running station can be reached
    bool Describe = false;    ///< print what every control holds
    std::string Record;       ///< file of a recording; empty: none
    bool NoHistory = false;   ///< nothing is kept
    std::string HistoryFile;  ///< empty: the user's own, and none for a demo
    bool Dark = false;        ///< dark colours whatever the desktop says
    bool Bench = false;       ///< the word that shows the test of the reader's memory was among them
    /// The program looks at the demo's reader, tells and ends.
    [[nodiscard]] bool Batch() const { return Describe || !Screenshot.empty(); }
};

/// The outcome of reading the arguments: open the window, or say `Text` and end with `Exit`.
struct WindowParsing {
    bool Run = false;
    int Exit = 0;
    std::string Text;  ///< help and version (Exit 0), or one line that says what is wrong
};
/// `arguments` without the program's name and without what the toolkit takes for itself.
WindowParsing ParseArguments(std::vector<std::string> arguments, WindowOptions& options);
