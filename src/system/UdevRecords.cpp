#include "system/UdevRecords.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <system_error>

#include "base/modText.h"
#include "system/FolderEntries.h"

namespace fs = std::filesystem;

namespace UdevRecords {

namespace {

std::string ContentOf(const fs::path& file) {
    std::ostringstream content;
    content << std::ifstream(file).rdbuf();
    return content.str();
}

// Comments aside: a rule, not a sentence, names the maker.
bool TellsOfReaders(const std::string& content) {
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line);)
        if (!modText::LTrim(line).starts_with('#') && modText::ContainsNoCase(line, "2E91")) return true;
    return false;
}

}  // namespace

std::vector<RuleFile> Rules(const std::vector<std::string>& folders) {
    std::vector<RuleFile> rules;
    std::set<fs::path> seenFolders;
    std::set<fs::path> seenNames;
    for (const std::string& folder : folders) {
        std::error_code failed;
        const fs::path real = fs::canonical(folder, failed);  // one may be a link to another
        if (failed || !seenFolders.insert(real).second) continue;
        std::vector<fs::path> files = FolderEntries(folder);
        std::sort(files.begin(), files.end());
        for (const fs::path& file : files) {
            if (file.extension() != ".rules") continue;
            const std::string content = ContentOf(file);
            const bool shipped = file.filename() == ruleName;
            const bool tells = TellsOfReaders(content);
            const bool hidden = !seenNames.insert(file.filename()).second;
            if (shipped || tells) rules.push_back({file.string(), !tells, hidden});
        }
    }
    return rules;
}

std::optional<DeviceRecord> RecordOf(const std::string& folder, const std::string& number) {
    std::ifstream file(folder + "/c" + number);
    if (!file) return std::nullopt;
    DeviceRecord record;
    for (std::string line; std::getline(file, line);) {
        record.Given = record.Given || line == "G:uaccess";
        record.ModemIgnored = record.ModemIgnored || line == "E:ID_MM_DEVICE_IGNORE=1";
    }
    return record;
}

}  // namespace UdevRecords
