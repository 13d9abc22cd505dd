#include "wire/RecordingMask.h"

#include <algorithm>
#include <array>
#include <map>
#include <numeric>
#include <string_view>
#include <utility>
#include <vector>

#include "base/modText.h"
#include "frame/OrvNetFrame.h"
#include "wire/AnswerDoubt.h"
#include "wire/FrameShape.h"
#include "wire/RecordingRows.h"

using FrameShape::Answers;
using FrameShape::FrameText;
using FrameShape::HoldsKeysOrID;
using FrameShape::IsFrame;
using FrameShape::IsHexDigits;
using FrameShape::IsRefusal;
using FrameShape::RegisterOf;

namespace {

constexpr std::size_t checksumSize = 2;
constexpr std::uint8_t unused = 0xFF;

/// What a byte may become: one of its own alphabet, so that a text stays a text and a number a number.
enum class Alphabet { Value, Text };
int AlphabetOf(Alphabet kind, std::uint8_t value) {
    if (kind == Alphabet::Value) return 0;
    constexpr std::string_view structure = "\x02\t\n\r";
    if (structure.find(static_cast<char>(value)) != std::string_view::npos) return -1 - value;
    if (value >= '0' && value <= '9') return 1;
    if (value >= 'A' && value <= 'F') return 2;
    if (value >= 'a' && value <= 'f') return 3;
    if (value >= 'A' && value <= 'Z') return 4;
    if (value >= 'a' && value <= 'z') return 5;
    if (value < ' ') return 6;
    return value < 0x7F ? 7 : 8;
}

using Permutation = std::array<std::uint8_t, 256>;

// 00 and FF mean the end of a text, or nothing at all, and stay.
Permutation MakePermutation(Alphabet kind, const Draw& draw) {
    Permutation table{};
    std::iota(table.begin(), table.end(), std::uint8_t{0});
    std::map<int, std::vector<std::uint8_t>> alphabets;
    for (int value = 1; value < unused; ++value)
        alphabets[AlphabetOf(kind, static_cast<std::uint8_t>(value))].push_back(
            static_cast<std::uint8_t>(value));
    for (const auto& [name, members] : alphabets) {
        std::vector<std::uint8_t> shuffled = members;
        for (std::size_t i = shuffled.size(); i > 1; --i)
            std::swap(shuffled[i - 1], shuffled[draw(static_cast<std::uint32_t>(i))]);
        for (std::size_t i = 0; i < members.size(); ++i) table.at(members[i]) = shuffled[i];
    }
    return table;
}

/// What a byte is one of: a register, or a place in a text of a kind.
enum class Place { Register, Card, Serial, Typed };

class clsMasker {
  public:
    explicit clsMasker(const Draw& draw) : m_draw(draw) {}

    [[nodiscard]] char Byte(Place place, int index, char byte) {
        const auto found = m_permutations.find({place, index});
        const bool raw = place == Place::Register || place == Place::Card;
        const Permutation& table = found != m_permutations.end()
                                       ? found->second
                                       : m_permutations[{place, index}] =
                                             MakePermutation(raw ? Alphabet::Value : Alphabet::Text, m_draw);
        return static_cast<char>(table.at(static_cast<std::uint8_t>(byte)));
    }
    void Text(Place place, std::string& bytes, std::size_t from = 0) {
        for (std::size_t i = from; i < bytes.size(); ++i)
            bytes[i] = Byte(place, static_cast<int>(i - from), bytes[i]);
    }
    /// Two digits at `at` are one byte.
    void Digits(Place place, int index, std::string& text, std::size_t at) {
        const std::string_view digits = std::string_view(text).substr(at, 2);
        if (digits.size() < 2 || !IsHexDigits(digits)) return Text(Place::Typed, text, at);
        const char byte = Byte(place, index, static_cast<char>(modText::HexValue(digits)));
        text.replace(at, 2, modText::Hex(static_cast<std::uint8_t>(byte), 2));
    }

