#include "wire/RecordingRows.h"

#include <algorithm>

#include "wire/clsPairing.h"

namespace {

/// Keeps how the last frame began.
class clsLastStart final : public clsIFrameSink {
  public:
    void FrameBegins(const FrameStart& start) override { Start = start; }
    void FrameGrows(std::int64_t, std::string_view) override {}
    void FrameEnds() override {}
    void PortLost(std::int64_t) override {}
    FrameStart Start;
};

void TellSilences(const Recording& recording, std::vector<RecordedRow>& rows) {
    constexpr std::size_t farthest = 1000;  // rows that are looked through for what ends a wait
    const std::size_t last = rows.size() - 1;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].Row.Start.Received || rows[i].Row.Lost || rows[i].Row.Bytes.empty()) continue;
        clsSilence silence(rows[i].Row);
        const std::size_t end = std::min(rows.size(), i + farthest);
        bool over = false;
        for (std::size_t next = i + 1; next < end && !over; ++next) {
            over = silence.Ends(rows[next].Row, next == rows[i].Row.Partner);
            if (next == last && recording.Ended()) silence.LastsUntil(rows[next].Row.Start.Microseconds);
        }
        rows[i].TimedOutAt = silence.TimedOutAt();
        rows[i].Open = !over && end == rows.size() && rows[i].TimedOutAt == noTimeOut;
    }
}

}  // namespace

// The frames are cut already; where an image's bytes stand is found out anew.
std::vector<RecordedRow> RowsOf(const Recording& recording) {
    std::vector<RecordedRow> rows(recording.Entries.size());
    clsPairing pairing(
        [&rows](std::uint64_t frame, std::uint64_t partner) { rows.at(frame).Row.Partner = partner; });
    clsLastStart last;
    clsFrameCutter cutter(last);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const RecordingEntry& entry = recording.Entries[i];
        RecordedRow& row = rows[i];
        row.Row.Bytes = entry.Bytes;
        row.Row.Start.Microseconds = entry.Microseconds;
        row.Row.LastByte = std::max(entry.Microseconds, entry.Last);
        row.Row.Start.Received = entry.Received;
        switch (entry.What) {
            case RecordingEntry::Kind::Port:
            case RecordingEntry::Kind::End: continue;
            case RecordingEntry::Kind::Lost:
                row.Row.Lost = true;
                pairing.Clear();
                continue;
            case RecordingEntry::Kind::Adapter: row.Row.Start.Adapter = true; break;
            case RecordingEntry::Kind::Frame:
                if (entry.Received) {
                    cutter.EndOpen();
                    cutter.Received(entry.Microseconds, entry.Bytes);
                    row.Row.Start.ImageOffset = last.Start.ImageOffset;
                } else {
                    cutter.Sent(entry.Microseconds, entry.Bytes);
                }
                break;
        }
        pairing.Take(i, row.Row.Start, entry.Bytes);
    }
    TellSilences(recording, rows);
    return rows;
}
