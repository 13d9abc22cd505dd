#include "wire/Meaning.h"

#include <algorithm>
#include <array>
#include <optional>

#include "base/ControlNames.h"
#include "base/modText.h"
#include "frame/OrvNetFrame.h"
#include "frame/ReaderAnswers.h"
#include "settings/CardTypes.h"
#include "settings/RegisterMeaning.h"
#include "settings/ZarnRegisterMap.h"

namespace {

constexpr std::string_view arrow = " \xE2\x86\x92 ";
constexpr std::string_view leftArrow = " \xE2\x86\x90 ";
constexpr char adapterCommand = 'H';
constexpr std::int64_t usPerMs = 1000;
constexpr std::size_t checksumSize = 2;
constexpr std::uint8_t busyCode = 7;
constexpr std::string_view taken = "A";  // the only answer that the comm control takes for a written register

std::string Milliseconds(std::int64_t microseconds) { return std::to_string(microseconds / usPerMs) + " ms"; }
std::string Readable(std::string_view bytes) { return modText::ToUtf8(ControlNames::Visible(bytes)); }

bool IsFrame(std::string_view bytes) {
    return bytes.size() > 1 && bytes.front() == OrvNetFrame::STX && bytes.back() == OrvNetFrame::CR;
}
std::string_view Inside(std::string_view frame) { return frame.substr(1, frame.size() - 2); }

bool IsHex(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789ABCDEFabcdef") == std::string_view::npos;
}

/// A command to the reader, taken apart.
struct Command {
    char Letter = 0;
    int Register = -1;
    std::optional<std::uint8_t> Value;  // that is written
    bool ChecksumWrong = false;
};

Command Parse(std::string_view frame) {
    Command command;
    if (!IsFrame(frame) || frame.size() == 2) return command;
    std::string_view text = Inside(frame);
    command.Letter = text.front();
    if (command.Letter == 'C' && text.size() > checksumSize) {
        const std::string_view body = text.substr(0, text.size() - checksumSize);
        command.ChecksumWrong = modText::Hex(OrvNetFrame::CalcChkSum(body), 2) != text.substr(body.size());
        text = body;
    }
    if (command.Letter != 'B' && command.Letter != 'C') return command;
    const std::size_t comma = std::min(text.find(','), text.size());
    const std::string_view number = text.substr(1, comma - 1);
    if (IsHex(number)) command.Register = static_cast<int>(modText::HexValue(number) & 0xFFFFU);
    if (comma < text.size() && IsHex(text.substr(comma + 1)))
        command.Value = static_cast<std::uint8_t>(modText::HexValue(text.substr(comma + 1)));
    return command;
}

// What the byte means by itself: of the others it is only supposed that it counts.
std::string ByteMeaning(int number, std::uint8_t value) {
    const RegisterRole role = RegisterMeaning::RoleOf(number);
    if (!role.Item || role.Part == RegisterPart::CardID) return {};
    constexpr std::uint8_t anyKey = 'A';
    RegisterImage image{};
    image.fill(anyKey);
    const int first = RegisterMeaning::FirstRegisterOf(*role.Item);
    if (role.Item->Kind() != ItemKind::Setting) image.at(static_cast<std::size_t>(first)) = 1;
    if (role.Part == RegisterPart::FilterStart) image.at(static_cast<std::size_t>(first) + 1) = 1;
    image.at(static_cast<std::size_t>(number)) = value;
    return RegisterMeaning::Meaning(number, image);
}

std::string ValueText(int number, std::uint8_t value) {
    const std::string meaning = ByteMeaning(number, value);
    return modText::Hex(value, 2) + (meaning.empty() ? "" : " " + meaning);
}

std::string RegisterText(const Command& command) {
    std::string text = command.Letter == 'B' ? "read register " : "write register ";
    text += command.Register < 0 ? "?" : std::to_string(command.Register);
    const RegisterRole role = RegisterMeaning::RoleOf(command.Register);
    if (role.Item) text += " " + RegisterMeaning::Place(role);
    if (command.Value) text += std::string(leftArrow) + ValueText(command.Register, *command.Value);
    return text;
}

std::string CommandText(const Command& command) {
    switch (command.Letter) {
        case 'V': return "ask for the firmware";
        case 'D': return "ask who is there";
        case 'B':
        case 'C': return RegisterText(command);
        case 'Y': return "read the memory image";
        case 'J': return "ask for the card";
        case 'X': return "start the firmware loader";
        default: return "unknown command";
    }
}

std::string CardText(std::string_view data) {
    if (data == "FF") return "no card";
    const std::size_t comma = std::min(data.find(','), data.size());
    const auto type = static_cast<std::int32_t>(modText::HexValue(data.substr(0, comma)));
    const auto* at = std::find_if(cardTypes.begin(), cardTypes.end(),
                                  [type](const CardTypeEntry& entry) { return entry.CardType == type; });
    return (at == cardTypes.end() ? "card of an unknown type" : std::string(at->Name)) + " " +
           Readable(data.substr(std::min(comma + 1, data.size())));
}

// What an accepted reply holds.
std::string DataText(const Command& command, std::string_view reply, const std::string& data) {
    switch (command.Letter) {
        case 'B': return ValueText(command.Register, static_cast<std::uint8_t>(modText::HexValue(data)));
        case 'J': return CardText(data);
        case 'V': {
            const auto firmware = SplitFirmwareAnswer(OrvNetFrame::AcceptedText(reply));
            if (firmware) return Readable(firmware->Version + ", serial number " + firmware->FirmwareSN);
            break;
        }
        default: break;
    }
    return Readable(OrvNetFrame::AcceptedText(reply));
}

std::string RefusalText(std::uint8_t code) {
    return "refused: N" + modText::Hex(code, 2) + (code == busyCode ? " (busy)" : "");
}

// How long it took, and whether that was too long.
std::string TimeText(const WireRow& row, const WireRow& asked, std::int64_t timedOutAt,
                     WireMeaning& meaning) {
    if (timedOutAt == noTimeOut)
        return ", " + Milliseconds(row.Start.Microseconds - asked.Start.Microseconds);
    meaning.Fault = true;
    return ", late, " + Milliseconds(row.Start.Microseconds - timedOutAt) + " after the time-out";
}

void ExplainReply(const WireRow& row, const WireRow& asked, std::int64_t timedOutAt, WireMeaning& meaning) {
    const Command command = Parse(asked.Bytes);
    meaning.Command = command.Letter;
    meaning.Register = command.Register;
    std::string_view text = Inside(row.Bytes);
    std::string checksum;
    // A refusal of a reading has the digits like any other answer to it.
    if (command.Letter == 'B') {
        const std::string checked = OrvNetFrame::CheckReply(text);
        checksum = checked.empty() ? ", checksum wrong" : ", checksum good";
        meaning.Fault = checked.empty();
        text = text.substr(0, text.size() > checksumSize ? text.size() - checksumSize : 0);
    }
    const auto reply = OrvNetFrame::ParseReply(text);
    meaning.Text = CommandText(command);
    switch (reply.Kind) {
        case OrvNetFrame::ReplyKind::Accepted:
            if (command.Letter != 'C') {
                meaning.Text += std::string(arrow) + DataText(command, text, reply.Data);
            } else if (text == taken) {
                meaning.Text += ": done";
            } else {
                meaning.Text += ": " + Readable(text) + " is no answer to a write";
                meaning.Fault = true;
            }
            break;
        case OrvNetFrame::ReplyKind::Refused:
            meaning.Text += ": " + RefusalText(reply.Code);
            meaning.Fault = true;
            break;
        case OrvNetFrame::ReplyKind::Nothing:
            meaning.Text += std::string(arrow) + Readable(text);
            meaning.Fault = meaning.Fault || command.Letter != 'X';
            break;
    }
    meaning.Text += TimeText(row, asked, timedOutAt, meaning) + checksum;
}

void ExplainImage(const WireRow& row, const WireRow* asked, std::int64_t timedOutAt, WireMeaning& meaning) {
    meaning.Command = 'Y';
    meaning.Text = "read the memory image";
    const auto reply = IsFrame(row.Bytes) ? OrvNetFrame::ParseReply(Inside(row.Bytes)) : OrvNetFrame::Reply{};
    const std::size_t end = static_cast<std::size_t>(row.Start.ImageOffset) + row.Bytes.size();
    if (reply.Kind == OrvNetFrame::ReplyKind::Refused && row.Start.ImageOffset == 0) {
        meaning.Text += ": " + RefusalText(reply.Code);
        meaning.Fault = true;
    } else if (row.Start.ImageOffset == 0 && end == registerCount) {
        meaning.Text += std::string(arrow) + std::to_string(end) + " bytes";
    } else {
        meaning.Text += std::string(arrow) + "bytes " + std::to_string(row.Start.ImageOffset + 1) + " to " +
                        std::to_string(end) + " of " + std::to_string(registerCount);
        meaning.Fault = end < registerCount || row.Start.ImageOffset > 0;
    }
    if (asked != nullptr && row.Start.ImageOffset == 0)
        meaning.Text += TimeText(row, *asked, timedOutAt, meaning);
}

void ExplainUnasked(std::string_view bytes, WireMeaning& meaning) {
    const bool typed = std::all_of(bytes.begin(), bytes.end(), [](char c) {
        return (c >= ' ' && c != '\x7F') || c == '\r' || c == '\n' || c == '\t';
    });
    if (IsFrame(bytes)) {
        meaning.Text = "sent without being asked";
    } else if (bytes.starts_with(OrvNetFrame::STX)) {
        meaning.Text = "a frame without its end";
        meaning.Fault = true;
    } else if (typed) {
        meaning.Text = "typed by the reader";
    } else {
        meaning.Text =
            std::to_string(bytes.size()) + (bytes.size() == 1 ? " byte" : " bytes") + " outside of any frame";
        meaning.Fault = true;
    }
}

// -- the USB adapter ----------------------------------------------------------------------------------------

std::string Number(std::string_view bytes) {
    std::uint32_t value = 0;
    for (const char c : bytes) value = value << 8U | static_cast<std::uint8_t>(c);
    return std::to_string(value);
}

std::string DirectionText(std::string_view data) {
    if (data.empty()) return "nowhere";
    const auto bits = static_cast<std::uint8_t>(data.front());
    std::string text;
    constexpr std::array<const char*, 3> names{"serial", "PS/2", "HID"};
    for (std::size_t i = 0; i < names.size(); ++i)
        if ((bits >> i & 1U) != 0) text += (text.empty() ? "" : " and ") + std::string(names.at(i));
    return text.empty() ? "nowhere" : text;
}

std::string AdapterText(std::string_view packet) {
    const std::string_view data = packet.substr(std::min<std::size_t>(2, packet.size()));
    switch (packet.empty() ? 0 : static_cast<std::uint8_t>(packet.front())) {
        case 1: return "adapter: speed " + Number(data);
        case 2: return "adapter: key code";
        case 3: return "adapter: reader's output to " + DirectionText(data);
        case 4: return "adapter: ask for its version";
        case 5: return "adapter: ask where the output goes after power-up";
        case 9: return "adapter: read its registers";
        case 10: return "adapter: write its registers";
        case 11: return "adapter: erase its memory";
        case 203: return "adapter: forget what is buffered";
        default: return "adapter: unknown command";
    }
}

void ExplainAdapterReply(const WireRow& row, const WireRow* asked, WireMeaning& meaning) {
    constexpr char done = 0x06;
    constexpr char refused = 0x15;
    constexpr char versionCommand = 4;
    constexpr char directionCommand = 5;
    meaning.Text = asked == nullptr ? "adapter: answer" : AdapterText(asked->Bytes);
    const char status = row.Bytes.empty() ? '\0' : row.Bytes.front();
    const char code = asked == nullptr || asked->Bytes.empty() ? '\0' : asked->Bytes.front();
    const std::string_view data = row.Bytes.substr(std::min<std::size_t>(2, row.Bytes.size()));
    meaning.Fault = status != done;
    if (status == refused) {
        meaning.Text += data.starts_with('\x04') ? ": refused, it does not know that" : ": refused";
    } else if (status != done) {
        meaning.Text += ": no answer of an adapter";
    } else if (code == versionCommand) {
        meaning.Text += std::string(arrow) + Readable(data.substr(0, data.find('\0')));
    } else if (code == directionCommand) {
        meaning.Text += std::string(arrow) + DirectionText(data);
    } else {
        meaning.Text += ": done";
    }
    if (asked != nullptr)
        meaning.Text += ", " + Milliseconds(row.Start.Microseconds - asked->Start.Microseconds);
}

void ExplainCommand(const WireRow& row, std::int64_t timedOutAt, WireMeaning& meaning) {
    if (row.Start.Adapter) {
        meaning.Text = AdapterText(row.Bytes);
    } else {
        const Command command = Parse(row.Bytes);
        meaning.Command = command.Letter;
        meaning.Register = command.Register;
        meaning.Text = CommandText(command);
        if (command.ChecksumWrong) {
            meaning.Text += ", checksum wrong";
            meaning.Fault = true;
        }
    }
    if (timedOutAt == noTimeOut) return;
    meaning.Text += ": no answer in " + Milliseconds(timedOutAt - row.Start.Microseconds);
    meaning.Fault = true;
}

}  // namespace

WireMeaning Explain(const WireRow& row, const WireRow* partner, std::int64_t timedOutAt) {
    WireMeaning meaning;
    if (row.Lost) {
        meaning.Text = "the port was pulled out";
        meaning.Fault = true;
        return meaning;
    }
    if (row.Start.Adapter) meaning.Command = adapterCommand;
    if (!row.Start.Received) {
        ExplainCommand(row, timedOutAt, meaning);
    } else if (row.Start.Adapter) {
        ExplainAdapterReply(row, partner, meaning);
    } else if (row.Start.ImageOffset >= 0) {
        ExplainImage(row, partner, timedOutAt, meaning);
    } else if (partner != nullptr) {
        ExplainReply(row, *partner, timedOutAt, meaning);
    } else {
        ExplainUnasked(row.Bytes, meaning);
    }
    return meaning;
}

std::string VisibleText(const WireRow& row) { return Readable(row.Bytes); }

std::string HexText(std::string_view bytes) {
    std::string text;
    for (const char c : bytes)
        text += (text.empty() ? "" : " ") + modText::Hex(static_cast<std::uint8_t>(c), 2);
    return text;
}
