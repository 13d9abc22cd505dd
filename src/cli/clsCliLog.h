#pragma once

#include <set>
#include <string>
#include <vector>

#include "cli/clsITextOutput.h"
#include "flows/Explanations.h"
#include "flows/clsIMainView.h"
#include "flows/clsMessageLog.h"

/// One line of the message log, as it is kept for a report.
struct CliMessage {
    std::string Time;  ///< "hh:nn:ss"
    std::string Text;
};

/// The message log and all that the flows have to say, on standard error as it happens. The flows' view
/// without controls. Owned by the run of a command.
class clsCliLog final : public clsILogView, public clsIMainView {
  public:
    clsCliLog(clsIHost& host, clsITextOutput& output) : m_host(host), m_output(output) {}
    ~clsCliLog() override { EndLine(); }
    clsCliLog(const clsCliLog&) = delete;
    clsCliLog& operator=(const clsCliLog&) = delete;

    /// A line of the program's own, behind its name.
    void Say(const std::string& text);
    /// What the reader types is shown elsewhere.
    void SetEcho(bool value) { m_echo = value; }
    /// Of the message log only failures are shown; all of it is kept.
    void SetQuiet() {
        m_quiet = true;
        m_echo = false;
    }
    /// Under a line that tells of a failure stands what to do first, once for each kind of failure. It is no
    /// message.
    void SetHints() { m_hints = true; }
    /// What was said so far is not kept any more.
    void ForgetMessages() { m_messages.clear(); }
    [[nodiscard]] const std::vector<CliMessage>& Messages() const { return m_messages; }

    void AppendLine(const std::string& time, const std::string& text, LogColor color) override;
    void AppendText(const std::string& text, LogColor color) override;
    void EndLine() override;
    void ClearText() override {}

    bool ReadForm(ZarnForm&) override { return false; }
    void ShowForm(const ZarnForm&) override {}
    void ShowPanel(const InfoPanel&) override {}
    void ShowPicture(const clsReaderPicture&) override {}
    void EnableButtons(const ButtonStates&) override {}
    void ShowProgress(int, int) override {}
    void ShowTest(const std::string&, TestIndicator) override {}
    void ShowMessageBox(const std::string& text) override { Say(text); }
    void ShowNotice(const std::string& text) override;
    bool GetFileName(std::string&, bool, const std::string&) override { return false; }
    void FocusLog() override {}

  private:
    void Hint(const std::string& text);
    [[nodiscard]] std::string Painted(const std::string& text, LogColor color) const;

    clsIHost& m_host;
    clsITextOutput& m_output;
    std::vector<CliMessage> m_messages;
    bool m_echo = true;
    bool m_quiet = false;
    bool m_hints = false;
    std::set<const Explanation*> m_hinted;
    bool m_lineOpen = false;
};
