#pragma once

#include <QStringList>
#include <QWidget>

#include "station/StationTypes.h"

/// How the station stands, to be read from two metres away: a word, a sign, a colour, the unit, what is
/// happening and what is to be done. It shows a station's plain data and nothing else; screen readers
/// speak it all when the sign changes. It owns its colours, ground and text, so that they are the same on
/// every desktop.
class clsStationTile : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QString text READ Text)

  public:
    enum class Sign { Ready, Busy, Pass, Fail, Doubt, Remove, Pause, Stop };

    explicit clsStationTile(QWidget* parent);

    /// `toDo` stands in the place of what the station wants done, where it is not empty.
    void Show(const StationShown& shown, const QString& toDo);
    /// All that is to be read, a line each.
    [[nodiscard]] QString Text() const;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    [[nodiscard]] QString Told() const;
    void PaintTexts(QPainter& painter, const QRectF& area) const;

    Sign m_sign = Sign::Stop;
    QString m_word;
    QString m_unit;
    QStringList m_lines;  // what is happening, or why it is so
    QString m_toDo;
};
