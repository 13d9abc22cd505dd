#include "widgets/ucTextScroll.h"

#include <QAccessibleWidget>
#include <QFontMetricsF>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "base/modText.h"
#include "qt/QtText.h"

using DigitRun::Side;

namespace {

constexpr QColor defaultSelForeColor(0, 0, 255);
constexpr auto defaultText = "0123456789ABCDEF";
constexpr qreal edge = 3;       // between the box's border and what is in it
constexpr qreal cellSpace = 5;  // between two characters
constexpr qreal barHeight = 3;

/// Relative luminance and contrast ratio as the accessibility guidelines for the web define them.
qreal Luminance(const QColor& color) {
    const auto linear = [](qreal c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

qreal Contrast(const QColor& a, const QColor& b) {
    const qreal la = Luminance(a);
    const qreal lb = Luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

QColor Mixed(const QColor& a, const QColor& b, float partOfB) {
    return QColor::fromRgbF(a.redF() + (b.redF() - a.redF()) * partOfB,
                            a.greenF() + (b.greenF() - a.greenF()) * partOfB,
                            a.blueF() + (b.blueF() - a.blueF()) * partOfB);
}

/// The colour, moved towards white or black until it can be read on the background.
QColor Readable(const QColor& color, const QColor& background) {
    constexpr qreal enough = 4.5;
    constexpr int steps = 20;
    const QColor target =
        Contrast(Qt::white, background) > Contrast(Qt::black, background) ? Qt::white : Qt::black;
    QColor result = color;
    for (int i = 1; i <= steps && Contrast(result, background) < enough; ++i) {
        result = Mixed(color, target, static_cast<float>(i) / steps);
    }
    return result;
}

std::string ColorName(const QColor& color) {
    return color.isValid() ? QtText::ToBytes(color.name()) : std::string();
}
QColor NamedColor(const std::string& name) {
    return name.empty() ? QColor() : QColor(QtText::ToQString(name));
}

class clsTextScrollAccessible final : public QAccessibleWidget {
  public:
    explicit clsTextScrollAccessible(ucTextScroll* box) : QAccessibleWidget(box, QAccessible::Slider) {}

    static QAccessibleInterface* Make(const QString&, QObject* object) {
        auto* const box = qobject_cast<ucTextScroll*>(object);
        return box == nullptr ? nullptr : new clsTextScrollAccessible(box);
    }
    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        // The description too: it is what screen readers here get to hear of a change.
        if (kind == QAccessible::Value || kind == QAccessible::Description) {
            const QString more = kind == QAccessible::Value ? QString() : widget()->accessibleDescription();
            const QString run = static_cast<const ucTextScroll*>(widget())->Spoken();
            return more.isEmpty() ? run : run + '\n' + more;
        }
        return QAccessibleWidget::text(kind);
    }
};

}  // namespace

ucTextScroll::ucTextScroll(QWidget* parent) : QWidget(parent), m_selForeColor(defaultSelForeColor) {
    static const bool installed = [] {
        QAccessible::installFactory(&clsTextScrollAccessible::Make);
        return true;
    }();
    Q_UNUSED(installed);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setLayoutDirection(Qt::LeftToRight);
    setMouseTracking(true);
    setToolTip(
        tr("Drag the two markers, or use the keys:\n"
           "Left and Right move the first digit, with Shift the last one, with Ctrl both.\n"
           "Home and End move it as far as it goes."));
    m_markers = DigitRun::ToMarkers(LayOut(), m_run);
}

DigitRun::Row ucTextScroll::LayOut() const {
    const QFontMetricsF metrics(font());
    qreal widest = 0;
    for (const QChar c : QtText::ToQString(m_text)) widest = std::max(widest, metrics.horizontalAdvance(c));
    const qreal width = std::ceil(widest + cellSpace);
    // A marker stands beside the run, so the row has room for one at either end.
    return {edge + width, width, static_cast<int>(m_text.size())};
}

QSize ucTextScroll::sizeHint() const {
    const auto row = LayOut();
    return {static_cast<int>(std::ceil(row.RightLimit() + edge)),
            static_cast<int>(std::ceil(2 * edge + QFontMetricsF(font()).height() + barHeight + row.Width))};
}

QRectF ucTextScroll::MarkerRect(Side side) const {
    const auto row = LayOut();
    const auto drawn = DigitRun::Within(row, m_markers);
    // A marker's position is a character to the right of where it stands.
    const qreal left = (side == Side::Left ? drawn.Left : drawn.Right) - row.Width;
    const qreal top = edge + QFontMetricsF(font()).height() + barHeight;
    return {left, top, row.Width, row.Width};
}

std::optional<Side> ucTextScroll::MarkerAt(const QPointF& position) const {
    for (const Side side : {Side::Left, Side::Right}) {
        const QRectF marker = MarkerRect(side);
        if (marker.adjusted(0, -barHeight, 0, edge).contains(position)) return side;
    }
    return std::nullopt;
}

void ucTextScroll::SetText(const std::string& value) {
    m_text = value;
    updateGeometry();
    SetRun(m_run);
}

void ucTextScroll::SetRun(const DigitRun::Range& run) {
    m_run = run;
    m_markers = DigitRun::ToMarkers(LayOut(), run);
    Announce();
}

void ucTextScroll::SetMarkers(const DigitRun::Markers& markers) {
    m_markers = markers;
    m_run = DigitRun::ToRange(LayOut(), markers);
    Announce();
}

void ucTextScroll::Announce() {
    update();
    QAccessibleValueChangeEvent value(this, Spoken());
    QAccessible::updateAccessibility(&value);
    QAccessibleEvent description(this, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&description);
    emit Change();
}

QString ucTextScroll::Spoken() const {
    return QtText::ToQString(modText::DigitsText(m_run.Start, m_run.Length, static_cast<int>(m_text.size())));
}

QColor ucTextScroll::BackColor() const {
    return m_backColor.isValid() ? m_backColor : palette().color(QPalette::Button);
}
QColor ucTextScroll::ForeColor() const {
    return m_foreColor.isValid() ? m_foreColor : palette().color(QPalette::ButtonText);
}
QColor ucTextScroll::SelBackColor() const {
    return m_selBackColor.isValid() ? m_selBackColor : palette().color(QPalette::Button);
}
void ucTextScroll::SetBackColor(const QColor& value) {
    m_backColor = value;
    update();
}
void ucTextScroll::SetForeColor(const QColor& value) {
    m_foreColor = value;
    update();
}
void ucTextScroll::SetSelBackColor(const QColor& value) {
    m_selBackColor = value;
    update();
}
void ucTextScroll::SetSelForeColor(const QColor& value) {
    m_selForeColor = value.isValid() ? value : defaultSelForeColor;
    update();
}

void ucTextScroll::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const auto row = LayOut();
    const qreal textHeight = QFontMetricsF(font()).height();
    const QColor back = BackColor();
    const QColor selBack = SelBackColor();
    QColor fore = Readable(ForeColor(), back);
    QColor selFore = Readable(m_selForeColor, selBack);
    QColor handle = Readable(m_selForeColor, back);
    if (!isEnabled()) {
        constexpr float faded = 0.6F;
        for (QColor* const color : {&fore, &selFore, &handle}) *color = Mixed(*color, back, faded);
    }
    const QColor line = Mixed(back, fore, /*partOfB=*/0.25F);

    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(hasFocus() ? QPen(Readable(palette().color(QPalette::Highlight), back), 2)
                              : QPen(line, 1));
    painter.setBrush(back);
    painter.drawRoundedRect(hasFocus() ? frame.adjusted(0.5, 0.5, -0.5, -0.5) : frame, edge, edge);

    const QRectF left = MarkerRect(Side::Left);
    const QRectF right = MarkerRect(Side::Right);
    const QRectF track(row.Origin, left.top() - barHeight, row.Count * row.Width, barHeight);
    painter.fillRect(track.adjusted(0, 1, 0, -1), line);
    painter.fillRect(QRectF(left.right(), track.top(), right.left() - left.right(), barHeight), handle);

    const auto marked = DigitRun::Marked(m_text, m_run);
    const auto before = static_cast<qreal>(marked.data() - m_text.data());
    painter.fillRect(QRectF(row.Origin + before * row.Width, edge,
                            static_cast<qreal>(marked.size()) * row.Width, textHeight),
                     selBack);
    for (const char& c : m_text) {
        const auto i = static_cast<qreal>(&c - m_text.data());
        const QRectF cell(row.Origin + i * row.Width, edge, row.Width, textHeight);
        const bool isMarked = &c >= marked.data() && &c < marked.data() + marked.size();
        painter.setPen(isMarked ? selFore : fore);
        painter.drawText(cell, Qt::AlignCenter, QtText::ToQString({&c, 1}));
    }

    // Like the handles of a text selection: each hangs below its end of the run, the corner at the end.
    const std::optional<Side> lit = m_drag ? m_drag->Side : m_hovered;
    painter.setPen(Qt::NoPen);
    for (const Side side : {Side::Left, Side::Right}) {
        const QRectF marker = side == Side::Left ? left : right;
        const qreal size = marker.width() - 2;
        const QRectF round(marker.left() + (side == Side::Left ? 2 : 0), marker.top(), size, size);
        QPainterPath shape;
        shape.setFillRule(Qt::WindingFill);
        shape.addEllipse(round);
        shape.addRect(
            QRectF(side == Side::Left ? round.center().x() : round.left(), round.top(), size / 2, size / 2));
        painter.setBrush(lit == side ? Mixed(handle, fore, /*partOfB=*/0.4F) : handle);
        painter.drawPath(shape);
    }
}

void ucTextScroll::mousePressEvent(QMouseEvent* event) {
    const auto side = MarkerAt(event->position());
    if (event->button() != Qt::LeftButton || !side) {
        event->ignore();
        return;
    }
    const auto drawn = DigitRun::Within(LayOut(), m_markers);
    m_drag = Drag{*side, event->position().x() - (*side == Side::Left ? drawn.Left : drawn.Right)};
    update();
}

void ucTextScroll::mouseMoveEvent(QMouseEvent* event) {
    if (m_drag && (event->buttons() & Qt::LeftButton)) {
        const auto row = LayOut();
        m_drag->Moved = true;
        SetMarkers(DigitRun::Moved(row, DigitRun::Within(row, m_markers), m_drag->Side,
                                   event->position().x() - m_drag->GrabOffset));
        return;
    }
    m_drag.reset();
    m_hovered = MarkerAt(event->position());
    setCursor(m_hovered ? Qt::SizeHorCursor : Qt::ArrowCursor);
    update();
}

void ucTextScroll::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !m_drag) return;
    const Drag drag = *m_drag;
    m_drag.reset();
    update();
    if (drag.Moved) SetMarkers(DigitRun::Released(LayOut(), m_markers, drag.Side));
}

