#pragma once

#include <QPointer>
#include <QStyledItemDelegate>
#include <QWidget>

#include "flows/clsReaderPicture.h"

/// The sign for how a setting stands: filled, it differs from the reader; hollow, it was written and not read
/// back; none for all else.
namespace MarkPainter {
/// A mark's own width, in pixels.
int Width(const QFontMetrics& metrics);
/// The room that a mark takes in front of what it belongs to, in pixels.
int Room(const QFontMetrics& metrics);
/// Draws it at the left of `area`.
void Paint(QPainter& painter, const QRect& area, Sight sight, const QFontMetrics& metrics,
           const QColor& color);
}  // namespace MarkPainter

/// The mark beside a control's caption. Its room is there from the start, so that nothing moves when it comes
/// and goes. What it says is also the control's: in the tip behind its own, and in the description that
/// screen readers get to hear.
class clsMark : public QWidget {
    Q_OBJECT

  public:
    /// `caption` is the control's label, or the control itself. Where it stands in a grid, the column before
    /// it is the mark's; a label elsewhere makes room in itself.
    clsMark(QWidget& control, QWidget& caption);

    void Show(Sight sight, const QString& told);
    [[nodiscard]] Sight Shown() const { return m_sight; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    bool StandInGrid();
    bool Tip(QEvent& event, QWidget& asked) const;
    void LieOnCaption();

    QPointer<QWidget> m_control;
    QPointer<QWidget> m_caption;
    Sight m_sight = Sight::Unknown;
    QString m_told;
};

/// Draws the rows of a list with their marks, in a room of their own in front of the first column.
class clsMarkDelegate : public QStyledItemDelegate {
    Q_OBJECT

  public:
    static constexpr int SightRole = Qt::UserRole + 1;  ///< a Sight as a number

    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

  protected:
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;
};
