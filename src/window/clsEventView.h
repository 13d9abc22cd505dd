#pragma once

#include <QWidget>

#include "history/HistoryEvent.h"

class QLabel;
class QPlainTextEdit;
class QTabWidget;
class QTreeWidget;

/// An event of the history in full (its changes, what the reader held, the log's lines), or in what two
/// differ. Keeps no event.
class clsEventView : public QWidget {
    Q_OBJECT

  public:
    explicit clsEventView(QWidget* parent = nullptr);

    void ShowEvent(const HistoryEvent& event);
    void ShowDifference(const HistoryEvent& first, const HistoryEvent& second);
    /// Nothing but a sentence.
    void ShowNothing(const QString& sentence);

    /// What the reader was last seen to hold in the event, as the text of a settings file; may be empty.
    static const std::string& LastSettings(const HistoryEvent& event);

  private:
    void ShowChanges(const HistoryEvent& event);
    void ShowSettings(const HistoryEvent& event);
    void SetPages(bool all);

    QLabel* m_sentence = nullptr;
    QTabWidget* m_tabs = nullptr;
    QTreeWidget* m_changes = nullptr;
    QTreeWidget* m_settings = nullptr;
    QPlainTextEdit* m_lines = nullptr;
};
