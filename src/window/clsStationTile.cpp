#include "window/clsStationTile.h"

#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <algorithm>

#include "widgets/Announcement.h"

namespace {

using Sign = clsStationTile::Sign;

// Of the tile's height.
constexpr double wordPart = 0.34;
constexpr double unitPart = 0.11;
constexpr double linePart = 0.095;
constexpr double crowdedWordPart = 0.27;
constexpr double crowdedLinePart = 0.078;
constexpr double wordGap = 0.04;
constexpr double toDoPart = 0.15;
constexpr double marginPart = 0.05;
constexpr int leastLine = 13;  // pixels
constexpr double lineStep = 1.3;

/// White on each of them can be read, at 4.5 to 1 or better.
QColor Ground(Sign sign) {
    switch (sign) {
        case Sign::Pass: return {0x1A, 0x74, 0x3A};
        case Sign::Fail: return {0xB0, 0x1E, 0x28};
        case Sign::Doubt: return {0x8A, 0x4B, 0x00};
        case Sign::Busy: return {0x1C, 0x56, 0x9E};
        case Sign::Remove: return {0x6A, 0x3D, 0x86};
        case Sign::Ready:
        case Sign::Pause:
        case Sign::Stop: break;
    }
    return {0x45, 0x4D, 0x57};
}

Sign SignOf(const StationShown& shown) {
    switch (shown.State) {
        case StationState::Stopped: return Sign::Stop;
        case StationState::Paused: return Sign::Pause;
        case StationState::Working: return Sign::Busy;
        case StationState::Looking:
        case StationState::RemoveFirst:
        case StationState::Waiting:
        case StationState::Unplug: break;
    }
    switch (shown.Last.Result) {
        case StationResult::Pass: return Sign::Pass;
        case StationResult::Fail: return Sign::Fail;
        case StationResult::NotProven: return Sign::Doubt;
        case StationResult::None: break;
    }
    return shown.State == StationState::RemoveFirst ? Sign::Remove : Sign::Ready;
}

QPolygonF Lines(const QRectF& area, std::initializer_list<QPointF> points) {
    QPolygonF lines;
    for (const QPointF& point : points)
        lines += QPointF(area.left() + point.x() * area.width(), area.top() + point.y() * area.height());
    return lines;
}

// A shape of its own for each, so that nobody has to know the colours apart.
void PaintSign(QPainter& painter, const QRectF& area, Sign sign) {
    QPen pen(Qt::white, area.width() * 0.13, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    const auto draw = [&](std::initializer_list<QPointF> points) {
        painter.drawPolyline(Lines(area, points));
    };
    switch (sign) {
        case Sign::Pass: draw({{0.10, 0.55}, {0.40, 0.85}, {0.92, 0.18}}); break;
        case Sign::Fail:
            draw({{0.15, 0.15}, {0.85, 0.85}});
            draw({{0.85, 0.15}, {0.15, 0.85}});
            break;
        case Sign::Doubt:
            painter.drawArc(area.adjusted(area.width() * 0.25, area.height() * 0.08, -area.width() * 0.25,
                                          -area.height() * 0.42),
                            -90 * 16, 270 * 16);
            draw({{0.5, 0.58}, {0.5, 0.68}});
            draw({{0.5, 0.92}, {0.5, 0.92}});
            break;
        case Sign::Busy:  // an hourglass
            draw({{0.2, 0.1}, {0.8, 0.1}, {0.2, 0.9}, {0.8, 0.9}, {0.2, 0.1}});
            break;
        case Sign::Ready:  // in
            draw({{0.5, 0.08}, {0.5, 0.62}});
            draw({{0.25, 0.38}, {0.5, 0.64}, {0.75, 0.38}});
            draw({{0.1, 0.65}, {0.1, 0.92}, {0.9, 0.92}, {0.9, 0.65}});
            break;
        case Sign::Remove:  // out
            draw({{0.5, 0.62}, {0.5, 0.1}});
            draw({{0.25, 0.34}, {0.5, 0.08}, {0.75, 0.34}});
            draw({{0.1, 0.65}, {0.1, 0.92}, {0.9, 0.92}, {0.9, 0.65}});
            break;
        case Sign::Pause:
            draw({{0.3, 0.15}, {0.3, 0.85}});
            draw({{0.7, 0.15}, {0.7, 0.85}});
            break;
        case Sign::Stop: draw({{0.15, 0.15}, {0.85, 0.15}, {0.85, 0.85}, {0.15, 0.85}, {0.15, 0.15}}); break;
    }
}

QString UnitText(const StationShown& shown) {
    const StationUnit& unit = shown.Last;
    if (shown.State == StationState::Working) return QString::fromStdString(shown.Port);
    if (unit.Result == StationResult::None) return {};
    QStringList parts{clsStationTile::tr("Unit %1").arg(unit.Number)};
    const bool told = shown.State != StationState::Paused && shown.State != StationState::Stopped;
    if (!told) parts.first() += QString(": ") + WordOf(unit.Result);
    for (const std::string& part : {unit.Label, unit.ShortPort})
        if (!part.empty()) parts += QString::fromStdString(part);
    if (!unit.Recorded) parts += clsStationTile::tr("not recorded");
    return parts.join("   ");
}

QStringList Reasons(const StationUnit& unit) {
    QStringList lines;
    for (const HistoryChange& change : unit.Changes)
        if (change.Kept == false) lines += QString::fromStdString(ChangeLine(change));
    if (!lines.isEmpty()) return lines;
    if (!unit.Reason.empty()) lines += QString::fromStdString(unit.Reason);
    if (unit.Result == StationResult::Pass) {
        const auto count = unit.Changes.size();
        lines += count == 0   ? clsStationTile::tr("already right: nothing was written")
                 : count == 1 ? clsStationTile::tr("1 setting changed, read back and right")
                              : clsStationTile::tr("%1 settings changed, read back and right").arg(count);
        return lines;
    }
    for (const HistoryChange& change : unit.Changes)
        if (!change.Kept) lines += QString::fromStdString(ChangeLine(change));
    return lines;
}

QFont FontOf(const QFont& like, int pixels, bool bold) {
    QFont font = like;
    font.setPixelSize(std::max(pixels, leastLine));
    font.setBold(bold);
    return font;
}

/// As large as it fits, but not less than a half of that.
QFont Fitting(const QFont& like, double pixels, bool bold, const QString& text, double width) {
    const QFont font = FontOf(like, static_cast<int>(pixels), bold);
    const double needed = QFontMetricsF(font).horizontalAdvance(text);
    const double part = needed > width ? std::max(width / needed * 0.98, 0.5) : 1.0;
    return FontOf(like, static_cast<int>(pixels * part), bold);
}

}  // namespace

clsStationTile::clsStationTile(QWidget* parent) : QWidget(parent) {
    setObjectName("staTile");
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAttribute(Qt::WA_OpaquePaintEvent);
    Announcement::Prepare(*this);
}

void clsStationTile::Show(const StationShown& shown, const QString& toDo) {
    const Sign before = m_sign;
    m_sign = SignOf(shown);
    m_word = QString::fromStdString(shown.Word());
    m_unit = UnitText(shown);
    m_lines.clear();
    const QString doing = QString::fromStdString(shown.Doing());
    if (!doing.isEmpty()) {
        m_lines += doing;
    } else if (shown.Last.Result != StationResult::None && shown.State != StationState::Working) {
        m_lines = Reasons(shown.Last);
    }
    m_toDo = toDo.isEmpty() ? QString::fromStdString(shown.ToDo()) : toDo;
    // The steps of the work are many: they are the progress bar's to tell.
    const QString told = Told();
    if (m_sign != before) {
        Announcement::Say(*this, told);
    } else if (told != accessibleName()) {
        setAccessibleName(told);
    }
    update();
}

QString clsStationTile::Told() const {
    QStringList parts{m_word, m_unit};
    if (m_sign != Sign::Busy) parts += m_lines;
    parts += m_toDo;
    parts.removeAll({});
    return parts.join(". ");
}

QString clsStationTile::Text() const {
    QStringList parts{m_word, m_unit};
    parts += m_lines;
    parts += m_toDo;
    parts.removeAll({});
    return parts.join('\n');
}

QSize clsStationTile::sizeHint() const {
    return {fontMetrics().averageCharWidth() * 90, fontMetrics().height() * 16};
}

QSize clsStationTile::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * 40, fontMetrics().height() * 9};
}

