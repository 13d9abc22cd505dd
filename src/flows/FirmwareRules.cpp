#include "flows/FirmwareRules.h"

#include "base/modText.h"

namespace {

double NumberBehind(std::string_view text, char mark) {
    const auto at = text.find(mark);
    return at == std::string_view::npos ? 0 : modText::Val(text.substr(at + 1));
}

}  // namespace

double FirmwareRules::VersionNumber(std::string_view version) {
    return NumberBehind(version, 'V') + NumberBehind(version, 'R') / 100000;
}

FirmwareRules FirmwareRules::For(std::string_view version, std::string_view serial) {
    const double v = VersionNumber(version);
    const bool newModel = serial == "FWQ-K4436" || serial == "FWQ-K4407";
    FirmwareRules rules;
    rules.Known = true;
    rules.WithoutLeadingZeros = v >= 1.01004;
    rules.TagFrequency = v >= 1.02002 || newModel;
    rules.UsbInterface = newModel;
    rules.Buzzer = newModel;
    rules.NoneDelimiter = v >= (serial == "FWQ-K3861" ? 1.01005 : 1.01007);
    return rules;
}

std::string_view FirmwareRules::Lacks(const SettingItem& item, const ZarnInfo& record) const {
    const auto unless = [](bool offered, std::string_view needs) { return offered ? "" : needs; };
    if (item.Kind() != ItemKind::Setting) return {};
    switch (item.Id()) {
        case Setting::IDWithoutLeadingZeros: return unless(WithoutLeadingZeros, withoutLeadingZerosNeeds);
        case Setting::TagFrequency: return unless(TagFrequency, tagFrequencyNeeds);
        case Setting::UsbInterface: return unless(UsbInterface, usbInterfaceNeeds);
        case Setting::BuzzerEnabled: return unless(Buzzer, usbInterfaceNeeds);
        case Setting::Delimiter:
            return unless(NoneDelimiter || record.Delimiter != delimiterNone, noneDelimiterNeeds);
        default: return {};
    }
}
