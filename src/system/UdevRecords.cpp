#include "system/UdevRecords.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <system_error>
#include <utility>

#include "system/FolderEntries.h"

namespace fs = std::filesystem;

namespace UdevRecords {

namespace {

// The one of the manager's own that gives away what has the tag.
constexpr auto givingRules = "73-seat-late.rules";
constexpr auto givingTag = "uaccess";

// Nothing where there is none: a link that leads nowhere is no file to the manager either.
std::optional<RuleFile> ReadRules(const fs::path& path) {
    RuleFile file;
    file.Path = path.string();
    file.Shipped = path.filename() == ruleName;
    file.Late = path.filename() > givingRules;
    std::error_code failed;
    const fs::file_type type = fs::status(path, failed).type();
    if (type == fs::file_type::not_found) return std::nullopt;
    if (type == fs::file_type::regular) {
        std::ifstream stream(path);
        file.Unread = !stream;
        file.Content.assign(std::istreambuf_iterator<char>(stream), {});
    }
    file.Unread = file.Unread || failed;
    file.Void = !file.Unread && file.Content.empty();  // as what is linked to /dev/null is
    file.MayGive = file.Unread || file.Content.find(givingTag) != std::string::npos;
    return file;
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
            auto rule = ReadRules(file);
            if (!rule) continue;
            rule->Hidden = !seenNames.insert(file.filename()).second;
            if (rule->Shipped || rule->MayGive) rules.push_back(std::move(*rule));
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
