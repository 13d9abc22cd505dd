#include "settings/CardTypes.h"

#include <algorithm>

#include "settings/ZarnInfo.h"

namespace {
constexpr std::string_view unknownTag = "[???]";
}

std::string_view TagOfCardType(std::int32_t cardType) {
    const std::int32_t low = cardType & 0x0F;
    const auto* const at = std::find_if(cardTypes.begin(), cardTypes.end(),
                                        [low](const CardTypeEntry& entry) { return entry.CardType == low; });
    return at == cardTypes.end() ? unknownTag : at->Tag;
}

std::int32_t CardTypeOfTag(std::string_view tag) {
    const auto* const at = std::find_if(cardTypes.begin(), cardTypes.end(),
                                        [tag](const CardTypeEntry& entry) { return entry.Tag == tag; });
    return at == cardTypes.end() ? cardTypeOther : at->CardType;
}
