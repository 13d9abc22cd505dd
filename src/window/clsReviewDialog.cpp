#include "window/clsReviewDialog.h"

#include <QBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <algorithm>
#include <utility>

#include "base/clsScopeGuard.h"
#include "flows/SettingsCheck.h"
#include "history/HistoryEvent.h"
#include "qt/QtText.h"
#include "widgets/Announcement.h"
#include "window/clsDifferenceList.h"
#include "window/clsMark.h"

namespace {

constexpr int usualWidth = 140;  // characters
constexpr int usualHeight = 26;  // lines

QString Value(const SettingItem& item, const ZarnInfo& record) {
    return QString::fromStdString(item.Value(record));
}

/// Why the reader cannot be given the setting as `wanted` has it; empty when it can.
QString Obstacle(const SettingItem& item, const ZarnInfo& read, const ZarnInfo& wanted) {
    const auto rules = FirmwareRules::For(read.Version, read.FirmwareSN);
    if (const auto lacks = rules.Lacks(item, wanted); !lacks.empty()) return QtText::ToQString(lacks);
    ZarnInfo alone = read;
    item.Copy(wanted, alone);
    const auto findings = SettingsCheck::Check(alone);
    return SettingsCheck::AnyError(findings) ? QtText::ToQString(SettingsCheck::Line(findings.front()))
                                             : QString();
}

QString NextStart(const SettingItem& item) {
    return TakesEffectAtNextStart(item) ? clsReviewDialog::tr("takes effect at the next start") : QString();
}

QString Result(const SettingChange& change) {
    QStringList parts;
    if (!change.Kept) {
        parts += clsReviewDialog::tr("not proven");
    } else if (*change.Kept) {
        parts += clsReviewDialog::tr("kept");
    } else {
        return clsReviewDialog::tr("not kept: there is %1").arg(QString::fromStdString(change.After));
    }
    if (TakesEffectAtNextStart(change.Item)) parts += NextStart(change.Item);
    return parts.join("; ");
}

}  // namespace

clsReviewDialog::clsReviewDialog(Parts parts, QWidget* parent) : QDialog(parent), m_parts(std::move(parts)) {
    setObjectName("dlgReview");
    setWindowTitle(m_parts.Title);
    setAttribute(Qt::WA_DeleteOnClose);
    m_sentence = new QLabel(this);
    m_sentence->setObjectName("labReview");
    m_sentence->setTextFormat(Qt::PlainText);
    m_sentence->setWordWrap(true);
    Announcement::Prepare(*m_sentence);
    m_list = new clsDifferenceList(this);
    m_list->setObjectName("lstReview");
    m_list->setAccessibleName(tr("Settings to write"));
    m_list->setItemDelegate(new clsMarkDelegate(m_list));
    m_list->Model().SetTitles({tr("Setting"), tr("In the reader"), m_parts.Wanted, tr("Result")});
    m_list->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    m_write = new QPushButton(tr("&Write"), this);
    m_write->setObjectName("cmdReviewWrite");
    m_cancel = new QPushButton(this);
    m_cancel->setObjectName("cmdReviewCancel");
    m_cancel->setAutoDefault(false);

    auto* const column = new QVBoxLayout(this);
    column->addWidget(m_sentence);
    column->addWidget(m_list, /*stretch=*/1);
    auto* const row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(m_write);
    row->addWidget(m_cancel);
    column->addLayout(row);
    const QSize usual(fontMetrics().averageCharWidth() * usualWidth, fontMetrics().height() * usualHeight);
    resize(usual.boundedTo(screen()->availableSize() * 9 / 10));
    for (const int values : {clsDifferenceModel::ReaderColumn, clsDifferenceModel::WantedColumn})
        m_list->header()->resizeSection(values, width() / 5);

    connect(&m_list->Model(), &clsDifferenceModel::Ticked, this, &clsReviewDialog::ShowChosen);
    connect(m_write, &QPushButton::clicked, this, &clsReviewDialog::WriteWhenIdle);
    connect(m_cancel, &QPushButton::clicked, this, &clsReviewDialog::reject);
    Enter(State::Reading, tr("The reader is being read."));
}

void clsReviewDialog::Say(const QString& sentence) {
    m_sentence->setText(sentence);
    m_list->setAccessibleDescription(sentence);
    Announcement::Say(*m_sentence, sentence);
}

bool clsReviewDialog::Running() const {
    switch (m_state) {
        case State::Reading:
        case State::Writing:
        case State::ReadingBack: return true;
        case State::Choosing:
        case State::Ended: break;
    }
    return false;
}

void clsReviewDialog::Enter(State state, const QString& sentence) {
    m_state = state;
    m_writes = false;
    Say(sentence);
    m_write->setVisible(state != State::Ended);
    m_write->setEnabled(false);
    m_cancel->setText(state == State::Ended ? tr("Close") : tr("Cancel"));
    m_cancel->setDefault(state == State::Ended);
    if (state == State::Ended) m_cancel->setFocus();
}

