#include "widgets/logic/ControlText.h"

#include <algorithm>

#include "base/ControlNames.h"

namespace {

constexpr std::size_t controlCharacters = 32;

}  // namespace

namespace ControlText {

View ToView(std::string_view text) {
    View view;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (code >= controlCharacters) {
            view.push_back({c, /*Blue=*/false});
            continue;
        }
        view.push_back({'<', /*Blue=*/true});
        for (const char letter : ControlNames::GetASCIIName(code)) view.push_back({letter, /*Blue=*/true});
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
            const auto code = ControlNames::CodeOf(name);
            if (code) result.Text += *code;
            result.Damaged = result.Damaged || !code;
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
