#include "wire/clsWireRecorder.h"

#include <utility>

clsWireRecorder::clsWireRecorder(clsIHost& host, ucCOMM& comm, std::unique_ptr<clsILineFile> file,
                                 const RecordingHead& head, std::function<void(const std::string&)> failed)
    : m_comm(comm),
      m_file(std::move(file)),
      m_head(head),
      m_failed(std::move(failed)),
      m_tap(host, comm, *this, clsWireTap::Hears::All) {}

// Where nothing went over the line the file says at least that.
clsWireRecorder::~clsWireRecorder() {
    if (m_file && !m_headWritten) Write(m_file->Append(RecordingLine(m_head)));
    if (!m_file) return;
    RecordingEntry entry;
    entry.What = RecordingEntry::Kind::End;
    entry.Microseconds = m_tap.Now();
    Write(m_file->Append(RecordingLine(entry)));
}

void clsWireRecorder::Write(bool done) {
    if (done) return;
    const std::string error = m_file->LastError();
    m_file.reset();
    m_failed(error);
}

// A search goes over several ports and rates.
void clsWireRecorder::WritePort(std::int64_t microseconds) {
    const std::string port = m_comm.CommPort();
    const int baud = m_comm.CommPort_IsBaudrateSupported(port) ? m_comm.BaudRate() : 0;
    const bool same = m_head.Port == port && m_head.Baud == baud;
    if (m_headWritten && same) return;
    m_head.Port = port;
    m_head.Baud = baud;
    RecordingEntry entry;
    entry.What = RecordingEntry::Kind::Port;
    entry.Microseconds = microseconds;
    entry.Port = port;
    entry.Baud = baud;
    Write(m_file->Append(m_headWritten ? RecordingLine(entry) : RecordingLine(m_head)));
    m_headWritten = true;
}

void clsWireRecorder::FrameBegins(const FrameStart& start) {
    if (m_file) WritePort(start.Microseconds);
    m_entry = {};
    if (start.Adapter) m_entry.What = RecordingEntry::Kind::Adapter;
    m_entry.Microseconds = start.Microseconds;
    m_entry.Received = start.Received;
}

void clsWireRecorder::FrameGrows(std::int64_t microseconds, std::string_view bytes) {
    if (!m_file) return;
    const bool begun = !m_entry.Bytes.empty();
    m_entry.Bytes += bytes;
    if (microseconds > m_entry.Microseconds) m_entry.Last = microseconds;
    const std::string line = RecordingLine(m_entry);
    Write(begun ? m_file->Lengthen(line) : m_file->Append(line));
}

void clsWireRecorder::PortLost(std::int64_t microseconds) {
    if (!m_file) return;
    WritePort(microseconds);
    if (!m_file) return;
    RecordingEntry entry;
    entry.What = RecordingEntry::Kind::Lost;
    entry.Microseconds = microseconds;
    entry.Port = m_comm.CommPort();
    Write(m_file->Append(RecordingLine(entry)));
}
