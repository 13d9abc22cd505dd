#pragma once

#include <string_view>

#include "settings/Differences.h"

constexpr std::int32_t delimiterNone = 3;  ///< of `ZarnInfo::Delimiter`, where the firmware has it

/// What a reader's firmware offers. A new one holds what is offered while no reader has been seen: all
/// controls, so that files can be prepared without a reader, and the list "None" only where a record asks.
struct FirmwareRules {
    bool WithoutLeadingZeros = true;  ///< `chkWithoutLeadingZeros` is enabled
    bool TagFrequency = true;         ///< `cboTagFrequency` is enabled
    bool UsbInterface = true;         ///< `cboUsbInterface` is enabled
    bool Buzzer = true;               ///< `chkBuzzerEnabled` is shown
    bool NoneDelimiter = false;       ///< `cboDelimiter` has the entry "None"
    bool Known = false;               ///< a reader told its firmware
    bool operator==(const FirmwareRules&) const = default;

    /// The rules for a version text ("V1.01R004") and a firmware serial number.
    static FirmwareRules For(std::string_view version, std::string_view serial);
    /// The number behind the first "V" plus the one behind the first "R" / 100000; 0 for a missing part.
    static double VersionNumber(std::string_view version);

    /// What enables a control, for its tooltip.
    static constexpr std::string_view withoutLeadingZerosNeeds = "Needs firmware V1.01R004 or later";
    static constexpr std::string_view tagFrequencyNeeds =
        "Needs firmware V1.02R002 or later, or model FWQ-K4436 or FWQ-K4407";
    static constexpr std::string_view usbInterfaceNeeds = "Needs model FWQ-K4436 or FWQ-K4407";
    static constexpr std::string_view noneDelimiterNeeds =
        "Needs firmware V1.01R007 or later, or V1.01R005 on FWQ-K3861";

    /// What this firmware would need to go by what `record` has for the setting; empty when it does.
    [[nodiscard]] std::string_view Lacks(const SettingItem& item, const ZarnInfo& record) const;
};
