#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The first line of a recording.
struct RecordingHead {
    std::string Program;
    std::string Version;
    std::string Port;  ///< as bytes; empty: none was open
    int Baud = 0;      ///< bits per second; 0: the port has no rate
    std::string Time;  ///< when the recording began: ISO 8601, UTC
};

/// One thing that happened on a line. Everything is told as the program sees it that asks the reader, whoever
/// wrote the recording.
struct RecordingEntry {
    enum class Kind {
        Frame,    ///< bytes to or from the reader
        Adapter,  ///< bytes to or from the USB adapter in front of it
        Port,     ///< from here on on this port, at this rate
        Lost,     ///< the port was pulled out
        End,      ///< the recorder was ended; nothing stands behind it
    };
    Kind What = Kind::Frame;
    std::int64_t Microseconds = 0;  ///< since the recording began
    std::int64_t Last = 0;          ///< the same of the last byte, where that is later; else 0
    bool Received = false;
    std::string Bytes;
    std::string Port;
    int Baud = 0;
    bool operator==(const RecordingEntry&) const = default;
};

struct Recording {
    RecordingHead Head;
    std::vector<RecordingEntry> Entries;
    /// The last line has no end: it breaks off there. It is among the entries if it can be read all the same.
    bool CutOff = false;
    /// Whoever wrote it told its end. It does not when it was killed, or could not write any more.
    [[nodiscard]] bool Ended() const {
        return !Entries.empty() && Entries.back().What == RecordingEntry::Kind::End;
    }
};

/// JSON objects on a line each, without line end, pure ASCII. A frame's is the line of a trace
/// (base/TraceLine.h), with "last", the time of the last byte, where that came later; the adapter's has
/// "adapter":true as well.
std::string RecordingLine(const RecordingHead& head);
std::string RecordingLine(const RecordingEntry& entry);
/// All lines, each with its end; the last one of a recording that breaks off has none.
std::string RecordingText(const Recording& recording);
/// Whether a file that begins so is a recording.
bool BeginsRecording(std::string_view text);
/// Nothing when it is no recording; `error` then says in which line why.
std::optional<Recording> ReadRecording(std::string_view text, std::string& error);
