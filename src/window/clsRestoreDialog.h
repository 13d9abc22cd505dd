#pragma once

#include "flows/RestorePlan.h"
#include "window/clsReviewDialog.h"

/// Puts the bytes of an event's memory back: shows in what the reader's differs, setting by setting and,
/// where no page shows it, by registers; writes all of that or nothing; reads it back and says what was kept.
/// What is written is what was shown: the reader is read again first, and one that holds something else by
/// then is shown anew. Otherwise as the dialog that it is made from.
class clsRestoreDialog : public clsReviewDialog {
    Q_OBJECT

  public:
    struct Source {
        HistoryEvent Event;
        bool Before = false;  ///< which side of it; that side holds an image
        bool Tested = false;  ///< a memory test came behind it
    };

    /// `ask` asks a person, and turns the loop. Nothing in `parts` is asked what the reader is to hold.
    clsRestoreDialog(Parts parts, Source source, std::function<bool(const QString& question)> ask,
                     QWidget* parent);

    void Begin() override;

  private:
    void Write() override;
    void Offer(const QString& before = {});
    void WritePlan();
    void ShowProof(FlowResult proven);
    [[nodiscard]] bool Agreed() const;
    [[nodiscard]] QString LeftAlone() const;
    [[nodiscard]] std::vector<DifferenceRow> Rows(bool written) const;
    [[nodiscard]] FlowResult MakePlan(RestorePlan& plan);

    const Source m_source;
    const std::function<bool(const QString& question)> m_ask;
    RestorePlan m_plan;  // what is shown
};
