#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Texts that may hold the control characters 0..31, and how a box shows them: a control character as its
/// name between "<" and ">" in blue, any other character as itself in black. The colour alone tells a name
/// from the same characters typed by hand.
namespace ControlText {

struct ViewCharacter {
    char Character = 0;
    bool Blue = false;
    bool operator==(const ViewCharacter&) const = default;
};
using View = std::vector<ViewCharacter>;

/// How a box shows the text.
View ToView(std::string_view text);

struct Reading {
    std::string Text;
    bool Damaged = false;  ///< the view is not what ToView makes of Text
};
/// The text behind a view. Blue characters that form no known name are left out.
Reading FromView(std::span<const ViewCharacter> view);

/// The text that a box with this view is left with, at most `maxLength` bytes where that is 1 or more;
/// damaged also means cut.
Reading Settle(std::span<const ViewCharacter> view, int maxLength);

/// Where a caret before the view's character `caret` stands after the view was rebuilt from its text: behind
/// the same text as before.
std::size_t CaretAfterRebuild(std::span<const ViewCharacter> view, std::size_t caret);

/// The first and last position of the name that has `position` in its inside, or twice `position`.
struct Bounds {
    std::size_t Begin = 0;
    std::size_t End = 0;
};
Bounds NameAround(std::span<const ViewCharacter> view, std::size_t position);

/// Whether a key that carries a character is taken: a full box takes it only in exchange for a selection. A
/// `maxLength` below 1 is no limit.
bool MayType(std::size_t length, int maxLength, bool hasSelection);

}  // namespace ControlText
