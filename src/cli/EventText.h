#pragma once

#include <array>
#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "history/HistoryEvent.h"

/// How the command line shows events of the history.
namespace EventText {

/// As people name an event: the beginning of its id.
std::string ShortId(const HistoryEvent& event);
/// What is known of an event in one line: an object with the columns of CSV as its keys.
nlohmann::ordered_json Summary(const HistoryEvent& event);
/// RFC 4180: the line of the columns' names, and an event's line.
std::string CsvHead();
std::string CsvLine(const HistoryEvent& event);

}  // namespace EventText

/// Events line by line, their columns one below the other. A value.
class clsEventTable {
  public:
    void Add(const HistoryEvent& event);
    [[nodiscard]] std::string Text() const;

  private:
    static constexpr std::size_t columns = 8;
    std::string m_cells;  // each with a line feed behind it, for a long list has many
    std::array<std::size_t, columns> m_widths{};
};
