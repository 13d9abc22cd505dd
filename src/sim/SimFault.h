#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What a simulated reader can be made to do wrong.
enum class SimFault {
    NoAnswer,          ///< the frame is heard (a write is done) and not answered
    RefuseBusy,        ///< answers N07, a write is not done
    RefuseCode,        ///< answers N and the code in Value, a write is not done
    WrongChecksum,     ///< the reply's checksum digits are wrong; meets reads alone, no other reply has them
    TruncatedReply,    ///< the reply stops before its CR, a memory image before its last byte
    TrickledReply,     ///< the reply's bytes come one by one, Value ms apart
    GarbageBeforeStx,  ///< bytes that mean nothing stand before the reply
    LateReply,         ///< the reply, and with it all that follows, comes Value ms late
    ShortDump,         ///< the memory image stops after Value bytes; meets dumps alone
    DifferentDumps,    ///< register Value reads differently in every other dump, from the first one met on
    DroppedWrite,      ///< a write is answered as accepted and changes nothing; meets writes alone
};

/// One armed fault: which frames it meets, and how often. A frame meets one fault at most: the first rule
/// that is due takes it, the others wait for the next frame.
struct SimFaultRule {
    SimFault Fault = SimFault::NoAnswer;
    char Command = 0;   ///< command letter; 0 is any that the fault can meet
    int Register = -1;  ///< register of a read or write; -1 is any
    int Skip = 0;       ///< matching frames that pass before the fault begins
    int Count = -1;     ///< how often it fires; -1 is always
    int Value = 0;      ///< code, milliseconds, bytes or register, as the fault says
    int Fired = 0;      ///< how often it has fired
    int Seen = 0;       ///< matching frames so far, those that it let pass included
};

/// Names as they are typed and listed: "no-answer", "refuse-busy" ...
std::string_view SimFaultName(SimFault fault);
/// What the fault does and what its value is, for lists and help.
std::string SimFaultHelp(SimFault fault);
/// All faults, in the order above.
const std::vector<SimFault>& AllSimFaults();
/// Whether the fault can meet a frame with that command letter.
bool SimFaultMeets(SimFault fault, char command);

/// Reads a rule as a person types it: a fault's name, then in any order "once", "always", and "command=B",
/// "register=160", "skip=2", "count=1", "value=700", separated by blanks or commas. Numbers are decimal or
/// 0x hexadecimal, letter case does not count. Nothing when the text is wrong; `error` then says why.
std::optional<SimFaultRule> ParseSimFault(std::string_view text, std::string& error);
/// The rule as ParseSimFault reads it.
std::string SimFaultText(const SimFaultRule& rule);
