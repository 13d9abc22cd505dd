#pragma once

#include <string>
#include <vector>

#include "flows/clsSettingsFile.h"
#include "settings/Differences.h"

/// In what two settings files differ, without a reader: also in a setting that only one of them names, whose
/// value for the other is then "(not in the file)". Both have been checked; one that cannot be read any more
/// counts as empty.
std::vector<SettingDifference> FileDifferences(clsSettingsFile& files, const std::string& a,
                                               const std::string& b);