  private:
    const Draw& m_draw;
    std::map<std::pair<Place, int>, Permutation> m_permutations;
};

// Rights the checksum behind a text that was changed; one that was wrong stays as wrong.
std::string WithChecksum(const std::string& former, const std::string& text, const std::string& digits) {
    const unsigned wrong = modText::HexValue(digits) ^ OrvNetFrame::CalcChkSum(former);
    return text + modText::Hex(OrvNetFrame::CalcChkSum(text) ^ wrong, 2);
}

/// Goes through a recording's frames in their order.
class clsFrameMasker {
  public:
    clsFrameMasker(const Recording& recording, const Draw& draw)
        : m_from(recording),
          m_rows(RowsOf(recording)),
          m_doubts(DoubtsOf(recording, m_rows)),
          m_masker(draw) {}

    Recording All() {
        Recording masked = m_from;
        HidePort(masked.Head.Port);
        for (std::size_t i = 0; i < masked.Entries.size(); ++i) Mask(i, masked.Entries[i]);
        return masked;
    }

  private:
    static void HidePort(std::string& port) {
        const bool serial = port.starts_with("COM") && port.size() > 3 &&
                            port.find_first_not_of("0123456789", 3) == std::string::npos;
        if (!port.empty() && !serial) port = "HID";
    }

    void Mask(std::size_t index, RecordingEntry& entry);
    void MaskAdapter(std::string& packet, bool received);
    void MaskCommand(std::string& bytes);
    void MaskImage(std::string& bytes, int offset, ImageTrust trust);
    void MaskReply(std::size_t index, std::string& bytes);
    void MaskUnasked(std::string& bytes);
    void MaskSerial(std::string& text);
    const Recording& m_from;
    const std::vector<RecordedRow> m_rows;
    const std::vector<AnswerDoubt> m_doubts;
    clsMasker m_masker;
    char m_adapterCode = 0;  // of the last command to it
};

void clsFrameMasker::Mask(std::size_t index, RecordingEntry& entry) {
    switch (entry.What) {
        case RecordingEntry::Kind::Port:
        case RecordingEntry::Kind::Lost: HidePort(entry.Port); return;
        case RecordingEntry::Kind::End: return;
        case RecordingEntry::Kind::Adapter: MaskAdapter(entry.Bytes, entry.Received); return;
        case RecordingEntry::Kind::Frame: break;
    }
    if (!entry.Received) {
        MaskCommand(entry.Bytes);
    } else if (m_rows[index].Row.Start.ImageOffset >= 0) {
        MaskImage(entry.Bytes, m_rows[index].Row.Start.ImageOffset, m_doubts[index].Image);
    } else if (IsFrame(entry.Bytes)) {
        MaskReply(index, entry.Bytes);
    } else {
        MaskUnasked(entry.Bytes);
    }
}

// Of an adapter's own memory and its key code nothing is known: lengths alone stay. What the other commands
// carry is a speed, a direction or a version.
void clsFrameMasker::MaskAdapter(std::string& packet, bool received) {
    constexpr std::string_view harmless = "\x01\x03\x04\x05\x0B\xCB";
    if (!received && !packet.empty()) m_adapterCode = packet.front();
    if (harmless.find(m_adapterCode) != std::string_view::npos) return;
    for (std::size_t i = 2; i < packet.size(); ++i) packet[i] = '\0';
}

void clsFrameMasker::MaskCommand(std::string& bytes) {
    if (!IsFrame(bytes) || bytes[1] != 'C') return;
    const std::string text = bytes.substr(1, bytes.size() - 2);
    const int number = RegisterOf(text);
    const std::size_t comma = text.find(',');
    if (number >= 0 && !HoldsKeysOrID(number)) return;
    if (number < 0 || comma == std::string::npos || text.size() != comma + 3 + checksumSize)
        return MaskUnasked(bytes);
    const std::string former = text.substr(0, text.size() - checksumSize);
    std::string changed = former;
    m_masker.Digits(Place::Register, number, changed, comma + 1);
    bytes = OrvNetFrame::STX + WithChecksum(former, changed, text.substr(former.size())) + OrvNetFrame::CR;
}

// What broke off may as well have been typed.
void clsFrameMasker::MaskImage(std::string& bytes, int offset, ImageTrust trust) {
    const std::string_view text = std::string_view(bytes).substr(IsFrame(bytes) ? 1 : 0);
    constexpr std::size_t refusal = 5;
    if (offset == 0 && bytes.size() == refusal && IsFrame(bytes) && text.starts_with('N')) return;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const int number = offset + static_cast<int>(i);
        if (trust == ImageTrust::None || HoldsKeysOrID(number))
            bytes[i] = m_masker.Byte(Place::Register, number, bytes[i]);
    }
}

