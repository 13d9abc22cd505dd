#include "sim/pty/clsSimConsole.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

#include "base/modText.h"
#include "sim/SimFault.h"

namespace {

constexpr int highestRegister = static_cast<int>(clsSimReader::registerCount) - 1;
constexpr int highestByte = 255;

struct CardTypeRow {
    int Type;
    std::string_view Name;
};
constexpr std::array<CardTypeRow, 5> cardTypes{
    {{1, "MIFARE1K"}, {2, "MIFARE4K"}, {3, "ULTRALIGHT"}, {4, "DESFIRE"}, {5, "EM125K"}}};

std::vector<std::string> Words(std::string_view text) {
    std::vector<std::string> words;
    for (const std::string& word : modText::Split(text, ' ')) {
        if (!word.empty()) words.push_back(word);
    }
    return words;
}

std::optional<int> CardType(const std::string& word) {
    const std::string name = modText::UCase(word);
    for (const CardTypeRow& row : cardTypes) {
        if (row.Name == name) return row.Type;
    }
    return modText::WholeNumber(word, highestByte);
}

// The text with \r, \n, \t, \\ and \xHH made into what they stand for; nothing when one of them is wrong.
std::optional<std::string> Unescape(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            bytes += text[i];
            continue;
        }
        const char escape = ++i < text.size() ? text[i] : '\0';
        switch (escape) {
            case 'r': bytes += '\r'; break;
            case 'n': bytes += '\n'; break;
            case 't': bytes += '\t'; break;
            case '\\': bytes += '\\'; break;
            case 'x': {
                const auto value =
                    modText::WholeNumber("0x" + std::string(text.substr(i + 1, 2)), highestByte);
                if (!value || i + 2 >= text.size()) return {};
                bytes += static_cast<char>(*value);
                i += 2;
                break;
            }
            default: return {};
        }
    }
    return bytes;
}

}  // namespace

struct clsSimConsole::Command {
    std::string_view Name;
    std::string_view Arguments;
    std::string_view Help;
    void (clsSimConsole::*Run)(std::string_view);
};

const std::vector<clsSimConsole::Command>& clsSimConsole::Commands() {
    static const std::vector<Command> commands{
        {"card", "TYPE SERIAL | none", "lays a card on the reader (type 1..5 or its name), or takes it away",
         &clsSimConsole::Card},
        {"type", "TEXT", "types a text as the reader does for a card; \\r \\n \\t \\\\ \\xHH stand for bytes",
         &clsSimConsole::Type},
        {"get", "REG", "shows a register (decimal or 0x hexadecimal)", &clsSimConsole::Get},
        {"set", "REG VALUE", "changes a register behind the host's back", &clsSimConsole::Set},
        {"dump", "", "shows all registers", &clsSimConsole::Dump},
        {"fault", "NAME [once] [command=L] [register=N] [skip=N] [count=N] [value=N]", "arms a fault",
         &clsSimConsole::Fault},
        {"faults", "", "lists the armed faults and how often they have fired", &clsSimConsole::ListFaults},
        {"clear-faults", "", "disarms all faults", &clsSimConsole::ClearFaults},
        {"unplug", "", "pulls the cable: the terminal hangs up", &clsSimConsole::Unplug},
        {"replug", "", "plugs it in again, on a new terminal, and powers the reader up",
         &clsSimConsole::Replug},
        {"status", "", "shows terminal, line speed, card and frames", &clsSimConsole::Status},
        {"help", "", "shows this list", &clsSimConsole::ShowHelp},
        {"quit", "", "ends the program", &clsSimConsole::Quit},
    };
    return commands;
}

clsSimConsole::clsSimConsole(clsSimReader& reader, clsPtyLine& line, Print answer, Print error,
                             std::function<void()> quit)
    : m_reader(reader),
      m_line(line),
      m_answer(std::move(answer)),
      m_error(std::move(error)),
      m_quit(std::move(quit)) {}

void clsSimConsole::Execute(std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    if (line.empty() || line.front() == '#') return;
    const std::size_t end = std::min(line.find(' '), line.size());
    const std::string_view name = line.substr(0, end);
    for (const Command& command : Commands()) {
        if (command.Name != name) continue;
        (this->*command.Run)(line.substr(std::min(end + 1, line.size())));
        return;
    }
    m_error("unknown command \"" + std::string(name) + "\"; help lists the commands");
}

std::string clsSimConsole::Help() {
    constexpr std::size_t column = 26;
    std::string text;
    for (const Command& command : Commands()) {
        std::string usage = "  " + std::string(command.Name);
        if (!command.Arguments.empty()) usage += " " + std::string(command.Arguments);
        text += usage + (usage.size() < column ? std::string(column - usage.size(), ' ')
                                               : "\n" + std::string(column, ' '));
        text += std::string(command.Help) + "\n";
    }
    text += "Faults:\n";
    for (const SimFault fault : AllSimFaults()) {
        std::string name = "  " + std::string(SimFaultName(fault));
        name.resize(std::max(column, name.size()), ' ');
        text += name + SimFaultHelp(fault) + "\n";
    }
    text.pop_back();
    return text;
}