void ucTextScroll::leaveEvent(QEvent* event) {
    m_hovered.reset();
    update();
    QWidget::leaveEvent(event);
}

void ucTextScroll::keyPressEvent(QKeyEvent* event) {
    const auto row = LayOut();
    // From the boundaries that the markers count as standing on.
    const auto from = DigitRun::Within(
        row, DigitRun::ToMarkers(row, DigitRun::ToRange(row, DigitRun::Within(row, m_markers))));
    qreal by = 0;
    switch (event->key()) {
        case Qt::Key_Left: by = -row.Width; break;
        case Qt::Key_Right: by = row.Width; break;
        case Qt::Key_Home: by = -row.RightLimit(); break;
        case Qt::Key_End: by = row.RightLimit(); break;
        default: QWidget::keyPressEvent(event); return;
    }
    switch (event->modifiers() & ~Qt::KeypadModifier) {
        case Qt::NoModifier: SetMarkers(DigitRun::Moved(row, from, Side::Left, from.Left + by)); break;
        case Qt::ShiftModifier: SetMarkers(DigitRun::Moved(row, from, Side::Right, from.Right + by)); break;
        case Qt::ControlModifier: {
            const qreal both = std::clamp(by, row.Origin - from.Left, row.RightLimit() - from.Right);
            SetMarkers({from.Left + both, from.Right + both});
            break;
        }
        default: QWidget::keyPressEvent(event);
    }
}

