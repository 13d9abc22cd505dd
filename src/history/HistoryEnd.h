#pragma once

#include <functional>
#include <string>

#include "base/clsIHost.h"
#include "history/clsIHistory.h"

/// The end of a program while another one has the history for itself.
namespace HistoryEnd {

/// Turns the loop until nothing waits to be kept, 30 s are over or `ended` is true. What is lost then is
/// given to `say`, and that it takes its time: after a second, or `atOnce`.
void Await(clsIHost& host, clsIHistory& history, bool atOnce, const std::function<bool()>& ended,
           const std::function<void(const std::string& text)>& say);

}  // namespace HistoryEnd