void clsSimConsole::Card(std::string_view text) {
    const std::vector<std::string> words = Words(text);
    if (words.size() == 1 && words[0] == "none") {
        m_reader.RemoveCard();
        m_answer("card none");
        return;
    }
    const std::optional<int> type = words.size() == 2 ? CardType(words[0]) : std::nullopt;
    if (!type) return m_error("usage: card TYPE SERIAL, or card none; TYPE is 1..5 or a card's name");
    const std::string serial = modText::UCase(words[1]);
    constexpr std::size_t longestSerial = 20;
    if (serial.find_first_not_of("0123456789ABCDEF") != std::string::npos || serial.size() % 2 != 0 ||
        serial.size() > longestSerial) {
        return m_error("a serial is an even number of hexadecimal digits, at most 20, not \"" + words[1] +
                       "\"");
    }
    m_reader.PlaceCard({*type, serial});
    m_answer("card " + std::to_string(*type) + " " + serial);
}

void clsSimConsole::ShowRegister(int number) {
    const std::uint8_t value = m_reader.Registers.at(static_cast<std::size_t>(number));
    m_answer(std::to_string(number) + " (0x" + modText::Hex(static_cast<std::uint32_t>(number)) +
             ") = " + std::to_string(value) + " (0x" + modText::Hex(value, 2) + ")");
}

void clsSimConsole::Get(std::string_view text) {
    const std::vector<std::string> words = Words(text);
    const auto number = words.size() == 1 ? modText::WholeNumber(words[0], highestRegister) : std::nullopt;
    if (!number) return m_error("usage: get REG; REG is 0..511, decimal or 0x hexadecimal");
    ShowRegister(*number);
}

void clsSimConsole::Set(std::string_view text) {
    const std::vector<std::string> words = Words(text);
    const auto number = words.size() == 2 ? modText::WholeNumber(words[0], highestRegister) : std::nullopt;
    const auto value = number ? modText::WholeNumber(words[1], highestByte) : std::nullopt;
    if (!value)
        return m_error("usage: set REG VALUE; REG is 0..511, VALUE 0..255, decimal or 0x hexadecimal");
    m_reader.SetRegister(*number, static_cast<std::uint8_t>(*value));
    ShowRegister(*number);
}

void clsSimConsole::Dump(std::string_view) {
    constexpr std::size_t row = 16;
    for (std::size_t first = 0; first < m_reader.Registers.size(); first += row) {
        std::string line = modText::Hex(static_cast<std::uint32_t>(first), 3) + " ";
        for (std::size_t i = first; i < first + row; ++i)
            line += " " + modText::Hex(m_reader.Registers.at(i), 2);
        m_answer(line);
    }
}

void clsSimConsole::Fault(std::string_view text) {
    std::string error;
    const std::optional<SimFaultRule> rule = ParseSimFault(text, error);
    if (!rule) return m_error(error);
    m_answer("fault " + SimFaultText(m_reader.AddFault(*rule)));
}

void clsSimConsole::ListFaults(std::string_view) {
    if (m_reader.Faults().empty()) m_answer("no faults");
    for (const SimFaultRule& rule : m_reader.Faults()) {
        m_answer("fault " + SimFaultText(rule) + " fired=" + std::to_string(rule.Fired));
    }
}

void clsSimConsole::ClearFaults(std::string_view) {
    m_reader.ClearFaults();
    m_answer("no faults");
}

void clsSimConsole::Type(std::string_view text) {
    const std::optional<std::string> bytes = Unescape(text);
    if (!bytes || bytes->empty())
        return m_error("usage: type TEXT; known escapes are \\r \\n \\t \\\\ \\xHH");
    if (!m_line.Plugged()) return m_error("the reader is unplugged");
    m_reader.TypeText(*bytes);
    m_answer("typed " + std::to_string(bytes->size()) + " bytes");
}

void clsSimConsole::Unplug(std::string_view) {
    if (!m_line.Plugged()) return m_error("the reader is unplugged already");
    m_line.Unplug();
    m_answer("unplugged");
}

void clsSimConsole::Replug(std::string_view) {
    if (m_line.Plugged()) m_line.Unplug();
    const std::string error = m_line.Plug();
    if (!error.empty()) return m_error(error);
    m_answer(m_line.Path());
}

void clsSimConsole::Status(std::string_view) {
    m_answer("terminal " + (m_line.Plugged() ? m_line.Path() : "unplugged"));
    const int heard = m_line.HeardSpeed();
    m_answer("hears " + (heard == 0 ? "every speed" : std::to_string(heard) + " baud alone"));
    const auto& card = m_reader.Card();
    m_answer("card " + (card ? std::to_string(card->Type) + " " + card->Serial : "none"));
    m_answer("frames " + std::to_string(m_reader.FramesReceived()) + " understood, " +
             std::to_string(m_reader.FramesRejected()) + " dropped");
}

void clsSimConsole::ShowHelp(std::string_view) { m_answer(Help()); }

void clsSimConsole::Quit(std::string_view) {
    m_answer("quit");
    m_quit();
}
