#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/clsSimReader.h"
#include "sim/pty/clsPtyLine.h"

/// What a person or a script does to the reader while it runs: one command a line. Every command is answered
/// with at least one line, a wrong one with one error that says what is wrong. Owned by the program.
class clsSimConsole {
  public:
    using Print = std::function<void(const std::string&)>;

    /// `answer` and `error` take lines without line end; `quit` ends the program.
    clsSimConsole(clsSimReader& reader, clsPtyLine& line, Print answer, Print error,
                  std::function<void()> quit);

    void Execute(std::string_view line);
    /// The commands, one a line.
    static std::string Help();

  private:
    struct Command;

    void Card(std::string_view text);
    void Get(std::string_view text);
    void Set(std::string_view text);
    void Dump(std::string_view text);
    void Fault(std::string_view text);
    void ListFaults(std::string_view text);
    void ClearFaults(std::string_view text);
    void Type(std::string_view text);
    void Unplug(std::string_view text);
    void Replug(std::string_view text);
    void Status(std::string_view text);
    void ShowHelp(std::string_view text);
    void Quit(std::string_view text);

    void ShowRegister(int number);
    static const std::vector<Command>& Commands();

    clsSimReader& m_reader;
    clsPtyLine& m_line;
    Print m_answer;
    Print m_error;
    std::function<void()> m_quit;
};
