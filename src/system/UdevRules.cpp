#include "system/UdevRules.h"

#include <fnmatch.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>
#include <vector>

#include "base/modText.h"

namespace fs = std::filesystem;

namespace {

struct Term {
    std::string Key;  // "ATTRS{idVendor}"
    std::string Operator;
    std::string Value;
    [[nodiscard]] bool Condition() const { return Operator == "==" || Operator == "!="; }
    // That a value meets it.
    [[nodiscard]] bool Holds(const std::string& value) const {
        const auto patterns = modText::Split(Value, '|');
        const bool met = std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
            return fnmatch(pattern.c_str(), value.c_str(), 0) == 0;
        });
        return met == (Operator == "==");
    }
};

std::vector<Term> TermsOf(std::string_view line) {
    constexpr std::string_view gaps = ", \t";
    std::vector<Term> terms;
    if (modText::LTrim(line).starts_with('#')) return terms;
    for (;;) {
        const auto open = line.find('"');
        const auto close = open == std::string_view::npos ? open : line.find('"', open + 1);
        if (close == std::string_view::npos) return terms;
        std::string_view head = line.substr(0, open);
        head.remove_prefix(std::min(head.find_first_not_of(gaps), head.size()));
        const auto sign = std::min(head.find_first_of("=!+-:"), head.size());
        terms.push_back({modText::Trim(head.substr(0, sign)), modText::Trim(head.substr(sign)),
                         std::string(line.substr(open + 1, close - open - 1))});
        line.remove_prefix(close + 1);
    }
}

// A line that ends with a backslash goes on in the next one.
std::vector<std::vector<Term>> LinesOf(const std::string& content) {
    std::vector<std::vector<Term>> lines;
    std::istringstream stream(content);
    std::string whole;
    for (std::string line; std::getline(stream, line);) {
        whole += line;
        if (whole.ends_with('\\')) {
            whole.pop_back();
            continue;
        }
        lines.push_back(TermsOf(whole));
        whole.clear();
    }
    return lines;
}

// The keys that are asked of the device and of all above it; one of these has to meet all of a line's.
bool OfParents(const std::string& key) {
    constexpr std::array keys{"KERNELS", "SUBSYSTEMS", "DRIVERS"};
    return key.starts_with("ATTRS{") || std::find(keys.begin(), keys.end(), key) != keys.end();
}

bool HoldsAt(const Term& term, const fs::path& folder) {
    std::error_code failed;
    if (term.Key == "KERNELS") return term.Holds(folder.filename().string());
    if (!term.Key.starts_with("ATTRS{")) {
        const fs::path link = folder / (term.Key == "DRIVERS" ? "driver" : "subsystem");
        return term.Holds(fs::read_symlink(link, failed).filename().string());
    }
    const std::string name = term.Key.substr(6, term.Key.size() - 7);
    std::ifstream file(folder / name);
    std::string value;
    return name.find('/') == std::string::npos && std::getline(file, value) &&
           term.Holds(modText::Trim(value));
}

bool HoldAtOne(const std::vector<Term>& terms, const UdevDevice& device) {
    const auto hold = [&](const fs::path& folder) {
        return std::all_of(terms.begin(), terms.end(),
                           [&](const Term& term) { return HoldsAt(term, folder); });
    };
    if (terms.empty() || hold(device.Folder)) return true;
    std::error_code failed;
    for (fs::path at = fs::canonical(fs::path(device.Folder) / "device", failed);
         !failed && at.has_relative_path(); at = at.parent_path())
        if (hold(at)) return true;
    return false;
}

// With `unknown` for each condition that is not understood.
bool Meets(const std::vector<Term>& line, const UdevDevice& device, bool unknown) {
    std::vector<Term> parents;
    for (const Term& term : line) {
        if (!term.Condition()) continue;
        bool holds = unknown;
        if (OfParents(term.Key)) {
            parents.push_back(term);
            continue;
        }
        if (term.Key == "SUBSYSTEM") holds = term.Holds(device.Kind);
        if (term.Key == "KERNEL") holds = term.Holds(fs::path(device.Folder).filename().string());
        if (term.Key == "ACTION") holds = term.Holds("add");
        if (!holds) return false;
    }
    return HoldAtOne(parents, device);
}

bool Gives(const Term& term) {
    return term.Key == "TAG" && term.Value == "uaccess" &&
           (term.Operator == "+=" || term.Operator == "=" || term.Operator == ":=");
}

}  // namespace

namespace UdevRules {

bool Give(const std::string& content, const UdevDevice& device) {
    std::string jump;  // the mark at which the rules go on; empty: they do
    for (const std::vector<Term>& line : LinesOf(content)) {
        const auto value = [&](const char* key) {
            const auto term =
                std::find_if(line.begin(), line.end(), [&](const Term& entry) { return entry.Key == key; });
            return term == line.end() ? std::string() : term->Value;
        };
        if (!jump.empty() && value("LABEL") != jump) continue;
        jump.clear();
        if (std::any_of(line.begin(), line.end(), Gives) && Meets(line, device, /*unknown=*/false))
            return true;
        if (const std::string mark = value("GOTO"); !mark.empty() && Meets(line, device, /*unknown=*/true))
            jump = mark;
    }
    return false;
}

}  // namespace UdevRules
