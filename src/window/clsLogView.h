#pragma once

#include <QPlainTextEdit>
#include <QTimer>
#include <deque>

#include "flows/clsMessageLog.h"

/// The message log on the screen: the newest lines, in fixed colours on a paper of its own. What is appended
/// waits for the next frame, so that a line costs next to nothing where it is written and is shown while the
/// program waits for something else. The last line is followed until the user scrolls up. Keys that carry a
/// character are told, not typed; Shift+Tab and F6 leave the log.
class clsLogView : public QPlainTextEdit, public clsILogView {
    Q_OBJECT

  public:
    static constexpr int lineLimit = 20000;
    /// Characters of a line; a longer one goes on in the next.
    static constexpr qsizetype lineLength = 4096;

    explicit clsLogView(QWidget* parent = nullptr);

    void AppendLine(const std::string& time, const std::string& text, LogColor color) override;
    void AppendText(const std::string& text, LogColor color) override;
    void EndLine() override;
    void ClearText() override;

    /// Everything that the log holds, also what no frame has shown yet.
    QString LogText();
    /// The line begun last, without its time.
    [[nodiscard]] const QString& LastLine() const { return m_lastLine; }

  signals:
    /// A key with a character was pressed; the arguments are clsMessageLog::KeyDown's.
    void KeyPressed(quint16 keyCode, quint16 shift);
    /// The user asks for the log as a text file.
    void SaveRequested();

  protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    struct Piece {
        QString Text;
        LogColor Color = LogColor::Black;
        bool EndsLine = false;
    };
    void TakeFont();
    void Append(const std::string& text, LogColor color, bool endsLine);
    /// Moves at most that many pieces of what is pending to the screen.
    void ShowPending(int pieces);
    void Insert(QTextCursor& cursor, const Piece& piece);

    std::deque<Piece> m_pending;
    QString m_lastLine;
    int m_pendingLines = 0;
    bool m_outrun = false;  // more lines are pending than the log keeps: what it shows goes
    bool m_hasFont = false;
    QTimer m_frame;
};