// A flow that runs ends first, and says how.
void clsReviewDialog::reject() {
    if (Running()) {
        m_parts.Flows.Cancel();
    } else {
        m_writes = false;
        QDialog::reject();
    }
}

void clsReviewDialog::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_F7) return QDialog::keyPressEvent(event);
    if (Running()) m_parts.Flows.Cancel();
}

// -- reading ------------------------------------------------------------------------------------------------

void clsReviewDialog::Begin() {
    const FlowResult result = m_parts.Run(
        tr("Reading"), [this] { return m_parts.Flows.ReadInto(m_read, modZarn74::Lines::Written); });
    if (!EndUnlessRead(result)) return;
    m_read = AsStored(m_read);
    m_wanted = m_read;
    m_parts.Change(m_wanted);
    ShowChoice();
    CheckPicture();  // it may have gone with its last byte
}

bool clsReviewDialog::EndUnlessRead(FlowResult result) {
    switch (result) {
        case FlowResult::Done: return true;
        case FlowResult::Cancelled: End(tr("Cancelled: nothing was written.")); break;
        case FlowResult::Refused: End(tr("Something else is running: nothing was written.")); break;
        case FlowResult::Failed:
        case FlowResult::FileBad: End(tr("The reader was not read to its end: nothing was written.")); break;
    }
    return false;
}

// -- choosing -----------------------------------------------------------------------------------------------

void clsReviewDialog::ShowChoice() {
    std::vector<DifferenceRow> rows;
    for (const SettingDifference& difference : Differences(m_read, m_wanted)) {
        const SettingItem& item = difference.Item;
        const QString obstacle = Obstacle(item, m_read, m_wanted);
        const QString note = obstacle.isEmpty() ? NextStart(item) : obstacle;
        const bool may = obstacle.isEmpty();
        rows.push_back({item, Sight::Same, QString::fromStdString(difference.A),
                        QString::fromStdString(difference.B), note, note, may, may});
    }
    if (rows.empty())
        return End(tr("The reader holds all %1 settings as they should be: there is nothing to write.")
                       .arg(itemCount));
    OfferRows(std::move(rows), {});
    ShowChosen();
}

void clsReviewDialog::OfferRows(std::vector<DifferenceRow> rows, const QString& sentence) {
    m_list->Model().SetTitles({tr("Setting"), tr("In the reader"), m_parts.Wanted, tr("Result")});
    m_list->SetRows(std::move(rows));
    Enter(State::Choosing, sentence);
    m_write->setEnabled(true);
    m_list->setCurrentIndex(m_list->Model().index(0, 0));
    m_list->setFocus();
    m_write->setDefault(true);
}

std::size_t clsReviewDialog::CountTicked() const {
    const auto& rows = m_list->Model().Rows();
    return static_cast<std::size_t>(
        std::count_if(rows.begin(), rows.end(), [](const DifferenceRow& row) { return row.Ticked; }));
}

void clsReviewDialog::ShowChosen() {
    const std::size_t ticked = CountTicked();
    const std::size_t differing = m_list->Model().Rows().size();
    QString sentence = tr("%1 of %2 settings will be written, %3 are already as they should be")
                           .arg(ticked)
                           .arg(itemCount)
                           .arg(itemCount - differing);
    if (ticked < differing) sentence += tr(", %1 stay as the reader has them").arg(differing - ticked);
    Say(sentence + '.');
    m_write->setEnabled(ticked > 0);
}

void clsReviewDialog::CheckPicture() {
    if (m_state == State::Choosing && !m_parts.Flows.Picture().Known())
        End(tr("The reader has gone: nothing was written."));
}

// -- writing ------------------------------------------------------------------------------------------------

// A card may be being read, since it has just typed itself in.
void clsReviewDialog::WriteWhenIdle() {
    if (m_state != State::Choosing) return;
    if (!m_parts.Flows.FlowRunning()) return Write();
    m_writes = true;
    m_write->setEnabled(false);
    Say(tr("A card is being read; the reader is written behind that."));
}

void clsReviewDialog::FlowEnded() {
    if (std::exchange(m_writes, false)) WriteWhenIdle();
}

