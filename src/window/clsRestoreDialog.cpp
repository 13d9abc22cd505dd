#include "window/clsRestoreDialog.h"

#include <utility>

#include "base/clsScopeGuard.h"
#include "window/clsDifferenceList.h"

namespace {

QString Utf8(const std::string& text) { return QString::fromStdString(text); }

/// An item is part of every row; this one stands for none.
DifferenceRow RowOfRegisters(const RegisterChange& change, bool written) {
    DifferenceRow row{SettingItem(0)};
    row.Registers = Utf8(change.Name());
    row.InReader = Utf8(RegisterChange::Value(change.Before));
    row.Wanted = Utf8(RegisterChange::Value(change.Wanted));
    if (!written) {
        row.Note = clsRestoreDialog::tr("no page shows it");
    } else if (!change.Kept) {
        row.Note = clsRestoreDialog::tr("not proven");
        row.Stands = Sight::Written;
    } else if (*change.Kept) {
        row.Note = clsRestoreDialog::tr("kept");
    } else {
        row.Note =
            clsRestoreDialog::tr("not kept: there is %1").arg(Utf8(RegisterChange::Value(change.After)));
        row.Stands = Sight::Differs;
    }
    row.Told = row.Note;
    return row;
}

}  // namespace

clsRestoreDialog::clsRestoreDialog(Parts parts, Source source,
                                   std::function<bool(const QString& question)> ask, QWidget* parent)
    : clsReviewDialog(std::move(parts), parent), m_source(std::move(source)), m_ask(std::move(ask)) {}

FlowResult clsRestoreDialog::MakePlan(RestorePlan& plan) {
    return GivenParts().Run(tr("Reading"), [&] {
        return GivenParts().Flows.PlanRestore(m_source.Event, m_source.Before, m_source.Tested, plan);
    });
}

// A look at the reader that compares it: nothing is restored yet.
void clsRestoreDialog::Begin() {
    const bool event = GivenParts().Flows.BeginEvent(HistoryAction::Check);
    const FlowResult result = MakePlan(m_plan);
    if (event) GivenParts().Flows.EndEvent(/*cancelled=*/false);
    if (!EndUnlessRead(result)) return;
    Offer();
    CheckPicture();  // it may have gone with its last byte
}

QString clsRestoreDialog::LeftAlone() const {
    if (m_plan.LeftAlone == 0) return {};
    return ' ' + (m_plan.LeftAlone == 1
                      ? tr("1 register without a setting differs too and stays as it is.")
                      : tr("%1 registers without a setting differ too and stay as they are.")
                            .arg(m_plan.LeftAlone));
}

std::vector<DifferenceRow> clsRestoreDialog::Rows(bool written) const {
    std::vector<DifferenceRow> rows;
    for (const SettingChange& change : m_plan.Settings()) rows.push_back(RowOf(change, written));
    for (const RegisterChange& change : m_plan.Registers()) rows.push_back(RowOfRegisters(change, written));
    for (DifferenceRow& row : rows) row.Ticked = true;
    return rows;
}

void clsRestoreDialog::Offer(const QString& before) {
    const auto count = m_plan.ToWrite().size();
    if (count == 0) {
        OfferRows({}, {});
        return End(before + tr("The reader holds each byte as the event does: there is nothing to write.") +
                   LeftAlone());
    }
    QString sentence = count == 1
                           ? tr("1 register differs from what the event holds. Write puts it back.")
                           : tr("%1 registers differ from what the event holds. Write puts all of them back, "
                                "byte for byte: none can be left out.")
                                 .arg(count);
    if (m_plan.Whole) sentence += ' ' + tr("All 512 count: a memory test has overwritten them.");
    OfferRows(Rows(/*written=*/false), before + sentence + LeftAlone());
}

bool clsRestoreDialog::Agreed() const {
    QStringList questions;
    for (const std::string& question : m_plan.Questions) questions += Utf8(question);
    return questions.isEmpty() || m_ask(tr("Restore it all the same?\n%1").arg(questions.join('\n')));
}

void clsRestoreDialog::Write() {
    // The reader may have gone while the question stood.
    if (Now() != State::Choosing || !Agreed() || Now() != State::Choosing) return;
    clsReaderFlows& flows = GivenParts().Flows;
    bool changed = false;
    const bool event = flows.BeginEvent(HistoryAction::Restore);
    const clsScopeGuard ended([&] {
        if (event) flows.EndEvent(/*cancelled=*/changed);
    });
    Enter(State::Reading, tr("The reader is being read."));
    const RestorePlan shown = std::exchange(m_plan, {});
    if (!EndUnlessRead(MakePlan(m_plan))) return;
    changed = m_plan.Held != shown.Held || m_plan.Questions != shown.Questions;
    if (changed)
        return Offer(tr("The reader holds something else than was shown: nothing was written.") + ' ');
    WritePlan();
}

void clsRestoreDialog::WritePlan() {
    clsReaderFlows& flows = GivenParts().Flows;
    Enter(State::Writing, tr("The registers are being written."));
    const FlowResult written = GivenParts().Run(tr("Restoring"), [&] { return flows.WriteRestore(m_plan); });
    if (written == FlowResult::Refused) return End(tr("Something else is running: nothing was written."));
    if (written != FlowResult::Done) {
        const QString rest = Utf8(m_plan.NotWritten());
        ShowNotKnown();
        return End((rest.isEmpty() ? tr("It was not restored.") : tr("It was not restored: %1.").arg(rest)) +
                   ' ' + tr("What the reader holds now is not known. Read it."));
    }
    Enter(State::ReadingBack, tr("The registers were written and are being read back."));
    ShowProof(GivenParts().Run(tr("Reading back"), [&] { return flows.ProveRestore(m_plan); }));
}

void clsRestoreDialog::ShowProof(FlowResult proven) {
    const auto count = m_plan.ToWrite().size();
    std::vector<DifferenceRow> rows = Rows(/*written=*/true);
    QStringList lost;
    for (const DifferenceRow& row : rows)
        if (row.Stands == Sight::Differs) lost += row.Name();
    ShowOutcome(std::move(rows));
    if (proven == FlowResult::Cancelled)
        return End(tr("All was written. The reading back was cancelled: nothing is proven."));
    if (proven != FlowResult::Done)
        return End(tr("All was written. The reading back broke off: nothing is proven."));
    if (!lost.isEmpty()) return End(tr("The reader did not keep: %1").arg(lost.join(", ")));
    if (m_plan.Whole) return End(tr("All 512 registers are as they were: written back and read."));
    End(count == 1 ? tr("The register is as it was: written back and read.")
                   : tr("All %1 registers are as they were: written back and read.").arg(count));
}
