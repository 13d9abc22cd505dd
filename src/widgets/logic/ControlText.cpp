#include "widgets/logic/ControlText.h"

#include <algorithm>
#include <array>

#include "base/modText.h"

namespace {

constexpr std::array<std::string_view, 33> names{
    "NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL", "BS",  "TAB", "LF",
    "VT",  "FF",  "CR",  "SO",  "SI",  "DLE", "DC1", "DC2", "DC3", "DC4", "NAK",
    "SYN", "ETB", "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US",  "(SP)"};
constexpr std::size_t controlCharacters = 32;

}  // namespace

namespace ControlText {

std::string_view GetASCIIName(unsigned char code) {
    return code < names.size() ? names.at(code) : std::string_view();
}

View ToView(std::string_view text) {
    View view;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (code >= controlCharacters) {
            view.push_back({c, /*Blue=*/false});
            continue;
        }
        view.push_back({'<', /*Blue=*/true});
        for (const char letter : GetASCIIName(code)) view.push_back({letter, /*Blue=*/true});
        view.push_back({'>', /*Blue=*/true});
    }
    return view;
}

Reading FromView(std::span<const ViewCharacter> view) {
    Reading result;
    bool open = false;
    std::string name;
    for (const auto& [character, blue] : view) {
        if (!blue) {
            result.Text += character;
            result.Damaged = result.Damaged || open;
        } else if (character == '<') {
            result.Damaged = result.Damaged || open;
            open = true;
            name.clear();
        } else if (!open) {
            result.Damaged = true;
        } else if (character == '>') {
            open = false;
            const auto* const end = names.begin() + controlCharacters;
            const auto* const at = std::find(names.begin(), end, modText::UCase(name));
            if (at == end) {
                result.Damaged = true;
            } else {
                result.Text += static_cast<char>(at - names.begin());
            }
        } else {
            name += character;
        }
    }
    result.Damaged = result.Damaged || open;
    return result;
}

Reading Settle(std::span<const ViewCharacter> view, int maxLength) {
    Reading result = FromView(view);
    if (maxLength >= 1 && result.Text.size() > static_cast<std::size_t>(maxLength)) {
        result.Text.resize(static_cast<std::size_t>(maxLength));
        result.Damaged = true;
    }
    return result;
}

std::size_t CaretAfterRebuild(std::span<const ViewCharacter> view, std::size_t caret) {
    return ToView(FromView(view.first(std::min(caret, view.size()))).Text).size();
}

Bounds NameAround(std::span<const ViewCharacter> view, std::size_t position) {
    const Bounds outside{position, position};
    std::size_t begin = position;
    while (true) {
        if (begin == 0 || !view[begin - 1].Blue || view[begin - 1].Character == '>') return outside;
        if (view[--begin].Character == '<') break;
    }
    std::size_t end = position;
    while (end < view.size() && view[end].Blue && view[end].Character != '<') {
        if (view[end++].Character == '>') return {begin, end};
    }
    return outside;
}

bool MayType(std::size_t length, int maxLength, bool hasSelection) {
    if (maxLength < 1) return true;
    if (hasSelection && length > 0) --length;
    return length < static_cast<std::size_t>(maxLength);
}

}  // namespace ControlText
