// Why something does not work: what stands between the account and the readers, and what a line of the log
// means.

#include <QBoxLayout>
#include <QTextBlock>

#include "flows/Explanations.h"
#include "qt/QtText.h"
#include "ui_frmMain.h"
#include "window/clsAccessDialog.h"
#include "window/clsActions.h"
#include "window/clsExplanationPane.h"
#include "window/frmMain.h"

void frmMain::ConnectReasons() {
    QAction& check = (*m_actions)[Command::CheckAccess];
    check.setEnabled(static_cast<bool>(m_parts.Access));
    connect(&check, &QAction::triggered, this, &frmMain::CheckAccess);
    connect(m_ui->txtView, &QPlainTextEdit::cursorPositionChanged, this, [this] {
        if (m_ui->txtView->hasFocus()) ExplainLine(m_ui->txtView->textCursor().block().text());
    });
}

void frmMain::CheckAccess() {
    if (m_flows.FlowRunning()) return Note(tr("Something else is running: nothing was looked at"));
    auto* const dialog = new clsAccessDialog(
        {m_parts.Access,
         [this] {
             return QuestionDoor(tr(
                 "Each free port is opened and sent a poll, at every speed. A device that is no reader may "
                 "not like that. Ask them now?"));
         },
         [this](AccessReport& report) { return AskPorts(report); }, [this] { m_flows.Cancel(); },
         [this] { return !m_parts.Comm.PortOpen() && !m_flows.FlowRunning(); }},
        this);
    dialog->open();
}

bool frmMain::AskPorts(AccessReport& report) {
    const FlowResult result = Run(tr("Asking the free ports"), Pages::Open, [&] {
        for (const std::string& name : report.Askable()) {
            std::string port = name;
            for (const PortEntry& reader : m_parts.Comm.HidPorts())
                if (reader.Alias == name || reader.Device == name) port = reader.Name;
            const FlowResult found = m_flows.Probe(port);
            if (found == FlowResult::Cancelled || found == FlowResult::Refused) return found;
            if (found == FlowResult::Failed) report.Add(name, m_parts.Comm.SearchReasons());
        }
        return FlowResult::Done;
    });
    m_parts.Comm.SetPortOpen(false);
    m_flows.ButtonsEnable(true);
    return result == FlowResult::Done;
}

// -- what a line of the log means ---------------------------------------------------------------------------

/// Made when it is first wanted: the window is to open as fast as without it.
clsExplanationPane& frmMain::ExplanationPane() {
    if (m_explanation != nullptr) return *m_explanation;
    m_explanation = new clsExplanationPane(m_ui->pnlLog);
    auto* const row = new QHBoxLayout;
    row->setSpacing(m_ui->layLog->spacing());
    m_ui->layLog->removeWidget(m_ui->txtView);
    m_ui->layLog->addLayout(row, /*stretch=*/1);
    row->addWidget(m_ui->txtView, /*stretch=*/3);
    row->addWidget(m_explanation, /*stretch=*/2);
    return *m_explanation;
}

bool frmMain::ExplainLine(const QString& line) {
    const Explanation* const explanation = Explanations::OfLine(QtText::ToBytes(line));
    if (explanation != nullptr) ExplanationPane().Explain(line, *explanation);
    return explanation != nullptr;
}

/// The line with the cursor, else the last failure. False where there is none.
bool frmMain::ExplainLog() {
    if (!m_ui->txtView->hasFocus()) return false;
    if (ExplainLine(m_ui->txtView->textCursor().block().text())) return true;
    for (QTextBlock line = m_ui->txtView->document()->lastBlock(); line.isValid(); line = line.previous())
        if (ExplainLine(line.text())) return true;
    return false;
}