void clsFrameMasker::MaskReply(std::size_t index, std::string& bytes) {
    const std::uint64_t partner = m_rows[index].Row.Partner;
    const std::string_view asked =
        partner == clsPairing::none ? std::string_view() : FrameText(m_from.Entries.at(partner).Bytes);
    std::string text(FrameText(bytes));
    if (IsRefusal(text)) return;
    char command = asked.empty() ? '\0' : asked.front();
    int number = RegisterOf(asked);
    // Where it is not sure which command it answers, it is masked for the one that has something to hide.
    if (m_doubts[index].Hidden >= 0 && !HoldsKeysOrID(number)) {
        command = 'B';
        number = m_doubts[index].Hidden;
    }
    if (!Answers(command, text)) return MaskUnasked(bytes);
    switch (command) {
        case 'C':
        case 'D':
        case 'X': return;
        case 'V': MaskSerial(text); break;
        case 'J':
            for (std::size_t at = std::min(text.find(','), text.size()) + 1; at < text.size(); at += 2)
                m_masker.Digits(Place::Card, static_cast<int>(at), text, at);
            break;
        case 'B': {
            if (number >= 0 && !HoldsKeysOrID(number)) return;
            if (number < 0) return MaskUnasked(bytes);
            const std::string former = text.substr(0, text.size() - checksumSize);
            std::string changed = former;
            m_masker.Digits(Place::Register, number, changed, 1);
            text = WithChecksum(former, changed, text.substr(former.size()));
            break;
        }
        default: return MaskUnasked(bytes);
    }
    bytes = OrvNetFrame::STX + text + OrvNetFrame::CR;
}

// The name of a model, by which the program goes, is nobody's own.
void clsFrameMasker::MaskSerial(std::string& text) {
    const std::size_t comma = std::min(text.find(',', 2), text.size());
    const std::size_t from = std::min(comma + 1, text.size());
    if (!modText::Like(text.substr(from), "[A-Z][A-Z][A-Z]-K####")) m_masker.Text(Place::Serial, text, from);
}

// What the reader types, late replies that belong to nothing any more, and whatever else came.
void clsFrameMasker::MaskUnasked(std::string& bytes) {
    const std::string former = bytes;
    m_masker.Text(Place::Typed, bytes);
    if (!IsFrame(former) || former.size() <= 2 + checksumSize) return;
    const std::size_t end = former.size() - 1 - checksumSize;
    const std::string digits = former.substr(end, checksumSize);
    if (!IsHexDigits(digits)) return;
    if (OrvNetFrame::CalcChkSum(former.substr(1, end - 1)) != modText::HexValue(digits)) return;
    bytes.replace(end, checksumSize, modText::Hex(OrvNetFrame::CalcChkSum(bytes.substr(1, end - 1)), 2));
}

}  // namespace

Recording Masked(const Recording& recording, const Draw& draw) {
    return clsFrameMasker(recording, draw).All();
}
