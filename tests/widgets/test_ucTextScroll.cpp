#include <gtest/gtest.h>

#include <QTest>
#include <limits>

#include "base/clsPropertyBag.h"
#include "widgets/ucTextScroll.h"

using DigitRun::Range;
using DigitRun::Side;

namespace {

class Box : public ucTextScroll {
  public:
    explicit Box(const Range& run = {3, 4}) {
        SetText("12345678");
        SetSelStart(run.Start);
        SetSelLength(run.Length);
        show();
        QObject::connect(this, &ucTextScroll::Change, [this] { Changes += std::to_string(SelLength()); });
    }
    [[nodiscard]] Range Run() const { return {SelStart(), SelLength()}; }
    /// Takes hold of a marker, moves it by that many digits, none for no move, and lets it go.
    void Drag(Side side, double digits) {
        const QPointF from = MarkerRect(side).center();
        const QPointF to = from + QPointF(digits * MarkerRect(side).width(), 0);
        QTest::mousePress(this, Qt::LeftButton, Qt::NoModifier, from.toPoint());
        QMouseEvent move(QEvent::MouseMove, to, to, Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        if (digits != 0) QCoreApplication::sendEvent(this, &move);
        QTest::mouseRelease(this, Qt::LeftButton, Qt::NoModifier, to.toPoint());
    }
    std::string Changes;  ///< the length that each one told
};

}  // namespace

TEST(ucTextScroll, TheMouseDragsTheMarkersInsideTheirLimits) {
    const struct {
        Side side;
        double digits;
        Range after;
        const char* changes;
    } rows[] = {
        {Side::Left, -1.3, {2, 5}, "55"}, {Side::Left, -50, {1, 6}, "66"},  {Side::Left, 50, {7, 0}, "00"},
        {Side::Right, 1.3, {3, 5}, "55"}, {Side::Right, -50, {3, 0}, "00"}, {Side::Right, 50, {3, 6}, "66"},
        {Side::Right, 0, {3, 4}, ""},
    };
    for (const auto& row : rows) {
        Box box;
        box.Drag(row.side, row.digits);
        EXPECT_EQ(box.Run(), row.after) << row.digits;
        EXPECT_EQ(box.Changes, row.changes) << row.digits;
        const QRectF left = box.MarkerRect(Side::Left);
        EXPECT_NEAR(box.MarkerRect(Side::Right).left() - left.right(), row.after.Length * left.width(), 1);
        EXPECT_GE(left.left(), 0);
    }
}

TEST(ucTextScroll, TheKeysMoveTheFirstDigitTheLastOrBoth) {
    const struct {
        Qt::Key key;
        Range after[3];  // alone, with Shift, with Ctrl
    } rows[] = {
        {Qt::Key_Left, {{2, 5}, {3, 3}, {2, 4}}},
        {Qt::Key_Right, {{4, 3}, {3, 5}, {4, 4}}},
        {Qt::Key_Home, {{1, 6}, {3, 0}, {1, 4}}},
        {Qt::Key_End, {{7, 0}, {3, 6}, {5, 4}}},
    };
    const Qt::KeyboardModifier modifiers[] = {Qt::NoModifier, Qt::ShiftModifier, Qt::ControlModifier};
    for (const auto& row : rows) {
        for (int i = 0; i < 3; ++i) {
            Box box;
            QTest::keyClick(&box, row.key, modifiers[i]);
            EXPECT_EQ(box.Run(), row.after[i]) << row.key << ", " << modifiers[i];
        }
    }
}

TEST(ucTextScroll, ValuesThatAreSetStayUntilTheUserMovesAMarker) {
    constexpr int largest = std::numeric_limits<int>::max();
    for (const Range set : {Range{-7, 3}, Range{2, 200}, Range{3, -9}, Range{largest, largest}}) {
        Box box(set);
        box.Drag(Side::Right, 0);
        EXPECT_EQ(box.Run(), set);
        QTest::keyClick(&box, Qt::Key_Home, Qt::ControlModifier);
        EXPECT_EQ(box.SelStart(), 1);
        EXPECT_TRUE(box.SelLength() >= 0 && box.SelLength() <= 8) << box.SelLength();
    }
}

TEST(ucTextScroll, WhatWasSetIsPersistedAndNothingElse) {
    clsPropertyBag bag;
    ucTextScroll().WriteProperties(bag);
    EXPECT_EQ(bag.Values.size(), 0U);
    Box box({-2, 9});
    box.SetSelBackColor(Qt::yellow);
    box.WriteProperties(bag);
    EXPECT_EQ(bag.Values.size(), 4U);
    Box other({5, 1});
    other.SetForeColor(Qt::red);
    other.ReadProperties(bag);
    EXPECT_EQ(other.Run(), box.Run());
    EXPECT_EQ(other.Text(), "12345678");
    EXPECT_EQ(other.SelBackColor(), QColor(Qt::yellow));
    EXPECT_EQ(other.ForeColor(), box.ForeColor());
    other.ReadProperties(clsPropertyBag());
    EXPECT_EQ(other.Run(), Range());
}
