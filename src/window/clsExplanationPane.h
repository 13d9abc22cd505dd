#pragma once

#include <QFrame>

struct Explanation;
class QTextBrowser;
class clsElidedLabel;

/// Beside the message log: what one of its lines means, and what to do. Made by the window when a line is
/// first explained; shows one at a time, until it is hidden.
class clsExplanationPane : public QFrame {
    Q_OBJECT

  public:
    explicit clsExplanationPane(QWidget* parent);

    /// `line` as the log has it, with its time.
    void Explain(const QString& line, const Explanation& explanation);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void ShowText();

    clsElidedLabel* m_caption = nullptr;
    const Explanation* m_explanation = nullptr;
    QTextBrowser* m_text = nullptr;
};