void clsReviewDialog::Write() {
    if (m_state != State::Choosing) return;
    m_chosen = m_read;
    for (const DifferenceRow& row : m_list->Model().Rows())
        if (row.Ticked) row.Item.Copy(m_wanted, m_chosen);
    // Writing and reading back are one event of the history.
    const bool event = m_parts.Flows.BeginEvent(m_parts.Action);
    const clsScopeGuard ended([this, event] {
        if (event) m_parts.Flows.EndEvent(/*cancelled=*/false);
    });
    Enter(State::Writing, tr("The settings are being written."));
    const FlowResult written =
        m_parts.Run(tr("Writing"), [this] { return m_parts.Flows.WriteDifferences(m_chosen, m_read); });
    if (written != FlowResult::Done) return NotWritten(written);

    Enter(State::ReadingBack, tr("The settings were written and are being read back."));
    ZarnInfo after;
    const FlowResult back = m_parts.Run(tr("Reading back"), [this, &after] {
        return m_parts.Flows.ReadInto(after, modZarn74::Lines::Silent);
    });
    ShowWritten(back == FlowResult::Done ? &after : nullptr);
    if (back == FlowResult::Done) return End(Proven(Changes(m_read, m_chosen, &after)));
    End(back == FlowResult::Cancelled
            ? tr("What was ticked was written. The reading back was cancelled: nothing is proven.")
            : tr("What was ticked was written. The reading back broke off: nothing is proven."));
}

/// A write that broke off in the middle has left nobody knows what; one that did not begin has left nothing.
void clsReviewDialog::NotWritten(FlowResult result) {
    if (result == FlowResult::Refused) return End(tr("Something else is running: nothing was written."));
    if (m_parts.Flows.Picture().Known())
        return End(tr("Nothing was written: the reader cannot be given this."));
    ShowNotKnown();
    End(result == FlowResult::Cancelled
            ? tr("Cancelled while writing: what the reader holds now is not known. Read it.")
            : tr("The writing broke off: what the reader holds now is not known. Read it."));
}

void clsReviewDialog::ShowNotKnown() {
    std::vector<DifferenceRow> rows = m_list->Model().Rows();
    for (DifferenceRow& row : rows) {
        if (row.Ticked) row.Note = row.Told = tr("not known");
        row.HasTick = false;
    }
    ShowOutcome(std::move(rows));
}

/// What the reader held is what it held before.
void clsReviewDialog::ShowOutcome(std::vector<DifferenceRow> rows) {
    m_list->Model().SetTitles({tr("Setting"), tr("Before"), m_parts.Wanted, tr("Result")});
    const auto failed = std::find_if(
        rows.begin(), rows.end(), [](const DifferenceRow& shown) { return shown.Stands == Sight::Differs; });
    const int first = failed == rows.end() ? 0 : static_cast<int>(failed - rows.begin());
    m_list->SetRows(std::move(rows));
    m_list->setCurrentIndex(m_list->Model().index(first, 0));
}

DifferenceRow clsReviewDialog::RowOf(const SettingChange& change, bool written) {
    const QString note = written ? Result(change) : NextStart(change.Item);
    const Sight sight = !written || change.Kept == true ? Sight::Same
                        : change.Kept                   ? Sight::Differs
                                                        : Sight::Written;
    return {change.Item, sight, QString::fromStdString(change.Before), QString::fromStdString(change.Wanted),
            note,        note};
}

/// Each row with what became of it; those too that nobody wanted to change and that have.
void clsReviewDialog::ShowWritten(const ZarnInfo* after) {
    const auto changes = Changes(m_read, m_chosen, after);
    const auto& before = m_list->Model().Rows();
    std::vector<DifferenceRow> rows;
    for (std::size_t place = 0; place < itemCount; ++place) {
        const SettingItem item(place);
        const auto row = std::find_if(before.begin(), before.end(),
                                      [&](const DifferenceRow& shown) { return shown.Item == item; });
        const auto change = std::find_if(changes.begin(), changes.end(),
                                         [&](const SettingChange& made) { return made.Item == item; });
        if (row == before.end() && change == changes.end()) continue;
        DifferenceRow shown =
            row != before.end()
                ? *row
                : DifferenceRow{item, Sight::Same, Value(item, m_read), Value(item, m_read), {}, {}};
        const bool unticked = shown.HasTick && !shown.Ticked;
        shown.HasTick = false;
        if (change != changes.end()) {
            shown.Note = Result(*change);
            shown.Stands = !change->Kept ? Sight::Written : *change->Kept ? Sight::Same : Sight::Differs;
        } else if (unticked) {
            shown.Note = tr("left as it was");
        }
        shown.Told = shown.Note;
        rows.push_back(std::move(shown));
    }
    ShowOutcome(std::move(rows));
}

QString clsReviewDialog::Proven(const std::vector<SettingChange>& changes) const {
    QStringList notKept;
    for (const SettingChange& change : changes)
        if (change.Kept == false) notKept += QString::fromStdString(change.Item.Name());
    const std::size_t written = Changes(m_read, m_chosen).size();
    if (!notKept.isEmpty()) return tr("The reader did not keep: %1").arg(notKept.join(", "));
    if (written == 1) return tr("The reader has kept the setting that was written.");
    return tr("The reader has kept all %1 settings that were written.").arg(written);
}
