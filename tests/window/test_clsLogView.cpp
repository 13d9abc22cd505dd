#include <gtest/gtest.h>

#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

#include "window/clsLogView.h"

namespace {

class Log : public clsLogView {
  public:
    Log() {
        resize(500, 200);
        show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(this));
    }
    void Write(int from, int to) {
        for (int i = from; i < to; ++i) AppendLine("14:03:07 - ", std::to_string(i), LogColor::Black);
        LogText();
    }
    [[nodiscard]] std::string Top() const { return firstVisibleBlock().text().toStdString(); }
    [[nodiscard]] std::string Oldest() const { return document()->begin().text().toStdString(); }
};

}  // namespace

TEST(clsLogView, LinesKeepTheirOrderTheirColoursAndTheirLineEnds) {
    Log log;
    log.AppendText("12\xE9", LogColor::Black);
    log.AppendText("<CR>", LogColor::Blue);
    log.EndLine();
    log.AppendLine("14:03:07 - ", std::string("a\r\nb\0 NG", 8), LogColor::Red);
    EXPECT_EQ(log.toPlainText(), "");  // waits for the next frame
    ASSERT_TRUE(QTest::qWaitFor([&] { return log.document()->blockCount() == 3; }, /*timeout=*/10000));
    EXPECT_EQ(log.LogText().toLatin1().toStdString(), "12\xE9<CR>\n14:03:07 - a<CR><LF>b<NUL> NG\n");
    std::string colors;
    for (auto block = log.document()->begin(); block.isValid(); block = block.next()) {
        for (const auto& format : block.textFormats())
            colors += format.format.foreground().color().name().toStdString();
    }
    EXPECT_EQ(colors, "#000000#0000ff#000000#ff0000");
    log.AppendText("x", LogColor::Black);
    log.ClearText();
    EXPECT_EQ(log.LogText(), "");
    log.AppendText(std::string(1000000, 'x'), LogColor::Black);
    log.LogText();
    EXPECT_LE(log.document()->lastBlock().length(), clsLogView::lineLength + 1);
}

TEST(clsLogView, KeepsTheNewestLinesAndFollowsTheLastUnlessTheUserScrolledUp) {
    Log log;
    QScrollBar* const bar = log.verticalScrollBar();
    log.AppendText("unfinished", LogColor::Black);
    log.LogText();
    log.Write(0, 70000);  // at once
    EXPECT_EQ(log.Oldest(), "14:03:07 - 50000");
    EXPECT_EQ(bar->value(), bar->maximum());
    for (const int height : {90, 400, 200}) {
        log.resize(500, height);
        EXPECT_EQ(bar->value(), bar->maximum()) << height;
    }
    bar->setValue(5000);
    log.Write(70000, 70100);  // the oldest go, what is seen stays
    EXPECT_EQ(log.Oldest(), "14:03:07 - 50100");
    EXPECT_EQ(log.Top(), "14:03:07 - 55000");
}
