#include "window/clsMark.h"

#include <QGridLayout>
#include <QHelpEvent>
#include <QPainter>
#include <QTextDocument>
#include <QToolTip>

namespace {

int RoomOf(const QStyleOptionViewItem& option, const QModelIndex& index) {
    return index.column() == 0 ? MarkPainter::Room(option.fontMetrics) : 0;
}

QStyleOptionViewItem BehindMark(const QStyleOptionViewItem& option, const QModelIndex& index) {
    QStyleOptionViewItem behind = option;
    behind.rect.setLeft(option.rect.left() + RoomOf(option, index));
    return behind;
}

}  // namespace

int MarkPainter::Width(const QFontMetrics& metrics) { return metrics.height() / 2 + 2; }

int MarkPainter::Room(const QFontMetrics& metrics) { return metrics.height() * 7 / 8; }

void MarkPainter::Paint(QPainter& painter, const QRect& area, Sight sight, const QFontMetrics& metrics,
                        const QColor& color) {
    if (sight != Sight::Differs && sight != Sight::Written) return;
    const qreal half = metrics.height() / 4.0;
    const QPointF middle(area.left() + half + 1, QRectF(area).center().y());
    const QPointF corners[] = {middle - QPointF(half, 0), middle - QPointF(0, half),
                               middle + QPointF(half, 0), middle + QPointF(0, half)};
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, metrics.height() / 12.0, Qt::SolidLine, Qt::RoundCap, Qt::MiterJoin));
    painter.setBrush(sight == Sight::Differs ? QBrush(color) : QBrush(Qt::NoBrush));
    painter.drawPolygon(corners, std::size(corners));
    painter.restore();
}

// -- beside a caption ---------------------------------------------------------------------------------------

clsMark::clsMark(QWidget& control, QWidget& caption)
    : QWidget(caption.parentWidget()), m_control(&control), m_caption(&caption) {
    setObjectName("mrk_" + control.objectName());
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    control.installEventFilter(this);
    if (&caption != &control) caption.installEventFilter(this);
    if (StandInGrid()) return;
    setParent(&caption);
    QMargins margins = caption.contentsMargins();
    margins.setLeft(margins.left() + MarkPainter::Room(caption.fontMetrics()));
    caption.setContentsMargins(margins);
    LieOnCaption();
    show();
}

bool clsMark::StandInGrid() {
    for (QGridLayout* const grid : parentWidget()->findChildren<QGridLayout*>()) {
        const int at = grid->indexOf(m_caption);
        if (at < 0) continue;
        int row = 0;
        int column = 0;
        int rows = 0;
        int columns = 0;
        grid->getItemPosition(at, &row, &column, &rows, &columns);
        if (column == 0 || grid->itemAtPosition(row, column - 1) != nullptr) return false;
        grid->addWidget(this, row, column - 1);
        return true;
    }
    return false;
}

QSize clsMark::sizeHint() const { return {MarkPainter::Width(fontMetrics()), fontMetrics().height()}; }

void clsMark::LieOnCaption() {
    if (parentWidget() == m_caption) setGeometry(0, 0, sizeHint().width(), m_caption->height());
}

void clsMark::Show(Sight sight, const QString& told) {
    if (sight != m_sight) update();
    m_sight = sight;
    if (m_control == nullptr || (told.isEmpty() && m_told.isEmpty())) return;
    m_told = told;
    const QString tip = m_control->toolTip();
    const QString description = told.isEmpty() || tip.isEmpty() ? told : tip + '\n' + told;
    if (description != m_control->accessibleDescription()) m_control->setAccessibleDescription(description);
}

// A key string may look like markup, so the text is told to be plain.
bool clsMark::Tip(QEvent& event, QWidget& asked) const {
    if (event.type() != QEvent::ToolTip || m_told.isEmpty() || m_control == nullptr) return false;
    const QString own = m_control->toolTip();
    QToolTip::showText(static_cast<QHelpEvent&>(event).globalPos(),
                       Qt::convertFromPlainText(own.isEmpty() ? m_told : own + '\n' + m_told), &asked);
    return true;
}

bool clsMark::event(QEvent* event) { return Tip(*event, *this) || QWidget::event(event); }

bool clsMark::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_caption && event->type() == QEvent::Resize) LieOnCaption();
    const bool comesOrGoes = event->type() == QEvent::ShowToParent || event->type() == QEvent::HideToParent;
    if (watched == m_control && comesOrGoes) setVisible(!m_control->isHidden());
    return Tip(*event, static_cast<QWidget&>(*watched));
}

void clsMark::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    MarkPainter::Paint(painter, rect(), m_sight, fontMetrics(),
                       palette().color(QPalette::Active, QPalette::WindowText));
}

// -- in a list ----------------------------------------------------------------------------------------------

void clsMarkDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const {
    if (index.column() != 0) return QStyledItemDelegate::paint(painter, option, index);
    QStyleOptionViewItem whole = option;
    initStyleOption(&whole, index);
    const QStyle& style = *option.widget->style();
    style.drawPrimitive(QStyle::PE_PanelItemViewItem, &whole, painter, option.widget);
    QStyledItemDelegate::paint(painter, BehindMark(option, index), index);
    const bool selected = (option.state & QStyle::State_Selected) != 0;
    const auto group = (option.state & QStyle::State_Active) != 0 ? QPalette::Active : QPalette::Inactive;
    MarkPainter::Paint(*painter, option.rect, static_cast<Sight>(index.data(SightRole).toInt()),
                       option.fontMetrics,
                       option.palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text));
}

QSize clsMarkDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    return QStyledItemDelegate::sizeHint(option, index) + QSize(RoomOf(option, index), 0);
}

bool clsMarkDelegate::editorEvent(QEvent* event, QAbstractItemModel* model,
                                  const QStyleOptionViewItem& option, const QModelIndex& index) {
    return QStyledItemDelegate::editorEvent(event, model, BehindMark(option, index), index);
}
