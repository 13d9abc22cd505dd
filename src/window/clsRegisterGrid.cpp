#include "window/clsRegisterGrid.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <array>

#include "window/clsRegisterModel.h"

namespace {

struct Look {
    QRgb Color;
    Qt::BrushStyle Pattern;
};
constexpr std::array<Look, clsRegisterModel::kinds> looks{{{0xFF2F78D0, Qt::BDiagPattern},
                                                           {0xFFD08A00, Qt::Dense6Pattern},
                                                           {0xFF2E9B4F, Qt::HorPattern},
                                                           {0xFFB03FA8, Qt::FDiagPattern},
                                                           {0xFFC8402F, Qt::VerPattern},
                                                           {0xFF169AA0, Qt::DiagCrossPattern}}};
constexpr int groundPart = 22;   // of 100 of the setting's colour, on the view's own
constexpr int patternPart = 42;  // the same
constexpr int linePart = 55;     // of the text's colour

QColor Mixed(const QColor& ground, const QColor& color, int part) {
    const auto mix = [part](int a, int b) { return (a * (100 - part) + b * part) / 100; };
    return {mix(ground.red(), color.red()), mix(ground.green(), color.green()),
            mix(ground.blue(), color.blue())};
}

/// Draws a cell; where its setting ends there is a line.
class clsCellDelegate : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        painter->save();
        const bool selected = (option.state & QStyle::State_Selected) != 0;
        const bool active = (option.state & QStyle::State_Active) != 0;
        const auto group = active ? QPalette::Active : QPalette::Inactive;
        const QPalette& palette = option.palette;
        const int kind = index.data(clsRegisterModel::KindRole).toInt();
        if (selected) {
            painter->fillRect(option.rect, palette.color(group, QPalette::Highlight));
        } else if (kind < 0) {
            painter->fillRect(option.rect, palette.color(QPalette::Window));
        } else {
            PaintGround(*painter, option, looks.at(static_cast<std::size_t>(kind)));
        }
        PaintBorders(*painter, option, index);
        PaintByte(*painter, option, index,
                  palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text));
        painter->restore();
    }

  private:
    static void PaintGround(QPainter& painter, const QStyleOptionViewItem& option, const Look& look) {
        const QColor base = option.palette.color(QPalette::Base);
        const QColor color = QColor::fromRgb(look.Color);
        painter.fillRect(option.rect, Mixed(base, color, groundPart));
        painter.fillRect(option.rect, QBrush(Mixed(base, color, patternPart), look.Pattern));
    }

    static void PaintBorders(QPainter& painter, const QStyleOptionViewItem& option,
                             const QModelIndex& index) {
        const QRect& cell = option.rect;
        const QPalette& palette = option.palette;
        const auto other = [&index](int row, int column) {
            const QModelIndex beside =
                index.siblingAtRow(index.row() - row).siblingAtColumn(index.column() - column);
            return beside.isValid() &&
                   beside.data(clsRegisterModel::KindRole) != index.data(clsRegisterModel::KindRole);
        };
        painter.setPen(Mixed(palette.color(QPalette::Base), palette.color(QPalette::Text), linePart));
        if (other(1, 0)) painter.drawLine(cell.topLeft(), cell.topRight());
        if (other(0, 1)) painter.drawLine(cell.topLeft(), cell.bottomLeft());
    }

    static void PaintByte(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index,
                          QColor text) {
        const auto sight = static_cast<RegisterSight>(index.data(clsRegisterModel::SightRole).toInt());
        const bool differs = index.data(clsRegisterModel::DiffersRole).toBool();
        QFont font = option.font;
        font.setBold(differs);
        font.setItalic(sight == RegisterSight::Written || sight == RegisterSight::Old);
        if (font.italic()) text.setAlphaF(0.6F);
        painter.setFont(font);
        painter.setPen(text);
        painter.drawText(option.rect, Qt::AlignCenter, index.data().toString());
        if (!differs) return;
        const int side = option.rect.height() * 2 / 5;
        const QPoint corner = option.rect.topRight() + QPoint(1, 0);
        const QPoint corners[] = {corner, corner - QPoint(side, 0), corner + QPoint(0, side)};
        painter.setBrush(text);
        painter.setPen(Qt::NoPen);
        painter.drawPolygon(corners, std::size(corners));
    }
};

}  // namespace

clsRegisterGrid::clsRegisterGrid(clsRegisterModel& model, QWidget* parent)
    : QTableView(parent), m_model(model) {
    setModel(&model);
    setItemDelegate(new clsCellDelegate(this));
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setTabKeyNavigation(false);
    setShowGrid(false);
    setCornerButtonEnabled(false);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    for (QHeaderView* header : {horizontalHeader(), verticalHeader()}) {
        header->setSectionResizeMode(QHeaderView::Fixed);
        header->setSectionsClickable(false);
        header->setHighlightSections(true);
        header->setMinimumSectionSize(1);
    }
    SizeCells();
    SetCurrent(0);
}

void clsRegisterGrid::SizeCells() {
    QFont bold = font();
    bold.setBold(true);
    const QFontMetrics metrics(bold);
    horizontalHeader()->setDefaultSectionSize(metrics.horizontalAdvance("MM") + 2);
    verticalHeader()->setDefaultSectionSize(metrics.height() + 2);
    setMaximumHeight(sizeHint().height());
}

int clsRegisterGrid::Current() const {
    return currentIndex().isValid() ? clsRegisterModel::NumberOf(currentIndex()) : 0;
}

void clsRegisterGrid::SetCurrent(int number) { setCurrentIndex(m_model.IndexOf(number)); }

QSize clsRegisterGrid::sizeHint() const {
    const int width = verticalHeader()->sizeHint().width() + verticalScrollBar()->sizeHint().width() +
                      horizontalHeader()->defaultSectionSize() * clsRegisterModel::columns + 2 * frameWidth();
    const int height = horizontalHeader()->sizeHint().height() +
                       verticalHeader()->defaultSectionSize() * clsRegisterModel::rows + 2 * frameWidth();
    return {width, height};
}

void clsRegisterGrid::keyPressEvent(QKeyEvent* event) {
    const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    if (plain && event->key() >= Qt::Key_0 && event->key() <= Qt::Key_9) {
        emit NumberTyped(event->text());
    } else {
        QTableView::keyPressEvent(event);
    }
}

void clsRegisterGrid::changeEvent(QEvent* event) {
    QTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) SizeCells();
}

void clsRegisterGrid::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QTableView::currentChanged(current, previous);
    emit Moved(Current());
}