void clsStationTile::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), Ground(m_sign));
    const double margin = std::max(8.0, height() * marginPart);
    QRectF area = QRectF(rect()).adjusted(margin * 1.5, margin, -margin, -margin);
    const double side = std::min(area.height() * 0.8, area.width() * 0.22);
    PaintSign(painter, QRectF(area.left(), area.center().y() - side / 2, side, side), m_sign);
    area.setLeft(area.left() + side + margin * 2);
    PaintTexts(painter, area);
    if (!hasFocus()) return;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(255, 255, 255, 140), 1, Qt::DotLine));
    painter.drawRect(rect().adjusted(3, 3, -4, -4));
}

void clsStationTile::PaintTexts(QPainter& painter, const QRectF& area) const {
    painter.setPen(Qt::white);
    const double whole = height();
    // Several reasons are worth a smaller word.
    const double word = whole * (m_lines.size() > 1 ? crowdedWordPart : wordPart);
    const double line = whole * (m_lines.size() > 1 ? crowdedLinePart : linePart);
    const auto draw = [&](const QFont& font, const QString& text, double baseline) {
        painter.setFont(font);
        const QString fits = QFontMetricsF(font).elidedText(text, Qt::ElideRight, area.width());
        painter.drawText(QPointF(area.left(), baseline), fits);
    };
    const QFont large = Fitting(font(), word, /*bold=*/true, m_word, area.width());
    double at = area.top() + QFontMetricsF(large).capHeight();
    draw(large, m_word, at);
    at += whole * wordGap;
    if (!m_unit.isEmpty()) {
        const QFont unit = Fitting(font(), whole * unitPart, /*bold=*/false, m_unit, area.width());
        at += unit.pixelSize();
        draw(unit, m_unit, at);
    }
    const QFont toDo = Fitting(font(), whole * toDoPart, /*bold=*/true, m_toDo, area.width());
    const double bottom = area.bottom() - QFontMetricsF(toDo).descent();
    draw(toDo, m_toDo, bottom);

    const QFont small = FontOf(font(), static_cast<int>(line), /*bold=*/false);
    const double step = small.pixelSize() * lineStep;
    const double room = bottom - (m_toDo.isEmpty() ? 0 : toDo.pixelSize()) - at;
    const auto fit = static_cast<qsizetype>(std::max(room / step, 1.0));
    QStringList lines = m_lines;
    if (lines.size() > fit) {
        const auto more = lines.size() - fit + 1;
        lines.resize(fit - 1);
        lines += fit > 1 ? tr("and %1 more").arg(more) : tr("%1 reasons").arg(more);
    }
    for (const QString& text : lines) {
        at += step;
        draw(small, text, at);
    }
}
