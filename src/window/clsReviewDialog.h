#pragma once

#include <QDialog>
#include <functional>
#include <vector>

#include "flows/clsReaderFlows.h"

class QLabel;
class QPushButton;
class clsDifferenceList;
struct DifferenceRow;

/// Reads the reader, lets a person tick what is to be written of that in which it is to be changed,
/// writes that, reads it back and says what was kept. The window's record and controls stay as they are. It
/// deletes itself once it is closed. While a flow of its own runs, which turns the loop, it does not close:
/// the flow is cancelled, and what became of it is said.
class clsReviewDialog : public QDialog {
    Q_OBJECT

  public:
    struct Parts {
        clsReaderFlows& Flows;
        /// Runs a flow so that the window shows it; Refused when another one runs.
        std::function<FlowResult(const QString& what, const std::function<FlowResult()>& flow)> Run;
        /// Makes of what the reader holds what it is to hold.
        std::function<void(ZarnInfo& record)> Change;
        QString Title = tr("Review and write");
        QString Wanted = tr("Here");                  ///< heads what it is to hold
        HistoryAction Action = HistoryAction::Write;  ///< what the writing is called in the history
    };

    clsReviewDialog(Parts parts, QWidget* parent);

    /// Reads, once it is shown. Comes back when it is known what differs, or that nobody will know.
    virtual void Begin();
    /// The reader may have gone while the choice was made.
    void CheckPicture();
    /// A flow has ended, perhaps one that a write waits for.
    void FlowEnded();

    void reject() override;

  protected:
    void keyPressEvent(QKeyEvent* event) override;

    enum class State { Reading, Choosing, Writing, ReadingBack, Ended };

    void Enter(State state, const QString& sentence);
    void End(const QString& sentence) { Enter(State::Ended, sentence); }
    /// True when the reader was read; otherwise the dialog has said why not.
    bool EndUnlessRead(FlowResult result);
    /// Lets a person choose, with Write as the button of the Enter key.
    void OfferRows(std::vector<DifferenceRow> rows, const QString& sentence);
    /// What was chosen; nothing else runs.
    virtual void Write();
    void ShowOutcome(std::vector<DifferenceRow> rows);
    /// Every row as one of which nobody knows what became of it.
    void ShowNotKnown();
    /// A setting's row with what became of it, or what is to be known before.
    [[nodiscard]] static DifferenceRow RowOf(const SettingChange& change, bool written);
    [[nodiscard]] State Now() const { return m_state; }
    [[nodiscard]] const Parts& GivenParts() const { return m_parts; }

  private:
    [[nodiscard]] bool Running() const;
    void Say(const QString& sentence);
    void WriteWhenIdle();
    void ShowChoice();
    void ShowChosen();
    void ShowWritten(const ZarnInfo* after);
    void NotWritten(FlowResult result);
    [[nodiscard]] std::size_t CountTicked() const;
    [[nodiscard]] QString Proven(const std::vector<SettingChange>& changes) const;

    const Parts m_parts;
    State m_state = State::Reading;
    bool m_writes = false;  // as soon as nothing else runs
    ZarnInfo m_read;
    ZarnInfo m_wanted;  // what is to become of it
    ZarnInfo m_chosen;  // that, of what was ticked
    QLabel* m_sentence = nullptr;
    clsDifferenceList* m_list = nullptr;
    QPushButton* m_write = nullptr;
    QPushButton* m_cancel = nullptr;
};