void ucTextScroll::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange) {
        m_markers = DigitRun::ToMarkers(LayOut(), m_run);
        updateGeometry();
    }
    QWidget::changeEvent(event);
}

void ucTextScroll::ReadProperties(const clsIPropertyBag& bag) {
    SetBackColor(NamedColor(bag.ReadProperty("BackColor", "")));
    SetForeColor(NamedColor(bag.ReadProperty("ForeColor", "")));
    SetSelBackColor(NamedColor(bag.ReadProperty("SelBackColor", "")));
    SetSelForeColor(NamedColor(bag.ReadProperty("SelForeColor", ColorName(defaultSelForeColor))));
    m_run = {modText::ValInteger(bag.ReadProperty("SelStart", "1")),
             modText::ValInteger(bag.ReadProperty("SelLength", "0"))};
    SetText(bag.ReadProperty("Text", defaultText));
}

void ucTextScroll::WriteProperties(clsIPropertyBag& bag) const {
    bag.WriteProperty("BackColor", ColorName(m_backColor), "");
    bag.WriteProperty("ForeColor", ColorName(m_foreColor), "");
    bag.WriteProperty("SelBackColor", ColorName(m_selBackColor), "");
    bag.WriteProperty("SelForeColor", ColorName(m_selForeColor), ColorName(defaultSelForeColor));
    bag.WriteProperty("SelStart", std::to_string(m_run.Start), "1");
    bag.WriteProperty("SelLength", std::to_string(m_run.Length), "0");
    bag.WriteProperty("Text", m_text, defaultText);
}
