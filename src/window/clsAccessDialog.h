#pragma once

#include <QDialog>
#include <functional>

#include "ports/AccessReport.h"

class QLabel;
class QPushButton;
class QScrollArea;
class QTreeWidget;

/// What stands between the account and the readers: the ports as they were found, and each finding with a
/// command that can be copied. Made by the window when it is first wanted. Asking the free ports runs a flow
/// inside the event loop; while it does, the dialog can be left only by ending it.
class clsAccessDialog : public QDialog {
    Q_OBJECT

  public:
    struct Parts {
        std::function<AccessReport()> Look;
        std::function<bool()> MayDisturb;  ///< a person lets each free port be asked; a question
        /// Asks each free port for a reader, adding to the report. False when it was ended.
        std::function<bool(AccessReport& report)> Ask;
        std::function<void()> Cancel;
        std::function<bool()> MayAsk;  ///< no reader is in use, which would be lost by it
    };
    clsAccessDialog(Parts parts, QWidget* parent);

    void reject() override;

  private:
    void Say(const QString& sentence);
    void CheckAgain();
    void Ask();
    void ShowReport(const QString& sentence);
    void AddFinding(QWidget& list, const AccessFinding& found, int number);
    [[nodiscard]] QString Sentence() const;

    const Parts m_parts;
    AccessReport m_report;
    bool m_asking = false;
    QLabel* m_sentence = nullptr;
    QTreeWidget* m_ports = nullptr;
    QScrollArea* m_findings = nullptr;
    QPushButton* m_again = nullptr;
    QPushButton* m_ask = nullptr;
    QPushButton* m_close = nullptr;
};
