// The window's memory test, and the way back behind it.

#include <QDateTime>
#include <QHBoxLayout>
#include <QLocale>
#include <QToolButton>

#include "base/clsScopeGuard.h"
#include "qt/QtText.h"
#include "ui_frmMain.h"
#include "window/clsActions.h"
#include "window/frmMain.h"

namespace {

QString Utf8(const std::string& text) { return QString::fromStdString(text); }

QString TimeOf(const HistoryEvent& event) {
    return QDateTime::fromMSecsSinceEpoch(event.Begun).toString("yyyy-MM-dd HH:mm");
}

QString Outcome(const RestorePlan& plan, FlowResult written, FlowResult proven, const std::string& whyNot) {
    if (written != FlowResult::Done) {
        const QString rest = Utf8(whyNot);
        return rest.isEmpty() ? frmMain::tr("It was not restored.")
                              : frmMain::tr("It was not restored: %1").arg(rest);
    }
    if (proven != FlowResult::Done)
        return frmMain::tr("It was written back, but that is not proven: the reader could not be read.");
    QStringList lines;
    for (const std::string& line : plan.NotKept()) lines += Utf8(line);
    if (!lines.isEmpty()) return lines.join('\n');
    return plan.Whole ? frmMain::tr("All 512 registers are as they were: written back and read.")
                      : frmMain::tr("The settings are as they were: written back and read.");
}

}  // namespace

// While the test runs the button ends it.
void frmMain::TestMemory() {
    if (m_flows.FlowRunning()) {
        m_flows.TestEeprom();
        return;
    }
    const bool open = m_parts.Comm.PortOpen();
    const auto seen = m_flows.LastSeen();
    const FlowResult result = Run(tr("Testing the memory"), Pages::Open, [this] {
        static_cast<void>(m_flows.TestEeprom());
        return FlowResult::Cancelled;  // one that made way for a closing window says OK
    });
    if (open && result != FlowResult::Refused)
        OfferRestore(tr("The memory test overwrites what was in the reader."), seen);
}

void frmMain::TestAndRestore() {
    TestedReader tested;
    const FlowResult result =
        Run(tr("Testing the memory"), Pages::Open, [&] { return m_flows.TestAndRestore(tested); });
    if (result == FlowResult::Refused || !tested.Tested) return;  // the flow says why it did not begin
    QString text =
        tested.Passed ? tr("The memory has passed the test.") : tr("The memory test did not pass.");
    if (tested.Written != FlowResult::Refused)
        text += ' ' + Outcome(tested.Restore, tested.Written, tested.Proven, tested.WhyNotRestored());
    // What was not kept the memory will not keep the next time.
    if (tested.Written == FlowResult::Done) return Note(text);
    const bool gone = !m_parts.Comm.PortOpen();
    if (tested.Another && !text.endsWith('.')) text += '.';
    if (gone || tested.Another) return Note(text + ' ' + WhatIsKept(tested.Event, gone));
    OfferRestore(text, m_flows.LastSeen());
}

/// Asked of the history itself, of the event's side that clsLastSeen tells: what was given to it may have
/// been refused, or wait.
QString frmMain::WhatIsKept(const std::string& id, bool gone) {
    clsIHistory::Events found;
    if (m_events != nullptr && !id.empty()) found = m_events->Find(id);
    if (found.Result != clsIHistory::Events::State::Done)
        return gone ? tr("It is gone; whether the history has what was in it cannot be seen at this moment.")
                    : tr("Whether the history has what was in it cannot be seen at this moment.");
    if (found.Value.size() != 1 || clsLastSeen::Side(found.Value[0]).Empty())
        return gone ? tr("It is gone, and the history does not have what was in it.")
                    : tr("The history does not have what was in it.");
    return (gone ? tr("It is gone; the history has what was in it, the event of %1.")
                 : tr("The history has what was in it, the event of %1."))
        .arg(TimeOf(found.Value[0]));
}

/// Behind `text` what the history can do for a reader that a test has emptied.
void frmMain::OfferRestore(const QString& text, const clsLastSeen& seen) {
    const auto& event = seen.Event();
    if (!event)
        return Note(text + ' ' + tr("The history has no read of this reader since it was plugged in."));
    if (!m_parts.Comm.PortOpen()) return Note(text + ' ' + WhatIsKept(event->Id, /*gone=*/true));
    QString offer = tr("It was read %1.").arg(TimeOf(*event));
    if (seen.ChangedSince() && !clsLastSeen::IsBefore(*event))
        offer += ' ' + tr("What was written since then is not in that.");
    Note(text + ' ' + offer);
    if (m_noticeDo == nullptr) {
        m_noticeDo = new QToolButton(m_ui->fraNotice);
        m_noticeDo->setObjectName("cmdRestoreSeen");
        m_noticeDo->setText(tr("Restore what was in it"));
        m_noticeDo->setFocusPolicy(Qt::TabFocus);
        m_ui->layNotice->insertWidget(1, m_noticeDo);
        connect(m_noticeDo, &QToolButton::clicked, this, [this] {
            const auto last = m_flows.LastSeen().Event();
            if (last) PutBack(*last, clsLastSeen::IsBefore(*last), /*tested=*/true);
        });
    }
    m_noticeDo->show();
}

/// Byte for byte where the event holds the memory; the pages stay as they are.
void frmMain::PutBack(const HistoryEvent& event, bool before, bool tested) {
    RestorePlan plan;
    FlowResult written = FlowResult::Refused;
    FlowResult proven = FlowResult::Refused;
    bool agreed = true;
    const FlowResult result = Run(tr("Restoring"), Pages::Open, [&] {
        const bool own = m_flows.BeginEvent(HistoryAction::Restore);
        const clsScopeGuard ended([&] {
            if (own) m_flows.EndEvent(/*cancelled=*/!agreed);
        });
        const FlowResult planned = m_flows.PlanRestore(event, before, tested, plan);
        if (planned != FlowResult::Done) return planned;
        QStringList questions;
        for (const std::string& question : plan.Questions) questions += Utf8(question);
        // On a serial line nobody sees that the reader was changed since.
        if (tested && plan.Held && !plan.LooksTested(RestorePlan::Part::All))
            questions +=
                tr("The reader holds something else than a memory test leaves: it may be another one.");
        agreed =
            questions.isEmpty() || QuestionDoor(tr("Restore it all the same?\n%1").arg(questions.join('\n')));
        if (!agreed) return FlowResult::Cancelled;
        written = m_flows.WriteRestore(plan);
        if (written == FlowResult::Done) proven = m_flows.ProveRestore(plan);
        return written;
    });
    if (result == FlowResult::Refused && written == FlowResult::Refused) return;
    if (result == FlowResult::FileBad || !agreed) return;  // said, or chosen
    QString text = Outcome(plan, written, proven, plan.NotWritten());
    for (const std::string& lost : plan.Lost) text += '\n' + tr("Not in what is kept: %1").arg(Utf8(lost));
    Note(text);
}
